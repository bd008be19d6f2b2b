// The core's task queue: the way of every result to the game.
#pragma once

#include "core_contract/export.h"
#include "core_contract/results.h"
#include "core_contract/sdk_string.h"

namespace zelk {

// One observer per result type T: BaseResult, AuthResult, AuthPluginResult or FriendResult.
template <class T>
class InnerObserverHolder {
 public:
  // Any thread. Copies `result` and `seq_id` before it returns; the game gets them later.
  ZELK_CORE_API static void CommitToTaskQueue(const T& result, unsigned int observer_id,
                                              const SdkString& seq_id, bool flag);
};

}  // namespace zelk
