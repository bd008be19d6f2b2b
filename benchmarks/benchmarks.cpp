// What the plugin adds to the EOS calls it makes, as a ratio to the same calls made directly in the
// same run. The numbers of EOS itself are those of the library that lies beside the plugin.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <thread>
#include <variant>
#include <vector>

#include <windows.h>

#include "counted_memory.h"
#include "direct_eos.h"
#include "eos_logging.h"
#include "eos_standin.h"
#include "plugin_library.h"
#include "ratios.h"
#include "windows_standin.h"
#include "zelk_core_standin.h"
#include "zelk_foundation_standin.h"

namespace zelk::benchmarks {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int64_t kFriends = 100'000;
constexpr int32_t kRequestsOfWorker = 10'000;

double Seconds(Clock::duration duration) { return std::chrono::duration<double>(duration).count(); }

// Gone when the run ends. In memory where there is such a place: what is stored is flushed.
class Directory {
 public:
  Directory() {
    const std::filesystem::path memory = "/dev/shm";
    const bool there = std::filesystem::is_directory(memory);
    path_ = (there ? memory : std::filesystem::temp_directory_path()) /
            ("zelk-benchmark-" + std::to_string(Clock::now().time_since_epoch().count()));
    for (const char* folder : {"plugin", "direct"}) {
      std::filesystem::create_directories(path_ / folder);
    }
  }
  Directory(const Directory&) = delete;
  Directory& operator=(const Directory&) = delete;
  ~Directory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  std::string operator/(const char* folder) const { return (path_ / folder).string(); }

 private:
  std::filesystem::path path_;
};

// The plugin as a game drives it, signed in.
class Plugin {
 public:
  explicit Plugin(const std::string& directory) {
    setenv("TMPDIR", directory.c_str(), 1);
    foundation_standin::SetStoreDirectory(directory);
    foundation_standin::SetLogThreshold(kLogError);
    for (const char* key :
         {"EPIC_PRODUCT_NAME", "EPIC_PRODUCT_VERSION", "EPIC_PRODUCT_ID", "EPIC_SANDBOX_ID",
          "EPIC_DEPLOYMENT_ID", "EPIC_CLIENT_ID", "EPIC_CLIENT_SECRET"}) {
      core_standin::SetConfig("ZELK", key, "benchmark");
    }
    eos_standin::SetWorld({{"accounts",
                            {{{"name", "player"},
                              {"account_id", std::string(31, '0') + "1"},
                              {"product_user_id", std::string(31, '0') + "a"},
                              {"display_name", "Player One"},
                              {"country", "DE"},
                              {"language", "de"},
                              {"generated_friends", kFriends}}}},
                           {"signs_in", "player"}});
    SignIn();
    TakeAnswer();
  }

  void Tick() { library_.update(); }

  void SignIn() {
    library_.login({102, "sign-in", "", R"({"LoginMode":"AccountPortal"})"},
                   "basic_profile,friends_list,presence");
    TickUntilIdle();
  }

  void SignOut() {
    library_.logout({107, "sign-out", "", ""});
    TickUntilIdle();
  }

  void AskForFriends(int32_t count) {
    library_.query_friends({203, "friends", "", ""}, 1, count, false);
  }

  static bool WorkerRuns() { return windows_standin::ThreadsRunning() > 0; }

  // No tick comes in the worker's way: what is measured is work, not a game's frames.
  static void WaitForWorker() {
    while (WorkerRuns()) std::this_thread::yield();
  }

  // Until EOS has nothing left to complete, and so every request its answer.
  void TickUntilIdle() {
    while (eos_standin::OutstandingNow().operations > 0) Tick();
  }

  // Throws unless there is one answer, and it is a success.
  static void TakeAnswer() {
    if (core_standin::DrainTaskQueue(&Check) != 1) throw std::runtime_error("not one answer");
  }

 private:
  static void Check(const core_standin::CommittedResult& result) {
    const int32_t code =
        std::visit([](const auto& record) { return record.ret_code; }, result.record);
    if (code != kResultSuccess) {
      throw std::runtime_error(result.seq_id + " failed with " + std::to_string(code));
    }
  }

  host::PluginLibrary library_{ZELK_PLUGIN_FILE};
};

struct World {
  World() { direct.SignIn(); }

  Directory directory;
  Plugin plugin{directory / "plugin"};
  DirectEos direct{directory / "direct"};
};

// Made by the first benchmark that runs. EOS logs for the plugin as the plugin asked for, and for
// the direct calls as little as it can.
World& TheWorld() {
  static World& world = *new World;
  return world;
}

Plugin& ThePlugin() {
  Plugin& plugin = TheWorld().plugin;
  EOS_Logging_SetLogLevel(EOS_ELogCategory::EOS_LC_ALL_CATEGORIES, EOS_ELogLevel::EOS_LOG_Verbose);
  return plugin;
}

DirectEos& Direct() {
  DirectEos& direct = TheWorld().direct;
  EOS_Logging_SetLogLevel(EOS_ELogCategory::EOS_LC_ALL_CATEGORIES, EOS_ELogLevel::EOS_LOG_Off);
  return direct;
}

// --- an idle tick ---

void IdleUpdatePlugin(benchmark::State& state) {
  Plugin& plugin = ThePlugin();
  for (auto _ : state) plugin.Tick();
}
BENCHMARK(IdleUpdatePlugin);

void IdleUpdateDirect(benchmark::State& state) {
  DirectEos& direct = Direct();
  for (auto _ : state) direct.Tick();
}
BENCHMARK(IdleUpdateDirect);

// --- a sign-in ---

void SignInPlugin(benchmark::State& state) {
  Plugin& plugin = ThePlugin();
  for (auto _ : state) {
    plugin.SignOut();
    Plugin::TakeAnswer();
    const Clock::time_point start = Clock::now();
    plugin.SignIn();
    state.SetIterationTime(Seconds(Clock::now() - start));
    Plugin::TakeAnswer();
  }
}
BENCHMARK(SignInPlugin)->UseManualTime();

void SignInDirect(benchmark::State& state) {
  DirectEos& direct = Direct();
  for (auto _ : state) {
    direct.SignOut();
    const Clock::time_point start = Clock::now();
    direct.SignIn();
    state.SetIterationTime(Seconds(Clock::now() - start));
  }
}
BENCHMARK(SignInDirect)->UseManualTime();

// --- a list of friends, its answer not yet taken ---

void ListFriends(Plugin& plugin, int32_t count) {
  plugin.AskForFriends(count);
  plugin.Tick();  // the list is there, and the worker asks for the details
  Plugin::WaitForWorker();
  plugin.TickUntilIdle();
}

std::vector<DirectEos::Friend> ListFriends(DirectEos& direct, int32_t count) {
  direct.AskForFriends(count);
  return direct.TakeFriends();
}

// --- the longest tick beside a worker ---

// What all but a thousandth of them do not exceed.
template <class T>
T AllButAThousandth(std::vector<T>& values) {
  std::ranges::sort(values);
  return values[values.size() - values.size() / 1000 - 1];
}

void ReportLongest(benchmark::State& state, std::vector<Clock::duration>& durations) {
  state.counters["thousandth"] = Seconds(AllButAThousandth(durations));
  state.SetIterationTime(Seconds(durations.back()));
}

// While it lives, no detail arrives in the ticks that are measured.
class LateDetails {
 public:
  LateDetails() {
    eos_standin::AddRule(
        {.call = "EOS_UserInfo_QueryUserInfo", .times = 0, .after_ticks = 1'000'000});
  }
  LateDetails(const LateDetails&) = delete;
  LateDetails& operator=(const LateDetails&) = delete;
  ~LateDetails() { eos_standin::ClearRules(); }
};

// Runs `tick` for as long as the worker issues its requests.
template <class Tick>
void TickBesideWorker(Plugin& plugin, const Tick& tick) {
  const LateDetails late;
  plugin.AskForFriends(kRequestsOfWorker);
  plugin.Tick();
  while (Plugin::WorkerRuns()) tick();
  plugin.TickUntilIdle();
  Plugin::TakeAnswer();
}

// But for one tick in a thousand, which the system may suspend before it asks for its turn.
int64_t MostWorkerCallsInOneTick(Plugin& plugin) {
  std::atomic<int64_t> calls = 0;
  eos_standin::SetHook([&calls, game = std::this_thread::get_id()](const std::string&) {
    if (std::this_thread::get_id() != game) ++calls;
  });
  std::vector<int64_t> calls_in_tick;
  TickBesideWorker(plugin, [&] {
    const int64_t before = calls;
    plugin.Tick();
    calls_in_tick.push_back(calls - before);
  });
  eos_standin::SetHook(nullptr);
  return AllButAThousandth(calls_in_tick);
}

void LongestTickPlugin(benchmark::State& state) {
  Plugin& plugin = ThePlugin();
  for (auto _ : state) {
    state.counters["calls"] = static_cast<double>(MostWorkerCallsInOneTick(plugin));
    std::vector<Clock::duration> durations;
    durations.reserve(1'000'000);
    TickBesideWorker(plugin, [&] {
      const Clock::time_point start = Clock::now();
      plugin.Tick();
      durations.push_back(Clock::now() - start);
    });
    ReportLongest(state, durations);
  }
}
BENCHMARK(LongestTickPlugin)->UseManualTime()->Iterations(1);

void LongestTickDirect(benchmark::State& state) {
  DirectEos& direct = Direct();
  const auto friends = ListFriends(direct, kRequestsOfWorker);
  const EOS_HUserInfo user_info = EOS_Platform_GetUserInfoInterface(direct.platform());
  for (auto _ : state) {
    std::vector<Clock::duration> durations;
    for (const DirectEos::Friend& entry : friends) {
      const Clock::time_point start = Clock::now();
      const EOS_EpicAccountId account = EOS_EpicAccountId_FromString(entry.account_id.c_str());
      const Clock::time_point converted = Clock::now();
      const EOS_UserInfo_QueryUserInfoOptions options{
          .ApiVersion = 1, .LocalUserId = direct.account(), .TargetUserId = account};
      EOS_UserInfo_QueryUserInfo(user_info, &options, nullptr,
                                 [](const EOS_UserInfo_QueryUserInfoCallbackInfo*) {});
      durations.push_back(std::max(converted - start, Clock::now() - converted));
    }
    ReportLongest(state, durations);
  }
  direct.Tick();
}
BENCHMARK(LongestTickDirect)->UseManualTime()->Iterations(1);

// --- memory per friend of a page ---

template <class List>
void CountMemory(benchmark::State& state, const List& list) {
  for (auto _ : state) {
    const AllocatedMemory before = AllocatedSoFar();
    list();
    const AllocatedMemory after = AllocatedSoFar();
    state.counters["allocations"] =
        static_cast<double>(after.allocations - before.allocations) / kRequestsOfWorker;
    state.counters["bytes"] = static_cast<double>(after.bytes - before.bytes) / kRequestsOfWorker;
  }
}

void FriendMemoryPlugin(benchmark::State& state) {
  Plugin& plugin = ThePlugin();
  CountMemory(state, [&plugin] { ListFriends(plugin, kRequestsOfWorker); });
  Plugin::TakeAnswer();
}
BENCHMARK(FriendMemoryPlugin)->Iterations(1);

void FriendMemoryDirect(benchmark::State& state) {
  DirectEos& direct = Direct();
  CountMemory(state, [&direct] { return ListFriends(direct, kRequestsOfWorker); });
}
BENCHMARK(FriendMemoryDirect)->Iterations(1);

// --- a page of friends ---

void MeasureFriendPage(benchmark::State& state) {
  Plugin& plugin = ThePlugin();
  const auto count = static_cast<int32_t>(state.range());
  for (auto _ : state) {
    const Clock::time_point start = Clock::now();
    ListFriends(plugin, count);
    state.SetIterationTime(Seconds(Clock::now() - start));
    Plugin::TakeAnswer();
  }
}

void FriendPagePlugin(benchmark::State& state) { MeasureFriendPage(state); }

// The worker's part on the tick thread, as after a CreateThread that fails: the plugin's work
// alone, without what a second thread costs.
void FriendPageOneThread(benchmark::State& state) {
  windows_standin::FailCreateThread(true);
  MeasureFriendPage(state);
  windows_standin::FailCreateThread(false);
}

void FriendPageDirect(benchmark::State& state) {
  DirectEos& direct = Direct();
  const auto count = static_cast<int32_t>(state.range());
  for (auto _ : state) {
    const Clock::time_point start = Clock::now();
    const auto friends = ListFriends(direct, count);
    state.SetIterationTime(Seconds(Clock::now() - start));
  }
}

// From small pages to large ones, which leave the heap in pieces behind them.
[[maybe_unused]] const bool friend_pages_registered = [] {
  for (int64_t count = 10; count <= kFriends; count *= 10) {
    benchmark::RegisterBenchmark("FriendPageDirect", &FriendPageDirect)
        ->Arg(count)
        ->UseManualTime();
    benchmark::RegisterBenchmark("FriendPageOneThread", &FriendPageOneThread)
        ->Arg(count)
        ->UseManualTime();
    benchmark::RegisterBenchmark("FriendPagePlugin", &FriendPagePlugin)
        ->Arg(count)
        ->UseManualTime();
  }
  return true;
}();

// What a page costs beside its friends: its worker's thread.
void EmptyThread(benchmark::State& state) {
  for (auto _ : state) {
    const LPTHREAD_START_ROUTINE nothing = [](LPVOID) -> DWORD { return 0; };
    CloseHandle(CreateThread(nullptr, 0, nothing, nullptr, 0, nullptr));
    Plugin::WaitForWorker();
  }
}
BENCHMARK(EmptyThread);

}  // namespace
}  // namespace zelk::benchmarks

int main(int argc, char** argv) {
  // What the command line says comes later and wins.
  std::array<std::string, 2> defaults{"--benchmark_repetitions=5", "--benchmark_min_time=0.2"};
  std::vector<char*> arguments(argv, argv + argc);
  for (std::string& text : defaults) arguments.insert(arguments.begin() + 1, text.data());
  int count = static_cast<int>(arguments.size());
  benchmark::Initialize(&count, arguments.data());
  if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) return 2;
  zelk::benchmarks::RatioReporter reporter;
  return benchmark::RunSpecifiedBenchmarks(&reporter) > 0 ? 0 : 1;
}
