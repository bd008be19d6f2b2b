#include "direct_eos.h"

#include <array>
#include <stdexcept>
#include <utility>

#include "core_contract/log.h"
#include "eos_logging.h"

namespace zelk::benchmarks {
namespace {

using enum EOS_EResult;

// Long enough for the texts of accounts and product users.
using IdBuffer = std::array<char, 128>;

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

// Without the plugin nobody has done so. The log goes where the plugin would send it.
void InitializeEos() {
  const EOS_InitializeOptions options{.ApiVersion = 3, .ProductName = "benchmark"};
  const EOS_EResult result = EOS_Initialize(&options);
  if (result == EOS_AlreadyConfigured) return;
  Expect(result);
  Expect(EOS_Logging_SetCallback([](const EOS_LogMessage* message) {
    Log::GetInstance()->OutputLog(kLogInfo, "ZELK", false, false, "direct_eos.cpp", "EosLog",
                                  __LINE__, "[EOS SDK] %s: %s", message->Category,
                                  message->Message);
  }));
}

}  // namespace

void Expect(EOS_EResult result) {
  if (result != EOS_Success) throw std::runtime_error(EOS_EResult_ToString(result));
}

std::string AccountText(EOS_EpicAccountId account) {
  IdBuffer buffer{};
  auto size = static_cast<int32_t>(buffer.size());
  EOS_EpicAccountId_ToString(account, buffer.data(), &size);
  return buffer.data();
}

DirectEos::DirectEos(const std::string& cache_directory) {
  InitializeEos();
  EOS_Platform_Options options{};
  options.ApiVersion = 7;
  options.ProductId = "product";
  options.SandboxId = "sandbox";
  options.DeploymentId = "deployment";
  options.ClientCredentials = {.ClientId = "client", .ClientSecret = "secret"};
  options.CacheDirectory = cache_directory.c_str();
  platform_ = EOS_Platform_Create(&options);
  if (platform_ == nullptr) throw std::runtime_error("EOS creates no platform");
  auth_ = EOS_Platform_GetAuthInterface(platform_);
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
  EOS_Auth_Login(auth_, &options, this, &OnAuthLogin);
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
  Expect(EOS_Auth_CopyUserAuthToken(auth_, &copy_options, account_, &token));
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
  bool forgotten = false;
  EOS_Auth_Logout(auth_, &options, nullptr, [](const EOS_Auth_LogoutCallbackInfo*) {});
  EOS_Auth_DeletePersistentAuth(auth_, &forget, &forgotten,
                                [](const EOS_Auth_DeletePersistentAuthCallbackInfo* data) {
                                  *static_cast<bool*>(data->ClientData) = true;
                                });
  while (!forgotten) Tick();
}

}  // namespace zelk::benchmarks
