// zelk_epic_host: plays the core and the game around the plugin. See --help.
#include <spdlog/fmt/fmt.h>

#include <CLI/CLI.hpp>
#include <array>
#include <cstdio>
#include <exception>
#include <functional>
#include <map>
#include <random>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "commands.h"
#include "output.h"
#include "platform.h"
#include "play.h"
#include "plugin_library.h"
#include "tour.h"
#include "transcript.h"
#include "zelk_core_standin.h"
#include "zelk_foundation_standin.h"

namespace zelk::host {
namespace {

constexpr int kBadInput = 2;

constexpr char kExamples[] = R"(
Examples:
  zelk_epic_host tour
  zelk_epic_host login --mode IDPassword --id player --password secret
  zelk_epic_host auto-login --permissions basic_profile
  zelk_epic_host friends --page 1 --count 10
  zelk_epic_host logout
  zelk_epic_host --log - play script.jsonl

What a command leaves behind in the state directory is there for the next one.
Exit status: 0 every request succeeded, 1 one failed or stayed unanswered, 2 bad arguments or input.)";

struct ConfigRow {
  const char* key;
  const char* value;
};

// Without --config.
constexpr std::array kDemoConfig{
    ConfigRow{"EPIC_PRODUCT_NAME", "ZELK Demo"},
    ConfigRow{"EPIC_PRODUCT_VERSION", "1.0"},
    ConfigRow{"EPIC_PRODUCT_ID", "demo-product"},
    ConfigRow{"EPIC_SANDBOX_ID", "demo-sandbox"},
    ConfigRow{"EPIC_DEPLOYMENT_ID", "demo-deployment"},
    ConfigRow{"EPIC_CLIENT_ID", "demo-client"},
    ConfigRow{"EPIC_CLIENT_SECRET", "demo-secret"},
};

const std::map<std::string, LogLevel> kLogLevels{
    {"info", kLogInfo}, {"warning", kLogWarning}, {"error", kLogError}};

struct Options {
  std::string plugin;
  std::string config;
  std::string world;
  std::string state_dir;
  std::string log;
  std::string log_level = "info";
  bool json = false;

  LoginArguments login;
  std::string auto_permissions = kAllPermissions;
  FriendsArguments friends;
  std::string script;
  bool next_process = false;  // of a tour
};

// Gone with everything in it when the tour ends.
class TemporaryDirectory {
 public:
  TemporaryDirectory() {
    std::random_device random;
    do {
      const std::string name = fmt::format("zelk-tour-{:08x}", random());
      path_ = std::filesystem::temp_directory_path() / name;
    } while (!std::filesystem::create_directory(path_));
    std::filesystem::permissions(path_, std::filesystem::perms::owner_all);
  }
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
  ~TemporaryDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }

  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

// Before the plugin is loaded. A directory that cannot be made is for the foundation and EOS to
// report.
void UseStateDirectory(const std::filesystem::path& directory) {
  std::error_code ignored;
  const std::filesystem::path absolute = std::filesystem::absolute(directory);
  std::filesystem::create_directories(absolute / "eos", ignored);
  foundation_standin::SetStoreDirectory(absolute);
  SetTemporaryDirectory(absolute / "eos");
}

void UseConfig(const std::string& file) {
  if (file.empty()) {
    for (const auto& [key, value] : kDemoConfig) core_standin::SetConfig("ZELK", key, value);
    return;
  }
  const std::string message = core_standin::LoadConfig(PathFromUtf8(file));
  if (!message.empty()) throw std::runtime_error(message);
}

// Of an EOS library that plays a world from a file: 0 when the file is good, else a message.
using CheckWorld = int32_t (*)(const char* path, char* message, int32_t size);

void UseWorld(const PluginLibrary& plugin, const std::string& file) {
  void* symbol = plugin.Find("EOS_StandIn_CheckWorld");
  if (symbol == nullptr) throw std::runtime_error("--world: this EOS library has no worlds");
  std::array<char, 1024> message{};
  const auto check_world = reinterpret_cast<CheckWorld>(symbol);
  if (check_world(file.c_str(), message.data(), static_cast<int32_t>(message.size())) != 0) {
    throw std::runtime_error(message.data());
  }
}

PluginLibrary LoadPlugin(const Options& options) {
  UseConfig(options.config);
  if (!options.world.empty()) SetEnvironment("ZELK_EOS_WORLD", PathFromUtf8(options.world));
  PluginLibrary plugin(options.plugin.empty() ? DefaultPluginFile() : PathFromUtf8(options.plugin));
  if (!options.world.empty()) UseWorld(plugin, options.world);
  return plugin;
}

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

std::filesystem::path StateDirectory(const Options& options) {
  return options.state_dir.empty() ? DefaultStateDirectory() : PathFromUtf8(options.state_dir);
}

using Command = std::function<void(Game&, WorkRecorder&)>;

int RunCommand(const Options& options, const std::filesystem::path& state_directory,
               const Command& command) {
  UseStateDirectory(state_directory);
  const PluginLibrary plugin = LoadPlugin(options);
  Game game(plugin, options.json ? &PrintResultEvent : &IgnoreResult);
  const auto recorder = std::make_shared<WorkRecorder>(game);
  LogOutput log(options, options.json);
  log.Add(recorder);
  command(game, *recorder);
  return game.Finish();
}

int RunPlay(const Options& options) {
  UseStateDirectory(StateDirectory(options));
  const PluginLibrary plugin = LoadPlugin(options);
  Game game(plugin, &PrintResultEvent);
  const LogOutput log(options, true);
  const bool good = Play(game, options.script);
  const int status = game.Finish();
  return good ? status : kBadInput;
}

// The process that began the tour lets another one end it.
int RunTour(const Options& options, std::vector<std::string> arguments) {
  if (options.json) throw std::runtime_error("--json: a tour is for people; use play");
  if (options.next_process) return RunCommand(options, StateDirectory(options), &TourNextProcess);
  std::optional<TemporaryDirectory> temporary;
  if (options.state_dir.empty()) temporary.emplace();
  const std::filesystem::path directory =
      temporary.has_value() ? temporary->path() : StateDirectory(options);
  const int status = RunCommand(options, directory, &TourFirstProcess);
  if (temporary.has_value()) {
    arguments.insert(arguments.begin(), {"--state-dir", Utf8FromPath(directory)});
  }
  arguments.push_back("--next-process");
  return std::max(status, RunAgain(arguments));
}

void AddOptions(CLI::App& app, Options& options) {
  app.add_option("--plugin", options.plugin, "The plugin; the one beside this program by default")
      ->type_name("FILE");
  app.add_option("--config", options.config, "The core's configuration; demo values by default")
      ->type_name("FILE");
  app.add_option("--world", options.world, "The world that an EOS stand-in plays")
      ->type_name("FILE");
  app.add_option(
         "--state-dir", options.state_dir,
         "Where sign-ins are kept; a folder of the user's by default, of its own for a tour")
      ->type_name("DIR");
  app.add_option("--log", options.log, "Where log lines go; - is standard output")
      ->type_name("FILE|-");
  app.add_option("--log-level", options.log_level, "The least level that is logged")
      ->check(CLI::IsMember(&kLogLevels))
      ->type_name("LEVEL")
      ->option_text("info|warning|error");
  app.add_flag("--json", options.json, "Print results as JSON lines");
}

CLI::Option* AddPermissions(CLI::App& command, std::string& permissions) {
  return command.add_option("--permissions", permissions, "basic_profile, friends_list, presence")
      ->capture_default_str();
}

void AddLogin(CLI::App& app, LoginArguments& login) {
  CLI::App& command = *app.add_subcommand("login", "Sign in");
  command.add_option("--mode", login.mode)
      ->check(CLI::IsMember({"IDPassword", "DevAuth", "ExchangeCode", "PinGrant", "AccountPortal"}))
      ->capture_default_str();
  command.add_option("--id", login.id, "For IDPassword and DevAuth");
  command.add_option("--password", login.password, "For IDPassword and DevAuth");
  command.add_option("--code", login.code, "For ExchangeCode");
  AddPermissions(command, login.permissions);
}

void AddFriends(CLI::App& app, FriendsArguments& friends) {
  CLI::App& command = *app.add_subcommand("friends", "Sign in automatically and list friends");
  command.add_option("--page", friends.page, "From 1; 0 is all friends")->capture_default_str();
  command.add_option("--count", friends.count, "Friends per page")->capture_default_str();
  command.add_flag("--in-game", friends.is_in_game, "Handed back in the result");
}

void AddCommands(CLI::App& app, Options& options) {
  CLI::App& tour = *app.add_subcommand("tour", "Show everything that the plugin does");
  tour.add_flag("--next-process", options.next_process)->group("");
  AddLogin(app, options.login);
  AddPermissions(*app.add_subcommand("auto-login", "Sign in from what the last login left behind"),
                 options.auto_permissions);
  AddFriends(app, options.friends);
  app.add_subcommand("logout", "Sign in automatically, sign out and forget");
  app.add_subcommand("play", "Drive the plugin by JSON lines")
      ->add_option("FILE", options.script, "The script; - is standard input")
      ->required();
  for (CLI::App* command : app.get_subcommands(nullptr)) command->fallthrough();
  app.require_subcommand(0, 1);
  app.get_formatter()->label("SUBCOMMAND", "COMMAND");
  app.get_formatter()->label("Subcommands", "Commands");
}

int Run(const CLI::App& app, const Options& options, const std::vector<std::string>& arguments) {
  const std::string command = app.get_subcommands().front()->get_name();
  if (command == "tour") return RunTour(options, arguments);
  if (command == "play") return RunPlay(options);
  const bool words = !options.json;
  const std::map<std::string, Command> commands{
      {"login", [&](Game& game, auto&) { Login(game, options.login, words); }},
      {"auto-login", [&](Game& game, auto&) { AutoLogin(game, options.auto_permissions, words); }},
      {"friends", [&](Game& game, auto&) { Friends(game, options.friends, words); }},
      {"logout", [&](Game& game, WorkRecorder& recorder) { Logout(game, recorder, words); }},
  };
  return RunCommand(options, StateDirectory(options), commands.at(command));
}

int Main(const std::vector<std::string>& arguments) {
  Options options;
  CLI::App app("Plays the core and the game around the Epic channel plugin.", "zelk_epic_host");
  app.set_version_flag("--version", "zelk_epic_host " ZELK_HOST_VERSION);
  app.footer(kExamples);
  AddOptions(app, options);
  AddCommands(app, options);
  try {
    app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
    if (app.get_subcommands().empty()) throw CLI::RequiredError("A command");
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : kBadInput;
  }
  return Run(app, options, arguments);
}

}  // namespace
}  // namespace zelk::host

int main(int argc, char** argv) try {
  zelk::host::PrepareStandardStreams();
  return zelk::host::Main(zelk::host::Arguments(argc, argv));
} catch (const std::exception& error) {
  fmt::print(stderr, "{}\n", error.what());
  return zelk::host::kBadInput;
}
