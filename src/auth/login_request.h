// A login on its way through EOS: the client data of its calls.
#pragma once

#include <memory>

#include "auth/login_credentials.h"
#include "core_contract/base_params.h"
#include "eos_result.h"
#include "zelk_epic_pending.h"

namespace zelk {

// The copy of a login's request. Once it is handed to EOS it owes the core one answer: whoever ends
// the request gives it, and if nobody could, the copy does as it is cleared.
struct LoginRequest final : PendingContext {
  explicit LoginRequest(const BaseParams& request) : params(request) {}

  void AnswerAfterShutdown() override;
  void Clear() noexcept override;

  BaseParams params;
  bool owes_answer = false;
};

// The request of a completion. Null, too, for one that was answered before EOS completed it again.
inline Pending<LoginRequest> ReclaimRequest(EosCall call, const void* client_data,
                                            EOS_EResult result) {
  auto request = InFlight::Reclaim<LoginRequest>(call, client_data,
                                                 result == EOS_EResult::EOS_OperationWillRetry);
  if (request != nullptr && !request->owes_answer) request.reset();
  return request;
}

// The client data of both EOS_Auth_Login attempts.
struct LoginClientData final : PendingContext {
  void AnswerAfterShutdown() override {
    if (base_params_ != nullptr) base_params_->AnswerAfterShutdown();
  }
  void Clear() noexcept override {
    login_options_.reset();
    base_params_.reset();
  }

  std::unique_ptr<LoginCredentials> login_options_;  // null once the second attempt was made
  Pending<LoginRequest> base_params_;                // null once it was handed on or answered
};

// A pin grant completes once to show the player the code, and again when the player has entered it.
inline bool LoginCompletesAgain(EOS_EResult result) {
  return result == EOS_EResult::EOS_OperationWillRetry ||
         result == EOS_EResult::EOS_Auth_PinGrantCode;
}

}  // namespace zelk
