// The one kind of operation: what all calls that are answered later have in common. What is
// particular to a call is a class of steps, derived from AsyncSteps.
#pragma once

#include "operation.h"
#include "platform.h"
#include "results.h"

namespace eos_standin {

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
        refused_(CheckVersion(options.ApiVersion, Steps::kLatestVersion)) {
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
