#include "zelk_epic_lock.h"

namespace zelk {

std::mutex EosLock::inside_;
std::mutex EosLock::next_;
std::mutex EosLock::workers_;
constinit std::atomic<bool> EosLock::worker_queues_{false};
std::atomic<std::thread::id> EosLock::owner_{};
constinit int EosLock::depth_ = 0;

EosLock::Entry::Entry() {
  if (Reenter()) return;
  if (worker_queues_.load(std::memory_order_relaxed) || !inside_.try_lock()) Queue();
  Enter();
}

EosLock::Entry::~Entry() { Leave(); }

EosLock::Step::Step() {
  if (Reenter()) return;
  worker_ = std::unique_lock(workers_);
  worker_queues_.store(true, std::memory_order_relaxed);
  Queue();
  worker_queues_.store(false, std::memory_order_relaxed);
  Enter();
}

EosLock::Step::~Step() { Leave(); }

// Only this thread stores its own id, so a match needs no order with anything else.
bool EosLock::Reenter() {
  if (owner_.load(std::memory_order_relaxed) != std::this_thread::get_id()) return false;
  ++depth_;
  return true;
}

void EosLock::Queue() {
  const std::lock_guard next(next_);
  inside_.lock();
}

void EosLock::Enter() {
  owner_.store(std::this_thread::get_id(), std::memory_order_relaxed);
  depth_ = 1;
}

void EosLock::Leave() {
  if (--depth_ > 0) return;
  owner_.store(std::thread::id(), std::memory_order_relaxed);
  inside_.unlock();
}

}  // namespace zelk
