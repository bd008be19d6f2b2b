// A login on its way through EOS: the contexts of its calls.
#pragma once

#include <memory>
#include <utility>

#include "auth/login_credentials.h"
#include "core_contract/base_params.h"
#include "eos_result.h"
#include "zelk_epic_pending.h"

namespace zelk {

// The copy of a login's request. Once it is handed to EOS it owes the core one answer: the step
// that ends the request gives it, and if none could, the copy does as it is destroyed.
struct LoginRequest final : PendingContext {
  explicit LoginRequest(const BaseParams& request) : params(request) {}
  ~LoginRequest() override;

  void AnswerAfterShutdown() override;

  BaseParams params;
  bool owes_answer = false;
};

// The context of both EOS_Auth_Login attempts.
struct LoginClientData final : PendingContext {
  void AnswerAfterShutdown() override {
    if (base_params_ != nullptr) base_params_->AnswerAfterShutdown();
  }

  std::unique_ptr<LoginCredentials> login_options_;  // null once the second attempt was made
  std::unique_ptr<LoginRequest> base_params_;        // null once it was handed on or answered
  int completions_owed_ = 0;                         // that EOS has still to run
};

// EOS retries on its own, or shows the player a PIN, and completes again when the outcome is known.
inline bool LoginCompletesAgain(EOS_EResult result) {
  return result == EOS_EResult::EOS_OperationWillRetry ||
         result == EOS_EResult::EOS_Auth_PinGrantCode;
}

// Frees the client data; while EOS has announced another completion, it is kept, empty, for that.
inline void ReleaseLoginClientData(std::unique_ptr<LoginClientData> client_data) {
  client_data->login_options_.reset();
  client_data->base_params_.reset();
  if (client_data->completions_owed_ > 0) InFlight::Return(std::move(client_data));
}

}  // namespace zelk
