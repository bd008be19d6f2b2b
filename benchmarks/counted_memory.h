// Counts what every library of the process takes from the heap.
#pragma once

#include <cstdint>

namespace zelk::benchmarks {

struct AllocatedMemory {
  int64_t allocations;
  int64_t bytes;
};

// Any thread. Since the process began.
AllocatedMemory AllocatedSoFar();

}  // namespace zelk::benchmarks
