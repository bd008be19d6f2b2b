// Compiled only: the layouts that the plugin shares with EOS, the same for every compiler, and a
// call by which the name of the plugin's C++ export can be read in the assembler's text. No header
// of a standard library is needed, so that it can be compiled for Microsoft's compiler anywhere.
#include <stddef.h>  // NOLINT(modernize-deprecated-headers): the C header alone is there for every compiler

#include "core_contract/friend.h"
#include "eos_logging.h"
#include "eos_sdk.h"

namespace zelk_test {

void Send(const zelk::FriendReqInfo& info, const zelk::SdkString& channel);
void Send(const zelk::FriendReqInfo& info, const zelk::SdkString& channel) {
  zelk::Friend::SendMessage(info, channel);
}

// clang-format off
#define LAYOUT(type, size, fields) \
  struct LayoutOf_##type { using Type = type; static_assert(sizeof(Type) == size fields); }
#define AT(field, offset) && offsetof(Type, field) == offset

// What the plugin fills.
LAYOUT(EOS_InitializeOptions, 72, AT(ApiVersion, 0) AT(AllocateMemoryFunction, 8)
       AT(ReallocateMemoryFunction, 16) AT(ReleaseMemoryFunction, 24) AT(ProductName, 32)
       AT(ProductVersion, 40) AT(Reserved, 48) AT(SystemInitializeOptions, 56)
       AT(OverrideThreadAffinity, 64));
LAYOUT(EOS_Platform_ClientCredentials, 16, AT(ClientId, 0) AT(ClientSecret, 8));
LAYOUT(EOS_Platform_Options, 120, AT(ApiVersion, 0) AT(Reserved, 8) AT(ProductId, 16)
       AT(SandboxId, 24) AT(ClientCredentials, 32) AT(bIsServer, 48) AT(EncryptionKey, 56)
       AT(OverrideCountryCode, 64) AT(OverrideLocaleCode, 72) AT(DeploymentId, 80) AT(Flags, 88)
       AT(CacheDirectory, 96) AT(TickBudgetInMilliseconds, 104) AT(RTCOptions, 112));
LAYOUT(EOS_Auth_Credentials, 48, AT(ApiVersion, 0) AT(Id, 8) AT(Token, 16) AT(Type, 24)
       AT(SystemAuthCredentialsOptions, 32) AT(ExternalType, 40));
LAYOUT(EOS_Auth_LoginOptions, 32, AT(ApiVersion, 0) AT(Credentials, 8) AT(ScopeFlags, 16)
       AT(LoginFlags, 24));
LAYOUT(EOS_Auth_LogoutOptions, 16, AT(ApiVersion, 0) AT(LocalUserId, 8));
LAYOUT(EOS_Auth_DeletePersistentAuthOptions, 16, AT(ApiVersion, 0) AT(RefreshToken, 8));
LAYOUT(EOS_Auth_CopyUserAuthTokenOptions, 4, AT(ApiVersion, 0));
LAYOUT(EOS_Connect_Credentials, 24, AT(ApiVersion, 0) AT(Token, 8) AT(Type, 16));
LAYOUT(EOS_Connect_LoginOptions, 24, AT(ApiVersion, 0) AT(Credentials, 8) AT(UserLoginInfo, 16));
LAYOUT(EOS_Connect_CreateUserOptions, 16, AT(ApiVersion, 0) AT(ContinuanceToken, 8));
LAYOUT(EOS_Connect_AddNotifyAuthExpirationOptions, 4, AT(ApiVersion, 0));
LAYOUT(EOS_Friends_QueryFriendsOptions, 16, AT(ApiVersion, 0) AT(LocalUserId, 8));
LAYOUT(EOS_Friends_GetFriendsCountOptions, 16, AT(ApiVersion, 0) AT(LocalUserId, 8));
LAYOUT(EOS_Friends_GetFriendAtIndexOptions, 24, AT(ApiVersion, 0) AT(LocalUserId, 8) AT(Index, 16));
LAYOUT(EOS_Friends_GetStatusOptions, 24, AT(ApiVersion, 0) AT(LocalUserId, 8) AT(TargetUserId, 16));
LAYOUT(EOS_UserInfo_QueryUserInfoOptions, 24, AT(ApiVersion, 0) AT(LocalUserId, 8)
       AT(TargetUserId, 16));
LAYOUT(EOS_UserInfo_CopyUserInfoOptions, 24, AT(ApiVersion, 0) AT(LocalUserId, 8)
       AT(TargetUserId, 16));

// What it is given.
LAYOUT(EOS_Auth_PinGrantInfo, 40, AT(ApiVersion, 0) AT(UserCode, 8) AT(VerificationURI, 16)
       AT(ExpiresIn, 24) AT(VerificationURIComplete, 32));
LAYOUT(EOS_Auth_LoginCallbackInfo, 56, AT(ResultCode, 0) AT(ClientData, 8) AT(LocalUserId, 16)
       AT(PinGrantInfo, 24) AT(ContinuanceToken, 32) AT(AccountFeatureRestrictedInfo_DEPRECATED, 40)
       AT(SelectedAccountId, 48));
LAYOUT(EOS_Auth_LogoutCallbackInfo, 24, AT(ResultCode, 0) AT(ClientData, 8) AT(LocalUserId, 16));
LAYOUT(EOS_Auth_DeletePersistentAuthCallbackInfo, 16, AT(ResultCode, 0) AT(ClientData, 8));
LAYOUT(EOS_Auth_Token, 88, AT(ApiVersion, 0) AT(App, 8) AT(ClientId, 16) AT(AccountId, 24)
       AT(AccessToken, 32) AT(ExpiresIn, 40) AT(ExpiresAt, 48) AT(AuthType, 56) AT(RefreshToken, 64)
       AT(RefreshExpiresIn, 72) AT(RefreshExpiresAt, 80));
LAYOUT(EOS_Connect_LoginCallbackInfo, 32, AT(ResultCode, 0) AT(ClientData, 8) AT(LocalUserId, 16)
       AT(ContinuanceToken, 24));
LAYOUT(EOS_Connect_CreateUserCallbackInfo, 24, AT(ResultCode, 0) AT(ClientData, 8)
       AT(LocalUserId, 16));
LAYOUT(EOS_Connect_AuthExpirationCallbackInfo, 16, AT(ClientData, 0) AT(LocalUserId, 8));
LAYOUT(EOS_Friends_QueryFriendsCallbackInfo, 24, AT(ResultCode, 0) AT(ClientData, 8)
       AT(LocalUserId, 16));
LAYOUT(EOS_UserInfo_QueryUserInfoCallbackInfo, 32, AT(ResultCode, 0) AT(ClientData, 8)
       AT(LocalUserId, 16) AT(TargetUserId, 24));
LAYOUT(EOS_UserInfo, 56, AT(ApiVersion, 0) AT(UserId, 8) AT(Country, 16) AT(DisplayName, 24)
       AT(PreferredLanguage, 32) AT(Nickname, 40) AT(DisplayNameSanitized, 48));
LAYOUT(EOS_LogMessage, 24, AT(Category, 0) AT(Message, 8) AT(Level, 16));
// clang-format on

}  // namespace zelk_test
