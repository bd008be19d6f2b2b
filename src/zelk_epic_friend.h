// EpicFriend: the signed-in player's friends, page by page. The entry point calls it on the core's
// thread, EOS its callbacks inside a tick or a shutdown; a worker thread per page asks for the
// friends' details. All of it runs under the EOS lock, except GetInstance and PinLibrary, which any
// thread may call, and the worker's procedure, which takes the lock for one EOS call at a time.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "core_contract/base_params.h"
#include "core_contract/results.h"
#include "core_contract/sdk_vector.h"
#include "eos_friends_types.h"
#include "eos_userinfo_types.h"
#include "zelk_epic_no_destructor.h"

namespace zelk {

struct FriendRequest;

// The friends of a page, or all of them, as a FriendResult carries them.
using PersonList = zelk_tp_stl_c::vector<PersonInfo>;

// One per process, without any state of its own.
class EpicFriend {
 public:
  // The one instance, created by the first call and never destroyed. Any thread; never null.
  static EpicFriend* GetInstance();

  // Starts a friend query. Its answer is committed before this returns, or comes with a completion.
  // When this throws, the request has not been answered and will not be.
  void QueryFriends(const BaseParams& params, int32_t page, int32_t count, bool is_in_game);

  // Commits the failure of a friend query; the request stays the caller's.
  static void OnQueryFrinedsFailed(const BaseParams& params, int32_t ret_code, std::string ret_msg,
                                   int32_t third_code, std::string third_msg);

  // Commits the failure of one that could not be started or ended for want of memory or the like.
  static void CommitUnknownError(const BaseParams& params);

  // Answers the pages that can be answered now: those that a worker left for the tick thread, or
  // whose player signed out; after the platform was released, all of them. Called by every tick.
  static void AnswerDuePages() noexcept;

  // Keeps the library mapped until the process ends.
  static void PinLibrary();

  static void EOS_CALL
  QueryFriendsCompleteCallbackFn(const EOS_Friends_QueryFriendsCallbackInfo* data);

  // Asks for the details of the friends of a page, on a thread of its own if one can be had. The
  // answer is committed on the tick thread. When this throws, it will not be.
  void QueryFirendsInfoInThread(const std::shared_ptr<const FriendRequest>& params,
                                const std::shared_ptr<const PersonList>& friends, int32_t current,
                                int32_t total, bool is_in_game);
  // What the worker runs; owns its context, a FriendsInfoThreadContext. Always 0.
  static uint32_t QueryFriendsInfoThreadProc(void* context);
  static void EOS_CALL
  QueryFriendUserInfoCompleteCallbackFn(const EOS_UserInfo_QueryUserInfoCallbackInfo* data);

 private:
  friend NoDestructor<EpicFriend>;
  EpicFriend() = default;
};

}  // namespace zelk
