#include "history/waterfall_rows.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numeric>

namespace tavrix::history {

namespace {

constexpr int64_t kSecondMs = 1000, kMinuteMs = 60 * kSecondMs, kHourMs = 60 * kMinuteMs;
// The round times the time axis is labelled at.
constexpr int64_t kLabelSteps[] = {kSecondMs,      2 * kSecondMs,  5 * kSecondMs,  10 * kSecondMs, 15 * kSecondMs,
                                   30 * kSecondMs, kMinuteMs,      2 * kMinuteMs,  5 * kMinuteMs,  10 * kMinuteMs,
                                   15 * kMinuteMs, 30 * kMinuteMs, kHourMs,        2 * kHourMs,    3 * kHourMs,
                                   6 * kHourMs,    12 * kHourMs,   24 * kHourMs};

// The perceptual map as a polynomial in t (0..1) for each of red, green and blue: a close
// fit of viridis, which keeps equal steps of level equally visible, also in grey and to
// colour-blind eyes.
constexpr double kViridis[3][7] = {
    {0.2777273272234177, 0.1050930431085774, -0.3308618287255563, -4.634230498983486, 6.228269936347081,
     4.776384997670288, -5.435455855934631},
    {0.005407344544966578, 1.404613529898575, 0.214847559468213, -5.799100973351585, 14.17993336680509,
     -13.74514537774601, 4.645852612178535},
    {0.3340998053353061, 1.384590162594685, 0.09509516302823659, -19.33244095627987, 56.69055260068105,
     -65.35303263337234, 26.3124352495832},
};

int Channel(double value) { return static_cast<int>(std::lround(std::clamp(value, 0.0, 1.0) * 255)); }

uint32_t Rgb(int red, int green, int blue) {
  return 0xFF000000u | static_cast<uint32_t>(red) << 16 | static_cast<uint32_t>(green) << 8 | static_cast<uint32_t>(blue);
}

uint32_t MapColor(double t, ColorMap map, const Palette& palette) {
  if (map == ColorMap::Palette) {
    const ColorRef from = palette[kBackgroundColor], to = palette[kSpectrumColor];
    auto mix = [t](int a, int b) { return static_cast<int>(std::lround(a + (b - a) * t)); };
    return Rgb(mix(RedOf(from), RedOf(to)), mix(GreenOf(from), GreenOf(to)), mix(BlueOf(from), BlueOf(to)));
  }
  int rgb[3];
  for (int c = 0; c < 3; ++c) {
    double value = 0;
    for (int k = 6; k >= 0; --k) value = value * t + kViridis[c][k];
    rgb[c] = Channel(value);
  }
  return Rgb(rgb[0], rgb[1], rgb[2]);
}

}  // namespace

std::string ClockText(int64_t timeMs, bool seconds) {
  const int64_t ms = ((timeMs % (24 * kHourMs)) + 24 * kHourMs) % (24 * kHourMs);
  char text[16];
  if (seconds)
    std::snprintf(text, sizeof text, "%02d:%02d:%02d", int(ms / kHourMs), int(ms / kMinuteMs % 60), int(ms / kSecondMs % 60));
  else
    std::snprintf(text, sizeof text, "%02d:%02d", int(ms / kHourMs), int(ms / kMinuteMs % 60));
  return text;
}

int64_t RoundTimeStep(double wantedMs) {
  for (const int64_t step : kLabelSteps)
    if (static_cast<double>(step) >= wantedMs) return step;
  return kLabelSteps[std::size(kLabelSteps) - 1];
}

namespace {

int64_t FloorTo(int64_t value, int64_t step) { return value / step * step - (value % step < 0 ? step : 0); }

}  // namespace

WaterfallRow MakeWaterfallRow(const TraceSet& traces, int64_t timeMs, int trace) {
  // The points in frequency order. The order is the same from capture to capture, so the
  // last one is checked and kept unless the frequencies say otherwise.
  thread_local std::vector<uint16_t> order;
  auto frequency = [&](size_t k) { return traces.FreqPoints[k][trace]; };
  const bool sorted = order.size() == kPointCount &&
                      std::is_sorted(order.begin(), order.end(), [&](uint16_t a, uint16_t b) { return frequency(a) < frequency(b); });
  if (!sorted) {
    order.resize(kPointCount);
    std::iota(order.begin(), order.end(), uint16_t{0});
    std::stable_sort(order.begin(), order.end(), [&](uint16_t a, uint16_t b) { return frequency(a) < frequency(b); });
  }
  WaterfallRow row;
  row.TimeMs = timeMs;
  row.FirstFrequency = frequency(order.front());
  row.FrequencyStep = (double(frequency(order.back())) - row.FirstFrequency) / (kPointCount - 1);
  row.Levels.resize(kPointCount);
  for (size_t i = 0; i < kPointCount; ++i) {
    const double level = traces.AmpPoints[order[i]][trace] / kWaterfallLevelStep;
    row.Levels[i] = static_cast<uint8_t>(std::clamp(std::lround(level), 0L, long{kWaterfallLevels - 1}));
  }
  return row;
}

WaterfallRows::WaterfallRows(size_t maxBytes)
    : capacity_(std::max<size_t>(1, maxBytes / (sizeof(WaterfallRow) + kPointCount))) {}

void WaterfallRows::Add(WaterfallRow row) {
  if (rows_.size() >= capacity_) rows_.pop_front();
  rows_.push_back(std::move(row));
}

LevelLimits AutomaticLimits(const WaterfallRows& rows, size_t newest) {
  std::array<uint64_t, kWaterfallLevels> counts{};
  uint64_t total = 0;
  for (size_t age = 0; age < std::min(newest, rows.Count()); ++age)
    for (const uint8_t level : rows.Newest(age).Levels) ++counts[level], ++total;
  if (total == 0) return {};
  auto levelAt = [&](double fraction) {
    uint64_t below = 0;
    for (int q = 0; q < kWaterfallLevels; ++q)
      if ((below += counts[static_cast<size_t>(q)]) >= fraction * static_cast<double>(total)) return q * kWaterfallLevelStep;
    return (kWaterfallLevels - 1) * kWaterfallLevelStep;
  };
  LevelLimits limits{levelAt(0.01), levelAt(0.999)};
  limits.High = std::max(limits.High, limits.Low + 1);
  return limits;
}

std::array<uint32_t, kWaterfallLevels> LevelColors(const LevelLimits& limits, ColorMap map, const Palette& palette) {
  std::array<uint32_t, kWaterfallLevels> colors{};
  const double span = limits.High - limits.Low;
  for (size_t q = 0; q < colors.size(); ++q) {
    const double t = span > 0 ? (static_cast<double>(q) * kWaterfallLevelStep - limits.Low) / span : 0.5;
    colors[q] = MapColor(std::clamp(t, 0.0, 1.0), map, palette);
  }
  return colors;
}

std::vector<TimeLabel> TimeLabels(const WaterfallRows& rows, size_t shown, size_t minRows, size_t fromAge) {
  std::vector<TimeLabel> labels;
  shown = fromAge < rows.Count() ? std::min(shown, rows.Count() - fromAge) : 0;
  if (shown < 2) return labels;
  auto time = [&](size_t age) { return rows.Newest(fromAge + age).TimeMs; };
  // The step: the least round one that puts labels at least minRows apart on average.
  const double span = std::abs(double(time(0) - time(shown - 1)));
  const int64_t step =
      RoundTimeStep(span / static_cast<double>(shown - 1) * static_cast<double>(std::max<size_t>(minRows, 1)));
  // A label where a round time falls between a row and the older one below it; after a
  // gap in the recording, the newest round time the gap holds.
  size_t last = 0;
  for (size_t age = 0; age + 1 < shown; ++age) {
    const int64_t newer = FloorTo(time(age), step), older = FloorTo(time(age + 1), step);
    if (newer == older || (!labels.empty() && age + 1 - last < minRows)) continue;
    labels.push_back({age + 1, ClockText(newer, step < kMinuteMs)});
    last = age + 1;
  }
  return labels;
}

}  // namespace tavrix::history
