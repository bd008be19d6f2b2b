// The entry points, the platform's beginning and end, signing out, and what a shutdown overtakes.
#include <algorithm>
#include <atomic>
#include <thread>

#include "eos_init.h"
#include "plugin_test.h"

namespace zelk_test {
namespace {

using zelk_test::PrintTo;

class Lifecycle : public PluginTest {};

TEST_F(Lifecycle, CallsBeforeTheFirstLoginTouchNothing) {
  Tick();
  Shutdown();
  QueryFriends("friends", 1, 10);
  EXPECT_EQ(TakeResult().base.ret_code, kResultNeedLogin);
  EXPECT_THAT(eos_standin::Calls(), IsEmpty());
  Logout("out");
  ExpectAnswers("out", 0);
  Tick();
  EXPECT_EQ(CountLines("EpicAuth construction"), 1);
  EXPECT_EQ(CountCalls("EOS_Auth_Logout"), 0);
}

TEST_F(Lifecycle, FriendMessagesGoToTheCore) {
  using SendMessage = void (*)(const zelk::FriendReqInfo&, const zelk::SdkString&);
  const auto send = reinterpret_cast<SendMessage>(plugin().Find(zelk::host::kSendMessageName));
  ASSERT_NE(send, nullptr);
  {
    zelk::FriendReqInfo info;
    info.type = 7;
    send(info, "Epic");
    const auto sent = zelk::core_standin::SentMessages();
    ASSERT_EQ(sent.size(), 1U);
    EXPECT_EQ(sent[0].info.type, 7);
    EXPECT_EQ(sent[0].channel, "Epic");
  }
}

// --- signing out ---

TEST_F(Lifecycle, LogoutIsAnsweredAtOnceAndForgetsEverything) {
  SignIn();
  const std::string id = kPlayerId;
  ForgetLines();
  Logout("out");
  const Result result = TakeResult();
  EXPECT_EQ(result.type, "BaseResult");
  EXPECT_EQ(result.observer_id, kBaseResultObserver);
  EXPECT_TRUE(result.flag);
  EXPECT_EQ(result.base.method_id, kMethodIDAuthLogout);
  EXPECT_EQ(result.base.ret_code, kResultSuccess);
  Tick(2);
  EXPECT_THAT(OwnLines(),
              ElementsAre("1 Logout [ out ], epic logout",
                          "1 EpicAccountIdFromString Call EOS_EpicAccountId_FromString, openid "
                          "str:" +
                              id,
                          "1 EpicAccountIdToString EOS_EpicAccountId_ToString result:" + id,
                          "1 LogoutCompleteCallbackFn [EOS SDK] Logout Success - User: " + id,
                          "1 DeletePersistentAuthCallback [EOS SDK] DeletePersistentAuth Success"));
  EXPECT_EQ(CallsOf("EOS_Auth_Logout").at(0), (Json{{"ApiVersion", 1}, {"LocalUserId", id}}));
  EXPECT_EQ(CallsOf("EOS_Auth_DeletePersistentAuth").at(0),
            (Json{{"ApiVersion", 2}, {"RefreshToken", nullptr}}));
  EXPECT_EQ(StoredParameters(), "");
  AutoLogin("auto");
  const Result nothing_stored = TakeResult();
  EXPECT_EQ(nothing_stored.base.method_id, kMethodIDAuthAutoLogin);
  EXPECT_EQ(nothing_stored.base.ret_code, kResultInvalidArgument);
  QueryFriends("friends", 1, 10);
  EXPECT_EQ(TakeResult().base.ret_code, kResultNeedLogin);
  SignIn();  // both attempts: the persistent authorisation is gone
  ExpectAnswers("sign-in", 2);
  EXPECT_EQ(CountCalls("EOS_Auth_Login"), 4);
}

TEST_F(Lifecycle, LogoutThatEosRefusesIsASuccessAllTheSame) {
  SignIn();
  Fail({.call = "EOS_Auth_Logout", .result = EOS_TooManyRequests});
  Fail({.call = "EOS_Auth_DeletePersistentAuth", .result = EOS_NoConnection});
  ForgetLines();
  Logout("out");
  EXPECT_EQ(TakeResult().base.ret_code, kResultSuccess);
  Tick(2);
  const std::vector<std::string> lines = OwnLines();
  ASSERT_EQ(lines.size(), 7U);
  EXPECT_EQ(lines[2], "1 EpicEResultToString EOS_EResult_ToString result:EOS_TooManyRequests");
  EXPECT_THAT(lines[4], HasSubstr("1 LogoutCompleteCallbackFn [EOS SDK] Logout Failed - User: "));
  EXPECT_THAT(lines[4], HasSubstr(", Result: EOS_TooManyRequests"));
  EXPECT_EQ(lines[6],
            "1 DeletePersistentAuthCallback [EOS SDK] DeletePersistentAuth Failed: "
            "EOS_NoConnection");
}

TEST_F(Lifecycle, LogoutWithNobodySignedInStillAsksEos) {
  SignIn();
  Logout("out");
  Logout("again");
  for (const char* call : {"EOS_Auth_Logout", "EOS_Auth_DeletePersistentAuth"}) {
    eos_standin::AddRule({.call = call, .null_data = true, .completes_twice = true});
  }
  Logout("null");
  for (const Result& result : TakeResults()) EXPECT_EQ(result.base.ret_code, kResultSuccess);
  Tick(2);
  EXPECT_EQ(CountCalls("EOS_Auth_Logout"), 3);
  EXPECT_TRUE(CallsOf("EOS_Auth_Logout").at(1)["LocalUserId"].is_null());
  EXPECT_EQ(CountLines("NULL Data for CallbackFn"), 4);
}

// --- the shutdown ---

TEST_F(Lifecycle, ShutdownIsFinalAndAnsweredFor) {
  SignIn();
  ForgetLines();
  Shutdown();
  EXPECT_THAT(OwnLines(), IsEmpty());
  Shutdown();
  EXPECT_THAT(OwnLines(),
              ElementsAre("1 EpicEResultToString EOS_EResult_ToString result:EOS_NotConfigured",
                          "2 ShutDown Epic EOS SDK, ShutDown failed with third error: "
                          ",EOS_NotConfigured"));
  const std::size_t calls = eos_standin::Calls().size();
  Tick(3);
  LogIn("in", kPortal, "", kMethodIDAuthBind);  // a login method that leaves the store alone
  const Result login = TakeResult();
  EXPECT_EQ(login.type, "AuthResult");
  EXPECT_EQ(login.base.ret_code, kResultNotInitialized);
  EXPECT_EQ(CountLines("[in], epic_platform_handle_ is null"), 1);
  QueryFriends("friends", 1, 10);
  EXPECT_EQ(TakeResult().base.ret_code, kResultNeedLogin);
  EXPECT_EQ(StoredParameters(), kPortal);
  Logout("out");
  const Result logout = TakeResult();
  EXPECT_EQ(logout.type, "BaseResult");
  EXPECT_EQ(logout.base.ret_code, kResultNotInitialized);
  EXPECT_EQ(logout.base.method_id, kMethodIDAuthLogout);
  EXPECT_EQ(StoredParameters(), "");
  EXPECT_EQ(eos_standin::Calls().size(), calls);
}

struct OvertakenRow {
  const char* name;
  const char* call;  // that EOS does not answer in time
  bool completes_on_release = false;
  zelk::ResultCode ret_code = kResultNotInitialized;
};

class Overtaken : public Lifecycle, public testing::WithParamInterface<OvertakenRow> {};

// Whatever stage a login is at: one answer, no new work for EOS, nothing left over.
TEST_P(Overtaken, LoginIsAnsweredOnce) {
  const OvertakenRow& row = GetParam();
  World(NewcomerWorld());
  eos_standin::CompleteOnRelease(row.completes_on_release);
  eos_standin::AddRule({.call = row.call, .times = 0, .after_ticks = 1'000'000});
  LogIn("s1", kPortal);
  LogIn("s2", kPortal);
  Tick(20);
  EXPECT_THAT(TakeResults(), IsEmpty());
  const int64_t logins = CountCalls("EOS_Auth_Login");
  Shutdown();
  EXPECT_EQ(CountCalls("EOS_Auth_Login"), logins);
  const std::vector<Result> results = TakeResults();
  ASSERT_EQ(results.size(), 2U);
  for (const Result& result : results) {
    EXPECT_EQ(result.base.ret_code, row.ret_code);
    EXPECT_EQ(CountLines("[" + result.seq_id + "], epic_platform_handle_ is null"),
              row.ret_code == kResultNotInitialized ? 1 : 0);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Stages, Overtaken,
    testing::Values(OvertakenRow{.name = "Auth", .call = "EOS_Auth_Login"},
                    OvertakenRow{.name = "Connect", .call = "EOS_Connect_Login"},
                    OvertakenRow{.name = "CreateUser", .call = "EOS_Connect_CreateUser"},
                    OvertakenRow{.name = "UserInfo", .call = "EOS_UserInfo_QueryUserInfo"},
                    OvertakenRow{.name = "AuthCompleting",
                                 .call = "EOS_Auth_Login",
                                 .completes_on_release = true},
                    OvertakenRow{.name = "ConnectCompleting",
                                 .call = "EOS_Connect_Login",
                                 .completes_on_release = true,
                                 .ret_code = kResultThirdError},
                    OvertakenRow{.name = "CreateUserCompleting",
                                 .call = "EOS_Connect_CreateUser",
                                 .completes_on_release = true,
                                 .ret_code = kResultThirdError},
                    OvertakenRow{.name = "UserInfoCompleting",
                                 .call = "EOS_UserInfo_QueryUserInfo",
                                 .completes_on_release = true,
                                 .ret_code = kResultSuccess}),
    kNameOfRow);

// --- completions without what they should bring ---

TEST_F(Lifecycle, CompletionsThatLackSomethingOrComeTwiceAreLoggedAndLoseNothing) {
  const struct {
    const char* call;
    const char* function;  // that EOS calls
    const char* without_data;
    const char* without_client_data;
  } rows[] = {
      {"EOS_Auth_Login", "LoginCompleteCallbackFn", "NULL Data for LoginCompleteCallbackFn",
       "LoginCompleteCallbackFn ClientData is null, memory leak"},
      {"EOS_Connect_Login", "ConnectLoginCompleteCb", "NULL Data for ConnectLoginCompleteCb",
       "NULL ClientData for ConnectLoginCompleteCb"},
      {"EOS_Connect_CreateUser", "ConnectCreateUserCompleteCb",
       "NULL Data for ConnectCreateUserCompleteCb",
       "nullptr ClientData for ConnectCreateUserCompleteCb"},
      {"EOS_UserInfo_QueryUserInfo", "QueryUserInfoCompleteCallbackFn",
       "NULL Data for QueryUserInfoCompleteCallbackFn",
       "nullptr ClientData for QueryUserInfoCompleteCallbackFn"},
      {"EOS_Friends_QueryFriends", "QueryFriendsCompleteCallbackFn", "NULL Data for CallbackFn",
       "NULL ClientData for CallbackFn"},
      {"EOS_UserInfo_QueryUserInfo", "QueryFriendUserInfoCompleteCallbackFn",
       "NULL Data for CallbackFn", "NULL ClientData for CallbackFn"},
  };
  World(NewcomerWorld(1));
  SignIn();
  for (const auto& row : rows) {
    for (const eos_standin::Rule& rule : {eos_standin::Rule{.call = row.call, .null_data = true},
                                          {.call = row.call, .null_client_data = true},
                                          {.call = row.call, .completes_twice = true}}) {
      const std::string line = std::string("3 ") + row.function + " " +
                               (rule.null_data ? row.without_data : row.without_client_data);
      eos_standin::ClearRules();
      eos_standin::AddRule(rule);
      Fail({.call = "EOS_Connect_Login", .result = EOS_InvalidUser});
      ForgetLines();
      const bool is_friends = std::string(row.function).find("Friend") != std::string::npos;
      const std::string seq_id = line + (rule.completes_twice ? " twice" : "");
      is_friends ? QueryFriends(seq_id, 1, 10) : LogIn(seq_id, kPortal);
      while (!testing::Value(OwnLines(), Contains(line))) Tick();
      Settle();
      EXPECT_EQ(std::ranges::count(OwnLines(), line), 1) << line;
      EXPECT_EQ(TakeResults().size(), rule.completes_twice ? 1U : 0U) << line;
    }
  }
  Shutdown();
  for (const Result& result : TakeResults()) {
    EXPECT_EQ(result.base.ret_code,
              result.type == "AuthResult" ? kResultNotInitialized : kResultNeedLogin);
  }
}

#if !defined(NDEBUG)
TEST_F(Lifecycle, CompletionWithoutTheLockStopsABuildWithAssertions) {
  LogIn("s1", kPortal);
  eos_standin::CompleteOnRelease(true);
  EXPECT_DEATH(EOS_Shutdown(), "IsHeldByThisThread");
}
#endif

}  // namespace
}  // namespace zelk_test
