#include "friend_calls.h"

#include <stdexcept>
#include <utility>

#include "core_contract/json.h"
#include "core_contract/task_queue.h"
#include "direct_eos.h"

namespace zelk::benchmarks {

void FriendCalls::QueryFriends(EOS_EpicAccountId user, void* client_data,
                               EOS_Friends_OnQueryFriendsCallback complete) const {
  const EOS_Friends_QueryFriendsOptions options{.ApiVersion = 1, .LocalUserId = user};
  EOS_Friends_QueryFriends(friends_, &options, client_data, complete);
}

int32_t FriendCalls::ExpectFriends(EOS_EpicAccountId user, int32_t count) const {
  const EOS_Friends_GetFriendsCountOptions options{.ApiVersion = 1, .LocalUserId = user};
  const int32_t total = EOS_Friends_GetFriendsCount(friends_, &options);
  if (total < count) throw std::runtime_error("the world has too few friends");
  return total;
}

EOS_EpicAccountId FriendCalls::FriendAt(EOS_EpicAccountId user, int32_t index) const {
  const EOS_Friends_GetFriendAtIndexOptions options{
      .ApiVersion = 1, .LocalUserId = user, .Index = index};
  return EOS_Friends_GetFriendAtIndex(friends_, &options);
}

EOS_EFriendsStatus FriendCalls::Status(EOS_EpicAccountId user, EOS_EpicAccountId friend_id) const {
  const EOS_Friends_GetStatusOptions options{
      .ApiVersion = 1, .LocalUserId = user, .TargetUserId = friend_id};
  return EOS_Friends_GetStatus(friends_, &options);
}

void FriendCalls::QueryUserInfo(EOS_HUserInfo user_info, EOS_EpicAccountId user,
                                EOS_EpicAccountId friend_id, void* client_data,
                                EOS_UserInfo_OnQueryUserInfoCallback complete) {
  const EOS_UserInfo_QueryUserInfoOptions options{
      .ApiVersion = 1, .LocalUserId = user, .TargetUserId = friend_id};
  EOS_UserInfo_QueryUserInfo(user_info, &options, client_data, complete);
}

UserInfo FriendCalls::CopyUserInfo(EOS_HUserInfo user_info, EOS_EpicAccountId user,
                                   EOS_EpicAccountId friend_id) {
  const EOS_UserInfo_CopyUserInfoOptions options{
      .ApiVersion = 1, .LocalUserId = user, .TargetUserId = friend_id};
  EOS_UserInfo* info = nullptr;
  Expect(EOS_UserInfo_CopyUserInfo(user_info, &options, &info));
  return UserInfo(info);
}

const std::string& StatusText::Of(EOS_EFriendsStatus status) {
  if (text_.empty() || status != status_) {
    JSONWriter document;
    document.StartJsonConvert();
    document.Convert("status", static_cast<int>(status));
    document.EndJsonConvert();
    text_ = document.GetJsonString();
    status_ = status;
  }
  return text_;
}

void CommitFriends(const BaseParams& params, PersonList friends, int64_t total) {
  FriendResult result(kResultSuccess);
  result.ret_msg = "success.";
  result.method_id = params.method_id;
  result.friend_info_list = std::move(friends);
  JSONWriter document;
  document.StartJsonConvert();
  document.Convert("total", static_cast<unsigned long long>(total))
      .Convert("current", static_cast<unsigned long long>(result.friend_info_list.size()))
      .Convert("is_in_game", false);
  document.EndJsonConvert();
  result.extra_json = document.GetJsonString();
  const SdkString seq_id(params.seq_id);
  InnerObserverHolder<FriendResult>::CommitToTaskQueue(result, 202, seq_id, true);
}

}  // namespace zelk::benchmarks
