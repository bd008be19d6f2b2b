// Every EOS call of every flow with every result that it may give, a login's calls also two by two:
// the answer is always the one that a model of the flow expects, and it comes once.
#include <array>
#include <iostream>

#include "core_contract/mmkv.h"
#include "core_contract/results.h"
#include "plugin_test.h"

namespace zelk_test {
namespace {

using zelk_test::PrintTo;

// Those that mean something of their own to some call, some that mean nothing to any, and success.
// Success is last: by then nothing that is fetched once and kept was there to be kept.
constexpr int32_t kInvalidUser = 3;
constexpr int32_t kInvalidParameters = 10;
constexpr std::array kCodes{kInvalidUser, 18, kWillRetry, 1020, 1060,       4,    2,
                            10,           8,  17,         1,    0x7FFFFFFF, 4242, 0};

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
  int64_t times;  // how often it fails; 0 is always
};
constexpr std::array<StageRow, kStages> kChain{{
    {"Initialize", "EOS_Initialize", 0},
    {"SetLogCallback", "EOS_Logging_SetCallback", 0},
    {"CreatePlatform", "EOS_Platform_Create", 0},
    {"AuthInterface", "EOS_Platform_GetAuthInterface", 0},
    {"FirstLogin", "EOS_Auth_Login", 1},
    {"ConnectInterface", "EOS_Platform_GetConnectInterface", 0},
    {"NotifyExpiration", "EOS_Connect_AddNotifyAuthExpiration", 0},
    {"SecondLogin", "EOS_Auth_Login", 1},
    {"CopyToken", "EOS_Auth_CopyUserAuthToken", 0},
    {"AccountText", "EOS_EpicAccountId_ToString", 0},
    {"ConnectLogin", "EOS_Connect_Login", 1},
    {"CreateUser", "EOS_Connect_CreateUser", 1},
    {"ProductUserText", "EOS_ProductUserId_ToString", 0},
    {"UserInfoInterface", "EOS_Platform_GetUserInfoInterface", 0},
    {"AccountFromText", "EOS_EpicAccountId_FromString", 0},
    {"QueryUserInfo", "EOS_UserInfo_QueryUserInfo", 1},
    {"CopyUserInfo", "EOS_UserInfo_CopyUserInfo", 0},
}};

// The code that each stage gives; 0 leaves it its own.
using Faults = std::array<int32_t, kStages>;

// What is asserted of an answer: two of them compare by their text.
std::string Failed(int32_t ret_code, int32_t third_code) {
  return "AuthResult " + std::to_string(ret_code) + "/" + std::to_string(third_code);
}
std::string SignedIn(bool openid, bool nickname, bool product_user) {
  return std::string("AuthPluginResult") + (openid ? " openid" : "") +
         (nickname ? " nickname" : "") + (product_user ? " productUserID" : "");
}
std::string TextOf(const Result& result) {
  if (result.type != "AuthPluginResult") {
    return Failed(result.base.ret_code, result.base.third_code);
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
    if (!BringUp(faults)) return Failed(zelk::kResultNotInitialized, 0);
    const bool first_is_good = persisted && faults[kFirstLogin] == 0;
    if (!first_is_good && faults[kSecondLogin] != 0) return Third(faults[kSecondLogin]);
    if (faults[kCopyToken] != 0) return Third(faults[kCopyToken]);
    if (faults[kConnectInterface] != 0) return Third(kInvalidParameters);
    const bool creates_user = faults[kConnectLogin] == kInvalidUser;
    if (faults[kConnectLogin] != 0 && !creates_user) return Third(faults[kConnectLogin]);
    if (creates_user && faults[kCreateUser] != 0) return Third(faults[kCreateUser]);
    const bool asked = !creates_user || faults[kQueryUserInfo] == 0;
    const bool copied = faults[kUserInfoInterface] == 0 && faults[kAccountFromText] == 0 &&
                        faults[kAccountText] == 0 && faults[kCopyUserInfo] == 0;
    return SignedIn(faults[kAccountText] == 0, asked && copied, faults[kProductUserText] == 0);
  }

 private:
  static std::string Third(int32_t code) { return Failed(zelk::kResultThirdError, code); }

  bool BringUp(const Faults& faults) {
    if (!has_platform_) {
      // Once initialised, EOS refuses to be initialised again.
      if (initialized_ || faults[kInitialize] != 0) return false;
      initialized_ = true;
      has_platform_ = faults[kCreatePlatform] == 0;
      if (!has_platform_) return false;
    }
    has_auth_interface_ = has_auth_interface_ || faults[kAuthInterface] == 0;
    return has_auth_interface_;
  }

  bool initialized_ = false;
  bool has_platform_ = false;
  bool has_auth_interface_ = false;
};

struct LoginFlow {
  const char* name;
  bool automatic;    // with what an earlier process stored and persisted
  bool is_newcomer;  // whom EOS Connect does not know
};
constexpr std::array kLoginFlows{LoginFlow{"Login", false, false},
                                 LoginFlow{"FirstLogin", false, true},
                                 LoginFlow{"AutoLogin", true, false}};

struct ChainRow {
  std::string name;
  LoginFlow flow;
  std::size_t stage;
  std::vector<int32_t> codes;
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
      for (const int32_t code : kCodes) {
        rows.push_back({name + std::to_string(code), flow, stage, {code}});
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
      if (faults[stage] == 0) continue;
      const bool lets_first_login_pass = stage == kSecondLogin && faults[kFirstLogin] == 0;
      Fail(kChain[stage].call, faults[stage], kChain[stage].times, lets_first_login_pass ? 1 : 0);
    }
  }

  // One login from beginning to end. False when it did not go as expected.
  bool Run(Faults faults) {
    const LoginFlow& flow = GetParam().flow;
    if (flow.is_newcomer && faults[kConnectLogin] == 0) faults[kConnectLogin] = kInvalidUser;
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
  for (const int32_t code : GetParam().codes) {
    Faults faults{};
    faults[GetParam().stage] = code;
    ASSERT_TRUE(Run(faults));
    for (std::size_t second = GetParam().stage + 1; second < kStages && code != 0; ++second) {
      for (const int32_t second_code : kCodes) {
        faults = {};
        faults[GetParam().stage] = code;
        faults[second] = second_code;
        if (second_code == 0) continue;
        ASSERT_TRUE(Run(faults));
      }
    }
  }
  ASSERT_TRUE(Run({}));  // what the faults left behind
  PrintRuns(runs_);
}

INSTANTIATE_TEST_SUITE_P(Chain, LoginSweep, testing::ValuesIn(ChainRows()),
                         [](const auto& row) { return row.param.name; });

// --- logout ---

struct LogoutRow {
  const char* name;
  const char* call;
  int64_t times;
  bool answered;  // when the call fails
};

class LogoutSweep : public SweepTest, public testing::WithParamInterface<LogoutRow> {};

TEST_P(LogoutSweep, AnswersSuccessAndForgetsThePlayer) {
  const LogoutRow& row = GetParam();
  for (const int32_t code : kCodes) {
    SCOPED_TRACE(code);
    const bool answered = row.answered || code == 0;
    eos_standin::ClearRules();
    if (row.answered) LogIn("in", kPortal);
    Settle();
    Fail(row.call, code, row.times);
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
    EXPECT_EQ(TakeResult().base.ret_code, zelk::kResultNeedLogin);
  }
  PrintRuns(kCodes.size());
}

INSTANTIATE_TEST_SUITE_P(
    Calls, LogoutSweep,
    testing::Values(LogoutRow{"AuthInterface", "EOS_Platform_GetAuthInterface", 0, false},
                    LogoutRow{"Logout", "EOS_Auth_Logout", 1, true},
                    LogoutRow{"DeletePersistentAuth", "EOS_Auth_DeletePersistentAuth", 1, true},
                    LogoutRow{"AccountFromText", "EOS_EpicAccountId_FromString", 0, true},
                    LogoutRow{"AccountText", "EOS_EpicAccountId_ToString", 0, true}),
    [](const auto& row) { return row.param.name; });

// --- friends ---

constexpr char kFriendId[] = "ffffffffffffffffffffffffffffff01";

// What a failing call makes of a page of three.
struct PageEffect {
  int32_t ret_code;
  bool passes_code_on;    // as the third code
  bool retry_is_lasting;  // the retry that EOS announces leads to the whole page
  std::size_t friends;
  std::size_t detailed;  // of them, with a name
};
constexpr PageEffect kNone{0, false, false, 3, 3};
constexpr PageEffect kRefused{zelk::kResultNeedLogin, false, false, 0, 0};
constexpr PageEffect kUnknown{zelk::kResultUnknownError, false, false, 0, 0};
constexpr PageEffect kEmpty{0, false, false, 0, 0};
constexpr PageEffect kOneLeftOut{0, false, false, 2, 2};
constexpr PageEffect kOneWithoutDetails{0, false, false, 3, 2};

struct FriendRow {
  const char* name;
  const char* call;
  const char* target;
  int64_t times;
  PageEffect effect;
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
  void ExpectPage(const Result& result, const PageEffect& effect, int32_t code) {
    EXPECT_EQ(result.type, "FriendResult");
    EXPECT_EQ(result.base.ret_code, effect.ret_code);
    EXPECT_EQ(result.base.third_code, effect.passes_code_on ? code : effect.ret_code);
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
  for (const int32_t code : kCodes) {
    SCOPED_TRACE(code);
    const bool retried = code == kWillRetry && row.effect.retry_is_lasting;
    eos_standin::ClearRules();
    eos_standin::AddRule(
        {.call = row.call, .result = code, .times = row.times, .target = row.target});
    const std::string seq_id = "page " + std::to_string(code);
    QueryFriends(seq_id, 1, 10);
    if (retried && row.effect.passes_code_on) ExpectAnswers(seq_id, 2);
    TickUntilAnswered();
    Settle();
    const std::vector<Result> results = TakeResults();
    ASSERT_EQ(results.size(), retried && row.effect.passes_code_on ? 2U : 1U);
    if (!retried || row.effect.passes_code_on) {
      ExpectPage(results.front(), code == 0 ? kNone : row.effect, code);
    }
    if (retried) ExpectPage(results.back(), kNone, code);
  }
  PrintRuns(kCodes.size());
}

INSTANTIATE_TEST_SUITE_P(
    Calls, FriendSweep,
    testing::Values(
        FriendRow{"AccountFromText", "EOS_EpicAccountId_FromString", kPlayerId, 0, kRefused},
        FriendRow{"Account", "EOS_EpicAccountId_IsValid", kPlayerId, 0, kRefused},
        FriendRow{"FriendsInterface", "EOS_Platform_GetFriendsInterface", "", 0, kUnknown},
        FriendRow{"QueryFriends", "EOS_Friends_QueryFriends", "", 1,
                  PageEffect{zelk::kResultThirdError, true, true, 0, 0}},
        FriendRow{"AccountText", "EOS_EpicAccountId_ToString", kPlayerId, 0, kNone},
        FriendRow{"Count", "EOS_Friends_GetFriendsCount", "", 0, kEmpty},
        FriendRow{"AtIndex", "EOS_Friends_GetFriendAtIndex", "", 1, kOneLeftOut},
        FriendRow{"Friend", "EOS_EpicAccountId_IsValid", kFriendId, 0, kOneLeftOut},
        FriendRow{"FriendText", "EOS_EpicAccountId_ToString", kFriendId, 0, kOneWithoutDetails},
        FriendRow{"Status", "EOS_Friends_GetStatus", kFriendId, 0, kNone},
        FriendRow{"UserInfoInterface", "EOS_Platform_GetUserInfoInterface", "", 0, kUnknown},
        FriendRow{"FriendFromText", "EOS_EpicAccountId_FromString", kFriendId, 0,
                  kOneWithoutDetails},
        FriendRow{"QueryUserInfo", "EOS_UserInfo_QueryUserInfo", kFriendId, 1,
                  PageEffect{0, false, true, 3, 2}},
        FriendRow{"CopyUserInfo", "EOS_UserInfo_CopyUserInfo", kFriendId, 0, kOneWithoutDetails}),
    [](const auto& row) { return row.param.name; });

}  // namespace
}  // namespace zelk_test
