// Many requests of every kind, in an order that a seed decides, while EOS fails, delays, repeats
// and loses its completions, two threads tick, and the end comes in the middle of it. Whatever
// happens, each request is answered once.
//
// ZELK_SOAK_REQUESTS and ZELK_SOAK_SEED in the environment say how many and which.
#include <array>
#include <atomic>
#include <cstdlib>
#include <iostream>
#include <random>
#include <set>
#include <thread>

#include "plugin_test.h"

namespace zelk_test {
namespace {

constexpr uint64_t kDefaultRequests = 100'000;

constexpr std::array kCalls{
    "EOS_Auth_Login",
    "EOS_Auth_Logout",
    "EOS_Auth_DeletePersistentAuth",
    "EOS_Auth_CopyUserAuthToken",
    "EOS_Connect_Login",
    "EOS_Connect_CreateUser",
    "EOS_Connect_AddNotifyAuthExpiration",
    "EOS_Friends_QueryFriends",
    "EOS_Friends_GetFriendsCount",
    "EOS_Friends_GetFriendAtIndex",
    "EOS_Friends_GetStatus",
    "EOS_UserInfo_QueryUserInfo",
    "EOS_UserInfo_CopyUserInfo",
    "EOS_Platform_GetConnectInterface",
    "EOS_Platform_GetFriendsInterface",
    "EOS_Platform_GetUserInfoInterface",
    "EOS_EpicAccountId_IsValid",
    "EOS_EpicAccountId_ToString",
    "EOS_EpicAccountId_FromString",
    "EOS_ProductUserId_ToString",
};
// Some that mean something of their own to some call, more than once what should come often.
constexpr std::array kResults{EOS_Success,
                              EOS_Success,
                              EOS_Success,
                              EOS_NoConnection,
                              EOS_InvalidCredentials,
                              EOS_InvalidUser,
                              EOS_InvalidAuth,
                              EOS_TooManyRequests,
                              EOS_InvalidParameters,
                              EOS_Canceled,
                              EOS_NotFound,
                              EOS_OperationWillRetry,
                              EOS_OperationWillRetry,
                              EOS_Auth_PinGrantCode,
                              EOS_Auth_MFARequired,
                              EOS_EResult{4242}};
constexpr std::array kLogins{
    R"({"LoginMode":"AccountPortal")",
    R"({"LoginMode":"AccountPortal")",
    R"({"LoginMode":"IDPassword","ID":"player","Password":"secret")",
    R"({"LoginMode":"IDPassword","ID":"newcomer","Password":"new")",
    R"({"LoginMode":"IDPassword","ID":"player","Password":"guess")",
    R"({"LoginMode":"DevAuth","ID":"localhost:6547","Password":"newcomer")",
    R"({"LoginMode":"ExchangeCode","Code":"code")",
    R"({"LoginMode":"PinGrant")",
    R"({"LoginMode":"nonsense")",
    R"({"LoginMode":"ExchangeCode")",
    R"({"LoginMode":"DevAuth","Password":"secret")",
    R"({"loginmode":"AccountPortal")",
};
constexpr std::array kPermissions{"", "basic_profile,friends_list,presence",
                                  "friends_list,nonsense"};

uint64_t FromEnvironment(const char* name, uint64_t otherwise) {
  const char* text = std::getenv(name);
  return text != nullptr ? std::strtoull(text, nullptr, 10) : otherwise;
}

class Soak : public PluginTest {
 protected:
  Soak() {
    World(TestWorld(5));
    GoQuiet();
    std::cout << "Soak: ZELK_SOAK_SEED=" << seed_ << " ZELK_SOAK_REQUESTS=" << requests_
              << std::endl;
  }

  uint64_t requests() const { return requests_; }

  uint64_t Below(uint64_t end) {
    return std::uniform_int_distribution<uint64_t>(0, end - 1)(random_);
  }
  bool OneIn(uint64_t times) { return Below(times) == 0; }
  template <class Array>
  auto OneOf(const Array& array) {
    return array[Below(array.size())];
  }

  void Ask() {
    switch (Below(8)) {
      case 0:
        return AskForLogin(kMethodIDAuthLogin);
      case 1:
        return AskForLogin(kMethodIDAuthBind);
      case 2:
      case 3:
        return AutoLogin(NextId(), OneIn(2) ? "" : LoginText(""));
      case 4:
        return Logout(NextId());
      default:
        return AskForFriends();
    }
  }

  // How EOS and the system answer from now on.
  void ChangeConditions() {
    eos_standin::ClearRules();
    for (uint64_t rules = Below(4); rules > 0; --rules) {
      eos_standin::AddRule({.call = OneOf(kCalls),
                            .result = static_cast<int32_t>(OneOf(kResults)),
                            .skip = static_cast<int64_t>(Below(4)),
                            .times = static_cast<int64_t>(1 + Below(5)),
                            .after_ticks = static_cast<int64_t>(OneIn(50) ? 1'000'000 : Below(20)),
                            .null_data = OneIn(50),
                            .null_client_data = OneIn(50),
                            .null_texts = OneIn(10),
                            .completes_twice = OneIn(10)});
    }
    constexpr std::array kOrders{eos_standin::CompletionOrder::kInOrder,
                                 eos_standin::CompletionOrder::kReversed,
                                 eos_standin::CompletionOrder::kShuffled};
    eos_standin::SetCompletionOrder(OneOf(kOrders), Below(1000));
    if (OneIn(10)) eos_standin::ExpireConnectToken(OneIn(2));
    second_thread_ticks_ = OneIn(4);
    system_calls::FailCreateThread(OneIn(10));
    system_calls::FailHeapAlloc(OneIn(50));
  }

  // What was answered so far, and that the store holds what a sign-in brought, or nothing.
  void CheckAnswers() {
    const std::string stored = StoredParameters();
    for (const Result& result : TakeResults()) Note(result);
    EXPECT_TRUE(stored.empty() || signed_in_with_.contains(stored)) << stored;
  }

  void TickOnASecondThread() {
    second_thread_ = std::thread([this] {
      while (!stop_) {
        if (second_thread_ticks_) Tick();
        std::this_thread::yield();
      }
    });
  }

  void End() {
    eos_standin::CompleteOnRelease(OneIn(2));
    Shutdown();
    stop_ = true;
    second_thread_.join();
    for (int i = 0; i < 20; ++i) Ask();
    CheckAnswers();
    EXPECT_LE(answers_without_id_, requests_without_id_);
    ExpectAnswers("", answers_without_id_);
  }

 private:
  std::string NextId() { return "s" + std::to_string(++last_id_); }

  // Each text once, so that the store tells whose it holds.
  std::string LoginText(const std::string& seq_id) {
    if (OneIn(20)) return OneIn(2) ? "" : "{]";
    return std::string(OneOf(kLogins)) + R"(,"by":")" + seq_id + R"("})";
  }

  void AskForLogin(int32_t method_id) {
    const std::string seq_id = NextId();
    const std::string text = LoginText(seq_id);
    if (method_id == kMethodIDAuthLogin) texts_[seq_id] = text;
    LogIn(seq_id, text, OneOf(kPermissions), method_id);
  }

  // One without a sequence id is answered only as long as EOS has not been asked.
  void AskForFriends() {
    const auto page = static_cast<int32_t>(Below(4)) - 1;
    const auto count = static_cast<int32_t>(Below(7)) - 1;
    if (!OneIn(100)) return QueryFriends(NextId(), page, count, OneIn(2));
    ++requests_without_id_;
    plugin().query_friends({kMethodIDFriendQueryFriends, "", "", ""}, page, count, false);
  }

  void Note(const Result& result) {
    if (result.seq_id.empty()) ++answers_without_id_;
    const bool is_login = result.type == "AuthPluginResult";
    if (is_login && result.base.method_id == kMethodIDAuthLogin)
      signed_in_with_.insert(texts_[result.seq_id]);
    // EOS announced that it retries: an answer comes besides.
    const bool extra = result.type == "FriendResult" &&
                       result.base.third_code == static_cast<int32_t>(EOS_OperationWillRetry);
    if (extra) ExpectAnswers(result.seq_id, 1 + ++extra_answers_[result.seq_id]);
  }

  const uint64_t seed_ = FromEnvironment("ZELK_SOAK_SEED", 1);
  const uint64_t requests_ = FromEnvironment("ZELK_SOAK_REQUESTS", kDefaultRequests);
  std::mt19937_64 random_{seed_};
  uint64_t last_id_ = 0;
  std::map<std::string, std::string> texts_;
  std::set<std::string> signed_in_with_{kPortal};  // by the first sign-in
  std::map<std::string, int> extra_answers_;
  int requests_without_id_ = 0;
  int answers_without_id_ = 0;
  std::atomic<bool> stop_ = false;
  std::atomic<bool> second_thread_ticks_ = false;
  std::thread second_thread_;
};

TEST_F(Soak, AnswersEveryRequestOnce) {
  Logout("early");
  ExpectAnswers("early", 0);
  Fail({.call = "EOS_Initialize", .times = 1});
  Fail({.call = "EOS_Platform_GetAuthInterface", .times = 1});
  for (const char* seq_id : {"not initialized", "no interface"}) LogIn(seq_id, kPortal);
  CheckAnswers();
  SignIn();
  TickOnASecondThread();
  for (uint64_t request = 0; request < requests(); ++request) {
    if (OneIn(20)) ChangeConditions();
    Ask();
    Tick(static_cast<int>(Below(4)));
    if (OneIn(100)) CheckAnswers();
  }
  End();
}

}  // namespace
}  // namespace zelk_test
