#include "connect.h"

#include "start.h"

using namespace eos_standin;

EOS_DECLARE_FUNC(void)
EOS_Connect_Login(EOS_HConnect Handle, const EOS_Connect_LoginOptions* Options, void* ClientData,
                  const EOS_Connect_OnLoginCallback CompletionDelegate) {
  Start<ConnectLogin>(Handle, Options, ClientData, CompletionDelegate);
}

EOS_DECLARE_FUNC(void)
EOS_Connect_CreateUser(EOS_HConnect Handle, const EOS_Connect_CreateUserOptions* Options,
                       void* ClientData,
                       const EOS_Connect_OnCreateUserCallback CompletionDelegate) {
  Start<CreateUser>(Handle, Options, ClientData, CompletionDelegate);
}

EOS_DECLARE_FUNC(EOS_NotificationId)
EOS_Connect_AddNotifyAuthExpiration(EOS_HConnect Handle,
                                    const EOS_Connect_AddNotifyAuthExpirationOptions* Options,
                                    void* ClientData,
                                    const EOS_Connect_OnAuthExpirationCallback Notification) {
  const CallScope scope(Function::EOS_Connect_AddNotifyAuthExpiration, Options);
  Platform* platform = scope.PlatformOf(Handle, Options);
  if (platform == nullptr || Notification == nullptr) return EOS_INVALID_NOTIFICATIONID;
  const EOS_EResult version =
      CheckVersion(Options->ApiVersion, EOS_CONNECT_ADDNOTIFYAUTHEXPIRATION_API_LATEST);
  if (version != EOS_EResult::EOS_Success || scope.Script().Fails()) {
    return EOS_INVALID_NOTIFICATIONID;
  }
  platform->expiration_listeners.push_back({Notification, ClientData});
  return platform->expiration_listeners.size();
}
