#include "counted_memory.h"

#include <malloc.h>

#include <atomic>
#include <cstddef>

// The C library's own, under their second names.
extern "C" void* __libc_malloc(std::size_t size);
extern "C" void __libc_free(void* block);

namespace {

constexpr auto kRelaxed = std::memory_order_relaxed;

std::atomic<int64_t> allocations = 0;
std::atomic<int64_t> bytes = 0;
std::atomic<int64_t> in_use = 0;
std::atomic<int64_t> peak = 0;

}  // namespace

// Of the whole process: operator new and the SDK's nodes come here in the end.
extern "C" void* malloc(std::size_t size) {
  void* const block = __libc_malloc(size);
  if (block == nullptr) return nullptr;
  allocations.fetch_add(1, kRelaxed);
  bytes.fetch_add(static_cast<int64_t>(size), kRelaxed);
  const auto usable = static_cast<int64_t>(malloc_usable_size(block));
  const int64_t now = in_use.fetch_add(usable, kRelaxed) + usable;
  int64_t most = peak.load(kRelaxed);
  while (now > most && !peak.compare_exchange_weak(most, now, kRelaxed)) {
  }
  return block;
}

// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name): the C library says __ptr
extern "C" void free(void* block) {
  if (block == nullptr) return;
  in_use.fetch_sub(static_cast<int64_t>(malloc_usable_size(block)), kRelaxed);
  __libc_free(block);
}

zelk::benchmarks::Memory zelk::benchmarks::MemorySoFar() {
  return {.allocations = allocations, .bytes = bytes, .in_use = in_use, .peak = peak};
}

void zelk::benchmarks::ForgetPeak() { peak = in_use.load(); }
