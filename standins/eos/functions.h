// The exported functions of the library, by name: rules, records and misuses speak of them.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

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

}  // namespace eos_standin
