#include "core_contract/split_string.h"

#include <string>
#include <string_view>
#include <utility>

namespace zelk {

void SplitString(const SdkString& text, const SdkString& separator,
                 zelk_tp_stl_c::vector<SdkString>& out, bool skip_empty) {
  const std::string_view cut = separator.c_str();
  std::string_view rest = text.c_str();
  zelk_tp_stl_c::vector<SdkString> pieces;
  for (bool more = true; more;) {
    // An empty separator is found nowhere.
    const auto end = cut.empty() ? std::string_view::npos : rest.find(cut);
    more = end != std::string_view::npos;
    const std::string_view piece = rest.substr(0, end);
    if (!piece.empty() || !skip_empty) pieces.push_back(std::string(piece));
    if (more) rest.remove_prefix(end + cut.size());
  }
  out = std::move(pieces);
}

}  // namespace zelk
