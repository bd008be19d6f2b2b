#include "zelk_epic_friend.h"

#include <algorithm>
#include <list>
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
#include "zelk_epic_no_destructor.h"
#include "zelk_epic_pending.h"

namespace zelk {

using enum EOS_EResult;

// The one copy of a request, for all contexts of its query, and the account that asked.
struct FriendRequest : BaseParams {
  // False after a logout, or a login of somebody else: what the player asked for before is not
  // answered with friends any more.
  bool IsOfSignedInAccount() const { return account_id == EpicAuth::GetInstance()->account_id(); }

  std::string account_id;
};

namespace {

constexpr char kInvalidCount[] = "Parameter 'count' must be larger than zero.";
constexpr char kInvalidAccount[] = "Epic account is not valid, please re-login.";
constexpr char kNoFriendsInterface[] = "epic friends handle is null, unknow error happend.";
constexpr char kNoUserInfoInterface[] = "epic user info handle is null, unknow error happend.";
constexpr char kUnknownError[] = "unknown error happened.";
constexpr char kThirdError[] = "third error, see third code";

constexpr char kQueryCompleteFunction[] = "zelk::EpicFriend::QueryFriendsCompleteCallbackFn";

// The Friends interface. Cached for the process, never reset: check the platform before any use.
EOS_HFriends epic_friends_handle = nullptr;

// Takes no string by value: it may be the want of memory that is reported.
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

// A failure that the plugin found itself: code and message stand in both places.
void CommitFailure(const BaseParams& params, int32_t code, const char* message) {
  CommitFailure(params, code, message, code, message);
}

// --- the friend list ---

// The client data of EOS_Friends_QueryFriends.
struct QueryFriendsContext final : PendingContext {
  void AnswerAfterShutdown() override {
    CommitFailure(*base_params, kResultNeedLogin, kInvalidAccount);
  }

  std::shared_ptr<const FriendRequest> base_params;
  std::unique_ptr<EOS_Friends_QueryFriendsOptions> options;
  int32_t page = 0;
  int32_t count = 0;
  bool is_in_game = false;
};

// The signed-in account as EOS knows it; null when there is none, or no platform.
EOS_EpicAccountId SignedInAccount(const EpicAuth& auth) {
  if (auth.account_id().empty() || auth.platform() == nullptr) return nullptr;
  const EOS_EpicAccountId id = EpicAuth::EpicAccountIdFromString(auth.account_id());
  return id != nullptr && EOS_EpicAccountId_IsValid(id) != EOS_FALSE ? id : nullptr;
}

// Indices into the friend list, from `start` up to but not including `current`.
struct IndexRange {
  int64_t start;
  int32_t current;

  uint64_t size() const { return current > start ? static_cast<uint64_t>(current - start) : 0; }
};

IndexRange RangeOf(int32_t page, int32_t count, int32_t total) {
  const int64_t start = (int64_t{page} - 1) * count;
  const int64_t end = page <= 0 ? total : std::min<int64_t>(int64_t{page} * count, total);
  return {.start = std::max<int64_t>(start, 0), .current = static_cast<int32_t>(end)};
}

// The JSON text of a status. Most friends of a page have the same one, so the last is kept: a
// writer of its own for each friend took 2,600 of 16,400 instructions, and 6 of 25 allocations.
class StatusText {
 public:
  const std::string& Of(EOS_EFriendsStatus status) {
    if (!text_.empty() && status == status_) return text_;
    JSONWriter document;
    document.StartJsonConvert();
    document.Convert("status", static_cast<int>(status));
    document.EndJsonConvert();
    status_ = status;
    return text_ = document.GetJsonString();
  }

 private:
  EOS_EFriendsStatus status_{};
  std::string text_;
};

// Of the list that EOS now has; invalid friends are left out.
std::shared_ptr<const PersonList> ListFriends(EOS_EpicAccountId local_user,
                                              const IndexRange& range) {
  auto friends = std::make_shared<PersonList>(range.size());
  StatusText status_text;
  for (int64_t i = range.start; i < range.current; ++i) {
    const EOS_Friends_GetFriendAtIndexOptions at_index{
        .ApiVersion = 1, .LocalUserId = local_user, .Index = static_cast<int32_t>(i)};
    const EOS_EpicAccountId id = EOS_Friends_GetFriendAtIndex(epic_friends_handle, &at_index);
    const bool is_valid = EOS_EpicAccountId_IsValid(id) != EOS_FALSE;
    const std::string openid = EpicAuth::EpicAccountIdToString(id);
    if (!is_valid) {
      ZELK_LOG_AS(kQueryCompleteFunction, kLogError, "Friend ID: %s was invalid!", openid.c_str());
      continue;
    }
    const EOS_Friends_GetStatusOptions status{
        .ApiVersion = 1, .LocalUserId = local_user, .TargetUserId = id};
    PersonInfo person;
    person.openid = openid;
    person.extra_json = status_text.Of(EOS_Friends_GetStatus(epic_friends_handle, &status));
    friends->push_back(std::move(person));
  }
  return friends;
}

// False when another completion, or the shutdown, has still to end the query.
bool HandleQueryResult(const EOS_Friends_QueryFriendsCallbackInfo& data,
                       const QueryFriendsContext& context) {
  const FriendRequest& request = *context.base_params;
  const bool is_final = data.ResultCode != EOS_OperationWillRetry;
  if (request.seq_id.empty()) {
    ZELK_LOG_AS(kQueryCompleteFunction, kLogError, "NULL seqID for queryfriends");
    return is_final;
  }
  const std::string account = EpicAuth::EpicAccountIdToString(data.LocalUserId);
  const std::string result = EpicAuth::EpicEResultToString(data.ResultCode);
  ZELK_LOG_AS(kQueryCompleteFunction, kLogInfo,
              "queryfriends complete, result:%d user id:%s msg:%s",
              static_cast<int>(data.ResultCode), account.c_str(), result.c_str());
  if (!request.IsOfSignedInAccount()) {
    CommitFailure(request, kResultNeedLogin, kInvalidAccount);
    return true;
  }
  if (data.ResultCode != EOS_Success) {
    EpicFriend::OnQueryFrinedsFailed(request, kResultThirdError, kThirdError,
                                     static_cast<int32_t>(data.ResultCode), result);
    return is_final;
  }
  if (EpicAuth::GetInstance()->platform() == nullptr) return false;
  const EOS_Friends_GetFriendsCountOptions options{.ApiVersion = 1,
                                                   .LocalUserId = data.LocalUserId};
  const int32_t total = EOS_Friends_GetFriendsCount(epic_friends_handle, &options);
  ZELK_LOG_AS(kQueryCompleteFunction, kLogInfo, "LocalUserId %s , friend counts:%d",
              account.c_str(), total);
  const IndexRange range = RangeOf(context.page, context.count, total);
  const auto friends = ListFriends(data.LocalUserId, range);
  if (friends->empty()) {
    CommitCode<FriendResult>(request, kResultSuccess);
  } else {
    EpicFriend::GetInstance()->QueryFirendsInfoInThread(context.base_params, friends, range.current,
                                                        total, context.is_in_game);
  }
  return true;
}

}  // namespace

EpicFriend* EpicFriend::GetInstance() {
  static NoDestructor<EpicFriend> instance;
  return &instance.object;
}

void EpicFriend::QueryFriends(const BaseParams& params, int32_t page, int32_t count,
                              bool is_in_game) {
  ZELK_LOG(kLogInfo, "[%s] EpicFriend::QueryFriends, start query friends.", params.seq_id.c_str());
  const EpicAuth& auth = *EpicAuth::GetInstance();
  if (page > 0 && count <= 0) return CommitFailure(params, kResultInvalidArgument, kInvalidCount);
  const EOS_EpicAccountId account_id = SignedInAccount(auth);
  if (account_id == nullptr) return CommitFailure(params, kResultNeedLogin, kInvalidAccount);
  if (epic_friends_handle == nullptr) {
    epic_friends_handle = EOS_Platform_GetFriendsInterface(auth.platform());
  }
  if (epic_friends_handle == nullptr)
    return CommitFailure(params, kResultUnknownError, kNoFriendsInterface);

  auto context = std::make_unique<QueryFriendsContext>();
  context->base_params =
      std::make_shared<const FriendRequest>(FriendRequest{params, auth.account_id()});
  context->options = std::make_unique<EOS_Friends_QueryFriendsOptions>(
      EOS_Friends_QueryFriendsOptions{.ApiVersion = 1, .LocalUserId = account_id});
  context->page = page;
  context->count = count;
  context->is_in_game = is_in_game;
  const EOS_Friends_QueryFriendsOptions* options = context->options.get();
  ZELK_LOG(kLogInfo, "call EOS_Friends_QueryFriends with account id : %s",
           auth.account_id().c_str());
  void* const handed_over = InFlight::HandOver(EosCall::kQueryFriends, std::move(context));
  EOS_Friends_QueryFriends(epic_friends_handle, options, handed_over,
                           &QueryFriendsCompleteCallbackFn);
  ZELK_LOG(kLogInfo, "call EOS_Friends_QueryFriends with account id : %s, End",
           auth.account_id().c_str());
}

void EpicFriend::OnQueryFrinedsFailed(const BaseParams& params, int32_t ret_code,
                                      std::string ret_msg, int32_t third_code,
                                      std::string third_msg) {
  CommitFailure(params, ret_code, ret_msg.c_str(), third_code, third_msg.c_str());
}

void EpicFriend::CommitUnknownError(const BaseParams& params) {
  CommitFailure(params, kResultUnknownError, kUnknownError);
}

void EOS_CALL
EpicFriend::QueryFriendsCompleteCallbackFn(const EOS_Friends_QueryFriendsCallbackInfo* data) {
  std::unique_ptr<QueryFriendsContext> context;
  const auto complete = [data, &context] {
    ZELK_LOG(kLogError, "EpicFriend::QueryFriendsCompleteCallbackFn");
    if (data == nullptr) return ZELK_LOG(kLogError, "NULL Data for CallbackFn");
    context = InFlight::Reclaim<QueryFriendsContext>(EosCall::kQueryFriends, data->ClientData);
    if (context == nullptr) return ZELK_LOG(kLogError, "NULL ClientData for CallbackFn");
    if (!HandleQueryResult(*data, *context)) InFlight::Return(std::move(context));
  };
  AtBoundary(kQueryCompleteFunction, complete, [&context] {
    if (context != nullptr) CommitUnknownError(*context->base_params);
  });
}

namespace {

// --- the answer to a page ---

// The friends of a page with their details, in the order in which the answers arrive, and what the
// answer to the page is made of. The worker and the contexts of the page share it; touched under
// the EOS lock only.
struct Page {
  // The platform is there, and the player who asked.
  bool HasAccount() const {
    return EpicAuth::GetInstance()->platform() != nullptr && request->IsOfSignedInAccount();
  }
  bool IsDue() const {
    return failure != nullptr || friends.size() == expected_count || !HasAccount();
  }
  // More may be asked and appended.
  bool IsInProgress() const { return is_open && HasAccount(); }

  std::shared_ptr<const FriendRequest> request;
  uint64_t expected_count;
  int64_t current;
  int64_t total;
  bool is_in_game;
  PersonList friends{};
  const char* failure = nullptr;  // why the page cannot be completed
  bool is_open = true;            // waits for its answer
};

// The pages that wait for their answer, the oldest first, and those answered since the last tick.
// Under the EOS lock.
NoDestructor<std::list<std::shared_ptr<Page>>> pages;

void CommitPage(Page& page) {
  FriendResult result(kResultSuccess);
  result.method_id = page.request->method_id;
  result.ret_msg = "success.";
  page.failure = kUnknownError;  // should this throw, there are no friends any more
  result.friend_info_list = std::move(page.friends);
  JSONWriter document;
  document.StartJsonConvert();
  document.Convert("total", static_cast<unsigned long long>(page.total))
      .Convert("current", static_cast<unsigned long long>(page.current))
      .Convert("is_in_game", page.is_in_game);
  document.EndJsonConvert();
  result.extra_json = document.GetJsonString();
  Commit(*page.request, result);
}

// The only place where a page, or its failure, is committed: by the completion after which it is
// due, by the tick, and after the shutdown. When there is not even the memory for a failure, the
// page stays open and the next tick tries again.
void AnswerIfDue(Page& page) noexcept {
  eos_lock.AssertHeld();
  if (!page.is_open || !page.IsDue()) return;
  const auto answer = [&page] {
    if (!page.HasAccount()) {
      CommitFailure(*page.request, kResultNeedLogin, kInvalidAccount);
    } else if (page.failure != nullptr) {
      CommitFailure(*page.request, kResultUnknownError, page.failure);
    } else {
      CommitPage(page);
    }
    page.is_open = false;
  };
  AtBoundary("zelk::EpicFriend::AnswerDuePages", answer, answer);
}

// --- the details ---

// What the worker is given: in process-heap memory, its own.
struct FriendsInfoThreadContext {
  std::shared_ptr<const FriendRequest> base_params;
  std::shared_ptr<const PersonList> friends;
  int32_t current;
  bool is_in_game;
  int64_t total;
  std::shared_ptr<Page> friends_info;
  HMODULE library = nullptr;  // a reference of the thread's own, if the worker has one
};

struct ReleaseThreadContext {
  void operator()(FriendsInfoThreadContext* context) const {
    context->~FriendsInfoThreadContext();
    HeapFree(GetProcessHeap(), 0, context);
  }
};
using ThreadContext = std::unique_ptr<FriendsInfoThreadContext, ReleaseThreadContext>;

// The client data of one friend's EOS_UserInfo_QueryUserInfo. The interface fixes its fields, also
// those that are not read: what decides on the page's answer is the page, `friends_info`.
struct FriendUserInfoContext final : PendingContext {
  FriendUserInfoContext(const FriendsInfoThreadContext& worker, const PersonInfo& entry,
                        EOS_HUserInfo user_info)
      : base_params(worker.base_params),
        friends_info(worker.friends_info),
        expected_count(static_cast<int64_t>(worker.friends->size())),
        current(worker.current),
        total(worker.total),
        user_info_handle(user_info),
        person(entry),
        is_in_game(worker.is_in_game) {}

  void AnswerAfterShutdown() override { AnswerIfDue(*friends_info); }

  std::shared_ptr<const FriendRequest> base_params;
  std::shared_ptr<Page> friends_info;
  int64_t expected_count;
  int64_t current;
  int64_t total;
  EOS_HUserInfo user_info_handle;
  PersonInfo person;
  bool is_in_game;
};

ThreadContext MakeThreadContext(FriendsInfoThreadContext context) {
  void* memory = HeapAlloc(GetProcessHeap(), HEAP_ZERO_MEMORY, sizeof context);
  if (memory == nullptr) throw std::bad_alloc();
  return ThreadContext(new (memory) FriendsInfoThreadContext(std::move(context)));
}

// A step of the worker: what is found at its beginning holds to its end. False, and nothing was
// called, when the page is not in progress any more.
template <class EosCalls>
bool RunStep(const FriendsInfoThreadContext& worker, EosCalls call) {
  const WorkerStep step;
  if (!worker.friends_info->IsInProgress()) return false;
  call();
  return true;
}

// One step for both EOS calls, between which a tick that waits may come. The line is written and
// the context made before it: a logger may be slow. False when the page is not in progress.
bool AskForFriend(const FriendsInfoThreadContext& worker, EOS_HUserInfo user_info,
                  EOS_EpicAccountId local_user, const PersonInfo& entry) {
  Page& page = *worker.friends_info;
  EpicAuth::LogAccountIdFromString(entry.openid.c_str());
  // Declared before the step, so that one that is not handed over is freed after it.
  auto context = std::make_unique<FriendUserInfoContext>(worker, entry, user_info);
  WorkerStep step;
  if (!page.IsInProgress()) return false;
  const EOS_EpicAccountId friend_id = EOS_EpicAccountId_FromString(entry.openid.c_str());
  if (friend_id == nullptr) {
    // Counts as a failed request. There is room for all of the page.
    page.friends.push_back(std::move(context->person));
    return true;
  }
  step.YieldToTick();
  if (!page.IsInProgress()) return false;
  const EOS_UserInfo_QueryUserInfoOptions options{
      .ApiVersion = 1, .LocalUserId = local_user, .TargetUserId = friend_id};
  void* const handed_over = InFlight::HandOver(EosCall::kQueryFriendUserInfo, std::move(context));
  EOS_UserInfo_QueryUserInfo(user_info, &options, handed_over,
                             &EpicFriend::QueryFriendUserInfoCompleteCallbackFn);
  return true;
}

// Asks EOS for the details of every friend of the page, as long as it is in progress.
void AskForFriends(const FriendsInfoThreadContext& worker) {
  constexpr uint64_t kLeastCapacity = 32;
  Page& page = *worker.friends_info;
  PersonList empty(std::max(kLeastCapacity, worker.friends->size()));
  EOS_HUserInfo user_info = nullptr;
  const auto begin = [&] {
    page.friends = std::move(empty);
    user_info = EOS_Platform_GetUserInfoInterface(EpicAuth::GetInstance()->platform());
    if (user_info == nullptr) page.failure = kNoUserInfoInterface;
  };
  if (!RunStep(worker, begin) || user_info == nullptr) return;
  const char* account_id = worker.base_params->account_id.c_str();
  EpicAuth::LogAccountIdFromString(account_id);
  EOS_EpicAccountId local_user = nullptr;
  if (!RunStep(worker, [&] { local_user = EOS_EpicAccountId_FromString(account_id); })) return;
  for (const PersonInfo& entry : *worker.friends) {
    if (!AskForFriend(worker, user_info, local_user, entry)) return;
  }
}

// A reference to this library, which keeps it mapped. Null when it cannot be had.
HMODULE ReferenceToLibrary(DWORD flags = 0) {
  HMODULE library = nullptr;
  GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | flags,
                     reinterpret_cast<LPCSTR>(&epic_friends_handle), &library);
  return library;
}

// False, and the context stays the caller's, when no thread can be had. Its reference to the
// library is given back after the last of the library's code.
bool StartWorker(FriendsInfoThreadContext& context) {
  context.library = ReferenceToLibrary();
  if (context.library == nullptr) return false;
  const LPTHREAD_START_ROUTINE run = [](LPVOID parameter) -> DWORD {
    const HMODULE library = static_cast<FriendsInfoThreadContext*>(parameter)->library;
    FreeLibraryAndExitThread(library, EpicFriend::QueryFriendsInfoThreadProc(parameter));
  };
  const HANDLE thread = CreateThread(nullptr, 0, run, &context, 0, nullptr);
  if (thread == nullptr) {
    FreeLibrary(context.library);
    return false;
  }
  // One above this thread, which ticks: a tick waits for a worker that runs, not for one that other
  // threads keep from running. Above the highest there is none: then the same.
  const int priority = GetThreadPriority(GetCurrentThread());
  if (priority != THREAD_PRIORITY_ERROR_RETURN && SetThreadPriority(thread, priority + 1) == 0) {
    SetThreadPriority(thread, priority);
  }
  CloseHandle(thread);
  return true;
}

struct ReleaseUserInfo {
  void operator()(EOS_UserInfo* user_info) const { EOS_UserInfo_Release(user_info); }
};

// Leaves the person as it is when EOS has nothing on the friend.
void CopyDetails(FriendUserInfoContext& context) {
  const EpicAuth& auth = *EpicAuth::GetInstance();
  const auto local_user = EpicAuth::EpicAccountIdFromString(auth.account_id());
  const auto friend_id = EpicAuth::EpicAccountIdFromString(context.person.openid.c_str());
  const EOS_UserInfo_CopyUserInfoOptions options{
      .ApiVersion = 1, .LocalUserId = local_user, .TargetUserId = friend_id};
  EOS_UserInfo* copy = nullptr;
  const EOS_EResult result = EOS_UserInfo_CopyUserInfo(context.user_info_handle, &options, &copy);
  const std::unique_ptr<EOS_UserInfo, ReleaseUserInfo> owned(copy);
  if (result != EOS_Success || copy == nullptr) return;
  context.person.user_name = copy->Nickname != nullptr ? copy->Nickname : copy->DisplayName;
  context.person.country = copy->Country;
  context.person.language = copy->PreferredLanguage;
}

}  // namespace

void EpicFriend::AnswerDuePages() noexcept {
  pages.object.remove_if([](const std::shared_ptr<Page>& page) {
    AnswerIfDue(*page);
    return !page->is_open;
  });
}

void EpicFriend::PinLibrary() { ReferenceToLibrary(GET_MODULE_HANDLE_EX_FLAG_PIN); }

void EpicFriend::QueryFirendsInfoInThread(const std::shared_ptr<const FriendRequest>& params,
                                          const std::shared_ptr<const PersonList>& friends,
                                          int32_t current, int32_t total, bool is_in_game) {
  const auto page = std::make_shared<Page>(Page{.request = params,
                                                .expected_count = friends->size(),
                                                .current = current,
                                                .total = total,
                                                .is_in_game = is_in_game});
  ThreadContext context = MakeThreadContext({.base_params = params,
                                             .friends = friends,
                                             .current = current,
                                             .is_in_game = is_in_game,
                                             .total = total,
                                             .friends_info = page});
  pages.object.push_back(page);
  // From here on the page owes the answer, and nothing throws.
  FriendsInfoThreadContext* const handed_over = context.release();
  if (StartWorker(*handed_over))
    return ZELK_LOG(kLogInfo,
                    "[%s] SteamFriend::QueryFriends, Create thread failed, will run in thread.",
                    params->seq_id.c_str());
  ZELK_LOG(kLogError, "[%s] SteamFriend::QueryFriends, Create thread failed, run in main thread.",
           params->seq_id.c_str());
  QueryFriendsInfoThreadProc(handed_over);
}

uint32_t EpicFriend::QueryFriendsInfoThreadProc(void* context) {
  if (context == nullptr) return 0;
  const ThreadContext worker(static_cast<FriendsInfoThreadContext*>(context));
  const auto ask = [&worker] { AskForFriends(*worker); };
  // The worker commits nothing: the next tick does.
  AtBoundary("zelk::EpicFriend::QueryFriendsInfoThreadProc", ask, [&worker] {
    const WorkerStep step;
    worker->friends_info->failure = kUnknownError;
  });
  return 0;
}

void EOS_CALL EpicFriend::QueryFriendUserInfoCompleteCallbackFn(
    const EOS_UserInfo_QueryUserInfoCallbackInfo* data) {
  std::unique_ptr<FriendUserInfoContext> context;
  const auto complete = [data, &context] {
    if (data == nullptr) return ZELK_LOG(kLogError, "NULL Data for CallbackFn");
    context =
        InFlight::Reclaim<FriendUserInfoContext>(EosCall::kQueryFriendUserInfo, data->ClientData);
    if (context == nullptr) return ZELK_LOG(kLogError, "NULL ClientData for CallbackFn");
    const bool comes_again = data->ResultCode == EOS_OperationWillRetry;
    if (comes_again || EpicAuth::GetInstance()->platform() == nullptr)
      return InFlight::Return(std::move(context));
    Page& page = *context->friends_info;
    if (page.IsInProgress()) {
      if (data->ResultCode == EOS_Success) CopyDetails(*context);
      page.friends.push_back(std::move(context->person));
    }
    AnswerIfDue(page);
  };
  // Without this friend its page will never be complete.
  AtBoundary("zelk::EpicFriend::QueryFriendUserInfoCompleteCallbackFn", complete, [&context] {
    if (context == nullptr) return;
    context->friends_info->failure = kUnknownError;
    AnswerIfDue(*context->friends_info);
  });
}

}  // namespace zelk
