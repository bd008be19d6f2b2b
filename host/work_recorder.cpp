#include "work_recorder.h"

#include <spdlog/fmt/fmt.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <utility>

namespace zelk::host {
namespace {

constexpr std::string_view kSignIn = "EOS_Auth_Login";
constexpr std::array kLogoutCalls{"EOS_Auth_Logout", "EOS_Auth_DeletePersistentAuth"};

// The outcome of a sign-in by PIN until the player has entered the code; then it completes again.
constexpr std::string_view kPinGrant = "EOS_Auth_PinGrantCode";

bool IsCompletion(const LogRow& row) {
  return row.meaning == Meaning::kCompletion || row.meaning == Meaning::kSharedCompletion;
}

bool HasCompletion(std::string_view call) {
  return std::ranges::any_of(
      kLogRows, [call](const LogRow& row) { return IsCompletion(row) && row.call == call; });
}

// The request that a line names; "" when it names none.
std::string_view SeqId(std::string_view line) {
  return Body(line) != line ? line.substr(1, line.find(']') - 1) : "";
}

// X in "Call X ..." and in "Call XOptions ...".
std::string_view AnnouncedCall(std::string_view text) {
  text.remove_prefix(text.find(' ') + 1);
  std::string_view call = text.substr(0, text.find_first_of(" ,:"));
  if (call.ends_with("Options")) call.remove_suffix(7);
  return call;
}

std::string OutcomeIn(std::string_view text, std::string_view before_outcome) {
  if (before_outcome.empty()) return "EOS_Success";
  const std::size_t found = text.find(before_outcome);
  if (found == std::string_view::npos) return "";
  return std::string(text.substr(found + before_outcome.size()));
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

std::string WorkRecorder::WaitingFor() {
  const std::scoped_lock lock(mutex_);
  const auto work = std::ranges::find(work_, true, &Work::is_open);
  if (work == work_.end()) return "EOS";
  const bool is_players = work->call == kSignIn && work->about == kByLoginMode;
  return is_players ? "the player to sign in" : work->call;
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
  const std::string_view text(line.payload.data(), line.payload.size());
  const bool was_signing_out = is_signing_out_;
  // EOS may write a line of its own between the two lines of a logout.
  if (!IsOfEos(text)) is_signing_out_ = false;
  const LogRow* const row = FindRow(text);
  if (row == nullptr) return;
  switch (row->meaning) {
    case Meaning::kAnyCall:
      return Begin(AnnouncedCall(Body(text)), "", "");
    case Meaning::kCall:
      return Begin(row->call, row->detail, SeqId(text));
    case Meaning::kCompletion:
    case Meaning::kSharedCompletion:
      return Complete(*row, OutcomeIn(text, row->detail));
    case Meaning::kPinGrant:
      pin_grant_ = PinGrantIn(text);
      return;
    case Meaning::kSignOut:
      is_signing_out_ = true;
      return;
    case Meaning::kConversion:
      if (!was_signing_out) return;
      for (const char* call : kLogoutCalls) Begin(call, "", "");
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

void WorkRecorder::Complete(const LogRow& row, const std::string& outcome) {
  const auto open = std::find_if(work_.begin(), work_.end(), [&row](const Work& work) {
    return work.is_open && work.call == row.call && work.about != kAboutEachFriend;
  });
  if (open != work_.end()) {
    End(*open, outcome);
    if (observer_ != nullptr) observer_->OnCompletion(*open);
  } else if (row.meaning == Meaning::kCompletion && observer_ != nullptr) {
    // EOS completes some calls more than once.
    observer_->OnCompletion({.call = std::string(row.call), .outcome = outcome});
  }
}

void WorkRecorder::End(Work& work, const std::string& outcome) {
  work.is_open = outcome == kPinGrant;
  work.ticks = game_.ticks() - work.begin;
  work.outcome = outcome;
}

void TickUntilComplete(Game& game, WorkRecorder& recorder) {
  constexpr std::chrono::seconds kPatience{5};
  game.WaitUntil([&recorder] { return !recorder.HasOpenWork(); }, kPatience);
}

}  // namespace zelk::host
