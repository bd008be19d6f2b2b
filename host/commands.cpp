#include "commands.h"

#include <spdlog/fmt/fmt.h>
#include <spdlog/sinks/base_sink.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <functional>
#include <iostream>
#include <mutex>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <utility>

#include "core_contract/login_parameters.h"
#include "core_contract/method_id.h"
#include "diagram.h"
#include "output.h"
#include "platform.h"
#include "play.h"
#include "record_json.h"
#include "setup.h"
#include "text.h"
#include "tour.h"
#include "transcript.h"
#include "zelk_foundation_standin.h"

namespace zelk::host {
namespace {

// --- what every command needs ---

// Sinks for as long as this lives; EOS may log from threads of its own at any time.
class LogOutput {
 public:
  LogOutput() = default;
  LogOutput(const LogOutput&) = delete;
  LogOutput& operator=(const LogOutput&) = delete;
  ~LogOutput() { foundation_standin::SetLogSinks({}); }

  // A sink that wants the lines from `level` on.
  void Add(std::shared_ptr<spdlog::sinks::sink> sink, LogLevel level) {
    sinks_.push_back(std::move(sink));
    level_ = std::min(level_, level);
    foundation_standin::SetLogThreshold(level_);
    foundation_standin::SetLogSinks(sinks_);
  }

 private:
  std::vector<std::shared_ptr<spdlog::sinks::sink>> sinks_;
  LogLevel level_ = kLogError;
};

// Collects what the key-value store says when it cannot keep something, which no result tells.
class StoreProblems final : public spdlog::sinks::base_sink<std::mutex> {
 public:
  StoreProblems() { set_level(spdlog::level::err); }

  // For each of its lines once.
  void Tell() {
    const std::scoped_lock lock(mutex_);
    for (const std::string& line : lines_) PrintError("kept sign-ins: " + Printable(line));
  }

 private:
  void sink_it_(const spdlog::details::log_msg& line) override {
    std::string text(line.payload.data(), line.payload.size());
    if (text.find(foundation_standin::kStoreFileName) == std::string::npos) return;
    if (std::ranges::find(lines_, text) == lines_.end()) lines_.push_back(std::move(text));
  }
  void flush_() override {}

  std::vector<std::string> lines_;
};

// EOS says in words of its own when it cannot keep a sign-in, or not at all.
void TellEosDirectoryProblem(const std::filesystem::path& state_directory) {
  const std::filesystem::path directory = EosDirectory(state_directory);
  const std::string problem = WhyNotWritable(directory);
  if (problem.empty()) return;
  PrintError(
      fmt::format("kept sign-ins: {} cannot be written: {}", Utf8FromPath(directory), problem));
}

// Prints each result as an event; without it the commands tell the results in words.
class EventPrinter final : public GameObserver {
 public:
  void OnResult(const Game::Result& result) override { PrintEvent(ResultEvent(result)); }
};

// What is done with the game; false when its input was bad.
using Part = std::function<bool(Game&, WorkRecorder&)>;

// Whatever may be refused comes first: a command that is refused leaves nothing behind.
int RunGame(const Options& options, const std::filesystem::path& state_directory,
            const Part& part) {
  const bool is_play = !options.script.empty();
  const bool as_events = options.json || is_play;
  const PluginLibrary plugin = LoadPlugin(options);
  std::optional<DiagramFile> file;
  if (!options.diagram.empty()) file.emplace(options.diagram, options.next_process);

  Game game(plugin, std::chrono::seconds(options.timeout));
  EventPrinter printer;
  Diagram diagram(game);
  if (as_events) game.Add(printer);
  if (file.has_value()) game.Add(diagram);
  const auto recorder = std::make_shared<WorkRecorder>(game, file.has_value() ? &diagram : nullptr);
  const auto store_problems = std::make_shared<StoreProblems>();
  game.TellWaitingBy([recorder] { return recorder->WaitingFor(); });

  // After what the sinks refer to, so that the lines end before it does.
  LogOutput log;
  if (!options.log.empty()) {
    log.Add(MakeLogSink(options.log, options.log_level, as_events), options.log_level);
  }
  log.Add(store_problems, kLogError);
  if (!is_play || file.has_value()) log.Add(recorder, kLogInfo);

  UseStateDirectory(state_directory);
  const bool good = part(game, *recorder);
  const int status = game.Finish();
  store_problems->Tell();
  TellEosDirectoryProblem(state_directory);
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
const T* Success(const Session& session, const std::optional<Game::Result>& result,
                 const char* what) {
  if (!result.has_value()) {
    PrintError(
        fmt::format("{}: EOS gave no answer in {} s", what, session.game.patience().count()));
    return nullptr;
  }
  const BaseResult& base = Base(result->record);
  if (base.ret_code == kResultSuccess) return std::get_if<T>(&result->record);
  if (session.in_words) PrintError(fmt::format("{}: {}", what, Printable(Outcome(base))));
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
  PrintError(Printable(what_to_do));
  session.game.WaitUntil([&session] { return !session.recorder.HasOpenWork(); });
  if (!session.recorder.SignedInBy().empty()) return session.game.AskAgain(request);
  PrintError("EOS did not sign the player in by this code");
  return result;
}

// Null when the player is not signed in, which is then said, by the name of the command.
const AuthPluginResult* SignInBy(const Session& session, const std::optional<Game::Result>& result,
                                 const char* what) {
  if (!KeptNothing(result)) return Success<AuthPluginResult>(session, result, what);
  if (session.in_words) {
    PrintError(fmt::format("{}: no sign-in was kept: use the command \"login\" first", what));
  }
  return nullptr;
}

void TellSignIn(const Session& session, const AuthPluginResult* sign_in) {
  if (sign_in == nullptr || !session.in_words) return;
  PrintText(SignInText(*sign_in, session.recorder.SignedInBy(), ""));
}

// EOS asks nobody as long as what it kept is good.
void TellUnused(const Session& session, const LoginArguments& arguments) {
  if (session.recorder.SignedInBy() != kByPersistentAuth) return;
  std::vector<std::string_view> unused;
  for (const LoginMember& member : kLoginMembers) {
    if (!(arguments.*member.value).empty()) unused.emplace_back(member.option);
  }
  if (unused.empty()) return;
  PrintError(fmt::format(
      "EOS signed in whom it had kept: {} not used; log out first to sign in another player",
      fmt::join(unused, " and ")));
}

bool SignInFirst(const Session& session, const char* what) {
  const auto result = session.game.Ask(SignInAutomatically("sign-in"));
  return SignInBy(session, result, what) != nullptr;
}

void ListFriendsOf(const Session& session, const FriendsArguments& arguments) {
  if (!SignInFirst(session, "friends")) return;
  const auto result = session.game.Ask(
      ListFriends("friends", arguments.page, arguments.count, arguments.is_in_game));
  const auto* friends = Success<FriendResult>(session, result, "friends");
  if (friends != nullptr && session.in_words) {
    PrintText(FriendsText(*friends, arguments.page, Accounts::kWhole, ""));
  }
}

// Waits until EOS has forgotten the player.
void SignOutOf(const Session& session) {
  if (!SignInFirst(session, "logout")) return;
  const auto result = session.game.Ask(SignOut("logout"));
  TickUntilComplete(session.game, session.recorder);
  if (Success<BaseResult>(session, result, "logout") != nullptr && session.in_words) {
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
  LoginArguments login = options.login;
  if (login.password == kReadPassword) {
    login.password = ReadSecret("password: ").value_or("");
    if (login.password.empty()) throw std::runtime_error("standard input has no password");
  }
  return RunRequests(options, [&login](const Session& session) {
    const auto result = AskToSignIn(session, SignIn("login", ExtraJson(login), login.permissions));
    TellSignIn(session, SignInBy(session, result, "login"));
    TellUnused(session, login);
  });
}

int RunAutoLogin(const Options& options) {
  return RunRequests(options, [&options](const Session& session) {
    const Request request = SignInAutomatically("auto-login", options.login.permissions);
    const auto result = AskToSignIn(session, request);
    TellSignIn(session, SignInBy(session, result, "auto-login"));
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
    errno = 0;
    file.open(PathFromUtf8(options.script), std::ios::binary);
    file.peek();  // of a folder, too, there is nothing to read
    if (!file.is_open() || file.bad()) {
      throw std::runtime_error(options.script + ": " + std::generic_category().message(errno));
    }
    file.clear();
  }
  std::istream& script = options.script == "-" ? std::cin : file;
  return RunGame(options, StateDirectory(options), [&script](Game& game, WorkRecorder&) {
    const bool good = Play(game, script);
    // The stream takes a failed read of standard input for its end.
    if (&script != &std::cin || std::ferror(stdin) == 0) return good;
    throw std::runtime_error("standard input cannot be read to its end");
  });
}

// The process that began the tour lets another one end it. Without a state directory both are
// others: this one takes away what they leave behind, however they end.
int RunTour(const Options& options) {
  if (options.state_dir.empty()) {
    PassSignalsOn();  // before there is anything to take away
    const TemporaryDirectory directory;
    std::vector<std::string> arguments = options.arguments;
    arguments.insert(arguments.begin(), {"--state-dir", Utf8FromPath(directory.path())});
    return RunAgain(arguments);
  }
  const auto part = options.next_process ? &TourNextProcess : &TourFirstProcess;
  const int status =
      RunGame(options, StateDirectory(options), [&](Game& game, WorkRecorder& recorder) {
        part(game, recorder, !options.json);
        return StandardOutputWorks();
      });
  if (options.next_process || status == kBadInput) return status;
  std::vector<std::string> arguments = options.arguments;
  arguments.emplace_back("--next-process");
  PassSignalsOn();
  return std::max(status, RunAgain(arguments));
}

}  // namespace zelk::host
