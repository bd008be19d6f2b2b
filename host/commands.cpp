#include "commands.h"

#include <spdlog/fmt/fmt.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <functional>
#include <iostream>
#include <stdexcept>
#include <utility>

#include "core_contract/login_parameters.h"
#include "core_contract/method_id.h"
#include "diagram.h"
#include "output.h"
#include "platform.h"
#include "play.h"
#include "record_json.h"
#include "setup.h"
#include "tour.h"
#include "transcript.h"
#include "zelk_foundation_standin.h"

namespace zelk::host {
namespace {

// --- what every command needs ---

// Sinks for as long as this lives; EOS may log from threads of its own at any time.
class LogOutput {
 public:
  LogOutput(const Options& options, bool as_events) {
    if (options.log.empty()) return;
    sinks_.push_back(MakeLogSink(options.log, options.log_level, as_events));
    foundation_standin::SetLogThreshold(options.log_level);
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

// Prints each result as an event; without it the commands tell the results in words.
class EventPrinter final : public GameObserver {
 public:
  void OnResult(const Game::Result& result) override { PrintEvent(ResultEvent(result)); }
};

// What is done with the game; false when its input was bad.
using Part = std::function<bool(Game&, WorkRecorder&)>;

int RunGame(const Options& options, const std::filesystem::path& state_directory,
            const Part& part) {
  const bool is_play = !options.script.empty();
  const bool as_events = options.json || is_play;
  if (const std::string problem = UseStateDirectory(state_directory); !problem.empty()) {
    fmt::print(stderr, "sign-ins cannot be kept: {}\n", problem);
  }
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

  const bool good = part(game, *recorder);
  const int status = game.Finish();
  if (file.has_value()) file->Write(diagram.Messages());
  return good ? status : kBadInput;
}

// --- the commands of one request ---

struct Session {
  Game& game;
  WorkRecorder& recorder;
  const bool in_words;  // when results are not printed as events
};

std::string ExtraJson(const LoginArguments& arguments) {
  Json json = {{kLoginModeKey, arguments.mode}};
  for (const LoginMember& member : kLoginMembers) {
    const std::string& value = arguments.*member.value;
    if (!value.empty()) json[member.key] = value;
  }
  return json.dump();
}

// Null when the request stayed unanswered or failed, which is then said.
template <class T>
const T* Success(const std::optional<Game::Result>& result, const char* what, bool in_words) {
  if (!result.has_value()) return nullptr;
  const BaseResult& base = Base(result->record);
  if (base.ret_code == kResultSuccess) return std::get_if<T>(&result->record);
  if (in_words) fmt::print(stderr, "{}: {}\n", what, Outcome(base));
  return nullptr;
}

bool KeptNothing(const std::optional<Game::Result>& result) {
  if (!result.has_value()) return false;
  const BaseResult& base = Base(result->record);
  return base.method_id == kMethodIDAuthAutoLogin && base.ret_code == kResultInvalidArgument;
}

// A PIN grant is answered as soon as there is a code, and the plugin says nothing of what follows.
// Once the player has entered it EOS has kept the sign-in: the same request then succeeds.
std::optional<Game::Result> AskToSignIn(const Session& session, const Request& request) {
  const auto result = session.game.Ask(request);
  const std::string what_to_do = session.recorder.TakePinGrant();
  if (what_to_do.empty()) return result;
  fmt::print(stderr, "{}\n", Printable(what_to_do));
  std::fflush(stderr);
  TickUntilComplete(session.game, session.recorder, kPatienceTicks);
  if (!session.recorder.SignedInBy().empty()) return session.game.AskAgain(request);
  fmt::print(stderr, "EOS did not sign the player in by this code\n");
  return result;
}

void SignInBy(const Session& session, const Request& request, const char* what) {
  const auto result = AskToSignIn(session, request);
  const auto* sign_in = Success<AuthPluginResult>(result, what, session.in_words);
  if (!session.in_words) return;
  if (sign_in != nullptr) PrintText(SignInText(*sign_in, session.recorder.SignedInBy(), ""));
  if (KeptNothing(result)) {
    fmt::print(stderr, "no sign-in was kept: use the command \"login\" first\n");
  }
}

// True when the player is signed in, for `what` then.
bool SignInFirst(const Session& session, const char* what) {
  const auto result = session.game.Ask(SignInAutomatically("sign-in"));
  if (!KeptNothing(result)) {
    return Success<AuthPluginResult>(result, "auto-login", session.in_words) != nullptr;
  }
  if (session.in_words) fmt::print(stderr, "{}: nobody is signed in\n", what);
  return false;
}

void ListFriendsOf(const Session& session, const FriendsArguments& arguments) {
  if (!SignInFirst(session, "friends")) return;
  const auto result = session.game.Ask(
      ListFriends("friends", arguments.page, arguments.count, arguments.is_in_game));
  const auto* friends = Success<FriendResult>(result, "friends", session.in_words);
  if (friends != nullptr && session.in_words) {
    PrintText(FriendsText(*friends, arguments.page, Accounts::kWhole, ""));
  }
}

// Waits until EOS has forgotten the player.
void SignOutOf(const Session& session) {
  if (!SignInFirst(session, "logout")) return;
  const auto result = session.game.Ask(SignOut("logout"));
  TickUntilComplete(session.game, session.recorder);
  if (Success<BaseResult>(result, "logout", session.in_words) != nullptr && session.in_words) {
    PrintText("signed out\n");
  }
}

template <class MakeRequests>
int RunRequests(const Options& options, const MakeRequests& make_requests) {
  return RunGame(options, StateDirectory(options), [&](Game& game, WorkRecorder& recorder) {
    make_requests(Session{game, recorder, !options.json});
    return true;
  });
}

}  // namespace

int RunLogin(const Options& options) {
  const LoginArguments& login = options.login;
  return RunRequests(options, [&](const Session& session) {
    SignInBy(session, SignIn("login", ExtraJson(login), login.permissions), "login");
  });
}

int RunAutoLogin(const Options& options) {
  return RunRequests(options, [&](const Session& session) {
    SignInBy(session, SignInAutomatically("auto-login", options.login.permissions), "auto-login");
  });
}

int RunFriends(const Options& options) {
  return RunRequests(options,
                     [&](const Session& session) { ListFriendsOf(session, options.friends); });
}

int RunLogout(const Options& options) { return RunRequests(options, &SignOutOf); }

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
  return RunGame(options, StateDirectory(options),
                 [&script](Game& game, WorkRecorder&) { return Play(game, script); });
}

// The process that began the tour lets another one end it.
int RunTour(const Options& options) {
  const auto run = [&options](const std::filesystem::path& directory, auto part) {
    return RunGame(options, directory, [&](Game& game, WorkRecorder& recorder) {
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
  std::vector<std::string> arguments = options.arguments;
  if (temporary.has_value()) {
    arguments.insert(arguments.begin(), {"--state-dir", Utf8FromPath(directory)});
  }
  arguments.emplace_back("--next-process");
  return std::max(status, RunAgain(arguments));
}

}  // namespace zelk::host
