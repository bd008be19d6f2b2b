#include "counted_memory.h"

#include <atomic>
#include <cstddef>

namespace {

std::atomic<int64_t> allocations = 0;
std::atomic<int64_t> bytes = 0;

}  // namespace

// The C library's own, under its second name.
extern "C" void* __libc_malloc(std::size_t size);

// Of the whole process: operator new and the SDK's nodes come here in the end.
extern "C" void* malloc(std::size_t size) {
  allocations.fetch_add(1, std::memory_order_relaxed);
  bytes.fetch_add(static_cast<int64_t>(size), std::memory_order_relaxed);
  return __libc_malloc(size);
}

zelk::benchmarks::AllocatedMemory zelk::benchmarks::AllocatedSoFar() {
  return {.allocations = allocations, .bytes = bytes};
}
