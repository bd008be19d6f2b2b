// The friend list: pages, details, the worker beside the tick, and what comes between them.
#include <algorithm>
#include <atomic>
#include <limits>
#include <thread>

#include "plugin_test.h"

#include <windows.h>

namespace zelk_test {
namespace {

using zelk_test::PrintTo;

constexpr int32_t kMin = std::numeric_limits<int32_t>::min();
constexpr int32_t kMax = std::numeric_limits<int32_t>::max();
constexpr char kNeedsLogin[] = "Epic account is not valid, please re-login.";
constexpr char kNeedsCount[] = "Parameter 'count' must be larger than zero.";
constexpr char kNoFriends[] = "epic friends handle is null, unknow error happend.";
constexpr char kNoUserInfo[] = "epic user info handle is null, unknow error happend.";

class Friends : public PluginTest {
 protected:
  // Asks for a page and waits for its one result.
  Result Page(int32_t page, int32_t count, bool is_in_game = false) {
    const std::string seq_id = "page " + std::to_string(page) + " of " + std::to_string(count);
    QueryFriends(seq_id, page, count, is_in_game);
    TickUntilAnswered();
    return TakeResult();
  }

  static std::vector<std::string> IdsOf(const Result& result) {
    std::vector<std::string> ids;
    for (const zelk::PersonInfo& person : result.friends) ids.emplace_back(person.openid.c_str());
    return ids;
  }

  // A failure that the plugin found itself says the same in both places.
  static void ExpectRefused(const Result& result, zelk::ResultCode code, const char* message) {
    EXPECT_EQ(result.type, "FriendResult");
    EXPECT_EQ(result.base.method_id, kMethodIDFriendQueryFriends);
    EXPECT_EQ(result.base.ret_code, code);
    EXPECT_EQ(result.base.third_code, code);
    EXPECT_STREQ(result.base.ret_msg.c_str(), message);
    EXPECT_STREQ(result.base.third_msg.c_str(), message);
  }
};

TEST_F(Friends, ComeWithNameCountryLanguageAndStatus) {
  const struct {
    const char* status;
    const char* account;  // what EOS knows
    const char* person;   // what the game gets
  } rows[] = {
      {.status = "Friends",
       .account = R"({"display_name":"Dis","nickname":"Nick","country":"FR","language":"fr"})",
       .person = R"(Nick,FR,fr,{"status":3})"},
      {.status = "InviteSent",
       .account = R"({"display_name":"Dis","nickname":"","country":"","language":"it"})",
       .person = R"(,,it,{"status":1})"},
      {.status = "InviteReceived",
       .account = R"({"display_name":"Dis","country":"IT"})",
       .person = R"(Dis,IT,,{"status":2})"},
      {.status = "NotFriends", .account = "{}", .person = R"(,,,{"status":0})"},
  };
  Json world = TestWorld();
  std::vector<std::string> ids;
  for (const auto& row : rows) {
    ids.push_back("fffffffffffffffffffffffffffffff" + std::to_string(ids.size()));
    Json account = Json::parse(row.account);
    account["name"] = account["account_id"] = ids.back();
    world["accounts"].push_back(account);
    world["accounts"][0]["friends"].push_back({{"account_id", ids.back()}, {"status", row.status}});
  }
  World(world);
  SignIn();
  const Result result = Page(1, 10, true);
  EXPECT_EQ(result.type, "FriendResult");
  EXPECT_EQ(result.observer_id, kFriendResultObserver);
  EXPECT_TRUE(result.flag);
  EXPECT_EQ(result.base.method_id, kMethodIDFriendQueryFriends);
  EXPECT_EQ(result.base.ret_code, kResultSuccess);
  EXPECT_STREQ(result.base.ret_msg.c_str(), "success.");
  EXPECT_STREQ(result.base.extra_json.c_str(), R"({"total":4,"current":4,"is_in_game":true})");
  ASSERT_EQ(IdsOf(result), ids);
  for (std::size_t i = 0; i < std::size(rows); ++i) {
    const zelk::PersonInfo& person = result.friends[i];
    EXPECT_EQ(std::string(person.user_name.c_str()) + "," + person.country.c_str() + "," +
                  person.language.c_str() + "," + person.extra_json.c_str(),
              rows[i].person);
  }
}

TEST_F(Friends, PagesFollowTheirArguments) {
  World(TestWorld(25));
  SignIn();
  const std::vector<std::string> all = IdsOf(Page(0, 0));
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
  for (const auto& [page, count, start, current] : rows) {
    const Result result = Page(page, count);
    SCOPED_TRACE(result.seq_id);
    EXPECT_EQ(result.base.ret_code, kResultSuccess);
    EXPECT_EQ(IdsOf(result), std::vector(all.begin() + start, all.begin() + current));
    const std::string range = R"({"total":25,"current":)" + std::to_string(current);
    const bool is_empty = start == current;
    EXPECT_STREQ(result.base.ret_msg.c_str(), is_empty ? "" : "success.");
    EXPECT_EQ(result.base.extra_json.c_str(), is_empty ? "" : range + R"(,"is_in_game":false})");
  }
}

TEST_F(Friends, AreRefusedWithoutAnAccountACountOrAnInterface) {
  World(TestWorld(1));
  QueryFriends("early", 1, 10);
  ExpectRefused(TakeResult(), kResultNeedLogin, kNeedsLogin);
  EXPECT_THAT(OwnLines(), Contains("3 OnQueryFrinedsFailed [early] EpicFriend::OnGetFrinedsFailed, "
                                   "Epic account is not valid, please re-login."));
  SignIn();
  for (const int32_t count : {0, -3, kMin}) {
    ExpectRefused(Page(1, count), kResultInvalidArgument, kNeedsCount);
  }
  Fail({.call = "EOS_EpicAccountId_IsValid", .times = 1});
  ExpectRefused(Page(1, 9), kResultNeedLogin, kNeedsLogin);
  Fail({.call = "EOS_Platform_GetFriendsInterface", .times = 1});
  ExpectRefused(Page(1, 8), kResultUnknownError, kNoFriends);
  EXPECT_EQ(CountCalls("EOS_Friends_QueryFriends"), 0);
  Fail({.call = "EOS_Platform_GetUserInfoInterface", .times = 1});
  ExpectRefused(Page(1, 7), kResultUnknownError, kNoUserInfo);
  EXPECT_EQ(Page(1, 6).base.ret_code, kResultSuccess);
  EXPECT_EQ(CountCalls("EOS_Friends_QueryFriends"), 2);
  EXPECT_EQ(CountCalls("EOS_Platform_GetFriendsInterface"), 2);
}

TEST_F(Friends, LinesOfAQueryAreInOrder) {
  World(TestWorld(1));
  SignIn();
  ForgetLines();
  const std::string player = kPlayerId;
  const std::string friend_id = Page(1, 5).friends.at(0).openid.c_str();
  const std::vector<std::string> lines = OwnLines();
  ASSERT_GE(lines.size(), 11U);
  const std::string from =
      "1 EpicAccountIdFromString Call EOS_EpicAccountId_FromString, openid str:";
  EXPECT_THAT(
      std::vector(lines.begin(), lines.begin() + 9),
      ElementsAre(
          "1 QueryFriends [page 1 of 5] EpicFriend::QueryFriends, start query friends.",
          from + player, "1 QueryFriends call EOS_Friends_QueryFriends with account id : " + player,
          "1 QueryFriends call EOS_Friends_QueryFriends with account id : " + player + ", End",
          "3 QueryFriendsCompleteCallbackFn EpicFriend::QueryFriendsCompleteCallbackFn",
          "1 EpicAccountIdToString EOS_EpicAccountId_ToString result:" + player,
          "1 EpicEResultToString EOS_EResult_ToString result:EOS_Success",
          "1 QueryFriendsCompleteCallbackFn queryfriends complete, result:0 user id:" + player +
              " msg:EOS_Success",
          "1 QueryFriendsCompleteCallbackFn LocalUserId " + player + " , friend counts:1"));
  EXPECT_THAT(lines, Contains("1 QueryFirendsInfoInThread [page 1 of 5] SteamFriend::QueryFriends, "
                              "Create thread failed, will run in thread."));
  EXPECT_THAT(lines, Contains(from + friend_id));
}

TEST_F(Friends, QueryWithoutASequenceIdIsNotAnswered) {
  World(TestWorld(3));
  SignIn();
  Fail({.call = "EOS_Friends_QueryFriends", .result = EOS_OperationWillRetry, .times = 1});
  QueryFriends("", 1, 10);
  ExpectAnswers("", 0);
  Tick(5);
  EXPECT_THAT(TakeResults(), IsEmpty());
  EXPECT_EQ(CountLines("NULL seqID for queryfriends"), 2);
}

TEST_F(Friends, InvalidOnesAreLeftOutAndNamelessOnesCounted) {
  World(TestWorld(3));
  SignIn();
  // The account's own, the first friend's, then this one.
  Fail({.call = "EOS_EpicAccountId_IsValid", .times = 1, .skip = 2});
  const Result result = Page(1, 10);
  EXPECT_EQ(result.friends.size(), 2U);
  EXPECT_STREQ(result.base.extra_json.c_str(), R"({"total":3,"current":3,"is_in_game":false})");
  EXPECT_THAT(OwnLines(), Contains(testing::MatchesRegex(
                              "3 QueryFriendsCompleteCallbackFn Friend ID: .* was invalid!")));
  // After the conversion for the completion.
  Fail({.call = "EOS_EpicAccountId_ToString", .times = 1, .skip = 1});
  const Result only = Page(1, 1);
  EXPECT_THAT(IdsOf(only), ElementsAre(""));
  EXPECT_STREQ(only.base.ret_msg.c_str(), "success.");
}

// Without a thread EOS is asked for all of a page in one tick, and answers in another.
TEST_F(Friends, AreAskedForOnTheTickThreadWhenNoThreadStarts) {
  World(TestWorld(40));
  SignIn();
  system_calls::FailCreateThread(true);
  const std::vector<std::string> in_order = IdsOf(Page(1, 40));
  EXPECT_EQ(CountLines("[page 1 of 40] SteamFriend::QueryFriends, Create thread failed, run in "
                       "main thread."),
            1);
  eos_standin::SetCompletionOrder(eos_standin::CompletionOrder::kReversed);
  std::vector<std::string> reversed = IdsOf(Page(1, 50));
  ASSERT_EQ(reversed.size(), 40U);
  std::ranges::reverse(reversed);
  EXPECT_EQ(reversed, in_order);
  Fail({.call = "EOS_Platform_GetUserInfoInterface", .times = 1});
  ExpectRefused(Page(2, 10), kResultUnknownError, kNoUserInfo);
  system_calls::FailHeapAlloc(true);
  ExpectRefused(Page(1, 5), kResultUnknownError, "unknown error happened.");
  EXPECT_EQ(system_calls::ThreadsRunning(), 0);
}

// --- what comes before a page is complete, which belongs to the account that asked for it ---

enum class Event { kNothing, kLogout, kLoginAgain, kOtherLogin, kFailingLogin, kShutdown };

struct EventRow {
  const char* name;
  Event event;
  zelk::ResultCode ret_code;  // of the page
  bool completes_on_release = false;
};

class OvertakenFriends : public Friends {
 protected:
  void Happen(Event event) {
    if (event == Event::kLogout) Logout("out");
    if (event == Event::kLoginAgain) LogIn("in", kPortal);
    if (event == Event::kShutdown) Shutdown();
    if (event != Event::kOtherLogin && event != Event::kFailingLogin) return;
    // The persistent authorisation would sign the same player in.
    Fail({.call = "EOS_Auth_Login", .result = EOS_InvalidAuth, .times = 1});
    const std::string password = event == Event::kOtherLogin ? "new" : "guess";
    LogIn("in", R"({"LoginMode":"IDPassword","ID":"newcomer","Password":")" + password + "\"}");
  }

  void ExpectPage(const EventRow& row, std::size_t friends) {
    Settle();
    for (const Result& result : TakeResults()) {
      if (result.type != "FriendResult") continue;
      EXPECT_EQ(result.base.ret_code, row.ret_code);
      EXPECT_EQ(result.friends.size(), row.ret_code == kResultSuccess ? friends : 0U);
      if (row.ret_code != kResultSuccess) ExpectRefused(result, row.ret_code, kNeedsLogin);
    }
  }
};

class FriendsLate : public OvertakenFriends,
                    public testing::WithParamInterface<std::tuple<EventRow, const char*>> {};

TEST_P(FriendsLate, AreAnsweredForTheirAccountOnly) {
  constexpr int64_t kLate = 40;  // more ticks than a login takes
  const auto& [row, call] = GetParam();
  World(TestWorld(3));
  SignIn();
  eos_standin::AddRule({.call = call, .after_ticks = kLate});
  QueryFriends("s1", 1, 10);
  while (CountCalls(call) == 0) Tick();
  Tick(2);
  Happen(row.event);
  TickUntilAnswered();
  ExpectPage(row, 3);
}

INSTANTIATE_TEST_SUITE_P(
    Events, FriendsLate,
    testing::Combine(
        testing::Values(
            EventRow{.name = "Nothing", .event = Event::kNothing, .ret_code = kResultSuccess},
            EventRow{.name = "Logout", .event = Event::kLogout, .ret_code = kResultNeedLogin},
            EventRow{.name = "LoginAgain", .event = Event::kLoginAgain, .ret_code = kResultSuccess},
            EventRow{
                .name = "OtherLogin", .event = Event::kOtherLogin, .ret_code = kResultNeedLogin},
            EventRow{
                .name = "FailingLogin", .event = Event::kFailingLogin, .ret_code = kResultSuccess},
            EventRow{.name = "Shutdown", .event = Event::kShutdown, .ret_code = kResultNeedLogin}),
        testing::Values("EOS_Friends_QueryFriends", "EOS_UserInfo_QueryUserInfo")),
    [](const auto& row) {
      return std::get<EventRow>(row.param).name + std::string(std::get<const char*>(row.param));
    });

class FriendsBetween : public OvertakenFriends, public testing::WithParamInterface<EventRow> {};

// While the worker is in the middle of a page, with a tick on a thread of its own beside both.
TEST_P(FriendsBetween, AreAnsweredOnce) {
  constexpr int32_t kFriends = 5000;
  World(TestWorld(kFriends));
  GoQuiet();
  SignIn();
  eos_standin::CompleteOnRelease(GetParam().completes_on_release);
  std::atomic<int> asked = 0;
  std::atomic<bool> is_coming = false;
  eos_standin::SetHook([&](const std::string& call) {
    if (call != "EOS_UserInfo_QueryUserInfo") return;
    for (++asked; asked > 700 && !is_coming;) std::this_thread::yield();
  });
  QueryFriends("s1", 1, kFriends);
  std::atomic<bool> stop = false;
  std::thread ticking([&] {
    while (!stop) plugin().update();
  });
  while (asked < 700) std::this_thread::yield();
  is_coming = true;
  Happen(GetParam().event);
  stop = true;
  ticking.join();
  TickUntilAnswered();
  ExpectPage(GetParam(), kFriends);
  EXPECT_TRUE(GetParam().ret_code == kResultSuccess || asked < kFriends) << asked;
  eos_standin::SetHook(nullptr);
}

INSTANTIATE_TEST_SUITE_P(
    Events, FriendsBetween,
    testing::Values(
        EventRow{.name = "Logout", .event = Event::kLogout, .ret_code = kResultNeedLogin},
        EventRow{.name = "LoginAgain", .event = Event::kLoginAgain, .ret_code = kResultSuccess},
        EventRow{.name = "Shutdown", .event = Event::kShutdown, .ret_code = kResultNeedLogin},
        EventRow{.name = "ShutdownThatCompletes",
                 .event = Event::kShutdown,
                 .ret_code = kResultNeedLogin,
                 .completes_on_release = true}),
    kNameOfRow);

// --- the worker beside the tick ---

// Inside the first call of a worker's step, the thread that ticks comes before the second; when it
// signs the player out there, nothing more is asked.
TEST_F(Friends, AreAskedForAsLongAsTheyMayBeAndTheTickMayGoBetween) {
  constexpr int kPages = 20;
  World(TestWorld(5));
  const std::thread::id here = std::this_thread::get_id();
  std::atomic<int> conversions = 0, asked = 0;
  std::atomic<bool> is_between = false, is_coming = false;
  int ticks_between = 0;
  for (int page = 1; page <= kPages; ++page) {
    eos_standin::SetHook(nullptr);
    LogIn("in " + std::to_string(page), kPortal);
    TickUntilAnswered();
    conversions = asked = 0;
    is_between = is_coming = false;
    eos_standin::SetHook([&](const std::string& call) {
      if (std::this_thread::get_id() == here) {
        ticks_between += is_between && call == "EOS_Platform_Tick" ? 1 : 0;
      } else if (call == "EOS_EpicAccountId_FromString" && ++conversions > 2) {
        is_between = true;  // not at the player's own, nor at the first friend's
        while (!is_coming) std::this_thread::yield();
        for (int i = 0; i < 200; ++i) std::this_thread::yield();
      } else if (call == "EOS_UserInfo_QueryUserInfo") {
        is_between = false;
        ++asked;
      }
    });
    QueryFriends("page " + std::to_string(page), 1, 5);
    Tick();
    while (!is_between) std::this_thread::yield();
    is_coming = true;
    if (page % 2 == 0) {
      Logout("out " + std::to_string(page));
      const int asked_before = asked;
      is_between = false;
      Settle();
      EXPECT_EQ(asked, asked_before);
    }
    TickUntilAnswered();
    Settle();
  }
  EXPECT_GT(ticks_between, 0);
  eos_standin::SetHook(nullptr);
}

// One of them on the tick thread, which has the lock already: it does not wait for the others.
TEST_F(Friends, OfManyPagesAreAskedForOnEveryKindOfThread) {
  constexpr int kFriends = 2000;
  World(TestWorld(kFriends));
  GoQuiet();
  SignIn();
  for (const char* seq_id : {"a", "b", "c", "d"}) QueryFriends(seq_id, 1, kFriends);
  Tick();
  system_calls::FailCreateThread(true);
  QueryFriends("without a thread", 1, kFriends);
  TickUntilAnswered();
  for (const Result& result : TakeResults()) EXPECT_EQ(result.friends.size(), 2000U);
}

TEST_F(Friends, AreAskedForOnePriorityAboveTheTick) {
  World(TestWorld(1));
  SignIn();
  std::atomic<int> worker = THREAD_PRIORITY_ERROR_RETURN;
  eos_standin::SetHook([&worker](const std::string& call) {
    if (call == "EOS_UserInfo_QueryUserInfo") worker = GetThreadPriority(GetCurrentThread());
  });
  for (const auto& [tick, expected] : {std::pair(THREAD_PRIORITY_LOWEST, -1),
                                       {THREAD_PRIORITY_NORMAL, 1},
                                       {THREAD_PRIORITY_HIGHEST, THREAD_PRIORITY_HIGHEST},
                                       {THREAD_PRIORITY_TIME_CRITICAL, 15}}) {
    ASSERT_NE(SetThreadPriority(GetCurrentThread(), tick), 0);
    QueryFriends("priority " + std::to_string(tick), 1, 10);
    TickUntilAnswered();
    EXPECT_EQ(worker, expected);
  }
  eos_standin::SetHook(nullptr);
}

}  // namespace
}  // namespace zelk_test
