// The levels of EOS's messages in the SDK's log.
#pragma once

#include <algorithm>
#include <array>

#include "core_contract/log.h"
#include "eos_logging.h"

namespace zelk {

struct LogLevelRow {
  EOS_ELogLevel eos;
  LogLevel sdk;
};
inline constexpr std::array kLogLevels{
    LogLevelRow{EOS_ELogLevel::EOS_LOG_Fatal, kLogError},
    LogLevelRow{EOS_ELogLevel::EOS_LOG_Error, kLogError},
    LogLevelRow{EOS_ELogLevel::EOS_LOG_Warning, kLogWarning},
};

// Information, unless the table says otherwise.
inline LogLevel SdkLogLevel(EOS_ELogLevel level) {
  const auto row = std::ranges::find(kLogLevels, level, &LogLevelRow::eos);
  return row != kLogLevels.end() ? row->sdk : kLogInfo;
}

}  // namespace zelk
