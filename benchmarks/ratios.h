// Prints the medians of the benchmarks in pairs: the plugin's beside the direct calls', their ratio
// and what it is meant to be.
#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace zelk::benchmarks {

class RatioReporter : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context& context) override;
  void ReportRuns(const std::vector<Run>& runs) override;
  // A Markdown table.
  void Finalize() override;

 private:
  // Of a benchmark, or one of its counters ("FriendMemoryPlugin allocations"): seconds, or a count.
  // Without a value when it did not run.
  std::optional<double> Median(const std::string& name) const;

  std::map<std::string, double> medians_;
};

}  // namespace zelk::benchmarks
