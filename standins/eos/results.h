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

#define EOS_STANDIN_ROW(name, value) ResultRow{EOS_EResult::name, #name},
inline constexpr std::array kResults{EOS_RESULT_CODES(EOS_STANDIN_ROW)};
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
