// Accounts and product users as handles. A handle is made once for each identifier and stays for
// the life of the process, so that handles compare like the texts they stand for.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "eos_common.h"

namespace eos_standin {

// The 32 hexadecimal digits of an identifier as numbers.
struct Key {
  uint64_t high = 0;
  uint64_t low = 0;
  bool operator==(const Key&) const = default;
};

struct KeyHash {
  size_t operator()(const Key& key) const {
    return static_cast<size_t>((key.high ^ (key.low * 0x9E3779B97F4A7C15U)) >> 7);
  }
};

// Nothing for a text that is not 32 hexadecimal digits.
std::optional<Key> ParseKey(std::string_view text);
std::string KeyText(Key key);

// Spreads the bits of a number: what is invented deterministically looks like the real thing.
uint64_t Mix(uint64_t value);

}  // namespace eos_standin

struct EOS_EpicAccountIdDetails {
  eos_standin::Key key;
  std::string text;
  bool valid;
};

struct EOS_ProductUserIdDetails {
  std::string text;
};

struct EOS_ContinuanceTokenDetails {
  eos_standin::Key account;
  std::string text;
};

namespace eos_standin {

EOS_EpicAccountId AccountHandle(Key key);
// Also for a text that is no identifier: such a handle is not valid.
EOS_EpicAccountId AccountHandleOf(std::string_view text);
EOS_ProductUserId ProductUserHandle(const std::string& text);
EOS_ContinuanceToken ContinuanceTokenFor(Key account);

inline bool IsValid(EOS_EpicAccountId id) { return id != nullptr && id->valid; }

// "" for null.
template <class Identifier>
std::string_view TextOf(Identifier id) {
  return id == nullptr ? std::string_view() : std::string_view(id->text);
}

// The account that a call is about, by its options; null when it is about none.
template <class Options>
EOS_EpicAccountId AccountAbout(const Options& options) {
  if constexpr (requires { options.TargetUserId; }) {
    return options.TargetUserId;
  } else if constexpr (requires { options.LocalUserId; }) {
    return options.LocalUserId;
  } else {
    return nullptr;
  }
}

}  // namespace eos_standin
