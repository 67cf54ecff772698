#include "view/plot_layout.h"

#include <algorithm>
#include <cmath>

#include "common/picture_format.h"

namespace tavrix {

namespace {

constexpr double kGap = 6;                  // pixels between a label and what it labels
constexpr int kLevelLabelChars = 9;         // "-125.00dB"
constexpr int kMaxTickDecimals = 7;
constexpr double kFinestFrequencyStep = 1e-7;  // MHz: the finest step seven decimals tell apart
constexpr int kMaxDivisions = 12;           // about ten divisions across the view

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

// Multiples of `step` inside [low, high], in the order asked for.
template <typename Emit>
void EachMultiple(double low, double high, double step, Emit emit) {
  const double first = std::ceil(low / step - 1e-9);
  const double last = std::floor(high / step + 1e-9);
  for (double k = first; k <= last; ++k) emit(k * step);
}

void LevelLines(const ViewScale& view, int checkedDB, const PixelRect& area, const LegendMetrics& metrics,
                PlotGrid& grid) {
  if (!Usable(view.ScaleHeight) || area.Height <= 0) return;
  // The division is the checked caption; only a spacing too tight for the labels widens.
  double step = kDBPerDivision[static_cast<size_t>(std::clamp(checkedDB, 0, kPresetCount - 1))];
  const double minimumPixels = std::max(metrics.LineHeight * 1.25, 4.0);
  while (step / view.ScaleHeight * area.Height < minimumPixels) step = NextRoundStep(step);
  grid.LevelStep = step;
  const double top = -static_cast<double>(view.ScaleTop);
  const double bottom = top - view.ScaleHeight;
  std::vector<double> levels;
  EachMultiple(bottom, top, step, [&](double level) { levels.push_back(level); });
  for (auto it = levels.rbegin(); it != levels.rend(); ++it) grid.Level.push_back({-*it, LevelLabel(*it)});
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
  EachMultiple(left, left + width, step, [&](double megahertz) {
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
