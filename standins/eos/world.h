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

class World {
 public:
  // Throws std::runtime_error with "FILE:LINE: message" for text that is not JSON, and with
  // "FILE: POINTER: message" for a document that is not a world.
  static World FromText(const std::string& text, const std::string& file);
  // The world that is there when nothing names another one.
  static World BuiltIn();

  // Null where there is no such account.
  const Account* Find(Key id) const;
  const Account* FindByPassword(std::string_view name, std::string_view password) const;
  const Account* FindByName(std::string_view name) const;
  const Account* FindByExchangeCode(std::string_view code) const;
  // Any client and any secret, unless the world file names them.
  bool KnowsClient(std::string_view id, std::string_view secret) const {
    return (!client_id_ || id == *client_id_) && (!client_secret_ || secret == *client_secret_);
  }
  // Whom a sign-in on a web page signs in.
  const Account* SignsIn() const { return signs_in_; }

  // Of accounts, and of generated friends.
  bool HasProfile(Key id) const;
  std::optional<Profile> ProfileOf(Key id) const;
  static int64_t FriendCount(const Account& account);
  static Key FriendAt(const Account& account, int64_t index);
  static EOS_EFriendsStatus StatusOf(const Account& account, Key other);

  void CreateProductUser(Key account);

  const WorldScript& script() const { return script_; }
  double token_seconds() const { return token_seconds_; }
  double refresh_token_seconds() const { return refresh_token_seconds_; }

 private:
  friend class WorldReader;

  template <class Predicate>
  const Account* FindIf(const Predicate& predicate) const {
    for (const auto& account : accounts_) {
      if (predicate(*account)) return account.get();
    }
    return nullptr;
  }

  std::optional<uint64_t> NumberOfGenerated(Key id) const;

  std::vector<std::unique_ptr<Account>> accounts_;
  std::unordered_map<Key, Account*, KeyHash> by_id_;
  const Account* signs_in_ = nullptr;
  WorldScript script_;
  std::optional<std::string> client_id_;
  std::optional<std::string> client_secret_;
  double token_seconds_ = 7200;
  double refresh_token_seconds_ = 28800;
};

}  // namespace eos_standin
