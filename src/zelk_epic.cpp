#include "zelk_epic.h"

#include "core_contract/results.h"
#include "zelk_epic_auth.h"
#include "zelk_epic_boundary.h"
#include "zelk_epic_commit.h"
#include "zelk_epic_friend.h"
#include "zelk_epic_lock.h"
#include "zelk_epic_log.h"
#include "zelk_epic_pending.h"

using zelk::AtBoundary;
using zelk::BaseParams;
using zelk::EosLock;
using zelk::EpicAuth;
using zelk::EpicFriend;

namespace {

// The answer to a request that failed for want of memory or the like.
template <class Result>
void AnswerUnknownError(const BaseParams& params) {
  Result result(zelk::kResultUnknownError);
  result.method_id = params.method_id;
  zelk::Commit(params, result);
}

void Login(const char* function, const BaseParams& params, const std::string& permissions) {
  const EosLock::EntryPointGuard lock;
  AtBoundary(
      function, [&] { EpicAuth::GetInstance()->Login(params, permissions); },
      [&] { AnswerUnknownError<zelk::AuthResult>(params); });
}

}  // namespace

void zelk_epic_auth_login(const BaseParams& params, const std::string& permissions) {
  Login("zelk_epic_auth_login", params, permissions);
}

void zelk_epic_auth_auto_login(const BaseParams& params, const std::string& permissions) {
  Login("zelk_epic_auth_auto_login", params, permissions);
}

void zelk_epic_auth_logout(const BaseParams& params) {
  const EosLock::EntryPointGuard lock;
  AtBoundary(
      "zelk_epic_auth_logout", [&] { EpicAuth::GetInstance()->Logout(&params); },
      [&] { AnswerUnknownError<zelk::BaseResult>(params); });
}

void zelk_epic_update() {
  const EosLock::EntryPointGuard lock;
  AtBoundary("zelk_epic_update", [] {
    EpicFriend::AnswerDuePages();
    EpicAuth::GetInstance()->Tick();
  });
}

// In this order: pages that are complete get their friends. The platform is released. What EOS had
// not completed by then is answered, the oldest first. Pages that wait for nothing of EOS, but for
// their worker, are answered last; the worker finds its page closed.
void zelk_epic_shutdown() {
  const EosLock::ShutdownGuard lock;
  if (!lock.holds()) {
    ZELK_LOG_AS("zelk_epic_shutdown", zelk::kLogError,
                "a thread has not come back from EOS; the platform is left as it is");
    return;
  }
  AtBoundary("zelk_epic_shutdown", [] {
    EpicFriend::AnswerDuePages();
    EpicAuth::GetInstance()->ShutDown();
  });
  zelk::InFlight::AnswerAfterShutdown();
  EpicFriend::AnswerDuePages();
}

void zelk_epic_friend_queryfriends(const BaseParams& params, int32_t page, int32_t count,
                                   bool is_in_game) {
  const EosLock::EntryPointGuard lock;
  AtBoundary(
      "zelk_epic_friend_queryfriends",
      [&] { EpicFriend::GetInstance()->QueryFriends(params, page, count, is_in_game); },
      [&] { EpicFriend::OnUnknownError(params); });
}

namespace zelk {

void Friend::SendMessage(const FriendReqInfo& info, const SdkString& channel) {
  SendMessageW(info, channel);
}

}  // namespace zelk
