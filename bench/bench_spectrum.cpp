// One whole spectrum update (parse, window, transform, 2048 points, video average,
// peak hold, re-fit) against the bare 4096-point transform.
#include <string>

#include "dsp/fft.h"
#include "bench_blocks.h"
#include "ratio_reporter.h"
#include "whole_update.h"

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

void BM_WholeUpdate(benchmark::State& st) { bench::WholeUpdates(st); }
BENCHMARK(BM_WholeUpdate);

}  // namespace

int main(int argc, char** argv) {
  return bench::RunAndPrintRatios(argc, argv, {{"whole update / bare transform", "BM_WholeUpdate", "BM_BareTransform", 3.0}});
}
