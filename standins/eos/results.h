// The names of the result codes, for EOS_EResult_ToString, the log and the world file.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "eos_result.h"

namespace eos_standin {

struct ResultRow {
  EOS_EResult code;
  const char* name;
};

#define EOS_STANDIN_ROW(name) \
  ResultRow { EOS_EResult::name, #name }
inline constexpr std::array kResults{
    EOS_STANDIN_ROW(EOS_Success),
    EOS_STANDIN_ROW(EOS_NoConnection),
    EOS_STANDIN_ROW(EOS_InvalidCredentials),
    EOS_STANDIN_ROW(EOS_InvalidUser),
    EOS_STANDIN_ROW(EOS_InvalidAuth),
    EOS_STANDIN_ROW(EOS_AccessDenied),
    EOS_STANDIN_ROW(EOS_MissingPermissions),
    EOS_STANDIN_ROW(EOS_Token_Not_Account),
    EOS_STANDIN_ROW(EOS_TooManyRequests),
    EOS_STANDIN_ROW(EOS_AlreadyPending),
    EOS_STANDIN_ROW(EOS_InvalidParameters),
    EOS_STANDIN_ROW(EOS_InvalidRequest),
    EOS_STANDIN_ROW(EOS_UnrecognizedResponse),
    EOS_STANDIN_ROW(EOS_IncompatibleVersion),
    EOS_STANDIN_ROW(EOS_NotConfigured),
    EOS_STANDIN_ROW(EOS_AlreadyConfigured),
    EOS_STANDIN_ROW(EOS_NotImplemented),
    EOS_STANDIN_ROW(EOS_Canceled),
    EOS_STANDIN_ROW(EOS_NotFound),
    EOS_STANDIN_ROW(EOS_OperationWillRetry),
    EOS_STANDIN_ROW(EOS_NoChange),
    EOS_STANDIN_ROW(EOS_VersionMismatch),
    EOS_STANDIN_ROW(EOS_LimitExceeded),
    EOS_STANDIN_ROW(EOS_Auth_PinGrantCode),
    EOS_STANDIN_ROW(EOS_Auth_MFARequired),
    EOS_STANDIN_ROW(EOS_UnexpectedError),
};
#undef EOS_STANDIN_ROW

constexpr const char* NameOf(EOS_EResult code) {
  for (const ResultRow& row : kResults) {
    if (row.code == code) return row.name;
  }
  return "EOS_Unknown";
}

// Success for a version that the library knows.
constexpr EOS_EResult CheckVersion(int32_t version, int32_t latest) {
  return version >= 1 && version <= latest ? EOS_EResult::EOS_Success
                                           : EOS_EResult::EOS_VersionMismatch;
}

}  // namespace eos_standin
