// What no caller may do: the one table of the rules, by which misuses are reported. Names are
// stable, tests and scripts speak of them.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace eos_standin {

#define EOS_STANDIN_MISUSES(X)                                                                    \
  X(kAfterShutdown, "after-shutdown", "EOS was called after EOS_Shutdown")                        \
  X(kOverlappingCall, "overlapping-call", "two threads were inside EOS at the same time")         \
  X(kNullHandle, "null-handle", "the handle of the platform or interface is null")                \
  X(kUnknownHandle, "unknown-handle", "EOS never handed out this handle or object")               \
  X(kReleasedHandle, "released-handle", "the platform of this handle has been released")          \
  X(kNullOptions, "null-options", "the options are null")                                         \
  X(kTokenReleasedTwice, "token-released-twice", "the auth token has been released before")       \
  X(kTokenAfterPlatform, "token-after-platform", "an auth token was released after its platform") \
  X(kTokenLeaked, "token-leaked", "an auth token was still out when its platform was released")   \
  X(kUserInfoReleasedTwice, "user-info-released-twice", "the user info has been released before") \
  X(kUserInfoAfterPlatform, "user-info-after-platform",                                           \
    "a user info was released after its platform")                                                \
  X(kUserInfoLeaked, "user-info-leaked", "a user info was still out when its platform was released")

#define EOS_STANDIN_VALUE(value, name, sentence) value,
enum class MisuseRule : uint8_t { EOS_STANDIN_MISUSES(EOS_STANDIN_VALUE) };
#undef EOS_STANDIN_VALUE

struct MisuseRow {
  std::string_view name;
  std::string_view sentence;
};

#define EOS_STANDIN_ROW(value, name, sentence) MisuseRow{name, sentence},
inline constexpr std::array kMisuses{EOS_STANDIN_MISUSES(EOS_STANDIN_ROW)};
#undef EOS_STANDIN_ROW

constexpr const MisuseRow& RowOf(MisuseRule rule) { return kMisuses[static_cast<size_t>(rule)]; }

}  // namespace eos_standin
