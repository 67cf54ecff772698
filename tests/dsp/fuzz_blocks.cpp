// Capture blocks of any length and content through the parser, the update and the export
// formatting, checking what must hold for any input. Run under AddressSanitizer and
// UndefinedBehaviorSanitizer this also shows that no block reads or writes out of bounds.
// Built as a program (seeded random blocks of 0..20000 bytes; usage: fuzz_blocks [COUNT]
// [SEED]), or with TAVRIX_LIBFUZZER as the entry of clang's libFuzzer (scripts/fuzz.sh).
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <string_view>

#include "dsp/data_set_export.h"

using namespace tavrix;

namespace {

// One block after those before it, with the traces and the window as given; the first
// fault found, or nothing.
const char* CheckBlock(std::string_view block, SpectrumState& state, VerticalWindow& vertical, bool window,
                       bool formatSets) {
  ParseBlock(block, state.Capture);
  const UpdateReport r = UpdateSpectrum(state, vertical, window);
  if (state.Capture.RateExponent > 12) return "rate exponent above 12";
  for (int k = 0; k < kSampleCount; ++k)
    if (!(state.Capture.SampleI[k] >= -127.5f && state.Capture.SampleI[k] <= 127.0f)) return "sample out of range";
  for (int k = 0; k < kPointCount; ++k) {
    const TracePoint& a = state.Traces.AmpPoints[k];
    if (!std::isfinite(a.Current) || a.Current < 0) return "level not finite or below the floor";
    if (!std::isfinite(state.Traces.FreqPoints[k].Current)) return "frequency not finite";
    if (!std::isfinite(a.VideoAverage) || !std::isfinite(a.PeakHold)) return "derived trace not finite";
  }
  if (!(vertical.Top > vertical.Bottom) || !std::isfinite(vertical.Span)) return "vertical window collapsed";
  if (r.Refit && r.VScrollMin > r.VScrollMax) return "scroll limits reversed";
  for (size_t set = 0; formatSets && set < kDataSets.size(); ++set) {
    const std::string text = FormatDataSet(kDataSets[set].Set, state);
    if (text.find("NAN") != std::string::npos || text.find("INF") != std::string::npos) return "non-number in export";
  }
  return nullptr;
}

}  // namespace

#if defined(TAVRIX_LIBFUZZER)
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static SpectrumState state;  // kept across inputs, as captures follow one another
  static VerticalWindow vertical;
  state.Traces.TraceVisible[kPeakHoldTrace] = size > 1 && (data[1] & 1);
  state.Traces.TraceVisible[kVideoAverageTrace] = size > 1 && (data[1] & 2);
  const std::string_view block(reinterpret_cast<const char*>(data), size);
  if (const char* fault = CheckBlock(block, state, vertical, size > 0 && (data[0] & 1), true)) {
    std::fprintf(stderr, "%s\n", fault);
    std::abort();
  }
  return 0;
}
#else
namespace {

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
  int failures = 0;
  for (long n = 0; n < count && failures < 10; ++n) {
    const std::string block = RandomBlock(rng);
    const bool window = rng() & 1;
    state.Traces.TraceVisible[kVideoAverageTrace] = rng() & 1;
    state.Traces.TraceVisible[kPeakHoldTrace] = rng() & 1;
    // The formatting of every set now and then.
    if (const char* fault = CheckBlock(block, state, vertical, window, n % 97 == 0))
      std::fprintf(stderr, "block %ld: %s\n", n, fault), ++failures;
  }
  std::printf("%ld blocks, seed %lu: %s\n", count, seed, failures ? "FAILED" : "all held");
  return failures ? 1 : 0;
}
#endif
