// Every EOS call of every flow with every result that it may give, a login's calls also two by two:
// the answer is always the one that a model of the flow expects, and it comes once.
#include <array>
#include <iostream>

#include "core_contract/mmkv.h"
#include "eos_common.h"
#include "plugin_test.h"

namespace zelk_test {
namespace {

using zelk_test::PrintTo;

// Those that mean something of their own to some call, some that mean nothing to any, and success.
// Success is last: by then nothing that is fetched once and kept was there to be kept.
constexpr std::array kCodes{
    EOS_InvalidUser,      EOS_NotFound,    EOS_OperationWillRetry, EOS_Auth_PinGrantCode,
    EOS_Auth_MFARequired, EOS_InvalidAuth, EOS_InvalidCredentials, EOS_InvalidParameters,
    EOS_TooManyRequests,  EOS_Canceled,    EOS_NoConnection,       EOS_UnexpectedError,
    EOS_EResult{4242},    EOS_Success};

class SweepTest : public PluginTest {
 protected:
  SweepTest() { GoQuiet(); }

  static void PrintRuns(int runs) {
    RecordProperty("runs", runs);
    std::cout << "Sweep: " << runs << " runs" << std::endl;
  }
};

// --- the login chain ---

enum Stage {
  kInitialize,
  kSetLogCallback,
  kCreatePlatform,
  kAuthInterface,
  kFirstLogin,
  kConnectInterface,
  kNotifyExpiration,
  kSecondLogin,
  kCopyToken,
  kAccountText,
  kConnectLogin,
  kCreateUser,
  kProductUserText,
  kUserInfoInterface,
  kAccountFromText,
  kQueryUserInfo,
  kCopyUserInfo,
  kStages,
};

struct StageRow {
  const char* name;
  const char* call;
  int64_t times = 0;  // how often it fails; 0 is always
};
constexpr std::array<StageRow, kStages> kChain{{
    {.name = "Initialize", .call = "EOS_Initialize"},
    {.name = "SetLogCallback", .call = "EOS_Logging_SetCallback"},
    {.name = "CreatePlatform", .call = "EOS_Platform_Create"},
    {.name = "AuthInterface", .call = "EOS_Platform_GetAuthInterface"},
    {.name = "FirstLogin", .call = "EOS_Auth_Login", .times = 1},
    {.name = "ConnectInterface", .call = "EOS_Platform_GetConnectInterface"},
    {.name = "NotifyExpiration", .call = "EOS_Connect_AddNotifyAuthExpiration"},
    {.name = "SecondLogin", .call = "EOS_Auth_Login", .times = 1},
    {.name = "CopyToken", .call = "EOS_Auth_CopyUserAuthToken"},
    {.name = "AccountText", .call = "EOS_EpicAccountId_ToString"},
    {.name = "ConnectLogin", .call = "EOS_Connect_Login", .times = 1},
    {.name = "CreateUser", .call = "EOS_Connect_CreateUser", .times = 1},
    {.name = "ProductUserText", .call = "EOS_ProductUserId_ToString"},
    {.name = "UserInfoInterface", .call = "EOS_Platform_GetUserInfoInterface"},
    {.name = "AccountFromText", .call = "EOS_EpicAccountId_FromString"},
    {.name = "QueryUserInfo", .call = "EOS_UserInfo_QueryUserInfo", .times = 1},
    {.name = "CopyUserInfo", .call = "EOS_UserInfo_CopyUserInfo"},
}};

// The code that each stage gives; success leaves it its own.
using Faults = std::array<EOS_EResult, kStages>;

// What is asserted of an answer: two of them compare by their text.
std::string Failed(int32_t ret_code, int32_t third_code, const std::string& third_msg) {
  return "AuthResult " + std::to_string(ret_code) + "/" + std::to_string(third_code) + third_msg;
}
std::string SignedIn(bool openid, bool nickname, bool product_user) {
  return std::string("AuthPluginResult") + (openid ? " openid" : "") +
         (nickname ? " nickname" : "") + (product_user ? " productUserID" : "");
}
std::string TextOf(const Result& result) {
  if (result.type != "AuthPluginResult") {
    return Failed(result.base.ret_code, result.base.third_code, result.base.third_msg.c_str());
  }
  const Json document = Json::parse(result.login.channel_info);
  return SignedIn(document["openid"] != "", document["nickname"] != "",
                  document["productUserID"] != "");
}

// The flow of a login, and what a process keeps from one login to the next.
class LoginModel {
 public:
  // `persisted`: EOS still has an authorisation from an earlier sign-in.
  std::string Answer(const Faults& faults, bool persisted) {
    if (!BringUp(faults)) return Failed(kResultNotInitialized, 0, "");
    const bool first_is_good = persisted && faults[kFirstLogin] == EOS_Success;
    if (!first_is_good && faults[kSecondLogin] != EOS_Success) return Third(faults[kSecondLogin]);
    if (faults[kCopyToken] != EOS_Success) return Third(faults[kCopyToken]);
    if (faults[kConnectInterface] != EOS_Success) return Third(EOS_InvalidParameters);
    const bool creates_user = faults[kConnectLogin] == EOS_InvalidUser;
    if (faults[kConnectLogin] != EOS_Success && !creates_user) return Third(faults[kConnectLogin]);
    if (creates_user && faults[kCreateUser] != EOS_Success) return Third(faults[kCreateUser]);
    const bool asked = !creates_user || faults[kQueryUserInfo] == EOS_Success;
    const bool copied = faults[kUserInfoInterface] == EOS_Success &&
                        faults[kAccountFromText] == EOS_Success &&
                        faults[kAccountText] == EOS_Success && faults[kCopyUserInfo] == EOS_Success;
    return SignedIn(faults[kAccountText] == EOS_Success, asked && copied,
                    faults[kProductUserText] == EOS_Success);
  }

 private:
  static std::string Third(EOS_EResult code) {
    return Failed(kResultThirdError, static_cast<int32_t>(code), EOS_EResult_ToString(code));
  }

  bool BringUp(const Faults& faults) {
    if (!has_platform_) {
      // Once initialised, EOS refuses to be initialised again.
      if (initialized_ || faults[kInitialize] != EOS_Success) return false;
      initialized_ = true;
      has_platform_ = faults[kCreatePlatform] == EOS_Success;
      if (!has_platform_) return false;
    }
    has_auth_interface_ = has_auth_interface_ || faults[kAuthInterface] == EOS_Success;
    return has_auth_interface_;
  }

  bool initialized_ = false;
  bool has_platform_ = false;
  bool has_auth_interface_ = false;
};

struct LoginFlow {
  const char* name;
  bool automatic = false;    // with what an earlier process stored and persisted
  bool is_newcomer = false;  // whom EOS Connect does not know
};
constexpr std::array kLoginFlows{LoginFlow{.name = "Login"},
                                 LoginFlow{.name = "FirstLogin", .is_newcomer = true},
                                 LoginFlow{.name = "AutoLogin", .automatic = true}};

struct ChainRow {
  std::string name;
  LoginFlow flow;
  std::size_t stage;
  std::vector<EOS_EResult> codes;
};

// What is called once in a process has a process for every code.
std::vector<ChainRow> ChainRows() {
  std::vector<ChainRow> rows;
  for (const LoginFlow& flow : kLoginFlows) {
    for (std::size_t stage = 0; stage < kStages; ++stage) {
      const std::string name = std::string(flow.name) + kChain[stage].name;
      if (stage != kSetLogCallback && stage != kCreatePlatform) {
        rows.push_back({name, flow, stage, {kCodes.begin(), kCodes.end()}});
        continue;
      }
      for (const EOS_EResult code : kCodes) {
        rows.push_back({name + std::to_string(static_cast<int32_t>(code)), flow, stage, {code}});
      }
    }
  }
  return rows;
}

class LoginSweep : public SweepTest, public testing::WithParamInterface<ChainRow> {
 protected:
  static void Script(const Faults& faults) {
    eos_standin::ClearRules();
    for (std::size_t stage = 0; stage < faults.size(); ++stage) {
      if (faults[stage] == EOS_Success) continue;
      const bool lets_first_login_pass =
          stage == kSecondLogin && faults[kFirstLogin] == EOS_Success;
      Fail({.call = kChain[stage].call,
            .result = faults[stage],
            .times = kChain[stage].times,
            .skip = lets_first_login_pass ? 1 : 0});
    }
  }

  // One login from beginning to end. False when it did not go as expected.
  bool Run(Faults faults) {
    const LoginFlow& flow = GetParam().flow;
    if (flow.is_newcomer && faults[kConnectLogin] == EOS_Success)
      faults[kConnectLogin] = EOS_InvalidUser;
    if (!flow.automatic) std::filesystem::remove(directory() / "EOS_PersistentAuth.json");
    const bool persisted = std::filesystem::exists(directory() / "EOS_PersistentAuth.json");
    const std::string text =
        R"({"LoginMode":"AccountPortal","run":)" + std::to_string(++runs_) + "}";
    const std::string expected = model_.Answer(faults, persisted);
    Script(faults);
    if (flow.automatic) {
      AutoLogin("s1");
    } else {
      LogIn("s1", text);
    }
    Settle();
    const std::string stored = flow.automatic ? kPortal : expected.starts_with("AuthP") ? text : "";
    EXPECT_EQ(TextOf(TakeResult()), expected);
    EXPECT_EQ(StoredParameters(), stored);
    if (HasFailure()) ADD_FAILURE() << "faults by stage: " << testing::PrintToString(faults);
    return !HasFailure();
  }

  int runs_ = 0;

 private:
  LoginModel model_;
};

TEST_P(LoginSweep, AnswersEveryFaultAndEveryPairAsTheModel) {
  if (GetParam().flow.automatic) {
    zelk::MMKV::defaultMMKV(zelk::kMmkvSingleProcess, nullptr)
        ->set(kPortal, "epic_login_extra_json");
  }
  for (const EOS_EResult code : GetParam().codes) {
    Faults faults{};
    faults[GetParam().stage] = code;
    ASSERT_TRUE(Run(faults));
    for (std::size_t second = GetParam().stage + 1; second < kStages && code != EOS_Success;
         ++second) {
      for (const EOS_EResult second_code : kCodes) {
        if (second_code == EOS_Success) continue;
        faults = {};
        faults[GetParam().stage] = code;
        faults[second] = second_code;
        ASSERT_TRUE(Run(faults));
      }
    }
  }
  ASSERT_TRUE(Run({}));  // what the faults left behind
  PrintRuns(runs_);
}

INSTANTIATE_TEST_SUITE_P(Chain, LoginSweep, testing::ValuesIn(ChainRows()), kNameOfRow);

// --- logout ---

struct LogoutRow {
  const char* name;
  const char* call;
  int64_t times = 0;
  bool answered = true;  // when the call fails
};

class LogoutSweep : public SweepTest, public testing::WithParamInterface<LogoutRow> {};

TEST_P(LogoutSweep, AnswersSuccessAndForgetsThePlayer) {
  const LogoutRow& row = GetParam();
  for (const EOS_EResult code : kCodes) {
    SCOPED_TRACE(static_cast<int32_t>(code));
    const bool answered = row.answered || code == EOS_Success;
    eos_standin::ClearRules();
    if (row.answered) LogIn("in", kPortal);
    Settle();
    Fail({.call = row.call, .result = code, .times = row.times});
    if (!row.answered) LogIn("in", kPortal);
    Settle();
    EXPECT_EQ(TakeResult().type, answered ? "AuthPluginResult" : "AuthResult");
    Logout(answered ? "out" : "unanswered");
    ExpectAnswers("unanswered", 0);
    Settle();
    const std::vector<Result> results = TakeResults();
    ASSERT_EQ(results.size(), answered ? 1U : 0U);
    for (const Result& result : results) {
      EXPECT_EQ(result.type, "BaseResult");
      EXPECT_EQ(result.base.ret_code, 0);
    }
    EXPECT_EQ(StoredParameters(), "");
    QueryFriends("friends", 1, 10);
    EXPECT_EQ(TakeResult().base.ret_code, kResultNeedLogin);
  }
  PrintRuns(kCodes.size());
}

INSTANTIATE_TEST_SUITE_P(
    Calls, LogoutSweep,
    testing::Values(LogoutRow{.name = "AuthInterface",
                              .call = "EOS_Platform_GetAuthInterface",
                              .answered = false},
                    LogoutRow{.name = "Logout", .call = "EOS_Auth_Logout", .times = 1},
                    LogoutRow{.name = "DeletePersistentAuth",
                              .call = "EOS_Auth_DeletePersistentAuth",
                              .times = 1},
                    LogoutRow{.name = "AccountFromText", .call = "EOS_EpicAccountId_FromString"},
                    LogoutRow{.name = "AccountText", .call = "EOS_EpicAccountId_ToString"}),
    kNameOfRow);

// --- friends ---

constexpr char kFriendId[] = "ffffffffffffffffffffffffffffff01";

// What a failing call makes of a page of three.
struct PageEffect {
  zelk::ResultCode ret_code = kResultSuccess;
  bool passes_code_on = false;    // as the third code
  bool retry_is_lasting = false;  // the retry that EOS announces leads to the whole page
  std::size_t friends = 0;
  std::size_t detailed = 0;  // of them, with a name
};
constexpr PageEffect kNone{.friends = 3, .detailed = 3};
constexpr PageEffect kRefused{.ret_code = kResultNeedLogin};
constexpr PageEffect kUnknown{.ret_code = kResultUnknownError};
constexpr PageEffect kEmpty{};
constexpr PageEffect kOneLeftOut{.friends = 2, .detailed = 2};
constexpr PageEffect kOneWithoutDetails{.friends = 3, .detailed = 2};

struct FriendRow {
  const char* name;
  PageEffect effect;
  const char* call;
  int64_t times = 0;
  const char* target = "";
};

Json WorldOfThree() {
  Json world = TestWorld();
  for (const char digit : {'1', '2', '3'}) {
    std::string id = kFriendId;
    id.back() = digit;
    world["accounts"].push_back({{"name", id}, {"account_id", id}, {"display_name", "Friend"}});
    world["accounts"][0]["friends"].push_back({{"account_id", id}, {"status", "Friends"}});
  }
  return world;
}

class FriendSweep : public SweepTest, public testing::WithParamInterface<FriendRow> {
 protected:
  void ExpectPage(const Result& result, const PageEffect& effect, EOS_EResult code) {
    EXPECT_EQ(result.type, "FriendResult");
    EXPECT_EQ(result.base.ret_code, effect.ret_code);
    EXPECT_EQ(result.base.third_code,
              effect.passes_code_on ? static_cast<int32_t>(code) : effect.ret_code);
    if (effect.passes_code_on) {
      EXPECT_STREQ(result.base.ret_msg.c_str(), "third error, see third code");
      EXPECT_STREQ(result.base.third_msg.c_str(), EOS_EResult_ToString(code));
    }
    EXPECT_EQ(result.friends.size(), effect.friends);
    std::size_t detailed = 0;
    for (const zelk::PersonInfo& person : result.friends) {
      detailed += person.user_name.empty() ? 0 : 1;
      EXPECT_FALSE(person.extra_json.empty());
    }
    EXPECT_EQ(detailed, effect.detailed);
  }
};

TEST_P(FriendSweep, AnswersThePageThatIsLeft) {
  const FriendRow& row = GetParam();
  World(WorldOfThree());
  SignIn();
  for (const EOS_EResult code : kCodes) {
    SCOPED_TRACE(static_cast<int32_t>(code));
    const bool retried = code == EOS_OperationWillRetry && row.effect.retry_is_lasting;
    eos_standin::ClearRules();
    Fail({.call = row.call, .result = code, .times = row.times, .target = row.target});
    const std::string seq_id = "page " + std::to_string(static_cast<int32_t>(code));
    QueryFriends(seq_id, 1, 10);
    if (retried && row.effect.passes_code_on) ExpectAnswers(seq_id, 2);
    TickUntilAnswered();
    Settle();
    const std::vector<Result> results = TakeResults();
    ASSERT_EQ(results.size(), retried && row.effect.passes_code_on ? 2U : 1U);
    if (!retried || row.effect.passes_code_on) {
      ExpectPage(results.front(), code == EOS_Success ? kNone : row.effect, code);
    }
    if (retried) ExpectPage(results.back(), kNone, code);
  }
  PrintRuns(kCodes.size());
}

INSTANTIATE_TEST_SUITE_P(
    Calls, FriendSweep,
    testing::Values(FriendRow{.name = "AccountFromText",
                              .effect = kRefused,
                              .call = "EOS_EpicAccountId_FromString",
                              .target = kPlayerId},
                    FriendRow{.name = "Account",
                              .effect = kRefused,
                              .call = "EOS_EpicAccountId_IsValid",
                              .target = kPlayerId},
                    FriendRow{.name = "FriendsInterface",
                              .effect = kUnknown,
                              .call = "EOS_Platform_GetFriendsInterface"},
                    FriendRow{.name = "QueryFriends",
                              .effect = {.ret_code = kResultThirdError,
                                         .passes_code_on = true,
                                         .retry_is_lasting = true},
                              .call = "EOS_Friends_QueryFriends",
                              .times = 1},
                    FriendRow{.name = "AccountText",
                              .effect = kNone,
                              .call = "EOS_EpicAccountId_ToString",
                              .target = kPlayerId},
                    FriendRow{
                        .name = "Count", .effect = kEmpty, .call = "EOS_Friends_GetFriendsCount"},
                    FriendRow{.name = "AtIndex",
                              .effect = kOneLeftOut,
                              .call = "EOS_Friends_GetFriendAtIndex",
                              .times = 1},
                    FriendRow{.name = "Friend",
                              .effect = kOneLeftOut,
                              .call = "EOS_EpicAccountId_IsValid",
                              .target = kFriendId},
                    FriendRow{.name = "FriendText",
                              .effect = kOneWithoutDetails,
                              .call = "EOS_EpicAccountId_ToString",
                              .target = kFriendId},
                    FriendRow{.name = "Status",
                              .effect = kNone,
                              .call = "EOS_Friends_GetStatus",
                              .target = kFriendId},
                    FriendRow{.name = "UserInfoInterface",
                              .effect = kUnknown,
                              .call = "EOS_Platform_GetUserInfoInterface"},
                    FriendRow{.name = "FriendFromText",
                              .effect = kOneWithoutDetails,
                              .call = "EOS_EpicAccountId_FromString",
                              .target = kFriendId},
                    FriendRow{.name = "QueryUserInfo",
                              .effect = {.retry_is_lasting = true, .friends = 3, .detailed = 2},
                              .call = "EOS_UserInfo_QueryUserInfo",
                              .times = 1,
                              .target = kFriendId},
                    FriendRow{.name = "CopyUserInfo",
                              .effect = kOneWithoutDetails,
                              .call = "EOS_UserInfo_CopyUserInfo",
                              .target = kFriendId}),
    kNameOfRow);

}  // namespace
}  // namespace zelk_test
