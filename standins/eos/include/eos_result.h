// The result codes of every EOS call and completion.
#pragma once

#include "eos_base.h"

// Each code once: its name and its value.
// clang-format off
#define EOS_RESULT_CODES(X) \
  X(EOS_Success, 0) \
  X(EOS_NoConnection, 1) \
  X(EOS_InvalidCredentials, 2) \
  X(EOS_InvalidUser, 3) \
  X(EOS_InvalidAuth, 4) \
  X(EOS_AccessDenied, 5) \
  X(EOS_MissingPermissions, 6) \
  X(EOS_Token_Not_Account, 7) \
  X(EOS_TooManyRequests, 8) \
  X(EOS_AlreadyPending, 9) \
  X(EOS_InvalidParameters, 10) \
  X(EOS_InvalidRequest, 11) \
  X(EOS_UnrecognizedResponse, 12) \
  X(EOS_IncompatibleVersion, 13) \
  X(EOS_NotConfigured, 14) \
  X(EOS_AlreadyConfigured, 15) \
  X(EOS_NotImplemented, 16) \
  X(EOS_Canceled, 17) \
  X(EOS_NotFound, 18) \
  X(EOS_OperationWillRetry, 19) \
  X(EOS_NoChange, 20) \
  X(EOS_VersionMismatch, 21) \
  X(EOS_LimitExceeded, 22) \
  X(EOS_Missing_Feature, 30) \
  X(EOS_Invalid_Sandbox, 31) \
  X(EOS_Invalid_Deployment, 32) \
  X(EOS_Invalid_Product, 33) \
  X(EOS_Invalid_ProductUserID, 34) \
  X(EOS_ServiceFailure, 35) \
  X(EOS_CacheDirectoryMissing, 36) \
  X(EOS_CacheDirectoryInvalid, 37) \
  X(EOS_InvalidState, 38) \
  X(EOS_RequestInProgress, 39) \
  X(EOS_ApplicationSuspended, 40) \
  X(EOS_NetworkDisconnected, 41) \
  X(EOS_Auth_AccountLocked, 1001) \
  X(EOS_Auth_AccountLockedForUpdate, 1002) \
  X(EOS_Auth_InvalidRefreshToken, 1003) \
  X(EOS_Auth_InvalidToken, 1004) \
  X(EOS_Auth_AuthenticationFailure, 1005) \
  X(EOS_Auth_InvalidPlatformToken, 1006) \
  X(EOS_Auth_WrongAccount, 1007) \
  X(EOS_Auth_WrongClient, 1008) \
  X(EOS_Auth_FullAccountRequired, 1009) \
  X(EOS_Auth_HeadlessAccountRequired, 1010) \
  X(EOS_Auth_PasswordResetRequired, 1011) \
  X(EOS_Auth_PasswordCannotBeReused, 1012) \
  X(EOS_Auth_Expired, 1013) \
  X(EOS_Auth_ScopeConsentRequired, 1014) \
  X(EOS_Auth_ApplicationNotFound, 1015) \
  X(EOS_Auth_ScopeNotFound, 1016) \
  X(EOS_Auth_AccountFeatureRestricted, 1017) \
  X(EOS_Auth_AccountPortalLoadError, 1018) \
  X(EOS_Auth_CorrectiveActionRequired, 1019) \
  X(EOS_Auth_PinGrantCode, 1020) \
  X(EOS_Auth_PinGrantExpired, 1021) \
  X(EOS_Auth_PinGrantPending, 1022) \
  X(EOS_Auth_ExternalAuthNotLinked, 1030) \
  X(EOS_Auth_ExternalAuthRevoked, 1032) \
  X(EOS_Auth_ExternalAuthInvalid, 1033) \
  X(EOS_Auth_ExternalAuthRestricted, 1034) \
  X(EOS_Auth_ExternalAuthCannotLogin, 1035) \
  X(EOS_Auth_ExternalAuthExpired, 1036) \
  X(EOS_Auth_ExternalAuthIsLastLoginType, 1037) \
  X(EOS_Auth_ExchangeCodeNotFound, 1040) \
  X(EOS_Auth_OriginatingExchangeCodeSessionExpired, 1041) \
  X(EOS_Auth_AccountNotActive, 1050) \
  X(EOS_Auth_MFARequired, 1060) \
  X(EOS_Auth_ParentalControls, 1070) \
  X(EOS_Auth_NoRealId, 1080) \
  X(EOS_Connect_ExternalTokenValidationFailed, 7000) \
  X(EOS_Connect_UserAlreadyExists, 7001) \
  X(EOS_Connect_AuthExpired, 7002) \
  X(EOS_Connect_InvalidToken, 7003) \
  X(EOS_Connect_UnsupportedTokenType, 7004) \
  X(EOS_Connect_LinkAccountFailed, 7005) \
  X(EOS_Connect_ExternalServiceUnavailable, 7006) \
  X(EOS_Connect_ExternalServiceConfigurationFailure, 7007) \
  X(EOS_UnexpectedError, 0x7FFFFFFF)
// clang-format on

#define EOS_RESULT_CODE(name, value) name = value,
EOS_ENUM(EOS_EResult){EOS_RESULT_CODES(EOS_RESULT_CODE)};
#undef EOS_RESULT_CODE
