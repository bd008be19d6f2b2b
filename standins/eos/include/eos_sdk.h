// The platform: the tick that runs every completion, and the interfaces of a platform. The library
// is not thread-safe: one call at a time, from whatever thread.
#pragma once

#include "eos_auth_types.h"
#include "eos_common.h"
#include "eos_connect_types.h"
#include "eos_friends_types.h"
#include "eos_init.h"
#include "eos_types.h"
#include "eos_userinfo_types.h"

// Completions that are outstanding never run after this.
EOS_DECLARE_FUNC(void) EOS_Platform_Release(EOS_HPlatform Handle);

// Completions and notifications run in here and nowhere else.
EOS_DECLARE_FUNC(void) EOS_Platform_Tick(EOS_HPlatform Handle);

// The interfaces live as long as their platform; null for a null platform.
EOS_DECLARE_FUNC(EOS_HAuth) EOS_Platform_GetAuthInterface(EOS_HPlatform Handle);
EOS_DECLARE_FUNC(EOS_HConnect) EOS_Platform_GetConnectInterface(EOS_HPlatform Handle);
EOS_DECLARE_FUNC(EOS_HFriends) EOS_Platform_GetFriendsInterface(EOS_HPlatform Handle);
EOS_DECLARE_FUNC(EOS_HUserInfo) EOS_Platform_GetUserInfoInterface(EOS_HPlatform Handle);
