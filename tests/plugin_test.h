// The fixture of every test that drives the plugin: it loads the library that ships, plays the core
// and the game, scripts EOS, and ends each test by asserting that nothing was misused, nothing is
// left over and every request got exactly one answer. A test is a process of its own.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "core_contract/method_id.h"
#include "core_contract/results.h"
#include "eos_result.h"
#include "eos_standin.h"
#include "plugin_library.h"
#include "system_calls.h"
#include "zelk_core_standin.h"

namespace zelk_test {

using Json = nlohmann::ordered_json;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using enum EOS_EResult;
using enum zelk::MethodID;
using enum zelk::ResultCode;

// The observers of the results in the core.
enum ObserverID : unsigned int {
  kAuthResultObserver = 101,
  kBaseResultObserver = 105,
  kAuthPluginResultObserver = 106,
  kFriendResultObserver = 202,
};

// A log line of the plugin or of EOS through it.
struct Line {
  int level;
  std::string file;
  std::string function;
  std::string text;
};

// A committed result, flattened: what a test asserts about.
struct Result {
  std::string type;
  unsigned int observer_id = 0;
  std::string seq_id;
  bool flag = false;
  zelk::BaseResult base{0};
  zelk::AuthPluginResult login;           // of an AuthPluginResult
  std::vector<zelk::PersonInfo> friends;  // of a FriendResult
};

// A call that EOS fails: `skip` times it goes well, then it fails `times` times, or for good if 0.
// Where a call gives no code, any failure will do.
struct Fault {
  const char* call = nullptr;
  EOS_EResult result = EOS_UnexpectedError;
  int64_t times = 0;
  int64_t skip = 0;
  const char* target = "";  // only for calls about this account
};

// Lets a test be listed by the name of its row.
template <class Row>
requires requires(const Row& row) { std::string(row.name); }
void PrintTo(const Row& row, std::ostream* out) { *out << row.name; }
inline constexpr auto kNameOfRow = [](const auto& row) { return std::string(row.param.name); };

inline constexpr char kAllScopes[] = "basic_profile,friends_list,presence";

class PluginTest : public testing::Test {
 protected:
  PluginTest();
  ~PluginTest() override;
  void TearDown() override;

  // --- what the core does ---
  void LogIn(const std::string& seq_id, const std::string& extra_json,
             const std::string& permissions = kAllScopes, int32_t method_id = kMethodIDAuthLogin);
  void AutoLogin(const std::string& seq_id, const std::string& extra_json = "");
  void Logout(const std::string& seq_id);
  void QueryFriends(const std::string& seq_id, int32_t page, int32_t count,
                    bool is_in_game = false);
  void Tick(int times = 1);
  void Shutdown() { plugin_->shutdown(); }
  // Ticks until every request has its answer; fails the test when that does not come.
  void TickUntilAnswered();
  // Ticks until EOS has nothing left to complete and no worker runs; fails the test likewise.
  void Settle();
  // Signs the player in through the account portal, and forgets the result.
  void SignIn();

  // --- what EOS does ---
  static void World(const Json& world) { eos_standin::SetWorld(world); }
  static void Fail(const Fault& fault);
  // The calls of that name, as their options.
  static std::vector<Json> CallsOf(const std::string& function);
  static int64_t CountCalls(const std::string& function);

  // --- what is seen ---
  // Records no calls and logs nothing: for a test of thousands of requests.
  static void GoQuiet();
  // Takes the results committed so far.
  std::vector<Result> TakeResults();
  // The one result committed since the last look.
  Result TakeResult();
  std::vector<Line> Lines() const;
  // The lines of the plugin itself, as "LEVEL function text" without the namespaces.
  std::vector<std::string> OwnLines() const;
  // How many lines have this text.
  int64_t CountLines(const std::string& text) const;
  void ForgetLines();
  // What the key-value store holds on disk: the stored login parameters, or "".
  std::string StoredParameters() const;

  // A request that is to get another number of answers than one.
  void ExpectAnswers(const std::string& seq_id, int answers);

  const std::filesystem::path& directory() const { return directory_; }
  const zelk::host::PluginLibrary& plugin() const { return *plugin_; }

 private:
  struct Sink;

  void Collect();
  bool AllAnswered() const;
  bool TickUntil(const std::function<bool()>& done);
  // A request that is to get one answer, with its method.
  zelk::BaseParams Ask(int32_t method_id, const std::string& seq_id, const std::string& extra_json);

  std::filesystem::path directory_;
  std::shared_ptr<Sink> sink_;
  std::unique_ptr<zelk::host::PluginLibrary> plugin_;
  std::map<std::string, int> expected_;
  std::map<std::string, int> answered_;
  std::map<std::string, int32_t> method_ids_;
  std::vector<Result> results_;
};

// The login mode that needs nothing of the player.
inline constexpr char kPortal[] = R"({"LoginMode":"AccountPortal"})";

// The account of the player in the world of the tests.
inline constexpr char kPlayerId[] = "00000000000000000000000000000001";
inline constexpr char kPlayerProductId[] = "0000000000000000000000000000000a";
inline constexpr char kNewcomerId[] = "00000000000000000000000000000002";

// That world: a player whom EOS Connect knows, and a newcomer whom it does not. Who signs in
// through the account portal has `friends` that the world makes up.
Json TestWorld(int64_t friends = 0);
// The same, where the newcomer is who signs in.
Json NewcomerWorld(int64_t friends = 0);

}  // namespace zelk_test
