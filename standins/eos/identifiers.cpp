#include "identifiers.h"

#include <algorithm>
#include <map>
#include <unordered_map>

namespace eos_standin {
namespace {

// Never destroyed: handles outlive every other static object of the process.
struct Handles {
  std::unordered_map<Key, EOS_EpicAccountIdDetails, KeyHash> accounts;
  std::map<std::string, EOS_EpicAccountIdDetails, std::less<>> invalid_accounts;
  std::map<std::string, EOS_ProductUserIdDetails> product_users;
  std::unordered_map<Key, EOS_ContinuanceTokenDetails, KeyHash> continuance_tokens;
};

Handles& AllHandles() {
  static Handles& handles = *new Handles;
  return handles;
}

int DigitValue(char digit) {
  if (digit >= '0' && digit <= '9') return digit - '0';
  if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
  if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
  return -1;
}

}  // namespace

std::optional<Key> ParseKey(std::string_view text) {
  if (text.size() != EOS_EPICACCOUNTID_MAX_LENGTH) return std::nullopt;
  uint64_t halves[2] = {0, 0};
  for (size_t i = 0; i < text.size(); ++i) {
    const int value = DigitValue(text[i]);
    if (value < 0) return std::nullopt;
    uint64_t& half = halves[i / 16];
    half = half << 4 | static_cast<uint64_t>(value);
  }
  return Key{halves[0], halves[1]};
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
