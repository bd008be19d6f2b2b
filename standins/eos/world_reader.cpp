// Makes a World from the text of its JSON document.
#include <algorithm>
#include <array>
#include <charconv>
#include <functional>
#include <numeric>
#include <stdexcept>
#include <utility>

#include "common/json.h"
#include "tables.h"
#include "world.h"

namespace eos_standin {
namespace {

using zelk::common::JsonError;
using zelk::common::JsonKind;
using zelk::common::JsonValue;

constexpr std::array<std::pair<std::string_view, EOS_EFriendsStatus>, 4> kStatusNames{{
    {"NotFriends", EOS_EFriendsStatus::EOS_FS_NotFriends},
    {"InviteSent", EOS_EFriendsStatus::EOS_FS_InviteSent},
    {"InviteReceived", EOS_EFriendsStatus::EOS_FS_InviteReceived},
    {"Friends", EOS_EFriendsStatus::EOS_FS_Friends},
}};

constexpr std::array<std::pair<std::string_view, CompletionOrder>, 3> kOrderNames{{
    {"in_order", CompletionOrder::kInOrder},
    {"reversed", CompletionOrder::kReversed},
    {"shuffled", CompletionOrder::kShuffled},
}};

// As far as the calls of the library can count.
constexpr int64_t kMostCounted = INT32_MAX;

[[noreturn]] void Fail(const JsonValue& value, const std::string& message) {
  const std::string pointer = value.Pointer();
  throw std::runtime_error((pointer.empty() ? "/" : pointer) + ": " + message);
}

// --- names ---

// How many letters to add, take away or change make one name of the other.
size_t EditDistance(std::string_view from, std::string_view to) {
  std::vector<size_t> row(to.size() + 1);
  std::iota(row.begin(), row.end(), size_t{0});
  for (size_t i = 0; i < from.size(); ++i) {
    size_t diagonal = std::exchange(row[0], i + 1);
    for (size_t j = 0; j < to.size(); ++j) {
      const size_t changed = diagonal + (from[i] == to[j] ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({diagonal + 1, row[j] + 1, changed});
    }
  }
  return row.back();
}

// Says of a name that it is none of these, and which of them are the nearest.
[[noreturn]] void FailName(const JsonValue& value, const std::string& message,
                           std::string_view name, std::vector<std::string_view> known) {
  constexpr size_t kMostNamed = 3;
  std::ranges::stable_sort(known, {}, [&](auto each) { return EditDistance(name, each); });
  if (known.size() > kMostNamed) known.resize(kMostNamed);
  std::string nearest;
  for (const std::string_view each : known) {
    nearest.append(nearest.empty() ? "" : ", ").append(each);
  }
  Fail(value, message + "; the nearest: " + nearest);
}

// --- values ---

// A member of an object: its name, and what becomes of its value.
struct Member {
  std::string_view name;
  std::function<void(const JsonValue&)> read;
  bool required = false;
};

// Reads an object with none but these members, in their order.
void ReadObject(const JsonValue& object, const std::vector<Member>& members) {
  if (object.kind() != JsonKind::kObject) Fail(object, "must be an object");
  for (const JsonValue& value : object.Children()) {
    std::vector<std::string_view> known;
    for (const Member& member : members) known.push_back(member.name);
    const bool is_known = std::ranges::find(known, value.key()) != known.end();
    if (!is_known) FailName(value, "is not known", value.key(), known);
  }
  for (const Member& member : members) {
    const auto value = object.Find(member.name);
    if (value) member.read(*value);
    if (!value && member.required) {
      throw std::runtime_error(object.Pointer() + "/" + std::string(member.name) + ": is missing");
    }
  }
}

std::vector<JsonValue> Elements(const JsonValue& array) {
  if (array.kind() != JsonKind::kArray) Fail(array, "must be an array");
  return array.Children();
}

const std::string& Text(const JsonValue& value) {
  if (value.kind() != JsonKind::kText) Fail(value, "must be a string");
  return value.text();
}

Key Identifier(const JsonValue& value) {
  const auto key = ParseKey(Text(value));
  if (!key) Fail(value, "must be 32 hexadecimal digits");
  return *key;
}

// Nothing for what is no number of that type.
template <class Number>
std::optional<Number> NumberIn(const JsonValue& value) {
  const std::string& text = value.text();
  Number number{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  const bool is_number = value.kind() == JsonKind::kInteger || value.kind() == JsonKind::kNumber;
  const bool is_whole = end == text.data() + text.size();
  return is_number && is_whole && error == std::errc() ? std::optional(number) : std::nullopt;
}

int64_t Count(const JsonValue& value) {
  const int64_t count = NumberIn<int64_t>(value).value_or(-1);
  if (count >= 0 && count <= kMostCounted) return count;
  Fail(value, "must be a whole number from 0 to " + std::to_string(kMostCounted));
}

// By its number, or by its published name.
int32_t ResultCode(const JsonValue& value) {
  if (const auto code = NumberIn<int32_t>(value)) return *code;
  if (value.kind() != JsonKind::kText) Fail(value, "must be a 32-bit number or a name");
  std::vector<std::string_view> names;
  for (const ResultRow& row : kResults) {
    if (value.text() == row.name) return static_cast<int32_t>(row.code);
    names.emplace_back(row.name);
  }
  FailName(value, "is no result code", value.text(), std::move(names));
}

template <class Table>
auto OneOf(const JsonValue& value, const Table& table) {
  std::vector<std::string_view> names;
  for (const auto& [name, meaning] : table) {
    if (Text(value) == name) return meaning;
    names.push_back(name);
  }
  FailName(value, "is not known", value.text(), std::move(names));
}

void Read(const JsonValue& value, std::optional<std::string>& text) {
  if (value.kind() != JsonKind::kNull) text = Text(value);
}
void Read(const JsonValue& value, int64_t& count) { count = Count(value); }
void Read(const JsonValue& value, double& seconds) {
  const auto number = NumberIn<double>(value);
  if (!number) Fail(value, "must be a number");
  seconds = *number;
}
void Read(const JsonValue& value, bool& flag) {
  if (value.kind() != JsonKind::kBoolean) Fail(value, "must be true or false");
  flag = value.text() == "true";
}
void Read(const JsonValue& value, std::optional<bool>& flag) { Read(value, flag.emplace()); }

// A member whose value is read as the type of the variable says.
template <class Variable>
Member Into(std::string_view name, Variable& variable) {
  return {name, [&variable](const JsonValue& value) { Read(value, variable); }};
}

Rule ReadRule(const std::string& call, const JsonValue& node) {
  Rule rule{.call = call};
  ReadObject(
      node,
      {
          {"result", [&](const JsonValue& result) { rule.result = ResultCode(result); }},
          {"target", [&](const JsonValue& target) { rule.target = KeyText(Identifier(target)); }},
          Into("skip", rule.skip),
          Into("times", rule.times),
          Into("after_ticks", rule.after_ticks),
          Into("null_data", rule.null_data),
          Into("null_client_data", rule.null_client_data),
          Into("null_texts", rule.null_texts),
          Into("completes_twice", rule.completes_twice),
      });
  return rule;
}

void ReadCalls(const JsonValue& node, std::vector<Rule>& rules) {
  if (node.kind() != JsonKind::kObject) Fail(node, "must be an object");
  std::vector<std::string_view> names;
  for (const FunctionRow& row : kFunctions) {
    if (row.takes_rules) names.push_back(row.name);
  }
  for (const JsonValue& list : node.Children()) {
    const bool is_known = std::ranges::find(names, list.key()) != names.end();
    if (!is_known) FailName(list, "is not a call that gives a result", list.key(), names);
    for (const JsonValue& rule : Elements(list)) rules.push_back(ReadRule(list.key(), rule));
  }
}

void ReadFriend(const JsonValue& node, Account& account) {
  Key id;
  auto status = EOS_EFriendsStatus::EOS_FS_Friends;
  ReadObject(node,
             {
                 {"account_id", [&](const JsonValue& text) { id = Identifier(text); }, true},
                 {"status", [&](const JsonValue& name) { status = OneOf(name, kStatusNames); }},
             });
  if (!account.status.emplace(id, status).second) Fail(node, "is there twice");
  account.friends.push_back(id);
}

std::unique_ptr<Account> ReadAccount(const JsonValue& node) {
  auto account = std::make_unique<Account>();
  Profile& profile = account->profile;
  const auto read_product_user = [&](const JsonValue& id) {
    Read(id, account->product_user);
    if (account->product_user) Identifier(id);
  };
  const auto read_friends = [&](const JsonValue& friends) {
    for (const JsonValue& row : Elements(friends)) ReadFriend(row, *account);
  };
  ReadObject(node,
             {
                 {"account_id", [&](const JsonValue& id) { account->id = Identifier(id); }, true},
                 Into("name", account->name),
                 Into("password", account->password),
                 Into("exchange_code", account->exchange_code),
                 {"product_user_id", read_product_user},
                 Into("display_name", profile.display_name),
                 Into("nickname", profile.nickname),
                 Into("country", profile.country),
                 Into("language", profile.language),
                 Into("generated_friends", account->generated_friends),
                 {"friends", read_friends},
             });
  if (World::FriendCount(*account) > kMostCounted) {
    Fail(node, "has more friends than can be counted");
  }
  return account;
}

void ReadAccounts(const JsonValue& accounts, World& world) {
  for (const JsonValue& node : Elements(accounts)) {
    auto account = ReadAccount(node);
    if (!world.by_id.emplace(account->id, account.get()).second) Fail(node, "is there twice");
    world.accounts.push_back(std::move(account));
  }
  if (!world.accounts.empty()) world.signs_in = world.accounts.front().get();
}

World ReadWorld(const JsonValue& root) {
  World world;
  WorldScript& script = world.script;
  const auto read_signs_in = [&](const JsonValue& name) {
    world.signs_in = world.FindByName(Text(name));
    if (world.signs_in == nullptr) Fail(name, "is no account's name");
  };
  const auto read_token = [&](const JsonValue& token) {
    ReadObject(token, {Into("expires_in", world.token_seconds),
                       Into("refresh_expires_in", world.refresh_token_seconds)});
  };
  const auto read_client = [&](const JsonValue& client) {
    ReadObject(client, {Into("id", world.client_id), Into("secret", world.client_secret)});
  };
  ReadObject(
      root,
      {
          {"accounts", [&](const JsonValue& accounts) { ReadAccounts(accounts, world); }, true},
          {"signs_in", read_signs_in},
          {"calls", [&](const JsonValue& calls) { ReadCalls(calls, script.rules); }},
          {"completion_order",
           [&](const JsonValue& name) { script.order = OneOf(name, kOrderNames); }},
          {"seed",
           [&](const JsonValue& seed) { script.seed = static_cast<uint64_t>(Count(seed)); }},
          Into("complete_on_release", script.complete_on_release),
          Into("completions_per_tick", script.completions_per_tick),
          {"access_token", read_token},
          {"client", read_client},
      });
  return world;
}

}  // namespace

World World::FromText(const std::string& text, const std::string& file) try {
  return ReadWorld(JsonValue(text));
} catch (const JsonError& error) {
  throw std::runtime_error(file + ":" + std::to_string(error.line) + ": " + error.what());
} catch (const std::runtime_error& error) {
  throw std::runtime_error(file + ": " + error.what());
}

}  // namespace eos_standin
