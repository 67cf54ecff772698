#pragma once
#include <string>
#include <vector>

#include "dsp/trace_set.h"
#include "view/view_window.h"

namespace tavrix {

// A rectangle in logical pixels.
struct PixelRect {
  double Left = 0, Top = 0, Width = 0, Height = 0;
  double Right() const { return Left + Width; }
  double Bottom() const { return Top + Height; }
};

// What the legend's font measures, in logical pixels.
struct LegendMetrics {
  double LevelLabelWidth = 0;  // the widest level label, "-125.00dB"
  double CharWidth = 0;        // the font is fixed-pitch
  double LineHeight = 0;
};

// The plot surface divided into the data area, where the view window is drawn, and the
// room around it for the legend: level labels and the rotated axis text on the left,
// frequency labels and the axis text below.
PixelRect DataArea(double surfaceWidth, double surfaceHeight, const LegendMetrics& metrics);

// Maps the view window onto the data area and back.
class PlotMapping {
 public:
  PlotMapping() = default;
  PlotMapping(const ViewScale& view, const PixelRect& area) : view_(view), area_(area) {}
  double ToPixelX(double x) const { return area_.Left + (x - view_.ScaleLeft) / view_.ScaleWidth * area_.Width; }
  double ToPixelY(double y) const { return area_.Top + (y - view_.ScaleTop) / view_.ScaleHeight * area_.Height; }
  double ToPlotX(double px) const { return view_.ScaleLeft + (px - area_.Left) / area_.Width * view_.ScaleWidth; }
  double ToPlotY(double py) const { return view_.ScaleTop + (py - area_.Top) / area_.Height * view_.ScaleHeight; }
  const PixelRect& Area() const { return area_; }
  const ViewScale& View() const { return view_; }

 private:
  ViewScale view_;
  PixelRect area_{0, 0, 1, 1};
};

// One grid line and its label; a line between labelled lines has an empty label.
struct GridLine {
  double Position = 0;  // plot units: scaled frequency, or -dB
  std::string Label;
};

struct PlotGrid {
  std::vector<GridLine> Frequency;  // vertical lines, left to right
  std::vector<GridLine> Level;      // horizontal lines, top to bottom
  std::string TickFormat;           // "####" .. "####.0000000"
  double FrequencyStep = 0;         // MHz between frequency lines
  double LevelStep = 0;             // dB between level lines: the checked division
  double LevelLabelStep = 0;        // dB between labelled level lines, a multiple of LevelStep
};

// The grid of a view. Level lines are always spaced by the checked dB-per-division
// caption; when they are too close for a label each, only every n-th line is labelled,
// at a round multiple of the division (lines closer than a pixel, which only a view far
// taller than the zoom-out limit gives, keep just the labelled ones). Frequency lines sit at a round 1-2-5 step of
// about ten divisions, widened to the next round step when the labels would touch.
// Labels never overlap.
PlotGrid ComputeGrid(const ViewScale& view, float freqScale, int checkedDB, const PixelRect& area,
                     const LegendMetrics& metrics);

// The ring drawn around the selected point, in pixels.
inline constexpr double kSelectionRadius = 5;

// The two places the trace key may take: the top corners of the data area.
enum class KeyCorner { Right, Left };

// The key's box of the given size at a top corner of the data area, inset from the frame.
PixelRect KeyBox(const PixelRect& area, double width, double height, KeyCorner corner);

// Where a key of the given size goes, from the visible trace points under each corner's
// box. A box that would cover the selected point's ring loses to one that would not;
// then one that would cover the highest visible trace point loses; then the corner where
// the traces rise least into the box wins. Differences under a quarter of the box's
// height count as a tie, so capture-to-capture noise does not move the key; a tie
// keeps the right.
KeyCorner ChooseKeyCorner(const PlotMapping& map, const TraceSet& traces, double width, double height,
                          int selectedTrace, int selectedPoint);

// A level label: "###0.00" and "dB", a leading "-" below zero, blanks in front to the
// width of "-125.00dB".
std::string LevelLabel(double levelDB);

// A frequency label in MHz with the decimals of the tick format.
std::string FrequencyLabel(double megahertz, const std::string& tickFormat);

}  // namespace tavrix
