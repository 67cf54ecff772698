#pragma once
#include <array>
#include <optional>

#include "dsp/capture_block.h"
#include "dsp/trace_set.h"
#include "view/cursor_mark.h"
#include "view/palette.h"
#include "view/view_window.h"

namespace tavrix {


// A band shaded across the plot's full height, in plot units (Left <= Right).
struct ShadedBand {
  double Left = 0.0;
  double Right = 0.0;
};

// Everything one redraw shows, as a plain value: the same scene gives the same picture
// on the window, in a PNG, on the clipboard and on paper.
struct PlotScene {
  const TraceSet* Traces = nullptr;  // not owned; must outlive the drawing
  ViewScale View;
  float FreqScale = 1.0f;
  int CheckedDB = 9;  // the dB-per-division item checked: the level grid's division
  Palette Colors = kDefaultPalettes[kViewingPalette];
  float Threshold = 0.0f;  // the minimum peak threshold, dB
  bool CursorsShown = false;
  std::array<CursorMark, 2> Cursors{};
  int SelectedTrace = -1;
  int SelectedPoint = 0;  // 1..2048, 0 for none
  // The band measured between the cursors and its noise band, shaded lightly under the
  // traces in two shades; none when not measured.
  std::optional<ShadedBand> MeasuredBand;
  std::optional<ShadedBand> NoiseBand;

  // Instead of the spectrum: the samples of the latest capture, I across and Q down.
  bool Constellation = false;
  const SampleArray* ConstellationI = nullptr;
  const SampleArray* ConstellationQ = nullptr;
};

}  // namespace tavrix
