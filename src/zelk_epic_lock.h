// The lock around every call into EOS, which is not thread-safe itself: an entry point holds it
// from beginning to end, a friend worker for one EOS call at a time. The EOS log callback never
// takes it.
#pragma once

#include <atomic>
#include <cassert>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>

namespace zelk {

// Invariant: whoever is inside EOS holds the lock, and so does whoever reads or writes the state of
// EpicAuth, a context that EOS holds, or a page of friends.
//
// A ticket lock: who comes draws the next ticket and enters when its turn has come, so nobody is
// overtaken. A thread that holds it may take it again. Taken by the standard library's guards, and
// by a WorkerStep.
class EosLock {
 public:
  void lock();
  // False when its turn has not come for `patience`; the ticket is then abandoned. One thread at a
  // time.
  bool try_lock_for(std::chrono::milliseconds patience);
  void unlock();

  bool IsHeldByThisThread() const;
  // Checks it, in builds with assertions.
  void AssertHeld() const { assert(IsHeldByThisThread()); }
  // Whether somebody waits for the calling thread, which is inside.
  bool IsWaitedFor() const;

 private:
  friend class WorkerStep;

  static constexpr uint64_t kNoTicket = UINT64_MAX;

  bool EnterAgain();
  void Enter();
  bool Abandon(uint32_t ticket);
  bool SpinUntilTurnOf(uint32_t ticket) const;
  void SleepUntilTurnOf(uint32_t ticket);

  std::atomic<uint32_t> next_ticket_{0};
  std::atomic<uint32_t> turn_{0};               // the ticket that may enter
  std::atomic<uint64_t> abandoned_{kNoTicket};  // the ticket that nobody waits with any more
  std::atomic<uint32_t> sleepers_{0};           // threads that sleep until their turn
  std::mutex sleep_;
  std::condition_variable turn_changed_;
  std::atomic<std::thread::id> owner_{};
  int depth_ = 0;           // how often the owner has taken it; the owner's only
  std::mutex only_worker_;  // the worker's that has a ticket
};

// The one of the process. Never destroyed: a worker may still run when the process ends.
extern EosLock& eos_lock;

// Holds the lock for one step of a worker: one EOS call, or two with GiveWay between them. Of all
// workers only one at a time draws a ticket, so a tick that arrives waits for one EOS call of one
// worker at the most.
class WorkerStep {
 public:
  WorkerStep();

  // Lets who waits go first. What was checked before may hold no longer.
  void GiveWay();

 private:
  std::unique_lock<std::mutex> only_worker_;  // given back last
  std::unique_lock<EosLock> eos_;
};

}  // namespace zelk
