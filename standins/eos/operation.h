// Calls that are answered later: an operation waits in its platform's queue and runs in a tick,
// there does its work and runs the caller's completion.
#pragma once

#include <cstdint>

#include "script.h"

namespace eos_standin {

class Operation {
 public:
  // `about` is the handle of the account the call is about, for rules with a target; may be null.
  Operation(Function function, EOS_EpicAccountId about) : function_(function), about_(about) {
    Count(outstanding_counts.operations, 1);
    ApplyScript();
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
      ApplyScript();
      return true;
    }
    const bool pin_granted = result == EOS_EResult::EOS_Auth_PinGrantCode;
    if (!pin_granted || function_ != Function::EOS_Auth_Login) {
      if (scripted_.completes_twice) Complete(result, scripted_);
      return false;
    }
    ApplyScript();
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

  void ApplyScript() { scripted_ = ApplyRules(function_, TextOf(about_)); }

  Function function_;
  EOS_EpicAccountId about_;
  Scripted scripted_;
};

}  // namespace eos_standin
