#include "transcript.h"

#include <spdlog/fmt/fmt.h>

#include <algorithm>
#include <array>
#include <cstddef>

#include "platform.h"
#include "text.h"

namespace zelk::host {
namespace {

// Between two columns.
constexpr std::size_t kGap = 2;

// A longer cell only moves the rest of its own row.
constexpr std::size_t kWidestInFile = 40;

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

// The widths of the columns as the cells need them.
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

// Narrows the widest column until a line fits, and then the next, as long as something can be told
// of it: a long name goes before the identifiers do.
void Narrow(std::vector<std::size_t>& widths, std::size_t line_width) {
  constexpr std::size_t kNarrowest = 16;
  std::size_t width = kGap * (widths.size() - 1);
  for (const std::size_t column : widths) width += column;
  while (width > line_width) {
    std::size_t& widest = *std::ranges::max_element(widths);
    if (widest <= kNarrowest) return;
    const std::size_t cut = std::min(width - line_width, widest - kNarrowest);
    widest -= cut;
    width -= cut;
  }
}

std::string Line(const Row& row, const std::vector<std::size_t>& widths) {
  std::string line;
  for (std::size_t i = 0; i < row.size(); ++i) {
    const std::size_t width = DisplayWidth(row[i]);
    line += row[i];
    line.append(width < widths[i] ? widths[i] - width + kGap : kGap, ' ');
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

std::string Styled(Style style, std::string_view text) {
  if (!UseColour()) return std::string(text);
  return fmt::format("{}{}\x1b[0m", kEscapes[static_cast<std::size_t>(style)], text);
}

std::string Table(std::vector<Row> rows, std::string_view indent) {
  if (rows.empty()) return "";
  for (Row& row : rows) {
    for (std::string& cell : row) cell = Printable(cell);
  }
  std::vector<std::size_t> widths = ColumnWidths(rows);
  if (const auto terminal = TerminalWidth()) {
    Narrow(widths, std::max(*terminal, indent.size() + 1) - indent.size());
    for (Row& row : rows) {
      for (std::size_t i = 0; i < row.size(); ++i) row[i] = Shortened(row[i], widths[i]);
    }
  } else {
    for (std::size_t& width : widths) width = std::min(width, kWidestInFile);
  }
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
