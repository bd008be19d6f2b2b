// Scripts of the host: any bytes are played, every good line of them is obeyed, and every request
// is answered.
#include <sched.h>

#include <ctime>
#include <stdexcept>

#include "fuzz.h"
#include "game.h"
#include "play.h"

// The pause of a frame would be most of a run. Only a worker needs the time.
extern "C" int nanosleep(const timespec*, timespec*) {
  return windows_standin::ThreadsRunning() > 0 ? sched_yield() : 0;
}

namespace zelk::fuzz {
namespace {

int ticks_left = 0;
int asked = 0;
int may_stay_unanswered = 0;  // pages without a sequence id

const host::PluginLibrary& Plugin() {
  static const host::PluginLibrary& plugin = Load();
  return plugin;
}

// The plugin, except that a shutdown only settles everything, for it is final in a process, and
// that a run's ticks come to an end.
host::PluginLibrary CountingPlugin() {
  host::PluginLibrary plugin = Plugin();
  plugin.login = [](const BaseParams& params, const std::string& permissions) {
    ++asked;
    Plugin().login(params, permissions);
  };
  plugin.auto_login = [](const BaseParams& params, const std::string& permissions) {
    ++asked;
    Plugin().auto_login(params, permissions);
  };
  plugin.logout = [](const BaseParams& params) {
    ++asked;
    Plugin().logout(params);
  };
  plugin.query_friends = [](const BaseParams& params, int32_t page, int32_t count, bool in_game) {
    ++asked;
    may_stay_unanswered += params.seq_id.empty();
    Plugin().query_friends(params, page, count, in_game);
  };
  plugin.update = [] {
    if (--ticks_left < 0) throw std::runtime_error("the run's ticks are over");
    Plugin().update();
  };
  plugin.shutdown = [] { Settle(Plugin()); };
  return plugin;
}

// How many answers were left.
int SettleAndCount() {
  Settle(Plugin());
  return static_cast<int>(core_standin::DrainTaskQueue([](const auto&) {}));
}

void SignOut() {
  Plugin().logout({107, "out", "", ""});
  Expect(SettleAndCount() == 1, "an answer to the sign-out");
}

}  // namespace
}  // namespace zelk::fuzz

using namespace zelk::fuzz;

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  Plugin().login({102, "first", "", R"({"LoginMode":"AccountPortal"})"}, "");
  SettleAndCount();
  SignOut();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const zelk::host::PluginLibrary plugin = CountingPlugin();
  const std::string script = WriteFile("script.jsonl", Text(data, size));
  ticks_left = 200;
  asked = may_stay_unanswered = 0;
  int answered = 0;
  {
    zelk::host::Game game(plugin, [&](const auto&) { ++answered; });
    zelk::host::Play(game, script);
    game.Finish();
  }
  answered += SettleAndCount();
  Expect(answered <= asked, "no answer to what was not asked");
  Expect(answered >= asked - may_stay_unanswered, "an answer to each request");
  SignOut();
  ExpectNothingMisusedOrLeft();
  return 0;
}
