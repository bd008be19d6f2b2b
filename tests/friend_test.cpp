// The friend list: pages, details, the worker beside the tick, and what comes between them.
#include <algorithm>
#include <atomic>
#include <limits>
#include <thread>

#include "plugin_test.h"
#if !defined(_WIN32)
#include "windows_standin.h"
#endif

namespace zelk_test {
namespace {

using zelk_test::PrintTo;

constexpr int32_t kMin = std::numeric_limits<int32_t>::min();
constexpr int32_t kMax = std::numeric_limits<int32_t>::max();

// A friend's account in the worlds below.
std::string FriendId(int number) {
  std::string id = std::to_string(1000 + number);
  return std::string(32 - id.size(), 'f') + id;
}

// A player with friends of every kind, each an account with its own details.
Json WorldOfKinds() {
  Json world = TestWorld();
  const Json kinds[] = {
      {{"display_name", "Display"}, {"nickname", "Nick"}, {"country", "FR"}, {"language", "fr"}},
      {{"display_name", "Display"}, {"nickname", ""}, {"country", ""}, {"language", "it"}},
      {{"display_name", "Only Display"}, {"country", "IT"}},
      Json::object(),
  };
  const char* const statuses[] = {"Friends", "InviteSent", "InviteReceived", "NotFriends"};
  for (int i = 0; i < 4; ++i) {
    Json account = kinds[i];
    account["name"] = "friend " + std::to_string(i);
    account["account_id"] = FriendId(i);
    world["accounts"].push_back(account);
    world["accounts"][0]["friends"].push_back(
        {{"account_id", FriendId(i)}, {"status", statuses[i]}});
  }
  return world;
}

class Friends : public PluginTest {
 protected:
  // Asks for a page and waits for its one result.
  Result Page(int32_t page, int32_t count, bool is_in_game = false) {
    const std::string seq_id = "page " + std::to_string(page) + " of " + std::to_string(count);
    QueryFriends(seq_id, page, count, is_in_game);
    TickUntilAnswered();
    return TakeResult();
  }
};

TEST_F(Friends, ComeWithNameCountryLanguageAndStatus) {
  World(WorldOfKinds());
  SignIn();
  const Result result = Page(1, 10, true);
  EXPECT_EQ(result.type, "FriendResult");
  EXPECT_EQ(result.observer_id, 202U);
  EXPECT_TRUE(result.flag);
  EXPECT_EQ(result.base.method_id, 203);
  EXPECT_EQ(result.base.ret_code, 0);
  EXPECT_STREQ(result.base.ret_msg.c_str(), "success.");
  EXPECT_STREQ(result.base.extra_json.c_str(), R"({"total":4,"current":4,"is_in_game":true})");
  const struct {
    const char* user_name;
    const char* country;
    const char* language;
    const char* extra_json;
  } rows[] = {{"Nick", "FR", "fr", R"({"status":3})"},
              {"", "", "it", R"({"status":1})"},
              {"Only Display", "IT", "", R"({"status":2})"},
              {"", "", "", R"({"status":0})"}};
  ASSERT_EQ(result.friends.size(), std::size(rows));
  for (std::size_t i = 0; i < std::size(rows); ++i) {
    EXPECT_EQ(result.friends[i].openid.c_str(), FriendId(static_cast<int>(i)));
    EXPECT_STREQ(result.friends[i].user_name.c_str(), rows[i].user_name);
    EXPECT_STREQ(result.friends[i].country.c_str(), rows[i].country);
    EXPECT_STREQ(result.friends[i].language.c_str(), rows[i].language);
    EXPECT_STREQ(result.friends[i].extra_json.c_str(), rows[i].extra_json);
  }
}

TEST_F(Friends, PagesFollowTheirArguments) {
  World(WorldWithFriends(25));
  SignIn();
  std::vector<std::string> all;
  for (const zelk::PersonInfo& person : Page(0, 0).friends) all.emplace_back(person.openid.c_str());
  ASSERT_EQ(all.size(), 25U);
  const struct {
    int32_t page;
    int32_t count;
    int start;
    int current;  // start == current: an empty page
  } rows[] = {{1, 10, 0, 10},     {2, 10, 10, 20},    {3, 10, 20, 25},     {4, 10, 0, 0},
              {0, 10, 0, 25},     {0, -5, 5, 25},     {-1, -5, 10, 25},    {-1, -13, 0, 0},
              {-3, 7, 0, 25},     {kMin, kMin, 0, 0}, {kMin, kMax, 0, 25}, {0, kMin, 0, 0},
              {kMax, kMax, 0, 0}, {1, kMax, 0, 25},   {2, kMax, 0, 0},     {65537, 65536, 0, 0},
              {25, 1, 24, 25},    {26, 1, 0, 0}};
  for (const auto& row : rows) {
    const Result result = Page(row.page, row.count);
    SCOPED_TRACE(result.seq_id);
    EXPECT_EQ(result.base.ret_code, 0);
    ASSERT_EQ(static_cast<int>(result.friends.size()), row.current - row.start);
    if (row.start == row.current) {
      EXPECT_STREQ(result.base.ret_msg.c_str(), "");
      EXPECT_STREQ(result.base.extra_json.c_str(), "");
      continue;
    }
    EXPECT_EQ(Json::parse(result.base.extra_json.c_str()),
              (Json{{"total", 25}, {"current", row.current}, {"is_in_game", false}}));
    for (int i = row.start; i < row.current; ++i) {
      EXPECT_EQ(result.friends[static_cast<std::size_t>(i - row.start)].openid.c_str(),
                all[static_cast<std::size_t>(i)]);
    }
  }
}

TEST_F(Friends, AreRefusedWithoutACountOrAnAccount) {
  World(WorldWithFriends(1));
  QueryFriends("early", 1, 10);
  const Result early = TakeResult();
  EXPECT_EQ(early.base.ret_code, 10);
  EXPECT_EQ(early.base.third_code, 10);
  EXPECT_STREQ(early.base.ret_msg.c_str(), "Epic account is not valid, please re-login.");
  EXPECT_STREQ(early.base.third_msg.c_str(), "Epic account is not valid, please re-login.");
  EXPECT_THAT(OwnLines(), Contains("3 OnQueryFrinedsFailed [early] EpicFriend::OnGetFrinedsFailed, "
                                   "Epic account is not valid, please re-login."));
  for (const int32_t count : {0, -3, kMin}) {
    const Result result = Page(1, count);
    EXPECT_EQ(result.base.ret_code, 11);
    EXPECT_EQ(result.base.third_code, 11);
    EXPECT_STREQ(result.base.ret_msg.c_str(), "Parameter 'count' must be larger than zero.");
  }
  SignIn();
  Fail("EOS_EpicAccountId_IsValid", 1, 1);
  EXPECT_EQ(Page(1, 9).base.ret_code, 10);
  Fail("EOS_Platform_GetFriendsInterface", 1, 1);
  const Result no_interface = Page(1, 8);
  EXPECT_EQ(no_interface.base.ret_code, -1);
  EXPECT_STREQ(no_interface.base.third_msg.c_str(),
               "epic friends handle is null, unknow error happend.");
  EXPECT_EQ(CountCalls("EOS_Friends_QueryFriends"), 0);
  Fail("EOS_Platform_GetUserInfoInterface", 1, 1);
  const Result no_user_info = Page(1, 7);
  EXPECT_EQ(no_user_info.base.ret_code, -1);
  EXPECT_STREQ(no_user_info.base.ret_msg.c_str(),
               "epic user info handle is null, unknow error happend.");
  EXPECT_EQ(Page(1, 6).base.ret_code, 0);
  EXPECT_EQ(CountCalls("EOS_Friends_QueryFriends"), 2);
}

TEST_F(Friends, LinesOfAQueryAreInOrder) {
  World(WorldWithFriends(1));
  SignIn();
  ForgetLines();
  const std::string player = kPlayerId;
  const std::string friend_id = Page(1, 5).friends.at(0).openid.c_str();
  std::vector<std::string> lines = OwnLines();
  ASSERT_GE(lines.size(), 11U);
  const std::string from =
      "1 EpicAccountIdFromString Call EOS_EpicAccountId_FromString, openid str:";
  EXPECT_THAT(
      std::vector<std::string>(lines.begin(), lines.begin() + 9),
      ElementsAre(
          "1 QueryFriends [page 1 of 5] EpicFriend::QueryFriends, start query "
          "friends.",
          from + player, "1 QueryFriends call EOS_Friends_QueryFriends with account id : " + player,
          "1 QueryFriends call EOS_Friends_QueryFriends with account id : " + player + ", End",
          "3 QueryFriendsCompleteCallbackFn "
          "EpicFriend::QueryFriendsCompleteCallbackFn",
          "1 EpicAccountIdToString EOS_EpicAccountId_ToString result:" + player,
          "1 EpicEResultToString EOS_EResult_ToString result:EOS_Success",
          "1 QueryFriendsCompleteCallbackFn queryfriends complete, result:0 user id:" + player +
              " msg:EOS_Success",
          "1 QueryFriendsCompleteCallbackFn LocalUserId " + player + " , friend counts:1"));
  EXPECT_THAT(lines, Contains("1 QueryFirendsInfoInThread [page 1 of 5] SteamFriend::QueryFriends, "
                              "Create thread failed, will run in thread."));
  EXPECT_THAT(lines, Contains(from + friend_id));
}

TEST_F(Friends, RetriedListAnswersTheFailureAndThenThePage) {
  World(WorldWithFriends(3));
  SignIn();
  Fail("EOS_Friends_QueryFriends", 19, 2);
  QueryFriends("s1", 1, 10);
  ExpectAnswers("s1", 3);
  TickUntilAnswered();
  const std::vector<Result> results = TakeResults();
  ASSERT_EQ(results.size(), 3U);
  EXPECT_EQ(results[0].base.ret_code, 9999);
  EXPECT_STREQ(results[0].base.ret_msg.c_str(), "third error, see third code");
  EXPECT_EQ(results[0].base.third_code, 19);
  EXPECT_STREQ(results[0].base.third_msg.c_str(), "EOS_OperationWillRetry");
  EXPECT_EQ(results[1].base.third_code, 19);
  EXPECT_EQ(results[2].base.ret_code, 0);
  EXPECT_EQ(results[2].friends.size(), 3U);
}

TEST_F(Friends, QueryWithoutASequenceIdIsNotAnswered) {
  World(WorldWithFriends(3));
  SignIn();
  Fail("EOS_Friends_QueryFriends", 19, 1);
  QueryFriends("", 1, 10);
  ExpectAnswers("", 0);
  Tick(5);
  EXPECT_THAT(TakeResults(), IsEmpty());
  EXPECT_EQ(LinesSaying("NULL seqID for queryfriends").size(), 2U);
}

TEST_F(Friends, InvalidOnesAreLeftOut) {
  World(WorldWithFriends(3));
  SignIn();
  Fail("EOS_EpicAccountId_IsValid", 1, 1, 2);  // the account's own, the first friend, then this one
  const Result result = Page(1, 10);
  EXPECT_EQ(result.friends.size(), 2U);
  EXPECT_STREQ(result.base.extra_json.c_str(), R"({"total":3,"current":3,"is_in_game":false})");
  EXPECT_THAT(OwnLines(), Contains(HasSubstr("was invalid!")));
}

TEST_F(Friends, WhoseIdDoesNotConvertAreCounted) {
  World(WorldWithFriends(3));
  SignIn();
  Fail("EOS_EpicAccountId_ToString", 22, 1, 1);  // after the conversion for the completion
  const Result only = Page(1, 1);
  ASSERT_EQ(only.friends.size(), 1U);
  EXPECT_STREQ(only.friends[0].openid.c_str(), "");
  EXPECT_STREQ(only.base.ret_msg.c_str(), "success.");
}

TEST_F(Friends, CompletionsWithoutDataAreLogged) {
  World(WorldWithFriends(1));
  SignIn();
  ForgetLines();
  const struct {
    const char* call;
    bool client_data;
    const char* line;
  } rows[] = {{"EOS_Friends_QueryFriends", false, "NULL Data for CallbackFn"},
              {"EOS_Friends_QueryFriends", true, "NULL ClientData for CallbackFn"},
              {"EOS_UserInfo_QueryUserInfo", false, "NULL Data for CallbackFn"},
              {"EOS_UserInfo_QueryUserInfo", true, "NULL ClientData for CallbackFn"}};
  for (const auto& row : rows) {
    eos_standin::AddRule(
        {.call = row.call, .null_data = !row.client_data, .null_client_data = row.client_data});
    const int64_t calls = CountCalls(row.call);
    ForgetLines();
    QueryFriends(std::string(row.call) + row.line, 1, 10);
    while (CountCalls(row.call) == calls) Tick();
    Tick(2);
    EXPECT_EQ(LinesSaying(row.line).size(), 1U) << row.call;
  }
  Shutdown();
  for (const Result& result : TakeResults()) EXPECT_EQ(result.base.ret_code, 10);
}

#if !defined(_WIN32)
// Without a thread EOS is asked for all of a page in one tick, and answers in another.
TEST_F(Friends, StandInTheOrderOfTheAnswers) {
  World(WorldWithFriends(40));
  SignIn();
  windows_standin::FailCreateThread(true);
  std::vector<std::string> in_order;
  for (const zelk::PersonInfo& person : Page(1, 40).friends)
    in_order.emplace_back(person.openid.c_str());
  eos_standin::SetCompletionOrder(eos_standin::CompletionOrder::kReversed);
  std::vector<std::string> reversed;
  for (const zelk::PersonInfo& person : Page(1, 50).friends)
    reversed.emplace_back(person.openid.c_str());
  ASSERT_EQ(reversed.size(), 40U);
  std::ranges::reverse(reversed);
  EXPECT_EQ(reversed, in_order);
}

TEST_F(Friends, AreAskedForOnTheTickThreadWhenNoThreadStarts) {
  World(WorldWithFriends(12));
  SignIn();
  windows_standin::FailCreateThread(true);
  EXPECT_EQ(Page(1, 10).friends.size(), 10U);
  EXPECT_EQ(LinesSaying("[page 1 of 10] SteamFriend::QueryFriends, Create thread failed, run in "
                        "main thread.")
                .size(),
            1U);
  Fail("EOS_Platform_GetUserInfoInterface", 1, 1);
  EXPECT_EQ(Page(2, 10).base.ret_code, -1);
  windows_standin::FailHeapAlloc(true);
  EXPECT_EQ(Page(1, 5).base.ret_code, -1);
  EXPECT_EQ(windows_standin::ThreadsRunning(), 0);
}
#endif

// --- beside the tick ---

TEST_F(Friends, ManyArriveWhileTheTickRunsOn) {
  World(WorldWithFriends(10'000));
  SignIn();
  eos_standin::RecordCalls(false);
  QueryFriends("s1", 1, 10'000);
  std::vector<Result> results;
  while (results.empty()) {
    Tick();
    results = TakeResults();
  }
  EXPECT_EQ(results[0].friends.size(), 10'000U);
}

enum class Between { kLogout, kShutdown, kLogin };

struct BetweenRow {
  const char* name;
  Between what;
  bool completes_on_release;
};

class FriendsBetween : public Friends, public testing::WithParamInterface<BetweenRow> {};

// What comes from another thread while the worker is in the middle of a page, and a tick beside
// both.
TEST_P(FriendsBetween, AreAnsweredOnce) {
  World(WorldWithFriends(2000));
  SignIn();
  eos_standin::CompleteOnRelease(GetParam().completes_on_release);
  std::atomic<int> asked = 0;
  eos_standin::SetHook([&](const std::string& call) {
    if (call == "EOS_UserInfo_QueryUserInfo") ++asked;
  });
  QueryFriends("s1", 1, 2000);
  QueryFriends("s2", 2, 500);
  std::atomic<bool> stop = false;
  std::thread ticking([&] {
    while (!stop) plugin().update();
  });
  while (asked < 700) std::this_thread::yield();
  switch (GetParam().what) {
    case Between::kLogout:
      Logout("out");
      break;
    case Between::kShutdown:
      Shutdown();
      break;
    case Between::kLogin:
      LogIn("in", kPortal);
      break;
  }
  stop = true;
  ticking.join();
  TickUntilAnswered();
  for (const Result& result : TakeResults()) {
    if (result.type != "FriendResult") continue;
    if (GetParam().what != Between::kLogin && result.base.ret_code == 10) continue;
    EXPECT_EQ(result.base.ret_code, 0);
    EXPECT_EQ(result.friends.size(), result.seq_id == "s1" ? 2000U : 500U);
  }
  eos_standin::SetHook(nullptr);
}

INSTANTIATE_TEST_SUITE_P(Events, FriendsBetween,
                         testing::Values(BetweenRow{"Logout", Between::kLogout, false},
                                         BetweenRow{"Shutdown", Between::kShutdown, false},
                                         BetweenRow{"ShutdownThatCompletes", Between::kShutdown,
                                                    true},
                                         BetweenRow{"Login", Between::kLogin, false}),
                         [](const auto& row) { return row.param.name; });

}  // namespace
}  // namespace zelk_test
