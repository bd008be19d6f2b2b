#include "zelk_epic_lock.h"

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

constexpr std::chrono::milliseconds kSleepTime{10};  // of a thread that may not draw a ticket

// False when it has not become true in the time that waiting awake is worth.
template <class Condition>
bool SpinUntil(Condition condition) {
  if (condition()) return true;
  const auto deadline = Clock::now() + kSpinTime;
  do {
#if defined(__x86_64__) || defined(_M_X64)
    _mm_pause();  // tells the processor that this is a loop that waits
#else
    std::this_thread::yield();
#endif
    if (condition()) return true;
  } while (Clock::now() < deadline);
  return false;
}

NoDestructor<EosLock> process_lock;

}  // namespace

EosLock& eos_lock = process_lock.object;

// Some systems take memory at a mutex's first use: here, so that lock() never throws.
EosLock::EosLock() { const std::scoped_lock first_use(sleep_mutex_, worker_mutex_); }

// Relaxed: what the owner before wrote is seen through `now_serving_`.
void EosLock::lock() {
  if (!IsHeldByThisThread()) {
    while (newcomers_blocked_.load()) std::this_thread::sleep_for(kSleepTime);
    const uint32_t ticket = next_ticket_.fetch_add(1, std::memory_order_relaxed);
    const auto is_turn = [=, this] { return now_serving_.load() == ticket; };
    if (!SpinUntil(is_turn)) {
      std::unique_lock sleep(sleep_mutex_);
      ++sleepers_;
      turn_changed_.wait(sleep, is_turn);
      --sleepers_;
    }
    owner_.store(std::this_thread::get_id(), std::memory_order_relaxed);
  }
  ++depth_;
}

// A ticket cannot be given back: one is drawn only when it is served at once; until then no
// other thread draws one. Counts its sleeps and not the clock, which goes on while a process is
// stopped.
bool EosLock::try_lock_for(std::chrono::milliseconds timeout) {
  const auto try_enter = [this] {
    uint32_t ticket = now_serving_.load();
    if (!IsHeldByThisThread() && !next_ticket_.compare_exchange_strong(ticket, ticket + 1))
      return false;
    owner_.store(std::this_thread::get_id(), std::memory_order_relaxed);
    return true;
  };
  newcomers_blocked_.store(true);
  for (; !SpinUntil(try_enter) && timeout.count() > 0; timeout -= kSleepTime) {
    std::this_thread::sleep_for(kSleepTime);
  }
  newcomers_blocked_.store(false);
  if (!IsHeldByThisThread()) return false;
  ++depth_;
  return true;
}

// The turn changes before the sleepers are counted, and a sleeper is counted before it looks at the
// turn: one of the two sees the other, so nobody sleeps through its turn. The mutex is taken so
// that nobody is between its look and its sleep when all are woken.
void EosLock::unlock() {
  if (--depth_ > 0) return;
  owner_.store(std::thread::id(), std::memory_order_relaxed);
  now_serving_.fetch_add(1);
  if (sleepers_.load() == 0) return;
  { const std::lock_guard sleep(sleep_mutex_); }
  turn_changed_.notify_all();
}

// Relaxed: only this thread stores its own id, so a match needs no order with anything else.
bool EosLock::IsHeldByThisThread() const {
  return owner_.load(std::memory_order_relaxed) == std::this_thread::get_id();
}

// Relaxed: a ticket that is not seen here is seen at the next step.
bool EosLock::IsWaitedFor() const {
  return newcomers_blocked_.load(std::memory_order_relaxed) ||
         next_ticket_.load(std::memory_order_relaxed) != now_serving_.load() + 1;
}

// Without a thread of its own a worker's steps run inside a tick, which holds the lock already.
WorkerStep::WorkerStep() {
  if (!eos_lock.IsHeldByThisThread()) worker_lock_ = std::unique_lock(eos_lock.worker_mutex_);
  eos_ = std::unique_lock(eos_lock);
}

void WorkerStep::YieldToTick() {
  if (!worker_lock_ || !eos_lock.IsWaitedFor()) return;
  eos_.unlock();
  eos_.lock();
}

}  // namespace zelk
