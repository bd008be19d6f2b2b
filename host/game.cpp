#include "game.h"

#include <spdlog/fmt/chrono.h>
#include <spdlog/fmt/fmt.h>

#include <chrono>
#include <cstddef>
#include <ctime>
#include <thread>

#include "core_contract/method_id.h"
#include "output.h"
#include "platform.h"
#include "record_json.h"
#include "text.h"

namespace zelk::host {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kFrame{1};

void Call(const PluginLibrary& plugin, const Request& request) {
  switch (request.entry_point) {
    case EntryPoint::kLogin:
      return plugin.login(request.params, request.permissions);
    case EntryPoint::kAutoLogin:
      return plugin.auto_login(request.params, request.permissions);
    case EntryPoint::kLogout:
      return plugin.logout(request.params);
    case EntryPoint::kQueryFriends:
      return plugin.query_friends(request.params, request.page, request.count, request.is_in_game);
    case EntryPoint::kUpdate:
    case EntryPoint::kShutdown:
      break;  // answer by no result
  }
}

BaseParams Params(MethodID method_id, const std::string& seq_id,
                  const std::string& extra_json = "") {
  return {.method_id = method_id, .seq_id = seq_id, .reserved_text = "", .extra_json = extra_json};
}

// EOS will try the friend query again; another result follows.
bool IsRetryNotice(const Game::Result& result) {
  const auto* friends = std::get_if<FriendResult>(&result.record);
  return friends != nullptr && friends->ret_code == kResultThirdError &&
         friends->third_code == kWillRetry;
}

}  // namespace

// Says what is waited for when it takes long, and again when that changes. On a terminal the line
// is gone afterwards.
class Game::Progress {
 public:
  Progress(const Game& game, std::string limit) : game_(game), limit_(std::move(limit)) {}
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress() { Clear(); }

  void Show() {
    if (Clock::now() < next_) return;
    next_ = Clock::now() + kInterval;
    std::string waiting_for = game_.waiting_for_();
    if (waiting_for == shown_) return;
    Clear();
    shown_ = std::move(waiting_for);
    const std::string line = fmt::format("waiting for {} since {:%H:%M:%S}; {} or Ctrl-C gives up",
                                         shown_, fmt::localtime(begin_), limit_);
    PrintErrorText(is_terminal_ ? Shortened(line, kNarrowest) : line + '\n');
  }

 private:
  static constexpr std::chrono::milliseconds kInterval{500};
  static constexpr std::size_t kNarrowest = 79;  // of the terminals that are met

  void Clear() const {
    if (is_terminal_ && !shown_.empty()) PrintErrorText(fmt::format("\r{:{}}\r", "", kNarrowest));
  }

  const Game& game_;
  const std::string limit_;
  const bool is_terminal_ = StderrIsTerminal();
  const std::time_t begin_ = std::time(nullptr);
  Clock::time_point next_ = Clock::now() + kInterval;
  std::string shown_;
};

Request SignIn(const std::string& seq_id, const std::string& extra_json,
               const std::string& permissions) {
  return {.entry_point = EntryPoint::kLogin,
          .params = Params(kMethodIDAuthLogin, seq_id, extra_json),
          .permissions = permissions};
}

Request SignInAutomatically(const std::string& seq_id, const std::string& permissions) {
  return {.entry_point = EntryPoint::kAutoLogin,
          .params = Params(kMethodIDAuthAutoLogin, seq_id),
          .permissions = permissions};
}

Request SignOut(const std::string& seq_id) {
  return {.entry_point = EntryPoint::kLogout, .params = Params(kMethodIDAuthLogout, seq_id)};
}

Request ListFriends(const std::string& seq_id, int32_t page, int32_t count, bool is_in_game) {
  return {.entry_point = EntryPoint::kQueryFriends,
          .params = Params(kMethodIDFriendQueryFriends, seq_id),
          .page = page,
          .count = count,
          .is_in_game = is_in_game};
}

void Game::Issue(const Request& request) {
  for (GameObserver* observer : observers_) observer->OnRequest(request);
  ++waiting_[request.params.seq_id.c_str()];  // the core's texts end at a NUL
  Call(plugin_, request);
  Deliver();
}

void Game::Tick(int32_t times) {
  Progress progress(*this, fmt::format("{} ticks", times));
  for (int32_t i = 0; i < times; ++i) {
    TickOnce();
    progress.Show();
  }
}

void Game::TickOnce() {
  ++ticks_;
  plugin_.update();
  Deliver();
}

void Game::Frame() {
  TickOnce();
  std::this_thread::sleep_for(kFrame);
}

void Game::Drain(int32_t max_ticks) {
  Progress progress(*this, fmt::format("{} ticks", max_ticks));
  for (int32_t i = 0; i < max_ticks && Unanswered() > 0; ++i) {
    Frame();
    progress.Show();
  }
}

bool Game::WaitUntil(const std::function<bool()>& is_done, std::chrono::seconds patience) {
  Progress progress(*this, fmt::format("{} s", patience.count()));
  const Clock::time_point end = Clock::now() + patience;
  while (!is_done()) {
    if (Clock::now() >= end) return false;
    Frame();
    progress.Show();
  }
  return true;
}

std::optional<Game::Result> Game::Ask(const Request& request) {
  last_answer_.reset();
  Issue(request);
  const std::string& whole = request.params.seq_id;
  const std::string seq_id = whole.substr(0, whole.find('\0'));  // as the answer has it
  WaitUntil([&] { return !waiting_.contains(seq_id); });
  return last_answer_;
}

std::optional<Game::Result> Game::AskAgain(const Request& request) {
  failed_ = false;
  return Ask(request);
}

void Game::Shutdown() {
  for (GameObserver* observer : observers_) observer->OnShutdown();
  shut_down_ = true;
  plugin_.shutdown();
  Deliver();
}

int Game::Finish() {
  if (!shut_down_) Shutdown();
  const int unanswered = Unanswered();
  if (unanswered > 0) PrintError(fmt::format("{} request(s) stayed unanswered", unanswered));
  return failed_ || unanswered > 0 ? 1 : 0;
}

void Game::Deliver() {
  core_standin::DrainTaskQueue([this](const Result& result) {
    Account(result);
    for (GameObserver* observer : observers_) observer->OnResult(result);
  });
}

void Game::Account(const Result& result) {
  if (IsRetryNotice(result)) return;
  if (Base(result.record).ret_code != kResultSuccess) failed_ = true;
  last_answer_.emplace(result);
  const auto request = waiting_.find(result.seq_id);
  if (request != waiting_.end() && --request->second == 0) waiting_.erase(request);
}

int Game::Unanswered() const {
  int count = 0;
  for (const auto& [seq_id, requests] : waiting_) count += requests;
  return count;
}

}  // namespace zelk::host
