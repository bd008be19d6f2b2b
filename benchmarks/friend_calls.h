// The EOS calls of a page of friends, and the answer in the SDK's records: what the columns have in
// common.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "core_contract/base_params.h"
#include "core_contract/results.h"
#include "core_contract/sdk_vector.h"
#include "eos_friends.h"
#include "eos_sdk.h"
#include "eos_userinfo.h"

namespace zelk::benchmarks {

using PersonList = zelk_tp_stl_c::vector<PersonInfo>;

struct ReleaseUserInfo {
  void operator()(EOS_UserInfo* info) const { EOS_UserInfo_Release(info); }
};
using UserInfo = std::unique_ptr<EOS_UserInfo, ReleaseUserInfo>;

// Each fills its options and makes one EOS call.
class FriendCalls {
 public:
  explicit FriendCalls(EOS_HPlatform platform)
      : friends_(EOS_Platform_GetFriendsInterface(platform)) {}

  void QueryFriends(EOS_EpicAccountId user, void* client_data,
                    EOS_Friends_OnQueryFriendsCallback complete) const;
  // Throws when there are fewer than `count`.
  int32_t ExpectFriends(EOS_EpicAccountId user, int32_t count) const;
  EOS_EpicAccountId FriendAt(EOS_EpicAccountId user, int32_t index) const;
  EOS_EFriendsStatus Status(EOS_EpicAccountId user, EOS_EpicAccountId friend_id) const;

  static void QueryUserInfo(EOS_HUserInfo user_info, EOS_EpicAccountId user,
                            EOS_EpicAccountId friend_id, void* client_data,
                            EOS_UserInfo_OnQueryUserInfoCallback complete);
  // Throws when EOS has none.
  static UserInfo CopyUserInfo(EOS_HUserInfo user_info, EOS_EpicAccountId user,
                               EOS_EpicAccountId friend_id);

 private:
  EOS_HFriends friends_;
};

// The JSON text of a status. Most friends of a page have the same one, so the last text is kept.
class StatusText {
 public:
  const std::string& Of(EOS_EFriendsStatus status);

 private:
  EOS_EFriendsStatus status_{};
  std::string text_;
};

// Answers a request for friends on the core's task queue, which copies the record.
void CommitFriends(const BaseParams& params, PersonList friends, int64_t total);

}  // namespace zelk::benchmarks
