#include "script.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <utility>

#include "common/never_destroyed.h"

namespace eos_standin {
namespace {

using zelk::common::NeverDestroyed;

struct RuleInUse {
  Rule rule;
  int64_t seen = 0;

  bool Serves(std::string_view about) {
    if (!rule.target.empty() && rule.target != about) return false;
    ++seen;
    return seen > rule.skip && (rule.times == 0 || seen <= rule.skip + rule.times);
  }
};

// Read in every call.
std::array<std::atomic<bool>, kFunctions.size()> has_rules;

// What the switches guard.
struct State {
  std::mutex mutex;
  std::array<std::vector<RuleInUse>, kFunctions.size()> rules;
  std::shared_ptr<const std::function<void(const std::string&)>> hook;
  std::vector<Call> calls;
  std::vector<Misuse> misuses;
};

State& TheState() { return NeverDestroyed<State>(); }

}  // namespace

Switches switches;
OutstandingCounts outstanding_counts;

Scripted ApplyRules(Function function, std::string_view about) {
  if (!has_rules[IndexOf(function)].load(kRelaxed)) return {};
  const std::lock_guard lock(TheState().mutex);
  auto& rules = TheState().rules[IndexOf(function)];
  const auto found =
      std::find_if(rules.begin(), rules.end(), [&](RuleInUse& rule) { return rule.Serves(about); });
  if (found == rules.end()) return {};
  const Rule& rule = found->rule;
  return {static_cast<EOS_EResult>(rule.result),
          rule.after_ticks,
          rule.null_data,
          rule.null_client_data,
          rule.null_texts,
          rule.completes_twice};
}

void Record(Function function, Json options) {
  const std::lock_guard lock(TheState().mutex);
  TheState().calls.push_back({std::string(NameOf(function)), std::move(options)});
}

// The hook runs outside of the lock: it may script, and it may wait for another thread's call.
void RunHook(Function function) {
  if (!switches.has_hook.load(kRelaxed)) return;
  std::unique_lock lock(TheState().mutex);
  const auto hook = TheState().hook;
  lock.unlock();
  if (hook) (*hook)(std::string(NameOf(function)));
}

void ReportMisuse(MisuseRule rule, Function function) {
  const auto& [name, sentence] = RowOf(rule);
  std::string detail(NameOf(function));
  detail.append(": ").append(sentence);
  const std::lock_guard lock(TheState().mutex);
  TheState().misuses.push_back({std::string(name), std::move(detail)});
}

Expiration ConsumeExpiration() {
  if (switches.expiration.load(kRelaxed) == Expiration::kNone) return Expiration::kNone;
  return switches.expiration.exchange(Expiration::kNone, kRelaxed);
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
  const std::lock_guard lock(TheState().mutex);
  TheState().rules[IndexOf(*function)].push_back(std::move(in_use));
  has_rules[IndexOf(*function)].store(true, kRelaxed);
}

void ClearRules() {
  const std::lock_guard lock(TheState().mutex);
  for (auto& rules : TheState().rules) rules.clear();
  for (auto& has : has_rules) has.store(false, kRelaxed);
}

void SetCompletionOrder(CompletionOrder order, uint64_t seed) {
  switches.shuffle_seed.store(seed, kRelaxed);
  switches.completion_order.store(order, kRelaxed);
}

void LimitCompletionsPerTick(int64_t count) {
  switches.completions_per_tick.store(count, kRelaxed);
}

void CompleteOnRelease(bool complete) { switches.complete_on_release.store(complete, kRelaxed); }

void ExpireConnectToken(bool null_data) {
  switches.expiration.store(null_data ? Expiration::kReportedWithoutData : Expiration::kReported,
                            kRelaxed);
}

void SetHook(std::function<void(const std::string& call)> hook) {
  const std::lock_guard lock(TheState().mutex);
  switches.has_hook.store(hook != nullptr, kRelaxed);
  TheState().hook =
      std::make_shared<const std::function<void(const std::string&)>>(std::move(hook));
  if (!*TheState().hook) TheState().hook = nullptr;
}

void RecordCalls(bool record) { switches.recording.store(record, kRelaxed); }

std::vector<Call> Calls() {
  const std::lock_guard lock(TheState().mutex);
  return TheState().calls;
}

std::vector<Misuse> Misuses() {
  const std::lock_guard lock(TheState().mutex);
  return TheState().misuses;
}

Outstanding OutstandingNow() {
  return {outstanding_counts.auth_tokens.load(kRelaxed),
          outstanding_counts.user_infos.load(kRelaxed),
          outstanding_counts.operations.load(kRelaxed)};
}

}  // namespace eos_standin
