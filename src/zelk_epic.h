// The entry points of ZELKEpic, the Epic channel plugin. The core loads the library, finds these by
// their names and calls them; every request is answered by one result on the core's task queue.
//
// Call the entry points from one thread. None returns a status, none throws, none waits for EOS: a
// request that cannot be started is answered before the call returns, every other one while a later
// zelk_epic_update runs (or zelk_epic_shutdown, for what EOS has not answered by then).
#pragma once

#include <cstdint>
#include <string>

#include "core_contract/base_params.h"
#include "core_contract/export.h"
#include "core_contract/friend.h"

extern "C" {

// Signs the player in. `params.extra_json` holds the login parameters: "LoginMode" ("IDPassword",
// "DevAuth", "ExchangeCode", "PinGrant" or "AccountPortal"), and "ID", "Password" or "Code" as the
// mode needs them. `permissions` are the words "basic_profile", "friends_list" and "presence",
// separated by commas. Answered by an AuthPluginResult, or by an AuthResult when the login failed.
// Both arguments stay the caller's.
ZELK_EPIC_API void zelk_epic_auth_login(const zelk::BaseParams& params,
                                        const std::string& permissions);

// The same; with method 101 the parameters of the last successful login take the place of missing
// ones.
ZELK_EPIC_API void zelk_epic_auth_auto_login(const zelk::BaseParams& params,
                                             const std::string& permissions);

// Signs the player out and forgets what would sign the player in again: EOS does so during the next
// updates, so shut down some frames later. Answered by a BaseResult before the call returns; a
// logout before the first login is not answered.
ZELK_EPIC_API void zelk_epic_auth_logout(const zelk::BaseParams& params);

// Drives EOS: call it once a frame. Every EOS completion runs in here.
ZELK_EPIC_API void zelk_epic_update();

// Releases the EOS platform, once and for all in this process. What EOS has not answered by then is
// answered here as if it had been asked afterwards.
ZELK_EPIC_API void zelk_epic_shutdown();

// Lists the signed-in player's friends: the page `page` (from 1) of `count` friends each, or all of
// them when `page` and `count` are 0. `is_in_game` is handed back in the result. Answered by a
// FriendResult.
ZELK_EPIC_API void zelk_epic_friend_queryfriends(const zelk::BaseParams& params, int32_t page,
                                                 int32_t count, bool is_in_game);

}  // extern "C"
