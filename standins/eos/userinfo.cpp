// The UserInfo interface. Nothing is logged of single accounts that are found: callers ask for
// thousands.
#include "eos_userinfo.h"

#include "entry.h"
#include "library.h"
#include "loans.h"
#include "log.h"
#include "results.h"

namespace eos_standin {
namespace {

using enum EOS_EResult;

class QueryUserInfo final : public Completion<EOS_UserInfo_QueryUserInfoCallbackInfo> {
 public:
  QueryUserInfo(Platform& platform, const EOS_UserInfo_QueryUserInfoOptions& options,
                void* client_data, Callback callback)
      : Completion(Function::EOS_UserInfo_QueryUserInfo, options.TargetUserId, client_data,
                   callback),
        platform_(platform),
        refused_(CheckVersion(options.ApiVersion, EOS_USERINFO_QUERYUSERINFO_API_LATEST)) {
    info_.LocalUserId = options.LocalUserId;
    info_.TargetUserId = options.TargetUserId;
  }

 private:
  EOS_EResult Work() override {
    if (refused_ != EOS_Success) return refused_;
    if (info_.TargetUserId == nullptr) return EOS_InvalidParameters;
    if (platform_.SessionOf(info_.LocalUserId) == nullptr) return EOS_InvalidUser;
    const EOS_EpicAccountId target = info_.TargetUserId;
    if (!target->valid || !TheWorld().HasProfile(target->key)) return EOS_NotFound;
    platform_.known_users.insert(target);
    return EOS_Success;
  }

  void Furnish(EOS_EResult result, const Scripted&) override {
    if (result == EOS_Success) return;
    Log(kLogUserInfo, EOS_ELogLevel::EOS_LOG_Warning, "Query of user info of ",
        TextOf(info_.TargetUserId), " completed: ", NameOf(result));
  }

  Platform& platform_;
  EOS_EResult refused_;
};

struct LentUserInfo : EOS_UserInfo {
  Profile profile;

  void Spoil() {
    for (auto* text :
         {&profile.display_name, &profile.nickname, &profile.country, &profile.language}) {
      SpoilText(*text);
    }
  }
};

Loans<LentUserInfo>& UserInfoLoans() {
  static auto& loans = *new Loans<LentUserInfo>("user-info", outstanding_counts.user_infos);
  return loans;
}

std::unique_ptr<LentUserInfo> MakeUserInfo(EOS_EpicAccountId user, bool null_texts) {
  auto info = std::make_unique<LentUserInfo>();
  if (!null_texts) info->profile = TheWorld().ProfileOf(user->key).value_or(Profile{});
  info->ApiVersion = EOS_USERINFO_API_LATEST;
  info->UserId = user;
  info->Country = Borrow(info->profile.country);
  info->DisplayName = Borrow(info->profile.display_name);
  info->PreferredLanguage = Borrow(info->profile.language);
  info->Nickname = Borrow(info->profile.nickname);
  info->DisplayNameSanitized = info->DisplayName;
  return info;
}

}  // namespace

void ReportLeakedUserInfos(const Entry& entry, const Platform* platform) {
  UserInfoLoans().ReportLeaks(entry, platform);
}

}  // namespace eos_standin

using namespace eos_standin;

EOS_DECLARE_FUNC(void)
EOS_UserInfo_QueryUserInfo(EOS_HUserInfo Handle, const EOS_UserInfo_QueryUserInfoOptions* Options,
                           void* ClientData,
                           const EOS_UserInfo_OnQueryUserInfoCallback CompletionDelegate) {
  const Entry entry(Function::EOS_UserInfo_QueryUserInfo, Options);
  Platform* platform = entry.PlatformOf(Handle, Options);
  if (platform == nullptr) return;
  platform->Start(
      std::make_unique<QueryUserInfo>(*platform, *Options, ClientData, CompletionDelegate));
}

EOS_DECLARE_FUNC(EOS_EResult)
EOS_UserInfo_CopyUserInfo(EOS_HUserInfo Handle, const EOS_UserInfo_CopyUserInfoOptions* Options,
                          EOS_UserInfo** OutUserInfo) {
  const Entry entry(Function::EOS_UserInfo_CopyUserInfo, Options);
  Platform* platform = entry.PlatformOf(Handle, Options);
  if (platform == nullptr || OutUserInfo == nullptr) return EOS_InvalidParameters;
  *OutUserInfo = nullptr;
  const Scripted scripted = entry.Script(TextOf(Options->TargetUserId));
  if (scripted.Fails()) return scripted.result;
  const EOS_EResult version =
      CheckVersion(Options->ApiVersion, EOS_USERINFO_COPYUSERINFO_API_LATEST);
  if (version != EOS_Success) return version;
  const bool signed_in = platform->SessionOf(Options->LocalUserId) != nullptr;
  if (!signed_in || !platform->known_users.contains(Options->TargetUserId)) return EOS_NotFound;
  *OutUserInfo =
      UserInfoLoans().Lend(platform, MakeUserInfo(Options->TargetUserId, scripted.null_texts));
  return EOS_Success;
}

EOS_DECLARE_FUNC(void) EOS_UserInfo_Release(EOS_UserInfo* UserInfo) {
  const Entry entry(Function::EOS_UserInfo_Release);
  if (entry.Allowed() && UserInfo != nullptr) UserInfoLoans().TakeBack(entry, UserInfo);
}
