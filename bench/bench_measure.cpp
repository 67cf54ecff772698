// One measurement of a 200-point band on a 2048-point trace (its figures and its C/N
// against the capture's noise density) against one whole spectrum update of the same
// capture. The noise density of a 100-point noise band, measured once a capture for all
// bands, is given beside it for comparison.
#include <string>

#include "measure/carrier_figures.h"
#include "ratio_reporter.h"
#include "whole_update.h"

using namespace tavrix;

namespace {

struct Capture {
  SpectrumState state;
  Capture() {
    ParseBlock(bench::NoisyCaptureBlock(12345), state.Capture);
    VerticalWindow vertical;
    UpdateSpectrum(state, vertical, true);
  }
  // Points first..last (1-based, rising in frequency) as a band, edges halfway to the neighbours.
  BandMHz PointBand(int first, int last) const {
    const auto mhz = [&](int p) { return state.Traces.FreqPoints[static_cast<size_t>(p - 1)].Current / double(Scale()); };
    const double half = (mhz(first + 1) - mhz(first)) / 2;
    return {mhz(first) - half, mhz(last) + half};
  }
  float Scale() const { return state.Capture.FreqScale; }
};

void BM_WholeUpdate(benchmark::State& st) { bench::WholeUpdates(st); }
BENCHMARK(BM_WholeUpdate);

void BM_MeasureBand(benchmark::State& st) {
  const Capture capture;
  const BandMHz band = capture.PointBand(101, 300);
  const double noise = *MeanNoiseDensity(MeasuredTrace(capture.state.Traces, kCurrentTrace, capture.Scale()),
                                         {capture.PointBand(1201, 1300)});
  for (auto _ : st) {
    const MeasuredTrace trace(capture.state.Traces, kCurrentTrace, capture.Scale());
    const std::optional<CarrierFigures> figures = MeasureCarrier(trace, band);
    const CarrierToNoise cn = CarrierToNoiseOf(*figures, noise);
    benchmark::DoNotOptimize(figures);
    benchmark::DoNotOptimize(cn);
  }
  st.counters["points"] = MeasureCarrier(MeasuredTrace(capture.state.Traces, kCurrentTrace, capture.Scale()), band)->Points;
}
BENCHMARK(BM_MeasureBand);

void BM_NoiseDensity(benchmark::State& st) {
  const Capture capture;
  const std::vector<BandMHz> noise = {capture.PointBand(1201, 1300)};
  for (auto _ : st) {
    const std::optional<double> density =
        MeanNoiseDensity(MeasuredTrace(capture.state.Traces, kCurrentTrace, capture.Scale()), noise);
    benchmark::DoNotOptimize(density);
  }
}
BENCHMARK(BM_NoiseDensity);

}  // namespace

int main(int argc, char** argv) {
  return bench::RunAndPrintRatios(
      argc, argv,
      {{"the noise density of a 100-point band / one spectrum update", "BM_NoiseDensity", "BM_WholeUpdate", 0},
       {"one 200-point band measured / one spectrum update", "BM_MeasureBand", "BM_WholeUpdate", 0.05}});
}
