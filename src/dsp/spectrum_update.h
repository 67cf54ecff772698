#pragma once
#include <functional>
#include <optional>
#include <string>

#include "dsp/capture_block.h"
#include "dsp/trace_set.h"

namespace tavrix {

// The vertical (dB) window of the view: Span = Top - Bottom. A new view shows 125..-125.
struct VerticalWindow {
  float Top = 125.0f;
  float Bottom = -125.0f;
  float Span = 250.0f;
};

// Everything one spectrum update reads and writes between captures.
struct SpectrumState {
  CaptureFields Capture;           // samples are windowed in place by the update
  SampleArray SpectrumRe{};        // transform output, natural bin order
  SampleArray SpectrumIm{};
  TraceSet Traces;
  bool FirstTrace = false;
};

// What the update tells the window to show, computed as plain values.
struct UpdateReport {
  float Max = 0.0f;           // level range of the new trace, as tracked
  float Min = 0.0f;
  double Range = 0.0;         // Max - Min, or 250 for a flat trace
  float FitMax = 0.0f;        // the levels the vertical fit used
  float FitMin = 0.0f;
  VerticalWindow Fit;         // the window that fits this trace (the full view's levels)
  bool Refit = false;         // the vertical window was re-fitted to Fit
  int VScrollMin = 0;         // the vertical scroll bar's new limits, when Refit
  int VScrollMax = 0;
  std::string VideoAverageToolTip;
  std::string PeakHoldToolTip;
  std::optional<std::string> StatusText;  // the "Status" panel, when a count is running
  std::string CenterFreqPanel;
  std::string SampleRatePanel;
};

using ProgressFn = std::function<void(int percent)>;

// One update from the parsed capture in state.Capture: previous trace, optional window,
// transform, the 2048 points, vertical re-fit (applied to `window`), video average and
// peak hold (while their traces are switched on) and the status texts. `progress` is
// called each time the whole percentage rises.
UpdateReport UpdateSpectrum(SpectrumState& state, VerticalWindow& window, bool windowSpectrum,
                            const ProgressFn& progress = {});

// The raised-cosine window applied in place to both sample arrays.
void WindowSmooth(SampleArray& sampleI, SampleArray& sampleQ);

}  // namespace tavrix
