// What the plugin costs beside the columns of direct_eos.h: one row of the table per process.
//
//     zelk_bench_cost page N              N friends, without a worker
//     zelk_bench_cost page-with-worker N
//     zelk_bench_cost idle                a frame without anything to do
//     zelk_bench_cost sign-in DIRECTORY   with what is stored in a new directory in DIRECTORY
//     zelk_bench_cost thread              the thread of a worker that does nothing
//     zelk_bench_cost load                prints how many microseconds loading the library takes
//     zelk_bench_cost once SIDE N         lists N friends once inside MeasuredPage(), for a tool
//     that
//                                         counts the instructions of that function
//
// ZELK_BENCH_SECONDS says how long a row is measured; with 0 everything runs once.
#include <spdlog/fmt/fmt.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <map>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <windows.h>

#include "eos_standin.h"
#include "sides.h"
#include "windows_standin.h"

namespace zelk::benchmarks {
namespace {

using Clock = std::chrono::steady_clock;

// How long a row is measured, and how often at least.
struct Effort {
  Effort() {
    if (const char* text = std::getenv("ZELK_BENCH_SECONDS")) seconds = std::atof(text);
    if (seconds <= 0) rounds = 1;
  }
  double seconds = 4;
  std::size_t rounds = 9;
};

double Seconds(Clock::duration duration) { return std::chrono::duration<double>(duration).count(); }

// The lower quartile, the median and the upper one.
struct Spread {
  explicit Spread(std::vector<double> values) {
    std::ranges::sort(values);
    const std::size_t last = values.size() - 1;
    low = values[last / 4];
    median = values[last / 2];
    high = values[last - last / 4];
  }
  double low;
  double median;
  double high;
};

// Seconds of each run, by side. The run with the number i of one side stands beside those with the
// same number of the others.
using Runs = std::map<std::string, std::vector<double>>;

// The sides take turns, so that whatever else the machine does meets all of them; each round goes
// through them the other way than the one before.
template <class Run>
Runs RunInTurn(Sides& sides, std::vector<std::string> names, const Effort& effort, const Run& run) {
  for (const std::string& name : names) run(sides.Get(name));  // warms up
  Runs runs;
  const Clock::time_point start = Clock::now();
  for (std::size_t round = 0;
       round < effort.rounds || Seconds(Clock::now() - start) < effort.seconds; ++round) {
    for (const std::string& name : names) runs[name].push_back(run(sides.Get(name)));
    std::ranges::reverse(names);
  }
  return runs;
}

Spread Ratio(Runs& runs, const std::string& over, const std::string& under) {
  std::vector<double> ratios;
  for (std::size_t i = 0; i < runs[over].size(); ++i) {
    ratios.push_back(runs[over][i] / runs[under][i]);
  }
  return Spread(std::move(ratios));
}

std::string Words(const Spread& spread) {
  return fmt::format("{:.2f} ({:.2f} to {:.2f})", spread.median, spread.low, spread.high);
}

// 100000 as "100,000".
std::string Grouped(int32_t number) {
  std::string text = std::to_string(number);
  for (std::size_t end = text.size(); end > 3; end -= 3) text.insert(end - 3, ",");
  return text;
}

std::string Time(double seconds) {
  const double microseconds = seconds * 1e6;
  if (microseconds < 1) return fmt::format("{:.0f} ns", microseconds * 1e3);
  return fmt::format("{:.{}f} µs", microseconds, microseconds < 100 ? 2 : 0);
}

// --- a page of friends ---

// The calls of a page by their names. Whatever column lists it, they are those of the plugin.
std::map<std::string, int> CallsOfPage(Side& side) {
  std::map<std::string, int> calls;
  eos_standin::SetHook([&calls](const std::string& call) { ++calls[call]; });
  side.ListFriends(100);
  eos_standin::SetHook(nullptr);
  side.TakeAnswer();
  calls.erase("EOS_Platform_Tick");
  return calls;
}

void ExpectTheSameCalls(Sides& sides) {
  const auto calls = CallsOfPage(sides.Get("plugin"));
  for (const char* column : {"contract", "records", "eos"}) {
    for (const auto& [call, times] : CallsOfPage(sides.Get(column))) {
      if (calls.contains(call) && calls.at(call) == times) continue;
      throw std::logic_error(fmt::format("{} calls {} {} times", column, call, times));
    }
  }
}

// Small pages are listed several times in a run.
double ListPages(Side& side, int32_t count) {
  constexpr int32_t kFriendsOfRun = 500;
  const int32_t pages = std::max(kFriendsOfRun / count, 1);
  Clock::duration time{};
  for (int32_t page = 0; page < pages; ++page) {
    const Clock::time_point start = Clock::now();
    side.ListFriends(count);
    time += Clock::now() - start;
    side.TakeAnswer();
  }
  return Seconds(time) / pages;
}

void MeasurePage(int32_t count, bool with_worker, const Effort& effort) {
  Sides sides(Directory::InMemory());
  ExpectTheSameCalls(sides);
  const std::string plugin = with_worker ? "plugin-with-worker" : "plugin";
  std::vector<std::string> names{plugin, "contract", "records", "eos"};
  const bool thread_counts = with_worker && count < 1000;
  if (thread_counts) names.emplace_back("plugin");
  Runs runs =
      RunInTurn(sides, names, effort, [count](Side& side) { return ListPages(side, count); });
  names.resize(4);
  fmt::print("| time of one friend of a page of {}, {} worker |", Grouped(count),
             with_worker ? "with a" : "without a");
  for (const std::string& name : names)
    fmt::print(" {} |", Time(Spread(runs[name]).median / count));
  std::string aim = "<= 1.1";
  if (thread_counts) {
    const double thread = Spread(runs[plugin]).median - Spread(runs["plugin"]).median;
    aim = fmt::format("none: the thread takes {} a page", Time(thread));
  }
  fmt::print(" {} | {} | {:.2f} |\n", Words(Ratio(runs, plugin, "contract")), aim,
             Ratio(runs, plugin, "eos").median);
}

// --- what has no friends in it ---

constexpr int kTicksOfRun = 2000;

void MeasureIdleFrame(const Effort& effort) {
  Sides sides(Directory::InMemory());
  Runs runs = RunInTurn(sides, {"plugin", "eos"}, effort, [](Side& side) {
    const Clock::time_point start = Clock::now();
    for (int i = 0; i < kTicksOfRun; ++i) side.Tick();
    return Seconds(Clock::now() - start) / kTicksOfRun;
  });
  fmt::print(
      "| an update without anything to do, beside EOS_Platform_Tick | {} | {} | {} | <= 1.3 |\n",
      Time(Spread(runs["plugin"]).median), Time(Spread(runs["eos"]).median),
      Words(Ratio(runs, "plugin", "eos")));
}

void MeasureSignIn(const std::filesystem::path& directory, const Effort& effort) {
  Sides sides(directory);
  Runs runs = RunInTurn(sides, {"plugin", "records", "eos"}, effort, [](Side& side) {
    side.SignOut();
    const Clock::time_point start = Clock::now();
    side.SignIn();
    const double seconds = Seconds(Clock::now() - start);
    return side.TakeAnswer(), seconds;
  });
  const double plugin = Spread(runs["plugin"]).median;
  const double eos = Spread(runs["eos"]).median;
  const double json_and_store = Spread(runs["records"]).median - eos;
  const bool in_memory = directory == Directory::InMemory();
  fmt::print("| a sign-in, {}; {:.0f}% of what it adds is JSON and the store | {} | {} | {} | |\n",
             in_memory ? "kept in memory" : "kept on a disk", 100 * json_and_store / (plugin - eos),
             Time(plugin), Time(eos), Words(Ratio(runs, "plugin", "eos")));
}

// What a page costs beside its friends: its worker's thread.
void MeasureThread(const Effort& effort) {
  std::vector<double> runs;
  const Clock::time_point start = Clock::now();
  while (runs.size() < effort.rounds || Seconds(Clock::now() - start) < effort.seconds) {
    const Clock::time_point before = Clock::now();
    const LPTHREAD_START_ROUTINE nothing = [](LPVOID) -> DWORD { return 0; };
    CloseHandle(CreateThread(nullptr, 0, nothing, nullptr, 0, nullptr));
    while (windows_standin::ThreadsRunning() > 0) std::this_thread::yield();
    runs.push_back(Seconds(Clock::now() - before));
  }
  fmt::print("| the thread of a page's worker, from start to end | {} | | | |\n",
             Time(Spread(runs).median));
}

void PrintLoadTime() {
  const Clock::time_point start = Clock::now();
  const host::PluginLibrary library{ZELK_PLUGIN_FILE};
  fmt::print("{:.0f}\n", Seconds(Clock::now() - start) * 1e6);
}

}  // namespace

// Not inlined, and found by its name.
extern "C" [[gnu::noinline]] void MeasuredPage(Side& side, int32_t count) {
  side.ListFriends(count);
}

namespace {

// After a page that meets friends of whom EOS has never heard, as many as need no more than some
// seconds where instructions are counted: what malloc does differs a little from page to page.
void CountPages(const std::string& name, int32_t count) {
  constexpr int32_t kFriendsOfRun = 2000;
  Sides sides(Directory::InMemory());
  Side& side = sides.Get(name);
  side.ListFriends(count);
  side.TakeAnswer();
  const int32_t pages = std::max(kFriendsOfRun / count, 1);
  for (int32_t page = 0; page < pages; ++page) {
    MeasuredPage(side, count);
    side.TakeAnswer();
  }
  fmt::print("{}\n", pages * count);
}

int Run(const std::vector<std::string>& arguments) {
  const std::string what = arguments.empty() ? "" : arguments[0];
  const std::string detail = arguments.size() > 1 ? arguments[1] : "";
  const Effort effort;
  if (what == "page" && arguments.size() == 2)
    return MeasurePage(std::stoi(detail), false, effort), 0;
  if (what == "page-with-worker" && arguments.size() == 2) {
    return MeasurePage(std::stoi(detail), true, effort), 0;
  }
  if (what == "sign-in" && arguments.size() == 2) return MeasureSignIn(detail, effort), 0;
  if (what == "count" && arguments.size() == 3)
    return CountPages(detail, std::stoi(arguments[2])), 0;
  if (what == "idle") return MeasureIdleFrame(effort), 0;
  if (what == "thread") return MeasureThread(effort), 0;
  if (what == "load") return PrintLoadTime(), 0;
  fmt::print(stderr, "zelk_bench_cost: which row? benchmarks/measure has them all\n");
  return 2;
}

}  // namespace
}  // namespace zelk::benchmarks

int main(int argc, char** argv) try {
  return zelk::benchmarks::Run({argv + 1, argv + argc});
} catch (const std::exception& error) {
  std::fprintf(stderr, "zelk_bench_cost: %s\n", error.what());
  return 1;
}
