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

#include "eos_standin.h"
#include "plugin_library.h"
#include "zelk_core_standin.h"

namespace zelk_test {

using Json = nlohmann::ordered_json;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

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

// Lets a test be listed by the name of its row.
template <class Row>
requires requires(const Row& row) { std::string(row.name); }
void PrintTo(const Row& row, std::ostream* out) { *out << row.name; }

class PluginTest : public testing::Test {
 protected:
  PluginTest();
  ~PluginTest() override;
  void TearDown() override;

  // --- what the core does ---
  void LogIn(const std::string& seq_id, const std::string& extra_json,
             const std::string& permissions = "", int32_t method_id = 102);
  void AutoLogin(const std::string& seq_id, const std::string& extra_json = "");
  void Logout(const std::string& seq_id);
  void QueryFriends(const std::string& seq_id, int32_t page, int32_t count,
                    bool is_in_game = false);
  void Tick(int times = 1);
  void Shutdown();
  // Ticks until every request has its answer; fails the test when that does not come.
  void TickUntilAnswered();
  // Ticks until EOS has nothing left to complete and no worker runs; fails the test likewise.
  void Settle();
  // Signs the player in through the account portal, and forgets the result.
  void SignIn();

  // --- what EOS does ---
  static void World(const Json& world) { eos_standin::SetWorld(world); }
  static void Fail(const std::string& call, int32_t result, int64_t times = 0, int64_t skip = 0);
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
  // The lines with this text.
  std::vector<Line> LinesSaying(const std::string& text) const;
  void ForgetLines();
  // What the key-value store holds on disk: the stored login parameters, or "".
  std::string StoredParameters() const;

  // A request that is to get another number of answers than one.
  void ExpectAnswers(const std::string& seq_id, int answers);

  const std::filesystem::path& directory() const { return directory_; }
  const zelk::host::PluginLibrary& plugin() const { return *plugin_; }

 private:
  struct Sink;

  void Asked(const std::string& seq_id) { ++expected_[seq_id]; }
  void Collect();
  bool AllAnswered() const;
  bool TickUntil(const std::function<bool()>& done);

  std::filesystem::path directory_;
  std::shared_ptr<Sink> sink_;
  std::unique_ptr<zelk::host::PluginLibrary> plugin_;
  std::map<std::string, int> expected_;
  std::map<std::string, int> answered_;
  std::vector<Result> results_;
};

// The login mode that needs nothing of the player, and the result of a completion that comes again.
inline constexpr char kPortal[] = R"({"LoginMode":"AccountPortal"})";
using zelk::host::kWillRetry;

// The account of the player in the world of the tests.
inline constexpr char kPlayerId[] = "00000000000000000000000000000001";
inline constexpr char kPlayerProductId[] = "0000000000000000000000000000000a";
inline constexpr char kNewcomerId[] = "00000000000000000000000000000002";

// That world: a player whom EOS Connect knows, and a newcomer whom it does not.
Json TestWorld();
// The same, where the newcomer is who signs in.
Json NewcomerWorld();
// The same, where the player has friends that the world makes up.
Json WorldWithFriends(int64_t count);

}  // namespace zelk_test
