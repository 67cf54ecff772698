#pragma once
// The waterfall drawn: its rows as pixels, newest at the top, over the plot's horizontal
// view window, and the whole panel with its axes for a picture.
//
// The pixels live in a ring of lines: a new row moves the ring's top by one row and draws
// that row alone, and painting draws the ring in two pieces, so adding a capture costs one
// row's drawing however many rows are shown.
#include <QImage>
#include <QPointF>
#include <QSize>

#include <array>
#include <cstdint>
#include <vector>

#include "history/waterfall_rows.h"
#include "view/plot_scene.h"

class QPainter;

namespace tavrix::history {

class WaterfallImage {
 public:
  // The data area's size in logical pixels, the device pixel ratio, and the height of a
  // row in logical pixels. Clears the picture.
  void SetGeometry(const QSize& logical, double devicePixelRatio, int rowHeight = 1);
  // The frequencies across, in the plot's units: the plot's ScaleLeft and ScaleWidth.
  void SetView(double left, double width);
  void SetColors(const std::array<uint32_t, kWaterfallLevels>& colors, uint32_t background);

  // Draws every row again from the one `fromAge` rows old (0: the newest) at the top,
  // until the picture is full.
  void Rebuild(const WaterfallRows& rows, size_t fromAge = 0);
  // Moves the rows down by one and draws `row` at the top.
  void AddRow(const WaterfallRow& row);
  // Draws the picture with its newest row at the top, its top left corner at `topLeft`.
  void Paint(QPainter& painter, const QPointF& topLeft) const;

  // How many rows the picture holds: the rows shown.
  size_t RowsShown() const;
  int RowHeight() const { return rowHeight_; }
  // The rows as they stand, newest at the top (for tests).
  QImage Picture() const;

 private:
  // Which points of a row each column shows, for the row's band.
  void PrepareColumns(const WaterfallRow& row);
  void DrawRowAt(const WaterfallRow& row, int firstLine);

  QImage ring_;  // device pixels; line top_ holds the newest row's first line
  double ratio_ = 1;
  int rowHeight_ = 1;  // logical
  int top_ = 0;
  double left_ = 0, width_ = 1;
  std::array<uint32_t, kWaterfallLevels> colors_{};
  uint32_t background_ = 0xFF000000u;
  // Per column: the first and last point shown (first > last: none), for the band below.
  std::vector<int> firstPoint_, lastPoint_;
  std::array<double, 4> columnsFor_{};  // first frequency, step and view the columns were made for
};

// Everything the waterfall panel shows, as a plain value.
struct WaterfallScene {
  const WaterfallRows* Rows = nullptr;  // not owned
  ViewScale View;                       // across: the plot's frequency window
  float FreqScale = 1.0f;
  int CheckedDB = 9;
  Palette Colors = kDefaultPalettes[kViewingPalette];
  LevelLimits Limits;
  ColorMap Map = ColorMap::Perceptual;
  int RowHeight = 1;  // logical pixels
};

// Draws the panel onto a surface of the given logical size: the rows in the data area the
// plot would have on that surface (so that a panel as wide as the plot lines up with it),
// the frequency axis as the plot labels it, and the rows' times labelled on the left.
void DrawWaterfallPanel(QPainter& painter, const QSizeF& size, const WaterfallScene& scene);
QImage RenderWaterfall(const WaterfallScene& scene, const QSize& size, double devicePixelRatio);

}  // namespace tavrix::history
