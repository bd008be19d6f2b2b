// Handing a finished result to the core's task queue.
#pragma once

#include <cstdint>
#include <type_traits>

#include "core_contract/base_params.h"
#include "core_contract/results.h"
#include "core_contract/sdk_string.h"
#include "core_contract/task_queue.h"

namespace zelk {

// Where the core expects each type of result.
constexpr unsigned int ObserverIdOf(const AuthResult&) { return 101; }
constexpr unsigned int ObserverIdOf(const BaseResult&) { return 105; }
constexpr unsigned int ObserverIdOf(const AuthPluginResult&) { return 106; }
constexpr unsigned int ObserverIdOf(const FriendResult&) { return 202; }

// Commits `result` as an answer to the request `params`.
template <class Result>
void Commit(const BaseParams& params, const Result& result) {
  constexpr bool kFlag = !std::is_same_v<Result, AuthPluginResult>;  // a login's success has none
  const SdkString seq_id(params.seq_id);
  InnerObserverHolder<Result>::CommitToTaskQueue(result, ObserverIdOf(result), seq_id, kFlag);
}

// Commits a result that says no more than `ret_code`.
template <class Result>
void CommitCode(const BaseParams& params, int32_t ret_code) {
  Result result(ret_code);
  result.method_id = params.method_id;
  Commit(params, result);
}

}  // namespace zelk
