#include "zelk_epic_lock.h"

namespace zelk {
namespace {

// Some tens of microseconds. Longer than a sleeper takes to wake up: otherwise a tick and a worker
// that follow each other closely would put each other to sleep at every turn.
constexpr int kLooksBeforeSleep = 50000;

}  // namespace

EosLock::Immortal<std::mutex> EosLock::workers_;
constinit std::atomic<uint32_t> EosLock::tickets_{0};
constinit std::atomic<uint32_t> EosLock::turn_{0};
constinit std::atomic<uint32_t> EosLock::sleepers_{0};
EosLock::Immortal<std::mutex> EosLock::sleep_;
EosLock::Immortal<std::condition_variable> EosLock::turn_changed_;
std::atomic<std::thread::id> EosLock::owner_{};
constinit int EosLock::depth_ = 0;

EosLock::Entry::Entry() {
  if (!Reenter()) Enter();
}

EosLock::Entry::~Entry() { Leave(); }

EosLock::Step::Step() {
  if (Reenter()) return;
  worker_ = std::unique_lock(workers_.value);
  Enter();
}

EosLock::Step::~Step() { Leave(); }

// Only this thread stores its own id, so a match needs no order with anything else.
bool EosLock::Reenter() {
  if (owner_.load(std::memory_order_relaxed) != std::this_thread::get_id()) return false;
  ++depth_;
  return true;
}

void EosLock::Enter() {
  const uint32_t ticket = tickets_.fetch_add(1, std::memory_order_relaxed);
  int looks = 0;
  while (turn_.load() != ticket && looks < kLooksBeforeSleep) ++looks;
  if (looks == kLooksBeforeSleep) SleepUntilTurnOf(ticket);
  owner_.store(std::this_thread::get_id(), std::memory_order_relaxed);
  depth_ = 1;
}

void EosLock::SleepUntilTurnOf(uint32_t ticket) {
  std::unique_lock sleep(sleep_.value);
  ++sleepers_;
  turn_changed_.value.wait(sleep, [ticket] { return turn_.load() == ticket; });
  --sleepers_;
}

// The turn changes before the sleepers are counted, and a sleeper is counted before it looks at the
// turn: one of the two sees the other, so nobody sleeps through its turn.
void EosLock::Leave() {
  if (--depth_ > 0) return;
  owner_.store(std::thread::id(), std::memory_order_relaxed);
  turn_.fetch_add(1);
  if (sleepers_.load() == 0) return;
  { const std::lock_guard sleep(sleep_.value); }
  turn_changed_.value.notify_all();
}

}  // namespace zelk
