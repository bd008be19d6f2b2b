#include "user_info.h"

#include "lent_objects.h"
#include "library.h"
#include "log.h"

namespace eos_standin {
namespace {

using enum EOS_EResult;
using LentUserInfo = Lent<EOS_UserInfo, 4>;

LentObjects<LentUserInfo>& UserInfos() {
  static constexpr LendingRules kRules{.released_twice = MisuseRule::kUserInfoReleasedTwice,
                                       .after_platform = MisuseRule::kUserInfoAfterPlatform,
                                       .leaked = MisuseRule::kUserInfoLeaked};
  static auto& infos = *new LentObjects<LentUserInfo>(kRules, outstanding_counts.user_infos);
  return infos;
}

}  // namespace

EOS_EResult QueryUserInfo::Work(Platform& platform, const Info& info) {
  const EOS_EpicAccountId target = info.TargetUserId;
  if (target == nullptr) return EOS_InvalidParameters;
  if (platform.SessionOf(info.LocalUserId) == nullptr) return EOS_InvalidUser;
  if (!target->valid || !TheWorld().HasProfile(target->key)) return EOS_NotFound;
  platform.known_users.insert(target);
  return EOS_Success;
}

void QueryUserInfo::BeforeCompletion(const Platform& /*platform*/, const Scripted& /*scripted*/,
                                     const Info& info) {
  if (info.ResultCode == EOS_Success) return;
  Log(kLogUserInfo, EOS_ELogLevel::EOS_LOG_Warning, "Query of user info of ",
      TextOf(info.TargetUserId), " completed: ", NameOf(info.ResultCode));
}

EOS_UserInfo* LendUserInfo(const Platform* platform, EOS_EpicAccountId user, bool null_texts) {
  auto info = std::make_unique<LentUserInfo>();
  Profile profile;
  if (!null_texts) profile = TheWorld().ProfileOf(user->key).value_or(Profile{});
  info->ApiVersion = EOS_USERINFO_API_LATEST;
  info->UserId = user;
  info->Country = info->Keep(std::move(profile.country));
  info->DisplayName = info->Keep(std::move(profile.display_name));
  info->PreferredLanguage = info->Keep(std::move(profile.language));
  info->Nickname = info->Keep(std::move(profile.nickname));
  info->DisplayNameSanitized = info->DisplayName;
  return UserInfos().Lend(platform, std::move(info));
}

void ReclaimUserInfo(Function function, const EOS_UserInfo* info) {
  UserInfos().Reclaim(function, info);
}

void ReportLeakedUserInfos(Function function, const Platform* platform) {
  UserInfos().ReportLeaks(function, platform);
}

}  // namespace eos_standin
