#include "zelk_epic.h"

#include <chrono>
#include <mutex>

#include "core_contract/results.h"
#include "eos_sdk.h"
#include "zelk_epic_auth.h"
#include "zelk_epic_boundary.h"
#include "zelk_epic_commit.h"
#include "zelk_epic_friend.h"
#include "zelk_epic_lock.h"
#include "zelk_epic_log.h"
#include "zelk_epic_pending.h"

using namespace zelk;

namespace {

// How long a shutdown waits for a worker that is inside EOS: far longer than one call takes, also
// on a busy machine. It must return when the process is ending and the system has stopped the
// worker there.
constexpr std::chrono::seconds kShutdownTimeout{2};

void Login(const char* function, const BaseParams& params, const std::string& permissions) {
  const std::lock_guard lock(eos_lock);
  AtBoundary(
      function, [&] { EpicAuth::GetInstance()->Login(params, permissions); },
      [&] { CommitCode<AuthResult>(params, kResultUnknownError); });
}

}  // namespace

void zelk_epic_auth_login(const BaseParams& params, const std::string& permissions) {
  Login("zelk_epic_auth_login", params, permissions);
}

void zelk_epic_auth_auto_login(const BaseParams& params, const std::string& permissions) {
  Login("zelk_epic_auth_auto_login", params, permissions);
}

void zelk_epic_auth_logout(const BaseParams& params) {
  const std::lock_guard lock(eos_lock);
  AtBoundary(
      "zelk_epic_auth_logout", [&] { EpicAuth::GetInstance()->Logout(&params); },
      [&] { CommitCode<BaseResult>(params, kResultUnknownError); });
}

void zelk_epic_update() {
  const std::lock_guard lock(eos_lock);
  AtBoundary("zelk_epic_update", [] {
    EpicFriend::AnswerDuePages();
    const EOS_HPlatform platform = EpicAuth::GetInstance()->platform();
    if (platform != nullptr) EOS_Platform_Tick(platform);
  });
}

// In this order: pages that are complete get their friends. The platform is released. What EOS had
// not completed by then is answered, the oldest first. Pages that wait for nothing of EOS, but for
// their worker, are answered last; the worker finds its page closed.
//
// When it gives up, EOS keeps the platform and its callbacks: the library stays mapped for them. No
// more can be done about a lock of the logger or the core that a stopped thread has taken with it.
void zelk_epic_shutdown() {
  const std::unique_lock lock(eos_lock, kShutdownTimeout);
  if (!lock) {
    EpicFriend::PinLibrary();
    return ZELK_LOG_AS("zelk_epic_shutdown", kLogError,
                       "a thread does not come back from EOS; the platform is left as it is");
  }
  AtBoundary("zelk_epic_shutdown", [] {
    EpicFriend::AnswerDuePages();
    EpicAuth::GetInstance()->ShutDown();
  });
  InFlight::AnswerAfterShutdown();
  EpicFriend::AnswerDuePages();
}

void zelk_epic_friend_queryfriends(const BaseParams& params, int32_t page, int32_t count,
                                   bool is_in_game) {
  const std::lock_guard lock(eos_lock);
  AtBoundary(
      "zelk_epic_friend_queryfriends",
      [&] { EpicFriend::GetInstance()->QueryFriends(params, page, count, is_in_game); },
      [&] { EpicFriend::CommitUnknownError(params); });
}

namespace zelk {

void Friend::SendMessage(const FriendReqInfo& info, const SdkString& channel) {
  SendMessageW(info, channel);
}

}  // namespace zelk
