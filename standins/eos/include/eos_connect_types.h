// The options, data and callbacks of the Connect interface.
#pragma once

#include "eos_common.h"

#pragma pack(push, 8)

#define EOS_CONNECT_CREDENTIALS_API_LATEST 1
typedef struct EOS_Connect_Credentials {
  int32_t ApiVersion;
  const char* Token;
  EOS_EExternalCredentialType Type;
} EOS_Connect_Credentials;

#define EOS_CONNECT_USERLOGININFO_API_LATEST 1
typedef struct EOS_Connect_UserLoginInfo {
  int32_t ApiVersion;
  const char* DisplayName;
} EOS_Connect_UserLoginInfo;

#define EOS_CONNECT_LOGIN_API_LATEST 2
typedef struct EOS_Connect_LoginOptions {
  int32_t ApiVersion;
  const EOS_Connect_Credentials* Credentials;
  // Since version 2.
  const EOS_Connect_UserLoginInfo* UserLoginInfo;
} EOS_Connect_LoginOptions;

typedef struct EOS_Connect_LoginCallbackInfo {
  EOS_EResult ResultCode;
  void* ClientData;
  EOS_ProductUserId LocalUserId;
  // With EOS_InvalidUser: what EOS_Connect_CreateUser takes.
  EOS_ContinuanceToken ContinuanceToken;
} EOS_Connect_LoginCallbackInfo;
EOS_DECLARE_CALLBACK(EOS_Connect_OnLoginCallback, const EOS_Connect_LoginCallbackInfo* Data);

#define EOS_CONNECT_CREATEUSER_API_LATEST 1
typedef struct EOS_Connect_CreateUserOptions {
  int32_t ApiVersion;
  EOS_ContinuanceToken ContinuanceToken;
} EOS_Connect_CreateUserOptions;

typedef struct EOS_Connect_CreateUserCallbackInfo {
  EOS_EResult ResultCode;
  void* ClientData;
  EOS_ProductUserId LocalUserId;
} EOS_Connect_CreateUserCallbackInfo;
EOS_DECLARE_CALLBACK(EOS_Connect_OnCreateUserCallback,
                     const EOS_Connect_CreateUserCallbackInfo* Data);

#define EOS_CONNECT_ADDNOTIFYAUTHEXPIRATION_API_LATEST 1
typedef struct EOS_Connect_AddNotifyAuthExpirationOptions {
  int32_t ApiVersion;
} EOS_Connect_AddNotifyAuthExpirationOptions;

typedef struct EOS_Connect_AuthExpirationCallbackInfo {
  void* ClientData;
  EOS_ProductUserId LocalUserId;
} EOS_Connect_AuthExpirationCallbackInfo;
EOS_DECLARE_CALLBACK(EOS_Connect_OnAuthExpirationCallback,
                     const EOS_Connect_AuthExpirationCallbackInfo* Data);

#pragma pack(pop)
