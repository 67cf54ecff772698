#pragma once
// What the window shows besides the captures: the options, the palettes, the cursors, the
// threshold and the move type. The window owns one; its menus and buttons only show it: a
// command changes the state, then the window is drawn from it.
#include <array>
#include <string>

#include "dsp/point_navigation.h"
#include "measure/band_watch.h"
#include "store/viewer_settings.h"
#include "view/cursor_mark.h"
#include "view/palette.h"

namespace tavrix {

struct DisplayState {
  bool SnapToPoint = true;       // a selecting press moves the mouse pointer onto its point
  bool SelectionPanelOn = true;  // the floating read-out beside a selecting press
  bool WindowSpectrum = true;    // captures are windowed before their transform
  bool Constellation = false;    // the latest samples instead of the spectrum
  std::array<Palette, 2> Palettes = kDefaultPalettes;
  int ActivePalette = kViewingPalette;
  bool CursorDisplay = false;
  std::array<CursorMark, 2> Cursors{};
  PointNavigation Navigation;  // the move type, the threshold, the active trace, the point remembered
  WatchOptions Measure;        // the noise band, the limits and the average of the measured band
  bool MeasurePanel = false;   // the panels shown: the measurement between the cursors,
  bool PeakTable = false;      // the peak table
  bool EventLog = false;       // and the event log
  HistorySettings History;     // recording, the waterfall and the level strips

  const Palette& ActiveColors() const { return Palettes[ActivePalette == kPrintingPalette ? 1 : 0]; }
  // Both cursors are on the plot: what "Zoom to Fit Cursors" needs.
  bool BothCursorsShown() const { return CursorDisplay && Cursors[0].Placed() && Cursors[1].Placed(); }

  // Takes its part of the settings, and the trace switches into `traceVisible`; a palette
  // number outside 0..1 is the viewing palette.
  void Apply(const ViewerSettings& settings, std::array<bool, kTraceCount>& traceVisible);
  // Writes its part back, with the trace switches.
  void SaveTo(ViewerSettings& settings, const std::array<bool, kTraceCount>& traceVisible) const;
};

// The six cursor read-outs: cursor 1's frequency and level, cursor 2's, then cursor 2 less
// cursor 1 in frequency and in level. A cursor not shown (display off, or not placed) reads
// empty, and so do the deltas unless both are shown. Frequencies are in the capture's unit;
// a level is the plot's -Y in dB.
std::array<std::string, 6> CursorReadouts(const DisplayState& state, double freqScale, const std::string& freqFormat);

}  // namespace tavrix
