#include "history/level_strips.h"

#include <QFontMetricsF>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <cmath>

#include "history/waterfall_rows.h"
#include "measure/band_watch.h"
#include "view/plot_renderer.h"

namespace tavrix::history {

namespace {

constexpr double kGap = 6;          // pixels between a label and what it labels
constexpr double kStripGap = 8;     // between the two strips
constexpr double kTickLength = 4;   // of the time ticks, into the strip
constexpr double kLabelSpacing = 90;  // the least room a time label takes across
constexpr double kLeastRangeDb = 1;   // a strip's levels span at least this
constexpr int64_t kGapMs = 60'000;    // captures further apart are not joined by the line

constexpr const char* kStripNames[kStripCount] = {"Channel power", "C/N"};

bool SameBand(const BandMHz& a, const BandMHz& b) { return a.Low == b.Low && a.High == b.High; }

// The points whose times lie in the range, as indices [first, last).
std::pair<size_t, size_t> PointsIn(const std::deque<StripPoint>& points, const TimeRange& range) {
  const auto before = [](const StripPoint& p, int64_t t) { return p.TimeMs < t; };
  const auto first = std::lower_bound(points.begin(), points.end(), range.From, before);
  const auto last = std::lower_bound(first, points.end(), range.To + 1, before);
  return {static_cast<size_t>(first - points.begin()), static_cast<size_t>(last - points.begin())};
}

bool InAlarm(float value, double limit) { return !std::isnan(value) && value < limit; }

}  // namespace

bool StripBand::operator==(const StripBand& other) const {
  return SameBand(Band, other.Band) && Noise.has_value() == other.Noise.has_value() &&
         (!Noise || SameBand(*Noise, *other.Noise));
}

StripPoint MeasureStripPoint(const SpectrumState& state, int64_t timeMs, const StripBand& band) {
  StripPoint point;
  point.TimeMs = timeMs;
  const CaptureFields& c = state.Capture;
  const WatchInput in{&state.Traces, kCurrentTrace, c.FreqScale, ShownBand(c.FreqLow, c.FreqHigh, c.FreqScale), band.Band};
  // The figures of the capture's own trace: no average, no alarm state.
  const BandReading reading = BandWatch().Read(in, {band.Noise, {}, false});
  if (!reading.Figures) return point;
  point.ChannelPowerDb = static_cast<float>(reading.Figures->ChannelPowerDb);
  if (const std::optional<CarrierToNoise> cn = reading.CN())
    point.CarrierToNoiseDb = cn->BelowNoise ? -std::numeric_limits<float>::infinity() : static_cast<float>(cn->Db);
  return point;
}

float FigureOf(const StripPoint& point, int figure) {
  return figure == kChannelPowerStrip ? point.ChannelPowerDb : point.CarrierToNoiseDb;
}

std::vector<TimeRange> AlarmPeriods(const std::deque<StripPoint>& points, int figure, double limit) {
  std::vector<TimeRange> periods;
  bool open = false;
  for (const StripPoint& p : points) {
    const bool alarm = InAlarm(FigureOf(p, figure), limit);
    if (alarm && !open) periods.push_back({p.TimeMs, p.TimeMs});
    if (open) periods.back().To = p.TimeMs;
    open = alarm;
  }
  return periods;
}

void TimeSpan::SetWhole(int64_t first, int64_t last) {
  whole_ = {first, std::max(first, last)};
  if (zoomed_) Keep(shown_);
}

void TimeSpan::Keep(TimeRange wanted) {
  const int64_t whole = whole_.To - whole_.From;
  int64_t length = std::max(wanted.To - wanted.From, kShortestSpanMs);
  if (length >= whole) {
    zoomed_ = false;
    return;
  }
  wanted.From = std::clamp(wanted.From, whole_.From, whole_.To - length);
  shown_ = {wanted.From, wanted.From + length};
  zoomed_ = true;
}

void TimeSpan::Zoom(int64_t at, double factor) {
  const TimeRange now = Shown();
  const double length = static_cast<double>(now.To - now.From) * factor;
  const double left = static_cast<double>(at) - static_cast<double>(at - now.From) * factor;
  Keep({static_cast<int64_t>(std::llround(left)), static_cast<int64_t>(std::llround(left + length))});
}

void TimeSpan::Pan(int64_t byMs) {
  if (zoomed_) Keep({shown_.From + byMs, shown_.To + byMs});
}

std::array<PixelRect, kStripCount> StripAreas(const QSizeF& size, const StripsScene& scene, const LegendMetrics& m) {
  const double left = scene.DataWidth > 0 ? scene.DataLeft : m.LevelLabelWidth + 2 * kGap;
  const double width = scene.DataWidth > 0 ? scene.DataWidth : size.width() - left - kGap;
  const double top = m.LineHeight + 4;
  const double bottom = size.height() - m.LineHeight - kGap;
  const double each = std::max(1.0, (bottom - top - kStripGap) / kStripCount);
  std::array<PixelRect, kStripCount> areas;
  for (int s = 0; s < kStripCount; ++s) areas[static_cast<size_t>(s)] = {left, top + s * (each + kStripGap), width, each};
  return areas;
}

int64_t TimeAtPixel(const PixelRect& area, const TimeRange& shown, double x) {
  const double fraction = area.Width > 0 ? std::clamp((x - area.Left) / area.Width, 0.0, 1.0) : 0.0;
  return shown.From + static_cast<int64_t>(std::llround(fraction * static_cast<double>(shown.To - shown.From)));
}

namespace {

struct StripPainter {
  QPainter& painter;
  const StripsScene& scene;
  const QFontMetricsF& fm;
  double xPerMs;

  double X(const PixelRect& a, int64_t t) const { return a.Left + static_cast<double>(t - scene.Shown.From) * xPerMs; }

  void Draw(const PixelRect& a, int figure) const {
    const std::deque<StripPoint>& points = *scene.Points;
    const auto [first, last] = PointsIn(points, scene.Shown);
    const std::optional<double> limit = scene.Limits[static_cast<size_t>(figure)];
    // The levels shown: those of the points in view, and the limit.
    double low = HUGE_VAL, high = -HUGE_VAL;
    for (size_t i = first; i < last; ++i)
      if (const float v = FigureOf(points[i], figure); std::isfinite(v)) low = std::min(low, double(v)), high = std::max(high, double(v));
    if (limit) low = std::min(low, *limit), high = std::max(high, *limit);
    if (low > high) low = 0, high = 1;
    const double pad = std::max(kLeastRangeDb, high - low) * 0.1;
    const double mid = (low + high) / 2, half = std::max(kLeastRangeDb, high - low) / 2 + pad;
    low = mid - half, high = mid + half;
    const auto y = [&](double v) { return a.Bottom() - (std::clamp(v, low, high) - low) / (high - low) * a.Height; };

    const QRectF box(a.Left, a.Top, a.Width, a.Height);
    painter.save();
    painter.setClipRect(box);
    if (limit) {
      const QColor shade(0xC0, 0x10, 0x10, 80);
      for (const TimeRange& p : AlarmPeriods(points, figure, *limit))
        if (p.To >= scene.Shown.From && p.From <= scene.Shown.To)
          painter.fillRect(QRectF(QPointF(X(a, p.From), a.Top), QPointF(std::max(X(a, p.To), X(a, p.From) + 1), a.Bottom())), shade);
      QPen pen(ToColor(scene.Colors[kThresholdColor]), 0, Qt::DashLine);
      pen.setCosmetic(true);
      painter.setPen(pen);
      painter.drawLine(QPointF(a.Left, y(*limit)), QPointF(a.Right(), y(*limit)));
    }
    // The figure, a line from capture to capture; a capture without it, or a gap in the
    // recording, breaks the line.
    QPen trace(ToColor(scene.Colors[kSpectrumColor]), 0);
    trace.setCosmetic(true);
    painter.setPen(trace);
    QPolygonF run;
    const auto flush = [&] {
      if (run.size() == 1) painter.drawPoint(run.front());
      if (run.size() > 1) painter.drawPolyline(run);
      run.clear();
    };
    for (size_t i = first; i < last; ++i) {
      const float v = FigureOf(points[i], figure);
      if (i > first && points[i].TimeMs - points[i - 1].TimeMs > kGapMs) flush();
      if (std::isnan(v)) {
        flush();
        continue;
      }
      run << QPointF(X(a, points[i].TimeMs), y(v));
    }
    flush();
    if (scene.Marker && *scene.Marker >= scene.Shown.From && *scene.Marker <= scene.Shown.To) {
      QPen marker(ToColor(scene.Colors[kPeakHoldColor]), 0);
      marker.setCosmetic(true);
      painter.setPen(marker);
      painter.drawLine(QPointF(X(a, *scene.Marker), a.Top), QPointF(X(a, *scene.Marker), a.Bottom()));
    }
    painter.restore();

    QPen legend(ToColor(scene.Colors[kLegendColor]), 0);
    legend.setCosmetic(true);
    painter.setPen(legend);
    painter.drawRect(box);
    painter.drawText(QPointF(a.Left + kGap, a.Top + fm.ascent() + 2), QString("%1 (dB)").arg(kStripNames[figure]));
    for (const double v : {high, low}) {
      const QString text = QString::number(v, 'f', 1);
      const double baseline = v == high ? a.Top + fm.ascent() : a.Bottom() - fm.descent();
      painter.drawText(QPointF(a.Left - kGap - fm.horizontalAdvance(text), baseline), text);
    }
  }

  void TimeAxis(const PixelRect& a) const {
    const double span = static_cast<double>(scene.Shown.To - scene.Shown.From);
    if (!(span > 0) || a.Width <= 0) return;
    const int64_t step = RoundTimeStep(span / std::max(1.0, a.Width / kLabelSpacing));
    int64_t t = scene.Shown.From / step * step;
    if (t < scene.Shown.From) t += step;
    for (; t <= scene.Shown.To; t += step) {
      const double x = X(a, t);
      painter.drawLine(QPointF(x, a.Bottom() - kTickLength), QPointF(x, a.Bottom()));
      const QString text = QString::fromStdString(ClockText(t, step < 60'000));
      painter.drawText(QPointF(x - fm.horizontalAdvance(text) / 2, a.Bottom() + 3 + fm.ascent()), text);
    }
  }
};

}  // namespace

void DrawLevelStrips(QPainter& painter, const QSizeF& size, const StripsScene& scene) {
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing, false);
  painter.fillRect(QRectF(QPointF(0, 0), size), ToColor(scene.Colors[kBackgroundColor]));
  painter.setFont(LegendFont());
  const LegendMetrics metrics = MeasureLegend(painter);
  const QFontMetricsF fm(painter.font(), painter.device());
  const auto areas = StripAreas(size, scene, metrics);
  painter.setPen(ToColor(scene.Colors[kLegendColor]));
  painter.drawText(QPointF(areas[0].Left, fm.ascent() + 2), QString::fromStdString(scene.Heading));
  if (scene.Points != nullptr) {
    const double span = static_cast<double>(scene.Shown.To - scene.Shown.From);
    const StripPainter strips{painter, scene, fm, span > 0 ? areas[0].Width / span : 0.0};
    for (int s = 0; s < kStripCount; ++s) strips.Draw(areas[static_cast<size_t>(s)], s);
    strips.TimeAxis(areas[kStripCount - 1]);
  }
  painter.restore();
}

}  // namespace tavrix::history
