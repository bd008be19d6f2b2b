// The library's life, platforms, identifiers and the log.
#include "eos_sdk.h"

#include <algorithm>
#include <cstring>

#include "auth.h"
#include "call_scope.h"
#include "eos_logging.h"
#include "log.h"
#include "results.h"
#include "user_info.h"

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
  if (CheckVersion(options.ApiVersion, EOS_INITIALIZE_API_LATEST) != EOS_Success) {
    return EOS_VersionMismatch;
  }
  if (!IsProductName(options.ProductName)) return EOS_InvalidParameters;
  SetInitialized();
  return EOS_Success;
}

// What is wrong with the options; null when nothing is.
const char* FaultIn(const EOS_Platform_Options& options) {
  if (CheckVersion(options.ApiVersion, EOS_PLATFORM_OPTIONS_API_LATEST) != EOS_Success) {
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
  ReportLeakedTokens(function, &platform);
  ReportLeakedUserInfos(function, &platform);
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

}  // namespace
}  // namespace eos_standin

using namespace eos_standin;

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

EOS_DECLARE_FUNC(EOS_HAuth) EOS_Platform_GetAuthInterface(EOS_HPlatform Handle) {
  return InterfaceOf<EOS_AuthHandle>(Function::EOS_Platform_GetAuthInterface, Handle);
}

EOS_DECLARE_FUNC(EOS_HConnect) EOS_Platform_GetConnectInterface(EOS_HPlatform Handle) {
  return InterfaceOf<EOS_ConnectHandle>(Function::EOS_Platform_GetConnectInterface, Handle);
}

EOS_DECLARE_FUNC(EOS_HFriends) EOS_Platform_GetFriendsInterface(EOS_HPlatform Handle) {
  return InterfaceOf<EOS_FriendsHandle>(Function::EOS_Platform_GetFriendsInterface, Handle);
}

EOS_DECLARE_FUNC(EOS_HUserInfo) EOS_Platform_GetUserInfoInterface(EOS_HPlatform Handle) {
  return InterfaceOf<EOS_UserInfoHandle>(Function::EOS_Platform_GetUserInfoInterface, Handle);
}

EOS_DECLARE_FUNC(const char*) EOS_EResult_ToString(EOS_EResult Result) {
  const CallScope scope(Function::EOS_EResult_ToString, [&] {
    return Json{{"Result", Describe(Result)}};
  });
  return NameOf(Result);
}

EOS_DECLARE_FUNC(EOS_EResult) EOS_Logging_SetCallback(EOS_LogMessageFunc Callback) {
  const CallScope scope(Function::EOS_Logging_SetCallback, [&] {
    return Json{{"Callback", Describe(Callback)}};
  });
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
  const CallScope scope(Function::EOS_EpicAccountId_IsValid, [&] {
    return Json{{"AccountId", Describe(AccountId)}};
  });
  if (!scope.Allowed()) return EOS_FALSE;
  const bool refused = scope.Script(TextOf(AccountId)).Fails();
  return !refused && IsValid(AccountId) ? EOS_TRUE : EOS_FALSE;
}

EOS_DECLARE_FUNC(EOS_EResult)
EOS_EpicAccountId_ToString(EOS_EpicAccountId AccountId, char* OutBuffer,
                           int32_t* InOutBufferLength) {
  const CallScope scope(Function::EOS_EpicAccountId_ToString, [&] {
    return Json{{"AccountId", Describe(AccountId)}};
  });
  return IdentifierToString(scope, AccountId, IsValid(AccountId), OutBuffer, InOutBufferLength);
}

EOS_DECLARE_FUNC(EOS_EpicAccountId) EOS_EpicAccountId_FromString(const char* AccountIdString) {
  const CallScope scope(Function::EOS_EpicAccountId_FromString, [&] {
    return Json{{"AccountIdString", Describe(AccountIdString)}};
  });
  if (!scope.Allowed() || AccountIdString == nullptr || *AccountIdString == '\0') return nullptr;
  return scope.Script(AccountIdString).Fails() ? nullptr : AccountHandleOf(AccountIdString);
}

EOS_DECLARE_FUNC(EOS_EResult)
EOS_ProductUserId_ToString(EOS_ProductUserId AccountId, char* OutBuffer,
                           int32_t* InOutBufferLength) {
  const CallScope scope(Function::EOS_ProductUserId_ToString, [&] {
    return Json{{"AccountId", Describe(AccountId)}};
  });
  return IdentifierToString(scope, AccountId, AccountId != nullptr, OutBuffer, InOutBufferLength);
}
