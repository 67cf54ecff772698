#pragma once
// One whole spectrum update of a capture block (parse, window, transform, 2048 points,
// video average, peak hold, re-fit) per benchmark iteration: the unit other costs are
// measured against.
#include <benchmark/benchmark.h>

#include <string>

#include "bench_blocks.h"
#include "dsp/spectrum_update.h"

namespace tavrix::bench {

inline void WholeUpdates(benchmark::State& st) {
  const std::string block = NoisyCaptureBlock(12345);
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

}  // namespace tavrix::bench
