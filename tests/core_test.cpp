// What the core promises the plugin and the game: results, configuration, string splitting.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <thread>

#include "core_contract/config.h"
#include "core_contract/split_string.h"
#include "core_contract/task_queue.h"
#include "zelk_core_standin.h"
#include "zelk_foundation_standin.h"

namespace zelk {
namespace {

using core_standin::CommittedResult;

TEST(TaskQueue, HandsOutCopiesOfEveryTypeInTheOrderOfTheCommits) {
  const int64_t nodes = foundation_standin::NodesOut();
  const int64_t misused = foundation_standin::NodesMisused();
  {
    FriendResult friends(9999, 3, "third error");
    friends.friend_info_list.push_back(PersonInfo());
    friends.friend_info_list[0].user_name = "Ann";
    InnerObserverHolder<FriendResult>::CommitToTaskQueue(friends, 202, "s1", true);
    friends.friend_info_list[0].user_name = "Bob";
    InnerObserverHolder<AuthPluginResult>::CommitToTaskQueue(AuthPluginResult(), 106, "s2", false);
    InnerObserverHolder<AuthResult>::CommitToTaskQueue(AuthResult(17), 101, "s3", false);
    InnerObserverHolder<BaseResult>::CommitToTaskQueue(BaseResult(11), 105, "s4", false);

    std::string heads;
    const auto head = [&](const CommittedResult& result) {
      const auto& base =
          std::visit([](const auto& record) -> const BaseResult& { return record; }, result.record);
      std::ostringstream line;
      line << result.record.index() << ' ' << result.observer_id << ' ' << result.seq_id << ' '
           << result.flag << ' ' << base.ret_code << ' ' << base.third_code << ' '
           << base.ret_msg.c_str() << '\n';
      heads += line.str();
      if (const auto* answer = std::get_if<FriendResult>(&result.record)) {
        EXPECT_STREQ(answer->friend_info_list[0].user_name.c_str(), "Ann");
      }
    };
    EXPECT_EQ(core_standin::DrainTaskQueue(head), 4U);
    EXPECT_EQ(
        heads,
        "3 202 s1 1 9999 3 third error\n2 106 s2 0 0 0 \n1 101 s3 0 17 0 \n0 105 s4 0 11 0 \n");
    EXPECT_EQ(core_standin::DrainTaskQueue(head), 0U);
  }
  EXPECT_EQ(foundation_standin::NodesOut(), nodes);
  EXPECT_EQ(foundation_standin::NodesMisused(), misused);
}

TEST(TaskQueue, LosesNothingWhenThreadsCommitDuringADrain) {
  constexpr int kThreads = 4;
  constexpr int kResults = 200;
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([thread] {
      for (int code = 0; code < kResults; ++code) {
        InnerObserverHolder<BaseResult>::CommitToTaskQueue(
            BaseResult(code), static_cast<unsigned>(thread), "s", false);
      }
    });
  }
  std::vector<int> next(kThreads);
  const auto in_order = [&](const CommittedResult& result) {
    EXPECT_EQ(std::get<BaseResult>(result.record).ret_code, next[result.observer_id]++);
  };
  std::size_t drained = core_standin::DrainTaskQueue(in_order);
  for (std::thread& thread : threads) thread.join();
  drained += core_standin::DrainTaskQueue(in_order);
  EXPECT_EQ(drained, static_cast<std::size_t>(kThreads * kResults));
}

TEST(SplitString, CutsAtEverySeparator) {
  using Pieces = std::vector<std::string>;
  const struct {
    const char *text, *separator;
    Pieces all, not_empty;
  } cases[] = {
      {"a,b", ",", {"a", "b"}, {"a", "b"}},
      {",a,,b,", ",", {"", "a", "", "b", ""}, {"a", "b"}},
      {"a::b:c", "::", {"a", "b:c"}, {"a", "b:c"}},
      {"a,b", "", {"a,b"}, {"a,b"}},
      {"", ",", {""}, {}},
  };
  for (const auto& row : cases) {
    for (const bool skip_empty : {false, true}) {
      zelk_tp_stl_c::vector<SdkString> out;
      out.push_back("what was there before");
      SplitString(row.text, row.separator, out, skip_empty);
      Pieces pieces;
      for (const SdkString& piece : out) pieces.push_back(piece.c_str());
      EXPECT_EQ(pieces, skip_empty ? row.not_empty : row.all)
          << row.text << " at " << row.separator;
    }
  }
}

class ConfigTest : public testing::Test {
 protected:
  std::string Load(const std::string& text) {
    std::ofstream(file_, std::ios::binary) << text;
    const std::string problem = core_standin::LoadConfig(file_);
    std::filesystem::remove(file_);
    return problem;
  }

  const std::filesystem::path file_ =
      testing::UnitTest::GetInstance()->current_test_info()->name() + std::string(".json");
};

TEST_F(ConfigTest, GivesWhatWasLoadedOrSetAndOtherwiseTheDefault) {
  ASSERT_EQ(Load(R"({"ZELK": {"NAME": "Demo", "EMPTY": ""}, "OTHER": {}})"), "");
  core_standin::SetConfig("OTHER", "NAME", "set");
  const struct {
    const char *section, *key, *value;
  } cases[] = {
      {"ZELK", "NAME", "Demo"},  {"ZELK", "EMPTY", ""},     {"OTHER", "NAME", "set"},
      {"ZELK", "name", "none"},  {"zelk", "NAME", "none"},  {"ZELK", "ABSENT", "none"},
      {nullptr, "NAME", "none"}, {"ZELK", nullptr, "none"},
  };
  for (const auto& row : cases) {
    EXPECT_STREQ(Config::GetString(row.key, "none", row.section).c_str(), row.value);
  }
}

TEST_F(ConfigTest, RefusesWhatIsNoObjectOfObjectsOfTextsAndSaysWhere) {
  ASSERT_EQ(Load(R"({"ZELK": {"NAME": "Demo"}})"), "");
  const struct {
    std::string text, problem;
  } cases[] = {
      {"", "1: syntax error"},
      {"[\n]", "1: the configuration must be"},
      {"{\n\"A\": 5\n}", "2: the section 'A' must be"},
      {"{\"A\":\n{\"k\":\n\n7\n}}", "4: the value of 'k' must be a text"},
      {"{\"A\": {\n\"k\": {\"n\": \"t\"}}}", "2: the value of 'k' must be a text"},
      {"{\"A\": {},\n\"A\": {}}", "2: 'A' is given twice"},
      {"{\"A\": {\"k\": \"1\",\n\"k\": \"2\"}}", "2: 'k' is given twice"},
      {"{\"A\": {\"k\": 1},\n\"B\": 5}", "1: the value of 'k' must be a text"},
      {"{\n\n\"A\" 5}", "3: syntax error"},
      {"{\"A\": {\n\"k\": 1e999}}", "2: "},
      {std::string(200'000, '['), "1: syntax error"},
  };
  for (const auto& [text, problem] : cases) {
    EXPECT_EQ(Load(text).find(file_.string() + ":" + problem), 0U)
        << text.substr(0, 40) << ": " << Load(text);
    EXPECT_STREQ(Config::GetString("NAME", "lost", "ZELK").c_str(), "Demo");
  }
  EXPECT_EQ(core_standin::LoadConfig("no such file"), "no such file:1: cannot be read");
  EXPECT_EQ(core_standin::LoadConfig("."), ".:1: cannot be read");
}

}  // namespace
}  // namespace zelk
