#pragma once
// Runs the registered benchmarks and prints, as the last line, the ratio of one
// benchmark's mean time per iteration to a baseline measured in the same run.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <set>
#include <string>

namespace tavrix::bench {

class RecordingReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    // With --benchmark_repetitions the median of the repetitions stands for the benchmark.
    for (const Run& run : runs) {
      const bool median = run.run_type == Run::RT_Aggregate && run.aggregate_name == "median";
      const std::string& name = run.run_name.function_name;
      if ((run.run_type == Run::RT_Iteration && run.iterations > 0 && !medians.count(name)) || median) {
        seconds[name] = run.GetAdjustedRealTime() / benchmark::GetTimeUnitMultiplier(run.time_unit);
        // A counter "x" of benchmark B (seconds per iteration) stands as "B#x".
        for (const auto& [counter, value] : run.counters) seconds[name + "#" + counter] = value;
        if (median) medians.insert(name);
      }
    }
    ConsoleReporter::ReportRuns(runs);
  }
  std::map<std::string, double> seconds;  // real time per iteration
  std::set<std::string> medians;
};

struct Ratio {
  const char* label;     // what is measured
  const char* measured;  // benchmark name, or "benchmark#counter"
  const char* baseline;  // benchmark name, or "benchmark#counter"
  double target;         // at most; 0 for a comparison without a target
  double maxMs = 0;      // the measured time in milliseconds at most, too; 0 for none
};

inline int RunAndPrintRatios(int argc, char** argv, std::initializer_list<Ratio> ratios) {
  benchmark::Initialize(&argc, argv);
  RecordingReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  int missed = 0;
  std::string last;
  for (const Ratio& r : ratios) {
    const auto m = reporter.seconds.find(r.measured), b = reporter.seconds.find(r.baseline);
    if (m == reporter.seconds.end() || b == reporter.seconds.end() || b->second <= 0) continue;
    const double ratio = m->second / b->second;
    char line[256];
    if (r.target <= 0)
      std::snprintf(line, sizeof line, "ratio %s: %.3gx (%.4f ms / %.4f ms; for comparison)", r.label, ratio,
                    m->second * 1e3, b->second * 1e3);
    else
      std::snprintf(line, sizeof line, "ratio %s: %.3gx (%.4f ms / %.4f ms; target at most %gx) %s", r.label, ratio,
                    m->second * 1e3, b->second * 1e3, r.target, ratio <= r.target ? "met" : "MISSED");
    std::string text = line;
    if (r.maxMs > 0) {
      const bool under = m->second * 1e3 <= r.maxMs;
      std::snprintf(line, sizeof line, "; %.4f ms, target under %g ms %s", m->second * 1e3, r.maxMs,
                    under ? "met" : "MISSED");
      text += line;
      missed += !under;
    }
    std::puts(text.c_str());
    missed += r.target > 0 && ratio > r.target;
  }
  std::fflush(stdout);
  return 0;  // a benchmark reports; it does not fail a build
}

}  // namespace tavrix::bench
