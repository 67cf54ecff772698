// One scrape of the monitor's /metrics with a rack of 500 units, two bands each (the units'
// figures copied as the daemon hands them over, the process's own figures read and the
// page written), against one whole spectrum update; it must also stay under 100 ms. The
// units summary of /units is given beside it for comparison.
#include <string>

#include "monitor/unit_figures.h"
#include "ratio_reporter.h"
#include "whole_update.h"

using namespace tavrix;
using namespace tavrix::monitor;

namespace {

constexpr int kUnits = 500;

// A rack as the daemon sees it after a while: every unit up but a few, each with a carrier
// over its noise band and one faded below it, both with limits.
std::vector<UnitFigures> Rack() {
  std::vector<UnitFigures> units(kUnits);
  for (int i = 0; i < kUnits; ++i) {
    UnitFigures& unit = units[static_cast<size_t>(i)];
    unit.Name = "Rack " + std::string(1, static_cast<char>('A' + i / 50)) + " slot " + std::to_string(i % 50 + 1);
    unit.Address = "10.0." + std::to_string(i / 250) + "." + std::to_string(i % 250 + 2) + ":2121";
    unit.IntervalSeconds = 3.0;
    unit.Up = i % 100 != 7;
    unit.Captures = 28800 + static_cast<uint64_t>(i);
    unit.Failures = {{kFailConnect, 3}, {kFailShort, 1}};
    unit.CenterHz = 70e6 + i * 1e3;
    unit.SampleRateHz = 62.5e6;
    unit.LastCaptureMs = 1764050000000 + i;
    unit.Bands = {{"carrier-1", true, 88.25, 71.5, 7.4e6, CarrierToNoise{false, 17.1}, false, false, {}},
                  {"carrier-2", true, 61.0, 44.5, 1.1e6, CarrierToNoise{true, 0.0}, true, true, {}}};
  }
  return units;
}

DaemonFigures Scraped(const std::vector<UnitFigures>& units) {
  DaemonFigures figures;
  figures.Units = units;
  for (int i = 0; i < 1000; ++i) figures.Durations.Add(0.55 + 0.001 * i);
  figures.Process = CurrentProcessFigures(1764040000);
  figures.Version = "0.2.0";
  return figures;
}

void BM_WholeUpdate(benchmark::State& st) { bench::WholeUpdates(st); }
BENCHMARK(BM_WholeUpdate);

void BM_MetricsScrape(benchmark::State& st) {
  const std::vector<UnitFigures> units = Rack();
  size_t bytes = 0;
  for (auto _ : st) {
    const std::string page = MetricsPage(Scraped(units));
    bytes = page.size();
    benchmark::DoNotOptimize(page.data());
  }
  st.counters["KiB"] = static_cast<double>(bytes) / 1024;
}
BENCHMARK(BM_MetricsScrape)->Unit(benchmark::kMillisecond);

void BM_UnitsSummary(benchmark::State& st) {
  const std::vector<UnitFigures> units = Rack();
  for (auto _ : st) {
    const std::string json = UnitsJson(Scraped(units));
    benchmark::DoNotOptimize(json.data());
  }
}
BENCHMARK(BM_UnitsSummary)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  return bench::RunAndPrintRatios(
      argc, argv,
      {{"/units of 500 units / one spectrum update", "BM_UnitsSummary", "BM_WholeUpdate", 0},
       {"/metrics of 500 units / one spectrum update", "BM_MetricsScrape", "BM_WholeUpdate", 0, 100}});
}
