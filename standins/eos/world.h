// The world behind the library: accounts, their friends and product users, and what the world file
// says about things that go wrong. Made from a JSON document, strictly: whatever the document has
// and the world does not know is an error. Changes only by CreateProductUser.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "eos_friends_types.h"
#include "eos_standin.h"
#include "identifiers.h"

namespace eos_standin {

struct Profile {
  std::optional<std::string> display_name;
  std::optional<std::string> nickname;
  std::optional<std::string> country;
  std::optional<std::string> language;
};

struct Account {
  Key id;
  // Accounts without a name, or without a password, are only there to be somebody's friend.
  std::optional<std::string> name;
  std::optional<std::string> password;
  std::optional<std::string> exchange_code;
  std::optional<std::string> product_user;
  Profile profile;
  std::vector<Key> friends;
  std::unordered_map<Key, EOS_EFriendsStatus, KeyHash> status;
  // Come after `friends`; each is computed when it is asked for.
  int64_t generated_friends = 0;
};

// What a world file may ask for beside its accounts; the same as the functions of eos_standin.h.
struct WorldScript {
  std::vector<Rule> rules;
  std::optional<CompletionOrder> order;
  uint64_t seed = 1;
  std::optional<bool> complete_on_release;
  int64_t completions_per_tick = 0;
};

struct World {
  // Throws std::runtime_error with "FILE:LINE: message" for text that is not JSON, and with
  // "FILE: POINTER: message" for a document that is not a world.
  static World FromText(const std::string& text, const std::string& file);
  // The world that is there when nothing names another one.
  static World BuiltIn();

  // Null where there is no such account.
  const Account* Find(Key id) const;
  template <class Predicate>
  const Account* FindIf(const Predicate& predicate) const {
    for (const auto& account : accounts) {
      if (predicate(*account)) return account.get();
    }
    return nullptr;
  }
  const Account* FindByName(std::string_view name) const {
    return FindIf([name](const Account& account) { return account.name == name; });
  }
  bool KnowsClient(std::string_view id, std::string_view secret) const {
    return (!client_id || id == *client_id) && (!client_secret || secret == *client_secret);
  }

  // Of accounts, and of generated friends.
  bool HasProfile(Key id) const;
  std::optional<Profile> ProfileOf(Key id) const;
  std::optional<uint64_t> NumberOfGenerated(Key id) const;
  static int64_t FriendCount(const Account& account);
  static Key FriendAt(const Account& account, int64_t index);
  static EOS_EFriendsStatus StatusOf(const Account& account, Key other);

  void CreateProductUser(Key account);

  std::vector<std::unique_ptr<Account>> accounts;
  std::unordered_map<Key, Account*, KeyHash> by_id;
  // Whom a sign-in on a web page signs in.
  const Account* signs_in = nullptr;
  // Any client and any secret, unless the world file names them.
  std::optional<std::string> client_id;
  std::optional<std::string> client_secret;
  double token_seconds = 7200;
  double refresh_token_seconds = 28800;
  WorldScript script;
};

}  // namespace eos_standin
