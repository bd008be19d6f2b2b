#include "windows.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <set>
#include <string>
#include <system_error>
#include <thread>

#include "windows_standin.h"

namespace {

std::atomic<bool> fail_create_thread = false;
std::atomic<bool> fail_heap_alloc = false;
std::atomic<int64_t> threads_running = 0;
std::atomic<DWORD> last_thread_id = 0;
std::atomic<int64_t> misuses = 0;

template <class T>
T Misuse(T failure) {
  ++misuses;
  return failure;
}

// What was handed out and not yet given back.
class Ledger {
 public:
  void Add(void* item) {
    const std::scoped_lock lock(mutex_);
    items_.insert(item);
  }

  bool Remove(void* item) {
    const std::scoped_lock lock(mutex_);
    return items_.erase(item) > 0;
  }

  int64_t Size() {
    const std::scoped_lock lock(mutex_);
    return static_cast<int64_t>(items_.size());
  }

 private:
  std::mutex mutex_;
  std::set<void*> items_;
};

// Never destroyed: detached threads may run until the process ends.
Ledger& Handles() {
  static Ledger& handles = *new Ledger;
  return handles;
}

Ledger& HeapBlocks() {
  static Ledger& blocks = *new Ledger;
  return blocks;
}

// A number that no other handle ever has, so that closing one twice is always noticed. It has
// nothing to do with the thread, which may end before or after its handle is closed.
HANDLE NewHandle() {
  static std::atomic<uintptr_t> last = 0;
  // NOLINTNEXTLINE(performance-no-int-to-ptr): a number, as on Windows; nothing is behind it
  auto* const handle = reinterpret_cast<HANDLE>(last += 4);
  Handles().Add(handle);
  return handle;
}

// The first thread-local object of its thread, and therefore the last one destroyed.
struct RunningThread {
  ~RunningThread() { --threads_running; }
};

void RunThread(LPTHREAD_START_ROUTINE start, LPVOID parameter) {
  static thread_local RunningThread running;
  static_cast<void>(&running);
  start(parameter);
}

bool StartThread(LPTHREAD_START_ROUTINE start, LPVOID parameter) {
  ++threads_running;
  try {
    std::thread(RunThread, start, parameter).detach();
    return true;
  } catch (const std::system_error&) {
    --threads_running;
    return false;
  }
}

}  // namespace

extern "C" {

DWORD GetTempPathA(DWORD size, LPSTR buffer) {
  const char* directory = std::getenv("TMPDIR");
  std::string path = directory != nullptr && *directory != '\0' ? directory : "/tmp";
  if (path.back() != '/') path += '/';
  const auto length = static_cast<DWORD>(path.size());
  if (buffer == nullptr || size <= length) return length + 1;
  std::memcpy(buffer, path.c_str(), length + 1);
  return length;
}

HANDLE CreateThread(LPSECURITY_ATTRIBUTES /*attributes*/, SIZE_T /*stack_size*/,
                    LPTHREAD_START_ROUTINE start, LPVOID parameter, DWORD creation_flags,
                    LPDWORD thread_id) {
  // A flag would ask for a suspended thread, which nobody here could resume.
  if (start == nullptr || creation_flags != 0) return Misuse<HANDLE>(nullptr);
  if (fail_create_thread || !StartThread(start, parameter)) return nullptr;
  if (thread_id != nullptr) *thread_id = ++last_thread_id;
  return NewHandle();
}

BOOL CloseHandle(HANDLE handle) { return Handles().Remove(handle) ? 1 : Misuse<BOOL>(0); }

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
  HeapBlocks().Add(block);
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
int64_t Misuses() { return misuses; }

}  // namespace windows_standin
