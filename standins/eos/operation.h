// Calls that are answered later: an operation waits in its platform's queue and runs in a tick,
// there does its work and runs the caller's completion.
#pragma once

#include <cstdint>
#include <string_view>

#include "script.h"

namespace eos_standin {

class Operation {
 public:
  // `about` is the handle of the account the call is about, for rules with a target; may be null.
  Operation(Function function, EOS_EpicAccountId about) : function_(function), about_(about) {
    Count(outstanding_counts.operations, 1);
    NextTurn();
  }
  virtual ~Operation() { Count(outstanding_counts.operations, -1); }
  Operation(const Operation&) = delete;
  Operation& operator=(const Operation&) = delete;

  // In how many ticks it is due, counted from the call or from the last run.
  int64_t after_ticks() const { return scripted_.after_ticks < 1 ? 1 : scripted_.after_ticks; }

  // Works, unless a rule gives the result, and runs the completion. True when it must run again, in
  // after_ticks().
  bool Run() {
    const EOS_EResult result = scripted_.Fails() ? scripted_.result : Work();
    Complete(result, scripted_);
    if (result == EOS_EResult::EOS_OperationWillRetry) {
      NextTurn();
      return true;
    }
    const bool pin_granted = result == EOS_EResult::EOS_Auth_PinGrantCode;
    if (!pin_granted || function_ != Function::EOS_Auth_Login) return false;
    NextTurn();
    if (scripted_.after_ticks <= 1) scripted_.after_ticks = kTicksOfPlayerWithPin;
    return true;
  }

  void Cancel() { Complete(EOS_EResult::EOS_Canceled, scripted_); }

 protected:
  virtual EOS_EResult Work() = 0;
  virtual void Complete(EOS_EResult result, const Scripted& scripted) = 0;

 private:
  // How long a player takes to enter the code on the web page.
  static constexpr int64_t kTicksOfPlayerWithPin = 3;

  void NextTurn() { scripted_ = TakeRule(function_, TextOf(about_)); }

  Function function_;
  EOS_EpicAccountId about_;
  Scripted scripted_;
};

// An operation with the callback info that its completion gets.
template <class Info>
class Completion : public Operation {
 public:
  using Callback = void(EOS_CALL*)(const Info*);

 protected:
  Completion(Function function, EOS_EpicAccountId about, void* client_data, Callback callback)
      : Operation(function, about), callback_(callback) {
    info_.ClientData = client_data;
  }

  // Around the callback: what the info holds for a result, and what becomes of it afterwards.
  virtual void Furnish(EOS_EResult, const Scripted&) {}
  virtual void Spoil() {}

  void Complete(EOS_EResult result, const Scripted& scripted) final {
    info_.ResultCode = result;
    Furnish(result, scripted);
    Info info = info_;
    if (scripted.null_client_data) info.ClientData = nullptr;
    if (callback_ != nullptr) callback_(scripted.null_data ? nullptr : &info);
    Spoil();
  }

  Info info_{};

 private:
  Callback callback_;
};

}  // namespace eos_standin
