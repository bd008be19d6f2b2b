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
// A ticket lock: a thread draws the next ticket and enters when its turn has come, so none is
// overtaken. The thread that holds it may take it again. Taken by the standard library's guards,
// and by a WorkerStep.
class EosLock {
 public:
  EosLock();

  void lock();
  // False when the thread that is inside has not come out for `timeout`.
  bool try_lock_for(std::chrono::milliseconds timeout);
  void unlock();

  bool IsHeldByThisThread() const;
  // Checks it, in builds with assertions.
  void AssertHeld() const { assert(IsHeldByThisThread()); }
  // Whether another thread waits for the calling one, which is inside.
  bool IsWaitedFor() const;

 private:
  friend class WorkerStep;

  std::atomic<uint32_t> next_ticket_{0};
  std::atomic<uint32_t> now_serving_{0};  // the ticket that may enter
  std::atomic<uint32_t> sleepers_{0};     // threads that sleep until their turn
  std::mutex sleep_mutex_;
  std::condition_variable turn_changed_;
  std::atomic<std::thread::id> owner_{};
  int depth_ = 0;  // how often the owner has taken it; the owner's only
  std::atomic<bool> newcomers_blocked_{false};  // for a thread that waits without a ticket
  std::mutex worker_mutex_;                     // of the worker that may draw a ticket
};

// The one of the process. Never destroyed.
extern EosLock& eos_lock;

// Holds the lock for one step of a worker: one EOS call, or two with YieldToTick between them. Of
// all workers only one at a time draws a ticket, so a tick that arrives waits for one EOS call of
// one worker at the most.
class WorkerStep {
 public:
  WorkerStep();

  // Lets a thread that waits go first. What was checked before may hold no longer.
  void YieldToTick();

 private:
  std::unique_lock<std::mutex> worker_lock_;  // released last
  std::unique_lock<EosLock> eos_;
};

}  // namespace zelk
