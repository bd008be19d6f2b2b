// What a test may ask of the EOS stand-in, and make it do. None of these is a call into EOS: each
// may be made on any thread at any time, from inside a hook too.
#pragma once

#include <cstdint>
#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "eos_base.h"
#include "eos_logging.h"

#if defined(_WIN32) && defined(EOS_STANDIN_BUILDS)
#define EOS_STANDIN_API __declspec(dllexport)
#elif defined(_WIN32)
#define EOS_STANDIN_API __declspec(dllimport)
#else
#define EOS_STANDIN_API __attribute__((visibility("default")))
#endif

// Looks into a world file before anything runs: 0 when the library could read it. Otherwise 1, and
// what is wrong with it, cut to `message_size`. A host finds this function by its name.
extern "C" EOS_STANDIN_API int32_t EOS_StandIn_CheckWorld(const char* path_utf8, char* message,
                                                          int32_t message_size);

namespace eos_standin {

// --- the world ---

// Puts a world in the place of the one that ZELK_EOS_WORLD names (or of the built-in one): the same
// document as that file. Before EOS_Initialize. Throws std::runtime_error saying what is wrong.
EOS_STANDIN_API void SetWorld(const nlohmann::ordered_json& world);

// --- what goes wrong ---

// One rule for a call: which of its calls it is for, and what those give. Rules of a call are tried
// in the order they were added; the first that applies is used.
struct Rule {
  std::string call{};  // "EOS_Auth_Login"
  // Given instead of the call's own, unless 0. A call that gives no code gives null, or 0.
  int32_t result = 0;
  int64_t skip = 0;         // lets so many calls that it applies to pass first
  int64_t times = 1;        // then serves so many; 0 is without end
  int64_t after_ticks = 1;  // the completion runs in the n-th tick after the call
  std::string target{};     // only for calls about this account, 32 hexadecimal digits; "" for all
  bool null_data = false;   // the completion gets no data
  bool null_client_data = false;  // the completion gets data without client data
  bool null_texts = false;        // the texts of what is copied out, or of the pin, are null
  bool completes_twice = false;   // the last completion runs a second time at once
};
// Throws std::invalid_argument for a call that there is not, or that gives no result.
EOS_STANDIN_API void AddRule(const Rule& rule);
EOS_STANDIN_API void ClearRules();

// The order in which completions run that are due in the same tick.
enum class CompletionOrder { kInOrder, kReversed, kShuffled };
EOS_STANDIN_API void SetCompletionOrder(CompletionOrder order, uint64_t seed = 1);

// A tick runs so many completions at the most, and leaves the others to the next ones; 0 is no
// limit.
EOS_STANDIN_API void LimitCompletionsPerTick(int64_t count);

// EOS_Platform_Release first completes everything outstanding, with Canceled, instead of dropping
// it.
EOS_STANDIN_API void CompleteOnRelease(bool complete);

// The next tick reports that the product user's token runs out; `null_data` reports it without
// data.
EOS_STANDIN_API void ExpireConnectToken(bool null_data = false);

// A log message from a thread that the library made itself; returns when it was delivered.
EOS_STANDIN_API void LogFromOwnThread(EOS_ELogLevel level, const std::string& category,
                                      const std::string& message);

// Runs inside every call, on the caller's thread, after the call was recorded. Null takes it away.
EOS_STANDIN_API void SetHook(std::function<void(const std::string& call)> hook);

// --- what was seen ---

// A call with its options, field by field as the caller filled them:
//     {"ApiVersion": 2, "Credentials": {"Type": 2, "Id": null, ...}, ...}
// Handles of accounts and product users are their texts, null is null, and pointers to what only
// the caller understands are true. Arguments of calls without options are there by their names; a
// call without either has null.
struct Call {
  std::string function;
  nlohmann::ordered_json options;
};
// Nothing is recorded until it is switched on.
EOS_STANDIN_API void RecordCalls(bool record);
EOS_STANDIN_API std::vector<Call> Calls();

// What no caller may ever do: a stable rule name, and the call with what was wrong with it.
struct Misuse {
  std::string rule;
  std::string detail;
};
EOS_STANDIN_API std::vector<Misuse> Misuses();

// What is out.
struct Outstanding {
  int64_t auth_tokens = 0;
  int64_t user_infos = 0;
  int64_t operations = 0;  // started, and not completed for good
};
EOS_STANDIN_API Outstanding OutstandingNow();

}  // namespace eos_standin
