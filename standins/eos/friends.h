// The Friends interface's service: the friend lists of the accounts that are signed in.
#pragma once

#include "async_call.h"
#include "eos_friends.h"

namespace eos_standin {

struct QueryFriends
    : AsyncSteps<Function::EOS_Friends_QueryFriends, EOS_FRIENDS_QUERYFRIENDS_API_LATEST,
                 EOS_Friends_QueryFriendsOptions, EOS_Friends_QueryFriendsCallbackInfo> {
  static EOS_EResult Begin(const Options& options);
  static EOS_EResult Work(Platform& platform, const Info& info);
  static void BeforeCompletion(const Platform& platform, const Scripted& scripted,
                               const Info& info);
};

// The account as the owner of its list; null unless it is signed in and the list was queried.
const Account* OwnerOfList(Platform& platform, EOS_EpicAccountId id);

}  // namespace eos_standin
