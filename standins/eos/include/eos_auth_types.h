// The options, data and callbacks of the Auth interface.
#pragma once

#include "eos_common.h"

#pragma pack(push, 8)

EOS_ENUM(EOS_ELoginCredentialType){
    EOS_LCT_Password = 0,      EOS_LCT_ExchangeCode = 1, EOS_LCT_PersistentAuth = 2,
    EOS_LCT_DeviceCode = 3,    EOS_LCT_Developer = 4,    EOS_LCT_RefreshToken = 5,
    EOS_LCT_AccountPortal = 6, EOS_LCT_ExternalAuth = 7,
};

EOS_ENUM(EOS_EAuthScopeFlags){
    EOS_AS_NoFlags = 0,
    EOS_AS_BasicProfile = 1,
    EOS_AS_FriendsList = 2,
    EOS_AS_Presence = 4,
};
EOS_ENUM_BOOLEAN_OPERATORS(EOS_EAuthScopeFlags)

EOS_ENUM(EOS_EAuthTokenType){EOS_ATT_Client = 0, EOS_ATT_User = 1};

#define EOS_AUTH_CREDENTIALS_API_LATEST 2
typedef struct EOS_Auth_Credentials {
  int32_t ApiVersion;
  const char* Id;
  const char* Token;
  EOS_ELoginCredentialType Type;
  void* SystemAuthCredentialsOptions;
  // Since version 2.
  EOS_EExternalCredentialType ExternalType;
} EOS_Auth_Credentials;

#define EOS_AUTH_LOGIN_API_LATEST 3
typedef struct EOS_Auth_LoginOptions {
  int32_t ApiVersion;
  const EOS_Auth_Credentials* Credentials;
  EOS_EAuthScopeFlags ScopeFlags;
  // Since version 3.
  uint64_t LoginFlags;
} EOS_Auth_LoginOptions;

#define EOS_AUTH_PINGRANTINFO_API_LATEST 2
typedef struct EOS_Auth_PinGrantInfo {
  int32_t ApiVersion;
  const char* UserCode;
  const char* VerificationURI;
  // Seconds.
  int32_t ExpiresIn;
  const char* VerificationURIComplete;
} EOS_Auth_PinGrantInfo;

typedef struct EOS_Auth_LoginCallbackInfo {
  EOS_EResult ResultCode;
  void* ClientData;
  EOS_EpicAccountId LocalUserId;
  // With EOS_Auth_PinGrantCode only.
  const EOS_Auth_PinGrantInfo* PinGrantInfo;
  EOS_ContinuanceToken ContinuanceToken;
  const struct EOS_Auth_AccountFeatureRestrictedInfo* AccountFeatureRestrictedInfo_DEPRECATED;
  EOS_EpicAccountId SelectedAccountId;
} EOS_Auth_LoginCallbackInfo;
EOS_DECLARE_CALLBACK(EOS_Auth_OnLoginCallback, const EOS_Auth_LoginCallbackInfo* Data);

#define EOS_AUTH_LOGOUT_API_LATEST 1
typedef struct EOS_Auth_LogoutOptions {
  int32_t ApiVersion;
  EOS_EpicAccountId LocalUserId;
} EOS_Auth_LogoutOptions;

typedef struct EOS_Auth_LogoutCallbackInfo {
  EOS_EResult ResultCode;
  void* ClientData;
  EOS_EpicAccountId LocalUserId;
} EOS_Auth_LogoutCallbackInfo;
EOS_DECLARE_CALLBACK(EOS_Auth_OnLogoutCallback, const EOS_Auth_LogoutCallbackInfo* Data);

#define EOS_AUTH_DELETEPERSISTENTAUTH_API_LATEST 2
typedef struct EOS_Auth_DeletePersistentAuthOptions {
  int32_t ApiVersion;
  // Since version 2.
  const char* RefreshToken;
} EOS_Auth_DeletePersistentAuthOptions;

typedef struct EOS_Auth_DeletePersistentAuthCallbackInfo {
  EOS_EResult ResultCode;
  void* ClientData;
} EOS_Auth_DeletePersistentAuthCallbackInfo;
EOS_DECLARE_CALLBACK(EOS_Auth_OnDeletePersistentAuthCallback,
                     const EOS_Auth_DeletePersistentAuthCallbackInfo* Data);

#define EOS_AUTH_COPYUSERAUTHTOKEN_API_LATEST 1
typedef struct EOS_Auth_CopyUserAuthTokenOptions {
  int32_t ApiVersion;
} EOS_Auth_CopyUserAuthTokenOptions;

#define EOS_AUTH_TOKEN_API_LATEST 2
typedef struct EOS_Auth_Token {
  int32_t ApiVersion;
  const char* App;
  const char* ClientId;
  EOS_EpicAccountId AccountId;
  const char* AccessToken;
  // Seconds.
  double ExpiresIn;
  const char* ExpiresAt;
  EOS_EAuthTokenType AuthType;
  const char* RefreshToken;
  // Seconds.
  double RefreshExpiresIn;
  const char* RefreshExpiresAt;
} EOS_Auth_Token;

#pragma pack(pop)

// Gives a token back; null is allowed.
EOS_DECLARE_FUNC(void) EOS_Auth_Token_Release(EOS_Auth_Token* AuthToken);
