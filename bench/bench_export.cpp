// One trace export (2048 lines: number text and the file write) against writing the
// same bytes, already formatted, to the same file in the same way.
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <random>
#include <string>

#include "common/file_io.h"
#include "dsp/data_set_export.h"
#include "bench_blocks.h"
#include "ratio_reporter.h"

using namespace tavrix;

namespace {

struct Fixture {
  SpectrumState state;
  std::string path;
  std::string text;
  Fixture() {
    ParseBlock(bench::NoisyCaptureBlock(777), state.Capture);
    VerticalWindow vertical;
    UpdateSpectrum(state, vertical, true);
    const auto dir = std::filesystem::temp_directory_path() / ("tavrix-bench-" + std::to_string(std::random_device{}()));
    std::filesystem::create_directories(dir);
    path = (dir / "scaled.txt").string();
    text = FormatDataSet(DataSet::Scaled, state);
  }
  ~Fixture() { std::filesystem::remove_all(std::filesystem::path(path).parent_path()); }
};

Fixture& Shared() {
  static Fixture fixture;
  return fixture;
}

// The plainest write of the same bytes: stdio into the file in place, with none of the
// safe replacement's temporary file, flush to the disk and rename (for comparison).
void BM_PreformattedStdioWrite(benchmark::State& st) {
  Fixture& f = Shared();
  for (auto _ : st) {
    FILE* out = std::fopen(f.path.c_str(), "wb");
    std::fwrite(f.text.data(), 1, f.text.size(), out);
    std::fclose(out);
  }
}
BENCHMARK(BM_PreformattedStdioWrite);

void BM_TraceExport(benchmark::State& st) {
  Fixture& f = Shared();
  for (auto _ : st) benchmark::DoNotOptimize(WriteDataSet(DataSet::Scaled, f.path, f.state, nullptr));
}
BENCHMARK(BM_TraceExport);

// The two side by side in every iteration, so that both meet the file system in the
// same state: its swings from run to run hit both alike. Counters are seconds each.
void BM_ExportBesidePreformatted(benchmark::State& st) {
  Fixture& f = Shared();
  using Clock = std::chrono::steady_clock;
  Clock::duration exportTime{}, preformattedTime{};
  for (auto _ : st) {
    const auto t0 = Clock::now();
    benchmark::DoNotOptimize(WriteFileAtomically(f.path, f.text));
    const auto t1 = Clock::now();
    benchmark::DoNotOptimize(WriteDataSet(DataSet::Scaled, f.path, f.state, nullptr));
    const auto t2 = Clock::now();
    preformattedTime += t1 - t0;
    exportTime += t2 - t1;
  }
  const double n = static_cast<double>(st.iterations());
  st.counters["export"] = std::chrono::duration<double>(exportTime).count() / n;
  st.counters["preformatted"] = std::chrono::duration<double>(preformattedTime).count() / n;
}
BENCHMARK(BM_ExportBesidePreformatted);

void BM_FormatOnly(benchmark::State& st) {
  Fixture& f = Shared();
  for (auto _ : st) benchmark::DoNotOptimize(FormatDataSet(DataSet::Scaled, f.state));
}
BENCHMARK(BM_FormatOnly);

}  // namespace

int main(int argc, char** argv) {
  return bench::RunAndPrintRatios(
      argc, argv,
      {{"trace export / in-place stdio write of the same bytes, without the safe replacement", "BM_TraceExport",
        "BM_PreformattedStdioWrite", 0},
       {"trace export / same bytes through the same safe write, side by side",
        "BM_ExportBesidePreformatted#export", "BM_ExportBesidePreformatted#preformatted", 2.0}});
}
