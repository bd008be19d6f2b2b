// The Auth interface's service: signing in and out, and the tokens of who is signed in.
#pragma once

#include <string>

#include "async_call.h"
#include "eos_auth.h"

namespace eos_standin {

class Login : public AsyncSteps<Function::EOS_Auth_Login, EOS_AUTH_LOGIN_API_LATEST,
                                EOS_Auth_LoginOptions, EOS_Auth_LoginCallbackInfo> {
 public:
  EOS_EResult Begin(const Options& options);
  // A player with a pin is first told the pin, and has entered it when the operation runs again.
  EOS_EResult Work(Platform& platform, Info& info);
  void BeforeCompletion(const Platform& platform, const Scripted& scripted, Info& info);
  void AfterCompletion();

 private:
  const Account* FindAccount(const Platform& platform) const;
  void ShowPin(bool null_texts);

  EOS_ELoginCredentialType type_{};
  std::string id_;
  std::string token_;
  EOS_EAuthScopeFlags scopes_{};
  bool pin_shown_ = false;
  EOS_Auth_PinGrantInfo pin_{};
  std::string user_code_;
  std::string address_;
  std::string complete_address_;
};

struct Logout : AsyncSteps<Function::EOS_Auth_Logout, EOS_AUTH_LOGOUT_API_LATEST,
                           EOS_Auth_LogoutOptions, EOS_Auth_LogoutCallbackInfo> {
  static EOS_EResult Work(Platform& platform, const Info& info);
};

struct DeletePersistentAuth
    : AsyncSteps<Function::EOS_Auth_DeletePersistentAuth, EOS_AUTH_DELETEPERSISTENTAUTH_API_LATEST,
                 EOS_Auth_DeletePersistentAuthOptions, EOS_Auth_DeletePersistentAuthCallbackInfo> {
  static EOS_EResult Work(const Platform& platform, const Info& info);
};

EOS_Auth_Token* LendToken(const Platform* platform, const Session& session, bool null_texts);
void ReclaimToken(Function function, const EOS_Auth_Token* token);
// Reports what the platform still has out.
void ReportLeakedTokens(Function function, const Platform* platform);

}  // namespace eos_standin
