#include "friends.h"

#include "start.h"

namespace eos_standin {
namespace {

// The account whose list a getter reads; null where it has nothing to give.
template <class Options>
const Account* ListFor(const CallScope& scope, EOS_HFriends handle, const Options* options,
                       int32_t latest) {
  Platform* platform = scope.PlatformOf(handle, options);
  if (platform == nullptr || scope.Script(TextOf(AccountAbout(*options))).Fails()) return nullptr;
  if (CheckVersion(options->ApiVersion, latest) != EOS_EResult::EOS_Success) return nullptr;
  return OwnerOfList(*platform, options->LocalUserId);
}

}  // namespace
}  // namespace eos_standin

using namespace eos_standin;

EOS_DECLARE_FUNC(void)
EOS_Friends_QueryFriends(EOS_HFriends Handle, const EOS_Friends_QueryFriendsOptions* Options,
                         void* ClientData,
                         const EOS_Friends_OnQueryFriendsCallback CompletionDelegate) {
  Start<QueryFriends>(Handle, Options, ClientData, CompletionDelegate);
}

EOS_DECLARE_FUNC(int32_t)
EOS_Friends_GetFriendsCount(EOS_HFriends Handle,
                            const EOS_Friends_GetFriendsCountOptions* Options) {
  const CallScope scope(Function::EOS_Friends_GetFriendsCount, Options);
  const Account* owner = ListFor(scope, Handle, Options, EOS_FRIENDS_GETFRIENDSCOUNT_API_LATEST);
  return owner == nullptr ? 0 : static_cast<int32_t>(World::FriendCount(*owner));
}

EOS_DECLARE_FUNC(EOS_EpicAccountId)
EOS_Friends_GetFriendAtIndex(EOS_HFriends Handle,
                             const EOS_Friends_GetFriendAtIndexOptions* Options) {
  const CallScope scope(Function::EOS_Friends_GetFriendAtIndex, Options);
  const Account* owner = ListFor(scope, Handle, Options, EOS_FRIENDS_GETFRIENDATINDEX_API_LATEST);
  if (owner == nullptr || Options->Index < 0) return nullptr;
  if (Options->Index >= World::FriendCount(*owner)) return nullptr;
  return AccountHandle(World::FriendAt(*owner, Options->Index));
}

EOS_DECLARE_FUNC(EOS_EFriendsStatus)
EOS_Friends_GetStatus(EOS_HFriends Handle, const EOS_Friends_GetStatusOptions* Options) {
  const CallScope scope(Function::EOS_Friends_GetStatus, Options);
  const Account* owner = ListFor(scope, Handle, Options, EOS_FRIENDS_GETSTATUS_API_LATEST);
  if (owner == nullptr || !IsValid(Options->TargetUserId)) {
    return EOS_EFriendsStatus::EOS_FS_NotFriends;
  }
  return World::StatusOf(*owner, Options->TargetUserId->key);
}
