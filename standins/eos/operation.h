// Calls that are answered later: an operation waits in its platform's queue and runs in a tick,
// there does its work and runs the caller's completion. What is particular to a call is a class of
// steps, derived from AsyncSteps.
#pragma once

#include <cstdint>

#include "script.h"

struct EOS_PlatformHandle;

namespace eos_standin {

using Platform = EOS_PlatformHandle;

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

// Names the call, its options, and what its completion gets. The steps that a call does not take
// are here.
template <Function function, int32_t latest_version, class OptionsOfCall, class InfoOfCompletion>
struct AsyncSteps {
  using Options = OptionsOfCall;
  using Info = InfoOfCompletion;
  static constexpr Function kFunction = function;
  static constexpr int32_t kLatestVersion = latest_version;

  // During the call: keeps what the steps need of the options, which end with it. What is not
  // success becomes the result, and there is no work.
  EOS_EResult Begin(const Options&) { return EOS_EResult::EOS_Success; }
  // In a tick, every derived class has it:
  //   EOS_EResult Work(Platform& platform, Info& info);
  // After it, or in its place where a rule gives the result.
  void BeforeCompletion(const Platform&, const Scripted&, Info&) {}
  // Texts that were the caller's to read during the completion only are poisoned here.
  void AfterCompletion() {}
};

template <class Steps>
class AsyncCall final : public Operation {
 public:
  using Options = typename Steps::Options;
  using Info = typename Steps::Info;
  using Callback = void(EOS_CALL*)(const Info*);

  AsyncCall(Platform& platform, const Options& options, void* client_data, Callback callback)
      : Operation(Steps::kFunction, AccountAbout(options)),
        platform_(platform),
        callback_(callback),
        refused_(IsKnownVersion(options.ApiVersion, Steps::kLatestVersion)
                     ? EOS_EResult::EOS_Success
                     : EOS_EResult::EOS_VersionMismatch) {
    info_.ClientData = client_data;
    if constexpr (requires { info_.LocalUserId = options.LocalUserId; }) {
      info_.LocalUserId = options.LocalUserId;
    }
    if constexpr (requires { info_.TargetUserId = options.TargetUserId; }) {
      info_.TargetUserId = options.TargetUserId;
    }
    if (refused_ == EOS_EResult::EOS_Success) refused_ = steps_.Begin(options);
  }

 private:
  EOS_EResult Work() override {
    return refused_ != EOS_EResult::EOS_Success ? refused_ : steps_.Work(platform_, info_);
  }

  void Complete(EOS_EResult result, const Scripted& scripted) override {
    info_.ResultCode = result;
    steps_.BeforeCompletion(platform_, scripted, info_);
    Info info = info_;
    if (scripted.null_client_data) info.ClientData = nullptr;
    if (callback_ != nullptr) callback_(scripted.null_data ? nullptr : &info);
    steps_.AfterCompletion();
  }

  Platform& platform_;
  Callback callback_;
  EOS_EResult refused_;
  Steps steps_;
  Info info_{};
};

}  // namespace eos_standin
