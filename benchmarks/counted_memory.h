// Counts what every library of the process takes from the heap. Slows it down, so nothing is timed
// in a program with it.
#pragma once

#include <cstdint>

namespace zelk::benchmarks {

struct Memory {
  int64_t allocations;  // since the process began
  int64_t bytes;        // asked for, since the process began
  int64_t in_use;
  int64_t peak;  // the most that was in use since ForgetPeak()
};

// Any thread.
Memory MemorySoFar();
void ForgetPeak();

}  // namespace zelk::benchmarks
