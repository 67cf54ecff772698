// One whole spectrum update (parse, window, transform, 2048 points, video average,
// peak hold, re-fit) against the bare 4096-point transform.
#include <string>

#include "dsp/fft.h"
#include "dsp/spectrum_update.h"
#include "bench_blocks.h"
#include "ratio_reporter.h"

using namespace tavrix;

namespace {

void BM_BareTransform(benchmark::State& st) {
  const CaptureFields fields = ParseBlock(bench::NoisyCaptureBlock(12345));
  SampleArray re, im;
  for (auto _ : st) {
    fft_float(fields.SampleI, fields.SampleQ, re, im);
    benchmark::DoNotOptimize(re.data());
    benchmark::DoNotOptimize(im.data());
  }
}
BENCHMARK(BM_BareTransform);

void BM_WholeUpdate(benchmark::State& st) {
  const std::string block = bench::NoisyCaptureBlock(12345);
  SpectrumState state;
  state.Traces.TraceVisible = {true, true, true, true};
  VerticalWindow vertical;
  for (auto _ : st) {
    ParseBlock(block, state.Capture);
    UpdateReport report = UpdateSpectrum(state, vertical, true);
    benchmark::DoNotOptimize(report);
    benchmark::DoNotOptimize(state.Traces.AmpPoints.data());
  }
}
BENCHMARK(BM_WholeUpdate);

}  // namespace

int main(int argc, char** argv) {
  return bench::RunAndPrintRatios(argc, argv, {{"whole update / bare transform", "BM_WholeUpdate", "BM_BareTransform", 3.0}});
}
