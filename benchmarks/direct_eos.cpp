#include "direct_eos.h"

#include <array>
#include <stdexcept>
#include <utility>

namespace zelk::benchmarks {
namespace {

using enum EOS_EResult;

// Long enough for the texts of accounts and product users.
using IdBuffer = std::array<char, 128>;

std::string AccountText(EOS_EpicAccountId account) {
  IdBuffer buffer{};
  auto size = static_cast<int32_t>(buffer.size());
  EOS_EpicAccountId_ToString(account, buffer.data(), &size);
  return buffer.data();
}

std::string ProductUserText(EOS_ProductUserId user) {
  IdBuffer buffer{};
  auto size = static_cast<int32_t>(buffer.size());
  EOS_ProductUserId_ToString(user, buffer.data(), &size);
  return buffer.data();
}

constexpr auto kScopes = static_cast<EOS_EAuthScopeFlags>(
    static_cast<int32_t>(EOS_EAuthScopeFlags::EOS_AS_BasicProfile) |
    static_cast<int32_t>(EOS_EAuthScopeFlags::EOS_AS_FriendsList) |
    static_cast<int32_t>(EOS_EAuthScopeFlags::EOS_AS_Presence));

void Expect(EOS_EResult result) {
  if (result != EOS_Success) throw std::runtime_error(EOS_EResult_ToString(result));
}

}  // namespace

DirectEos::DirectEos(const std::string& cache_directory) {
  EOS_Platform_Options options{};
  options.ApiVersion = 7;
  options.ProductId = "product";
  options.SandboxId = "sandbox";
  options.DeploymentId = "deployment";
  options.ClientCredentials = {.ClientId = "client", .ClientSecret = "secret"};
  options.CacheDirectory = cache_directory.c_str();
  platform_ = EOS_Platform_Create(&options);
  if (platform_ == nullptr) throw std::runtime_error("EOS creates no second platform");
}

// --- sign-in ---

void DirectEos::SignIn() {
  signed_in_ = false;
  LogIn(EOS_ELoginCredentialType::EOS_LCT_PersistentAuth);
  while (!signed_in_) Tick();
}

void DirectEos::LogIn(EOS_ELoginCredentialType type) {
  const EOS_Auth_Credentials credentials{.ApiVersion = 2, .Type = type};
  const EOS_Auth_LoginOptions options{
      .ApiVersion = 2, .Credentials = &credentials, .ScopeFlags = kScopes};
  EOS_Auth_Login(EOS_Platform_GetAuthInterface(platform_), &options, this, &OnAuthLogin);
}

void EOS_CALL DirectEos::OnAuthLogin(const EOS_Auth_LoginCallbackInfo* data) {
  auto* const self = static_cast<DirectEos*>(data->ClientData);
  if (data->ResultCode == EOS_Success) {
    self->account_ = data->LocalUserId;
    return self->ConnectLogIn();
  }
  if (data->ResultCode != EOS_InvalidAuth) return Expect(data->ResultCode);
  self->LogIn(EOS_ELoginCredentialType::EOS_LCT_AccountPortal);
}

void DirectEos::ConnectLogIn() {
  const EOS_Auth_CopyUserAuthTokenOptions copy_options{.ApiVersion = 1};
  EOS_Auth_Token* token = nullptr;
  Expect(EOS_Auth_CopyUserAuthToken(EOS_Platform_GetAuthInterface(platform_), &copy_options,
                                    account_, &token));
  access_token_ = token->AccessToken;
  refresh_token_ = token->RefreshToken;
  account_id_ = AccountText(account_);
  const EOS_Connect_Credentials credentials{.ApiVersion = 1,
                                            .Token = token->AccessToken,
                                            .Type = EOS_EExternalCredentialType::EOS_ECT_EPIC};
  const EOS_Connect_LoginOptions options{.ApiVersion = 2, .Credentials = &credentials};
  EOS_Connect_Login(EOS_Platform_GetConnectInterface(platform_), &options, this, &OnConnectLogin);
  EOS_Auth_Token_Release(token);
}

void EOS_CALL DirectEos::OnConnectLogin(const EOS_Connect_LoginCallbackInfo* data) {
  auto* const self = static_cast<DirectEos*>(data->ClientData);
  Expect(data->ResultCode);
  self->product_user_id_ = ProductUserText(data->LocalUserId);
  self->CopyDisplayName();
  self->signed_in_ = true;
}

void DirectEos::CopyDisplayName() {
  const EOS_UserInfo_CopyUserInfoOptions options{
      .ApiVersion = 1, .LocalUserId = account_, .TargetUserId = account_};
  EOS_UserInfo* info = nullptr;
  Expect(EOS_UserInfo_CopyUserInfo(EOS_Platform_GetUserInfoInterface(platform_), &options, &info));
  display_name_ = info->DisplayName;
  EOS_UserInfo_Release(info);
}

void DirectEos::SignOut() {
  const EOS_Auth_DeletePersistentAuthOptions forget{.ApiVersion = 2};
  const EOS_Auth_LogoutOptions options{.ApiVersion = 1, .LocalUserId = account_};
  const EOS_HAuth auth = EOS_Platform_GetAuthInterface(platform_);
  bool forgotten = false;
  EOS_Auth_Logout(auth, &options, nullptr, [](const EOS_Auth_LogoutCallbackInfo*) {});
  EOS_Auth_DeletePersistentAuth(auth, &forget, &forgotten,
                                [](const EOS_Auth_DeletePersistentAuthCallbackInfo* data) {
                                  *static_cast<bool*>(data->ClientData) = true;
                                });
  while (!forgotten) Tick();
}

// --- friends ---

void DirectEos::AskForFriends(int32_t count) {
  count_ = count;
  listed_ = false;
  friends_.clear();
  details_.clear();
  const EOS_Friends_QueryFriendsOptions options{.ApiVersion = 1, .LocalUserId = account_};
  EOS_Friends_QueryFriends(EOS_Platform_GetFriendsInterface(platform_), &options, this,
                           &OnQueryFriends);
}

void EOS_CALL DirectEos::OnQueryFriends(const EOS_Friends_QueryFriendsCallbackInfo* data) {
  auto* const self = static_cast<DirectEos*>(data->ClientData);
  Expect(data->ResultCode);
  self->List(self->count_);
  for (const Friend& entry : self->friends_) {
    self->AskForDetails(EOS_EpicAccountId_FromString(entry.account_id.c_str()));
  }
  self->listed_ = true;
}

void DirectEos::List(int32_t count) {
  const EOS_HFriends friends = EOS_Platform_GetFriendsInterface(platform_);
  const EOS_Friends_GetFriendsCountOptions count_options{.ApiVersion = 1, .LocalUserId = account_};
  if (EOS_Friends_GetFriendsCount(friends, &count_options) < count) {
    throw std::runtime_error("the world has too few friends");
  }
  for (int32_t i = 0; i < count; ++i) {
    const EOS_Friends_GetFriendAtIndexOptions index_options{
        .ApiVersion = 1, .LocalUserId = account_, .Index = i};
    const EOS_EpicAccountId friend_id = EOS_Friends_GetFriendAtIndex(friends, &index_options);
    if (EOS_EpicAccountId_IsValid(friend_id) == EOS_FALSE) continue;
    const EOS_Friends_GetStatusOptions status_options{
        .ApiVersion = 1, .LocalUserId = account_, .TargetUserId = friend_id};
    const EOS_EFriendsStatus status = EOS_Friends_GetStatus(friends, &status_options);
    friends_.push_back(
        {.account_id = AccountText(friend_id), .status = static_cast<int32_t>(status)});
  }
}

void DirectEos::AskForDetails(EOS_EpicAccountId friend_id) {
  const EOS_UserInfo_QueryUserInfoOptions options{
      .ApiVersion = 1, .LocalUserId = account_, .TargetUserId = friend_id};
  // The completions come in the order of the calls.
  EOS_UserInfo_QueryUserInfo(EOS_Platform_GetUserInfoInterface(platform_), &options, this,
                             &OnQueryUserInfo);
}

void EOS_CALL DirectEos::OnQueryUserInfo(const EOS_UserInfo_QueryUserInfoCallbackInfo* data) {
  auto* const self = static_cast<DirectEos*>(data->ClientData);
  Expect(data->ResultCode);
  self->CopyDetails(self->friends_[self->details_.size()]);
  self->details_.push_back(std::move(self->friends_[self->details_.size()]));
}

// The handles are read from their texts, as a client must that keeps texts.
void DirectEos::CopyDetails(Friend& entry) const {
  const EOS_UserInfo_CopyUserInfoOptions options{
      .ApiVersion = 1,
      .LocalUserId = EOS_EpicAccountId_FromString(account_id_.c_str()),
      .TargetUserId = EOS_EpicAccountId_FromString(entry.account_id.c_str())};
  EOS_UserInfo* info = nullptr;
  Expect(EOS_UserInfo_CopyUserInfo(EOS_Platform_GetUserInfoInterface(platform_), &options, &info));
  entry.name = info->Nickname != nullptr ? info->Nickname : info->DisplayName;
  entry.country = info->Country;
  entry.language = info->PreferredLanguage;
  EOS_UserInfo_Release(info);
}

std::vector<DirectEos::Friend> DirectEos::TakeFriends() {
  while (!listed_ || details_.size() < friends_.size()) Tick();
  return details_;
}

}  // namespace zelk::benchmarks
