#include "view/plot_layout.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "common/picture_format.h"

namespace tavrix {

namespace {

constexpr double kGap = 6;                  // pixels between a label and what it labels
constexpr int kLevelLabelChars = 9;         // "-125.00dB"
constexpr int kMaxTickDecimals = 7;
constexpr double kFinestFrequencyStep = 1e-7;  // MHz: the finest step seven decimals tell apart
constexpr int kMaxDivisions = 12;           // about ten divisions across the view
constexpr double kNoPoint = 1e300;          // a pixel row below everything

bool Usable(double extent) { return std::isfinite(extent) && extent > 0; }

// Round steps of the 1-2-5 sequence from `start` upwards: start, then the next one.
double NextRoundStep(double step) {
  const double decade = std::pow(10.0, std::floor(std::log10(step) + 1e-9));
  const double mantissa = step / decade;
  if (mantissa < 1.5) return 2 * decade;
  if (mantissa < 3.5) return 5 * decade;
  return 10 * decade;
}

int DecimalsFor(double step) {
  const int decimals = static_cast<int>(-std::floor(std::log10(step) + 1e-9));
  return std::clamp(decimals, 0, kMaxTickDecimals);
}

std::string TickFormatFor(int decimals) {
  return decimals == 0 ? std::string("####") : "####." + std::string(static_cast<size_t>(decimals), '0');
}

// Multiples k * step inside [low, high], low to high; `emit` gets k and the value.
template <typename Emit>
void EachMultiple(double low, double high, double step, Emit emit) {
  const double first = std::ceil(low / step - 1e-9);
  const double last = std::floor(high / step + 1e-9);
  for (double k = first; k <= last; ++k) emit(static_cast<long long>(k), k * step);
}

bool IsMultipleOf(double value, double step) {
  const double ratio = value / step;
  return std::abs(ratio - std::round(ratio)) < 1e-6;
}

void LevelLines(const ViewScale& view, int checkedDB, const PixelRect& area, const LegendMetrics& metrics,
                PlotGrid& grid) {
  if (!Usable(view.ScaleHeight) || area.Height <= 0) return;
  // The lines keep the checked division whatever the height; close lines share labels.
  const double step = kDBPerDivision[static_cast<size_t>(std::clamp(checkedDB, 0, kPresetCount - 1))];
  const double pixelsPerDB = area.Height / view.ScaleHeight;
  const double labelPixels = std::max(metrics.LineHeight * 1.25, 4.0);
  double labelStep = step;
  while (!IsMultipleOf(labelStep, step) || labelStep * pixelsPerDB < labelPixels) labelStep = NextRoundStep(labelStep);
  grid.LevelStep = step;
  grid.LevelLabelStep = labelStep;
  // Lines closer than a pixel would paint the area solid: only then do they thin out
  // to the labelled ones (a view far taller than the zoom-out limit allows).
  const double lineStep = step * pixelsPerDB < 1 ? labelStep : step;
  const long long labelEvery = std::llround(labelStep / lineStep);
  const double top = -static_cast<double>(view.ScaleTop);
  const double bottom = top - view.ScaleHeight;
  std::vector<GridLine> lines;
  EachMultiple(bottom, top, lineStep, [&](long long k, double level) {
    lines.push_back({-level, k % labelEvery == 0 ? LevelLabel(level) : std::string()});
  });
  grid.Level.assign(lines.rbegin(), lines.rend());
}

void FrequencyLines(const ViewScale& view, float freqScale, const PixelRect& area, const LegendMetrics& metrics,
                    PlotGrid& grid) {
  const double left = view.ScaleLeft / static_cast<double>(freqScale);
  const double width = view.ScaleWidth / static_cast<double>(freqScale);
  if (!Usable(width) || !Usable(freqScale) || area.Width <= 0) {
    grid.TickFormat = TickFormatFor(0);
    return;
  }
  double step = std::pow(10.0, std::floor(std::log10(width / kMaxDivisions)));
  step = std::max(step, kFinestFrequencyStep);
  while (width / step > kMaxDivisions) step = NextRoundStep(step);
  // Wide enough for the longest label at either end, with two characters between.
  for (;;) {
    const std::string format = TickFormatFor(DecimalsFor(step));
    const size_t chars = std::max(FrequencyLabel(left, format).size(), FrequencyLabel(left + width, format).size());
    if (step / width * area.Width >= (static_cast<double>(chars) + 2) * metrics.CharWidth) break;
    step = NextRoundStep(step);
  }
  grid.FrequencyStep = step;
  grid.TickFormat = TickFormatFor(DecimalsFor(step));
  EachMultiple(left, left + width, step, [&](long long, double megahertz) {
    grid.Frequency.push_back({megahertz * freqScale, FrequencyLabel(megahertz, grid.TickFormat)});
  });
}

}  // namespace

PixelRect DataArea(double surfaceWidth, double surfaceHeight, const LegendMetrics& metrics) {
  PixelRect area;
  area.Left = kGap + metrics.LineHeight + kGap + metrics.LevelLabelWidth + kGap;
  area.Top = std::ceil(metrics.LineHeight * 0.75) + 2;
  // Room for half of a long frequency label past the last line.
  const double right = std::ceil(metrics.CharWidth * 6);
  const double bottom = kGap / 2 + metrics.LineHeight + kGap / 2 + metrics.LineHeight + kGap;
  area.Width = std::max(1.0, surfaceWidth - area.Left - right);
  area.Height = std::max(1.0, surfaceHeight - area.Top - bottom);
  return area;
}

PixelRect KeyBox(const PixelRect& area, double width, double height, KeyCorner corner) {
  constexpr double kInset = 8;
  const double left = corner == KeyCorner::Right ? area.Right() - width - kInset : area.Left + kInset;
  return {left, area.Top + kInset, width, height};
}

KeyCorner ChooseKeyCorner(const PlotMapping& map, const TraceSet& traces, double width, double height,
                          int selectedTrace, int selectedPoint) {
  const PixelRect& area = map.Area();
  const std::array<PixelRect, 2> boxes = {KeyBox(area, width, height, KeyCorner::Right),
                                          KeyBox(area, width, height, KeyCorner::Left)};
  auto inside = [](const PixelRect& r, double x, double y) {
    return x >= r.Left && x <= r.Right() && y >= r.Top && y <= r.Bottom();
  };
  // One pass over the visible points: the highest point under each box, and the highest
  // point in the data area (the first of equals, so the choice never depends on chance).
  std::array<double, 2> highest = {kNoPoint, kNoPoint};
  double peakX = 0, peakY = kNoPoint;
  for (int trace = 0; trace < kTraceCount; ++trace) {
    if (!traces.TraceVisible[static_cast<size_t>(trace)]) continue;
    for (size_t i = 0; i < static_cast<size_t>(kPointCount); ++i) {
      const double x = map.ToPixelX(traces.FreqPoints[i][trace]);
      const double y = map.ToPixelY(-static_cast<double>(traces.AmpPoints[i][trace]));
      if (!(x >= area.Left && x <= area.Right())) continue;  // also drops NaN
      for (size_t b = 0; b < boxes.size(); ++b)
        if (x >= boxes[b].Left && x <= boxes[b].Right()) highest[b] = std::min(highest[b], y);
      if (y >= area.Top && y <= area.Bottom() && y < peakY) {
        peakX = x;
        peakY = y;
      }
    }
  }
  std::array<bool, 2> overSelection{}, overPeak{};
  std::array<double, 2> rise{};
  const bool selected = selectedPoint >= 1 && selectedPoint <= kPointCount && selectedTrace >= 0 &&
                        selectedTrace < kTraceCount;
  for (size_t b = 0; b < boxes.size(); ++b) {
    const PixelRect& box = boxes[b];
    if (selected) {
      const size_t i = static_cast<size_t>(selectedPoint - 1);
      const PixelRect ring{box.Left - kSelectionRadius, box.Top - kSelectionRadius, box.Width + 2 * kSelectionRadius,
                           box.Height + 2 * kSelectionRadius};
      overSelection[b] = inside(ring, map.ToPixelX(traces.FreqPoints[i][selectedTrace]),
                                map.ToPixelY(-static_cast<double>(traces.AmpPoints[i][selectedTrace])));
    }
    overPeak[b] = peakY != kNoPoint && inside(box, peakX, peakY);
    rise[b] = std::max(0.0, box.Bottom() - highest[b]);
  }
  constexpr size_t kRight = 0, kLeft = 1;
  if (overSelection[kRight] != overSelection[kLeft]) return overSelection[kRight] ? KeyCorner::Left : KeyCorner::Right;
  if (overPeak[kRight] != overPeak[kLeft]) return overPeak[kRight] ? KeyCorner::Left : KeyCorner::Right;
  return rise[kLeft] + height / 4 < rise[kRight] ? KeyCorner::Left : KeyCorner::Right;
}

std::string LevelLabel(double levelDB) {
  std::string text = FormatPicture(levelDB, "###0.00") + "dB";
  if (text.size() < kLevelLabelChars) text.insert(0, kLevelLabelChars - text.size(), ' ');
  return text;
}

std::string FrequencyLabel(double megahertz, const std::string& tickFormat) {
  const std::string text = FormatPicture(megahertz, tickFormat);
  // '#' places drop a lone zero; an axis reads "0" and "0.5", never "" or ".5".
  const bool negative = !text.empty() && text.front() == '-';
  const std::string_view digits = std::string_view(text).substr(negative ? 1 : 0);
  if (!digits.empty() && digits.front() != '.') return text;
  return std::string(negative ? "-0" : "0") + std::string(digits);
}

PlotGrid ComputeGrid(const ViewScale& view, float freqScale, int checkedDB, const PixelRect& area,
                     const LegendMetrics& metrics) {
  PlotGrid grid;
  LevelLines(view, checkedDB, area, metrics, grid);
  FrequencyLines(view, freqScale, area, metrics, grid);
  return grid;
}

}  // namespace tavrix
