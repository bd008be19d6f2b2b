// What has a name: the exported functions, the result codes, and what no caller may do. Rules,
// records and misuses speak of them by these names, which are stable.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "eos_result.h"

namespace eos_standin {

// The second column says whether a rule can change what the function answers.
#define EOS_STANDIN_FUNCTIONS(X)               \
  X(EOS_Initialize, true)                      \
  X(EOS_Shutdown, true)                        \
  X(EOS_Platform_Create, true)                 \
  X(EOS_Platform_Release, false)               \
  X(EOS_Platform_Tick, false)                  \
  X(EOS_Platform_GetAuthInterface, true)       \
  X(EOS_Platform_GetConnectInterface, true)    \
  X(EOS_Platform_GetFriendsInterface, true)    \
  X(EOS_Platform_GetUserInfoInterface, true)   \
  X(EOS_Logging_SetCallback, true)             \
  X(EOS_Logging_SetLogLevel, true)             \
  X(EOS_EpicAccountId_IsValid, true)           \
  X(EOS_EpicAccountId_ToString, true)          \
  X(EOS_EpicAccountId_FromString, true)        \
  X(EOS_ProductUserId_ToString, true)          \
  X(EOS_EResult_ToString, false)               \
  X(EOS_Auth_Login, true)                      \
  X(EOS_Auth_Logout, true)                     \
  X(EOS_Auth_DeletePersistentAuth, true)       \
  X(EOS_Auth_CopyUserAuthToken, true)          \
  X(EOS_Auth_Token_Release, false)             \
  X(EOS_Connect_Login, true)                   \
  X(EOS_Connect_CreateUser, true)              \
  X(EOS_Connect_AddNotifyAuthExpiration, true) \
  X(EOS_Friends_QueryFriends, true)            \
  X(EOS_Friends_GetFriendsCount, true)         \
  X(EOS_Friends_GetFriendAtIndex, true)        \
  X(EOS_Friends_GetStatus, true)               \
  X(EOS_UserInfo_QueryUserInfo, true)          \
  X(EOS_UserInfo_CopyUserInfo, true)           \
  X(EOS_UserInfo_Release, false)

#define EOS_STANDIN_VALUE(name, takes_rules) name,
enum class Function : uint8_t { EOS_STANDIN_FUNCTIONS(EOS_STANDIN_VALUE) };
#undef EOS_STANDIN_VALUE

struct FunctionRow {
  std::string_view name;
  bool takes_rules;
};

#define EOS_STANDIN_ROW(name, takes_rules) FunctionRow{#name, takes_rules},
inline constexpr std::array kFunctions{EOS_STANDIN_FUNCTIONS(EOS_STANDIN_ROW)};
#undef EOS_STANDIN_ROW

constexpr size_t IndexOf(Function function) { return static_cast<size_t>(function); }
constexpr std::string_view NameOf(Function function) { return kFunctions[IndexOf(function)].name; }

constexpr std::optional<Function> FunctionNamed(std::string_view name) {
  for (size_t i = 0; i < kFunctions.size(); ++i) {
    if (kFunctions[i].name == name) return static_cast<Function>(i);
  }
  return std::nullopt;
}

struct ResultRow {
  EOS_EResult code;
  const char* name;
};

#define EOS_STANDIN_ROW(name, value) ResultRow{EOS_EResult::name, #name},
inline constexpr std::array kResults{EOS_RESULT_CODES(EOS_STANDIN_ROW)};
#undef EOS_STANDIN_ROW

constexpr const char* NameOf(EOS_EResult code) {
  for (const ResultRow& row : kResults) {
    if (row.code == code) return row.name;
  }
  return "EOS_Unknown";
}

constexpr bool IsKnownVersion(int32_t version, int32_t latest) {
  return version >= 1 && version <= latest;
}

#define EOS_STANDIN_MISUSES(X)                                                                    \
  X(kAfterShutdown, "after-shutdown", "EOS was called after EOS_Shutdown")                        \
  X(kOverlappingCall, "overlapping-call", "two threads were inside EOS at the same time")         \
  X(kNullHandle, "null-handle", "the handle of the platform or interface is null")                \
  X(kUnknownHandle, "unknown-handle", "EOS never handed out this handle or object")               \
  X(kReleasedHandle, "released-handle", "the platform of this handle has been released")          \
  X(kNullOptions, "null-options", "the options are null")                                         \
  X(kTokenReleasedTwice, "token-released-twice", "the auth token has been released before")       \
  X(kTokenAfterPlatform, "token-after-platform", "an auth token was released after its platform") \
  X(kTokenLeaked, "token-leaked", "an auth token was still out when its platform was released")   \
  X(kUserInfoReleasedTwice, "user-info-released-twice", "the user info has been released before") \
  X(kUserInfoAfterPlatform, "user-info-after-platform",                                           \
    "a user info was released after its platform")                                                \
  X(kUserInfoLeaked, "user-info-leaked", "a user info was still out when its platform was released")

#define EOS_STANDIN_VALUE(value, name, sentence) value,
enum class MisuseRule : uint8_t { EOS_STANDIN_MISUSES(EOS_STANDIN_VALUE) };
#undef EOS_STANDIN_VALUE

struct MisuseRow {
  std::string_view name;
  std::string_view sentence;
};

#define EOS_STANDIN_ROW(value, name, sentence) MisuseRow{name, sentence},
inline constexpr std::array kMisuses{EOS_STANDIN_MISUSES(EOS_STANDIN_ROW)};
#undef EOS_STANDIN_ROW

constexpr const MisuseRow& RowOf(MisuseRule rule) { return kMisuses[static_cast<size_t>(rule)]; }

}  // namespace eos_standin
