#include "options.h"

#include <CLI/CLI.hpp>
#include <array>
#include <limits>

namespace zelk::host {
namespace {

constexpr char kExamples[] = R"(Examples:
  zelk_epic_host tour
  zelk_epic_host login --mode IDPassword --id player --password secret
  zelk_epic_host friends --page 1 --count 10
  zelk_epic_host play script.jsonl
  zelk_epic_host doctor

What a command leaves behind in the state directory is there for the next one. Every command has
examples of its own: zelk_epic_host COMMAND --help
Exit status: 0 every request succeeded, 1 one failed or stayed unanswered, 2 bad arguments or input.)";

constexpr char kGeneralOptions[] =
    "\nThe options of every command, such as --json and --state-dir: zelk_epic_host --help";

struct ExamplesRow {
  const char* command;
  const char* examples;
};

constexpr std::array kCommandExamples{
    ExamplesRow{"tour", R"(Examples:
  zelk_epic_host tour
  zelk_epic_host tour --diagram tour.mmd
  zelk_epic_host tour --world world.json --json
)"},
    ExamplesRow{"login", R"(Examples:
  zelk_epic_host login
  zelk_epic_host login --mode IDPassword --id player --password secret
  zelk_epic_host login --mode DevAuth --id localhost:6547 --password player
  zelk_epic_host login --mode ExchangeCode --code CODE --permissions basic_profile
  zelk_epic_host login --diagram login.mmd --log login.log
)"},
    ExamplesRow{"auto-login", R"(Examples:
  zelk_epic_host auto-login
  zelk_epic_host auto-login --permissions basic_profile --json
)"},
    ExamplesRow{"friends", R"(Examples:
  zelk_epic_host friends
  zelk_epic_host friends --page 2 --count 10
  zelk_epic_host friends --json
)"},
    ExamplesRow{"logout", R"(Examples:
  zelk_epic_host logout
  zelk_epic_host logout --log -
)"},
    ExamplesRow{"play",
                R"(A line is a call with its arguments; what a line leaves out is empty, 0 or false:
  {"call":"login","method_id":102,"seq_id":"s1","extra_json":"{\"LoginMode\":\"AccountPortal\"}"}
  {"call":"drain"}
The calls: login, auto_login, friends, logout, update, drain, shutdown.

Examples:
  zelk_epic_host play script.jsonl
  zelk_epic_host play - < script.jsonl
  zelk_epic_host play script.jsonl --log - --log-level warning
  zelk_epic_host play script.jsonl --diagram script.mmd
)"},
    ExamplesRow{
        "doctor",
        R"(Looks at the configuration, the plugin, the libraries, the state directory and the world, and says
what to do about what is wrong. Calls nothing and keeps everything as it is.
Exit status: 0 nothing is wrong, 1 something is, 2 bad arguments.

Examples:
  zelk_epic_host doctor
  zelk_epic_host doctor --config game.json --plugin build/release/bin/libZELKEpic.so
  zelk_epic_host doctor --json
)"},
};

std::string NotEmpty(const std::string& text) { return text.empty() ? "must not be empty" : ""; }

std::string NotStandardOutput(const std::string& text) {
  return text == "-" ? "needs a file, for standard output has the results" : NotEmpty(text);
}

constexpr int32_t kMost = std::numeric_limits<int32_t>::max();

void AddFileOptions(CLI::App& app, Options& options) {
  app.add_option("--plugin", options.plugin, "The plugin; the one beside this program by default")
      ->check(NotEmpty)
      ->type_name("FILE");
  app.add_option("--config", options.config, "The core's configuration; demo values by default")
      ->check(NotEmpty)
      ->type_name("FILE");
  app.add_option("--world", options.world, "The world that an EOS stand-in plays")
      ->check(NotEmpty)
      ->type_name("FILE");
  app.add_option(
         "--state-dir", options.state_dir,
         "Where sign-ins are kept; a folder of the user's by default, of its own for a tour")
      ->check(NotEmpty)
      ->type_name("DIR");
}

void AddOutputOptions(CLI::App& app, Options& options) {
  app.add_option("--log", options.log, "Where log lines go; - is standard output")
      ->check(NotEmpty)
      ->type_name("FILE|-");
  app.add_option("--log-level", options.log_level, "The least level that is logged")
      ->check(CLI::IsMember(&kLogLevels))
      ->type_name("LEVEL")
      ->option_text("info|warning|error");
  app.add_option("--diagram", options.diagram, "Draw what happens as a Mermaid sequence diagram")
      ->check(NotStandardOutput)
      ->type_name("FILE");
  app.add_flag("--json", options.json, "Print results as JSON lines");
}

void AddPermissions(CLI::App& command, std::string& permissions) {
  command
      .add_option("--permissions", permissions,
                  "Of basic_profile, friends_list, presence; all three by default")
      ->type_name("WORDS");
}

void AddLogin(CLI::App& app, LoginArguments& login) {
  CLI::App& command = *app.add_subcommand("login", "Sign in");
  command
      .add_option("--mode", login.mode,
                  "AccountPortal by default, or IDPassword, DevAuth, ExchangeCode, PinGrant")
      ->check(CLI::IsMember({"IDPassword", "DevAuth", "ExchangeCode", "PinGrant", "AccountPortal"})
                  .description(""))
      ->type_name("MODE");
  command.add_option("--id", login.id, "For IDPassword and DevAuth");
  command.add_option("--password", login.password, "For IDPassword and DevAuth");
  command.add_option("--code", login.code, "For ExchangeCode");
  AddPermissions(command, login.permissions);
}

void AddFriends(CLI::App& app, FriendsArguments& friends) {
  CLI::App& command = *app.add_subcommand("friends", "Sign in automatically and list friends");
  command.add_option("--page", friends.page, "From 1; 0 is all friends")
      ->check(CLI::Range(0, kMost).description(""))
      ->capture_default_str();
  command.add_option("--count", friends.count, "Friends per page")
      ->check(CLI::Range(1, kMost).description(""))
      ->capture_default_str();
  command.add_flag("--in-game", friends.is_in_game, "Handed back in the result");
}

void AddCommands(CLI::App& app, Options& options) {
  app.add_subcommand("tour", "Show everything that the plugin does");
  app.add_flag("--next-process", options.next_process)->group("");
  AddLogin(app, options.login);
  AddPermissions(*app.add_subcommand("auto-login", "Sign in from what the last login left behind"),
                 options.auto_permissions);
  AddFriends(app, options.friends);
  app.add_subcommand("logout", "Sign in automatically, sign out and forget");
  app.add_subcommand("play", "Drive the plugin by JSON lines")
      ->add_option("FILE", options.script, "The script; - is standard input")
      ->check(NotEmpty)
      ->type_name("")
      ->required();
  app.add_subcommand("doctor", "Look for what keeps the plugin from working");
}

void DescribeCommands(CLI::App& app) {
  for (const ExamplesRow& row : kCommandExamples) {
    CLI::App& command = *app.get_subcommand(row.command);
    command.footer(std::string(row.examples) + kGeneralOptions);
    command.group("Commands");
    command.fallthrough();
  }
  app.footer(kExamples);
  app.require_subcommand(0, 1);
  app.get_formatter()->label("SUBCOMMAND", "COMMAND");
}

}  // namespace

const std::map<std::string, LogLevel> kLogLevels{
    {"info", kLogInfo}, {"warning", kLogWarning}, {"error", kLogError}};

std::optional<int> ReadOptions(const std::vector<std::string>& arguments, Options& options) {
  CLI::App app("Plays the core and the game around the Epic channel plugin.", "zelk_epic_host");
  app.set_version_flag("--version", "zelk_epic_host " ZELK_HOST_VERSION);
  AddFileOptions(app, options);
  AddOutputOptions(app, options);
  AddCommands(app, options);
  DescribeCommands(app);
  try {
    app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
    if (app.get_subcommands().empty()) throw CLI::RequiredError("A command");
    options.command = app.get_subcommands().front()->get_name();
    if (options.command == "doctor" && !options.diagram.empty()) {
      throw CLI::ValidationError("--diagram", "the doctor makes no requests to draw");
    }
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : kBadInput;
  }
  return std::nullopt;
}

}  // namespace zelk::host
