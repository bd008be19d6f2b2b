#include "core_contract/task_queue.h"

#include <memory>
#include <mutex>
#include <utility>

#include "zelk_core_standin.h"

namespace zelk {
namespace {

using core_standin::CommittedResult;

class TaskQueue {
 public:
  using Results = std::vector<std::unique_ptr<const CommittedResult>>;

  void Push(std::unique_ptr<const CommittedResult> result) {
    const std::scoped_lock lock(mutex_);
    results_.push_back(std::move(result));
  }

  Results TakeAll() {
    const std::scoped_lock lock(mutex_);
    return std::exchange(results_, {});
  }

 private:
  std::mutex mutex_;
  Results results_;
};

// Never destroyed: threads may commit until the process ends.
TaskQueue& Queue() {
  static TaskQueue& queue = *new TaskQueue;
  return queue;
}

}  // namespace

template <class T>
void InnerObserverHolder<T>::CommitToTaskQueue(const T& result, unsigned int observer_id,
                                               const SdkString& seq_id, bool flag) {
  // Built where it stays: a record is copied once.
  Queue().Push(std::unique_ptr<const CommittedResult>(
      new CommittedResult{result, observer_id, seq_id.c_str(), flag}));
}

// Said once more for ELF, where an instantiation is as hidden as the types it is made for.
template class ZELK_CORE_API InnerObserverHolder<BaseResult>;
template class ZELK_CORE_API InnerObserverHolder<AuthResult>;
template class ZELK_CORE_API InnerObserverHolder<AuthPluginResult>;
template class ZELK_CORE_API InnerObserverHolder<FriendResult>;

std::size_t core_standin::DrainTaskQueue(
    const std::function<void(const CommittedResult&)>& observer) {
  const TaskQueue::Results results = Queue().TakeAll();
  for (const auto& result : results) observer(*result);
  return results.size();
}

}  // namespace zelk
