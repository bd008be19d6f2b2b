#include "text.h"

#include <spdlog/fmt/fmt.h>

#include <array>
#include <cstdint>
#include <filesystem>
#include <new>
#include <optional>
#include <stdexcept>
#include <system_error>

#include "utf8_path.h"

namespace zelk::host {
namespace {

struct Range {
  uint32_t first, last;

  bool Has(uint32_t code_point) const { return code_point >= first && code_point <= last; }
};

// What a terminal obeys, and what changes the direction of writing.
constexpr std::array kUnprintable{
    Range{0x00, 0x1F},     Range{0x7F, 0x9F},     Range{0x061C, 0x061C},
    Range{0x200E, 0x200F}, Range{0x2028, 0x202E}, Range{0x2066, 0x2069},
};

constexpr std::array kNoColumn{Range{0x0300, 0x036F}, Range{0x200B, 0x200D}, Range{0xFE00, 0xFE0F}};

constexpr std::array kTwoColumns{
    Range{0x1100, 0x115F},   Range{0x2E80, 0xA4CF},   Range{0xAC00, 0xD7A3},
    Range{0xF900, 0xFAFF},   Range{0xFE30, 0xFE6F},   Range{0xFF00, 0xFF60},
    Range{0xFFE0, 0xFFE6},   Range{0x1F300, 0x1F64F}, Range{0x1F900, 0x1F9FF},
    Range{0x20000, 0x3FFFD},
};

template <std::size_t kCount>
bool IsIn(const std::array<Range, kCount>& ranges, uint32_t code_point) {
  for (const Range& range : ranges) {
    if (range.Has(code_point)) return true;
  }
  return false;
}

std::size_t Width(uint32_t code_point) {
  if (IsIn(kNoColumn, code_point)) return 0;
  return IsIn(kTwoColumns, code_point) ? 2 : 1;
}

bool Continues(char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U; }

// The number of bytes that a sequence has by its first one; 0 for a byte that begins none.
std::size_t SequenceSize(unsigned char lead) {
  if (lead < 0x80U) return 1;
  if (lead < 0xC2U || lead > 0xF4U) return 0;
  return lead < 0xE0U ? 2 : lead < 0xF0U ? 3 : 4;
}

// The code point that begins at `position`, which moves behind it; nothing when there begins none,
// and `position` moves on by a byte.
std::optional<uint32_t> NextCodePoint(std::string_view text, std::size_t& position) {
  const auto lead = static_cast<unsigned char>(text[position]);
  const std::size_t size = SequenceSize(lead);
  const std::string_view sequence = text.substr(position, size);
  ++position;
  if (size == 0 || sequence.size() < size) return {};
  uint32_t code_point = size == 1 ? lead : lead & (0x7FU >> size);
  for (const char byte : sequence.substr(1)) {
    if (!Continues(byte)) return {};
    code_point = code_point << 6U | (static_cast<unsigned char>(byte) & 0x3FU);
  }
  position += size - 1;
  return code_point;
}

}  // namespace

std::string Printable(std::string_view text) {
  std::string printable;
  for (std::size_t position = 0; position < text.size();) {
    const std::size_t begin = position;
    const std::optional<uint32_t> code_point = NextCodePoint(text, position);
    if (!code_point.has_value()) {
      printable += fmt::format("\\x{:02x}", static_cast<unsigned char>(text[begin]));
    } else if (IsIn(kUnprintable, *code_point)) {
      printable += *code_point < 0x100U ? fmt::format("\\x{:02x}", *code_point)
                                        : fmt::format("\\u{:04x}", *code_point);
    } else {
      printable += text.substr(begin, position - begin);
    }
  }
  return printable;
}

std::size_t DisplayWidth(std::string_view text) {
  std::size_t width = 0;
  for (std::size_t position = 0; position < text.size();) {
    width += Width(NextCodePoint(text, position).value_or(0));
  }
  return width;
}

std::string Shortened(const std::string& text, std::size_t width) {
  constexpr std::string_view kRest = "...";
  if (DisplayWidth(text) <= width) return text;
  std::size_t end = 0;
  for (std::size_t columns = kRest.size(), position = 0; position < text.size(); end = position) {
    columns += Width(NextCodePoint(text, position).value_or(0));
    if (columns > width) break;
  }
  return text.substr(0, end).append(kRest);
}

std::string Reason(const std::exception& error) {
  using std::filesystem::filesystem_error;
  if (const auto* file = dynamic_cast<const filesystem_error*>(&error)) {
    return Utf8FromPath(file->path1()) + ": " + file->code().message();
  }
  if (const auto* system = dynamic_cast<const std::system_error*>(&error)) {
    return system->code().message();
  }
  if (dynamic_cast<const std::bad_alloc*>(&error) != nullptr) return "there is no memory left";
  // This program throws nothing else.
  if (dynamic_cast<const std::runtime_error*>(&error) != nullptr) return error.what();
  return "this should not have happened; please report it";
}

}  // namespace zelk::host
