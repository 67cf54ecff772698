#pragma once
#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace tavrix {

inline constexpr int kSampleCount = 4096;        // I and Q samples per capture
inline constexpr int kNominalBlockLength = 8224; // header, I, Q and trailer bytes
inline constexpr int kSpanChoices = 10;

using SampleArray = std::array<float, kSampleCount>;  // sample k (1-based) at index k - 1

// The capture fields: what one capture block says about itself and its samples.
// The default values are those of a window that has not yet received a block.
struct CaptureFields {
  SampleArray SampleI{};
  SampleArray SampleQ{};
  double CenterFreq = 0.0;
  double RateDivisor = 0.0;
  double SampleRate = 0.0;
  float FreqLow = 0.0f;   // lower band edge, multiplied by FreqScale
  float FreqHigh = 0.0f;  // upper band edge, multiplied by FreqScale
  double BinStep = 0.0;
  double RateStep = 0.0;
  float FreqScale = 1.0f;
  std::string FreqFormat = "##0.000MHz";
  // Captions of the ten span choices, "#0.0000MHz Span" of the base span / FreqScale.
  std::array<std::string, kSpanChoices> SpanCaptions{};

  // Header words kept readable; the system does not act on them.
  uint16_t LeadWord = 0;
  uint16_t TrailerWord = 0;
  uint16_t RateExponentRaw = 0;  // as sent
  uint16_t RateExponent = 0;     // after the clamp to 12
  bool StaleRepair = false;      // the stale-start repair was applied
};

// Decodes one sample byte: 0..127 stand for themselves, 128..255 for b - 255.5.
float SampleValue(uint8_t byte);

// Parses a capture block of any length. Missing bytes read as 0x20; a longer block is
// read from its first 8222 bytes and its trailer word from its last two. Never fails.
CaptureFields ParseBlock(std::string_view block);

// The same, into existing fields (no allocation once the captions have their size).
void ParseBlock(std::string_view block, CaptureFields& fields);

}  // namespace tavrix
