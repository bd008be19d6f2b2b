// Scripts of the host: any bytes are played, every good line of them is obeyed, and every request
// is answered.
#include <sched.h>

#include <chrono>
#include <ctime>
#include <sstream>
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

const host::PluginLibrary& Plugin() {
  static const host::PluginLibrary& plugin = Load();
  return plugin;
}

// The plugin, except that a shutdown only settles everything, for it is final in a process, and
// that a run's ticks come to an end.
host::PluginLibrary TamePlugin() {
  host::PluginLibrary plugin = Plugin();
  plugin.update = [] {
    if (--ticks_left < 0) throw std::runtime_error("the run's ticks are over");
    Plugin().update();
  };
  plugin.shutdown = [] { Settle(Plugin()); };
  return plugin;
}

struct Account : host::GameObserver {
  void OnRequest(const host::Request& request) override {
    ++asked;
    const bool is_page = request.entry_point == host::EntryPoint::kQueryFriends;
    if (is_page && request.params.seq_id.empty()) ++may_stay_unanswered;
  }
  void OnResult(const core_standin::CommittedResult&) override { ++answered; }

  int asked = 0;
  int may_stay_unanswered = 0;
  int answered = 0;
};

// How many answers were left.
int SettleAndCount() {
  Settle(Plugin());
  return static_cast<int>(core_standin::DrainTaskQueue([](const auto&) {}));
}

void SignOut() {
  Plugin().logout({kMethodIDAuthLogout, "out", "", ""});
  Expect(SettleAndCount() == 1, "an answer to the sign-out");
}

}  // namespace
}  // namespace zelk::fuzz

using namespace zelk::fuzz;

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  Plugin().login({zelk::kMethodIDAuthLogin, "first", "", R"({"LoginMode":"AccountPortal"})"}, "");
  SettleAndCount();
  SignOut();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const zelk::host::PluginLibrary plugin = TamePlugin();
  std::istringstream script(Text(data, size));
  ticks_left = 200;
  Account account;
  {
    zelk::host::Game game(plugin, std::chrono::seconds(1));
    game.Add(account);
    zelk::host::Play(game, script);
    game.Finish();
  }
  account.answered += SettleAndCount();
  Expect(account.answered <= account.asked, "no answer to what was not asked");
  Expect(account.answered >= account.asked - account.may_stay_unanswered,
         "an answer to each request");
  SignOut();
  ExpectNothingMisusedOrLeft();
  return 0;
}
