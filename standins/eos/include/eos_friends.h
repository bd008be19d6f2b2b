// The Friends interface. The list is what the last successful query of a signed-in account fetched.
#pragma once

#include "eos_friends_types.h"

EOS_DECLARE_FUNC(void)
EOS_Friends_QueryFriends(EOS_HFriends Handle, const EOS_Friends_QueryFriendsOptions* Options,
                         void* ClientData,
                         const EOS_Friends_OnQueryFriendsCallback CompletionDelegate);

// 0 before a query succeeded.
EOS_DECLARE_FUNC(int32_t)
EOS_Friends_GetFriendsCount(EOS_HFriends Handle, const EOS_Friends_GetFriendsCountOptions* Options);

// Null for an index outside of the list.
EOS_DECLARE_FUNC(EOS_EpicAccountId)
EOS_Friends_GetFriendAtIndex(EOS_HFriends Handle,
                             const EOS_Friends_GetFriendAtIndexOptions* Options);

EOS_DECLARE_FUNC(EOS_EFriendsStatus)
EOS_Friends_GetStatus(EOS_HFriends Handle, const EOS_Friends_GetStatusOptions* Options);
