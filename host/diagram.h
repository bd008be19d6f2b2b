// What passes between the game, the plugin and EOS, as a Mermaid sequence diagram. It knows nothing
// but requests, results and the work that a recorder reads out of the log, so that it is drawn with
// every EOS library.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "game.h"
#include "work_recorder.h"

namespace zelk::host {

// One thread: the plugin's lines about EOS work are written by the thread that calls it.
class Diagram final : public GameObserver, public WorkObserver {
 public:
  // Counts the ticks of `game`.
  explicit Diagram(const Game& game) : game_(game) {}

  void OnRequest(const Request& request) override;
  void OnShutdown() override;
  void OnResult(const Game::Result& result) override;
  void OnCall(const Work& work) override;
  void OnCompletion(const Work& work) override;

  // The lines between the participants.
  std::string Messages() const;

 private:
  struct Message {
    std::string_view arrow;  // with both ends
    std::string text;        // escaped
    int64_t count = 1;
    bool is_final = false;  // equal messages that follow do not fold into it
  };

  void Append(std::string_view arrow, std::string text);
  void EndLookUps(const Game::Result& result);
  std::string AtTick(const std::string& text) const;

  const Game& game_;
  std::vector<Message> messages_;
  std::multimap<std::string, std::size_t> look_ups_;  // messages of open pages, by seq_id
};

// The file of a diagram: made when `append` is false, else continued, after the process that began
// it. What is in it stays until the new diagram is complete.
class DiagramFile {
 public:
  // Throws std::runtime_error when the file cannot be written.
  DiagramFile(const std::string& name, bool append);

  // Throws std::runtime_error.
  void Write(const std::string& messages) const;

 private:
  [[noreturn]] void Refuse(const std::string& problem) const;

  std::string name_;
  std::filesystem::path file_;
  bool is_replaced_ = true;
  std::string text_;  // in front of the messages
};

}  // namespace zelk::host
