// What every exported function does first: one object at its top, alive until it returns. It
// records the call, runs the hook, and reports what no caller may do.
#pragma once

#include <string_view>
#include <type_traits>

#include "functions.h"
#include "library.h"
#include "script.h"

namespace eos_standin {

class Entry {
 public:
  explicit Entry(Function function) : Entry(function, [] { return Json(); }) {}

  template <class Options>
  requires std::is_class_v<Options> Entry(Function function, const Options* options)
      : Entry(function, [options] { return options == nullptr ? Json() : Describe(*options); }) {}

  // `describe` gives what is recorded.
  template <class DescribeCall>
  requires std::is_invocable_v<DescribeCall> Entry(Function function, const DescribeCall& describe)
      : function_(function), outermost_(GoIn(function)) {
    if (Recording()) Record(function, describe());
    RunHook(function);
  }

  ~Entry() {
    if (outermost_) GoOut();
  }
  Entry(const Entry&) = delete;
  Entry& operator=(const Entry&) = delete;

  // False, and a misuse, after EOS_Shutdown.
  bool Allowed() const {
    if (!IsShutDown()) return true;
    Misuse("after-shutdown");
    return false;
  }

  // The platform behind a platform's or an interface's handle. Null, and a misuse, when the call
  // must not be served.
  template <class Handle>
  Platform* PlatformOf(const Handle* handle) const {
    if (!Allowed()) return nullptr;
    if (handle == nullptr) return Misuse("null-handle");
    Platform* platform = FindPlatform(handle);
    if (platform == nullptr) return Misuse("unknown-handle");
    return platform->released ? Misuse("released-handle") : platform;
  }

  template <class Handle, class Options>
  Platform* PlatformOf(const Handle* handle, const Options* options) const {
    Platform* platform = PlatformOf(handle);
    if (platform == nullptr || options != nullptr) return platform;
    return Misuse("null-options");
  }

  Scripted Script(std::string_view about = {}) const { return TakeRule(function_, about); }

  std::nullptr_t Misuse(std::string_view rule) const {
    ReportMisuse(rule, function_);
    return nullptr;
  }

  Function function() const { return function_; }

 private:
  // True when this call is not made inside another one of the same thread, nor beside another
  // thread's.
  static bool GoIn(Function function);
  static void GoOut();

  Function function_;
  bool outermost_;
};

}  // namespace eos_standin
