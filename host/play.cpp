#include "play.h"

#include <array>
#include <istream>
#include <limits>
#include <stdexcept>
#include <string_view>
#include <variant>

#include "common/json_error.h"
#include "output.h"
#include "text.h"

namespace zelk::host {
namespace {

// Beyond any use of one line; the lines after it are not held up for hours.
constexpr int32_t kMostTicks = 1'000'000;

// A line of the script, with what stands for the fields that it leaves out.
struct Step {
  int32_t method_id = 0;
  std::string seq_id;
  std::string reserved_text;
  std::string extra_json;
  std::string permissions;
  int32_t page = 0;
  int32_t count = 0;
  bool is_in_game = false;
  int32_t times = 1;
  int32_t max_ticks = 1000;
};

enum Calls : unsigned {
  kLogins = 1,
  kLogout = 2,
  kFriends = 4,
  kShutdown = 8,
  kUpdate = 16,
  kDrain = 32,
  kRequests = kLogins | kLogout | kFriends,
};

struct FieldRow {
  std::string_view name;
  std::variant<int32_t Step::*, std::string Step::*, bool Step::*> member;
  unsigned calls;  // that have it
};

constexpr std::array kFields{
    FieldRow{"method_id", &Step::method_id, kRequests},
    FieldRow{"seq_id", &Step::seq_id, kRequests},
    FieldRow{"reserved_text", &Step::reserved_text, kRequests},
    FieldRow{"extra_json", &Step::extra_json, kRequests},
    FieldRow{"permissions", &Step::permissions, kLogins},
    FieldRow{"page", &Step::page, kFriends},
    FieldRow{"count", &Step::count, kFriends},
    FieldRow{"is_in_game", &Step::is_in_game, kFriends},
    FieldRow{"times", &Step::times, kUpdate},
    FieldRow{"max_ticks", &Step::max_ticks, kDrain},
};

void Ask(Game& game, EntryPoint entry_point, const Step& step) {
  game.Issue({.entry_point = entry_point,
              .params = {.method_id = step.method_id,
                         .seq_id = step.seq_id,
                         .reserved_text = step.reserved_text,
                         .extra_json = step.extra_json},
              .permissions = step.permissions,
              .page = step.page,
              .count = step.count,
              .is_in_game = step.is_in_game});
}

template <EntryPoint kEntryPoint>
void AskFor(Game& game, const Step& step) {
  Ask(game, kEntryPoint, step);
}

struct CallRow {
  std::string_view name;
  Calls call;
  void (*run)(Game&, const Step&);
};

constexpr std::array kCalls{
    CallRow{"login", kLogins, &AskFor<EntryPoint::kLogin>},
    CallRow{"auto_login", kLogins, &AskFor<EntryPoint::kAutoLogin>},
    CallRow{"logout", kLogout, &AskFor<EntryPoint::kLogout>},
    CallRow{"friends", kFriends, &AskFor<EntryPoint::kQueryFriends>},
    CallRow{"shutdown", kShutdown, [](Game& game, const Step&) { game.Shutdown(); }},
    CallRow{"update", kUpdate, [](Game& game, const Step& step) { game.Tick(step.times); }},
    CallRow{"drain", kDrain, [](Game& game, const Step& step) { game.Drain(step.max_ticks); }},
};

[[noreturn]] void Refuse(const std::string& message) { throw std::runtime_error(message); }

std::string Quoted(std::string_view text) { return '"' + std::string(text) + '"'; }

void Assign(std::string& target, const Json& value, const std::string& name) {
  if (!value.is_string()) Refuse(name + " must be a text");
  target = value.get<std::string>();
}

void Assign(bool& target, const Json& value, const std::string& name) {
  if (!value.is_boolean()) Refuse(name + " must be true or false");
  target = value.get<bool>();
}

// Integers beyond 64 bits come out of the parser as floating-point numbers.
void Assign(int32_t& target, const Json& value, const std::string& name) {
  using Limits = std::numeric_limits<int32_t>;
  const bool fits = value.is_number_unsigned()
                        ? value.get<uint64_t>() <= static_cast<uint64_t>(Limits::max())
                        : value.is_number_integer() && value.get<int64_t>() >= Limits::min();
  if (!fits) Refuse(name + " must be a 32-bit integer");
  target = value.get<int32_t>();
}

const CallRow& FindCall(const Json& line) {
  if (!line.is_object() || !line.contains("call")) Refuse("no object with a member \"call\"");
  std::string name;
  Assign(name, line["call"], "\"call\"");
  for (const CallRow& row : kCalls) {
    if (row.name == name) return row;
  }
  Refuse("unknown call " + Quoted(name));
}

const FieldRow& FindField(std::string_view name, const CallRow& call) {
  for (const FieldRow& row : kFields) {
    if (row.name == name && (row.calls & call.call) != 0) return row;
  }
  Refuse(Quoted(call.name) + " has no field " + Quoted(name));
}

Step ReadStep(const Json& line, const CallRow& call) {
  Step step;
  for (const auto& item : line.items()) {
    if (item.key() == "call") continue;
    std::visit([&](auto member) { Assign(step.*member, item.value(), Quoted(item.key())); },
               FindField(item.key(), call).member);
  }
  for (const int32_t ticks : {step.times, step.max_ticks}) {
    if (ticks < 0 || ticks > kMostTicks) Refuse("a number of ticks must be from 0 to 1000000");
  }
  return step;
}

void Run(Game& game, const std::string& text) {
  const Json line = Json::parse(text);
  const CallRow& call = FindCall(line);
  call.run(game, ReadStep(line, call));
}

// Without the parser's own line number, which is 1 for every line of a script, and without the
// better part of a long line.
std::string Message(const std::exception& error) {
  constexpr std::size_t kLongest = 200;
  if (dynamic_cast<const Json::exception*>(&error) == nullptr) return Reason(error);
  const auto [line, column, reason] = common::ExplainJsonError(error);
  return Shortened(line > 0 ? fmt::format("column {}: {}", column, reason) : reason, kLongest);
}

bool IsBlank(const std::string& text) {
  return text.find_first_not_of(" \t\r") == std::string::npos;
}

// True when the line was good.
bool PlayLine(Game& game, const std::string& text, int64_t number) try {
  if (!IsBlank(text)) Run(game, text);
  return true;
} catch (const std::exception& error) {
  PrintEvent({{"event", "error"}, {"line", number}, {"message", Message(error)}});
  return false;
}

}  // namespace

bool Play(Game& game, std::istream& script) {
  bool good = true;
  std::string text;
  // Nobody is left to read the results of an endless script whose reader went away.
  for (int64_t number = 1; StandardOutputWorks() && std::getline(script, text); ++number) {
    good = PlayLine(game, text, number) && good;
  }
  if (script.bad()) throw std::runtime_error("the script cannot be read to its end");
  return good;
}

}  // namespace zelk::host
