// The lock around every call into EOS, which is not thread-safe itself: an entry point holds it
// from beginning to end, the friend worker for one EOS call at a time. The EOS log callback never
// takes it.
#pragma once

#include <atomic>
#include <mutex>
#include <thread>

namespace zelk {

// Invariant: whoever is inside EOS holds `inside_`, and so does whoever reads or writes the state
// of EpicAuth, a context that EOS holds, or a detail list.
//
// Who finds it taken queues up at `next_`, and gives that up only once inside. A worker also holds
// `workers_` for as long as its step lasts, so that at most one worker is inside or in the queue: a
// tick that arrives waits for one EOS call at the most. Entry points queue up whenever a worker
// does, so a worker gets its step in after one tick at the latest, however fast the ticks follow
// each other.
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
    std::unique_lock<std::mutex> worker_;
  };

 private:
  static bool Reenter();
  static void Enter();
  static void Queue();
  static void Leave();

  static std::mutex inside_;
  static std::mutex next_;
  static std::mutex workers_;
  static constinit std::atomic<bool> worker_queues_;
  static std::atomic<std::thread::id> owner_;
  static constinit int depth_;  // the owner's only
};

}  // namespace zelk
