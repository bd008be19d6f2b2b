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

struct Replacement {
  const char* name;
  void* function;
};
const Replacement kReplacements[] = {
    {"CreateThread", reinterpret_cast<void*>(&WatchedCreateThread)},
    {"FreeLibraryAndExitThread", reinterpret_cast<void*>(&WatchedFreeLibraryAndExitThread)},
    {"CloseHandle", reinterpret_cast<void*>(&WatchedCloseHandle)},
    {"HeapAlloc", reinterpret_cast<void*>(&WatchedHeapAlloc)},
    {"HeapFree", reinterpret_cast<void*>(&WatchedHeapFree)},
};

// Fills `place`, where the import `name` was found.
bool Replace(const char* name, IMAGE_THUNK_DATA& place) {
  for (const Replacement& replacement : kReplacements) {
    if (std::strcmp(replacement.name, name) != 0) continue;
    DWORD protection = 0;
    VirtualProtect(&place, sizeof place, PAGE_READWRITE, &protection);
    place.u1.Function = reinterpret_cast<ULONG_PTR>(replacement.function);
    VirtualProtect(&place, sizeof place, protection, &protection);
    return true;
  }
  return false;
}

}  // namespace

bool Watch(void* in_library) {
  HMODULE library = nullptr;
  GetModuleHandleExA(
      GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
      static_cast<const char*>(in_library), &library);
  auto* const base = reinterpret_cast<std::byte*>(library);
  const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
  const auto* const headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
  const IMAGE_DATA_DIRECTORY& imports =
      headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
  std::size_t replaced = 0;
  for (auto* from = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + imports.VirtualAddress);
       from->Name != 0; ++from) {
    auto* name = reinterpret_cast<const IMAGE_THUNK_DATA*>(base + from->OriginalFirstThunk);
    auto* place = reinterpret_cast<IMAGE_THUNK_DATA*>(base + from->FirstThunk);
    for (; name->u1.AddressOfData != 0; ++name, ++place) {
      if (IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal)) continue;
      const auto* const import =
          reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + name->u1.AddressOfData);
      if (Replace(reinterpret_cast<const char*>(import->Name), *place)) ++replaced;
    }
  }
  return replaced == std::size(kReplacements);
}

void FailCreateThread(bool fail) { create_thread_fails = fail; }
void FailHeapAlloc(bool fail) { heap_alloc_fails = fail; }
int64_t HandlesOpen() { return handles.size(); }
int64_t HeapBlocksOut() { return blocks.size(); }
int64_t ThreadsRunning() { return threads_running; }
int64_t Misuses() { return misuses; }

}  // namespace system_calls
