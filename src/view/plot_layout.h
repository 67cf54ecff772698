#pragma once
#include <string>
#include <vector>

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

// One grid line and its label.
struct GridLine {
  double Position = 0;  // plot units: scaled frequency, or -dB
  std::string Label;
};

struct PlotGrid {
  std::vector<GridLine> Frequency;  // vertical lines, left to right
  std::vector<GridLine> Level;      // horizontal lines, top to bottom
  std::string TickFormat;           // "####" .. "####.0000000"
  double FrequencyStep = 0;         // MHz between frequency lines
  double LevelStep = 0;             // dB between level lines
};

// The grid of a view: level lines spaced by the checked dB-per-division caption and
// frequency lines at a round 1-2-5 step of about ten divisions; a spacing too tight
// for its labels widens to the next round step, so labels never overlap.
PlotGrid ComputeGrid(const ViewScale& view, float freqScale, int checkedDB, const PixelRect& area,
                     const LegendMetrics& metrics);

// A level label: "###0.00" and "dB", a leading "-" below zero, blanks in front to the
// width of "-125.00dB".
std::string LevelLabel(double levelDB);

// A frequency label in MHz with the decimals of the tick format.
std::string FrequencyLabel(double megahertz, const std::string& tickFormat);

}  // namespace tavrix
