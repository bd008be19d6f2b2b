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

  // Of a call without options its one argument is recorded.
  template <class Value>
  CallScope(Function function, const char* name, const Value& value)
      : CallScope(function, [&] {
          return Json{{name, Describe(value)}};
        }) {}

  // `describe` gives what is recorded.
  template <class DescribeCall>
  requires std::is_invocable_v<DescribeCall> CallScope(Function function,
                                                       const DescribeCall& describe)
      : function_(function), inside_(function) {
    if (switches.recording.load(kRelaxed)) Record(function, describe());
    RunHook(function);
  }

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
  static bool Enter(Function function) {
    static thread_local char this_thread = 0;
    const void* inside = nullptr;
    if (thread_inside_.compare_exchange_strong(inside, &this_thread, kRelaxed)) return true;
    if (inside != &this_thread) ReportMisuse(MisuseRule::kOverlappingCall, function);
    return false;
  }
  static void Leave() { thread_inside_.store(nullptr, kRelaxed); }

  // A member, so that a hook that throws leaves the call too.
  struct Inside {
    explicit Inside(Function function) : outermost(Enter(function)) {}
    ~Inside() {
      if (outermost) Leave();
    }
    Inside(const Inside&) = delete;
    Inside& operator=(const Inside&) = delete;
    const bool outermost;
  };

  // The thread inside the library, as the address of something of its own. Relaxed, so that it
  // orders nothing between the threads: a race of the callers stays visible to a thread sanitizer.
  static inline std::atomic<const void*> thread_inside_{nullptr};

  Function function_;
  Inside inside_;
};

}  // namespace eos_standin
