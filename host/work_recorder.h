// Reads out of the plugin's log which EOS work a request causes and how many ticks it takes; thus
// it works with every EOS library.
#pragma once

#include <spdlog/sinks/base_sink.h>

#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "game.h"
#include "log_rows.h"

namespace zelk::host {

// An EOS call; what EOS completes later has an outcome once it is no longer open.
struct Work {
  std::string call;
  std::string about;   // what the call is for, where it is not plain
  std::string seq_id;  // of the request, where the line names it
  bool is_open = false;
  int64_t begin = 0;         // in ticks
  int64_t ticks = 0;         // from there to the completion
  std::string outcome = {};  // the name of the EOS result, the last one
};

// Sees work as it happens. Called by the thread that logs, one at a time.
class WorkObserver {
 public:
  virtual ~WorkObserver() = default;
  virtual void OnCall(const Work& work) = 0;
  virtual void OnCompletion(const Work& work) = 0;
};

// A log sink; any thread.
class WorkRecorder final : public spdlog::sinks::base_sink<std::mutex> {
 public:
  // Counts the ticks of `game`. `observer` may be null and outlives the recorder.
  explicit WorkRecorder(const Game& game, WorkObserver* observer = nullptr)
      : game_(game), observer_(observer) {}

  bool HasOpenWork();

  // The open work for a person who waits for its completion.
  std::string WaitingFor();

  // By what the player was signed in since the last `Take`, as `Work::about`; "" by nothing.
  std::string SignedInBy();

  // What the player has to do for a PIN grant, once; "" when there is none.
  std::string TakePinGrant();

  // A page's friends are looked up until the request's result arrives: ends that work.
  void EndLookUp(const std::string& outcome);

  // What was recorded since the last time.
  std::vector<Work> Take();

 private:
  void sink_it_(const spdlog::details::log_msg& line) override;
  void flush_() override {}

  void Begin(std::string_view call, std::string_view about, std::string_view seq_id);
  void Complete(const LogRow& row, const std::string& outcome);
  void End(Work& work, const std::string& outcome);

  const Game& game_;
  WorkObserver* const observer_;
  std::vector<Work> work_;
  std::string pin_grant_;
  bool is_signing_out_ = false;  // since the plugin's last line
};

// For a sign-out: its result comes first, and what EOS has to do for it afterwards.
void TickUntilComplete(Game& game, WorkRecorder& recorder);

}  // namespace zelk::host
