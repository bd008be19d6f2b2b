#include "user_info.h"

#include "start.h"

using namespace eos_standin;
using enum EOS_EResult;

EOS_DECLARE_FUNC(void)
EOS_UserInfo_QueryUserInfo(EOS_HUserInfo Handle, const EOS_UserInfo_QueryUserInfoOptions* Options,
                           void* ClientData,
                           const EOS_UserInfo_OnQueryUserInfoCallback CompletionDelegate) {
  Start<QueryUserInfo>(Handle, Options, ClientData, CompletionDelegate);
}

EOS_DECLARE_FUNC(EOS_EResult)
EOS_UserInfo_CopyUserInfo(EOS_HUserInfo Handle, const EOS_UserInfo_CopyUserInfoOptions* Options,
                          EOS_UserInfo** OutUserInfo) {
  const CallScope scope(Function::EOS_UserInfo_CopyUserInfo, Options);
  Platform* platform = scope.PlatformOf(Handle, Options);
  if (platform == nullptr || OutUserInfo == nullptr) return EOS_InvalidParameters;
  *OutUserInfo = nullptr;
  const Scripted scripted = scope.Script(TextOf(Options->TargetUserId));
  if (scripted.Fails()) return scripted.result;
  const EOS_EResult version =
      CheckVersion(Options->ApiVersion, EOS_USERINFO_COPYUSERINFO_API_LATEST);
  if (version != EOS_Success) return version;
  const Session* session = platform->SessionOf(Options->LocalUserId);
  const bool known = platform->known_users.contains(Options->TargetUserId);
  if (session == nullptr || !known) return EOS_NotFound;
  const bool has_profile = session->Has(EOS_EAuthScopeFlags::EOS_AS_BasicProfile);
  *OutUserInfo = LendUserInfo(platform, Options->TargetUserId, scripted.null_texts || !has_profile);
  return EOS_Success;
}

EOS_DECLARE_FUNC(void) EOS_UserInfo_Release(EOS_UserInfo* UserInfo) {
  const CallScope scope(Function::EOS_UserInfo_Release);
  if (scope.Allowed() && UserInfo != nullptr) ReclaimUserInfo(scope.function(), UserInfo);
}
