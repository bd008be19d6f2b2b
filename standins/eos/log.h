// The log: messages for the callback that the caller registered, filtered by category and level. A
// message that nobody would see is never put together.
#pragma once

#include <string>
#include <string_view>

#include "eos_logging.h"

namespace eos_standin {

inline constexpr const char* kLogCore = "LogEOS";
inline constexpr const char* kLogAuth = "LogEOSAuth";
inline constexpr const char* kLogConnect = "LogEOSConnect";
inline constexpr const char* kLogFriends = "LogEOSFriends";
inline constexpr const char* kLogUserInfo = "LogEOSUserInfo";

void SetLogCallback(EOS_LogMessageFunc callback);
void SetLogThreshold(EOS_ELogCategory category, EOS_ELogLevel level);

bool IsLogged(std::string_view category, EOS_ELogLevel level);
void WriteLog(const char* category, EOS_ELogLevel level, std::string message);

template <class... Parts>
void Log(const char* category, EOS_ELogLevel level, const Parts&... parts) {
  if (!IsLogged(category, level)) return;
  std::string message;
  (message.append(parts), ...);
  WriteLog(category, level, std::move(message));
}

}  // namespace eos_standin
