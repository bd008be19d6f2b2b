// The entry points of ZELKEpic, the Epic channel plugin. The core loads the library, finds these by
// their names and calls them; every request is answered by one result on the core's task queue.
//
// Call the entry points from one thread. None returns a status, none throws, none waits for EOS: a
// request that cannot be started is answered before the call returns, every other one while a later
// zelk_epic_update runs (or zelk_epic_shutdown, for what EOS has not answered by then). Each may
// wait for the one EOS call that a friend worker is making. Arguments stay the caller's.
//
// Requests may overlap: each has its own answer. A friend query is asked for the player who is
// signed in when it is made; once that player has signed out, or another has signed in, it is
// answered 10. A logout does not end a login that is under way: wait for the login's answer first.
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
// separated by commas. Answered by an AuthPluginResult, or by an AuthResult when the login failed;
// 17 after a shutdown. The first login of the process brings EOS up.
ZELK_EPIC_API void zelk_epic_auth_login(const zelk::BaseParams& params,
                                        const std::string& permissions);

// The same; with method 101 the parameters of the last successful login take the place of missing
// ones.
ZELK_EPIC_API void zelk_epic_auth_auto_login(const zelk::BaseParams& params,
                                             const std::string& permissions);

// Signs the player out and forgets what would sign the player in again: EOS does so during the next
// updates, so shut down some frames later. Answered by a BaseResult before the call returns, 17
// after a shutdown, when EOS keeps what it has; not answered at all when EOS has no Auth interface,
// as before the first login.
ZELK_EPIC_API void zelk_epic_auth_logout(const zelk::BaseParams& params);

// Drives EOS: call it once a frame. EOS completions run in here (the last ones in a shutdown), and
// so most answers are committed in here. Nothing before the first login and after a shutdown.
ZELK_EPIC_API void zelk_epic_update();

// Releases the EOS platform, once and for all in this process. What EOS has not answered by then is
// answered here as if it had been asked afterwards. To be called before the process begins to end
// (not from a static destructor, nor while libraries are unloaded): the system may have stopped a
// worker inside EOS by then. When a worker does not come back from EOS, whatever keeps it there,
// the call returns after some seconds with nothing done but a line in the log, and may be repeated.
// Workers that still run keep the library in memory until they have ended.
ZELK_EPIC_API void zelk_epic_shutdown();

// Lists the signed-in player's friends: the page `page` (from 1) of `count` friends each, or all of
// them when `page` and `count` are 0. `is_in_game` is handed back in the result. Answered by a
// FriendResult, in the order in which EOS tells about the friends; when EOS retries, by one with
// 9999 at each failure and then by one with the outcome. Without a sequence id it is answered when
// it cannot be started and by a shutdown, but not when EOS has answered. A thread of its own asks
// for a page, one priority above the caller's of zelk_epic_update where there is one.
ZELK_EPIC_API void zelk_epic_friend_queryfriends(const zelk::BaseParams& params, int32_t page,
                                                 int32_t count, bool is_in_game);

}  // extern "C"
