#pragma once
#include <string_view>

#include "dsp/spectrum_update.h"
#include "view/plot_scene.h"
#include "view/view_window.h"

namespace tavrix {

// What one capture did to the display.
struct CaptureOutcome {
  UpdateReport Report;
  bool BandChanged = false;    // the capture's band differs from the one before
  bool FullViewShown = false;  // the view was set to the full view (first capture, new band)
};

// The data side of the live display: the spectrum state and the view window it is seen
// through, advanced one capture block at a time exactly as the viewer does it. The
// window, the render command and the export command all process blocks through here.
class LiveSpectrum {
 public:
  SpectrumState State;
  ViewWindow View;
  // The latest capture's samples as decoded, before the window: the constellation.
  SampleArray RawI{};
  SampleArray RawQ{};

  // Parses the block and runs the update: the vertical re-fit moves the view, and the
  // first capture or a new band shows the full view. An empty block is no capture and
  // must not be passed (the acquisition cycle never parses an empty read).
  CaptureOutcome ProcessBlock(std::string_view block, bool windowSpectrum, const ProgressFn& progress = {});

  // Back to the state before any capture (another unit was chosen): no traces, counts or
  // band, the view as at start. Which traces are switched on is kept.
  void ForgetCaptures();

  // The scene of the current state as the window shows it after a redraw: the traces
  // through the view, the level grid of the checked preset, the viewing palette, no
  // cursors, no selection. The scene points into this object.
  PlotScene Scene() const;
};

}  // namespace tavrix
