// The lock around every call into EOS, which is not thread-safe itself: an entry point holds it
// from beginning to end, a friend worker for one EOS call at a time. The EOS log callback never
// takes it.
#pragma once

#include <atomic>
#include <cassert>
#include <cstdint>
#include <mutex>
#include <thread>

namespace zelk {

// Invariant: whoever is inside EOS holds the lock, and so does whoever reads or writes the state of
// EpicAuth, a context that EOS holds, or a page of friends.
//
// A ticket lock: who comes draws the next ticket and enters when its turn has come, so nobody is
// overtaken. A thread that holds the lock may take it again.
class EosLock {
 public:
  // For an entry point, and so for everything that EOS runs inside a tick.
  class EntryPointGuard {
   public:
    EntryPointGuard();
    ~EntryPointGuard();
    EntryPointGuard(const EntryPointGuard&) = delete;
    EntryPointGuard& operator=(const EntryPointGuard&) = delete;
  };

  // For one step of a worker: one EOS call. Of all workers only one at a time draws a ticket, so a
  // tick that arrives waits for one EOS call of one worker at the most.
  class WorkerGuard {
   public:
    WorkerGuard();
    ~WorkerGuard();
    WorkerGuard(const WorkerGuard&) = delete;
    WorkerGuard& operator=(const WorkerGuard&) = delete;

    // Between two EOS calls of one step: lets who waits go first. What was checked before it may
    // hold no longer.
    void GiveWay();

   private:
    std::unique_lock<std::mutex> only_worker_;  // unlocked after the guard has left
  };

  // For the shutdown, which must return even when the process is ending: a worker that the system
  // has stopped inside EOS never leaves. Gives up after some seconds.
  class ShutdownGuard {
   public:
    ShutdownGuard();
    ~ShutdownGuard();
    ShutdownGuard(const ShutdownGuard&) = delete;
    ShutdownGuard& operator=(const ShutdownGuard&) = delete;

    // False when it gave up: EOS must not be called, and nothing that the lock protects be touched.
    bool holds() const { return holds_; }

   private:
    bool holds_;
  };

  // Checks, in builds with assertions, that the calling thread holds the lock.
  static void AssertHeld() { assert(IsHeldByThisThread()); }

 private:
  static bool IsHeldByThisThread();
  static bool EnterAgain();
  static void Enter();
  static bool TryEnter();
  static void Entered();
  static bool SpinUntilTurnOf(uint32_t ticket);
  static void SleepUntilTurnOf(uint32_t ticket);
  static void Leave();

  static constinit std::atomic<uint32_t> next_ticket_;
  static constinit std::atomic<uint32_t> turn_;      // the ticket that may enter
  static constinit std::atomic<uint32_t> sleepers_;  // threads that sleep until their turn
  static std::atomic<std::thread::id> owner_;
  static constinit int depth_;  // how often the owner has taken it; the owner's only
};

}  // namespace zelk
