// The result records: every request is answered by one of them on the core's task queue. The
// records are the core's; their constructors and destructors live there. A record is filled and
// committed on one thread; the core copies what it needs during the commit.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "core_contract/export.h"
#include "core_contract/sdk_string.h"
#include "core_contract/sdk_vector.h"

namespace zelk {

// Values of `ret_code`.
enum ResultCode : int32_t {
  kResultSuccess = 0,
  kResultUnknownError = -1,
  kResultNeedLogin = 10,        // the Epic account is not valid; log in again
  kResultInvalidArgument = 11,  // a parameter of the request is missing or malformed
  kResultNotInitialized = 17,   // there is no EOS platform
  kResultThirdError = 9999,     // EOS reported a failure: see `third_code` and `third_msg`
};

// What every result has.
class BaseResult {
 public:
  ZELK_CORE_API explicit BaseResult(int32_t ret_code);
  BaseResult(const BaseResult&) = default;
  BaseResult& operator=(const BaseResult&) = default;
  ZELK_CORE_API ~BaseResult();

  int32_t method_id;     // of the request
  int32_t ret_code;      // a ResultCode
  SdkString ret_msg;     // set in friend results only
  int32_t third_code;    // the EOS result code when `ret_code` is kResultThirdError
  SdkString third_msg;   // the name of that code, or a message
  SdkString extra_json;  // JSON text with details of the result
};

static_assert(offsetof(BaseResult, method_id) == 0);
static_assert(offsetof(BaseResult, ret_code) == 4);
static_assert(offsetof(BaseResult, ret_msg) == 8);
static_assert(offsetof(BaseResult, third_code) == 24);
static_assert(offsetof(BaseResult, third_msg) == 32);
static_assert(offsetof(BaseResult, extra_json) == 48);
static_assert(sizeof(BaseResult) == 64);

// A login that failed. What follows the base fields is the core's own.
class AuthResult : public BaseResult {
 public:
  ZELK_CORE_API explicit AuthResult(int32_t ret_code);
  AuthResult(const AuthResult&) = default;
  AuthResult& operator=(const AuthResult&) = default;
  ZELK_CORE_API ~AuthResult();

  SdkString openid;
  SdkString token;
  int64_t token_expire_time;
  int32_t channelid;
  SdkString channel;
  SdkString channel_info;
};

// A login that succeeded in a channel plugin. Starts as a success.
class AuthPluginResult : public BaseResult {
 public:
  ZELK_CORE_API AuthPluginResult();
  AuthPluginResult(const AuthPluginResult&) = default;
  AuthPluginResult& operator=(const AuthPluginResult&) = default;
  ZELK_CORE_API ~AuthPluginResult();

  std::string channel;
  int32_t channelid;
  std::string openid;        // the player's identifier in the channel
  std::string channel_info;  // the channel's login document, JSON text
  std::string confirm_code;  // the core's own
};

// One friend.
class PersonInfo {
 public:
  ZELK_CORE_API PersonInfo();
  PersonInfo(const PersonInfo& other) : PersonInfo() { *this = other; }
  ZELK_CORE_API PersonInfo& operator=(const PersonInfo& other);
  PersonInfo& operator=(PersonInfo&& other) noexcept = default;
  ZELK_CORE_API ~PersonInfo();

  SdkString openid;
  SdkString user_name;
  int32_t gender;         // the core's own
  SdkString picture_url;  // the core's own
  SdkString country;
  SdkString province;  // the core's own
  SdkString city;      // the core's own
  SdkString language;
  SdkString extra_json;  // JSON text, for instance {"status":3}
};

// The outcome of a friend query.
class FriendResult : public BaseResult {
 public:
  ZELK_CORE_API explicit FriendResult(int32_t ret_code);
  ZELK_CORE_API FriendResult(int32_t ret_code, int32_t third_code, SdkString ret_msg);
  FriendResult(const FriendResult&) = default;
  FriendResult& operator=(const FriendResult&) = default;
  ZELK_CORE_API ~FriendResult();

  zelk_tp_stl_c::vector<PersonInfo> friend_info_list;
};

}  // namespace zelk
