#include "zelk_epic_lock.h"

#include <chrono>
#include <condition_variable>
#if defined(__x86_64__) || defined(_M_X64)
#include <immintrin.h>
#endif

#include "zelk_epic_no_destructor.h"

namespace zelk {
namespace {

using Clock = std::chrono::steady_clock;

// As long as a sleeper takes to wake up: with less, a tick and a worker that follow each other
// closely would put each other to sleep at every turn.
constexpr std::chrono::microseconds kSpinTime{30};

// Far longer than an EOS call takes, also on a busy machine.
constexpr std::chrono::seconds kShutdownPatience{2};

NoDestructor<std::mutex> one_worker;
NoDestructor<std::mutex> sleep_mutex;
NoDestructor<std::condition_variable> turn_changed;

// Tells the processor that this is a loop that waits: the other thread of its core gets more of it.
void Pause() {
#if defined(__x86_64__) || defined(_M_X64)
  _mm_pause();
#else
  std::this_thread::yield();
#endif
}

}  // namespace

constinit std::atomic<uint32_t> EosLock::next_ticket_{0};
constinit std::atomic<uint32_t> EosLock::turn_{0};
constinit std::atomic<uint32_t> EosLock::sleepers_{0};
std::atomic<std::thread::id> EosLock::owner_{};
constinit int EosLock::depth_ = 0;

EosLock::EntryPointGuard::EntryPointGuard() {
  if (!EnterAgain()) Enter();
}

EosLock::EntryPointGuard::~EntryPointGuard() { Leave(); }

// Without a thread of its own a worker's steps run inside a tick, which holds the lock already.
EosLock::WorkerGuard::WorkerGuard() {
  if (EnterAgain()) return;
  only_worker_ = std::unique_lock(*one_worker);
  Enter();
}

EosLock::WorkerGuard::~WorkerGuard() { Leave(); }

void EosLock::WorkerGuard::GiveWay() {
  const bool is_alone = next_ticket_.load(std::memory_order_relaxed) == turn_.load() + 1;
  if (!only_worker_.owns_lock() || is_alone) return;
  Leave();
  Enter();
}

EosLock::ShutdownGuard::ShutdownGuard() : holds_(EnterAgain()) {
  const auto deadline = Clock::now() + kShutdownPatience;
  while (!holds_) {
    holds_ = TryEnter();
    if (holds_ || Clock::now() > deadline) return;
    std::this_thread::yield();
  }
}

EosLock::ShutdownGuard::~ShutdownGuard() {
  if (holds_) Leave();
}

// Relaxed: only this thread stores its own id, so a match needs no order with anything else.
bool EosLock::IsHeldByThisThread() {
  return owner_.load(std::memory_order_relaxed) == std::this_thread::get_id();
}

bool EosLock::EnterAgain() {
  if (!IsHeldByThisThread()) return false;
  ++depth_;
  return true;
}

// Relaxed: what the owner before wrote is seen through `turn_`.
void EosLock::Enter() {
  const uint32_t ticket = next_ticket_.fetch_add(1, std::memory_order_relaxed);
  if (!SpinUntilTurnOf(ticket)) SleepUntilTurnOf(ticket);
  Entered();
}

// Draws a ticket only when its turn is now: a ticket once drawn cannot be given back.
bool EosLock::TryEnter() {
  uint32_t ticket = turn_.load();
  if (!next_ticket_.compare_exchange_strong(ticket, ticket + 1)) return false;
  Entered();
  return true;
}

void EosLock::Entered() {
  owner_.store(std::this_thread::get_id(), std::memory_order_relaxed);
  depth_ = 1;
}

bool EosLock::SpinUntilTurnOf(uint32_t ticket) {
  if (turn_.load() == ticket) return true;
  const auto deadline = Clock::now() + kSpinTime;
  do {
    Pause();
    if (turn_.load() == ticket) return true;
  } while (Clock::now() < deadline);
  return false;
}

void EosLock::SleepUntilTurnOf(uint32_t ticket) {
  std::unique_lock sleep(*sleep_mutex);
  ++sleepers_;
  turn_changed->wait(sleep, [ticket] { return turn_.load() == ticket; });
  --sleepers_;
}

// The turn changes before the sleepers are counted, and a sleeper is counted before it looks at the
// turn: one of the two sees the other, so nobody sleeps through its turn. The mutex is taken so
// that nobody is between its look and its sleep when all are woken.
void EosLock::Leave() {
  if (--depth_ > 0) return;
  owner_.store(std::thread::id(), std::memory_order_relaxed);
  turn_.fetch_add(1);
  if (sleepers_.load() == 0) return;
  { const std::lock_guard sleep(*sleep_mutex); }
  turn_changed->notify_all();
}

}  // namespace zelk
