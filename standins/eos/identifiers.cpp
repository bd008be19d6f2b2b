#include "identifiers.h"

#include <charconv>
#include <map>
#include <unordered_map>

#include "common/never_destroyed.h"

namespace eos_standin {
namespace {

// Handles outlive every other static object of the process.
struct Handles {
  std::unordered_map<Key, EOS_EpicAccountIdDetails, KeyHash> accounts;
  std::map<std::string, EOS_EpicAccountIdDetails, std::less<>> invalid_accounts;
  std::map<std::string, EOS_ProductUserIdDetails> product_users;
  std::unordered_map<Key, EOS_ContinuanceTokenDetails, KeyHash> continuance_tokens;
};

Handles& AllHandles() { return zelk::common::NeverDestroyed<Handles>(); }

}  // namespace

std::optional<Key> ParseKey(std::string_view text) {
  const auto reads = [text](size_t at, uint64_t& half) {
    const char* const begin = text.data() + at;
    return std::from_chars(begin, begin + 16, half, 16).ptr == begin + 16;
  };
  Key key;
  const bool is_long_enough = text.size() == EOS_EPICACCOUNTID_MAX_LENGTH;
  if (is_long_enough && reads(0, key.high) && reads(16, key.low)) return key;
  return std::nullopt;
}

std::string KeyText(Key key) {
  std::string text(EOS_EPICACCOUNTID_MAX_LENGTH, '0');
  for (size_t i = 0; i < 16; ++i) {
    text[15 - i] = "0123456789abcdef"[key.high >> (4 * i) & 15];
    text[31 - i] = "0123456789abcdef"[key.low >> (4 * i) & 15];
  }
  return text;
}

uint64_t Mix(uint64_t value) {
  value += 0x9E3779B97F4A7C15U;
  value = (value ^ (value >> 30)) * 0xBF58476D1CE4E5B9U;
  value = (value ^ (value >> 27)) * 0x94D049BB133111EBU;
  return value ^ (value >> 31);
}

EOS_EpicAccountId AccountHandle(Key key) {
  auto& accounts = AllHandles().accounts;
  const auto found = accounts.find(key);
  if (found != accounts.end()) return &found->second;
  return &accounts.emplace(key, EOS_EpicAccountIdDetails{key, KeyText(key), true}).first->second;
}

EOS_EpicAccountId AccountHandleOf(std::string_view text) {
  if (const auto key = ParseKey(text)) return AccountHandle(*key);
  auto& invalid = AllHandles().invalid_accounts;
  const std::string name(text);
  return &invalid.try_emplace(name, EOS_EpicAccountIdDetails{{}, name, false}).first->second;
}

EOS_ProductUserId ProductUserHandle(const std::string& text) {
  return &AllHandles()
              .product_users.try_emplace(text, EOS_ProductUserIdDetails{text})
              .first->second;
}

EOS_ContinuanceToken ContinuanceTokenFor(Key account) {
  EOS_ContinuanceTokenDetails token{account, "continue-" + KeyText(account)};
  return &AllHandles().continuance_tokens.try_emplace(account, token).first->second;
}

}  // namespace eos_standin
