// Connect, Friends and UserInfo.
#include "services.h"

#include "library.h"
#include "log.h"

namespace eos_standin {

using enum EOS_EResult;
using enum EOS_ELogLevel;

// --- Connect ---

EOS_EResult ConnectLogin::Begin(const Options& options) {
  Log(kLogConnect, EOS_LOG_Verbose, "Connect login started");
  const EOS_Connect_Credentials* credentials = options.Credentials;
  if (credentials == nullptr) return EOS_InvalidParameters;
  if (!IsKnownVersion(credentials->ApiVersion, EOS_CONNECT_CREDENTIALS_API_LATEST)) {
    return EOS_VersionMismatch;
  }
  if (credentials->Token == nullptr || *credentials->Token == '\0') return EOS_InvalidParameters;
  if (credentials->Type != EOS_EExternalCredentialType::EOS_ECT_EPIC) return EOS_InvalidParameters;
  token_ = credentials->Token;
  return EOS_Success;
}

EOS_EResult ConnectLogin::Work(Platform& platform, Info& info) {
  const Account* account = AccountOfToken(platform);
  if (account == nullptr) return EOS_InvalidAuth;
  if (!account->product_user) return EOS_InvalidUser;
  info.LocalUserId = platform.product_user = ProductUserHandle(*account->product_user);
  return EOS_Success;
}

// Also a scripted InvalidUser comes with what creates the user.
void ConnectLogin::BeforeCompletion(const Platform& platform, const Scripted& /*scripted*/,
                                    Info& info) {
  const bool unknown_user = info.ResultCode == EOS_InvalidUser;
  const Account* account = unknown_user ? AccountOfToken(platform) : nullptr;
  info.ContinuanceToken = account == nullptr ? nullptr : ContinuanceTokenFor(account->id);
  Log(kLogConnect, info.ResultCode == EOS_Success ? EOS_LOG_Info : EOS_LOG_Warning,
      "Connect login completed: ", NameOf(info.ResultCode));
}

const Account* ConnectLogin::AccountOfToken(const Platform& platform) const {
  const auto found = platform.access_tokens.find(token_);
  return found == platform.access_tokens.end() ? nullptr : TheWorld().Find(found->second);
}

EOS_EResult CreateUser::Begin(const Options& options) {
  token_ = options.ContinuanceToken;
  return token_ == nullptr ? EOS_InvalidParameters : EOS_Success;
}

EOS_EResult CreateUser::Work(Platform& platform, Info& info) const {
  TheWorld().CreateProductUser(token_->account);
  const Account* account = TheWorld().Find(token_->account);
  info.LocalUserId = platform.product_user = ProductUserHandle(*account->product_user);
  Log(kLogConnect, EOS_LOG_Info, "Product user created: ", info.LocalUserId->text);
  return EOS_Success;
}

// --- Friends ---

EOS_EResult QueryFriends::Begin(const Options& /*options*/) {
  Log(kLogFriends, EOS_LOG_Verbose, "Query of friends started");
  return EOS_Success;
}

EOS_EResult QueryFriends::Work(Platform& platform, const Info& info) {
  Session* session = platform.SessionOf(info.LocalUserId);
  if (session == nullptr) return EOS_InvalidUser;
  if (!session->Has(EOS_EAuthScopeFlags::EOS_AS_FriendsList)) {
    Log(kLogFriends, EOS_LOG_Warning, "The login did not ask for the scope EOS_AS_FriendsList");
    return EOS_MissingPermissions;
  }
  session->knows_friends = true;
  return EOS_Success;
}

void QueryFriends::BeforeCompletion(const Platform& /*platform*/, const Scripted& /*scripted*/,
                                    const Info& info) {
  Log(kLogFriends, info.ResultCode == EOS_Success ? EOS_LOG_Verbose : EOS_LOG_Warning,
      "Query of friends completed: ", NameOf(info.ResultCode));
}

const Account* OwnerOfList(Platform& platform, EOS_EpicAccountId id) {
  const Session* session = platform.SessionOf(id);
  return session != nullptr && session->knows_friends ? session->account : nullptr;
}

// --- UserInfo ---

LentObjects<LentUserInfo>& UserInfos() {
  static constexpr LendingRules kRules{.released_twice = MisuseRule::kUserInfoReleasedTwice,
                                       .after_platform = MisuseRule::kUserInfoAfterPlatform,
                                       .leaked = MisuseRule::kUserInfoLeaked};
  static auto& infos = *new LentObjects<LentUserInfo>(kRules, outstanding_counts.user_infos);
  return infos;
}

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

}  // namespace eos_standin
