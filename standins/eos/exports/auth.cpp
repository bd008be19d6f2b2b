#include "auth.h"

#include "start.h"

using namespace eos_standin;
using enum EOS_EResult;

EOS_DECLARE_FUNC(void)
EOS_Auth_Login(EOS_HAuth Handle, const EOS_Auth_LoginOptions* Options, void* ClientData,
               const EOS_Auth_OnLoginCallback CompletionDelegate) {
  Start<Login>(Handle, Options, ClientData, CompletionDelegate);
}

EOS_DECLARE_FUNC(void)
EOS_Auth_Logout(EOS_HAuth Handle, const EOS_Auth_LogoutOptions* Options, void* ClientData,
                const EOS_Auth_OnLogoutCallback CompletionDelegate) {
  Start<Logout>(Handle, Options, ClientData, CompletionDelegate);
}

EOS_DECLARE_FUNC(void)
EOS_Auth_DeletePersistentAuth(EOS_HAuth Handle, const EOS_Auth_DeletePersistentAuthOptions* Options,
                              void* ClientData,
                              const EOS_Auth_OnDeletePersistentAuthCallback CompletionDelegate) {
  Start<DeletePersistentAuth>(Handle, Options, ClientData, CompletionDelegate);
}

EOS_DECLARE_FUNC(EOS_EResult)
EOS_Auth_CopyUserAuthToken(EOS_HAuth Handle, const EOS_Auth_CopyUserAuthTokenOptions* Options,
                           EOS_EpicAccountId LocalUserId, EOS_Auth_Token** OutUserAuthToken) {
  const CallScope scope(Function::EOS_Auth_CopyUserAuthToken, [&] {
    Json json = Describe(Options);
    json["LocalUserId"] = Describe(LocalUserId);
    return json;
  });
  Platform* platform = scope.PlatformOf(Handle, Options);
  if (platform == nullptr || OutUserAuthToken == nullptr) return EOS_InvalidParameters;
  *OutUserAuthToken = nullptr;
  const Scripted scripted = scope.Script(TextOf(LocalUserId));
  if (scripted.Fails()) return scripted.result;
  const EOS_EResult version =
      CheckVersion(Options->ApiVersion, EOS_AUTH_COPYUSERAUTHTOKEN_API_LATEST);
  if (version != EOS_Success) return version;
  const Session* session = platform->SessionOf(LocalUserId);
  if (session == nullptr) return EOS_NotFound;
  *OutUserAuthToken = LendToken(platform, *session, scripted.null_texts);
  return EOS_Success;
}

EOS_DECLARE_FUNC(void) EOS_Auth_Token_Release(EOS_Auth_Token* AuthToken) {
  const CallScope scope(Function::EOS_Auth_Token_Release);
  if (scope.Allowed() && AuthToken != nullptr) ReclaimToken(scope.function(), AuthToken);
}
