#include "friends.h"

#include "log.h"

namespace eos_standin {

using enum EOS_EResult;
using enum EOS_ELogLevel;

EOS_EResult QueryFriends::Begin(const Options& /*options*/) {
  Log(kLogFriends, EOS_LOG_Verbose, "Query of friends started");
  return EOS_Success;
}

EOS_EResult QueryFriends::Work(Platform& platform, const Info& info) {
  Session* session = platform.SessionOf(info.LocalUserId);
  if (session == nullptr) return EOS_InvalidUser;
  if (!session->Has(EOS_EAuthScopeFlags::EOS_AS_FriendsList)) {
    Log(kLogFriends, EOS_LOG_Warning, "The login did not ask for the scope EOS_AS_FriendsList");
    return EOS_MissingPermissions;
  }
  session->knows_friends = true;
  return EOS_Success;
}

void QueryFriends::BeforeCompletion(const Platform& /*platform*/, const Scripted& /*scripted*/,
                                    const Info& info) {
  Log(kLogFriends, info.ResultCode == EOS_Success ? EOS_LOG_Verbose : EOS_LOG_Warning,
      "Query of friends completed: ", NameOf(info.ResultCode));
}

const Account* OwnerOfList(Platform& platform, EOS_EpicAccountId id) {
  const Session* session = platform.SessionOf(id);
  return session != nullptr && session->knows_friends ? session->account : nullptr;
}

}  // namespace eos_standin
