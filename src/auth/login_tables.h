// The words of a login request as EOS knows them: login modes and permissions.
#pragma once

#include <algorithm>
#include <array>
#include <string_view>

#include "core_contract/login_parameters.h"
#include "eos_auth_types.h"

namespace zelk {

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
inline constexpr LoginMode kOtherLoginMode{"", EOS_ELoginCredentialType::EOS_LCT_Password, nullptr,
                                           nullptr};

inline const LoginMode& FindLoginMode(std::string_view word) {
  const auto row = std::ranges::find(kLoginModes, word, &LoginMode::word);
  return row != kLoginModes.end() ? *row : kOtherLoginMode;
}

// A permission word, and its bit.
struct Permission {
  std::string_view word;
  EOS_EAuthScopeFlags scope_flag;
};

#define ZELK_ROW(word, scope_flag) Permission{word, EOS_EAuthScopeFlags::scope_flag},
inline constexpr std::array kPermissions{ZELK_PERMISSIONS(ZELK_ROW)};
#undef ZELK_ROW

// Null for a word that is none.
inline const Permission* FindPermission(std::string_view word) {
  const auto row = std::ranges::find(kPermissions, word, &Permission::word);
  return row != kPermissions.end() ? &*row : nullptr;
}

}  // namespace zelk
