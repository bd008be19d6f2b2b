// Makes a World from its JSON document.
#include <algorithm>
#include <array>
#include <functional>
#include <stdexcept>
#include <utility>

#include "common/json_error.h"
#include "functions.h"
#include "results.h"
#include "world.h"

namespace eos_standin {
namespace {

using Json = nlohmann::ordered_json;

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

class Node;

// A member of an object: its name, and what becomes of its value.
struct Member {
  std::string name;
  std::function<void(const Node&)> read;
  bool required = false;
};

// One value of the document with the way to it, for messages.
class Node {
 public:
  Node(const Json* json, std::string file, std::string pointer)
      : json_(json), file_(std::move(file)), pointer_(std::move(pointer)) {}

  [[noreturn]] void Fail(const std::string& message) const {
    throw std::runtime_error(file_ + ": " + (pointer_.empty() ? "/" : pointer_) + ": " + message);
  }

  // Reads an object with none but these members, in their order.
  void ReadObject(const std::vector<Member>& members) const {
    for (const auto& [name, value] : Members()) {
      const auto same = [&name = name](const Member& member) { return member.name == name; };
      if (std::none_of(members.begin(), members.end(), same)) value.Fail("is not known");
    }
    for (const Member& member : members) {
      const auto found = json_->find(member.name);
      if (found != json_->end()) {
        member.read(Below(member.name, &*found));
      } else if (member.required) {
        Below(member.name, nullptr).Fail("is missing");
      }
    }
  }

  std::vector<std::pair<std::string, Node>> Members() const {
    if (!json_->is_object()) Fail("must be an object");
    std::vector<std::pair<std::string, Node>> members;
    for (const auto& [name, value] : json_->items())
      members.emplace_back(name, Below(name, &value));
    return members;
  }

  std::vector<Node> Elements() const {
    if (!json_->is_array()) Fail("must be an array");
    std::vector<Node> elements;
    for (const Json& value : *json_)
      elements.push_back(Below(std::to_string(elements.size()), &value));
    return elements;
  }

  bool IsNull() const { return json_->is_null(); }

  std::string Text() const {
    if (!json_->is_string()) Fail("must be a string");
    return json_->get<std::string>();
  }

  Key Identifier() const {
    const auto key = ParseKey(Text());
    if (!key) Fail("must be 32 hexadecimal digits");
    return *key;
  }

  int64_t Count() const {
    const bool counts = json_->is_number_integer() && *json_ >= 0 && *json_ <= kMostCounted;
    if (!counts) Fail("must be a whole number from 0 to " + std::to_string(kMostCounted));
    return json_->get<int64_t>();
  }

  double Seconds() const {
    if (!json_->is_number()) Fail("must be a number");
    return json_->get<double>();
  }

  bool Flag() const {
    if (!json_->is_boolean()) Fail("must be true or false");
    return json_->get<bool>();
  }

  int32_t ResultCode() const {
    if (json_->is_number_integer()) {
      const auto code = json_->get<int64_t>();
      const bool too_large = json_->is_number_unsigned() && code < 0;
      if (too_large || code != static_cast<int32_t>(code)) Fail("must be a 32-bit number");
      return static_cast<int32_t>(code);
    }
    const std::string name = Text();
    for (const ResultRow& row : kResults) {
      if (name == row.name) return static_cast<int32_t>(row.code);
    }
    Fail("is no result code");
  }

  template <class Table>
  auto OneOf(const Table& table) const {
    const std::string name = Text();
    for (const auto& [row, value] : table) {
      if (name == row) return value;
    }
    Fail("is not known");
  }

 private:
  Node Below(const std::string& name, const Json* json) const {
    return {json, file_, pointer_ + "/" + name};
  }

  const Json* json_;
  std::string file_;
  std::string pointer_;
};

void Read(const Node& node, std::optional<std::string>& text) {
  if (!node.IsNull()) text = node.Text();
}
void Read(const Node& node, int64_t& count) { count = node.Count(); }
void Read(const Node& node, double& seconds) { seconds = node.Seconds(); }
void Read(const Node& node, bool& flag) { flag = node.Flag(); }
void Read(const Node& node, std::optional<bool>& flag) { flag = node.Flag(); }

// A member whose value is read as the type of the variable says.
template <class Variable>
Member Into(const char* name, Variable& variable) {
  return {name, [&variable](const Node& node) { Read(node, variable); }};
}

Rule ReadRule(const std::string& call, const Node& node) {
  Rule rule{.call = call};
  node.ReadObject({
      {"result", [&](const Node& result) { rule.result = result.ResultCode(); }},
      {"target", [&](const Node& target) { rule.target = KeyText(target.Identifier()); }},
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

void ReadCalls(const Node& node, std::vector<Rule>& rules) {
  for (const auto& [call, list] : node.Members()) {
    const auto function = FunctionNamed(call);
    if (!function) list.Fail("is not a call");
    if (!kFunctions[IndexOf(*function)].takes_rules) list.Fail("gives no result");
    for (const Node& rule : list.Elements()) rules.push_back(ReadRule(call, rule));
  }
}

void ReadFriend(const Node& node, Account& account) {
  Key id;
  auto status = EOS_EFriendsStatus::EOS_FS_Friends;
  node.ReadObject({
      {"account_id", [&](const Node& text) { id = text.Identifier(); }, true},
      {"status", [&](const Node& name) { status = name.OneOf(kStatusNames); }},
  });
  if (!account.status.emplace(id, status).second) node.Fail("is there twice");
  account.friends.push_back(id);
}

std::unique_ptr<Account> ReadAccount(const Node& node) {
  auto account = std::make_unique<Account>();
  Profile& profile = account->profile;
  const auto read_product_user = [&](const Node& id) {
    if (!id.IsNull()) account->product_user = (static_cast<void>(id.Identifier()), id.Text());
  };
  const auto read_friends = [&](const Node& friends) {
    for (const Node& row : friends.Elements()) ReadFriend(row, *account);
  };
  node.ReadObject({
      {"account_id", [&](const Node& id) { account->id = id.Identifier(); }, true},
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
    node.Fail("has more friends than can be counted");
  }
  return account;
}

}  // namespace

class WorldReader {
 public:
  World Read(const Node& root) {
    WorldScript& script = world_.script_;
    root.ReadObject({
        {"accounts", [&](const Node& accounts) { ReadAccounts(accounts); }, true},
        {"signs_in", [&](const Node& name) { ReadSignsIn(name); }},
        {"calls", [&](const Node& calls) { ReadCalls(calls, script.rules); }},
        {"completion_order", [&](const Node& name) { script.order = name.OneOf(kOrderNames); }},
        {"seed", [&](const Node& seed) { script.seed = static_cast<uint64_t>(seed.Count()); }},
        Into("complete_on_release", script.complete_on_release),
        {"access_token", [&](const Node& token) { ReadAccessToken(token); }},
        {"client", [&](const Node& client) { ReadClient(client); }},
    });
    return std::move(world_);
  }

 private:
  void ReadAccounts(const Node& accounts) {
    for (const Node& node : accounts.Elements()) {
      auto account = ReadAccount(node);
      if (!world_.by_id_.emplace(account->id, account.get()).second) node.Fail("is there twice");
      world_.accounts_.push_back(std::move(account));
    }
    if (!world_.accounts_.empty()) world_.signs_in_ = world_.accounts_.front().get();
  }

  void ReadSignsIn(const Node& node) {
    world_.signs_in_ = world_.FindByName(node.Text());
    if (world_.signs_in_ == nullptr) node.Fail("is no account's name");
  }

  void ReadClient(const Node& node) {
    node.ReadObject({Into("id", world_.client_id_), Into("secret", world_.client_secret_)});
  }

  void ReadAccessToken(const Node& node) {
    node.ReadObject({Into("expires_in", world_.token_seconds_),
                     Into("refresh_expires_in", world_.refresh_token_seconds_)});
  }

  World world_;
};

World World::FromText(const std::string& text, const std::string& file) {
  try {
    return FromJson(Json::parse(text), file);
  } catch (const Json::exception& error) {
    // A number that no type holds has no place.
    const auto [line, column, reason] = zelk::common::ExplainJsonError(error);
    const std::string place = line > 0 ? ":" + std::to_string(line) : "";
    throw std::runtime_error(file + place + ": " + reason);
  }
}

World World::FromJson(const nlohmann::ordered_json& document, const std::string& file) {
  return WorldReader().Read(Node(&document, file, ""));
}

}  // namespace eos_standin
