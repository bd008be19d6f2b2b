#include "transcript.h"

#include <spdlog/fmt/fmt.h>

#include <algorithm>
#include <array>
#include <cstddef>

#include "platform.h"

namespace zelk::host {
namespace {

struct CodeRow {
  int32_t code;
  const char* words;
};

constexpr std::array kResultWords{
    CodeRow{kResultUnknownError, "unknown error"},
    CodeRow{kResultNeedLogin, "no valid Epic account, sign in first"},
    CodeRow{kResultInvalidArgument, "a parameter is missing or malformed"},
    CodeRow{kResultNotInitialized, "there is no EOS platform"},
};

constexpr std::array kStatusWords{
    CodeRow{0, "not friends"},
    CodeRow{1, "invite sent"},
    CodeRow{2, "invite received"},
    CodeRow{3, "friends"},
};

template <std::size_t kCount>
std::string Words(const std::array<CodeRow, kCount>& rows, int64_t code) {
  for (const CodeRow& row : rows) {
    if (row.code == code) return row.words;
  }
  return std::to_string(code);
}

// In the order of Style.
constexpr std::array kEscapes{"\x1b[1m", "\x1b[2m", "\x1b[32m", "\x1b[33m", "\x1b[31m"};

bool UseColour() {
  static const bool use = GetEnvironment("NO_COLOR").empty() && StdoutIsTerminal();
  return use;
}

struct WidthRow {
  uint32_t first, last;
  std::size_t width;
};

// Code points that do not take one column; the rest does.
constexpr std::array kWidths{
    WidthRow{0x0300, 0x036F, 0},   WidthRow{0x200B, 0x200F, 0},   WidthRow{0xFE00, 0xFE0F, 0},
    WidthRow{0x1100, 0x115F, 2},   WidthRow{0x2E80, 0xA4CF, 2},   WidthRow{0xAC00, 0xD7A3, 2},
    WidthRow{0xF900, 0xFAFF, 2},   WidthRow{0xFE30, 0xFE6F, 2},   WidthRow{0xFF00, 0xFF60, 2},
    WidthRow{0xFFE0, 0xFFE6, 2},   WidthRow{0x1F300, 0x1F64F, 2}, WidthRow{0x1F900, 0x1F9FF, 2},
    WidthRow{0x20000, 0x3FFFD, 2},
};

std::size_t Width(uint32_t code_point) {
  for (const WidthRow& row : kWidths) {
    if (code_point >= row.first && code_point <= row.last) return row.width;
  }
  return 1;
}

bool Continues(char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U; }

// The code point that begins at `position`, which moves behind it. Bits that mark a lead byte go.
uint32_t NextCodePoint(std::string_view text, std::size_t& position) {
  const auto lead = static_cast<unsigned char>(text[position++]);
  uint32_t code_point = lead < 0x80U ? lead : lead < 0xE0U ? lead & 0x1FU : lead & 0x0FU;
  while (position < text.size() && Continues(text[position])) {
    code_point = code_point << 6U | (static_cast<unsigned char>(text[position++]) & 0x3FU);
  }
  return code_point;
}

std::size_t DisplayWidth(std::string_view text) {
  std::size_t width = 0;
  for (std::size_t position = 0; position < text.size();) {
    width += Width(NextCodePoint(text, position));
  }
  return width;
}

std::vector<std::size_t> ColumnWidths(const std::vector<Row>& rows) {
  std::vector<std::size_t> widths;
  for (const Row& row : rows) {
    widths.resize(std::max(widths.size(), row.size()));
    for (std::size_t i = 0; i < row.size(); ++i) {
      widths[i] = std::max(widths[i], DisplayWidth(row[i]));
    }
  }
  return widths;
}

std::string Line(const Row& row, const std::vector<std::size_t>& widths) {
  std::string line;
  for (std::size_t i = 0; i < row.size(); ++i) {
    line += Printable(row[i]);
    line.append(widths[i] - DisplayWidth(row[i]) + 2, ' ');
  }
  return line.substr(0, line.find_last_not_of(' ') + 1);
}

std::string Member(const Json& document, const char* name) {
  const Json value = document.value(name, Json());
  if (value.is_string()) return value.get<std::string>();
  return value.is_null() ? "" : value.dump();
}

std::string Lifetime(const std::string& seconds_text) {
  struct Unit {
    int64_t seconds;
    const char* name;
  };
  constexpr std::array kUnits{Unit{86400, "d"}, Unit{3600, "h"}, Unit{60, "min"}};
  const int64_t seconds = std::strtoll(seconds_text.c_str(), nullptr, 10);
  for (const Unit& unit : kUnits) {
    if (seconds >= unit.seconds) return fmt::format("{} {}", seconds / unit.seconds, unit.name);
  }
  return fmt::format("{} s", seconds);
}

// Enough to tell two tokens apart, too little to use one.
std::string Token(const Json& login, const char* token, const char* lifetime) {
  constexpr std::size_t kShown = 8;
  const std::string text = Member(login, token);
  const std::string shown = text.size() > 2 * kShown ? text.substr(0, kShown) + "..." : "...";
  return fmt::format("{} ({} characters), for {}", shown, text.size(),
                     Lifetime(Member(login, lifetime)));
}

std::string Account(const PersonInfo& person, Accounts accounts) {
  constexpr std::size_t kShown = 8;
  const std::string account = person.openid.c_str();
  if (accounts == Accounts::kWhole || account.size() <= kShown) return account;
  return account.substr(0, kShown) + "...";
}

Row FriendRow(const PersonInfo& person, Accounts accounts) {
  const Json status = Document(person.extra_json.c_str()).value("status", Json());
  return {person.user_name.empty() ? "(no name)" : person.user_name.c_str(),
          Account(person, accounts), person.country.c_str(), person.language.c_str(),
          status.is_number_integer() ? Words(kStatusWords, status.get<int64_t>()) : ""};
}

// An empty page comes without a document.
std::string Foot(const FriendResult& result, int32_t page) {
  const std::string total = Member(Document(result.extra_json.c_str()), "total");
  return fmt::format("{}{}{} friends", page > 0 ? fmt::format("page {}: ", page) : "",
                     result.friend_info_list.size(), total.empty() ? "" : " of " + total);
}

}  // namespace

std::string Printable(std::string text) {
  std::replace_if(
      text.begin(), text.end(),
      [](char byte) { return static_cast<unsigned char>(byte) < 0x20U || byte == 0x7F; }, '?');
  return text;
}

std::string Styled(Style style, std::string_view text) {
  if (!UseColour()) return std::string(text);
  return fmt::format("{}{}\x1b[0m", kEscapes[static_cast<std::size_t>(style)], text);
}

std::string Table(const std::vector<Row>& rows, std::string_view indent) {
  const std::vector<std::size_t> widths = ColumnWidths(rows);
  std::string table;
  for (const Row& row : rows) table += fmt::format("{}{}\n", indent, Line(row, widths));
  return table;
}

Json Document(const std::string& text) {
  Json document = Json::parse(text, nullptr, false);
  return document.is_object() ? document : Json::object();
}

std::string Outcome(const BaseResult& result) {
  if (result.ret_code == kResultSuccess) return "success";
  if (result.ret_code == kResultThirdError) {
    return fmt::format("EOS reported {} ({})", result.third_msg.c_str(), result.third_code);
  }
  const std::string words = Words(kResultWords, result.ret_code);
  return fmt::format("{} ({})", result.ret_msg.empty() ? words : result.ret_msg.c_str(),
                     result.ret_code);
}

std::string SignInText(const AuthPluginResult& result, const std::string& signed_in_by,
                       std::string_view indent) {
  const Json login = Document(result.channel_info);
  return Table({{"name", Member(login, "nickname")},
                {"account", result.openid},
                {"product user", Member(login, "productUserID")},
                {"signed in by", signed_in_by},
                {"access token", Token(login, "access_token", "expires_in")},
                {"refresh token", Token(login, "refresh_token", "refresh_expires_in")}},
               indent);
}

std::string FriendsText(const FriendResult& result, int32_t page, Accounts accounts,
                        std::string_view indent) {
  std::vector<Row> rows;
  if (!result.friend_info_list.empty()) {
    rows.push_back({"NAME", "ACCOUNT", "COUNTRY", "LANGUAGE", "STATUS"});
  }
  for (const PersonInfo& person : result.friend_info_list)
    rows.push_back(FriendRow(person, accounts));
  return Table(rows, indent) + fmt::format("{}{}\n", indent, Foot(result, page));
}

}  // namespace zelk::host
