#include "core_contract/results.h"

#include <utility>

namespace zelk {

BaseResult::BaseResult(int32_t code) : method_id(0), ret_code(code), third_code(0) {}
BaseResult::~BaseResult() = default;

AuthResult::AuthResult(int32_t code) : BaseResult(code), token_expire_time(0), channelid(0) {}
AuthResult::~AuthResult() = default;

AuthPluginResult::AuthPluginResult() : BaseResult(kResultSuccess), channelid(0) {}
AuthPluginResult::~AuthPluginResult() = default;

PersonInfo::PersonInfo() : gender(0) {}
PersonInfo& PersonInfo::operator=(const PersonInfo& other) = default;
PersonInfo::~PersonInfo() = default;

FriendResult::FriendResult(int32_t code) : BaseResult(code) {}
FriendResult::FriendResult(int32_t code, int32_t third, SdkString message) : BaseResult(code) {
  third_code = third;
  ret_msg = std::move(message);
}
FriendResult::~FriendResult() = default;

}  // namespace zelk
