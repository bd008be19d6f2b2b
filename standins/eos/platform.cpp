#include "platform.h"

#include <algorithm>
#include <iterator>
#include <random>
#include <utility>

using namespace eos_standin;

Session* EOS_PlatformHandle::SessionOf(EOS_EpicAccountId id) {
  const auto found = std::find_if(sessions.begin(), sessions.end(),
                                  [id](const Session& session) { return session.id == id; });
  return found == sessions.end() ? nullptr : &*found;
}

void EOS_PlatformHandle::Start(std::unique_ptr<Operation> operation) {
  const int64_t due = tick_ + operation->after_ticks();
  queue_[due].push_back(std::move(operation));
}

// A completion may release the platform, which moves what is due elsewhere: each operation is taken
// out before it runs, and the queue is asked again after it.
void EOS_PlatformHandle::Tick() {
  ++tick_;
  ReportExpiration();
  if (released) return;
  std::ranges::move(PopDue(), std::back_inserter(due_now_));
  const int64_t limit = switches.completions_per_tick.load(kRelaxed);
  for (int64_t run = 0; !due_now_.empty() && (limit == 0 || run < limit); ++run) {
    auto operation = std::move(due_now_.front());
    due_now_.pop_front();
    const bool again = operation->Run();
    if (again && !released) Start(std::move(operation));
  }
}

EOS_PlatformHandle::Operations EOS_PlatformHandle::PopDue() {
  Operations due;
  for (auto next = queue_.begin(); next != queue_.end() && next->first <= tick_;
       next = queue_.erase(next)) {
    std::move(next->second.begin(), next->second.end(), std::back_inserter(due));
  }
  if (due.size() < 2) return due;
  const CompletionOrder order = switches.completion_order.load(kRelaxed);
  if (order == CompletionOrder::kReversed) std::reverse(due.begin(), due.end());
  if (order == CompletionOrder::kShuffled) {
    std::mt19937_64 random(switches.shuffle_seed.load(kRelaxed) + static_cast<uint64_t>(tick_));
    std::shuffle(due.begin(), due.end(), random);
  }
  return due;
}

void EOS_PlatformHandle::ReportExpiration() {
  const Expiration expiration = ConsumeExpiration();
  if (expiration == Expiration::kNone) return;
  // A copy: a listener may add another one.
  const auto listeners = expiration_listeners;
  for (const ExpirationListener& listener : listeners) {
    const EOS_Connect_AuthExpirationCallbackInfo info{listener.client_data, product_user};
    listener.callback(expiration == Expiration::kReportedWithoutData ? nullptr : &info);
  }
}

void EOS_PlatformHandle::Release() {
  Operations outstanding = std::move(due_now_);
  for (auto& [due, operations] : queue_) {
    std::move(operations.begin(), operations.end(), std::back_inserter(outstanding));
  }
  queue_.clear();
  if (switches.complete_on_release.load(kRelaxed)) {
    for (const auto& operation : outstanding) operation->Cancel();
  }
  // With what the completions just started.
  queue_.clear();
  // Last: a completion may still call into the platform.
  released = true;
}
