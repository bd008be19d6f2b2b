// zelk_epic_host: plays the core and the game around the plugin. See --help.
#include <spdlog/fmt/fmt.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <fstream>
#include <functional>
#include <iostream>
#include <map>
#include <stdexcept>
#include <utility>

#include "commands.h"
#include "diagram.h"
#include "doctor.h"
#include "options.h"
#include "output.h"
#include "platform.h"
#include "play.h"
#include "setup.h"
#include "tour.h"
#include "zelk_foundation_standin.h"

namespace zelk::host {
namespace {

// Sinks for as long as this lives; EOS may log from threads of its own at any time.
class LogOutput {
 public:
  LogOutput(const Options& options, bool as_events) {
    if (options.log.empty()) return;
    const LogLevel level = kLogLevels.at(options.log_level);
    sinks_.push_back(MakeLogSink(options.log, level, as_events));
    foundation_standin::SetLogThreshold(level);
    foundation_standin::SetLogSinks(sinks_);
  }
  LogOutput(const LogOutput&) = delete;
  LogOutput& operator=(const LogOutput&) = delete;
  ~LogOutput() { foundation_standin::SetLogSinks({}); }

  // A sink that wants every line.
  void Add(std::shared_ptr<spdlog::sinks::sink> sink) {
    sinks_.push_back(std::move(sink));
    foundation_standin::SetLogThreshold(kLogInfo);
    foundation_standin::SetLogSinks(sinks_);
  }

 private:
  std::vector<std::shared_ptr<spdlog::sinks::sink>> sinks_;
};

// What is done with the game; false when its input was bad.
using Command = std::function<bool(Game&, WorkRecorder&)>;

int RunCommand(const Options& options, const std::filesystem::path& state_directory,
               const Command& command) {
  const bool is_play = options.command == "play";
  const bool as_events = options.json || is_play;
  UseStateDirectory(state_directory);
  const PluginLibrary plugin = LoadPlugin(options);
  std::optional<DiagramFile> file;
  if (!options.diagram.empty()) file.emplace(options.diagram, options.next_process);

  Game game(plugin);
  EventPrinter printer;
  Diagram diagram(game);
  if (as_events) game.Add(printer);
  if (file.has_value()) game.Add(diagram);
  const auto recorder = std::make_shared<WorkRecorder>(game, file.has_value() ? &diagram : nullptr);
  LogOutput log(options, as_events);
  if (!is_play || file.has_value()) log.Add(recorder);

  const bool good = command(game, *recorder);
  const int status = game.Finish();
  if (file.has_value()) file->Write(diagram.Messages());
  return good ? status : kBadInput;
}

int RunPlay(const Options& options) {
  std::ifstream file;
  if (options.script != "-") {
    file.open(PathFromUtf8(options.script), std::ios::binary);
    file.peek();  // of a folder, too, there is nothing to read
    if (!file.is_open() || file.bad()) {
      throw std::runtime_error(options.script + ": the script cannot be read");
    }
    file.clear();
  }
  std::istream& script = options.script == "-" ? std::cin : file;
  return RunCommand(options, StateDirectory(options),
                    [&script](Game& game, WorkRecorder&) { return Play(game, script); });
}

// The process that began the tour lets another one end it.
int RunTour(const Options& options, std::vector<std::string> arguments) {
  const auto run = [&options](const std::filesystem::path& directory, auto part) {
    return RunCommand(options, directory, [&](Game& game, WorkRecorder& recorder) {
      part(game, recorder, !options.json);
      return true;
    });
  };
  if (options.next_process) return run(StateDirectory(options), &TourNextProcess);
  std::optional<TemporaryDirectory> temporary;
  if (options.state_dir.empty()) temporary.emplace();
  const std::filesystem::path directory =
      temporary.has_value() ? temporary->path() : StateDirectory(options);
  const int status = run(directory, &TourFirstProcess);
  if (temporary.has_value()) {
    arguments.insert(arguments.begin(), {"--state-dir", Utf8FromPath(directory)});
  }
  arguments.emplace_back("--next-process");
  return std::max(status, RunAgain(arguments));
}

int RunRequest(const Options& options) {
  const bool words = !options.json;
  const std::map<std::string, std::function<void(Game&, WorkRecorder&)>> requests{
      {"login", [&](Game& game, auto&) { Login(game, options.login, words); }},
      {"auto-login", [&](Game& game, auto&) { AutoLogin(game, options.auto_permissions, words); }},
      {"friends", [&](Game& game, auto&) { Friends(game, options.friends, words); }},
      {"logout", [&](Game& game, WorkRecorder& recorder) { Logout(game, recorder, words); }},
  };
  return RunCommand(options, StateDirectory(options), [&](Game& game, WorkRecorder& recorder) {
    requests.at(options.command)(game, recorder);
    return true;
  });
}

int Main(const std::vector<std::string>& arguments) {
  Options options;
  if (const auto status = ReadOptions(arguments, options)) return *status;
  if (options.command == "doctor") return RunDoctor(options);
  if (options.command == "tour") return RunTour(options, arguments);
  if (options.command == "play") return RunPlay(options);
  return RunRequest(options);
}

}  // namespace
}  // namespace zelk::host

// NOLINTNEXTLINE(bugprone-exception-escape): an error that cannot be printed ends the program too
int main(int argc, char** argv) try {
  zelk::host::PrepareStandardStreams();
  return zelk::host::Main(zelk::host::Arguments(argc, argv));
} catch (const std::exception& error) {
  fmt::print(stderr, "{}\n", error.what());
  return zelk::host::kBadInput;
}
