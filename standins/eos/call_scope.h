// What every exported function does first: one object at its top, alive until it returns. It
// records the call, runs the hook, and reports what no caller may do.
#pragma once

#include <string_view>
#include <type_traits>

#include "library.h"
#include "script.h"

namespace eos_standin {

class CallScope {
 public:
  explicit CallScope(Function function) : CallScope(function, [] { return Json(); }) {}

  template <class Options>
  requires std::is_class_v<Options> CallScope(Function function, const Options* options)
      : CallScope(function, [options] { return Describe(options); }) {}

  // `describe` gives what is recorded.
  template <class DescribeCall>
  requires std::is_invocable_v<DescribeCall> CallScope(Function function,
                                                       const DescribeCall& describe)
      : function_(function), outermost_(Enter(function)) {
    if (Recording()) Record(function, describe());
    RunHook(function);
  }

  ~CallScope() {
    if (outermost_) Leave();
  }
  CallScope(const CallScope&) = delete;
  CallScope& operator=(const CallScope&) = delete;

  // False, and a misuse, after EOS_Shutdown.
  bool Allowed() const {
    if (!IsShutDown()) return true;
    Misuse(MisuseRule::kAfterShutdown);
    return false;
  }

  // The platform behind a platform's or an interface's handle. Null, and a misuse, when the call
  // must not be served.
  template <class Handle>
  Platform* PlatformOf(const Handle* handle) const {
    if (!Allowed()) return nullptr;
    if (handle == nullptr) return Misuse(MisuseRule::kNullHandle);
    Platform* platform = FindPlatform(handle);
    if (platform == nullptr) return Misuse(MisuseRule::kUnknownHandle);
    return platform->released ? Misuse(MisuseRule::kReleasedHandle) : platform;
  }

  template <class Handle, class Options>
  Platform* PlatformOf(const Handle* handle, const Options* options) const {
    Platform* platform = PlatformOf(handle);
    if (platform == nullptr || options != nullptr) return platform;
    return Misuse(MisuseRule::kNullOptions);
  }

  Scripted Script(std::string_view about = {}) const { return ApplyRules(function_, about); }

  std::nullptr_t Misuse(MisuseRule rule) const {
    ReportMisuse(rule, function_);
    return nullptr;
  }

  Function function() const { return function_; }

 private:
  // True when this call is not made inside another one of the same thread, nor beside another
  // thread's.
  static bool Enter(Function function);
  static void Leave();

  Function function_;
  bool outermost_;
};

}  // namespace eos_standin
