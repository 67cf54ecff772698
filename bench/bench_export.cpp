// One trace export (2048 lines: number text and the file write) against writing the
// same bytes, already formatted, to the same file in the same way.
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <string>

#include "common/file_io.h"
#include "dsp/data_set_export.h"
#include "ratio_reporter.h"

using namespace tavrix;

namespace {

struct Fixture {
  SpectrumState state;
  std::string path;
  std::string text;
  Fixture() {
    std::string block(kNominalBlockLength, '\0');
    uint32_t x = 777;
    for (char& c : block) c = static_cast<char>((x = x * 1103515245 + 12345) >> 16);
    block[7] = 3;
    ParseBlock(block, state.Capture);
    VerticalWindow vertical;
    UpdateSpectrum(state, vertical, true);
    const auto dir = std::filesystem::temp_directory_path() / ("tavrix-bench-" + std::to_string(getpid()));
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

void BM_PreformattedWrite(benchmark::State& st) {
  Fixture& f = Shared();
  for (auto _ : st) benchmark::DoNotOptimize(WriteFileAtomically(f.path, f.text));
}
BENCHMARK(BM_PreformattedWrite);

// The plainest write of the same bytes: stdio into the file in place.
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

void BM_FormatOnly(benchmark::State& st) {
  Fixture& f = Shared();
  for (auto _ : st) benchmark::DoNotOptimize(FormatDataSet(DataSet::Scaled, f.state));
}
BENCHMARK(BM_FormatOnly);

}  // namespace

int main(int argc, char** argv) {
  return bench::RunAndPrintRatios(
      argc, argv,
      {{"trace export / in-place stdio write of the same bytes", "BM_TraceExport", "BM_PreformattedStdioWrite", 2.0},
       {"trace export / same bytes through the same safe write", "BM_TraceExport", "BM_PreformattedWrite", 2.0}});
}
