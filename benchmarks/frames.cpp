// What a game feels of the plugin, frame by frame: its own thread's time, its longest ticks, and
// how long a worker makes it wait. Prints two tables; builds for Windows too.
//
// ZELK_BENCH_SECONDS says how long a cell is measured; with 0 everything runs once, in frames of a
// millisecond.
#include <spdlog/fmt/fmt.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#if defined(_WIN32)
#include <windows.h>
#else
#include <sys/resource.h>
#endif

#include "eos_standin.h"
#include "game.h"

namespace zelk::benchmarks {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::microseconds;

double Seconds(Clock::duration duration) { return std::chrono::duration<double>(duration).count(); }

constexpr int64_t kCompletionsOfTick = 20;

struct Effort {
  Effort() {
    if (const char* text = std::getenv("ZELK_BENCH_SECONDS")) seconds = std::atof(text);
    if (seconds <= 0) frame = microseconds(1000);
  }
  double seconds = 4;
  Clock::duration frame = microseconds(16'667);
};

// --- what the system knows of this thread ---

#if defined(_WIN32)

double ThreadSeconds() {
  FILETIME created, ended, kernel, user;
  GetThreadTimes(GetCurrentThread(), &created, &ended, &kernel, &user);
  const auto ticks = [](const FILETIME& time) {
    return static_cast<double>(uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime);
  };
  return (ticks(kernel) + ticks(user)) * 1e-7;
}

#else

double ThreadSeconds() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

#endif

// How often this thread slept, and how often it was taken off its core. Windows does not tell.
struct Switches {
  long slept = 0;
  long taken_off = 0;
};

Switches SwitchesSoFar() {
#if defined(__linux__)
  rusage usage{};
  getrusage(RUSAGE_THREAD, &usage);
  return {usage.ru_nvcsw, usage.ru_nivcsw};
#else
  return {};
#endif
}

template <class T>
T Quantile(std::vector<T>& values, double part) {
  std::ranges::sort(values);
  return values[static_cast<std::size_t>(part * static_cast<double>(values.size() - 1))];
}

std::string Milliseconds(double seconds) {
  return fmt::format("{:.{}f} ms", seconds * 1e3, seconds < 1e-3 ? 3 : seconds < 1e-2 ? 2 : 1);
}

// --- a page of friends ---

// Runs each entry point of a page through `measure`. The ticks after the list wait for the worker's
// last request, as frames do that are longer than a worker takes.
template <class Measure>
void ListFriends(const Game& game, int32_t count, const Measure& measure) {
  measure([&] { game.AskForFriends(count); });
  measure([&] { game.Tick(); });
  while (eos_standin::OutstandingNow().operations < count) std::this_thread::yield();
  while (eos_standin::OutstandingNow().operations > 0) measure([&] { game.Tick(); });
  Game::TakeAnswer();
}

// Calls `once` for as long as the effort lasts; returns how often.
int Repeat(const Effort& effort, const std::function<void()>& once) {
  const Clock::time_point start = Clock::now();
  int times = 0;
  do {
    once();
    ++times;
  } while (Seconds(Clock::now() - start) < effort.seconds);
  return times;
}

double ThreadSecondsOfPage(const Game& game, int32_t count, const Effort& effort) {
  double seconds = 0;
  const int pages = Repeat(effort, [&] {
    ListFriends(game, count, [&seconds](const auto& enter) {
      const double before = ThreadSeconds();
      enter();
      seconds += ThreadSeconds() - before;
    });
  });
  return seconds / pages;
}

// The median over the pages that the effort allows; a tick runs so many completions at the most, or
// all with 0.
double LongestTick(const Game& game, int32_t count, int64_t completions, const Effort& effort) {
  std::vector<double> longest;
  eos_standin::LimitCompletionsPerTick(completions);
  Repeat(effort, [&] {
    double most = 0;
    ListFriends(game, count, [&most](const auto& enter) {
      const Clock::time_point before = Clock::now();
      enter();
      most = std::max(most, Seconds(Clock::now() - before));
    });
    longest.push_back(most);
  });
  eos_standin::LimitCompletionsPerTick(0);
  return Quantile(longest, 0.5);
}

class Frames {
 public:
  explicit Frames(Clock::duration length) : length_(length) {}

  void WaitForNext() {
    next_ += length_;
    std::this_thread::sleep_until(next_);
  }

 private:
  Clock::duration length_;
  Clock::time_point next_ = Clock::now();
};

int FramesUntilAnswer(const Game& game, int32_t count, int64_t completions, const Effort& effort) {
  eos_standin::LimitCompletionsPerTick(completions);
  Frames frames(effort.frame);
  game.AskForFriends(count);
  int ticks = 0;
  while (!Game::TakeAnswer()) {
    frames.WaitForNext();
    game.Tick();
    ++ticks;
  }
  eos_standin::LimitCompletionsPerTick(0);
  return ticks;
}

constexpr std::array kPages{10, 100, 1000, 10000};

void PrintRow(const char* what, const std::function<std::string(int32_t count)>& cell) {
  fmt::print("| {} |", what);
  for (const int32_t count : kPages) fmt::print(" {} |", cell(count));
  fmt::print("\n");
  std::fflush(stdout);
}

void PrintPages(const Game& game, const Effort& effort) {
  fmt::print("\n| a page of friends | 10 | 100 | 1,000 | 10,000 |\n|---|---|---|---|---|\n");
  std::array<double, kPages.size()> seconds{};
  for (std::size_t i = 0; i < kPages.size(); ++i) {
    seconds[i] = ThreadSecondsOfPage(game, kPages[i], effort);
  }
  const auto of = [&seconds](int32_t count) {
    return seconds[static_cast<std::size_t>(std::ranges::find(kPages, count) - kPages.begin())];
  };
  PrintRow("processor time of the game's thread, for one friend",
           [&of](int32_t count) { return fmt::format("{:.2f} µs", of(count) / count * 1e6); });
  PrintRow("for the page", [&of](int32_t count) { return Milliseconds(of(count)); });
  for (const bool all : {true, false}) {
    PrintRow(all ? "longest tick, EOS answers all in one" : "longest tick, EOS answers 20 a tick",
             [&](int32_t count) {
               return Milliseconds(LongestTick(game, count, all ? 0 : kCompletionsOfTick, effort));
             });
  }
  for (const bool all : {true, false}) {
    PrintRow(all ? "frames from the request to the result, all in one tick"
                 : "frames from the request to the result, 20 a tick",
             [&](int32_t count) {
               return std::to_string(
                   FramesUntilAnswer(game, count, all ? 0 : kCompletionsOfTick, effort));
             });
  }
}

// --- a tick beside a worker ---

constexpr int32_t kRequestsOfWorker = 20'000;
constexpr auto kEosCall = microseconds(5);

void Spin(Clock::duration duration) {
  const Clock::time_point end = Clock::now() + duration;
  while (Clock::now() < end) {
  }
}

// Threads that do nothing but take processors away.
class BusyThreads {
 public:
  explicit BusyThreads(unsigned int count) {
    for (unsigned int i = 0; i < count; ++i) {
      threads_.emplace_back([this] {
        while (!stop_) {
        }
      });
    }
  }
  BusyThreads(const BusyThreads&) = delete;
  BusyThreads& operator=(const BusyThreads&) = delete;
  ~BusyThreads() {
    stop_ = true;
    for (std::thread& thread : threads_) thread.join();
  }

 private:
  std::atomic<bool> stop_ = false;
  std::vector<std::thread> threads_;
};

// While it lives, a worker's request takes EOS some microseconds, and no detail arrives in the
// ticks that are measured.
class SlowWorkerCalls {
 public:
  SlowWorkerCalls() {
    eos_standin::AddRule({.call = kCall, .times = 0, .after_ticks = 100'000});
    eos_standin::SetHook([this, game = std::this_thread::get_id()](const std::string& call) {
      if (call != kCall || std::this_thread::get_id() == game) return;
      Spin(kEosCall);
      ++calls_;
    });
  }
  SlowWorkerCalls(const SlowWorkerCalls&) = delete;
  SlowWorkerCalls& operator=(const SlowWorkerCalls&) = delete;
  ~SlowWorkerCalls() {
    eos_standin::SetHook(nullptr);
    eos_standin::ClearRules();
  }

  int64_t so_far() const { return calls_; }

 private:
  static constexpr char kCall[] = "EOS_UserInfo_QueryUserInfo";
  std::atomic<int64_t> calls_ = 0;
};

struct TickBesideWorker {
  double seconds;
  int64_t calls;  // of the worker, meanwhile
  Switches switches;
};

TickBesideWorker MeasureTick(const Game& game, const SlowWorkerCalls& worker) {
  const Switches switches = SwitchesSoFar();
  const int64_t calls = worker.so_far();
  const Clock::time_point before = Clock::now();
  game.Tick();
  const double seconds = Seconds(Clock::now() - before);
  const Switches after = SwitchesSoFar();
  return {seconds,
          worker.so_far() - calls,
          {after.slept - switches.slept, after.taken_off - switches.taken_off}};
}

std::vector<TickBesideWorker> TicksBesideWorkers(const Game& game, const Effort& effort) {
  std::vector<TickBesideWorker> ticks;
  Repeat(Effort(effort), [&] {
    {
      const SlowWorkerCalls worker;
      game.AskForFriends(kRequestsOfWorker);
      game.Tick();
      Frames frames(effort.frame);
      for (frames.WaitForNext(); worker.so_far() < kRequestsOfWorker; frames.WaitForNext()) {
        ticks.push_back(MeasureTick(game, worker));
      }
    }
    game.TickUntilIdle();
    Game::TakeAnswer();
  });
  return ticks;
}

std::string Cause(const TickBesideWorker& tick) {
#if defined(__linux__)
  if (tick.switches.taken_off > 0) return "the game's thread was taken off its core";
  if (tick.switches.slept > 0) return "the worker was taken off its core inside the lock";
#endif
  return fmt::format("{} calls of the worker meanwhile", tick.calls);
}

void PrintTicks(const char* what, const Game& game, const Effort& effort) {
  std::vector<TickBesideWorker> ticks = TicksBesideWorkers(game, effort);
  std::vector<double> seconds;
  for (const TickBesideWorker& tick : ticks) seconds.push_back(tick.seconds);
  const auto longest = std::ranges::max_element(ticks, {}, &TickBesideWorker::seconds);
  fmt::print("| {} | {} | {} | {} | {} | {} |\n", what, ticks.size(),
             Milliseconds(Quantile(seconds, 0.5)), Milliseconds(Quantile(seconds, 0.99)),
             Milliseconds(longest->seconds), Cause(*longest));
  std::fflush(stdout);
}

void PrintTicksBesideWorkers(const Game& game, const Effort& effort) {
  Effort longer = effort;
  longer.seconds *= 4;
  fmt::print(
      "\n| a tick beside a worker with {} EOS calls of {} µs | ticks | median | 99% | longest | "
      "what the longest waited for |\n|---|---|---|---|---|---|\n",
      kRequestsOfWorker, kEosCall.count());
  fmt::print("| aim | | < 0.2 ms | < 1 ms | | |\n");
  PrintTicks("processors are free", game, longer);
  const unsigned int busy = std::thread::hardware_concurrency() + 1;
  const BusyThreads threads(busy);
  PrintTicks(fmt::format("{} busy threads on {} processors", busy, busy - 1).c_str(), game, longer);
}

}  // namespace
}  // namespace zelk::benchmarks

int main() try {
  using namespace zelk::benchmarks;
  const Directory directory(Directory::InMemory());
  SetUpWorld(directory.path());
  const Game game;
  const Effort effort;
  PrintPages(game, effort);
  PrintTicksBesideWorkers(game, effort);
  return 0;
} catch (const std::exception& error) {
  std::fprintf(stderr, "zelk_bench_frames: %s\n", error.what());
  return 1;
}
