// The Friends interface.
#include "eos_friends.h"

#include "entry.h"
#include "library.h"
#include "log.h"
#include "results.h"

namespace eos_standin {
namespace {

using enum EOS_EResult;
using enum EOS_ELogLevel;

class QueryFriends final : public Completion<EOS_Friends_QueryFriendsCallbackInfo> {
 public:
  QueryFriends(Platform& platform, const EOS_Friends_QueryFriendsOptions& options,
               void* client_data, Callback callback)
      : Completion(Function::EOS_Friends_QueryFriends, options.LocalUserId, client_data, callback),
        platform_(platform),
        refused_(CheckVersion(options.ApiVersion, EOS_FRIENDS_QUERYFRIENDS_API_LATEST)) {
    info_.LocalUserId = options.LocalUserId;
    Log(kLogFriends, EOS_LOG_Verbose, "Query of friends started");
  }

 private:
  EOS_EResult Work() override {
    if (refused_ != EOS_Success) return refused_;
    Session* session = platform_.SessionOf(info_.LocalUserId);
    if (session == nullptr) return EOS_InvalidUser;
    session->knows_friends = true;
    return EOS_Success;
  }

  void Furnish(EOS_EResult result, const Scripted&) override {
    Log(kLogFriends, result == EOS_Success ? EOS_LOG_Verbose : EOS_LOG_Warning,
        "Query of friends completed: ", NameOf(result));
  }

  Platform& platform_;
  EOS_EResult refused_;
};

// The account whose list a getter looks into; null where it has nothing to give.
template <class Options>
const Account* OwnerOfList(Platform& platform, const Options& options, int32_t latest) {
  if (CheckVersion(options.ApiVersion, latest) != EOS_Success) return nullptr;
  const Session* session = platform.SessionOf(options.LocalUserId);
  return session != nullptr && session->knows_friends ? session->account : nullptr;
}

}  // namespace
}  // namespace eos_standin

using namespace eos_standin;

EOS_DECLARE_FUNC(void)
EOS_Friends_QueryFriends(EOS_HFriends Handle, const EOS_Friends_QueryFriendsOptions* Options,
                         void* ClientData,
                         const EOS_Friends_OnQueryFriendsCallback CompletionDelegate) {
  const Entry entry(Function::EOS_Friends_QueryFriends, Options);
  Platform* platform = entry.PlatformOf(Handle, Options);
  if (platform == nullptr) return;
  platform->Start(
      std::make_unique<QueryFriends>(*platform, *Options, ClientData, CompletionDelegate));
}

EOS_DECLARE_FUNC(int32_t)
EOS_Friends_GetFriendsCount(EOS_HFriends Handle,
                            const EOS_Friends_GetFriendsCountOptions* Options) {
  const Entry entry(Function::EOS_Friends_GetFriendsCount, Options);
  Platform* platform = entry.PlatformOf(Handle, Options);
  if (platform == nullptr || entry.Script(TextOf(Options->LocalUserId)).Fails()) return 0;
  const Account* owner = OwnerOfList(*platform, *Options, EOS_FRIENDS_GETFRIENDSCOUNT_API_LATEST);
  return owner == nullptr ? 0 : static_cast<int32_t>(World::FriendCount(*owner));
}

EOS_DECLARE_FUNC(EOS_EpicAccountId)
EOS_Friends_GetFriendAtIndex(EOS_HFriends Handle,
                             const EOS_Friends_GetFriendAtIndexOptions* Options) {
  const Entry entry(Function::EOS_Friends_GetFriendAtIndex, Options);
  Platform* platform = entry.PlatformOf(Handle, Options);
  if (platform == nullptr || entry.Script(TextOf(Options->LocalUserId)).Fails()) return nullptr;
  const Account* owner = OwnerOfList(*platform, *Options, EOS_FRIENDS_GETFRIENDATINDEX_API_LATEST);
  if (owner == nullptr || Options->Index < 0) return nullptr;
  if (Options->Index >= World::FriendCount(*owner)) return nullptr;
  return AccountHandle(World::FriendAt(*owner, Options->Index));
}

EOS_DECLARE_FUNC(EOS_EFriendsStatus)
EOS_Friends_GetStatus(EOS_HFriends Handle, const EOS_Friends_GetStatusOptions* Options) {
  using enum EOS_EFriendsStatus;
  const Entry entry(Function::EOS_Friends_GetStatus, Options);
  Platform* platform = entry.PlatformOf(Handle, Options);
  if (platform == nullptr || entry.Script(TextOf(Options->TargetUserId)).Fails()) {
    return EOS_FS_NotFriends;
  }
  const Account* owner = OwnerOfList(*platform, *Options, EOS_FRIENDS_GETSTATUS_API_LATEST);
  if (owner == nullptr || !IsValid(Options->TargetUserId)) return EOS_FS_NotFriends;
  return World::StatusOf(*owner, Options->TargetUserId->key);
}
