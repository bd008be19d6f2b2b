// The options, data and callbacks of the UserInfo interface.
#pragma once

#include "eos_common.h"

#pragma pack(push, 8)

#define EOS_USERINFO_QUERYUSERINFO_API_LATEST 1
typedef struct EOS_UserInfo_QueryUserInfoOptions {
  int32_t ApiVersion;
  EOS_EpicAccountId LocalUserId;
  EOS_EpicAccountId TargetUserId;
} EOS_UserInfo_QueryUserInfoOptions;

typedef struct EOS_UserInfo_QueryUserInfoCallbackInfo {
  EOS_EResult ResultCode;
  void* ClientData;
  EOS_EpicAccountId LocalUserId;
  EOS_EpicAccountId TargetUserId;
} EOS_UserInfo_QueryUserInfoCallbackInfo;
EOS_DECLARE_CALLBACK(EOS_UserInfo_OnQueryUserInfoCallback,
                     const EOS_UserInfo_QueryUserInfoCallbackInfo* Data);

#define EOS_USERINFO_COPYUSERINFO_API_LATEST 1
typedef struct EOS_UserInfo_CopyUserInfoOptions {
  int32_t ApiVersion;
  EOS_EpicAccountId LocalUserId;
  EOS_EpicAccountId TargetUserId;
} EOS_UserInfo_CopyUserInfoOptions;

// Every text may be null.
#define EOS_USERINFO_API_LATEST 3
typedef struct EOS_UserInfo {
  int32_t ApiVersion;
  EOS_EpicAccountId UserId;
  const char* Country;
  const char* DisplayName;
  const char* PreferredLanguage;
  const char* Nickname;
  // Since version 3.
  const char* DisplayNameSanitized;
} EOS_UserInfo;

#pragma pack(pop)

// Gives a copy back; null is allowed.
EOS_DECLARE_FUNC(void) EOS_UserInfo_Release(EOS_UserInfo* UserInfo);
