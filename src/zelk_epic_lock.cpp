#include "zelk_epic_lock.h"

namespace zelk {

std::mutex EosLock::workers_;
constinit std::atomic<uint32_t> EosLock::tickets_{0};
constinit std::atomic<uint32_t> EosLock::turn_{0};
std::atomic<std::thread::id> EosLock::owner_{};
constinit int EosLock::depth_ = 0;

EosLock::Entry::Entry() {
  if (!Reenter()) Enter();
}

EosLock::Entry::~Entry() { Leave(); }

EosLock::Step::Step() {
  if (Reenter()) return;
  worker_ = std::unique_lock(workers_);
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
  for (uint32_t turn = turn_.load(); turn != ticket; turn = turn_.load()) turn_.wait(turn);
  owner_.store(std::this_thread::get_id(), std::memory_order_relaxed);
  depth_ = 1;
}

void EosLock::Leave() {
  if (--depth_ > 0) return;
  owner_.store(std::thread::id(), std::memory_order_relaxed);
  turn_.fetch_add(1);
  turn_.notify_all();
}

}  // namespace zelk
