// The Connect interface.
#include "eos_connect.h"

#include "entry.h"
#include "library.h"
#include "log.h"
#include "results.h"

namespace eos_standin {
namespace {

using enum EOS_EResult;
using enum EOS_ELogLevel;

EOS_EResult CheckLogin(const EOS_Connect_LoginOptions& options) {
  if (CheckVersion(options.ApiVersion, EOS_CONNECT_LOGIN_API_LATEST) != EOS_Success) {
    return EOS_VersionMismatch;
  }
  const EOS_Connect_Credentials* credentials = options.Credentials;
  if (credentials == nullptr) return EOS_InvalidParameters;
  if (CheckVersion(credentials->ApiVersion, EOS_CONNECT_CREDENTIALS_API_LATEST) != EOS_Success) {
    return EOS_VersionMismatch;
  }
  const bool good = credentials->Token != nullptr && *credentials->Token != '\0' &&
                    credentials->Type == EOS_EExternalCredentialType::EOS_ECT_EPIC;
  return good ? EOS_Success : EOS_InvalidParameters;
}

class ConnectLogin final : public Completion<EOS_Connect_LoginCallbackInfo> {
 public:
  ConnectLogin(Platform& platform, const EOS_Connect_LoginOptions& options, void* client_data,
               Callback callback)
      : Completion(Function::EOS_Connect_Login, nullptr, client_data, callback),
        platform_(platform),
        refused_(CheckLogin(options)) {
    if (refused_ == EOS_Success) token_ = options.Credentials->Token;
    Log(kLogConnect, EOS_LOG_Verbose, "Connect login started");
  }

 private:
  EOS_EResult Work() override {
    if (refused_ != EOS_Success) return refused_;
    const Account* account = AccountOfToken();
    if (account == nullptr) return EOS_InvalidAuth;
    if (!account->product_user) return EOS_InvalidUser;
    info_.LocalUserId = platform_.product_user = ProductUserHandle(*account->product_user);
    return EOS_Success;
  }

  const Account* AccountOfToken() const {
    const auto found = platform_.access_tokens.find(token_);
    return found == platform_.access_tokens.end() ? nullptr : TheWorld().Find(found->second);
  }

  // Also a scripted InvalidUser comes with what creates the user.
  void Furnish(EOS_EResult result, const Scripted&) override {
    const Account* account = result == EOS_InvalidUser ? AccountOfToken() : nullptr;
    info_.ContinuanceToken = account == nullptr ? nullptr : ContinuanceTokenFor(account->id);
    Log(kLogConnect, result == EOS_Success ? EOS_LOG_Info : EOS_LOG_Warning,
        "Connect login completed: ", NameOf(result));
  }

  Platform& platform_;
  EOS_EResult refused_;
  std::string token_;
};

class CreateUser final : public Completion<EOS_Connect_CreateUserCallbackInfo> {
 public:
  CreateUser(Platform& platform, const EOS_Connect_CreateUserOptions& options, void* client_data,
             Callback callback)
      : Completion(Function::EOS_Connect_CreateUser, nullptr, client_data, callback),
        platform_(platform),
        refused_(CheckVersion(options.ApiVersion, EOS_CONNECT_CREATEUSER_API_LATEST)),
        token_(options.ContinuanceToken) {}

 private:
  EOS_EResult Work() override {
    if (refused_ != EOS_Success) return refused_;
    if (token_ == nullptr) return EOS_InvalidParameters;
    TheWorld().CreateProductUser(token_->account);
    const Account* account = TheWorld().Find(token_->account);
    info_.LocalUserId = platform_.product_user = ProductUserHandle(*account->product_user);
    Log(kLogConnect, EOS_LOG_Info, "Product user created: ", info_.LocalUserId->text);
    return EOS_Success;
  }

  Platform& platform_;
  EOS_EResult refused_;
  EOS_ContinuanceToken token_;
};

}  // namespace
}  // namespace eos_standin

using namespace eos_standin;

EOS_DECLARE_FUNC(void)
EOS_Connect_Login(EOS_HConnect Handle, const EOS_Connect_LoginOptions* Options, void* ClientData,
                  const EOS_Connect_OnLoginCallback CompletionDelegate) {
  const Entry entry(Function::EOS_Connect_Login, Options);
  Platform* platform = entry.PlatformOf(Handle, Options);
  if (platform == nullptr) return;
  platform->Start(
      std::make_unique<ConnectLogin>(*platform, *Options, ClientData, CompletionDelegate));
}

EOS_DECLARE_FUNC(void)
EOS_Connect_CreateUser(EOS_HConnect Handle, const EOS_Connect_CreateUserOptions* Options,
                       void* ClientData,
                       const EOS_Connect_OnCreateUserCallback CompletionDelegate) {
  const Entry entry(Function::EOS_Connect_CreateUser, Options);
  Platform* platform = entry.PlatformOf(Handle, Options);
  if (platform == nullptr) return;
  platform->Start(
      std::make_unique<CreateUser>(*platform, *Options, ClientData, CompletionDelegate));
}

EOS_DECLARE_FUNC(EOS_NotificationId)
EOS_Connect_AddNotifyAuthExpiration(EOS_HConnect Handle,
                                    const EOS_Connect_AddNotifyAuthExpirationOptions* Options,
                                    void* ClientData,
                                    const EOS_Connect_OnAuthExpirationCallback Notification) {
  const Entry entry(Function::EOS_Connect_AddNotifyAuthExpiration, Options);
  Platform* platform = entry.PlatformOf(Handle, Options);
  if (platform == nullptr || Notification == nullptr) return EOS_INVALID_NOTIFICATIONID;
  const EOS_EResult version =
      CheckVersion(Options->ApiVersion, EOS_CONNECT_ADDNOTIFYAUTHEXPIRATION_API_LATEST);
  if (version != EOS_Success || entry.Script().Fails()) return EOS_INVALID_NOTIFICATIONID;
  platform->expiration_listeners.push_back({Notification, ClientData});
  return platform->expiration_listeners.size();
}
