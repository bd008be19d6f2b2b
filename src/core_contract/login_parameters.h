// What a game says to sign a player in: the members of `BaseParams::extra_json`, and the words of
// `permissions`. Each is written here once, for the plugin and for the programs that call it.
#pragma once

// Every login mode once: its word, the credential type by which EOS knows it, and the members that
// it needs besides, where it needs any.
// clang-format off
#define ZELK_LOGIN_MODES(ROW) \
  ROW("IDPassword", EOS_LCT_Password, "ID", "Password") \
  ROW("DevAuth", EOS_LCT_Developer, "ID", "Password") \
  ROW("ExchangeCode", EOS_LCT_ExchangeCode, nullptr, "Code") \
  ROW("PinGrant", EOS_LCT_DeviceCode, nullptr, nullptr) \
  ROW("AccountPortal", EOS_LCT_AccountPortal, nullptr, nullptr)

// Every permission once: its word and its scope flag in EOS.
#define ZELK_PERMISSIONS(ROW) \
  ROW("basic_profile", EOS_AS_BasicProfile) \
  ROW("friends_list", EOS_AS_FriendsList) \
  ROW("presence", EOS_AS_Presence)
// clang-format on

namespace zelk {

// The member that names the login mode.
inline constexpr char kLoginModeKey[] = "LoginMode";

// The entry of the key-value store with the parameters of the last successful login.
inline constexpr char kStoredParametersKey[] = "epic_login_extra_json";

}  // namespace zelk
