// What an error of the JSON library says, taken apart for messages of our own.
#pragma once

#include <cstdio>
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
  const std::string_view text = error.what();
  const std::size_t start = text.starts_with("[json.") ? text.find("] ") + 2 : 0;
  ExplainedJsonError explained;
  int place = 0;
  std::sscanf(text.data() + start, "parse error at line %d, column %d: %n", &explained.line,
              &explained.column, &place);
  explained.reason = text.substr(start + static_cast<std::size_t>(place));
  return explained;
}

}  // namespace zelk::common
