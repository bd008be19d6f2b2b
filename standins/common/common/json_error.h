// What an error of the JSON library says, taken apart for messages of our own.
#pragma once

#include <charconv>
#include <exception>
#include <string>
#include <string_view>

namespace zelk::common {

struct ExplainedJsonError {
  int line = 0;  // 0 when the error has no place in a text
  int column = 0;
  std::string reason;
};

// "[json.exception.parse_error.101] parse error at line 3, column 5: what is wrong", or the same
// without a place; what another library throws is all reason.
inline ExplainedJsonError ExplainJsonError(const std::exception& error) {
  constexpr std::string_view kLine = "parse error at line ", kColumn = ", column ", kEnd = ": ";
  std::string_view rest = error.what();
  if (rest.starts_with("[json.")) rest.remove_prefix(rest.find("] ") + 2);
  ExplainedJsonError explained{.reason = std::string(rest)};
  const auto read = [&rest](std::string_view before, int& number) {
    if (!rest.starts_with(before)) return false;
    rest.remove_prefix(before.size());
    const auto [end, problem] = std::from_chars(rest.data(), rest.data() + rest.size(), number);
    rest.remove_prefix(static_cast<std::size_t>(end - rest.data()));
    return problem == std::errc();
  };
  if (read(kLine, explained.line) && read(kColumn, explained.column) && rest.starts_with(kEnd)) {
    explained.reason = rest.substr(kEnd.size());
  }
  return explained;
}

}  // namespace zelk::common
