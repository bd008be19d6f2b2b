// The two columns that do little with what EOS gives. They differ in where it is kept.
#include <cstring>
#include <stdexcept>
#include <type_traits>
#include <utility>
#include <vector>

#include "core_contract/json.h"
#include "core_contract/mmkv.h"
#include "direct_eos.h"
#include "friend_calls.h"
#include "game.h"

namespace zelk::benchmarks {
namespace {

// A friend in standard containers.
struct Friend {
  std::string openid;
  std::string user_name;
  std::string country;
  std::string language;
  int32_t status = 0;
};

// `Entry` is a Friend or a PersonInfo, `List` a list of them with room for a page.
template <class Entry, class List>
class Column final : public Side {
  static constexpr bool kInRecords = std::is_same_v<Entry, PersonInfo>;

 public:
  explicit Column(DirectEos& eos) : eos_(eos), calls_(eos.platform()) {}

  void Tick() override { eos_.Tick(); }
  EOS_ELogLevel log_level() const override { return EOS_ELogLevel::EOS_LOG_Off; }

  void SignIn() override {
    if constexpr (kInRecords) {
      ReadParameters();
      eos_.SignIn();
      KeepParameters();
    } else {
      eos_.SignIn();
    }
  }

  void SignOut() override {
    if constexpr (kInRecords) Store().removeValueForKey(kStoredKey);
    eos_.SignOut();
  }

  void ListFriends(int32_t count) override {
    count_ = count;
    answered_ = false;
    const EOS_EpicAccountId account = EOS_EpicAccountId_FromString(eos_.account_id().c_str());
    if (EOS_EpicAccountId_IsValid(account) == EOS_FALSE) throw std::runtime_error("not signed in");
    calls_.QueryFriends(account, this, &OnQueryFriends);
    while (!answered_) Tick();
  }

  void TakeAnswer() override {
    list_ = List();
    if constexpr (kInRecords) Game::TakeAnswer();
  }

 private:
  static void EOS_CALL OnQueryFriends(const EOS_Friends_QueryFriendsCallbackInfo* data) {
    auto* const self = static_cast<Column*>(data->ClientData);
    self->account_text_ = AccountText(data->LocalUserId);
    self->result_text_ = EOS_EResult_ToString(data->ResultCode);
    Expect(data->ResultCode);
    self->ListPage(data->LocalUserId);
    self->AskForDetails();
  }

  void ListPage(EOS_EpicAccountId account) {
    calls_.ExpectFriends(account, count_);
    if constexpr (kInRecords) {
      list_ = List(static_cast<uint64_t>(count_));
    } else {
      list_.reserve(static_cast<std::size_t>(count_));
    }
    for (int32_t i = 0; i < count_; ++i) {
      const EOS_EpicAccountId friend_id = calls_.FriendAt(account, i);
      if (EOS_EpicAccountId_IsValid(friend_id) == EOS_FALSE) continue;
      Entry entry;
      entry.openid = AccountText(friend_id);
      const EOS_EFriendsStatus status = calls_.Status(account, friend_id);
      if constexpr (kInRecords) {
        entry.extra_json = status_text_.Of(status);
      } else {
        entry.status = static_cast<int32_t>(status);
      }
      list_.push_back(std::move(entry));
    }
  }

  void AskForDetails() {
    details_ = 0;
    user_info_ = EOS_Platform_GetUserInfoInterface(eos_.platform());
    const EOS_EpicAccountId account = EOS_EpicAccountId_FromString(eos_.account_id().c_str());
    for (const Entry& entry : list_) {
      const EOS_EpicAccountId friend_id = EOS_EpicAccountId_FromString(entry.openid.c_str());
      FriendCalls::QueryUserInfo(user_info_, account, friend_id, this, &OnQueryUserInfo);
    }
  }

  // The completions come in the order of the calls.
  static void EOS_CALL OnQueryUserInfo(const EOS_UserInfo_QueryUserInfoCallbackInfo* data) {
    auto* const self = static_cast<Column*>(data->ClientData);
    Expect(data->ResultCode);
    Entry& entry = self->list_[self->details_++];
    const EOS_EpicAccountId account = EOS_EpicAccountId_FromString(self->eos_.account_id().c_str());
    const EOS_EpicAccountId friend_id = EOS_EpicAccountId_FromString(entry.openid.c_str());
    const UserInfo info = FriendCalls::CopyUserInfo(self->user_info_, account, friend_id);
    entry.user_name = info->Nickname != nullptr ? info->Nickname : info->DisplayName;
    entry.country = info->Country;
    entry.language = info->PreferredLanguage;
    if (self->details_ < self->list_.size()) return;
    if constexpr (kInRecords) CommitFriends(Request(0), std::move(self->list_), self->count_);
    self->answered_ = true;
  }

  static MMKV& Store() { return *MMKV::defaultMMKV(kMmkvSingleProcess, nullptr); }

  // What the plugin does with JSON and the store for a sign-in.
  static void ReadParameters() {
    Store().removeValueForKey(kStoredKey);
    const JSONReaderParse parameters{kRequestJson};
    std::string mode;
    if (parameters.IsObject() && parameters.HasMember("LoginMode")) {
      parameters["LoginMode"].Convert(mode, false);
    }
    if (mode != "AccountPortal") throw std::runtime_error("the parameters cannot be read");
  }

  void KeepParameters() const {
    JSONWriter document;
    document.StartJsonConvert();
    document.Convert("access_token", eos_.access_token(), kJsonText)
        .Convert("expires_in", 7200LL)
        .Convert("refresh_token", eos_.access_token(), kJsonText)
        .Convert("refresh_expires_in", 7200LL)
        .Convert("nickname", eos_.display_name(), kJsonText)
        .Convert("productUserID", eos_.account_id(), kJsonText)
        .Convert("openid", eos_.account_id(), kJsonText)
        .Convert("flag", 0)
        .Convert("desc", "Epic login success", kJsonText)
        .Convert("channel", "Epic", kJsonText);
    document.EndJsonConvert();
    static_cast<void>(document.GetJsonString());
    Store().set(kRequestJson, kStoredKey);
  }

  static constexpr char kStoredKey[] = "epic_login_extra_json";

  DirectEos& eos_;
  FriendCalls calls_;
  EOS_HUserInfo user_info_ = nullptr;
  int32_t count_ = 0;
  bool answered_ = false;
  List list_;
  std::size_t details_ = 0;
  StatusText status_text_;
  std::string account_text_;
  std::string result_text_;
};

}  // namespace

std::unique_ptr<Side> MakeEosAlone(DirectEos& eos) {
  return std::make_unique<Column<Friend, std::vector<Friend>>>(eos);
}

std::unique_ptr<Side> MakeSdkRecords(DirectEos& eos) {
  return std::make_unique<Column<PersonInfo, PersonList>>(eos);
}

}  // namespace zelk::benchmarks
