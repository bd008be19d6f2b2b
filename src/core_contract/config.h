// The core's configuration service.
#pragma once

#include "core_contract/export.h"
#include "core_contract/sdk_string.h"

namespace zelk {

// The settings of the process, by section and key.
class Config {
 public:
  // Any thread. The value of `key` in the section `section`, or `default_value` when there is none.
  ZELK_CORE_API static SdkString GetString(const char* key, const char* default_value,
                                           const char* section);
};

}  // namespace zelk
