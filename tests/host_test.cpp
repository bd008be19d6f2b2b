// The host program as its user runs it: a child process, its standard output, its exit status and
// what it leaves behind.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <random>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "log_rows.h"

#if !defined(_WIN32)
#include <sys/wait.h>
#endif

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

struct Outcome {
  int status;
  std::string out;
  std::string err;
};

std::string Read(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

std::string Quoted(const std::string& text) { return '"' + text + '"'; }

int StatusOf(const std::string& command) {
#if defined(_WIN32)
  // The shell takes the outermost quotes away.
  return std::system(Quoted(command).c_str());
#else
  const int status = std::system(command.c_str());
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
#endif
}

class Host : public testing::Test {
 protected:
  Host() {
    fs::remove_all(folder_);
    fs::create_directories(folder_);
  }
  ~Host() override { fs::remove_all(folder_); }

  // With a state directory of the test's own, unless `arguments` name one.
  Outcome Run(const std::string& arguments) {
    const fs::path out = folder_ / "out", err = folder_ / "err";
    const fs::path program = fs::absolute(ZELK_HOST_PROGRAM).make_preferred();
    const bool names_one = arguments.find("--state-dir") != std::string::npos;
    const std::string state = " --state-dir " + Quoted((folder_ / "state").string()) + " ";
    const int status = StatusOf(Quoted(program.string()) + (names_one ? " " : state) + arguments +
                                " > " + Quoted(out.string()) + " 2> " + Quoted(err.string()));
    return {status, Read(out), Read(err)};
  }

  // The quoted path of a new file.
  std::string File(const std::string& name, const std::string& text) {
    std::ofstream(folder_ / name, std::ios::binary) << text;
    return Quoted((folder_ / name).string());
  }

  Outcome Play(const std::string& script, const std::string& options = "") {
    return Run(options + " play " + File("script", script));
  }

  // Of this process alone: two builds may be tested at the same time.
  const fs::path folder_ =
      fs::temp_directory_path() / ("zelk-host-" + std::to_string(std::random_device{}()));
};

std::vector<Json> Events(const Outcome& outcome) {
  std::vector<Json> events;
  std::istringstream lines(outcome.out);
  for (std::string line; std::getline(lines, line);) events.push_back(Json::parse(line));
  return events;
}

// "FriendResult f 0" for a result, "error 3" for an error, the text of a log line.
std::vector<std::string> Summary(const Outcome& outcome) {
  std::vector<std::string> summary;
  for (const Json& event : Events(outcome)) {
    if (event["event"] == "result") {
      summary.push_back(event["type"].get<std::string>() + ' ' +
                        event["seq_id"].get<std::string>() + ' ' +
                        event["record"]["ret_code"].dump());
    } else {
      summary.push_back(event["event"] == "error" ? "error " + event["line"].dump()
                                                  : event["text"].get<std::string>());
    }
  }
  return summary;
}

const std::string kLogin =
    R"({"call":"login","method_id":102,"seq_id":"s","permissions":"basic_profile,friends_list",)"
    R"("extra_json":"{\"LoginMode\":\"AccountPortal\"}"})"
    "\n";
const std::string kFriends = R"({"call":"friends","method_id":203,"seq_id":"f","page":1,"count":2})"
                             "\n";
const std::string kDrain = "{\"call\":\"drain\"}\n";
const std::string kAuto = R"({"call":"auto_login","method_id":101,"seq_id":"a"})"
                          "\n";
const std::string kLogout = "{\"call\":\"logout\",\"seq_id\":\"l\"}\n";
const std::string kOneFriend =
    R"({"accounts":[{"name":"p","account_id":"11111111111111111111111111111111",)"
    R"("product_user_id":"22222222222222222222222222222222","display_name":"P",)"
    R"("friends":[{"account_id":"33333333333333333333333333333333"}]}],"calls":)";

TEST_F(Host, PlayAnswersGoodLinesInOrderAndGoesOnAfterBadOnes) {
  const std::string bad[] = {
      R"({"call":"fly"})",                        // unknown call
      R"({"call":"friends","permissions":"x"})",  // a field of another call
      R"({"call":"update","times":2147483648})",  // beyond 32 bits
      R"({"call":"update","times":99999999999999999999})",
      R"({"call":"friends","page":1.0})",      // not an integer
      R"({"call":"friends","is_in_game":1})",  // not a boolean
      R"({"call":"login","seq_id":7})",        // not a text
      R"({"call":"update","times":-1})",       // no number of ticks
      R"({"call":"update","times":1000001})",  // hours
      R"({"call":"drain","max_ticks":2147483647})",
      R"({"seq_id":"x"})",    // no call
      R"(["call"])",          // no object
      R"({"call":"update")",  // no JSON
      "{\"call\":\"\xff\"}",  // no UTF-8
  };
  std::string script = kLogin + "\n \t\r\n" + kDrain + kFriends;
  std::vector<std::string> expected{"AuthPluginResult s 0"};
  for (const std::string& line : bad) {
    script += line + "\n";
    expected.push_back("error " + std::to_string(expected.size() + 5));
  }
  expected.insert(expected.end(), {"FriendResult f 0", "BaseResult l 17", "FriendResult  10"});
  script += kDrain + "{\"call\":\"shutdown\"}\n{\"call\":\"logout\",\"seq_id\":\"l\"}\n" +
            R"({"call":"friends"})";
  const Outcome outcome = Play(script);
  EXPECT_EQ(Summary(outcome), expected);
  EXPECT_THAT(outcome.out, Not(HasSubstr("at line")));  // which would be the parser's
  EXPECT_EQ(outcome.status, 2);
}

struct StatusRow {
  const char* name;
  std::string script;
  std::string calls;  // what goes wrong in EOS
  int status;
  std::vector<std::string> results;
};

TEST_F(Host, TheExitStatusFollowsTheResults) {
  const StatusRow rows[] = {
      {"all succeed", kLogin + kDrain, "{}", 0, {"AuthPluginResult s 0"}},
      {"a NUL in the sequence id",
       R"({"call":"auto_login","seq_id":"s\u0000t","extra_json":"{\"LoginMode\":\"AccountPortal\"}"})"
       "\n" +
           kDrain,
       "{}",
       0,
       {"AuthPluginResult s 0"}},
      {"one fails",
       kLogin + kDrain + kAuto + kDrain,
       R"({"EOS_Connect_Login":[{"result":5}]})",
       1,
       {"AuthResult s 9999", "AuthResult a 11"}},
      {"EOS retries",
       kLogin + kDrain + kFriends + kDrain,
       R"({"EOS_Friends_QueryFriends":[{"result":19}]})",
       0,
       {"AuthPluginResult s 0", "FriendResult f 9999", "FriendResult f 0"}},
      {"too few ticks, so the shutdown answers",
       kLogin + R"({"call":"drain","max_ticks":3})",
       R"({"EOS_Auth_Login":[{"after_ticks":9}]})",
       1,
       {"AuthResult s 17"}},
      {"never answered", kLogout, "{}", 1, {}},
  };
  for (const StatusRow& row : rows) {
    fs::remove_all(folder_ / "state");
    const Outcome outcome =
        Play(row.script, "--world " + File("world", kOneFriend + row.calls + "}"));
    EXPECT_EQ(outcome.status, row.status) << row.name;
    EXPECT_EQ(Summary(outcome), row.results) << row.name;
  }
}

TEST_F(Host, BadArgumentsAndFilesAreSaidOnStandardErrorOnly) {
  const std::string broken = File("broken.json", "{\n\"ZELK\": 5}");
  const std::pair<std::string, const char*> rows[] = {
      {"", "command"},
      {"dance", "dance"},
      {"login --mode Guess", "Guess"},
      {"login --mode IDPassword --password x", "--id"},
      {"friends --page 0 --count 5", "--count"},
      {"login --timeout 0", "--timeout"},
      {"login --mode ExchangeCode", "--code"},
      {"login --mode ExchangeCode --code x --password x", "--password"},
      {"login --id x", "--id"},
      {"auto-login --permissions basic_profile,foo", "foo"},
      {"auto-login --page 3", ": --page 3"},
      {"friends --next-process", "--next-process"},
      {"friends --page many", "page"},
      {"--log-level loud tour", "loud"},
      {"login friends", "friends"},
      {"friends --page -1", "--page"},
      {"friends --count 0", "--count"},
      {"--log", "--log"},
      {"--log \"\" login", "--log"},
      {"play .", "."},
      {"--diagram . login", "diagram"},
      {"--diagram - login", "--diagram"},
      {"--diagram x doctor", "--diagram"},
      {"play nowhere.jsonl", "nowhere.jsonl: No such file or directory"},
      {"--plugin nowhere.so login", "zelk_epic_host doctor"},
      {"--plugin " + broken + " login", "broken.json"},
      {"--config nowhere.json login", "nowhere.json"},
      {"--config " + broken + " login", "broken.json:2: "},
      {"--world nowhere.json login", "nowhere.json"},
      {"--world " + broken + " login", "broken.json"},
      {"--log " + Quoted((folder_ / "no" / "log").string()) + " login", "log"},
  };
  for (const auto& [arguments, message] : rows) {
    const Outcome outcome = Run(arguments);
    EXPECT_EQ(outcome.status, 2) << arguments;
    EXPECT_THAT(outcome.out, IsEmpty()) << arguments;
    EXPECT_THAT(outcome.err, HasSubstr(message)) << arguments;
  }
}

TEST_F(Host, ShowsNoTokenToPeopleAndEveryTokenToPrograms) {
  const Json record = Events(Run("--json login"))[0]["record"];
  const Json login = Json::parse(record["channel_info"].get<std::string>());
  EXPECT_THAT(Run("login").out, Not(HasSubstr(login["access_token"].get<std::string>())));
}

TEST_F(Host, SignsInWithoutAPlaceToKeepAnything) {
  File("state", "a file where the directory should be");
  const Outcome outcome = Run("--log - --log-level error login");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.out, HasSubstr("cannot be written"));
  EXPECT_THAT(outcome.err, HasSubstr("eos cannot be written"));
}

// What a world may hold must neither steer the terminal nor widen the rows of others.
TEST_F(Host, EscapesAndAlignsTextsOfOthers) {
  const std::string name = R"("display_name":"P",)";
  std::string world = kOneFriend + "{}}";
  const std::string odd = R"("display_name":"\u001b]0;\u202Eé\u009b)" + std::string(300, 'x');
  world.replace(world.find(name), name.size(), odd + "\",");
  const std::string log = Quoted((folder_ / "log").string());
  const Outcome outcome = Run("login --log " + log + " --world " + File("world", world));
  EXPECT_THAT(outcome.out, HasSubstr(R"(name           \x1b]0;\u202eé\x9bxxx)"));
  EXPECT_THAT(Read(folder_ / "log"), HasSubstr(R"(\x1b]0;\u202eé\x9bxxx)"));
#if !defined(_WIN32)
  EXPECT_EQ(fs::status(folder_ / "log").permissions(), fs::perms(0600));
#endif
}

TEST_F(Host, TheTourShowsEveryStepWithItsEosWork) {
  const Outcome outcome = Run("tour --diagram " + File("tour.mmd", ""));
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.err, IsEmpty());
  for (const char* part :
       {"EOS_Auth_Login, persistent authorisation  1 tick  EOS_InvalidAuth",
        "EOS_UserInfo_QueryUserInfo, each friend", "page 3: 5 of 25 friends",
        "EOS_Auth_DeletePersistentAuth  1 tick  EOS_Success", "zelk_epic_auth_auto_login"}) {
    EXPECT_THAT(outcome.out, HasSubstr(part));
  }
  EXPECT_THAT(outcome.out, Each(Not('\x1b')));
  const std::string diagram = Read(folder_ / "tour.mmd");
  EXPECT_THAT(diagram, HasSubstr(", EOS_Auth_DeletePersistentAuth, EOS_Success\n"));
  EXPECT_THAT(diagram, HasSubstr("the game is started again\n    Game->>Plugin"));
}

struct DiagramRow {
  std::string script;
  std::string calls;  // what goes wrong in EOS
  std::string lines;
};

TEST_F(Host, DrawsCallsCompletionsAndResults) {
  const std::string odd = R"({"call":"login","seq_id":"a;b#c\"\n%%{é"})";
  const DiagramRow rows[] = {
      {kLogin + kDrain, R"({"EOS_Connect_Login":[{"result":5}]})",
       "EOS-->>Plugin: tick 3, EOS_Connect_Login, EOS_AccessDenied\n    "
       "Plugin-->>Game: tick 3, AuthResult, ret_code 9999, third_code 5 (EOS_AccessDenied), "
       "seq_id s\n    Game->>Plugin: zelk_epic_shutdown"},
      {odd, "{}", "method 0 (kMethodIDUndefine), seq_id a#59;b#35;c#34;#92;x0a#37;#37;#123;é"},
      {kLogout + kLogout, "{}",
       "zelk_epic_auth_logout, method 0 (kMethodIDUndefine), seq_id l x 2"},
      {kLogin + kDrain + kFriends + kDrain, "", "Plugin->>EOS: EOS_UserInfo_QueryUserInfo x 2"},
  };
  for (const DiagramRow& row : rows) {
    const std::string file = File("diagram", "an older one");
    const std::string world = File("world", kOneFriend + row.calls + "}");
    Play(row.script, "--diagram " + file + (row.calls.empty() ? "" : " --world " + world));
    const std::string diagram = Read(folder_ / "diagram");
    EXPECT_THAT(diagram, testing::StartsWith("sequenceDiagram\n    participant Game as game\n"));
    EXPECT_THAT(diagram, HasSubstr(row.lines + "\n"));
    EXPECT_THAT(diagram, Not(HasSubstr("EOS_Auth_Logout")));
  }
}

// The host reads the plugin's log: a line that is worded anew has to be found here.
TEST_F(Host, EveryLogLineThatItReadsIsWrittenInSomePlay) {
  const std::string plays = fs::absolute(ZELK_PLAYS).make_preferred().string();
  const std::string worlds[] = {
      "",
      R"({"EOS_Connect_Login":[{"result":3}],"EOS_UserInfo_CopyUserInfo":[{"result":13}],)"
      R"("EOS_Auth_Logout":[{"result":4}],"EOS_Auth_DeletePersistentAuth":[{"result":4}]})",
  };
  std::set<std::string_view> missing;
  for (const zelk::host::LogRow& row : zelk::host::kLogRows) missing.insert(row.prefix);
  for (const std::string& world : worlds) {
    for (const char* play : {"sign_in.jsonl", "friends.jsonl"}) {
      const std::string options =
          world.empty() ? "" : " --world " + File("world", kOneFriend + world + "}");
      for (const Json& event : Events(Run("--log - play " + plays + "/" + play + options))) {
        if (event["event"] != "log") continue;
        const auto* row = zelk::host::FindRow(event["text"].get_ref<const std::string&>());
        if (row != nullptr) missing.erase(row->prefix);
      }
    }
  }
  EXPECT_THAT(missing, IsEmpty());
}

// Each with the files that it names, and signed in but for a login.
TEST_F(Host, EveryExampleInEveryHelpWorksAsWritten) {
  fs::current_path(folder_);
  File("script.jsonl", kLogin + kDrain);
  File("world.json", kOneFriend + "{}}");
  File("password.txt", "secret\n");
  fs::copy_file(ZELK_EXAMPLE_CONFIG, folder_ / "game.json");
  int examples = 0;
  for (const char* command :
       {"", "tour", "login", "auto-login", "friends", "logout", "play", "doctor"}) {
    std::istringstream help(Run(command + std::string(" --help")).out);
    const std::string_view program = "  zelk_epic_host ";
    for (std::string line; std::getline(help, line);) {
      if (!line.starts_with(program)) continue;
      while (line.ends_with('\r')) line.pop_back();
      ++examples;
      fs::remove_all(folder_ / "state");
      const std::string example = line.substr(program.size());
      if (!example.starts_with("login")) Run("login");
      const Outcome outcome = Run(example);
      EXPECT_EQ(outcome.status, 0) << example << '\n' << outcome.err;
    }
  }
  EXPECT_GE(examples, 20);
  fs::current_path(fs::temp_directory_path());
}

#if !defined(_WIN32)
TEST_F(Host, OutputThatIsLostIsAnErrorWhateverTheCommandDid) {
  const std::string err = "2>" + Quoted((folder_ / "err").string());
  const std::string full = err + " >/dev/full", closed = err + " >&-";
  const std::pair<std::string, const char*> rows[] = {
      {"tour " + full, "No space left on device"},
      {"friends --json " + full, "No space left on device"},
      {"doctor " + closed, "Bad file descriptor"},
      {"--help " + full, "No space left on device"},
      {"login " + closed, "Bad file descriptor"},
      {"--log /dev/full login >/dev/null " + err, "the log cannot be written: /dev/full: No space"},
      {"play - <&- >/dev/null " + err, "standard input"},
      {"dance 2>/dev/full", ""},
  };
  for (const auto& [command, message] : rows) {
    const std::string state = " --state-dir " + Quoted((folder_ / "state").string()) + " ";
    fs::remove(folder_ / "err");
    EXPECT_EQ(StatusOf(Quoted(ZELK_HOST_PROGRAM) + state + command), 2) << command;
    EXPECT_THAT(Read(folder_ / "err"), HasSubstr(message)) << command;
  }
}

TEST_F(Host, TheTourLeavesNothingBehindWhenItIsInterrupted) {
  const std::string world =
      File("world", kOneFriend + R"({"EOS_Auth_Login":[{"after_ticks":900000}]}})");
  fs::create_directories(folder_ / "temporary");
  const std::string start = "TMPDIR=" + Quoted((folder_ / "temporary").string()) + " timeout -s ";
  for (const char* signal : {"INT", "TERM", "HUP"}) {
    StatusOf(start + signal + " 0.2 " + Quoted(ZELK_HOST_PROGRAM) + " tour --world " + world +
             " >" + Quoted((folder_ / "out").string()) + " 2>&1");
    EXPECT_TRUE(fs::is_empty(folder_ / "temporary")) << signal;
  }
}

TEST_F(Host, CompletesCommandsOptionsAndTheirWords) {
  const std::pair<const char*, const char*> rows[] = {{"fr", "friends"},
                                                      {"login --pas", "--password"},
                                                      {"login --mode Dev", "DevAuth"},
                                                      {"--log-level w", "warning"},
                                                      {"tour --js", "--json"}};
  for (const auto& [words, completed] : rows) {
    const std::string script =
        "source '" ZELK_COMPLETION "'; COMP_WORDS=(x " + std::string(words) +
        "); COMP_CWORD=$((${#COMP_WORDS[@]}-1)); _zelk_epic_host '" ZELK_HOST_PROGRAM
        "'; [ \"${COMPREPLY[*]}\" = '" +
        completed + "' ]\n";
    EXPECT_EQ(StatusOf("bash " + File("script", script)), 0) << words;
  }
}
#endif

struct DoctorRow {
  std::string options;
  std::vector<std::pair<std::string, std::string>> errors;  // of which check, and a part of it
};

TEST_F(Host, TheDoctorTellsEveryErrorAndChangesNothing) {
  const fs::path plugin = fs::absolute(ZELK_PLUGIN_FILE);
  fs::create_directories(folder_ / "alone");
  fs::create_directories(folder_ / "damaged");
  fs::copy_file(plugin, folder_ / "alone" / plugin.filename());
  const auto path = [](const fs::path& file) { return Quoted(file.string()); };
  const std::string no_json = File("damaged/zelk_store.json", "{\"ZELK\":5}");
  const std::string part = R"({"ZELK":{"EPIC_PRODUCT_NAME":")" + std::string(65, 'x');
  const std::string rest =
      R"(","EPIC_PRODUCT_VERSION":"1","EPIC_PRODUCT_ID":"1","EPIC_SANDBOX_ID":"1",)"
      R"("EPIC_DEPLOYMENT_ID":"1","EPIC_CLIENT_ID":"1","EPIC_CLIENT_SECRET":"1"}})";
  const DoctorRow rows[] = {
      {"", {}},
      {"--config nowhere.json", {{"configuration", "nowhere.json"}}},
      {"--config " + File("part.json", part + R"(","EPIC_CLIENT_ID":""}})"),
       {{"configuration", "EPIC_PRODUCT_VERSION, EPIC_PRODUCT_ID"}}},
      {"--config " + File("long.json", part + rest), {{"configuration", "65"}}},
      {"--config " + File("blank.json", part.substr(0, part.size() - 60) + " " + rest),
       {{"configuration", "blanks or line ends around the text: EPIC_PRODUCT_NAME"}}},
      {"--plugin " + path(folder_ / "nowhere"), {{"plugin", "nowhere"}}},
      {"--plugin " + path(folder_ / "alone" / plugin.filename()) + " --config " + no_json,
       {{"configuration", ":1: "}, {"plugin", "loaded"}, {"EOS library", "alone"}}},
      {"--plugin " + path(plugin.parent_path() / ZELK_CORE_NAME),
       {{"entry points",
         "zelk_epic_auth_login, zelk_epic_auth_auto_login, zelk_epic_auth_logout"}}},
      {"--state-dir " + path(folder_ / "damaged"), {{"store", "damaged"}}},
      {"--state-dir " + no_json + " --world " + no_json,
       {{"state directory", "cannot be written to"}, {"EOS's directory", ""}, {"world", "ZELK"}}},
  };
  const auto files = [this] {
    const fs::recursive_directory_iterator all(folder_);
    return std::vector<fs::path>(begin(all), end(all));
  };
  Run("doctor");  // "out" and "err" are there
  const std::vector<fs::path> before = files();
  for (const DoctorRow& row : rows) {
    const Outcome outcome = Run("doctor --json " + row.options);
    std::vector<Json> events = Events(outcome);
    EXPECT_EQ(events.size(), 12U) << row.options;
    std::erase_if(events, [](const Json& event) { return event["status"] != "error"; });
    EXPECT_EQ(outcome.status, row.errors.empty() ? 0 : 1) << row.options;
    ASSERT_EQ(events.size(), row.errors.size()) << row.options << '\n' << outcome.out;
    for (std::size_t i = 0; i < events.size(); ++i) {
      EXPECT_EQ(events[i]["name"], row.errors[i].first);
      EXPECT_THAT(events[i]["message"].get<std::string>(), HasSubstr(row.errors[i].second));
    }
  }
  EXPECT_EQ(files(), before);
}

}  // namespace
