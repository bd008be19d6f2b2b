// The result codes of every EOS call and completion.
#pragma once

#include "eos_base.h"

// clang-format off
EOS_ENUM(EOS_EResult) {
  EOS_Success = 0,
  EOS_NoConnection = 1,
  EOS_InvalidCredentials = 2,
  EOS_InvalidUser = 3,
  EOS_InvalidAuth = 4,
  EOS_AccessDenied = 5,
  EOS_MissingPermissions = 6,
  EOS_Token_Not_Account = 7,
  EOS_TooManyRequests = 8,
  EOS_AlreadyPending = 9,
  EOS_InvalidParameters = 10,
  EOS_InvalidRequest = 11,
  EOS_UnrecognizedResponse = 12,
  EOS_IncompatibleVersion = 13,
  EOS_NotConfigured = 14,
  EOS_AlreadyConfigured = 15,
  EOS_NotImplemented = 16,
  EOS_Canceled = 17,
  EOS_NotFound = 18,
  EOS_OperationWillRetry = 19,
  EOS_NoChange = 20,
  EOS_VersionMismatch = 21,
  EOS_LimitExceeded = 22,
  EOS_Auth_PinGrantCode = 1020,
  EOS_Auth_MFARequired = 1060,
  EOS_UnexpectedError = 0x7FFFFFFF
};
// clang-format on
