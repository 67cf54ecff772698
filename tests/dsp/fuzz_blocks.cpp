// Seeded random capture blocks of random length (0..20000 bytes) through the parser,
// the update and the export formatting, checking what must hold for any input. Run
// under AddressSanitizer and UndefinedBehaviorSanitizer this also shows that no block
// reads or writes out of bounds. Usage: fuzz_blocks [COUNT] [SEED]
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>

#include "dsp/data_set_export.h"

using namespace tavrix;

namespace {

int failures = 0;

void Fail(long n, const char* what) {
  if (++failures <= 10) std::fprintf(stderr, "block %ld: %s\n", n, what);
}

std::string RandomBlock(std::mt19937_64& rng) {
  std::uniform_int_distribution<int> length(0, 20000);
  std::string block(static_cast<size_t>(length(rng)), '\0');
  switch (rng() % 4) {
    case 0:  // any bytes
      for (char& c : block) c = static_cast<char>(rng());
      break;
    case 1: {  // one byte value throughout (flat traces, stale starts)
      const char c = static_cast<char>(rng());
      std::fill(block.begin(), block.end(), c);
      break;
    }
    case 2:  // extreme header words, random samples
      for (char& c : block) c = static_cast<char>(rng());
      for (size_t i = 0; i < std::min<size_t>(8, block.size()); ++i) block[i] = (rng() & 1) ? '\xFF' : '\0';
      break;
    default:  // few distinct values: long runs, near-zero bins
      for (char& c : block) c = static_cast<char>((rng() % 3) * 0x7F);
      break;
  }
  return block;
}

}  // namespace

int main(int argc, char** argv) {
  const long count = argc > 1 ? std::atol(argv[1]) : 100000;
  const unsigned long seed = argc > 2 ? std::strtoul(argv[2], nullptr, 10) : 20261122;
  std::mt19937_64 rng(seed);
  SpectrumState state;
  VerticalWindow vertical;
  long exports = 0;
  for (long n = 0; n < count; ++n) {
    const std::string block = RandomBlock(rng);
    ParseBlock(block, state.Capture);
    const bool window = rng() & 1;
    state.Traces.TraceVisible[kVideoAverageTrace] = rng() & 1;
    state.Traces.TraceVisible[kPeakHoldTrace] = rng() & 1;
    const UpdateReport r = UpdateSpectrum(state, vertical, window);

    if (state.Capture.RateExponent > 12) Fail(n, "rate exponent above 12");
    for (int k = 0; k < kSampleCount; ++k)
      if (!(state.Capture.SampleI[k] >= -127.5f && state.Capture.SampleI[k] <= 127.0f)) Fail(n, "sample out of range");
    for (int k = 0; k < kPointCount; ++k) {
      const TracePoint& a = state.Traces.AmpPoints[k];
      if (!std::isfinite(a.Current) || a.Current < 0) Fail(n, "level not finite or below the floor");
      if (!std::isfinite(state.Traces.FreqPoints[k].Current)) Fail(n, "frequency not finite");
      if (!std::isfinite(a.VideoAverage) || !std::isfinite(a.PeakHold)) Fail(n, "derived trace not finite");
    }
    if (!(vertical.Top > vertical.Bottom) || !std::isfinite(vertical.Span)) Fail(n, "vertical window collapsed");
    if (r.Refit && r.VScrollMin > r.VScrollMax) Fail(n, "scroll limits reversed");

    if (n % 97 == 0) {  // the formatting of every set, now and then
      for (const DataSetInfo& info : kDataSets) {
        const std::string text = FormatDataSet(info.Set, state);
        if (text.find("NAN") != std::string::npos || text.find("INF") != std::string::npos) Fail(n, "non-number in export");
        ++exports;
      }
    }
    if (failures > 10) break;
  }
  std::printf("%ld blocks, %ld exports, seed %lu: %s\n", count, exports, seed, failures ? "FAILED" : "all held");
  return failures ? 1 : 0;
}
