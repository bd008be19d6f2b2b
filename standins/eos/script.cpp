#include "script.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <mutex>
#include <stdexcept>
#include <utility>

namespace eos_standin {
namespace {

struct RuleInUse {
  Rule rule;
  int64_t seen = 0;

  bool Serves(std::string_view about) {
    if (!rule.target.empty() && rule.target != about) return false;
    ++seen;
    return seen > rule.skip && (rule.times == 0 || seen <= rule.skip + rule.times);
  }
};

// Switches, read in every call.
std::array<std::atomic<bool>, kFunctions.size()> has_rules;
std::atomic<bool> recording{false};
std::atomic<bool> has_hook{false};
std::atomic<CompletionOrder> completion_order{CompletionOrder::kInOrder};
std::atomic<uint64_t> shuffle_seed{1};
std::atomic<bool> complete_on_release{false};
std::atomic<Expiration> expiration{Expiration::kNone};

// What lies behind the switches. Never destroyed: a call may come from another static destructor.
struct Behind {
  std::mutex mutex;
  std::array<std::vector<RuleInUse>, kFunctions.size()> rules;
  std::shared_ptr<const std::function<void(const std::string&)>> hook;
  std::vector<Call> calls;
  std::vector<Misuse> misuses;
  std::unique_ptr<World> world;
};

Behind& TheBehind() {
  static Behind& behind = *new Behind;
  return behind;
}

}  // namespace

OutstandingCounts outstanding_counts;

Scripted TakeRule(Function function, std::string_view about) {
  if (!has_rules[IndexOf(function)].load(kRelaxed)) return {};
  const std::lock_guard lock(TheBehind().mutex);
  auto& rules = TheBehind().rules[IndexOf(function)];
  const auto found =
      std::find_if(rules.begin(), rules.end(), [&](RuleInUse& rule) { return rule.Serves(about); });
  if (found == rules.end()) return {};
  const Rule& rule = found->rule;
  return {static_cast<EOS_EResult>(rule.result), rule.after_ticks, rule.null_data,
          rule.null_client_data, rule.null_texts};
}

bool Recording() { return recording.load(kRelaxed); }

void Record(Function function, Json options) {
  const std::lock_guard lock(TheBehind().mutex);
  TheBehind().calls.push_back({std::string(NameOf(function)), std::move(options)});
}

// The hook runs outside of the lock: it may script, and it may wait for another thread's call.
void RunHook(Function function) {
  if (!has_hook.load(kRelaxed)) return;
  std::unique_lock lock(TheBehind().mutex);
  const auto hook = TheBehind().hook;
  lock.unlock();
  if (hook) (*hook)(std::string(NameOf(function)));
}

void ReportMisuse(std::string_view rule, Function function, std::string_view detail) {
  std::string text(NameOf(function));
  if (!detail.empty()) text.append(": ").append(detail);
  const std::lock_guard lock(TheBehind().mutex);
  TheBehind().misuses.push_back({std::string(rule), std::move(text)});
}

CompletionOrder OrderOfCompletions() { return completion_order.load(kRelaxed); }
uint64_t ShuffleSeed() { return shuffle_seed.load(kRelaxed); }
bool CompletesOnRelease() { return complete_on_release.load(kRelaxed); }

Expiration TakeExpiration() {
  if (expiration.load(kRelaxed) == Expiration::kNone) return Expiration::kNone;
  return expiration.exchange(Expiration::kNone, kRelaxed);
}

std::unique_ptr<World> TakeWorld() {
  const std::lock_guard lock(TheBehind().mutex);
  return std::move(TheBehind().world);
}

void ApplyScript(const WorldScript& script) {
  for (const Rule& rule : script.rules) AddRule(rule);
  if (script.order) SetCompletionOrder(*script.order, script.seed);
  if (script.complete_on_release) CompleteOnRelease(*script.complete_on_release);
}

void SetWorld(const nlohmann::ordered_json& world) {
  auto parsed = std::make_unique<World>(World::FromJson(world, "world"));
  const std::lock_guard lock(TheBehind().mutex);
  TheBehind().world = std::move(parsed);
}

void AddRule(const Rule& rule) {
  const auto function = FunctionNamed(rule.call);
  if (!function || !kFunctions[IndexOf(*function)].takes_rules) {
    throw std::invalid_argument("no rule can be made for \"" + rule.call + "\"");
  }
  RuleInUse in_use{.rule = rule};
  for (char& digit : in_use.rule.target) {
    digit = static_cast<char>(std::tolower(static_cast<unsigned char>(digit)));
  }
  const std::lock_guard lock(TheBehind().mutex);
  TheBehind().rules[IndexOf(*function)].push_back(std::move(in_use));
  has_rules[IndexOf(*function)].store(true, kRelaxed);
}

void ClearRules() {
  const std::lock_guard lock(TheBehind().mutex);
  for (auto& rules : TheBehind().rules) rules.clear();
  for (auto& has : has_rules) has.store(false, kRelaxed);
}

void SetCompletionOrder(CompletionOrder order, uint64_t seed) {
  shuffle_seed.store(seed, kRelaxed);
  completion_order.store(order, kRelaxed);
}

void CompleteOnRelease(bool complete) { complete_on_release.store(complete, kRelaxed); }

void ExpireConnectToken(bool null_data) {
  expiration.store(null_data ? Expiration::kReportedWithoutData : Expiration::kReported, kRelaxed);
}

void SetHook(std::function<void(const std::string& call)> hook) {
  const std::lock_guard lock(TheBehind().mutex);
  has_hook.store(hook != nullptr, kRelaxed);
  TheBehind().hook =
      std::make_shared<const std::function<void(const std::string&)>>(std::move(hook));
  if (!*TheBehind().hook) TheBehind().hook = nullptr;
}

void RecordCalls(bool record) { recording.store(record, kRelaxed); }

std::vector<Call> Calls() {
  const std::lock_guard lock(TheBehind().mutex);
  return TheBehind().calls;
}

std::vector<Misuse> Misuses() {
  const std::lock_guard lock(TheBehind().mutex);
  return TheBehind().misuses;
}

Outstanding OutstandingNow() {
  return {outstanding_counts.auth_tokens.load(kRelaxed),
          outstanding_counts.user_infos.load(kRelaxed),
          outstanding_counts.operations.load(kRelaxed)};
}

}  // namespace eos_standin
