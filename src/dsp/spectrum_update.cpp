#include "dsp/spectrum_update.h"

#include <algorithm>
#include <cmath>

#include "common/picture_format.h"
#include "dsp/fft.h"

namespace tavrix {

namespace {

constexpr float kAmplitudeFloor = 0.0f;  // never assigned elsewhere: levels below 0 dB read 0 dB
constexpr int32_t kCounterLimit = 2147483647;
constexpr int kPositiveHalfEnd = 1024;   // samples 1..1024 and 3073..4096 become points
constexpr int kNegativeHalfStart = 3072;

// The window weights depend only on the position, so they are computed once.
struct WindowTable {
  std::array<double, kSampleCount> weight{};
  WindowTable() {
    const double half = kSampleCount / 2;
    for (int i = 1; i <= kSampleCount; ++i) {
      // 3.14159 rather than full pi, and the half-radian shift, are the instrument's
      // window as it has always been; exports depend on them.
      const double angle = ((i - half + 0.5) * 3.14159) / half - 0.5;
      weight[i - 1] = 0.5 * std::cos(angle) + 0.5;
    }
  }
};

// The point labels depend only on the position: fraction of the sample rate per point.
struct PointTable {
  std::array<int, kPointCount> bin{};          // 0-based transform bin held by each point
  std::array<double, kPointCount> fraction{};  // Index_to_frequency of the 1-based sample index
  PointTable() {
    int k = 0;
    for (int i = 1; i <= kSampleCount; ++i) {
      if (i > kPositiveHalfEnd && i <= kNegativeHalfStart) continue;
      // Each point carries bin i - 1 and the label of index i: one bin higher, by design.
      bin[k] = i - 1;
      fraction[k] = Index_to_frequency(kSampleCount, i);
      ++k;
    }
  }
};

void UpdateFirstTraceFlag(SpectrumState& state) {
  const TraceSet& t = state.Traces;
  if (t.FreqPoints[0].Current == 0 && t.AmpPoints[0].Current == 0)
    state.FirstTrace = true;
  else if (t.FreqPoints[0].Previous == 0 && t.AmpPoints[0].Previous == 0)
    state.FirstTrace = false;
}

// Points, range tracking and progress. Returns max and min as tracked.
void ComputePoints(SpectrumState& state, float& max, float& min, const ProgressFn& progress) {
  static const PointTable table;
  static const double kLn10 = std::log(10.0);
  const CaptureFields& c = state.Capture;
  TraceSet& t = state.Traces;
  max = -32000.0f;
  min = 32000.0f;
  for (int k = 0; k < kPointCount; ++k) {
    // The trace this update replaces becomes the previous one.
    t.FreqPoints[k].Previous = t.FreqPoints[k].Current;
    t.AmpPoints[k].Previous = t.AmpPoints[k].Current;

    const double frequency = (table.fraction[k] * c.SampleRate + c.CenterFreq) * c.FreqScale;
    t.FreqPoints[k].Current = static_cast<float>(frequency);

    const double re = state.SpectrumRe[table.bin[k]];
    const double im = state.SpectrumIm[table.bin[k]];
    float amplitude = kAmplitudeFloor;
    if (re != 0 || im != 0) {
      amplitude = static_cast<float>(10 * (std::log(re * re + im * im) / kLn10));
      if (amplitude < kAmplitudeFloor) amplitude = kAmplitudeFloor;
    }
    t.AmpPoints[k].Current = amplitude;

    // A value that raises max is never considered for min.
    if (amplitude > max)
      max = amplitude;
    else if (amplitude < min)
      min = amplitude;
  }
  if (progress) {
    // The bar follows the sample index i = 1..4096: the whole percentage i x 100 / 4096, rounded down, each time it rises.
    for (int pct = 1; pct <= 100; ++pct) progress(pct);
  }
}

void FitVertical(UpdateReport& r, VerticalWindow& window) {
  r.Range = static_cast<double>(r.Max) - r.Min;
  r.FitMax = r.Max;
  r.FitMin = r.Min;
  if (r.Range == 0) {
    r.Range = 250;
    r.FitMin = -125;
    r.FitMax = 125;
  }
  r.Fit.Top = static_cast<float>(r.FitMax + r.Range * 0.25);
  r.Fit.Bottom = static_cast<float>(r.FitMin - r.Range * 0.1);
  r.Fit.Span = static_cast<float>(static_cast<double>(r.Fit.Top) - r.Fit.Bottom);
  r.Refit = window.Span * 0.6 > r.Range || r.FitMax > window.Top || r.FitMin < window.Bottom;
  if (!r.Refit) return;
  window = r.Fit;
  // Whole-number limits, rounded half to even.
  r.VScrollMin = static_cast<int>(std::nearbyint(-static_cast<double>(window.Top)));
  r.VScrollMax = static_cast<int>(std::nearbyint(-static_cast<double>(window.Top) + window.Span));
}

void FoldVideoAverage(TraceSet& t, UpdateReport& r) {
  if (t.VideoAverageCount == kCounterLimit) t.VideoAverageCount = 0;
  if (!t.TraceVisible[kVideoAverageTrace]) {
    r.VideoAverageToolTip = "Video Average Trace";
    return;
  }
  const int32_t n = ++t.VideoAverageCount;
  r.VideoAverageToolTip = "Video Average Trace [" + std::to_string(n) + "]";
  const double oldWeight = (n - 1.0) / n;
  const double newWeight = 1.0 / n;
  if (n == 1) {
    for (int k = 0; k < kPointCount; ++k) {
      t.FreqPoints[k].VideoAverage = t.FreqPoints[k].Current;
      t.AmpPoints[k].VideoAverage = t.AmpPoints[k].Current;
    }
    return;
  }
  for (int k = 0; k < kPointCount; ++k) {
    t.FreqPoints[k].VideoAverage = t.FreqPoints[k].Current;
    t.AmpPoints[k].VideoAverage =
        static_cast<float>(oldWeight * t.AmpPoints[k].VideoAverage + t.AmpPoints[k].Current * newWeight);
  }
}

void FoldPeakHold(TraceSet& t, UpdateReport& r) {
  if (t.PeakHoldCount == kCounterLimit) t.PeakHoldCount = 0;
  if (!t.TraceVisible[kPeakHoldTrace]) {
    r.PeakHoldToolTip = "Peak Hold Trace";
    return;
  }
  const int32_t n = ++t.PeakHoldCount;
  r.PeakHoldToolTip = "Peak Hold Trace [" + std::to_string(n) + "]";
  if (n == 1) {
    for (int k = 0; k < kPointCount; ++k) {
      t.FreqPoints[k].PeakHold = t.FreqPoints[k].Current;
      t.AmpPoints[k].PeakHold = t.AmpPoints[k].Current;
    }
    return;
  }
  // Later traces only raise the levels: the hold keeps the frequencies of the first.
  for (int k = 0; k < kPointCount; ++k)
    t.AmpPoints[k].PeakHold = std::max(t.AmpPoints[k].PeakHold, t.AmpPoints[k].Current);
}

void ComposeStatus(const SpectrumState& state, UpdateReport& r) {
  const CaptureFields& c = state.Capture;
  const TraceSet& t = state.Traces;
  r.CenterFreqPanel = FormatPicture(c.CenterFreq / 10, "#0.00000KHz");
  r.SampleRatePanel = FormatPicture(c.SampleRate / 10 / c.FreqScale / 2, "##0.0000KHz");
  const bool peakHold = t.TraceVisible[kPeakHoldTrace];
  const bool videoAverage = t.TraceVisible[kVideoAverageTrace];
  if (peakHold && videoAverage)
    r.StatusText = "Peak Hold Samples = " + std::to_string(t.PeakHoldCount) +
                   " | Video Average Samples = " + std::to_string(t.VideoAverageCount);
  else if (peakHold)
    r.StatusText = "Peak Hold Samples = " + std::to_string(t.PeakHoldCount);
  else if (videoAverage)
    r.StatusText = "Video Average Samples = " + std::to_string(t.VideoAverageCount);
}

}  // namespace

void WindowSmooth(SampleArray& sampleI, SampleArray& sampleQ) {
  static const WindowTable table;
  for (int k = 0; k < kSampleCount; ++k) {
    sampleI[k] = static_cast<float>(sampleI[k] * table.weight[k]);
    sampleQ[k] = static_cast<float>(sampleQ[k] * table.weight[k]);
  }
}

UpdateReport UpdateSpectrum(SpectrumState& state, VerticalWindow& window, bool windowSpectrum,
                            const ProgressFn& progress) {
  UpdateReport report;
  TraceSet& t = state.Traces;

  UpdateFirstTraceFlag(state);
  if (windowSpectrum) WindowSmooth(state.Capture.SampleI, state.Capture.SampleQ);

  fft_float(state.Capture.SampleI, state.Capture.SampleQ, state.SpectrumRe, state.SpectrumIm);
  t.DataValid = true;

  ComputePoints(state, report.Max, report.Min, progress);
  FitVertical(report, window);
  FoldVideoAverage(t, report);
  FoldPeakHold(t, report);
  ComposeStatus(state, report);
  return report;
}

}  // namespace tavrix
