#include "zelk_epic_friend.h"

#include <algorithm>
#include <new>
#include <utility>

#include <windows.h>

#include "core_contract/json.h"
#include "eos_friends.h"
#include "eos_sdk.h"
#include "eos_userinfo.h"
#include "zelk_epic_auth.h"
#include "zelk_epic_boundary.h"
#include "zelk_epic_commit.h"
#include "zelk_epic_lock.h"
#include "zelk_epic_log.h"
#include "zelk_epic_pending.h"

namespace zelk {
namespace {

constexpr char kInvalidCount[] = "Parameter 'count' must be larger than zero.";
constexpr char kInvalidAccount[] = "Epic account is not valid, please re-login.";
constexpr char kNoFriendsInterface[] = "epic friends handle is null, unknow error happend.";
constexpr char kNoUserInfoInterface[] = "epic user info handle is null, unknow error happend.";
constexpr char kUnknownError[] = "unknown error happened.";
constexpr char kThirdError[] = "third error, see third code";

// The Friends interface. Kept once it was had, also when the platform is gone: check the platform
// before any use.
EOS_HFriends epic_friends_handle = nullptr;

void CommitFailure(const BaseParams& params, int32_t ret_code, const char* ret_msg,
                   int32_t third_code, const char* third_msg) {
  FriendResult result(ret_code, third_code, ret_msg);
  result.method_id = params.method_id;
  result.third_msg = third_msg;
  ZELK_LOG_AS("zelk::EpicFriend::OnQueryFrinedsFailed", kLogError,
              "[%s] EpicFriend::OnGetFrinedsFailed, %s", params.seq_id.c_str(),
              result.ret_msg.c_str());
  Commit(params, result);
}

// A failure that the plugin found itself: code and message stand in both places. Takes no memory of
// its own, for it may be the want of memory that it reports.
void Fail(const BaseParams& params, int32_t code, const char* message) {
  CommitFailure(params, code, message, code, message);
}

// The client data of EOS_Friends_QueryFriends.
struct QueryFriendsContext final : PendingContext {
  QueryFriendsContext(const BaseParams& request, EOS_EpicAccountId account_id, int32_t page_number,
                      int32_t page_size, bool in_game)
      : base_params(request),
        options(new EOS_Friends_QueryFriendsOptions{.ApiVersion = 1, .LocalUserId = account_id}),
        page(page_number),
        count(page_size),
        is_in_game(in_game) {}

  void AnswerAfterShutdown() override { Fail(base_params, kResultNeedLogin, kInvalidAccount); }

  BaseParams base_params;
  std::unique_ptr<EOS_Friends_QueryFriendsOptions> options;
  int32_t page;
  int32_t count;
  bool is_in_game;
};

// The friends of a page with their details, in the order in which the answers arrive.
struct DetailList {
  static constexpr uint64_t kCapacity = 32;

  PersonList friends{kCapacity};
  bool answered = false;  // the query has its answer; whatever comes later is dropped
};

void AnswerFailure(DetailList& list, const BaseParams& params, int32_t code, const char* message) {
  if (list.answered) return;
  Fail(params, code, message);
  list.answered = true;
}

void AnswerSuccess(DetailList& list, const BaseParams& params, int64_t current, int64_t total,
                   bool is_in_game) {
  FriendResult result(kResultSuccess);
  result.ret_msg = "success.";
  result.method_id = params.method_id;
  // Moved on from here on: a page whose answer cannot be given is not complete any more.
  PersonList friends = std::move(list.friends);
  result.friend_info_list = PersonList(friends.size());
  for (PersonInfo& person : friends) result.friend_info_list.push_back(std::move(person));
  JSONWriter document;
  document.StartJsonConvert();
  document.Convert("total", static_cast<unsigned long long>(total))
      .Convert("current", static_cast<unsigned long long>(current))
      .Convert("is_in_game", is_in_game);
  document.EndJsonConvert();
  result.extra_json = document.GetJsonString();
  Commit(params, result);
  list.answered = true;
}

// What the worker is given: in process-heap memory, its own until it ends or leaves an answer to
// the tick thread. Known to `workers` all that time, so that a shutdown can answer the page.
struct FriendsInfoThreadContext final : PendingContext {
  FriendsInfoThreadContext(const BaseParams& request, std::shared_ptr<const PersonList> page,
                           int32_t page_end, int32_t friend_count, bool in_game)
      : base_params(request),
        friends(std::move(page)),
        current(page_end),
        is_in_game(in_game),
        total(friend_count),
        friends_info(std::make_shared<DetailList>()) {}

  void AnswerAfterShutdown() override {
    AnswerFailure(*friends_info, base_params, kResultNeedLogin, kInvalidAccount);
  }
  void Release() noexcept override {
    this->~FriendsInfoThreadContext();
    HeapFree(GetProcessHeap(), 0, this);
  }

  int64_t expected_count() const { return static_cast<int64_t>(friends->size()); }
  bool IsComplete() const { return friends_info->friends.size() == friends->size(); }

  BaseParams base_params;
  std::shared_ptr<const PersonList> friends;
  int32_t current;
  bool is_in_game;
  int64_t total;
  std::shared_ptr<DetailList> friends_info;
  const char* failure = nullptr;  // why the page cannot be completed
};

// The client data of one friend's EOS_UserInfo_QueryUserInfo.
struct FriendUserInfoContext final : PendingContext {
  FriendUserInfoContext(const FriendsInfoThreadContext& page, const PersonInfo& entry,
                        EOS_HUserInfo user_info)
      : base_params(page.base_params),
        friends_info(page.friends_info),
        expected_count(page.expected_count()),
        current(page.current),
        total(page.total),
        user_info_handle(user_info),
        person(entry),
        is_in_game(page.is_in_game) {}

  void AnswerAfterShutdown() override {
    AnswerFailure(*friends_info, base_params, kResultNeedLogin, kInvalidAccount);
  }

  BaseParams base_params;
  std::shared_ptr<DetailList> friends_info;
  int64_t expected_count;
  int64_t current;
  int64_t total;
  EOS_HUserInfo user_info_handle;
  PersonInfo person;
  bool is_in_game;
};

// The contexts of the workers that run, and those that they left for the next tick to answer.
constinit PendingList workers;
constinit PendingList left_for_tick;

}  // namespace

EpicFriend* EpicFriend::GetInstance() {
  static auto* const instance = new EpicFriend;
  return instance;
}

// --- the friend list ---

namespace {

// The signed-in account as EOS knows it; null when there is none, or no platform.
EOS_EpicAccountId SignedInAccount(const EpicAuth& auth) {
  if (auth.account_id().empty() || auth.platform() == nullptr) return nullptr;
  const EOS_EpicAccountId account_id = EpicAuth::EpicAccountIdFromString(auth.account_id());
  if (account_id == nullptr || EOS_EpicAccountId_IsValid(account_id) == EOS_FALSE) return nullptr;
  return account_id;
}

}  // namespace

void EpicFriend::QueryFriends(const BaseParams& params, int32_t page, int32_t count,
                              bool is_in_game) {
  ZELK_LOG(kLogInfo, "[%s] EpicFriend::QueryFriends, start query friends.", params.seq_id.c_str());
  const EpicAuth& auth = *EpicAuth::GetInstance();
  if (page > 0 && count <= 0) return Fail(params, kResultInvalidArgument, kInvalidCount);
  const EOS_EpicAccountId account_id = SignedInAccount(auth);
  if (account_id == nullptr) return Fail(params, kResultNeedLogin, kInvalidAccount);
  if (epic_friends_handle == nullptr) {
    epic_friends_handle = EOS_Platform_GetFriendsInterface(auth.platform());
  }
  if (epic_friends_handle == nullptr) return Fail(params, kResultUnknownError, kNoFriendsInterface);

  auto context = MakePending<QueryFriendsContext>(params, account_id, page, count, is_in_game);
  const EOS_Friends_QueryFriendsOptions* options = context->options.get();
  ZELK_LOG(kLogInfo, "call EOS_Friends_QueryFriends with account id : %s",
           auth.account_id().c_str());
  EOS_Friends_QueryFriends(epic_friends_handle, options, EosHeld::Give(std::move(context)),
                           &QueryFriendsCompleteCallbackFn);
  ZELK_LOG(kLogInfo, "call EOS_Friends_QueryFriends with account id : %s, End",
           auth.account_id().c_str());
}

void EpicFriend::OnQueryFrinedsFailed(const BaseParams& params, int32_t ret_code,
                                      std::string ret_msg, int32_t third_code,
                                      std::string third_msg) {
  CommitFailure(params, ret_code, ret_msg.c_str(), third_code, third_msg.c_str());
}

namespace {

constexpr char kQueryCompleteFunction[] = "zelk::EpicFriend::QueryFriendsCompleteCallbackFn";

// Indices into the friend list, from `start` up to but not including `current`.
struct PageRange {
  int64_t start;
  int32_t current;

  uint64_t size() const { return current > start ? static_cast<uint64_t>(current - start) : 0; }
};

PageRange RangeOfPage(int32_t page, int32_t count, int32_t total) {
  const int64_t start = (int64_t{page} - 1) * count;
  const int64_t end = page <= 0 ? total : std::min<int64_t>(int64_t{page} * count, total);
  return {.start = std::max<int64_t>(start, 0), .current = static_cast<int32_t>(end)};
}

int32_t FriendsCount(EOS_EpicAccountId local_user) {
  const EOS_Friends_GetFriendsCountOptions options{.ApiVersion = 1, .LocalUserId = local_user};
  return EOS_Friends_GetFriendsCount(epic_friends_handle, &options);
}

EOS_EFriendsStatus Status(EOS_EpicAccountId local_user, EOS_EpicAccountId friend_id) {
  const EOS_Friends_GetStatusOptions options{
      .ApiVersion = 1, .LocalUserId = local_user, .TargetUserId = friend_id};
  return EOS_Friends_GetStatus(epic_friends_handle, &options);
}

// The JSON text of a status. Most friends of a page have the same one, so the last text is kept.
class StatusText {
 public:
  const std::string& Of(EOS_EFriendsStatus status) {
    if (text_.empty() || status != status_) {
      JSONWriter document;
      document.StartJsonConvert();
      document.Convert("status", static_cast<int>(status));
      document.EndJsonConvert();
      text_ = document.GetJsonString();
      status_ = status;
    }
    return text_;
  }

 private:
  EOS_EFriendsStatus status_{};
  std::string text_;
};

// An invalid friend is left out.
void AppendFriend(EOS_EpicAccountId local_user, int32_t index, StatusText& status_text,
                  PersonList& page) {
  const EOS_Friends_GetFriendAtIndexOptions options{
      .ApiVersion = 1, .LocalUserId = local_user, .Index = index};
  const EOS_EpicAccountId friend_id = EOS_Friends_GetFriendAtIndex(epic_friends_handle, &options);
  const bool valid = EOS_EpicAccountId_IsValid(friend_id) != EOS_FALSE;
  const std::string openid = EpicAuth::EpicAccountIdToString(friend_id);
  if (!valid) {
    ZELK_LOG_AS(kQueryCompleteFunction, kLogError, "Friend ID: %s was invalid!", openid.c_str());
    return;
  }
  PersonInfo person;
  person.openid = openid;
  person.extra_json = status_text.Of(Status(local_user, friend_id));
  page.push_back(std::move(person));
}

void AnswerEmptyPage(const BaseParams& params, const PersonList& page) {
  FriendResult result(kResultSuccess);
  result.method_id = params.method_id;
  result.friend_info_list = page;
  Commit(params, result);
}

// Of the list that EOS now has.
std::shared_ptr<const PersonList> ListFriends(EOS_EpicAccountId local_user,
                                              const PageRange& range) {
  auto friends = std::make_shared<PersonList>(range.size());
  StatusText status_text;
  for (int64_t i = range.start; i < range.current; ++i) {
    AppendFriend(local_user, static_cast<int32_t>(i), status_text, *friends);
  }
  return friends;
}

}  // namespace

void EOS_CALL
EpicFriend::QueryFriendsCompleteCallbackFn(const EOS_Friends_QueryFriendsCallbackInfo* data) {
  Pending<QueryFriendsContext> context;
  const auto complete = [data, &context] {
    ZELK_LOG(kLogError, "EpicFriend::QueryFriendsCompleteCallbackFn");
    if (data == nullptr) {
      ZELK_LOG(kLogError, "NULL Data for CallbackFn");
      return;
    }
    context = EosHeld::Take<QueryFriendsContext>(
        data->ClientData, data->ResultCode == EOS_EResult::EOS_OperationWillRetry);
    if (context == nullptr) {
      ZELK_LOG(kLogError, "NULL ClientData for CallbackFn");
      return;
    }
    const BaseParams& params = context->base_params;
    if (params.seq_id.empty()) {
      ZELK_LOG(kLogError, "NULL seqID for queryfriends");
      return;
    }
    const std::string account = EpicAuth::EpicAccountIdToString(data->LocalUserId);
    const std::string result = EpicAuth::EpicEResultToString(data->ResultCode);
    ZELK_LOG(kLogInfo, "queryfriends complete, result:%d user id:%s msg:%s",
             static_cast<int>(data->ResultCode), account.c_str(), result.c_str());
    if (data->ResultCode != EOS_EResult::EOS_Success) {
      return OnQueryFrinedsFailed(params, kResultThirdError, kThirdError,
                                  static_cast<int32_t>(data->ResultCode), result);
    }
    if (EpicAuth::GetInstance()->platform() == nullptr) return EosHeld::PutBack(context.release());
    const int32_t total = FriendsCount(data->LocalUserId);
    ZELK_LOG(kLogInfo, "LocalUserId %s , friend counts:%d", account.c_str(), total);
    const PageRange range = RangeOfPage(context->page, context->count, total);
    const auto friends = ListFriends(data->LocalUserId, range);
    if (friends->empty()) return AnswerEmptyPage(params, *friends);
    GetInstance()->QueryFirendsInfoInThread(params, friends, range.current, total,
                                            context->is_in_game);
  };
  AtBoundary(kQueryCompleteFunction, complete, [&context] {
    if (context == nullptr) return;
    Fail(context->base_params, kResultUnknownError, kUnknownError);
  });
}

// --- the details ---

namespace {

FriendsInfoThreadContext* NewThreadContext(const BaseParams& params,
                                           const std::shared_ptr<const PersonList>& friends,
                                           int32_t current, int32_t total, bool is_in_game) {
  void* memory = HeapAlloc(GetProcessHeap(), HEAP_ZERO_MEMORY, sizeof(FriendsInfoThreadContext));
  if (memory == nullptr) throw std::bad_alloc();
  try {
    return new (memory) FriendsInfoThreadContext(params, friends, current, total, is_in_game);
  } catch (...) {
    HeapFree(GetProcessHeap(), 0, memory);
    throw;
  }
}

}  // namespace

void EpicFriend::QueryFirendsInfoInThread(const BaseParams& params,
                                          const std::shared_ptr<const PersonList>& friends,
                                          int32_t current, int32_t total, bool is_in_game) {
  FriendsInfoThreadContext* context = NewThreadContext(params, friends, current, total, is_in_game);
  workers.Append(context);
  const LPTHREAD_START_ROUTINE run = [](LPVOID parameter) -> DWORD {
    return QueryFriendsInfoThreadProc(parameter);
  };
  const HANDLE thread = CreateThread(nullptr, 0, run, context, 0, nullptr);
  if (thread != nullptr) {
    CloseHandle(thread);
    ZELK_LOG(kLogInfo, "[%s] SteamFriend::QueryFriends, Create thread failed, will run in thread.",
             params.seq_id.c_str());
    return;
  }
  ZELK_LOG(kLogError, "[%s] SteamFriend::QueryFriends, Create thread failed, run in main thread.",
           params.seq_id.c_str());
  QueryFriendsInfoThreadProc(context);
}

namespace {

// True while the page still waits for its answer and the platform is there. Under the lock.
bool MayGoOn(const FriendsInfoThreadContext& page) {
  return !page.friends_info->answered && EpicAuth::GetInstance()->platform() != nullptr;
}

// The conversion as a step of its own; null when the page may not go on.
EOS_EpicAccountId AccountIdFromString(const FriendsInfoThreadContext& page, const char* openid) {
  const EosLock::Step step;
  return MayGoOn(page) ? EpicAuth::EpicAccountIdFromString(openid) : nullptr;
}

// The interface and the asking user, each in a step of its own. False when the page may not go on.
struct AskingUser {
  EOS_HUserInfo user_info = nullptr;
  EOS_EpicAccountId local_user = nullptr;
};

bool PrepareAsking(FriendsInfoThreadContext& page, AskingUser& asking) {
  {
    const EosLock::Step step;
    if (!MayGoOn(page)) return false;
    asking.user_info = EOS_Platform_GetUserInfoInterface(EpicAuth::GetInstance()->platform());
    if (asking.user_info == nullptr) {
      page.failure = kNoUserInfoInterface;
      return false;
    }
  }
  const EosLock::Step step;
  if (!MayGoOn(page)) return false;
  asking.local_user = EpicAuth::EpicAccountIdFromString(EpicAuth::GetInstance()->account_id());
  return true;
}

// False when the page may not go on.
bool AskForFriend(FriendsInfoThreadContext& page, const AskingUser& asking, const PersonInfo& entry,
                  EOS_UserInfo_OnQueryUserInfoCallback complete) {
  const EOS_EpicAccountId friend_id = AccountIdFromString(page, entry.openid.c_str());
  auto context = MakePending<FriendUserInfoContext>(page, entry, asking.user_info);
  const EosLock::Step step;
  if (!MayGoOn(page)) return false;
  if (friend_id == nullptr) {
    page.friends_info->friends.push_back(entry);  // counts as asked in vain
    return true;
  }
  const EOS_UserInfo_QueryUserInfoOptions options{
      .ApiVersion = 1, .LocalUserId = asking.local_user, .TargetUserId = friend_id};
  EOS_UserInfo_QueryUserInfo(asking.user_info, &options, EosHeld::Give(std::move(context)),
                             complete);
  return true;
}

// The worker commits nothing: what it has to say is left for the next tick.
void EndOfWorker(FriendsInfoThreadContext* page) {
  {
    const EosLock::Step step;
    workers.Remove(page);
    if (!page->friends_info->answered && (page->failure != nullptr || page->IsComplete())) {
      return left_for_tick.Append(page);
    }
  }
  page->Release();
}

}  // namespace

uint32_t EpicFriend::QueryFriendsInfoThreadProc(void* context) {
  if (context == nullptr) return 0;
  auto* const page = static_cast<FriendsInfoThreadContext*>(context);
  const auto ask = [page] {
    AskingUser asking;
    if (!PrepareAsking(*page, asking)) return;
    for (const PersonInfo& entry : *page->friends) {
      if (!AskForFriend(*page, asking, entry, &QueryFriendUserInfoCompleteCallbackFn)) return;
    }
  };
  AtBoundary("zelk::EpicFriend::QueryFriendsInfoThreadProc", ask,
             [page] { page->failure = kUnknownError; });
  EndOfWorker(page);
  return 0;
}

void EpicFriend::AnswerForWorkers() {
  while (!left_for_tick.empty()) {
    auto* const page = static_cast<FriendsInfoThreadContext*>(left_for_tick.first());
    left_for_tick.Remove(page);
    const auto fail = [page] {
      const char* message = page->failure != nullptr ? page->failure : kUnknownError;
      AnswerFailure(*page->friends_info, page->base_params, kResultUnknownError, message);
    };
    const auto answer = [page, &fail] {
      if (page->failure != nullptr) return fail();
      if (page->friends_info->answered) return;
      AnswerSuccess(*page->friends_info, page->base_params, page->current, page->total,
                    page->is_in_game);
    };
    AtBoundary("zelk::EpicFriend::AnswerForWorkers", answer, fail);
    if (!page->friends_info->answered) {  // for want of memory: the next tick tries again
      page->failure = kUnknownError;
      return left_for_tick.Append(page);
    }
    page->Release();
  }
}

// The workers find their pages answered, and stop.
void EpicFriend::AnswerAfterShutdown() {
  left_for_tick.AnswerAfterShutdown();
  for (PendingContext* page = workers.first(); page != nullptr; page = page->next()) {
    const auto answer = [page] { page->AnswerAfterShutdown(); };
    AtBoundary("zelk::EpicFriend::AnswerAfterShutdown", answer, answer);
  }
}

namespace {

struct ReleaseUserInfo {
  void operator()(EOS_UserInfo* user_info) const { EOS_UserInfo_Release(user_info); }
};

// Leaves the person as it is when EOS has nothing on the friend.
void CopyDetails(FriendUserInfoContext& context) {
  const EpicAuth& auth = *EpicAuth::GetInstance();
  const EOS_EpicAccountId local_user = EpicAuth::EpicAccountIdFromString(auth.account_id());
  const EOS_EpicAccountId friend_id =
      EpicAuth::EpicAccountIdFromString(context.person.openid.c_str());
  const EOS_UserInfo_CopyUserInfoOptions options{
      .ApiVersion = 1, .LocalUserId = local_user, .TargetUserId = friend_id};
  EOS_UserInfo* copy = nullptr;
  const EOS_EResult result = EOS_UserInfo_CopyUserInfo(context.user_info_handle, &options, &copy);
  const std::unique_ptr<EOS_UserInfo, ReleaseUserInfo> owned(copy);
  if (result != EOS_EResult::EOS_Success || copy == nullptr) return;
  context.person.user_name = copy->Nickname != nullptr ? copy->Nickname : copy->DisplayName;
  context.person.country = copy->Country;
  context.person.language = copy->PreferredLanguage;
}

void AddDetails(FriendUserInfoContext& context, EOS_EResult result) {
  DetailList& list = *context.friends_info;
  if (result == EOS_EResult::EOS_Success) CopyDetails(context);
  list.friends.push_back(std::move(context.person));
  if (static_cast<int64_t>(list.friends.size()) < context.expected_count) return;
  AnswerSuccess(list, context.base_params, context.current, context.total, context.is_in_game);
}

}  // namespace

void EOS_CALL EpicFriend::QueryFriendUserInfoCompleteCallbackFn(
    const EOS_UserInfo_QueryUserInfoCallbackInfo* data) {
  Pending<FriendUserInfoContext> context;
  const auto complete = [data, &context] {
    if (data == nullptr) {
      ZELK_LOG(kLogError, "NULL Data for CallbackFn");
      return;
    }
    const bool completes_again = data->ResultCode == EOS_EResult::EOS_OperationWillRetry;
    context = EosHeld::Take<FriendUserInfoContext>(data->ClientData, completes_again);
    if (context == nullptr) {
      ZELK_LOG(kLogError, "NULL ClientData for CallbackFn");
      return;
    }
    if (context->friends_info->answered) return;
    const bool platform_is_gone = EpicAuth::GetInstance()->platform() == nullptr;
    if (completes_again || platform_is_gone) return EosHeld::PutBack(context.release());
    AddDetails(*context, data->ResultCode);
  };
  // Without this friend its page will never be complete, so it is answered here, or, when not even
  // that can be done, at the shutdown.
  bool unanswered = false;
  AtBoundary("zelk::EpicFriend::QueryFriendUserInfoCompleteCallbackFn", complete, [&] {
    if (context == nullptr) return;
    unanswered = true;
    AnswerFailure(*context->friends_info, context->base_params, kResultUnknownError, kUnknownError);
    unanswered = false;
  });
  if (unanswered) EosHeld::PutBack(context.release());
}

}  // namespace zelk
