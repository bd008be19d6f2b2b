// The memory that the plugin takes beside the columns of direct_eos.h.
//
//     zelk_bench_memory page N        prints the rows of a page of N friends
//     zelk_bench_memory idle          of a frame without anything to do
//     zelk_bench_memory signed-in SIDE
//                                     prints the bytes that a process has in use after the sign-in
#include <spdlog/fmt/fmt.h>
#include <spdlog/sinks/base_sink.h>

#include <array>
#include <atomic>
#include <cstdio>
#include <exception>
#include <memory>
#include <string>
#include <vector>

#include "counted_memory.h"
#include "sides.h"
#include "zelk_foundation_standin.h"

namespace zelk::benchmarks {
namespace {

Memory Since(const Memory& before) {
  const Memory now = MemorySoFar();
  return {.allocations = now.allocations - before.allocations,
          .bytes = now.bytes - before.bytes,
          .in_use = now.in_use - before.in_use,
          .peak = now.peak - before.in_use};
}

// --- a page of friends ---

// The second page: the first one meets friends that EOS has never heard of.
Memory MemoryOfPage(Side& side, int32_t count) {
  side.ListFriends(count);
  side.TakeAnswer();
  ForgetPeak();
  const Memory before = MemorySoFar();
  side.ListFriends(count);
  const Memory page = Since(before);
  side.TakeAnswer();
  return page;
}

void PrintRow(const char* what, int64_t Memory::*member, const std::vector<Memory>& sides,
              int32_t count, const char* aim) {
  const auto of = [member, count](const Memory& memory) {
    return static_cast<double>(memory.*member) / count;
  };
  fmt::print("| {} of a page of {} |", what, count);
  for (const Memory& side : sides) fmt::print(" {:.1f} |", of(side));
  fmt::print(" {:.2f} | {} | {:.2f} |\n", of(sides[0]) / of(sides[1]), aim,
             of(sides[0]) / of(sides.back()));
}

void CountPage(int32_t count) {
  Sides all(Directory::InMemory());
  std::vector<Memory> sides;
  for (const char* name : {"plugin", "contract", "records", "eos"}) {
    sides.push_back(MemoryOfPage(all.Get(name), count));
  }
  PrintRow("allocations for one friend", &Memory::allocations, sides, count, "20 at the most");
  PrintRow("bytes for one friend", &Memory::bytes, sides, count, "1,500 at the most");
  PrintRow("bytes in use at the same time for one friend", &Memory::peak, sides, count, "");
}

// --- a frame without anything to do ---

class CountLines : public spdlog::sinks::base_sink<std::mutex> {
 public:
  int64_t lines() const { return lines_; }

 protected:
  void sink_it_(const spdlog::details::log_msg& /*message*/) override { ++lines_; }
  void flush_() override {}

 private:
  std::atomic<int64_t> lines_ = 0;
};

constexpr int kFrames = 1000;

int64_t AllocationsOfFrames(Side& side) {
  side.Tick();
  const Memory before = MemorySoFar();
  for (int i = 0; i < kFrames; ++i) side.Tick();
  return Since(before).allocations;
}

void CountIdleFrame() {
  Sides sides(Directory::InMemory());
  Side& plugin = sides.Get("plugin");
  const auto lines = std::make_shared<CountLines>();
  foundation_standin::SetLogSinks({lines});
  foundation_standin::SetLogThreshold(kLogInfo);
  const int64_t with_plugin = AllocationsOfFrames(plugin);
  const int64_t written = lines->lines();
  const int64_t without = AllocationsOfFrames(sides.Get("eos"));
  fmt::print("| allocations of {} such updates; lines: {} | {} | {} | | as many; no line |\n",
             kFrames, written, with_plugin, without);
}

void PrintSignedIn(const std::string& name) {
  const Memory before = MemorySoFar();
  Sides sides(Directory::InMemory());
  sides.Get(name);
  fmt::print("{}\n", Since(before).in_use);
}

int Run(const std::vector<std::string>& arguments) {
  const std::string what = arguments.empty() ? "" : arguments[0];
  if (what == "page" && arguments.size() == 2) return CountPage(std::stoi(arguments[1])), 0;
  if (what == "idle") return CountIdleFrame(), 0;
  if (what == "signed-in" && arguments.size() == 2) return PrintSignedIn(arguments[1]), 0;
  fmt::print(stderr, "zelk_bench_memory: which row? benchmarks/measure has them all\n");
  return 2;
}

}  // namespace
}  // namespace zelk::benchmarks

int main(int argc, char** argv) try {
  return zelk::benchmarks::Run({argv + 1, argv + argc});
} catch (const std::exception& error) {
  std::fprintf(stderr, "zelk_bench_memory: %s\n", error.what());
  return 1;
}
