// The lock around every call into EOS, which is not thread-safe itself: an entry point holds it
// from beginning to end, the friend worker for one EOS call at a time. The EOS log callback never
// takes it.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>

namespace zelk {

// Invariant: whoever is inside EOS holds the lock, and so does whoever reads or writes the state of
// EpicAuth, a context that EOS holds, or a detail list.
//
// Who comes draws a ticket and gets in when its turn has come. A worker keeps `workers_` for as
// long as its step lasts, so that at most one worker is inside or has a ticket: a tick that arrives
// waits for one EOS call of a worker at the most, and a worker for one tick, however fast they
// follow each other.
class EosLock {
 public:
  // For the entry points, and so for everything that EOS runs inside a tick.
  class Entry {
   public:
    Entry();
    ~Entry();
    Entry(const Entry&) = delete;
    Entry& operator=(const Entry&) = delete;
  };

  // For one step of a worker: one EOS call at the most. On a thread that already holds the lock it
  // changes nothing.
  class Step {
   public:
    Step();
    ~Step();
    Step(const Step&) = delete;
    Step& operator=(const Step&) = delete;

   private:
    std::unique_lock<std::mutex> worker_;  // given back after the lock
  };

 private:
  static bool Reenter();
  static void Enter();
  static void SleepUntilTurnOf(uint32_t ticket);
  static void Leave();

  // What sleepers use is never destroyed: a worker may still run when the process ends.
  template <class T>
  union Immortal {
    Immortal() : value() {}
    ~Immortal() {}  // NOLINT(modernize-use-equals-default): that would be deleted
    T value;
  };

  static Immortal<std::mutex> workers_;
  static constinit std::atomic<uint32_t> tickets_;   // drawn so far
  static constinit std::atomic<uint32_t> turn_;      // whose turn it is
  static constinit std::atomic<uint32_t> sleepers_;  // those that wait for their turn
  static Immortal<std::mutex> sleep_;
  static Immortal<std::condition_variable> turn_changed_;
  static std::atomic<std::thread::id> owner_;
  static constinit int depth_;  // the owner's only
};

}  // namespace zelk
