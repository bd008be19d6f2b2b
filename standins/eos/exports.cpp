// The exported functions: each lets its caller in, asks the script, and leaves the rest to the
// services.
#include "eos_sdk.h"

#include <algorithm>
#include <cstring>

#include "call_scope.h"
#include "eos_logging.h"
#include "log.h"
#include "services.h"

namespace eos_standin {
namespace {

using enum EOS_EResult;

constexpr size_t kLongestProductName = 64;
constexpr size_t kEncryptionKeyLength = 64;

bool IsEmpty(const char* text) { return text == nullptr || *text == '\0'; }

bool IsProductName(const char* name) {
  return !IsEmpty(name) && std::strlen(name) <= kLongestProductName;
}

bool IsEncryptionKey(const char* key) {
  return std::strlen(key) == kEncryptionKeyLength &&
         std::strspn(key, "0123456789abcdefABCDEF") == kEncryptionKeyLength;
}

EOS_EResult Initialize(const EOS_InitializeOptions& options) {
  if (!IsKnownVersion(options.ApiVersion, EOS_INITIALIZE_API_LATEST)) return EOS_VersionMismatch;
  if (!IsProductName(options.ProductName)) return EOS_InvalidParameters;
  SetInitialized();
  return EOS_Success;
}

// What is wrong with the options; null when nothing is.
const char* FaultIn(const EOS_Platform_Options& options) {
  if (!IsKnownVersion(options.ApiVersion, EOS_PLATFORM_OPTIONS_API_LATEST)) {
    return "unknown ApiVersion";
  }
  if (IsEmpty(options.ProductId)) return "ProductId is missing";
  if (IsEmpty(options.SandboxId)) return "SandboxId is missing";
  if (IsEmpty(options.DeploymentId)) return "DeploymentId is missing";
  if (IsEmpty(options.ClientCredentials.ClientId)) return "ClientId is missing";
  if (IsEmpty(options.ClientCredentials.ClientSecret)) return "ClientSecret is missing";
  if (options.EncryptionKey == nullptr || IsEncryptionKey(options.EncryptionKey)) return nullptr;
  return "EncryptionKey must be 64 hexadecimal characters";
}

void ReleasePlatform(Function function, Platform& platform) {
  platform.Release();
  Tokens().ReportLeaks(function, &platform);
  UserInfos().ReportLeaks(function, &platform);
}

// Handles of interfaces: null for a null platform is no misuse.
template <class Handle>
Handle* InterfaceOf(Function function, EOS_HPlatform handle) {
  const CallScope scope(function);
  if (handle == nullptr) {
    scope.Allowed();
    return nullptr;
  }
  Platform* platform = scope.PlatformOf(handle);
  if (platform == nullptr || scope.Script().Fails()) return nullptr;
  return &std::get<Handle>(platform->interfaces);
}

EOS_EResult CopyText(std::string_view text, char* buffer, int32_t* length) {
  if (buffer == nullptr || length == nullptr) return EOS_InvalidParameters;
  const auto needed = static_cast<int32_t>(text.size() + 1);
  const bool fits = *length >= needed;
  *length = needed;
  if (!fits) return EOS_LimitExceeded;
  std::copy(text.begin(), text.end(), buffer);
  buffer[text.size()] = '\0';
  return EOS_Success;
}

template <class Identifier>
EOS_EResult IdentifierToString(const CallScope& scope, Identifier id, bool valid, char* buffer,
                               int32_t* length) {
  if (!scope.Allowed()) return EOS_NotConfigured;
  if (const Scripted scripted = scope.Script(TextOf(id)); scripted.Fails()) return scripted.result;
  return valid ? CopyText(id->text, buffer, length) : EOS_InvalidUser;
}

EOS_EResult CheckLogging(const CallScope& scope) {
  if (!scope.Allowed()) return EOS_NotConfigured;
  if (const Scripted scripted = scope.Script(); scripted.Fails()) return scripted.result;
  return IsInitialized() ? EOS_Success : EOS_NotConfigured;
}

// The account whose list a getter reads; null where it has nothing to give.
template <class Options>
const Account* ListFor(const CallScope& scope, EOS_HFriends handle, const Options* options,
                       int32_t latest) {
  Platform* platform = scope.PlatformOf(handle, options);
  if (platform == nullptr || scope.Script(TextOf(AccountAbout(*options))).Fails()) return nullptr;
  if (!IsKnownVersion(options->ApiVersion, latest)) return nullptr;
  return OwnerOfList(*platform, options->LocalUserId);
}

template <class Steps, class Handle>
void Start(const Handle* handle, const typename Steps::Options* options, void* client_data,
           typename AsyncCall<Steps>::Callback callback) {
  const CallScope scope(Steps::kFunction, options);
  Platform* platform = scope.PlatformOf(handle, options);
  if (platform == nullptr) return;
  platform->Start(std::make_unique<AsyncCall<Steps>>(*platform, *options, client_data, callback));
}

}  // namespace
}  // namespace eos_standin

using namespace eos_standin;
using enum EOS_EResult;

// --- the library's life, platforms, identifiers and the log ---

EOS_DECLARE_FUNC(EOS_EResult) EOS_Initialize(const EOS_InitializeOptions* Options) {
  const CallScope scope(Function::EOS_Initialize, Options);
  if (!scope.Allowed() || IsInitialized()) return EOS_AlreadyConfigured;
  if (Options == nullptr) scope.Misuse(MisuseRule::kNullOptions);
  if (Options == nullptr || !LoadWorld()) return EOS_InvalidParameters;
  // After the world is loaded: its rules are for this call too.
  const Scripted scripted = scope.Script();
  return scripted.Fails() ? scripted.result : Initialize(*Options);
}

EOS_DECLARE_FUNC(EOS_EResult) EOS_Shutdown(void) {
  const CallScope scope(Function::EOS_Shutdown);
  if (!IsInitialized()) return EOS_NotConfigured;
  if (const Scripted scripted = scope.Script(); scripted.Fails()) return scripted.result;
  for (const auto& platform : Platforms()) {
    if (!platform->released) ReleasePlatform(scope.function(), *platform);
  }
  SetShutDown();
  return EOS_Success;
}

EOS_DECLARE_FUNC(EOS_HPlatform) EOS_Platform_Create(const EOS_Platform_Options* Options) {
  const CallScope scope(Function::EOS_Platform_Create, Options);
  if (!scope.Allowed()) return nullptr;
  if (Options == nullptr) return scope.Misuse(MisuseRule::kNullOptions);
  if (!IsInitialized() || scope.Script().Fails()) return nullptr;
  if (const char* const fault = FaultIn(*Options)) {
    Log(kLogCore, EOS_ELogLevel::EOS_LOG_Error, "EOS_Platform_Create: ", fault);
    return nullptr;
  }
  auto platform = std::make_unique<Platform>();
  const EOS_Platform_ClientCredentials& client = Options->ClientCredentials;
  platform->is_client_known = TheWorld().KnowsClient(client.ClientId, client.ClientSecret);
  if (Options->CacheDirectory != nullptr) platform->cache_directory = Options->CacheDirectory;
  Platforms().push_back(std::move(platform));
  Log(kLogCore, EOS_ELogLevel::EOS_LOG_Info, "Platform created");
  return Platforms().back().get();
}

EOS_DECLARE_FUNC(void) EOS_Platform_Release(EOS_HPlatform Handle) {
  const CallScope scope(Function::EOS_Platform_Release);
  Platform* platform = scope.PlatformOf(Handle);
  if (platform == nullptr) return;
  ReleasePlatform(scope.function(), *platform);
  Log(kLogCore, EOS_ELogLevel::EOS_LOG_Info, "Platform released");
}

EOS_DECLARE_FUNC(void) EOS_Platform_Tick(EOS_HPlatform Handle) {
  const CallScope scope(Function::EOS_Platform_Tick);
  if (Platform* platform = scope.PlatformOf(Handle)) platform->Tick();
}

#define EOS_STANDIN_GIVES(function, Interface)                  \
  EOS_DECLARE_FUNC(Interface*) function(EOS_HPlatform Handle) { \
    return InterfaceOf<Interface>(Function::function, Handle);  \
  }
EOS_STANDIN_GIVES(EOS_Platform_GetAuthInterface, EOS_AuthHandle)
EOS_STANDIN_GIVES(EOS_Platform_GetConnectInterface, EOS_ConnectHandle)
EOS_STANDIN_GIVES(EOS_Platform_GetFriendsInterface, EOS_FriendsHandle)
EOS_STANDIN_GIVES(EOS_Platform_GetUserInfoInterface, EOS_UserInfoHandle)
#undef EOS_STANDIN_GIVES

EOS_DECLARE_FUNC(const char*) EOS_EResult_ToString(EOS_EResult Result) {
  const CallScope scope(Function::EOS_EResult_ToString, "Result", Result);
  return NameOf(Result);
}

EOS_DECLARE_FUNC(EOS_EResult) EOS_Logging_SetCallback(EOS_LogMessageFunc Callback) {
  const CallScope scope(Function::EOS_Logging_SetCallback, "Callback", Callback);
  const EOS_EResult refused = CheckLogging(scope);
  if (refused == EOS_Success) SetLogCallback(Callback);
  return refused;
}

EOS_DECLARE_FUNC(EOS_EResult)
EOS_Logging_SetLogLevel(EOS_ELogCategory LogCategory, EOS_ELogLevel LogLevel) {
  const CallScope scope(Function::EOS_Logging_SetLogLevel, [&] {
    return Json{{"LogCategory", Describe(LogCategory)}, {"LogLevel", Describe(LogLevel)}};
  });
  const EOS_EResult refused = CheckLogging(scope);
  if (refused == EOS_Success) SetLogThreshold(LogCategory, LogLevel);
  return refused;
}

EOS_DECLARE_FUNC(EOS_Bool) EOS_EpicAccountId_IsValid(EOS_EpicAccountId AccountId) {
  const CallScope scope(Function::EOS_EpicAccountId_IsValid, "AccountId", AccountId);
  if (!scope.Allowed()) return EOS_FALSE;
  const bool refused = scope.Script(TextOf(AccountId)).Fails();
  return !refused && IsValid(AccountId) ? EOS_TRUE : EOS_FALSE;
}

EOS_DECLARE_FUNC(EOS_EResult)
EOS_EpicAccountId_ToString(EOS_EpicAccountId AccountId, char* OutBuffer,
                           int32_t* InOutBufferLength) {
  const CallScope scope(Function::EOS_EpicAccountId_ToString, "AccountId", AccountId);
  return IdentifierToString(scope, AccountId, IsValid(AccountId), OutBuffer, InOutBufferLength);
}

EOS_DECLARE_FUNC(EOS_EpicAccountId) EOS_EpicAccountId_FromString(const char* AccountIdString) {
  const CallScope scope(Function::EOS_EpicAccountId_FromString, "AccountIdString", AccountIdString);
  if (!scope.Allowed() || AccountIdString == nullptr || *AccountIdString == '\0') return nullptr;
  return scope.Script(AccountIdString).Fails() ? nullptr : AccountHandleOf(AccountIdString);
}

EOS_DECLARE_FUNC(EOS_EResult)
EOS_ProductUserId_ToString(EOS_ProductUserId AccountId, char* OutBuffer,
                           int32_t* InOutBufferLength) {
  const CallScope scope(Function::EOS_ProductUserId_ToString, "AccountId", AccountId);
  return IdentifierToString(scope, AccountId, AccountId != nullptr, OutBuffer, InOutBufferLength);
}

// --- what is answered later ---

#define EOS_STANDIN_STARTS(function, handle, steps)                        \
  EOS_DECLARE_FUNC(void)                                                   \
  function(handle Handle, const steps::Options* Options, void* ClientData, \
           const AsyncCall<steps>::Callback CompletionDelegate) {          \
    Start<steps>(Handle, Options, ClientData, CompletionDelegate);         \
  }
EOS_STANDIN_STARTS(EOS_Auth_Login, EOS_HAuth, Login)
EOS_STANDIN_STARTS(EOS_Auth_Logout, EOS_HAuth, Logout)
EOS_STANDIN_STARTS(EOS_Auth_DeletePersistentAuth, EOS_HAuth, DeletePersistentAuth)
EOS_STANDIN_STARTS(EOS_Connect_Login, EOS_HConnect, ConnectLogin)
EOS_STANDIN_STARTS(EOS_Connect_CreateUser, EOS_HConnect, CreateUser)
EOS_STANDIN_STARTS(EOS_Friends_QueryFriends, EOS_HFriends, QueryFriends)
EOS_STANDIN_STARTS(EOS_UserInfo_QueryUserInfo, EOS_HUserInfo, QueryUserInfo)
#undef EOS_STANDIN_STARTS

// --- the interfaces ---

EOS_DECLARE_FUNC(EOS_EResult)
EOS_Auth_CopyUserAuthToken(EOS_HAuth Handle, const EOS_Auth_CopyUserAuthTokenOptions* Options,
                           EOS_EpicAccountId LocalUserId, EOS_Auth_Token** OutUserAuthToken) {
  const CallScope scope(Function::EOS_Auth_CopyUserAuthToken, [&] {
    Json json = Describe(Options);
    json["LocalUserId"] = Describe(LocalUserId);
    return json;
  });
  Platform* platform = scope.PlatformOf(Handle, Options);
  if (platform == nullptr || OutUserAuthToken == nullptr) return EOS_InvalidParameters;
  *OutUserAuthToken = nullptr;
  const Scripted scripted = scope.Script(TextOf(LocalUserId));
  if (scripted.Fails()) return scripted.result;
  if (!IsKnownVersion(Options->ApiVersion, EOS_AUTH_COPYUSERAUTHTOKEN_API_LATEST)) {
    return EOS_VersionMismatch;
  }
  const Session* session = platform->SessionOf(LocalUserId);
  if (session == nullptr) return EOS_NotFound;
  *OutUserAuthToken = LendToken(platform, *session, scripted.null_texts);
  return EOS_Success;
}

EOS_DECLARE_FUNC(void) EOS_Auth_Token_Release(EOS_Auth_Token* AuthToken) {
  const CallScope scope(Function::EOS_Auth_Token_Release);
  if (scope.Allowed() && AuthToken != nullptr) Tokens().Reclaim(scope.function(), AuthToken);
}

EOS_DECLARE_FUNC(EOS_NotificationId)
EOS_Connect_AddNotifyAuthExpiration(EOS_HConnect Handle,
                                    const EOS_Connect_AddNotifyAuthExpirationOptions* Options,
                                    void* ClientData,
                                    const EOS_Connect_OnAuthExpirationCallback Notification) {
  const CallScope scope(Function::EOS_Connect_AddNotifyAuthExpiration, Options);
  Platform* platform = scope.PlatformOf(Handle, Options);
  if (platform == nullptr || Notification == nullptr) return EOS_INVALID_NOTIFICATIONID;
  const bool known =
      IsKnownVersion(Options->ApiVersion, EOS_CONNECT_ADDNOTIFYAUTHEXPIRATION_API_LATEST);
  if (!known || scope.Script().Fails()) return EOS_INVALID_NOTIFICATIONID;
  platform->expiration_listeners.push_back({Notification, ClientData});
  return platform->expiration_listeners.size();
}

EOS_DECLARE_FUNC(int32_t)
EOS_Friends_GetFriendsCount(EOS_HFriends Handle,
                            const EOS_Friends_GetFriendsCountOptions* Options) {
  const CallScope scope(Function::EOS_Friends_GetFriendsCount, Options);
  const Account* owner = ListFor(scope, Handle, Options, EOS_FRIENDS_GETFRIENDSCOUNT_API_LATEST);
  return owner == nullptr ? 0 : static_cast<int32_t>(World::FriendCount(*owner));
}

EOS_DECLARE_FUNC(EOS_EpicAccountId)
EOS_Friends_GetFriendAtIndex(EOS_HFriends Handle,
                             const EOS_Friends_GetFriendAtIndexOptions* Options) {
  const CallScope scope(Function::EOS_Friends_GetFriendAtIndex, Options);
  const Account* owner = ListFor(scope, Handle, Options, EOS_FRIENDS_GETFRIENDATINDEX_API_LATEST);
  if (owner == nullptr || Options->Index < 0) return nullptr;
  if (Options->Index >= World::FriendCount(*owner)) return nullptr;
  return AccountHandle(World::FriendAt(*owner, Options->Index));
}

EOS_DECLARE_FUNC(EOS_EFriendsStatus)
EOS_Friends_GetStatus(EOS_HFriends Handle, const EOS_Friends_GetStatusOptions* Options) {
  const CallScope scope(Function::EOS_Friends_GetStatus, Options);
  const Account* owner = ListFor(scope, Handle, Options, EOS_FRIENDS_GETSTATUS_API_LATEST);
  if (owner == nullptr || !IsValid(Options->TargetUserId)) {
    return EOS_EFriendsStatus::EOS_FS_NotFriends;
  }
  return World::StatusOf(*owner, Options->TargetUserId->key);
}

EOS_DECLARE_FUNC(EOS_EResult)
EOS_UserInfo_CopyUserInfo(EOS_HUserInfo Handle, const EOS_UserInfo_CopyUserInfoOptions* Options,
                          EOS_UserInfo** OutUserInfo) {
  const CallScope scope(Function::EOS_UserInfo_CopyUserInfo, Options);
  Platform* platform = scope.PlatformOf(Handle, Options);
  if (platform == nullptr || OutUserInfo == nullptr) return EOS_InvalidParameters;
  *OutUserInfo = nullptr;
  const Scripted scripted = scope.Script(TextOf(Options->TargetUserId));
  if (scripted.Fails()) return scripted.result;
  if (!IsKnownVersion(Options->ApiVersion, EOS_USERINFO_COPYUSERINFO_API_LATEST)) {
    return EOS_VersionMismatch;
  }
  const Session* session = platform->SessionOf(Options->LocalUserId);
  const bool known = platform->known_users.contains(Options->TargetUserId);
  if (session == nullptr || !known) return EOS_NotFound;
  const bool has_profile = session->Has(EOS_EAuthScopeFlags::EOS_AS_BasicProfile);
  *OutUserInfo = LendUserInfo(platform, Options->TargetUserId, scripted.null_texts || !has_profile);
  return EOS_Success;
}

EOS_DECLARE_FUNC(void) EOS_UserInfo_Release(EOS_UserInfo* UserInfo) {
  const CallScope scope(Function::EOS_UserInfo_Release);
  if (scope.Allowed() && UserInfo != nullptr) UserInfos().Reclaim(scope.function(), UserInfo);
}
