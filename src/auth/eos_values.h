// Values of EOS as the plugin keeps them.
#pragma once

#include <cstdint>
#include <limits>

namespace zelk {

inline const char* TextOrEmpty(const char* text) { return text != nullptr ? text : ""; }

// Truncated toward zero; what no unsigned number can hold becomes the nearest that can.
inline uint64_t WholeSeconds(double seconds) {
  constexpr double kEnd = 18446744073709551616.0;  // 2 to the 64th
  if (!(seconds > 0)) return 0;
  return seconds < kEnd ? static_cast<uint64_t>(seconds) : std::numeric_limits<uint64_t>::max();
}

}  // namespace zelk
