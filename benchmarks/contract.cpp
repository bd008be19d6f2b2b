// All that the core is owed for a page of friends, by the shortest way: no lock, no list of what is
// in progress, no other thread, no failure handled.
#include <windows.h>

#include <algorithm>
#include <new>
#include <stdexcept>
#include <utility>

#include "core_contract/log.h"
#include "core_contract/method_id.h"
#include "direct_eos.h"
#include "friend_calls.h"
#include "game.h"

namespace zelk::benchmarks {
namespace {

// A line of the operation `function`.
#define BENCHMARK_LOG(function, level, ...)                                                 \
  Log::GetInstance()->OutputLog(level, "ZELK", false, false, "zelk_epic_friends", function, \
                                __LINE__, __VA_ARGS__)

std::string ToString(EOS_EpicAccountId account) {
  std::string text = AccountText(account);
  BENCHMARK_LOG("ToString", kLogInfo, "EOS_EpicAccountId_ToString result:%s", text.c_str());
  return text;
}

std::string ToString(EOS_EResult result) {
  std::string text = EOS_EResult_ToString(result);
  BENCHMARK_LOG("ToString", kLogInfo, "EOS_EResult_ToString result:%s", text.c_str());
  return text;
}

// The text is a copy, as the interface asks for it.
EOS_EpicAccountId FromString(std::string openid) {  // NOLINT(performance-unnecessary-value-param)
  BENCHMARK_LOG("FromString", kLogInfo, "Call EOS_EpicAccountId_FromString, openid str:%s",
                openid.c_str());
  return EOS_EpicAccountId_FromString(openid.c_str());
}

class Contract;

struct ListContext {
  BaseParams base_params;
  std::unique_ptr<EOS_Friends_QueryFriendsOptions> options;
  int32_t page;
  int32_t count;
  bool is_in_game;
  Contract* side;
};

struct PageContext {
  BaseParams base_params;
  std::shared_ptr<const PersonList> friends;
  int32_t current;
  bool is_in_game;
  int64_t total;
};

struct DetailContext {
  BaseParams base_params;
  std::shared_ptr<PersonList> friends_info;
  int64_t expected_count;
  int64_t current;
  int64_t total;
  EOS_HUserInfo user_info_handle;
  PersonInfo person;
  bool is_in_game;
  Contract* side;
};

class Contract final : public Side {
 public:
  explicit Contract(DirectEos& eos) : eos_(eos), calls_(eos.platform()) {}

  void Tick() override { eos_.Tick(); }
  void SignIn() override { throw std::logic_error("this column lists friends only"); }
  void SignOut() override { SignIn(); }
  void TakeAnswer() override { Game::TakeAnswer(); }
  EOS_ELogLevel log_level() const override { return EOS_ELogLevel::EOS_LOG_Verbose; }

  void ListFriends(int32_t count) override {
    answered_ = false;
    QueryFriends(Request(kMethodIDFriendQueryFriends), 1, count, false);
    while (!answered_) Tick();
  }

 private:
  void QueryFriends(const BaseParams& params, int32_t page, int32_t count, bool is_in_game) {
    constexpr char kFunction[] = "zelk::EpicFriend::QueryFriends";
    BENCHMARK_LOG(kFunction, kLogInfo, "[%s] EpicFriend::QueryFriends, start query friends.",
                  params.seq_id.c_str());
    const EOS_EpicAccountId account = FromString(eos_.account_id());
    if (EOS_EpicAccountId_IsValid(account) == EOS_FALSE) throw std::runtime_error("not signed in");
    auto context = std::make_unique<ListContext>(
        ListContext{params,
                    std::make_unique<EOS_Friends_QueryFriendsOptions>(
                        EOS_Friends_QueryFriendsOptions{.ApiVersion = 1, .LocalUserId = account}),
                    page, count, is_in_game, this});
    const char* text = eos_.account_id().c_str();
    BENCHMARK_LOG(kFunction, kLogInfo, "call EOS_Friends_QueryFriends with account id : %s", text);
    calls_.QueryFriends(account, context.release(), &OnQueryFriends);
    BENCHMARK_LOG(kFunction, kLogInfo, "call EOS_Friends_QueryFriends with account id : %s, End",
                  text);
  }

  static void EOS_CALL OnQueryFriends(const EOS_Friends_QueryFriendsCallbackInfo* data) {
    constexpr char kFunction[] = "zelk::EpicFriend::QueryFriendsCompleteCallbackFn";
    BENCHMARK_LOG(kFunction, kLogError, "EpicFriend::QueryFriendsCompleteCallbackFn");
    const std::unique_ptr<ListContext> context(static_cast<ListContext*>(data->ClientData));
    const std::string account = ToString(data->LocalUserId);
    const std::string result = ToString(data->ResultCode);
    BENCHMARK_LOG(kFunction, kLogInfo, "queryfriends complete, result:%d user id:%s msg:%s",
                  static_cast<int>(data->ResultCode), account.c_str(), result.c_str());
    Expect(data->ResultCode);
    Contract& side = *context->side;
    const int32_t total = side.calls_.ExpectFriends(data->LocalUserId, context->count);
    BENCHMARK_LOG(kFunction, kLogInfo, "LocalUserId %s , friend counts:%d", account.c_str(), total);
    side.AskForDetails(*context, side.ListPage(data->LocalUserId, context->count), total);
  }

  std::shared_ptr<const PersonList> ListPage(EOS_EpicAccountId account, int32_t count) {
    auto friends = std::make_shared<PersonList>(static_cast<uint64_t>(count));
    for (int32_t i = 0; i < count; ++i) {
      const EOS_EpicAccountId friend_id = calls_.FriendAt(account, i);
      if (EOS_EpicAccountId_IsValid(friend_id) == EOS_FALSE) continue;
      PersonInfo person;
      person.openid = ToString(friend_id);
      person.extra_json = status_text_.Of(calls_.Status(account, friend_id));
      friends->push_back(std::move(person));
    }
    return friends;
  }

  void AskForDetails(const ListContext& request, std::shared_ptr<const PersonList> friends,
                     int32_t total) {
    void* const memory = HeapAlloc(GetProcessHeap(), HEAP_ZERO_MEMORY, sizeof(PageContext));
    auto* const page = new (memory) PageContext{request.base_params, std::move(friends),
                                                request.count, request.is_in_game, total};
    BENCHMARK_LOG("zelk::EpicFriend::QueryFirendsInfoInThread", kLogError,
                  "[%s] SteamFriend::QueryFriends, Create thread failed, run in main thread.",
                  page->base_params.seq_id.c_str());
    const EOS_HUserInfo user_info = EOS_Platform_GetUserInfoInterface(eos_.platform());
    const EOS_EpicAccountId account = FromString(eos_.account_id());
    const uint64_t expected = page->friends->size();
    const auto details = std::make_shared<PersonList>(std::max<uint64_t>(expected, 32));
    for (const PersonInfo& entry : *page->friends) {
      const EOS_EpicAccountId friend_id = FromString(entry.openid.c_str());
      auto* const context = new DetailContext{page->base_params,
                                              details,
                                              static_cast<int64_t>(expected),
                                              page->current,
                                              page->total,
                                              user_info,
                                              entry,
                                              page->is_in_game,
                                              this};
      FriendCalls::QueryUserInfo(user_info, account, friend_id, context, &OnQueryUserInfo);
    }
    page->~PageContext();
    HeapFree(GetProcessHeap(), 0, memory);
  }

  static void EOS_CALL OnQueryUserInfo(const EOS_UserInfo_QueryUserInfoCallbackInfo* data) {
    const std::unique_ptr<DetailContext> context(static_cast<DetailContext*>(data->ClientData));
    Expect(data->ResultCode);
    PersonInfo& person = context->person;
    const EOS_EpicAccountId account = FromString(context->side->eos_.account_id());
    const EOS_EpicAccountId friend_id = FromString(person.openid.c_str());
    {
      const UserInfo info =
          FriendCalls::CopyUserInfo(context->user_info_handle, account, friend_id);
      person.user_name = info->Nickname != nullptr ? info->Nickname : info->DisplayName;
      person.country = info->Country;
      person.language = info->PreferredLanguage;
    }
    PersonList& details = *context->friends_info;
    details.push_back(std::move(person));
    if (static_cast<int64_t>(details.size()) < context->expected_count) return;
    CommitFriends(context->base_params, std::move(details), context->total);
    context->side->answered_ = true;
  }

  DirectEos& eos_;
  FriendCalls calls_;
  StatusText status_text_;
  bool answered_ = false;
};

}  // namespace

std::unique_ptr<Side> MakeContract(DirectEos& eos) { return std::make_unique<Contract>(eos); }

}  // namespace zelk::benchmarks
