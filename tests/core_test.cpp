// What the core promises the plugin and the game: results, configuration, string splitting.
#include <gtest/gtest.h>

#include <fstream>
#include <thread>

#include "core_contract/config.h"
#include "core_contract/split_string.h"
#include "core_contract/task_queue.h"
#include "zelk_core_standin.h"
#include "zelk_foundation_standin.h"

namespace zelk {
namespace {

using core_standin::CommittedResult;

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
