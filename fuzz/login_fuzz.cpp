// Login parameters and permissions. An input is a request in lines: the entry point and the method
// ("login 102" or "auto_login 101"), the sequence id, the permissions, and all else is extra_json.
#include <sstream>

#include "fuzz.h"

namespace zelk::fuzz {
namespace {

const host::PluginLibrary& Plugin() {
  static const host::PluginLibrary& plugin = Load();
  return plugin;
}

// What was asked gets one answer, by its sequence id.
template <class Ask>
void ExpectOneAnswer(const BaseParams& params, const Ask& ask) {
  ask();
  Settle(Plugin());
  int answers = 0;
  core_standin::DrainTaskQueue([&](const core_standin::CommittedResult& result) {
    answers += result.seq_id ==
               params.seq_id.c_str();  // NOLINT(readability-redundant-string-cstr): ends at a NUL
    Expect(answers == 1, "no answer but one to " + params.seq_id);
  });
  Expect(answers == 1, "an answer to " + params.seq_id);
}

void LogIn(const BaseParams& params, const std::string& permissions, bool automatically) {
  ExpectOneAnswer(params, [&] {
    const auto log_in = automatically ? Plugin().auto_login : Plugin().login;
    log_in(params, permissions);
  });
}

void ComeBackAndLeave() {
  const BaseParams friends{kMethodIDFriendQueryFriends, "friends", "", ""},
      back{kMethodIDAuthAutoLogin, "back", "", ""}, out{kMethodIDAuthLogout, "out", "", ""};
  ExpectOneAnswer(friends, [&] { Plugin().query_friends(friends, 2, 3, true); });
  LogIn(back, "friends_list", true);
  ExpectOneAnswer(out, [&] { Plugin().logout(out); });
}

}  // namespace
}  // namespace zelk::fuzz

using namespace zelk::fuzz;

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  LogIn({zelk::kMethodIDAuthLogin, "first", "", R"({"LoginMode":"AccountPortal"})"}, "", false);
  ComeBackAndLeave();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::istringstream input(Text(data, size));
  std::string entry_point, permissions;
  zelk::BaseParams params{};
  input >> entry_point >> params.method_id;
  input.clear();
  std::string rest;
  std::getline(input, rest);
  std::getline(input, params.seq_id);
  std::getline(input, permissions);
  std::getline(input, params.extra_json, '\0');
  LogIn(params, permissions, entry_point == "auto_login");
  ComeBackAndLeave();
  ExpectNothingMisusedOrLeft();
  return 0;
}
