// Handing a finished result to the core's task queue.
#pragma once

#include "core_contract/base_params.h"
#include "core_contract/results.h"
#include "core_contract/sdk_string.h"
#include "core_contract/task_queue.h"

namespace zelk {

// Where the core expects each type of result, and with which flag.
template <class Result>
struct Observer;
template <>
struct Observer<AuthResult> {
  static constexpr unsigned int kId = 101;
  static constexpr bool kFlag = true;
};
template <>
struct Observer<BaseResult> {
  static constexpr unsigned int kId = 105;
  static constexpr bool kFlag = true;
};
template <>
struct Observer<AuthPluginResult> {
  static constexpr unsigned int kId = 106;
  static constexpr bool kFlag = false;
};
template <>
struct Observer<FriendResult> {
  static constexpr unsigned int kId = 202;
  static constexpr bool kFlag = true;
};

// Commits `result` as an answer to the request `params`.
template <class Result>
void Commit(const BaseParams& params, const Result& result) {
  const SdkString seq_id(params.seq_id);
  InnerObserverHolder<Result>::CommitToTaskQueue(result, Observer<Result>::kId, seq_id,
                                                 Observer<Result>::kFlag);
}

}  // namespace zelk
