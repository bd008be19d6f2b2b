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

namespace zelk::host {

// An EOS call; what EOS completes later has an outcome once it is no longer open.
struct Work {
  std::string call;
  std::string about;  // what the call is for, where it is not plain
  bool is_open = false;
  int64_t begin = 0;         // in ticks
  int64_t ticks = 0;         // from there to the completion
  std::string outcome = {};  // the name of the EOS result
};

// A log sink; any thread.
class WorkRecorder final : public spdlog::sinks::base_sink<std::mutex> {
 public:
  // Counts the ticks of `game`.
  explicit WorkRecorder(const Game& game) : game_(game) {}

  bool HasOpenWork();

  // A page's friends are looked up until the request's result arrives: ends that work.
  void EndLookUp(const std::string& outcome);

  // What was recorded since the last time.
  std::vector<Work> Take();

 private:
  void sink_it_(const spdlog::details::log_msg& line) override;
  void flush_() override {}

  void Begin(std::string_view call, std::string_view about);
  void End(std::string_view call, const std::string& outcome);

  const Game& game_;
  std::vector<Work> work_;
};

// For a sign-out: its result comes at once, and what EOS has to do for it only afterwards.
void TickUntilComplete(Game& game, WorkRecorder& recorder);

}  // namespace zelk::host
