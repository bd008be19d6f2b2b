// The parameters of a login request, and the credentials that EOS is handed out of them.
#pragma once

#include "auth/login_tables.h"
#include "core_contract/json.h"
#include "core_contract/login_parameters.h"
#include "eos_auth_types.h"
#include "zelk_epic_secret.h"

namespace zelk {

inline bool HasLoginMode(const JSONReaderParse& parameters) {
  return parameters.IsObject() && parameters.HasMember(kLoginModeKey);
}

// The first of the mode's keys that the parameters lack, or null.
inline const char* MissingKey(const LoginMode& mode, const JSONReaderParse& parameters) {
  for (const char* key : {mode.id_key, mode.token_key}) {
    if (key != nullptr && !parameters.HasMember(key)) return key;
  }
  return nullptr;
}

// The options of EOS_Auth_Login, the credentials that they point to, and the texts that those point
// to, in one object. It is destroyed, and with it every trace of the texts, as soon as the call
// that reads it has returned.
class LoginCredentials {
 public:
  // `parameters` has what `mode` needs.
  LoginCredentials(const LoginMode& mode, const JSONReaderParse& parameters,
                   EOS_EAuthScopeFlags scope_flags)
      : credentials_{.ApiVersion = 2,
                     .Id = Read(parameters, mode.id_key, id_),
                     .Token = Read(parameters, mode.token_key, token_),
                     .Type = mode.type},
        options_{.ApiVersion = 2, .Credentials = &credentials_, .ScopeFlags = scope_flags} {}
  LoginCredentials(const LoginCredentials&) = delete;
  LoginCredentials& operator=(const LoginCredentials&) = delete;

  const EOS_Auth_LoginOptions& options() const { return options_; }

 private:
  // Null when there is no such member for the mode.
  static const char* Read(const JSONReaderParse& parameters, const char* key, SecretText& secret) {
    if (key == nullptr) return nullptr;
    parameters[key].Convert(secret.text(), false);
    return secret.text().c_str();
  }

  SecretText id_;
  SecretText token_;
  EOS_Auth_Credentials credentials_;
  EOS_Auth_LoginOptions options_;
};

}  // namespace zelk
