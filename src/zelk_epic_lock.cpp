#include "zelk_epic_lock.h"

#include <cstddef>
#include <new>
#if defined(__x86_64__) || defined(_M_X64)
#include <immintrin.h>
#endif

namespace zelk {
namespace {

using Clock = std::chrono::steady_clock;

// As long as a sleeper takes to wake up: with less, a tick and a worker that follow each other
// closely would put each other to sleep at every turn.
constexpr std::chrono::microseconds kSpinTime{30};

// Tells the processor that this is a loop that waits.
void Pause() {
#if defined(__x86_64__) || defined(_M_X64)
  _mm_pause();
#else
  std::this_thread::yield();
#endif
}

}  // namespace

alignas(EosLock) static std::byte eos_lock_storage[sizeof(EosLock)];
EosLock& eos_lock = *new (eos_lock_storage) EosLock;

// Relaxed: what the owner before wrote is seen through `turn_`.
void EosLock::lock() {
  if (EnterAgain()) return;
  const uint32_t ticket = next_ticket_.fetch_add(1, std::memory_order_relaxed);
  if (!SpinUntilTurnOf(ticket)) SleepUntilTurnOf(ticket);
  Enter();
}

bool EosLock::try_lock_for(std::chrono::milliseconds patience) {
  if (EnterAgain()) return true;
  // A ticket that was abandoned and not yet skipped is taken up again: there is place for one.
  const uint64_t abandoned = abandoned_.exchange(kNoTicket);
  const uint32_t ticket =
      abandoned != kNoTicket ? static_cast<uint32_t>(abandoned) : next_ticket_.fetch_add(1);
  const auto deadline = Clock::now() + patience;
  while (turn_.load() != ticket) {
    if (Clock::now() > deadline && Abandon(ticket)) return false;
    std::this_thread::yield();
  }
  Enter();
  return true;
}

// False when the turn has come after all. Who abandons stores its ticket before it looks at the
// turn, who unlocks changes the turn before it looks for that ticket: if both see each other, the
// exchange decides for one of them.
bool EosLock::Abandon(uint32_t ticket) {
  uint64_t abandoned = ticket;
  abandoned_.store(abandoned);
  return turn_.load() != ticket || !abandoned_.compare_exchange_strong(abandoned, kNoTicket);
}

// The turn changes before the sleepers are counted, and a sleeper is counted before it looks at the
// turn: one of the two sees the other, so nobody sleeps through its turn. The mutex is taken so
// that nobody is between its look and its sleep when all are woken.
void EosLock::unlock() {
  if (--depth_ > 0) return;
  owner_.store(std::thread::id(), std::memory_order_relaxed);
  uint64_t turn = uint32_t{turn_.fetch_add(1) + 1};
  if (abandoned_.load() == turn && abandoned_.compare_exchange_strong(turn, kNoTicket)) {
    turn_.fetch_add(1);
  }
  if (sleepers_.load() == 0) return;
  { const std::lock_guard sleep(sleep_); }
  turn_changed_.notify_all();
}

// Relaxed: only this thread stores its own id, so a match needs no order with anything else.
bool EosLock::IsHeldByThisThread() const {
  return owner_.load(std::memory_order_relaxed) == std::this_thread::get_id();
}

bool EosLock::IsWaitedFor() const {
  return next_ticket_.load(std::memory_order_relaxed) != turn_.load() + 1;
}

bool EosLock::EnterAgain() {
  if (!IsHeldByThisThread()) return false;
  ++depth_;
  return true;
}

void EosLock::Enter() {
  owner_.store(std::this_thread::get_id(), std::memory_order_relaxed);
  depth_ = 1;
}

bool EosLock::SpinUntilTurnOf(uint32_t ticket) const {
  if (turn_.load() == ticket) return true;
  const auto deadline = Clock::now() + kSpinTime;
  do {
    Pause();
    if (turn_.load() == ticket) return true;
  } while (Clock::now() < deadline);
  return false;
}

void EosLock::SleepUntilTurnOf(uint32_t ticket) {
  std::unique_lock sleep(sleep_);
  ++sleepers_;
  turn_changed_.wait(sleep, [this, ticket] { return turn_.load() == ticket; });
  --sleepers_;
}

// Without a thread of its own a worker's steps run inside a tick, which holds the lock already.
WorkerStep::WorkerStep() {
  if (!eos_lock.IsHeldByThisThread()) only_worker_ = std::unique_lock(eos_lock.only_worker_);
  eos_ = std::unique_lock(eos_lock);
}

void WorkerStep::GiveWay() {
  if (!only_worker_.owns_lock() || !eos_lock.IsWaitedFor()) return;
  eos_.unlock();
  eos_.lock();
}

}  // namespace zelk
