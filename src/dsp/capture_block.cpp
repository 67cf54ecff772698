#include "dsp/capture_block.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "common/picture_format.h"

namespace tavrix {

namespace {

constexpr size_t kLeadOffset = 0;
constexpr size_t kCenterOffset = 2;
constexpr size_t kRateOffset = 6;
constexpr size_t kIOffset = 30;
constexpr size_t kQOffset = kIOffset + kSampleCount;
constexpr uint8_t kPadByte = 0x20;  // a short block reads as spaces
constexpr uint16_t kMaxRateExponent = 12;
constexpr int kStaleRunLength = 8;

constexpr std::array<double, kSpanChoices> kBaseSpans = {0.02, 0.05, 0.1, 0.25, 0.5,
                                                         1,    2.5,  5,   10,   25};

// Copies a fixed-width field out of the block, padding what the block does not reach.
template <size_t N>
void CutField(std::string_view block, size_t offset, std::array<uint8_t, N>& field) {
  size_t available = offset < block.size() ? std::min(N, block.size() - offset) : 0;
  if (available > 0) std::memcpy(field.data(), block.data() + offset, available);
  std::fill(field.begin() + available, field.end(), kPadByte);
}

struct SampleTable {
  std::array<float, 256> value{};
  SampleTable() {
    for (int b = 0; b < 256; ++b) value[b] = SampleValue(static_cast<uint8_t>(b));
  }
};

bool StartsWithRun(const std::array<uint8_t, kSampleCount>& region) {
  return std::all_of(region.begin(), region.begin() + kStaleRunLength,
                     [&](uint8_t b) { return b == region[0]; });
}

// Frequency scale and format by the span of the band, tested from the widest down.
// The two lowest thresholds are single-precision constants.
struct FormatChoice {
  float minSpan;
  float scale;
  const char* format;
};
constexpr std::array<FormatChoice, 6> kFormatChoices = {{
    {100.0f, 1, "##0.000MHz"},
    {10.0f, 10, "##0.0000MHz"},
    {1.0f, 100, "##0.00000MHz"},
    {0.1f, 1000, "##0.000000MHz"},
    {0.01f, 10000, "##0.0000000MHz"},
    {-std::numeric_limits<float>::infinity(), 100000, "##0.00000000MHz"},
}};

// The captions depend only on the scale, so each choice's ten are made once.
struct CaptionTable {
  std::array<std::array<std::string, kSpanChoices>, kFormatChoices.size()> captions;
  CaptionTable() {
    for (size_t c = 0; c < kFormatChoices.size(); ++c)
      for (int i = 0; i < kSpanChoices; ++i)
        captions[c][i] = FormatPicture(kBaseSpans[i] / kFormatChoices[c].scale, "#0.0000MHz Span");
  }
};

// Sets the scale, the format and the span captions for the band's span.
void ChooseFormat(float span, CaptureFields& f) {
  static const CaptionTable table;
  for (size_t c = 0; c < kFormatChoices.size(); ++c) {
    if (span >= kFormatChoices[c].minSpan) {
      f.FreqScale = kFormatChoices[c].scale;
      f.FreqFormat = kFormatChoices[c].format;
      f.SpanCaptions = table.captions[c];
      return;
    }
  }
}

}  // namespace

float SampleValue(uint8_t byte) {
  // The negative half is offset by 255.5, not 256: no sample is ever -128 or -0.
  return byte <= 127 ? static_cast<float>(byte) : static_cast<float>(byte - 255.5);
}

void ParseBlock(std::string_view block, CaptureFields& f) {
  static const SampleTable table;

  std::array<uint8_t, 2> lead, rate, trailer;
  std::array<uint8_t, 4> center;
  std::array<uint8_t, kSampleCount> iRegion, qRegion;
  CutField(block, kLeadOffset, lead);
  CutField(block, kCenterOffset, center);
  CutField(block, kRateOffset, rate);
  CutField(block, kIOffset, iRegion);
  CutField(block, kQOffset, qRegion);
  CutField(block, block.size() >= 2 ? block.size() - 2 : 0, trailer);

  f.LeadWord = static_cast<uint16_t>(256 * lead[0] + lead[1]);
  f.TrailerWord = static_cast<uint16_t>(256 * trailer[0] + trailer[1]);  // computed, not used

  const double centerValue = 16777216.0 * center[0] + 65536.0 * center[1] + 256.0 * center[2] + center[3];
  f.CenterFreq = centerValue / 1000;

  f.RateExponentRaw = static_cast<uint16_t>(256 * rate[0] + rate[1]);
  f.RateExponent = std::min(f.RateExponentRaw, kMaxRateExponent);
  f.RateDivisor = static_cast<double>(1u << (f.RateExponent + 1));

  // A capture that starts stale repeats its first byte; when both channels show the
  // run, the eighth sample of each takes the value of the ninth.
  f.StaleRepair = StartsWithRun(iRegion) && StartsWithRun(qRegion);
  if (f.StaleRepair) {
    iRegion[kStaleRunLength - 1] = iRegion[kStaleRunLength];
    qRegion[kStaleRunLength - 1] = qRegion[kStaleRunLength];
  }

  f.SampleRate = 1000 / f.RateDivisor;
  f.FreqLow = static_cast<float>(f.CenterFreq - 0.3 * f.SampleRate);
  f.FreqHigh = static_cast<float>(f.CenterFreq + 0.3 * f.SampleRate);
  const float span = f.FreqHigh - f.FreqLow;
  ChooseFormat(span, f);

  f.FreqLow = f.FreqScale * f.FreqLow;
  f.FreqHigh = f.FreqHigh * f.FreqScale;
  f.BinStep = (static_cast<double>(f.FreqHigh) - f.FreqLow) * (1.0 / 2048);
  f.RateStep = f.SampleRate / 2048;

  for (int k = 0; k < kSampleCount; ++k) {
    f.SampleI[k] = table.value[iRegion[k]];
    f.SampleQ[k] = table.value[qRegion[k]];
  }
}

CaptureFields ParseBlock(std::string_view block) {
  CaptureFields fields;
  ParseBlock(block, fields);
  return fields;
}

}  // namespace tavrix
