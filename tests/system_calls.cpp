// The calls of the plugin into Windows, by way of its import table: this file's functions take the
// places of the system's.
#include "system_calls.h"

#include <windows.h>

#include <atomic>
#include <cstddef>
#include <cstring>
#include <mutex>
#include <set>

namespace system_calls {
namespace {

std::atomic<bool> create_thread_fails = false;
std::atomic<bool> heap_alloc_fails = false;
std::atomic<int64_t> threads_running = 0;
std::atomic<int64_t> misuses = 0;

// What the plugin was given and has not given back.
class Lent {
 public:
  void Add(void* object) {
    const std::lock_guard lock(mutex_);
    objects_.insert(object);
  }
  bool Remove(void* object) {
    const std::lock_guard lock(mutex_);
    return objects_.erase(object) > 0;
  }
  int64_t size() {
    const std::lock_guard lock(mutex_);
    return static_cast<int64_t>(objects_.size());
  }

 private:
  std::mutex mutex_;
  std::set<void*> objects_;
};
Lent handles;
Lent blocks;

HANDLE WINAPI WatchedCreateThread(SECURITY_ATTRIBUTES* attributes, SIZE_T stack_size,
                                  LPTHREAD_START_ROUTINE run, void* parameter, DWORD flags,
                                  DWORD* id) {
  if (create_thread_fails) return nullptr;
  ++threads_running;
  const HANDLE thread = CreateThread(attributes, stack_size, run, parameter, flags, id);
  thread != nullptr ? handles.Add(thread) : static_cast<void>(--threads_running);
  return thread;
}

VOID WINAPI WatchedFreeLibraryAndExitThread(HMODULE library, DWORD exit_code) {
  --threads_running;
  FreeLibraryAndExitThread(library, exit_code);
}

// The compiler's run time in the plugin closes handles of its own.
BOOL WINAPI WatchedCloseHandle(HANDLE handle) {
  handles.Remove(handle);
  const BOOL closed = CloseHandle(handle);
  if (closed == 0) ++misuses;
  return closed;
}

void* WINAPI WatchedHeapAlloc(HANDLE heap, DWORD flags, SIZE_T size) {
  void* const block = heap_alloc_fails ? nullptr : HeapAlloc(heap, flags, size);
  if (block != nullptr) blocks.Add(block);
  return block;
}

BOOL WINAPI WatchedHeapFree(HANDLE heap, DWORD flags, void* block) {
  if (!blocks.Remove(block)) ++misuses;
  return HeapFree(heap, flags, block);
}

}  // namespace

bool ReplaceImport(const void* in_library, const char* name, void* function) {
  HMODULE library = nullptr;
  GetModuleHandleExA(
      GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
      static_cast<const char*>(in_library), &library);
  auto* const base = reinterpret_cast<std::byte*>(library);
  const auto at = [base](auto type, auto offset) {
    return reinterpret_cast<decltype(type)>(base + offset);
  };
  const auto* const headers = at(PIMAGE_NT_HEADERS(), at(PIMAGE_DOS_HEADER(), 0)->e_lfanew);
  const IMAGE_DATA_DIRECTORY& imports =
      headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
  for (auto* from = at(PIMAGE_IMPORT_DESCRIPTOR(), imports.VirtualAddress); from->Name != 0;
       ++from) {
    auto* import = at(PIMAGE_THUNK_DATA(), from->OriginalFirstThunk);
    auto* place = at(PIMAGE_THUNK_DATA(), from->FirstThunk);
    for (; import->u1.AddressOfData != 0; ++import, ++place) {
      if (IMAGE_SNAP_BY_ORDINAL(import->u1.Ordinal) ||
          std::strcmp(at(PIMAGE_IMPORT_BY_NAME(), import->u1.AddressOfData)->Name, name) != 0)
        continue;
      DWORD protection = 0;
      VirtualProtect(place, sizeof *place, PAGE_READWRITE, &protection);
      place->u1.Function = reinterpret_cast<ULONG_PTR>(function);
      VirtualProtect(place, sizeof *place, protection, &protection);
      return true;
    }
  }
  return false;
}

bool Watch(const void* in_library) {
  const auto replace = [in_library](const char* name, auto* function) {
    return ReplaceImport(in_library, name, reinterpret_cast<void*>(function));
  };
  return replace("CreateThread", &WatchedCreateThread) &&
         replace("FreeLibraryAndExitThread", &WatchedFreeLibraryAndExitThread) &&
         replace("CloseHandle", &WatchedCloseHandle) && replace("HeapAlloc", &WatchedHeapAlloc) &&
         replace("HeapFree", &WatchedHeapFree);
}

void FailCreateThread(bool fail) { create_thread_fails = fail; }
void FailHeapAlloc(bool fail) { heap_alloc_fails = fail; }
int64_t HandlesOpen() { return handles.size(); }
int64_t HeapBlocksOut() { return blocks.size(); }
int64_t ThreadsRunning() { return threads_running; }
int64_t Misuses() { return misuses; }

}  // namespace system_calls
