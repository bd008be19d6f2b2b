#include "work_recorder.h"

#include <spdlog/fmt/fmt.h>

#include <algorithm>
#include <array>
#include <utility>

namespace zelk::host {
namespace {

constexpr std::string_view kSignIn = "EOS_Auth_Login";
constexpr std::string_view kLookUp = "EOS_UserInfo_QueryUserInfo";

// Lines that begin work otherwise than by "Call EOS_X". One is followed by its like that ends in
// "End".
struct BeginRow {
  std::string_view text;
  std::string_view call;
  std::string_view about;
};
constexpr std::array kBegins{
    BeginRow{"call EOS_Auth_Login", kSignIn, "persistent authorisation"},
    BeginRow{"enter default login flow", kSignIn, "login mode"},
    BeginRow{"call EOS_Friends_QueryFriends", "EOS_Friends_QueryFriends", ""},
    BeginRow{"SteamFriend::QueryFriends, Create thread failed", kLookUp, kAboutEachFriend},
};

// A sign-out reaches EOS only when the line about it is followed by the conversion of the account.
constexpr std::string_view kSignOut = "epic logout";
constexpr std::string_view kConversion = "Call EOS_EpicAccountId_FromString";
constexpr std::array kLogoutCalls{"EOS_Auth_Logout", "EOS_Auth_DeletePersistentAuth"};

// The first completion of a sign-in by PIN; the second comes when the player has entered it.
constexpr std::string_view kPinGrant = "EOS_Auth_PinGrantCode";
constexpr std::string_view kPinGrantLine = "Waiting for PIN grant ";

// How a completion's line begins, and what stands in front of the EOS result in it.
struct EndRow {
  std::string_view text;
  std::string_view call;
  std::string_view before_outcome;
  bool is_shared = false;  // the line follows other calls' completions too
};
constexpr std::array kEnds{
    EndRow{"Login complete", kSignIn, "msg:"},
    EndRow{"Connect Login complete", "EOS_Connect_Login", "msg:"},
    EndRow{"Connect Create User complete", "EOS_Connect_CreateUser", "msg:"},
    EndRow{"LoginEndWithThirdError", "EOS_Connect_CreateUser", "err_msg:", true},
    EndRow{"Query UserInfo complete", "EOS_UserInfo_QueryUserInfo", "msg:"},
    EndRow{"queryfriends complete", "EOS_Friends_QueryFriends", "msg:"},
    EndRow{"[EOS SDK] Logout Success", "EOS_Auth_Logout", ""},
    EndRow{"[EOS SDK] Logout Failed", "EOS_Auth_Logout", "Result: "},
    EndRow{"[EOS SDK] DeletePersistentAuth Success", "EOS_Auth_DeletePersistentAuth", ""},
    EndRow{"[EOS SDK] DeletePersistentAuth Failed", "EOS_Auth_DeletePersistentAuth", "Failed: "},
};

bool HasCompletion(std::string_view call) {
  return std::any_of(kEnds.begin(), kEnds.end(),
                     [call](const EndRow& row) { return row.call == call; });
}

bool IsOfEos(std::string_view text) { return text.starts_with("[EOS SDK]"); }

// Without the "[seq_id], " or "[seq_id] " of a request's lines.
std::string_view Body(std::string_view text) {
  if (!text.starts_with('[') || IsOfEos(text)) return text;
  const std::size_t end = text.find(']');
  const std::size_t body = text.find_first_not_of("], ", end);
  return body < text.size() ? text.substr(body) : text;
}

// "" when the line names no request.
std::string_view SeqId(std::string_view text) {
  return text.starts_with('[') && !IsOfEos(text) ? text.substr(1, text.find(']') - 1) : "";
}

// X in "Call EOS_X ...", "" in every other line. Conversions of identifiers are no work.
std::string_view AnnouncedCall(std::string_view text) {
  if (!text.starts_with("Call EOS_")) return "";
  text.remove_prefix(5);
  std::string_view call = text.substr(0, text.find_first_of(" ,:"));
  if (call.starts_with("EOS_EpicAccountId_")) return "";
  if (call.ends_with("Options")) call.remove_suffix(7);
  return call;
}

std::string OutcomeIn(std::string_view text, const EndRow& row) {
  if (row.before_outcome.empty()) return "EOS_Success";
  const std::size_t found = text.find(row.before_outcome);
  if (found == std::string_view::npos) return "";
  return std::string(text.substr(found + row.before_outcome.size()));
}

std::string Between(std::string_view text, std::string_view before, std::string_view after) {
  const std::size_t found = text.find(before);
  if (found == std::string_view::npos) return "";
  text.remove_prefix(found + before.size());
  return std::string(text.substr(0, text.find(after)));
}

std::string PinGrantIn(std::string_view text) {
  return fmt::format("enter the code {} at {} within {} s", Between(text, "Code:", " URI:"),
                     Between(text, "URI:", " Expires:"), Between(text, "Expires:", " "));
}

}  // namespace

bool WorkRecorder::HasOpenWork() {
  const std::scoped_lock lock(mutex_);
  return std::any_of(work_.begin(), work_.end(), [](const Work& work) { return work.is_open; });
}

void WorkRecorder::EndLookUp(const std::string& outcome) {
  const std::scoped_lock lock(mutex_);
  for (Work& work : work_) {
    if (work.is_open && work.about == kAboutEachFriend) return End(work, outcome);
  }
}

std::string WorkRecorder::SignedInBy() {
  const std::scoped_lock lock(mutex_);
  for (const Work& work : work_) {
    if (work.call == kSignIn && work.outcome == "EOS_Success") return work.about;
  }
  return "";
}

std::string WorkRecorder::TakePinGrant() {
  const std::scoped_lock lock(mutex_);
  return std::exchange(pin_grant_, {});
}

std::vector<Work> WorkRecorder::Take() {
  const std::scoped_lock lock(mutex_);
  return std::exchange(work_, {});
}

void WorkRecorder::sink_it_(const spdlog::details::log_msg& line) {
  const std::string_view whole(line.payload.data(), line.payload.size());
  const std::string_view text = Body(whole);
  if (const std::string_view call = AnnouncedCall(text); !call.empty()) Begin(call, "", "");
  for (const BeginRow& row : kBegins) {
    if (text.starts_with(row.text) && !text.ends_with(", End")) {
      Begin(row.call, row.about, SeqId(whole));
    }
  }
  if (text.starts_with(kPinGrantLine)) pin_grant_ = PinGrantIn(text);
  if (is_signing_out_ && text.starts_with(kConversion)) {
    for (const char* call : kLogoutCalls) Begin(call, "", "");
  }
  if (!IsOfEos(text)) is_signing_out_ = text.starts_with(kSignOut);
  for (const EndRow& row : kEnds) {
    if (text.starts_with(row.text)) Complete(row.call, OutcomeIn(text, row), row.is_shared);
  }
}

void WorkRecorder::Begin(std::string_view call, std::string_view about, std::string_view seq_id) {
  work_.push_back({.call = std::string(call),
                   .about = std::string(about),
                   .seq_id = std::string(seq_id),
                   .is_open = HasCompletion(call),
                   .begin = game_.ticks()});
  if (observer_ != nullptr) observer_->OnCall(work_.back());
}

void WorkRecorder::Complete(std::string_view call, const std::string& outcome, bool is_shared) {
  const auto open = std::find_if(work_.begin(), work_.end(), [call](const Work& work) {
    return work.is_open && work.call == call && work.about != kAboutEachFriend;
  });
  if (open != work_.end()) {
    End(*open, outcome);
    if (observer_ != nullptr) observer_->OnCompletion(*open);
  } else if (!is_shared && observer_ != nullptr) {
    // EOS completes some calls more than once.
    observer_->OnCompletion({.call = std::string(call), .outcome = outcome});
  }
}

void WorkRecorder::End(Work& work, const std::string& outcome) {
  work.is_open = outcome == kPinGrant;
  work.ticks = game_.ticks() - work.begin;
  work.outcome = outcome;
}

void TickUntilComplete(Game& game, WorkRecorder& recorder, int32_t max_ticks) {
  for (int32_t i = 0; i < max_ticks && recorder.HasOpenWork(); ++i) game.Frame();
}

}  // namespace zelk::host
