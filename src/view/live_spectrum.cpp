#include "view/live_spectrum.h"

#include "dsp/capture_block.h"

namespace tavrix {

CaptureOutcome LiveSpectrum::ProcessBlock(std::string_view block, bool windowSpectrum, const ProgressFn& progress) {
  CaptureOutcome outcome;
  CaptureFields& capture = State.Capture;
  ParseBlock(block, capture);
  RawI = capture.SampleI;
  RawQ = capture.SampleQ;
  outcome.BandChanged = View.SetBand(capture.FreqLow, capture.FreqHigh, capture.FreqScale);

  // The update fits the view's vertical window in dB (top and span; the plot runs in -dB).
  const ViewScale& s = View.Scale;
  VerticalWindow window{-s.ScaleTop, -(s.ScaleTop + s.ScaleHeight), s.ScaleHeight};
  outcome.Report = UpdateSpectrum(State, window, windowSpectrum, progress);
  const UpdateReport& r = outcome.Report;
  if (r.Refit) {
    View.Scale.ScaleTop = -window.Top;
    View.Scale.ScaleHeight = window.Span;
    View.SetVScrollRange(r.VScrollMin, r.VScrollMax);
  }
  View.SetFullVertical(r.Fit.Top, r.Fit.Span);
  if (State.FirstTrace || outcome.BandChanged) {
    View.ShowFullView();
    outcome.FullViewShown = true;
  }
  return outcome;
}

void LiveSpectrum::ForgetCaptures() {
  const auto shown = State.Traces.TraceVisible;
  State = SpectrumState{};
  State.Traces.TraceVisible = shown;
  View = ViewWindow{};
  RawI = {};
  RawQ = {};
}

PlotScene LiveSpectrum::Scene() const {
  PlotScene scene;
  scene.Traces = &State.Traces;
  scene.View = View.Scale;
  scene.FreqScale = View.FreqScale;
  scene.CheckedDB = View.CheckedDB;
  scene.ConstellationI = &RawI;
  scene.ConstellationQ = &RawQ;
  return scene;
}

}  // namespace tavrix
