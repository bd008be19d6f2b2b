// The UserInfo interface: names, country and language of accounts.
#pragma once

#include "eos_userinfo_types.h"

EOS_DECLARE_FUNC(void)
EOS_UserInfo_QueryUserInfo(EOS_HUserInfo Handle, const EOS_UserInfo_QueryUserInfoOptions* Options,
                           void* ClientData,
                           const EOS_UserInfo_OnQueryUserInfoCallback CompletionDelegate);

// EOS_NotFound when nothing is cached for the target. Release the copy before its platform.
EOS_DECLARE_FUNC(EOS_EResult)
EOS_UserInfo_CopyUserInfo(EOS_HUserInfo Handle, const EOS_UserInfo_CopyUserInfoOptions* Options,
                          EOS_UserInfo** OutUserInfo);
