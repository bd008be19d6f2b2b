// Options as JSON, field by field, as far as their version goes: what RecordCalls keeps of a call.
#pragma once

#include <nlohmann/json.hpp>

#include "eos_auth_types.h"
#include "eos_connect_types.h"
#include "eos_friends_types.h"
#include "eos_types.h"
#include "eos_userinfo_types.h"

namespace eos_standin {

using Json = nlohmann::ordered_json;

Json Describe(const char* text);
Json Describe(EOS_EpicAccountId id);
Json Describe(EOS_ProductUserId id);
Json Describe(const EOS_InitializeOptions& options);
Json Describe(const EOS_Platform_Options& options);
Json Describe(const EOS_Auth_LoginOptions& options);
Json Describe(const EOS_Auth_LogoutOptions& options);
Json Describe(const EOS_Auth_DeletePersistentAuthOptions& options);
Json Describe(const EOS_Auth_CopyUserAuthTokenOptions& options);
Json Describe(const EOS_Connect_LoginOptions& options);
Json Describe(const EOS_Connect_CreateUserOptions& options);
Json Describe(const EOS_Connect_AddNotifyAuthExpirationOptions& options);
Json Describe(const EOS_Friends_QueryFriendsOptions& options);
Json Describe(const EOS_Friends_GetFriendsCountOptions& options);
Json Describe(const EOS_Friends_GetFriendAtIndexOptions& options);
Json Describe(const EOS_Friends_GetStatusOptions& options);
Json Describe(const EOS_UserInfo_QueryUserInfoOptions& options);
Json Describe(const EOS_UserInfo_CopyUserInfoOptions& options);

}  // namespace eos_standin
