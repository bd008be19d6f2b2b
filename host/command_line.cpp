#include "command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <limits>
#include <map>
#include <sstream>

#include "commands.h"
#include "core_contract/login_parameters.h"
#include "doctor.h"
#include "output.h"

namespace zelk::host {
namespace {

constexpr char kExamples[] = R"(Examples:
  zelk_epic_host tour
  zelk_epic_host login --mode IDPassword --id player --password secret
  zelk_epic_host friends --page 1 --count 10
  zelk_epic_host play script.jsonl
  zelk_epic_host doctor

What a command leaves behind in the state directory is there for the next one:
zelk in $XDG_STATE_HOME or ~/.local/state, on Windows in %LOCALAPPDATA%. Who has
no home must give --state-dir. A table fits the terminal; in a file nothing of it
is cut.
Every command has examples of its own: zelk_epic_host COMMAND --help
Exit status: 0 every request succeeded, 1 one failed or stayed unanswered,
2 bad arguments or input, or something could not be written.)";

constexpr char kGeneralOptions[] =
    "\nThe options of every command, such as --json and --state-dir: zelk_epic_host --help";

std::string NotEmpty(const std::string& text) { return text.empty() ? "must not be empty" : ""; }

std::string NotStandardOutput(const std::string& text) {
  return text == "-" ? "needs a file, for standard output has the results" : NotEmpty(text);
}

constexpr int32_t kLongestTimeout = 86'400;
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
  app.add_option("--state-dir", options.state_dir,
                 "Where sign-ins are kept; the user's by default, a tour's own")
      ->check(NotEmpty)
      ->type_name("DIR");
}

const std::map<std::string, LogLevel> kLogLevels{
    {"info", kLogInfo}, {"warning", kLogWarning}, {"error", kLogError}};

void AddOutputOptions(CLI::App& app, Options& options) {
  app.add_option("--log", options.log, "Where log lines go; - is standard output")
      ->check(NotEmpty)
      ->type_name("FILE|-");
  app.add_option_function<std::string>(
         "--log-level", [&options](const auto& word) { options.log_level = kLogLevels.at(word); },
         "The least level that is logged")
      ->check(CLI::IsMember(&kLogLevels))
      ->type_name("LEVEL")
      ->option_text("info|warning|error");
  app.add_option("--diagram", options.diagram, "Draw what happens as a Mermaid sequence diagram")
      ->check(NotStandardOutput)
      ->type_name("FILE");
  app.add_flag("--json", options.json, "Print results as JSON lines, tokens included");
  app.add_option("--timeout", options.timeout,
                 "How long to wait for EOS and the player; 300 by default")
      ->check(CLI::Range(1, kLongestTimeout).description(""))
      ->type_name("SECONDS");
}

std::string NotPermissions(const std::string& text) {
  const std::string all = kAllPermissions;
  std::istringstream words(text);
  for (std::string word; std::getline(words, word, ',');) {
    if (("," + all + ",").find("," + word + ",") == std::string::npos) {
      return '"' + word + "\" is none of " + all;
    }
  }
  return "";
}

void AddPermissions(CLI::App& command, Options& options) {
  command
      .add_option("--permissions", options.login.permissions,
                  "Of basic_profile, friends_list, presence; all three by default")
      ->check(NotPermissions)
      ->type_name("WORDS");
}

struct LoginMode {
  const char* word;
  const char* id_key;
  const char* token_key;

  bool Needs(std::string_view member) const {
    return (id_key != nullptr && member == id_key) || (token_key != nullptr && member == token_key);
  }
};
#define ZELK_ROW(word, type, id_key, token_key) LoginMode{word, id_key, token_key},
constexpr std::array kLoginModes{ZELK_LOGIN_MODES(ZELK_ROW)};
#undef ZELK_ROW

std::vector<std::string> LoginModeWords() {
  std::vector<std::string> words;
  for (const LoginMode& mode : kLoginModes) words.emplace_back(mode.word);
  return words;
}

// What a mode needs is there, and nothing else. A password need not stand in the command line,
// where other users of the machine can see it.
void CheckLogin(LoginArguments& login) {
  const LoginMode& mode = *std::ranges::find(kLoginModes, login.mode, &LoginMode::word);
  const std::string of_mode = std::string("--mode ") + mode.word;
  for (const LoginMember& member : kLoginMembers) {
    const bool is_given = !(login.*member.value).empty();
    if (mode.Needs(member.key) && !is_given && member.value == &LoginArguments::password) {
      login.password = kReadPassword;
    } else if (mode.Needs(member.key) && !is_given) {
      throw CLI::ValidationError(of_mode, std::string("needs ") + member.option);
    }
    if (!mode.Needs(member.key) && is_given) {
      throw CLI::ValidationError(member.option, "not for " + of_mode);
    }
  }
}

void AddLogin(CLI::App& command, Options& options) {
  LoginArguments& login = options.login;
  const std::vector<std::string> modes = LoginModeWords();
  command.add_option("--mode", login.mode, "AccountPortal by default")
      ->check(CLI::IsMember(modes).description(""))
      ->type_name("MODE")
      ->option_text(CLI::detail::join(modes, "|"));
  for (const LoginMember& member : kLoginMembers) {
    std::vector<std::string> users;
    for (const LoginMode& mode : kLoginModes) {
      if (mode.Needs(member.key)) users.emplace_back(mode.word);
    }
    const bool is_password = member.value == &LoginArguments::password;
    command
        .add_option(member.option, login.*member.value,
                    "For " + CLI::detail::join(users, ", ") +
                        (is_password ? "; asked for without it or with -" : ""))
        ->check(NotEmpty);
  }
  AddPermissions(command, options);
  command.callback([&login] { CheckLogin(login); });
}

// --count alone means page 1.
void AddFriends(CLI::App& command, Options& options) {
  FriendsArguments& friends = options.friends;
  const CLI::Option* page = command
                                .add_option("--page", friends.page,
                                            "From 1; 0 is all friends, the default without --count")
                                ->check(CLI::Range(0, kMost).description(""))
                                ->type_name("N");
  const CLI::Option* count =
      command.add_option("--count", friends.count, "Friends per page; 10 by default")
          ->check(CLI::Range(1, kMost).description(""))
          ->type_name("N");
  command.add_flag("--in-game", friends.is_in_game, "Handed back in the result");
  command.callback([&friends, page, count] {
    if (count->count() == 0) return;
    if (page->count() == 0) friends.page = 1;
    if (friends.page == 0) throw CLI::ValidationError("--count", "not for --page 0, all friends");
  });
}

void AddTour(CLI::App& command, Options& options) {
  command.add_flag("--next-process", options.next_process,
                   "Only its last part, after a tour with this --state-dir");
}

void AddPlay(CLI::App& command, Options& options) {
  command.add_option("FILE", options.script, "The script; - is standard input")
      ->check(NotEmpty)
      ->type_name("")
      ->required();
}

void AddDoctor(CLI::App& command, Options& options) {
  command.callback([&options] {
    if (options.diagram.empty()) return;
    throw CLI::ValidationError("--diagram", "the doctor makes no requests to draw");
  });
}

void AddNothing(CLI::App&, Options&) {}

struct CommandRow {
  const char* name;
  const char* description;
  void (*add_options)(CLI::App&, Options&);
  int (*run)(const Options&);
  const char* examples;
};

constexpr std::array kCommands{
    CommandRow{"tour", "Show everything that the plugin does", &AddTour, &RunTour, R"(Examples:
  zelk_epic_host tour
  zelk_epic_host tour --diagram tour.mmd
  zelk_epic_host tour --world world.json --json
)"},
    CommandRow{"login", "Sign in", &AddLogin, &RunLogin,
               R"(EOS is asked first with what it kept of the last sign-in: log out to sign in
another player. A password that is not given is read from the terminal, which does
not show it, or from standard input.

Examples:
  zelk_epic_host login
  zelk_epic_host login --mode IDPassword --id player --password secret
  zelk_epic_host login --mode DevAuth --id localhost:6547 --password player
  zelk_epic_host login --mode IDPassword --id player < password.txt
  zelk_epic_host login --mode ExchangeCode --code 5c988d7bb00c31502b5c5f35c420a350
  zelk_epic_host login --diagram login.mmd --log login.log --timeout 60
)"},
    CommandRow{"auto-login", "Sign in from what the last login left behind", &AddPermissions,
               &RunAutoLogin, R"(Examples:
  zelk_epic_host auto-login
  zelk_epic_host auto-login --permissions basic_profile --json
)"},
    CommandRow{"friends", "Sign in automatically and list friends", &AddFriends, &RunFriends,
               R"(Examples:
  zelk_epic_host friends
  zelk_epic_host friends --page 2 --count 10
  zelk_epic_host friends --json
)"},
    CommandRow{"logout", "Sign in automatically, sign out and forget", &AddNothing, &RunLogout,
               R"(Examples:
  zelk_epic_host logout
  zelk_epic_host logout --log -
)"},
    CommandRow{"play", "Drive the plugin by JSON lines", &AddPlay, &RunPlay,
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
    CommandRow{"doctor", "Look for what keeps the plugin from working", &AddDoctor, &RunDoctor,
               R"(Looks at the configuration, the plugin, the libraries, the state directory and the
world, and says what to do about what is wrong. Makes no request, and leaves
everything as it was.
Exit status: 0 nothing is wrong, 1 something is, 2 bad arguments.

Examples:
  zelk_epic_host doctor
  zelk_epic_host doctor --config game.json --world world.json
  zelk_epic_host doctor --json
)"},
};

void AddCommands(CLI::App& app, Options& options) {
  for (const CommandRow& row : kCommands) {
    CLI::App& command = *app.add_subcommand(row.name, row.description);
    row.add_options(command, options);
    command.footer(std::string(row.examples) + kGeneralOptions);
    command.group("Commands");
    command.fallthrough();
    command.preparse_callback([&options, run = row.run](std::size_t) { options.run = run; });
  }
  app.footer(kExamples);
  app.require_subcommand(0, 1);
  app.get_formatter()->label("SUBCOMMAND", "COMMAND");
}

// Prints help or what is wrong, as the parser words it.
int Exit(const CLI::App& app, const CLI::Error& error) {
  std::ostringstream out, err;
  const int status = app.exit(error, out, err);
  PrintText(out.str());
  PrintErrorText(err.str());
  return status == 0 ? 0 : kBadInput;
}

}  // namespace

std::optional<int> ReadCommandLine(Options& options) {
  CLI::App app("Plays the core and the game around the Epic channel plugin.", "zelk_epic_host");
  bool version = false;
  app.add_flag("--version", version, "Print the versions of this program, the plugin and EOS");
  AddFileOptions(app, options);
  AddOutputOptions(app, options);
  AddCommands(app, options);
  try {
    app.parse(std::vector<std::string>(options.arguments.rbegin(), options.arguments.rend()));
    if (version) options.run = &PrintVersions;
    if (options.run == nullptr) throw CLI::RequiredError("A command");
  } catch (const CLI::ExtrasError&) {
    // The parser names them from the last to the first.
    std::vector<std::string> extras = app.remaining(true);
    std::reverse(extras.begin(), extras.end());
    return Exit(app, CLI::ExtrasError(std::move(extras)));
  } catch (const CLI::ParseError& error) {
    return Exit(app, error);
  }
  return std::nullopt;
}

}  // namespace zelk::host
