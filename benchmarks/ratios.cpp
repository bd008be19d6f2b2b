#include "ratios.h"

#include <spdlog/fmt/fmt.h>

#include <array>

namespace zelk::benchmarks {
namespace {

struct Row {
  const char* words;
  const char* plugin;
  const char* direct;
  const char* unit;
  double units_per_second;  // 1 for what is not a time
  double parts;             // of which one is shown
  const char* aim;
};

constexpr std::array kRows{
    Row{"idle `zelk_epic_update`", "IdleUpdatePlugin", "IdleUpdateDirect", "ns", 1e9, 1, "< 1.5"},
    Row{"sign-in", "SignInPlugin", "SignInDirect", "µs", 1e6, 1, "< 3"},
    Row{"one friend of a page of 10", "FriendPagePlugin/10", "FriendPageDirect/10", "ns", 1e9, 10,
        "< 2"},
    Row{"one friend of a page of 100", "FriendPagePlugin/100", "FriendPageDirect/100", "ns", 1e9,
        100, "< 2"},
    Row{"one friend of a page of 1,000", "FriendPagePlugin/1000", "FriendPageDirect/1000", "ns",
        1e9, 1000, "< 2"},
    Row{"one friend of a page of 10,000", "FriendPagePlugin/10000", "FriendPageDirect/10000", "ns",
        1e9, 10000, "< 2"},
    Row{"one friend of a page of 100,000", "FriendPagePlugin/100000", "FriendPageDirect/100000",
        "ns", 1e9, 100000, "< 2"},
    Row{"the same page of 10 without a worker", "FriendPageOneThread/10", "FriendPageDirect/10",
        "ns", 1e9, 10, "< 2"},
    Row{"the same page of 100 without a worker", "FriendPageOneThread/100", "FriendPageDirect/100",
        "ns", 1e9, 100, "< 2"},
    Row{"the same page of 1,000 without a worker", "FriendPageOneThread/1000",
        "FriendPageDirect/1000", "ns", 1e9, 1000, "< 2"},
    Row{"the same page of 10,000 without a worker", "FriendPageOneThread/10000",
        "FriendPageDirect/10000", "ns", 1e9, 10000, "< 2"},
    Row{"the same page of 100,000 without a worker", "FriendPageOneThread/100000",
        "FriendPageDirect/100000", "ns", 1e9, 100000, "< 2"},
    Row{"the thread of a page, empty", "EmptyThread", nullptr, "µs", 1e6, 1, ""},
    Row{"longest tick beside a worker, longest EOS call", "LongestTickPlugin", "LongestTickDirect",
        "µs", 1e6, 1, ""},
    Row{"the same without the longest thousandth", "LongestTickPlugin thousandth",
        "LongestTickDirect thousandth", "µs", 1e6, 1, ""},
    Row{"EOS calls of a worker that one tick waits for", "LongestTickPlugin calls", nullptr, "", 1,
        1, "1"},
    Row{"allocations per friend", "FriendMemoryPlugin allocations",
        "FriendMemoryDirect allocations", "", 1, 1, ""},
    Row{"bytes allocated per friend", "FriendMemoryPlugin bytes", "FriendMemoryDirect bytes", "", 1,
        1, ""},
};

std::string Number(std::optional<double> value, const Row& row) {
  if (!value.has_value()) return "";
  const double shown = *value * row.units_per_second / row.parts;
  return fmt::format("{:.{}f}{}{}", shown, shown < 100 ? 1 : 0, *row.unit != '\0' ? " " : "",
                     row.unit);
}

std::string Ratio(std::optional<double> over, std::optional<double> under) {
  return over.has_value() && under.has_value() ? fmt::format("{:.2f}", *over / *under) : "";
}

}  // namespace

bool RatioReporter::ReportContext(const Context&) { return true; }

void RatioReporter::ReportRuns(const std::vector<Run>& runs) {
  for (const Run& run : runs) {
    if (run.error_occurred) fmt::print(stderr, "{}: {}\n", run.benchmark_name(), run.error_message);
    const bool is_median = run.aggregate_name == "median";
    if (!is_median && run.repetitions > 1) continue;
    const std::string& arguments = run.run_name.args;
    const std::string name =
        run.run_name.function_name + (arguments.empty() ? "" : "/" + arguments);
    medians_[name] = run.real_accumulated_time / static_cast<double>(run.iterations);
    for (const auto& [counter, value] : run.counters) medians_[name + " " + counter] = value;
    fmt::print(stderr, "measured {}\n", name);
  }
}

std::optional<double> RatioReporter::Median(const std::string& name) const {
  const auto found = medians_.find(name);
  return found != medians_.end() ? std::optional(found->second) : std::nullopt;
}

void RatioReporter::Finalize() {
  fmt::print("\n| | plugin | EOS directly | ratio | aim |\n|---|---|---|---|---|\n");
  for (const Row& row : kRows) {
    const std::optional<double> plugin = Median(row.plugin);
    const std::optional<double> direct = row.direct != nullptr ? Median(row.direct) : std::nullopt;
    if (!plugin.has_value()) continue;
    fmt::print("| {} | {} | {} | {} | {} |\n", row.words, Number(plugin, row), Number(direct, row),
               Ratio(plugin, direct), row.aim);
  }
  const auto few = Median("FriendPagePlugin/100"), many = Median("FriendPagePlugin/100000");
  if (!few.has_value() || !many.has_value()) return;
  fmt::print("| one friend of 100,000 against one of 100 | | | {:.2f} | <= 1.2 |\n",
             *many / *few / 1000);
}

}  // namespace zelk::benchmarks
