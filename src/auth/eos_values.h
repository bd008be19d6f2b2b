// Values of EOS as the SDK takes them.
#pragma once

#include <cstdint>
#include <limits>

#include "core_contract/log.h"
#include "eos_logging.h"

namespace zelk {

// A string of EOS, which may be null.
inline const char* TextOrEmpty(const char* text) { return text != nullptr ? text : ""; }

// The level of a message, which is not EOS_LOG_Off.
inline LogLevel SdkLevel(EOS_ELogLevel level) {
  using enum EOS_ELogLevel;
  if (level == EOS_LOG_Warning) return kLogWarning;
  return level == EOS_LOG_Fatal || level == EOS_LOG_Error ? kLogError : kLogInfo;
}

// The result code of a completion, as a number.
template <class CallbackInfo>
int32_t CodeOf(const CallbackInfo& data) {
  return static_cast<int32_t>(data.ResultCode);
}

// Truncated toward zero; what no unsigned number can hold becomes the nearest that can.
inline uint64_t WholeSeconds(double seconds) {
  constexpr double kEnd = 18446744073709551616.0;  // 2 to the 64th
  if (!(seconds > 0)) return 0;
  return seconds < kEnd ? static_cast<uint64_t>(seconds) : std::numeric_limits<uint64_t>::max();
}

}  // namespace zelk
