#include "windows.h"

#include <dlfcn.h>
#include <link.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <csetjmp>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <string_view>
#include <thread>
#include <utility>

#include "windows_standin.h"

namespace {

std::atomic<bool> fail_create_thread = false;
std::atomic<bool> fail_heap_alloc = false;
std::atomic<int64_t> threads_running = 0;
std::atomic<DWORD> last_thread_id = 0;
std::atomic<int> last_priority_set = THREAD_PRIORITY_NORMAL;
std::atomic<int64_t> misuses = 0;

template <class T>
T Misuse(T failure) {
  ++misuses;
  return failure;
}

// What was handed out and not yet given back, each item with what belongs to it.
template <class T>
class Ledger {
 public:
  // Throws std::bad_alloc.
  void Add(void* item, T value) {
    const std::scoped_lock lock(mutex_);
    items_.emplace(item, std::move(value));
  }

  bool Remove(void* item) {
    const std::scoped_lock lock(mutex_);
    return items_.erase(item) > 0;
  }

  // An empty value when there is no such item.
  T Find(void* item) {
    const std::scoped_lock lock(mutex_);
    const auto found = items_.find(item);
    return found != items_.end() ? found->second : T();
  }

  int64_t Size() {
    const std::scoped_lock lock(mutex_);
    return static_cast<int64_t>(items_.size());
  }

 private:
  std::mutex mutex_;
  std::map<void*, T> items_;
};

// The library is loaded long before anybody changes the priority of the thread that loads it.
const int normal_nice = getpriority(PRIO_PROCESS, 0);

// A thread's priority, as asked for and as the system schedules it.
class Thread {
 public:
  // On the thread itself, which is 0 again at its end: the system may give its id to another one.
  // What was asked before it began takes effect now.
  void SetId(pid_t id) {
    const std::scoped_lock lock(mutex_);
    id_ = id;
    Apply();
  }

  void SetPriority(int priority) {
    const std::scoped_lock lock(mutex_);
    priority_ = priority;
    Apply();
  }

  int Priority() {
    const std::scoped_lock lock(mutex_);
    return priority_.value_or(THREAD_PRIORITY_NORMAL);
  }

 private:
  // Five steps of nice give about three times the share of a core. To be refused is no failure: few
  // processes may raise a thread.
  void Apply() const {
    if (id_ == 0 || !priority_.has_value()) return;
    static_cast<void>(
        setpriority(PRIO_PROCESS, static_cast<id_t>(id_), normal_nice - 5 * *priority_));
  }

  std::mutex mutex_;
  pid_t id_ = 0;
  std::optional<int> priority_;
};

// Never destroyed: detached threads may run until the process ends.
Ledger<std::shared_ptr<Thread>>& Handles() {
  static Ledger<std::shared_ptr<Thread>>& handles = *new Ledger<std::shared_ptr<Thread>>;
  return handles;
}

Ledger<SIZE_T>& HeapBlocks() {
  static Ledger<SIZE_T>& blocks = *new Ledger<SIZE_T>;
  return blocks;
}

// A number that no other handle ever has, so that closing one twice is always noticed. The thread
// may end before or after its handle is closed.
HANDLE NewHandle(const std::shared_ptr<Thread>& thread) {
  static std::atomic<uintptr_t> last = 0;
  // NOLINTNEXTLINE(performance-no-int-to-ptr): a number, as on Windows; nothing is behind it
  auto* const handle = reinterpret_cast<HANDLE>(last += 4);
  Handles().Add(handle, thread);
  return handle;
}

// What a thread that CreateThread started is made of. As the first thread-local object of its
// thread it is destroyed last, when nothing of the library that started the thread runs any more.
// This library is never unmapped itself: see its link options.
struct RunningThread {
  ~RunningThread() {
    thread->SetId(0);
    if (library != nullptr) dlclose(library);
    --threads_running;
  }

  std::shared_ptr<Thread> thread;
  HMODULE library = nullptr;
  std::jmp_buf exit = {};
};

thread_local RunningThread* current_thread = nullptr;

void RunThread(LPTHREAD_START_ROUTINE start, LPVOID parameter, std::shared_ptr<Thread> thread) {
  static thread_local RunningThread running;
  current_thread = &running;
  running.thread = std::move(thread);
  running.thread->SetId(gettid());
  // As on Windows, a thread that exits leaves its stack without running any destructor.
  if (setjmp(running.exit) == 0) start(parameter);
}

// True when the thread runs; its handle is the caller's.
bool StartThread(LPTHREAD_START_ROUTINE start, LPVOID parameter, HANDLE& handle) noexcept {
  ++threads_running;
  try {
    auto thread = std::make_shared<Thread>();
    handle = NewHandle(thread);
    std::thread(RunThread, start, parameter, std::move(thread)).detach();
    return true;
  } catch (const std::exception&) {
    if (handle != nullptr) Handles().Remove(handle);
    --threads_running;
    return false;
  }
}

// The thread behind a handle; null, and a misuse, when there is none.
std::shared_ptr<Thread> ThreadOf(HANDLE handle) {
  if (handle != GetCurrentThread()) {
    std::shared_ptr<Thread> thread = Handles().Find(handle);
    return thread != nullptr ? thread : Misuse(thread);
  }
  if (current_thread != nullptr) return current_thread->thread;
  // A thread of somebody else's: it lives as long as anything that it may ask here.
  static thread_local Thread other;
  static thread_local const bool begun = (other.SetId(gettid()), true);
  static_cast<void>(begun);
  return {std::shared_ptr<Thread>(), &other};
}

}  // namespace

extern "C" {

DWORD GetTempPathA(DWORD size, LPSTR buffer) {
  const char* directory = std::getenv("TMPDIR");
  const std::string_view path = directory != nullptr && *directory != '\0' ? directory : "/tmp";
  const std::string_view end = path.ends_with('/') ? "" : "/";
  const auto length = static_cast<DWORD>(path.size() + end.size());
  if (buffer == nullptr || size <= length) return length + 1;
  *std::ranges::copy(end, std::ranges::copy(path, buffer).out).out = '\0';
  return length;
}

HANDLE CreateThread(LPSECURITY_ATTRIBUTES /*attributes*/, SIZE_T /*stack_size*/,
                    LPTHREAD_START_ROUTINE start, LPVOID parameter, DWORD creation_flags,
                    LPDWORD thread_id) {
  // A flag would ask for a suspended thread, which nobody here could resume.
  if (start == nullptr || creation_flags != 0) return Misuse<HANDLE>(nullptr);
  HANDLE handle = nullptr;
  if (fail_create_thread || !StartThread(start, parameter, handle)) return nullptr;
  if (thread_id != nullptr) *thread_id = ++last_thread_id;
  return handle;
}

BOOL CloseHandle(HANDLE handle) {
  if (handle == GetCurrentThread()) return 1;
  return Handles().Remove(handle) ? 1 : Misuse<BOOL>(0);
}

HANDLE GetCurrentThread() {
  // NOLINTNEXTLINE(performance-no-int-to-ptr): the number that Windows has for it
  return reinterpret_cast<HANDLE>(static_cast<intptr_t>(-2));
}

BOOL SetThreadPriority(HANDLE thread, int priority) {
  static constexpr std::array kPriorities = {THREAD_PRIORITY_IDLE,         THREAD_PRIORITY_LOWEST,
                                             THREAD_PRIORITY_BELOW_NORMAL, THREAD_PRIORITY_NORMAL,
                                             THREAD_PRIORITY_ABOVE_NORMAL, THREAD_PRIORITY_HIGHEST,
                                             THREAD_PRIORITY_TIME_CRITICAL};
  if (std::find(kPriorities.begin(), kPriorities.end(), priority) == kPriorities.end()) return 0;
  const std::shared_ptr<Thread> found = ThreadOf(thread);
  if (found == nullptr) return 0;
  found->SetPriority(priority);
  last_priority_set = priority;
  return 1;
}

int GetThreadPriority(HANDLE thread) {
  const std::shared_ptr<Thread> found = ThreadOf(thread);
  return found != nullptr ? found->Priority() : THREAD_PRIORITY_ERROR_RETURN;
}

BOOL GetModuleHandleExA(DWORD flags, LPCSTR address, HMODULE* module) {
  *module = nullptr;
  if ((flags & GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS) == 0) return Misuse<BOOL>(0);
  Dl_info info = {};
  link_map* map = nullptr;
  if (dladdr1(address, &info, reinterpret_cast<void**>(&map), RTLD_DL_LINKMAP) == 0) return 0;
  // The program itself has no name in this list.
  const char* const file = *map->l_name != '\0' ? map->l_name : nullptr;
  const bool pin = (flags & GET_MODULE_HANDLE_EX_FLAG_PIN) != 0;
  void* const found = dlopen(file, RTLD_LAZY | RTLD_NOLOAD | (pin ? RTLD_NODELETE : 0));
  *module = static_cast<HMODULE>(found);
  if (found == nullptr) return 0;
  if ((flags & GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT) != 0) dlclose(found);
  return 1;
}

BOOL FreeLibrary(HMODULE module) {
  return module != nullptr && dlclose(module) == 0 ? 1 : Misuse<BOOL>(0);
}

void FreeLibraryAndExitThread(HMODULE module, DWORD /*exit_code*/) {
  // There is no way to leave a thread whose first function is not here.
  if (current_thread == nullptr) std::abort();
  current_thread->library = module;
  std::longjmp(current_thread->exit, 1);
}

HANDLE GetProcessHeap() {
  static char heap;
  return &heap;
}

LPVOID HeapAlloc(HANDLE heap, DWORD flags, SIZE_T size) {
  if (heap != GetProcessHeap()) return Misuse<LPVOID>(nullptr);
  if (fail_heap_alloc) return nullptr;
  void* block = std::malloc(size > 0 ? size : 1);
  if (block == nullptr) return nullptr;
  // Memory that nobody asked to be zero is not.
  std::memset(block, (flags & HEAP_ZERO_MEMORY) != 0 ? 0 : 0xCD, size);
  try {
    HeapBlocks().Add(block, size);
  } catch (const std::bad_alloc&) {
    std::free(block);
    return nullptr;
  }
  return block;
}

BOOL HeapFree(HANDLE heap, DWORD /*flags*/, LPVOID block) {
  if (heap != GetProcessHeap()) return Misuse<BOOL>(0);
  if (block == nullptr) return 1;
  if (!HeapBlocks().Remove(block)) return Misuse<BOOL>(0);
  std::free(block);
  return 1;
}

}  // extern "C"

namespace windows_standin {

void FailCreateThread(bool fail) { fail_create_thread = fail; }
void FailHeapAlloc(bool fail) { fail_heap_alloc = fail; }

int64_t HandlesOpen() { return Handles().Size(); }
int64_t HeapBlocksOut() { return HeapBlocks().Size(); }
int64_t ThreadsRunning() { return threads_running; }
int LastPrioritySet() { return last_priority_set; }
int64_t Misuses() { return misuses; }

}  // namespace windows_standin
