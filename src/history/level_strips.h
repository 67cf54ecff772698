#pragma once
// The level-versus-time strips: a measured band's channel power and C/N at every capture of
// a recording, the periods each spent below its lower limit, the stretch of time shown
// (zoomable), and the two strips drawn one above the other with their limit lines and the
// alarm periods shaded (Qt GUI, no widgets).
#include <QSizeF>

#include <array>
#include <cstdint>
#include <deque>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "dsp/spectrum_update.h"
#include "measure/carrier_figures.h"
#include "view/palette.h"
#include "view/plot_layout.h"

class QPainter;

namespace tavrix::history {

// What the strips measure: the band and, when one is marked, its noise band (else the noise
// is estimated from the trace outside the band), in MHz as the axis shows them.
struct StripBand {
  BandMHz Band;
  std::optional<BandMHz> Noise;
  bool operator==(const StripBand& other) const;
};

// One capture's figures of the band on its current trace; NaN where it gave none.
struct StripPoint {
  int64_t TimeMs = 0;
  float ChannelPowerDb = std::numeric_limits<float>::quiet_NaN();
  float CarrierToNoiseDb = std::numeric_limits<float>::quiet_NaN();  // -infinity: below noise
};
StripPoint MeasureStripPoint(const SpectrumState& state, int64_t timeMs, const StripBand& band);

enum StripFigure : int { kChannelPowerStrip = 0, kCarrierToNoiseStrip = 1 };
inline constexpr int kStripCount = 2;
float FigureOf(const StripPoint& point, int figure);

struct TimeRange {
  int64_t From = 0;
  int64_t To = 0;
  bool operator==(const TimeRange&) const = default;
};

// The stretches the figure spent below its limit, as the alarms see it: from the first
// capture below the limit (C/N below noise included) to the next capture that is not, or to
// the last capture while it lasts. A capture without the figure ends an alarm.
std::vector<TimeRange> AlarmPeriods(const std::deque<StripPoint>& points, int figure, double limit);

// The stretch of time the strips show: the whole of the points, or a part of it zoomed
// into, never shorter than kShortestSpanMs. While not zoomed it follows the whole.
class TimeSpan {
 public:
  static constexpr int64_t kShortestSpanMs = 30'000;
  void SetWhole(int64_t first, int64_t last);
  TimeRange Whole() const { return whole_; }
  TimeRange Shown() const { return zoomed_ ? shown_ : whole_; }
  bool Zoomed() const { return zoomed_; }
  // By `factor` about the time `at` (below 1 zooms in); the time under it stays put. A span
  // that reaches the whole shows the whole again.
  void Zoom(int64_t at, double factor);
  // Moves the zoomed span by `byMs`, within the whole.
  void Pan(int64_t byMs);
  void ShowWhole() { zoomed_ = false; }

 private:
  void Keep(TimeRange wanted);
  TimeRange whole_, shown_;
  bool zoomed_ = false;
};

// Everything the strips show, as a plain value.
struct StripsScene {
  const std::deque<StripPoint>* Points = nullptr;  // not owned; oldest first
  TimeRange Shown;
  std::array<std::optional<double>, kStripCount> Limits;
  std::optional<int64_t> Marker;  // the capture shown in a replay
  std::string Heading;            // the band measured, or why nothing is
  Palette Colors = kDefaultPalettes[kViewingPalette];
  // The data area across, in logical pixels (the plot's, so that the strips line up with
  // it); a negative width takes the strips' own.
  double DataLeft = 0, DataWidth = -1;
};

// Where the two strips lie on a surface of the given size.
std::array<PixelRect, kStripCount> StripAreas(const QSizeF& size, const StripsScene& scene, const LegendMetrics& metrics);
// The time at a pixel across a strip.
int64_t TimeAtPixel(const PixelRect& area, const TimeRange& shown, double x);

void DrawLevelStrips(QPainter& painter, const QSizeF& size, const StripsScene& scene);

}  // namespace tavrix::history
