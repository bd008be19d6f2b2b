#include "core_contract/task_queue.h"

#include <memory>
#include <mutex>
#include <utility>

#include "common/never_destroyed.h"
#include "zelk_core_standin.h"

namespace zelk {
namespace {

using core_standin::CommittedResult;

using Results = std::vector<std::unique_ptr<const CommittedResult>>;

struct TaskQueue {
  std::mutex mutex;
  Results results;
};

TaskQueue& Queue() { return common::NeverDestroyed<TaskQueue>(); }

}  // namespace

template <class T>
void InnerObserverHolder<T>::CommitToTaskQueue(const T& result, unsigned int observer_id,
                                               const SdkString& seq_id, bool flag) {
  // Built where it stays: a record is copied once.
  std::unique_ptr<const CommittedResult> committed(
      new CommittedResult{result, observer_id, seq_id.c_str(), flag});
  const std::scoped_lock lock(Queue().mutex);
  Queue().results.push_back(std::move(committed));
}

// Said once more for ELF, where an instantiation is as hidden as the types it is made for.
template class ZELK_CORE_API InnerObserverHolder<BaseResult>;
template class ZELK_CORE_API InnerObserverHolder<AuthResult>;
template class ZELK_CORE_API InnerObserverHolder<AuthPluginResult>;
template class ZELK_CORE_API InnerObserverHolder<FriendResult>;

std::size_t core_standin::DrainTaskQueue(
    const std::function<void(const CommittedResult&)>& observer) {
  std::unique_lock lock(Queue().mutex);
  const Results results = std::exchange(Queue().results, {});
  lock.unlock();
  for (const auto& result : results) observer(*result);
  return results.size();
}

}  // namespace zelk
