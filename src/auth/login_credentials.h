// The parameters of a login request: where they come from, login modes, permissions, and the
// credentials that EOS is handed out of them.
#pragma once

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

#include "core_contract/base_params.h"
#include "core_contract/json.h"
#include "core_contract/login_parameters.h"
#include "core_contract/method_id.h"
#include "core_contract/mmkv.h"
#include "eos_auth_types.h"
#include "zelk_epic_secret.h"

namespace zelk {

// The store of the parameters of the last successful login.
inline MMKV* Store() { return MMKV::defaultMMKV(kMmkvSingleProcess, nullptr); }

inline bool HasLoginMode(const JSONReaderParse& parameters) {
  return parameters.IsObject() && parameters.HasMember(kLoginModeKey);
}

// Reads the request's own parameters; for an automatic login without any, the stored ones. An
// explicit login removes those.
inline void ReadLoginParameters(const BaseParams& params, std::string& parameters) {
  parameters = params.extra_json;
  if (params.method_id == kMethodIDAuthLogin) {
    Store()->removeValueForKey(kStoredParametersKey);
  } else if (params.method_id == kMethodIDAuthAutoLogin &&
             !HasLoginMode(JSONReaderParse(parameters))) {
    Wipe(parameters);
    Store()->getString(kStoredParametersKey, parameters);
  }
}

// A login mode, and where its credentials come from.
struct LoginMode {
  std::string_view word;
  EOS_ELoginCredentialType type;
  const char* id_key;     // the member that becomes the credentials' Id; null when they have none
  const char* token_key;  // likewise their Token
};

#define ZELK_ROW(word, type, id_key, token_key) \
  LoginMode{word, EOS_ELoginCredentialType::type, id_key, token_key},
inline constexpr std::array kLoginModes{ZELK_LOGIN_MODES(ZELK_ROW)};
#undef ZELK_ROW

// Any other word goes to EOS as it is, without credentials: EOS says what is wrong with it.
inline LoginMode FindLoginMode(std::string_view word) {
  const auto row = std::ranges::find(kLoginModes, word, &LoginMode::word);
  return row != kLoginModes.end() ? *row : LoginMode{};
}

// The first of the mode's keys that the parameters lack, or null.
inline const char* MissingKey(const LoginMode& mode, const JSONReaderParse& parameters) {
  for (const char* key : {mode.id_key, mode.token_key}) {
    if (key != nullptr && !parameters.HasMember(key)) return key;
  }
  return nullptr;
}

// The bit of a permission word; none for a word that is no permission.
inline EOS_EAuthScopeFlags ScopeFlagOf(std::string_view word) {
#define ZELK_ROW(permission, scope_flag) \
  if (word == (permission)) return EOS_EAuthScopeFlags::scope_flag;
  ZELK_PERMISSIONS(ZELK_ROW)
#undef ZELK_ROW
  return EOS_EAuthScopeFlags::EOS_AS_NoFlags;
}

// The options of EOS_Auth_Login, the credentials that they point to, and the strings that those
// point to, in one object. It is destroyed, and with it every trace of the strings, as soon as the
// call that reads it has returned.
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

  const EOS_Auth_LoginOptions& options() const { return options_; }

 private:
  // Null when the mode has no such member.
  static const char* Read(const JSONReaderParse& parameters, const char* key, std::string& text) {
    if (key == nullptr) return nullptr;
    parameters[key].Convert(text, false);
    return text.c_str();
  }

  std::string id_;
  WipeAtEnd wipe_id_{id_};
  std::string token_;
  WipeAtEnd wipe_token_{token_};
  EOS_Auth_Credentials credentials_;
  EOS_Auth_LoginOptions options_;
};

}  // namespace zelk
