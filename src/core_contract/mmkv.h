// The foundation's persistent key-value store.
#pragma once

#include <cstdint>
#include <string>

#include "core_contract/export.h"

namespace zelk {

// Who may open the store at the same time.
enum MMKVMode : int32_t {
  kMmkvSingleProcess = 1,
};

// Any thread. What is set outlives the process.
class MMKV {
 public:
  // The one default store; never null. `crypt_key` is null.
  ZELK_FOUNDATION_API static MMKV* defaultMMKV(MMKVMode mode, std::string* crypt_key);

  // The value comes first. False when it could not be made persistent; the logger has said why.
  ZELK_FOUNDATION_API bool set(const std::string& value, const std::string& key);
  // False, and an empty `value`, when there is none.
  ZELK_FOUNDATION_API bool getString(const std::string& key, std::string& value);
  ZELK_FOUNDATION_API void removeValueForKey(const std::string& key);
};

}  // namespace zelk
