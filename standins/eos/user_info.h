// The UserInfo interface's service: what a player may know of other players. Nothing is logged of
// single accounts that are found: callers ask for thousands.
#pragma once

#include "async_call.h"
#include "eos_userinfo.h"

namespace eos_standin {

struct QueryUserInfo
    : AsyncSteps<Function::EOS_UserInfo_QueryUserInfo, EOS_USERINFO_QUERYUSERINFO_API_LATEST,
                 EOS_UserInfo_QueryUserInfoOptions, EOS_UserInfo_QueryUserInfoCallbackInfo> {
  static EOS_EResult Work(Platform& platform, const Info& info);
  static void BeforeCompletion(const Platform& platform, const Scripted& scripted,
                               const Info& info);
};

EOS_UserInfo* LendUserInfo(const Platform* platform, EOS_EpicAccountId user, bool null_texts);
void ReclaimUserInfo(Function function, const EOS_UserInfo* info);
// Reports what the platform still has out.
void ReportLeakedUserInfos(Function function, const Platform* platform);

}  // namespace eos_standin
