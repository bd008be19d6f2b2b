// Makes a World from its JSON document.
#include <algorithm>
#include <array>
#include <initializer_list>
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

// One value of the document with the way to it, for messages.
class Node {
 public:
  Node(const Json* json, std::string file, std::string pointer)
      : json_(json), file_(std::move(file)), pointer_(std::move(pointer)) {}

  [[noreturn]] void Fail(const std::string& message) const {
    throw std::runtime_error(file_ + ": " + (pointer_.empty() ? "/" : pointer_) + ": " + message);
  }

  // An object with none but these members.
  void CheckObject(std::initializer_list<std::string_view> members) const {
    if (!json_->is_object()) Fail("must be an object");
    for (const auto& [name, value] : json_->items()) {
      if (std::find(members.begin(), members.end(), name) == members.end()) {
        Below(name, &value).Fail("is not known");
      }
    }
  }

  bool Has(const char* name) const { return json_->contains(name); }
  Node Member(const std::string& name) const {
    const auto found = json_->find(name);
    if (found == json_->end()) Below(name, nullptr).Fail("is missing");
    return Below(name, &*found);
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

  // Members that may be missing: `read` gets the node of one that is there.
  template <class Read>
  void If(const char* name, const Read& read) const {
    if (Has(name)) read(Member(name));
  }
  void Take(const char* name, std::optional<std::string>& text) const {
    if (Has(name) && !json_->at(name).is_null()) text = Member(name).Text();
  }
  void Take(const char* name, int64_t& count) const {
    if (Has(name)) count = Member(name).Count();
  }
  void Take(const char* name, double& seconds) const {
    if (Has(name)) seconds = Member(name).Seconds();
  }
  void Take(const char* name, bool& flag) const {
    if (Has(name)) flag = Member(name).Flag();
  }

 private:
  Node Below(const std::string& name, const Json* json) const {
    return {json, file_, pointer_ + "/" + name};
  }

  const Json* json_;
  std::string file_;
  std::string pointer_;
};

Rule ReadRule(const std::string& call, const Node& node) {
  node.CheckObject({"result", "skip", "times", "after_ticks", "target", "null_data",
                    "null_client_data", "null_texts"});
  Rule rule{.call = call};
  node.If("result", [&](const Node& result) { rule.result = result.ResultCode(); });
  node.If("target", [&](const Node& target) { rule.target = KeyText(target.Identifier()); });
  node.Take("skip", rule.skip);
  node.Take("times", rule.times);
  node.Take("after_ticks", rule.after_ticks);
  node.Take("null_data", rule.null_data);
  node.Take("null_client_data", rule.null_client_data);
  node.Take("null_texts", rule.null_texts);
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
  node.CheckObject({"account_id", "status"});
  const Key id = node.Member("account_id").Identifier();
  auto status = EOS_EFriendsStatus::EOS_FS_Friends;
  node.If("status", [&](const Node& name) { status = name.OneOf(kStatusNames); });
  if (!account.status.emplace(id, status).second) node.Fail("is there twice");
  account.friends.push_back(id);
}

std::unique_ptr<Account> ReadAccount(const Node& node) {
  node.CheckObject({"name", "password", "exchange_code", "account_id", "product_user_id",
                    "display_name", "nickname", "country", "language", "friends",
                    "generated_friends"});
  auto account = std::make_unique<Account>();
  account->id = node.Member("account_id").Identifier();
  node.Take("name", account->name);
  node.Take("password", account->password);
  node.Take("exchange_code", account->exchange_code);
  node.Take("product_user_id", account->product_user);
  if (account->product_user) node.Member("product_user_id").Identifier();
  node.Take("display_name", account->profile.display_name);
  node.Take("nickname", account->profile.nickname);
  node.Take("country", account->profile.country);
  node.Take("language", account->profile.language);
  node.Take("generated_friends", account->generated_friends);
  node.If("friends", [&](const Node& friends) {
    for (const Node& entry : friends.Elements()) ReadFriend(entry, *account);
  });
  if (World::FriendCount(*account) > kMostCounted)
    node.Fail("has more friends than can be counted");
  return account;
}

}  // namespace

class WorldReader {
 public:
  explicit WorldReader(const Node& root) : root_(root) {}

  World Read() {
    root_.CheckObject({"accounts", "signs_in", "calls", "completion_order", "seed",
                       "complete_on_release", "access_token"});
    ReadAccounts();
    root_.If("signs_in", [&](const Node& name) { ReadSignsIn(name); });
    root_.If("calls", [&](const Node& calls) { ReadCalls(calls, world_.script_.rules); });
    root_.If("completion_order",
             [&](const Node& order) { world_.script_.order = order.OneOf(kOrderNames); });
    root_.If("seed",
             [&](const Node& seed) { world_.script_.seed = static_cast<uint64_t>(seed.Count()); });
    root_.If("complete_on_release",
             [&](const Node& flag) { world_.script_.complete_on_release = flag.Flag(); });
    root_.If("access_token", [&](const Node& token) { ReadAccessToken(token); });
    return std::move(world_);
  }

 private:
  void ReadAccounts() {
    for (const Node& node : root_.Member("accounts").Elements()) {
      auto account = ReadAccount(node);
      if (!world_.by_id_.emplace(account->id, account.get()).second) node.Fail("is there twice");
      world_.accounts_.push_back(std::move(account));
    }
    if (!world_.accounts_.empty()) world_.signs_in_ = world_.accounts_.front().get();
  }

  void ReadSignsIn(const Node& node) {
    const std::string name = node.Text();
    const auto& accounts = world_.accounts_;
    const auto found = std::find_if(accounts.begin(), accounts.end(),
                                    [&](const auto& account) { return account->name == name; });
    if (found == accounts.end()) node.Fail("is no account's name");
    world_.signs_in_ = found->get();
  }

  void ReadAccessToken(const Node& node) {
    node.CheckObject({"expires_in", "refresh_expires_in"});
    node.Take("expires_in", world_.token_seconds_);
    node.Take("refresh_expires_in", world_.refresh_token_seconds_);
  }

  const Node& root_;
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
  const Node root(&document, file, "");
  return WorldReader(root).Read();
}

}  // namespace eos_standin
