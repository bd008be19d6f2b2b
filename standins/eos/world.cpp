#include "world.h"

#include <algorithm>
#include <array>

namespace eos_standin {
namespace {

// The second half of a generated friend's identifier is its number times an odd constant, so that
// identifiers are far apart; the inverse modulo 2^64 gives the number back.
constexpr uint64_t kMultiplier = 0x9E3779B97F4A7C15U;
constexpr uint64_t kInverse = 0xF1DE83E19937733DU;
static_assert(kMultiplier * kInverse == 1);

struct Locale {
  const char* country;
  const char* language;
};
constexpr std::array kLocales{Locale{"US", "en"}, Locale{"DE", "de"}, Locale{"FR", "fr"},
                              Locale{"JP", "ja"}, Locale{"BR", "pt"}, Locale{"PL", "pl"}};

uint64_t FirstHalfOfFriends(const Account& account) {
  return Mix(account.id.high ^ account.id.low);
}

std::optional<uint64_t> NumberAmongFriends(const Account& account, Key id) {
  if (account.generated_friends == 0 || id.high != FirstHalfOfFriends(account)) return std::nullopt;
  const uint64_t number = id.low * kInverse;
  if (number > static_cast<uint64_t>(account.generated_friends) || number == 0) return std::nullopt;
  return number;
}

Profile GeneratedProfile(uint64_t number) {
  const Locale& locale = kLocales[number % kLocales.size()];
  std::string digits = std::to_string(number);
  if (digits.size() < 5) digits.insert(0, 5 - digits.size(), '0');
  Profile profile{"Friend " + digits, "friend" + digits, locale.country, locale.language};
  if (number % 3 == 0) profile.nickname.reset();
  return profile;
}

}  // namespace

const Account* World::Find(Key id) const {
  const auto found = by_id.find(id);
  return found == by_id.end() ? nullptr : found->second;
}

std::optional<Profile> World::ProfileOf(Key id) const {
  if (const Account* account = Find(id)) return account->profile;
  if (const auto number = NumberOfGenerated(id)) return GeneratedProfile(*number);
  return std::nullopt;
}

bool World::HasProfile(Key id) const { return Find(id) != nullptr || NumberOfGenerated(id); }

std::optional<uint64_t> World::NumberOfGenerated(Key id) const {
  for (const auto& account : accounts) {
    if (const auto number = NumberAmongFriends(*account, id)) return number;
  }
  return std::nullopt;
}

int64_t World::FriendCount(const Account& account) {
  return static_cast<int64_t>(account.friends.size()) + account.generated_friends;
}

Key World::FriendAt(const Account& account, int64_t index) {
  const auto listed = static_cast<int64_t>(account.friends.size());
  if (index < listed) return account.friends[static_cast<size_t>(index)];
  return {FirstHalfOfFriends(account), static_cast<uint64_t>(index - listed + 1) * kMultiplier};
}

EOS_EFriendsStatus World::StatusOf(const Account& account, Key other) {
  const auto found = account.status.find(other);
  if (found != account.status.end()) return found->second;
  return NumberAmongFriends(account, other) ? EOS_EFriendsStatus::EOS_FS_Friends
                                            : EOS_EFriendsStatus::EOS_FS_NotFriends;
}

void World::CreateProductUser(Key account) {
  const auto found = by_id.find(account);
  if (found == by_id.end() || found->second->product_user) return;
  found->second->product_user = KeyText({Mix(account.low), Mix(account.high)});
}

}  // namespace eos_standin
