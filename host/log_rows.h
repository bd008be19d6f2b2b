// The lines of the plugin's log from which the host reads what the plugin asks of EOS.
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace zelk::host {

// What stands for the look-ups of all friends of a page: the log does not tell one from another.
inline constexpr char kAboutEachFriend[] = "each friend";

// By what EOS signs a player in.
inline constexpr char kByPersistentAuth[] = "persistent authorisation";
inline constexpr char kByLoginMode[] = "login mode";

// What a line means.
enum class Meaning {
  kAnyCall,     // an EOS call whose name is in the line
  kCall,        // the EOS call of the row; `detail` is what it is for
  kCompletion,  // the completion of that call; `detail` stands in front of the EOS result, and
                // is "" in a line that only tells of success
  kSharedCompletion,  // the same, in a line that follows the completions of other calls too
  kPinGrant,          // the first completion of a sign-in by PIN: the player has to enter a code
  kSignOut,           // a logout, which reaches EOS when the next line is a conversion
  kConversion,        // of an account's identifier; no work of its own
};

// What the lines that begin with `prefix` tell.
struct LogRow {
  std::string_view prefix;  // of the line, behind the request's seq_id
  Meaning meaning;
  std::string_view call = {};
  std::string_view detail = {};
};

// The first row whose prefix fits a line is the line's.
inline constexpr std::array kLogRows{
    LogRow{"call EOS_Auth_Login", Meaning::kCall, "EOS_Auth_Login", kByPersistentAuth},
    LogRow{"enter default login flow", Meaning::kCall, "EOS_Auth_Login", kByLoginMode},
    LogRow{"call EOS_Friends_QueryFriends", Meaning::kCall, "EOS_Friends_QueryFriends"},
    LogRow{"SteamFriend::QueryFriends, Create thread failed", Meaning::kCall,
           "EOS_UserInfo_QueryUserInfo", kAboutEachFriend},
    LogRow{"Login complete", Meaning::kCompletion, "EOS_Auth_Login", "msg:"},
    LogRow{"Connect Login complete", Meaning::kCompletion, "EOS_Connect_Login", "msg:"},
    LogRow{"Connect Create User complete", Meaning::kCompletion, "EOS_Connect_CreateUser", "msg:"},
    LogRow{"LoginEndWithThirdError", Meaning::kSharedCompletion, "EOS_Connect_CreateUser",
           "err_msg:"},
    LogRow{"Query UserInfo complete", Meaning::kCompletion, "EOS_UserInfo_QueryUserInfo", "msg:"},
    LogRow{"queryfriends complete", Meaning::kCompletion, "EOS_Friends_QueryFriends", "msg:"},
    LogRow{"[EOS SDK] Logout Success", Meaning::kCompletion, "EOS_Auth_Logout"},
    LogRow{"[EOS SDK] Logout Failed", Meaning::kCompletion, "EOS_Auth_Logout", "Result: "},
    LogRow{"[EOS SDK] DeletePersistentAuth Success", Meaning::kCompletion,
           "EOS_Auth_DeletePersistentAuth"},
    LogRow{"[EOS SDK] DeletePersistentAuth Failed", Meaning::kCompletion,
           "EOS_Auth_DeletePersistentAuth", "Failed: "},
    LogRow{"Waiting for PIN grant ", Meaning::kPinGrant},
    LogRow{"epic logout", Meaning::kSignOut},
    LogRow{"Call EOS_EpicAccountId_FromString", Meaning::kConversion},
    LogRow{"Call EOS_", Meaning::kAnyCall},
};

// Whether EOS wrote the line, not the plugin.
inline bool IsOfEos(std::string_view line) { return line.starts_with("[EOS SDK]"); }

// A line without the "[seq_id], " or "[seq_id] " with which a request's lines begin.
inline std::string_view Body(std::string_view line) {
  if (!line.starts_with('[') || IsOfEos(line)) return line;
  const std::size_t body = line.find_first_not_of("], ", line.find(']'));
  return body < line.size() ? line.substr(body) : line;
}

// Null when the line says nothing of EOS. A line that ends in "End" only follows its like.
inline const LogRow* FindRow(std::string_view line) {
  if (line.ends_with(", End")) return nullptr;
  const std::string_view body = Body(line);
  for (const LogRow& row : kLogRows) {
    if (body.starts_with(row.prefix)) return &row;
  }
  return nullptr;
}

}  // namespace zelk::host
