#include "describe.h"

#include "identifiers.h"

namespace eos_standin {
namespace {

// A pointer that means nothing outside of the caller.
template <class Pointer>
Json Opaque(Pointer pointer) {
  return pointer == nullptr ? Json() : Json(true);
}

template <class Identifier>
Json IdentifierText(Identifier id) {
  return id == nullptr ? Json() : Json(id->text);
}

template <class Enumeration>
Json Number(Enumeration value) {
  return Json(static_cast<int32_t>(value));
}

Json Credentials(const EOS_Auth_Credentials* credentials) {
  if (credentials == nullptr) return {};
  Json json{{"ApiVersion", credentials->ApiVersion},
            {"Id", Describe(credentials->Id)},
            {"Token", Describe(credentials->Token)},
            {"Type", Number(credentials->Type)},
            {"SystemAuthCredentialsOptions", Opaque(credentials->SystemAuthCredentialsOptions)}};
  if (credentials->ApiVersion >= 2) json["ExternalType"] = Number(credentials->ExternalType);
  return json;
}

Json Credentials(const EOS_Connect_Credentials* credentials) {
  if (credentials == nullptr) return {};
  return {{"ApiVersion", credentials->ApiVersion},
          {"Token", Describe(credentials->Token)},
          {"Type", Number(credentials->Type)}};
}

Json LoginInfo(const EOS_Connect_UserLoginInfo* info) {
  if (info == nullptr) return {};
  return {{"ApiVersion", info->ApiVersion}, {"DisplayName", Describe(info->DisplayName)}};
}

// The options of most calls about accounts.
template <class Options>
Json LocalUser(const Options& options) {
  return {{"ApiVersion", options.ApiVersion}, {"LocalUserId", Describe(options.LocalUserId)}};
}

template <class Options>
Json LocalUserAndTarget(const Options& options) {
  Json json = LocalUser(options);
  json["TargetUserId"] = Describe(options.TargetUserId);
  return json;
}

}  // namespace

Json Describe(const char* text) { return text == nullptr ? Json() : Json(text); }
Json Describe(EOS_EpicAccountId id) { return IdentifierText(id); }
Json Describe(EOS_ProductUserId id) { return IdentifierText(id); }

Json Describe(const EOS_InitializeOptions& options) {
  Json json{{"ApiVersion", options.ApiVersion},
            {"AllocateMemoryFunction", Opaque(options.AllocateMemoryFunction)},
            {"ReallocateMemoryFunction", Opaque(options.ReallocateMemoryFunction)},
            {"ReleaseMemoryFunction", Opaque(options.ReleaseMemoryFunction)},
            {"ProductName", Describe(options.ProductName)},
            {"ProductVersion", Describe(options.ProductVersion)},
            {"Reserved", Opaque(options.Reserved)},
            {"SystemInitializeOptions", Opaque(options.SystemInitializeOptions)}};
  if (options.ApiVersion >= 4)
    json["OverrideThreadAffinity"] = Opaque(options.OverrideThreadAffinity);
  return json;
}

Json Describe(const EOS_Platform_Options& options) {
  Json json{{"ApiVersion", options.ApiVersion},
            {"Reserved", Opaque(options.Reserved)},
            {"ProductId", Describe(options.ProductId)},
            {"SandboxId", Describe(options.SandboxId)},
            {"ClientCredentials",
             {{"ClientId", Describe(options.ClientCredentials.ClientId)},
              {"ClientSecret", Describe(options.ClientCredentials.ClientSecret)}}},
            {"bIsServer", options.bIsServer},
            {"EncryptionKey", Describe(options.EncryptionKey)},
            {"OverrideCountryCode", Describe(options.OverrideCountryCode)},
            {"OverrideLocaleCode", Describe(options.OverrideLocaleCode)},
            {"DeploymentId", Describe(options.DeploymentId)},
            {"Flags", options.Flags},
            {"CacheDirectory", Describe(options.CacheDirectory)}};
  if (options.ApiVersion >= 8) json["TickBudgetInMilliseconds"] = options.TickBudgetInMilliseconds;
  if (options.ApiVersion >= 9) json["RTCOptions"] = Opaque(options.RTCOptions);
  return json;
}

Json Describe(const EOS_Auth_LoginOptions& options) {
  Json json{{"ApiVersion", options.ApiVersion},
            {"Credentials", Credentials(options.Credentials)},
            {"ScopeFlags", Number(options.ScopeFlags)}};
  if (options.ApiVersion >= 3) json["LoginFlags"] = options.LoginFlags;
  return json;
}

Json Describe(const EOS_Auth_LogoutOptions& options) { return LocalUser(options); }

Json Describe(const EOS_Auth_DeletePersistentAuthOptions& options) {
  Json json{{"ApiVersion", options.ApiVersion}};
  if (options.ApiVersion >= 2) json["RefreshToken"] = Describe(options.RefreshToken);
  return json;
}

Json Describe(const EOS_Auth_CopyUserAuthTokenOptions& options) {
  return {{"ApiVersion", options.ApiVersion}};
}

Json Describe(const EOS_Connect_LoginOptions& options) {
  Json json{{"ApiVersion", options.ApiVersion}, {"Credentials", Credentials(options.Credentials)}};
  if (options.ApiVersion >= 2) json["UserLoginInfo"] = LoginInfo(options.UserLoginInfo);
  return json;
}

Json Describe(const EOS_Connect_CreateUserOptions& options) {
  return {{"ApiVersion", options.ApiVersion},
          {"ContinuanceToken", IdentifierText(options.ContinuanceToken)}};
}

Json Describe(const EOS_Connect_AddNotifyAuthExpirationOptions& options) {
  return {{"ApiVersion", options.ApiVersion}};
}

Json Describe(const EOS_Friends_QueryFriendsOptions& options) { return LocalUser(options); }
Json Describe(const EOS_Friends_GetFriendsCountOptions& options) { return LocalUser(options); }

Json Describe(const EOS_Friends_GetFriendAtIndexOptions& options) {
  Json json = LocalUser(options);
  json["Index"] = options.Index;
  return json;
}

Json Describe(const EOS_Friends_GetStatusOptions& options) { return LocalUserAndTarget(options); }
Json Describe(const EOS_UserInfo_QueryUserInfoOptions& options) {
  return LocalUserAndTarget(options);
}
Json Describe(const EOS_UserInfo_CopyUserInfoOptions& options) {
  return LocalUserAndTarget(options);
}

}  // namespace eos_standin
