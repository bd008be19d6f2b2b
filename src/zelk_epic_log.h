// The plugin's log call. Every line goes through the foundation's logger with the plugin's tag, the
// base name of the source file, the qualified name of the operation and the source line. Any
// thread.
#pragma once

#include <cstddef>
#include <string_view>

#include "core_contract/log.h"

namespace zelk {

// The tag of the plugin's lines.
inline constexpr char kLogTag[] = "ZELK";

// "zelk::EpicAuth::InitEpic" out of the compiler's "bool zelk::EpicAuth::InitEpic(const
// BaseParams&)"; of a lambda, the function it stands in.
template <std::size_t N>
struct QualifiedName {
  explicit consteval QualifiedName(const char (&signature)[N]) {
    const std::string_view whole(signature, N - 1);
    const std::string_view function = whole.substr(0, whole.find("::<lambda"));
    const std::string_view head = function.substr(0, function.find('('));
    const std::size_t begin = head.rfind(' ') + 1;  // npos + 1 is 0
    for (std::size_t i = begin; i < head.size(); ++i) text[i - begin] = head[i];
  }

  char text[N] = {};
};

static_assert(
    std::string_view(QualifiedName("void __cdecl n::A::F::<lambda_1>::operator ()(void) const")
                         .text) == "n::A::F");

// The text after the last '/', or after the last '\' of a path without any '/'.
consteval const char* BaseName(const char* path) {
  const std::string_view whole(path);
  const std::size_t slash = whole.rfind('/');
  // npos + 1 is 0
  return path + ((slash != std::string_view::npos ? slash : whole.rfind('\\')) + 1);
}

}  // namespace zelk

#if defined(_MSC_VER) && !defined(__clang__)
#define ZELK_SIGNATURE __FUNCSIG__
#else
#define ZELK_SIGNATURE __PRETTY_FUNCTION__
#endif

// A line of the operation `function`, for a step of it that is a function of its own. A line never
// fails: what the logger throws is dropped. Arguments that log themselves are computed beforehand.
#define ZELK_LOG_AS(function, level, ...)                                                   \
  [&]() noexcept {                                                                          \
    try {                                                                                   \
      ::zelk::Log::GetInstance()->OutputLog(level, ::zelk::kLogTag, false, false,           \
                                            ::zelk::BaseName(__FILE__), function, __LINE__, \
                                            __VA_ARGS__);                                   \
    } catch (...) {                                                                         \
    }                                                                                       \
  }()

// A line of the function it stands in.
#define ZELK_LOG(level, ...)                                              \
  [&]() noexcept {                                                        \
    static constexpr ::zelk::QualifiedName zelk_function(ZELK_SIGNATURE); \
    ZELK_LOG_AS(zelk_function.text, level, __VA_ARGS__);                  \
  }()
