// What tests and the world file ask of the library (rules, order, hook, record) and what it reports
// of its callers. Implements the functions of scripting/eos_standin.h; any thread.
//
// The switches are relaxed atomics and the lock is taken only where one is on: otherwise the
// library would order its callers' threads, and hide their races from a thread sanitizer.
#pragma once

#include <atomic>
#include <cstdint>
#include <string_view>

#include "describe.h"
#include "eos_result.h"
#include "eos_standin.h"
#include "tables.h"

namespace eos_standin {

// What is read at every call orders nothing between the threads.
inline constexpr auto kRelaxed = std::memory_order_relaxed;

// What the rules make of one call; as it stands here when none applies.
struct Scripted {
  EOS_EResult result = EOS_EResult::EOS_Success;
  int64_t after_ticks = 1;
  bool null_data = false;
  bool null_client_data = false;
  bool null_texts = false;
  bool completes_twice = false;

  // A rule that gives success leaves the call its own result.
  bool Fails() const { return result != EOS_EResult::EOS_Success; }
};

// Applies the first rule that serves the call, and uses up one of its times. `about` is the text of
// the account the call is about.
Scripted ApplyRules(Function function, std::string_view about);

void Record(Function function, Json options);
void RunHook(Function function);
void ReportMisuse(MisuseRule rule, Function function);

enum class Expiration { kNone, kReported, kReportedWithoutData };

struct Switches {
  std::atomic<bool> recording{false};
  std::atomic<bool> has_hook{false};
  std::atomic<CompletionOrder> completion_order{CompletionOrder::kInOrder};
  std::atomic<uint64_t> shuffle_seed{1};
  std::atomic<bool> complete_on_release{false};
  std::atomic<int64_t> completions_per_tick{0};  // 0 is no limit
  std::atomic<Expiration> expiration{Expiration::kNone};
};
extern Switches switches;

// What ExpireConnectToken asked for since the last call.
Expiration ConsumeExpiration();

// What is out, counted where it goes out and comes back.
struct OutstandingCounts {
  std::atomic<int64_t> auth_tokens{0};
  std::atomic<int64_t> user_infos{0};
  std::atomic<int64_t> operations{0};
};
extern OutstandingCounts outstanding_counts;

inline void Count(std::atomic<int64_t>& counter, int64_t change) {
  counter.fetch_add(change, kRelaxed);
}

}  // namespace eos_standin
