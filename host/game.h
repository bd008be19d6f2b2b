// The core and the game as the plugin sees them: makes requests, ticks, takes the results off the
// task queue and keeps the account of which request was answered. One thread.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "core_contract/login_parameters.h"
#include "plugin_library.h"
#include "zelk_core_standin.h"

namespace zelk::host {

// A call of an entry point that answers by a result, with its arguments.
struct Request {
  EntryPoint entry_point;
  BaseParams params;
  std::string permissions = {};  // of a login
  int32_t page = 0;              // of a friend query, as what follows
  int32_t count = 0;
  bool is_in_game = false;
};

// The requests of a player.
#define ZELK_WORD(word, scope_flag) "," word
// Every permission that a login can ask for, as `permissions` of a request.
inline constexpr const char* kAllPermissions = &ZELK_PERMISSIONS(ZELK_WORD)[1];
#undef ZELK_WORD
Request SignIn(const std::string& seq_id, const std::string& extra_json,
               const std::string& permissions = kAllPermissions);
Request SignInAutomatically(const std::string& seq_id,
                            const std::string& permissions = kAllPermissions);
Request SignOut(const std::string& seq_id);
Request ListFriends(const std::string& seq_id, int32_t page, int32_t count, bool is_in_game);

// Sees what passes between the game and the plugin: a call before it is made, a result as soon as
// the call that caused it has returned.
class GameObserver {
 public:
  virtual ~GameObserver() = default;
  virtual void OnRequest(const Request&) {}
  virtual void OnShutdown() {}
  virtual void OnResult(const core_standin::CommittedResult&) {}
};

// Plays the core: one game, and with it one account of requests and answers, for a plugin.
class Game {
 public:
  using Result = core_standin::CommittedResult;

  // `plugin` outlives the game, and so does every observer. `patience` is for each request: the
  // player may have to type a password into a browser.
  Game(const PluginLibrary& plugin, std::chrono::seconds patience)
      : plugin_(plugin), patience_(patience) {}
  void Add(GameObserver& observer) { observers_.push_back(&observer); }

  // Tells a person who waits what EOS is at; "EOS" otherwise.
  void TellWaitingBy(std::function<std::string()> waiting_for) {
    waiting_for_ = std::move(waiting_for);
  }

  void Issue(const Request& request);
  void Tick(int32_t times = 1);

  // Frames, each a tick and about a millisecond of doing something else, until every request is
  // answered or `max_ticks` are over.
  void Drain(int32_t max_ticks);

  // Frames until `is_done` or the patience is over; false when it was. The second waits as long as
  // it is told.
  bool WaitUntil(const std::function<bool()>& is_done) { return WaitUntil(is_done, patience_); }
  bool WaitUntil(const std::function<bool()>& is_done, std::chrono::seconds patience);
  std::chrono::seconds patience() const { return patience_; }

  // Issues and waits for the answer. Without a value the request stayed unanswered.
  std::optional<Result> Ask(const Request& request);

  // Asks once more; that the last answer was a failure no longer counts.
  std::optional<Result> AskAgain(const Request& request);

  // May be called again.
  void Shutdown();

  // Shuts down, says on standard error what is unanswered, and returns the exit status of it all.
  int Finish();

  // Any thread.
  int64_t ticks() const { return ticks_; }

 private:
  class Progress;

  void TickOnce();
  void Frame();
  void Deliver();
  void Account(const Result& result);
  int Unanswered() const;

  const PluginLibrary& plugin_;
  const std::chrono::seconds patience_;
  std::function<std::string()> waiting_for_ = [] { return std::string("EOS"); };
  std::vector<GameObserver*> observers_;
  std::map<std::string, int> waiting_;  // requests without an answer, by seq_id
  std::optional<Result> last_answer_;
  std::atomic<int64_t> ticks_ = 0;
  bool failed_ = false;
  bool shut_down_ = false;
};

}  // namespace zelk::host
