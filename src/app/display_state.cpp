#include "app/display_state.h"

#include "common/picture_format.h"
#include "view/selection_readout.h"

namespace tavrix {

namespace {

// The stored switch of each trace, by trace number.
constexpr std::array<bool ViewerSettings::*, kTraceCount> kTraceKeys = {
    &ViewerSettings::CurrentTrace, &ViewerSettings::LastTrace, &ViewerSettings::VideoAverage,
    &ViewerSettings::PeakHold};

}  // namespace

void DisplayState::Apply(const ViewerSettings& s, std::array<bool, kTraceCount>& traceVisible) {
  Palettes = s.Palettes;
  ActivePalette = s.CurrentPalette == kPrintingPalette ? kPrintingPalette : kViewingPalette;
  SnapToPoint = s.SnapToPoint;
  WindowSpectrum = s.WindowSpectrum;
  SelectionPanelOn = s.SelectionPanelOn;
  CursorDisplay = s.CursorDisplay;
  Cursors = s.Cursors;
  Navigation.MoveByPeaks = s.PointMoves != 0;
  Navigation.Threshold = s.PeakThreshold;
  for (size_t t = 0; t < kTraceKeys.size(); ++t) traceVisible[t] = s.*kTraceKeys[t];
  const MeasureSettings& m = s.Measure;
  Measure.Noise.reset();
  if (m.NoiseBand) Measure.Noise = BandMHz{(*m.NoiseBand)[0], (*m.NoiseBand)[1]};
  Measure.Limits = {m.ChannelPowerLimit, m.CarrierToNoiseLimit};
  Measure.Average = m.Average;
  MeasurePanel = m.MeasurePanel;
  PeakTable = m.PeakTable;
  EventLog = m.EventLog;
  History = s.History;
}

void DisplayState::SaveTo(ViewerSettings& s, const std::array<bool, kTraceCount>& traceVisible) const {
  s.Palettes = Palettes;
  s.CurrentPalette = ActivePalette;
  s.SnapToPoint = SnapToPoint;
  s.WindowSpectrum = WindowSpectrum;
  s.SelectionPanelOn = SelectionPanelOn;
  s.CursorDisplay = CursorDisplay;
  s.Cursors = Cursors;
  s.PointMoves = Navigation.MoveByPeaks ? 1 : 0;
  s.PeakThreshold = Navigation.Threshold;
  for (size_t t = 0; t < kTraceKeys.size(); ++t) s.*kTraceKeys[t] = traceVisible[t];
  MeasureSettings& m = s.Measure;
  m.NoiseBand.reset();
  if (Measure.Noise) m.NoiseBand = std::array<double, 2>{Measure.Noise->Low, Measure.Noise->High};
  m.ChannelPowerLimit = Measure.Limits.ChannelPowerDb;
  m.CarrierToNoiseLimit = Measure.Limits.CarrierToNoiseDb;
  m.Average = Measure.Average;
  m.MeasurePanel = MeasurePanel;
  m.PeakTable = PeakTable;
  m.EventLog = EventLog;
  s.History = History;
}

std::array<std::string, 6> CursorReadouts(const DisplayState& state, double freqScale, const std::string& freqFormat) {
  const auto frequency = [&](double x) { return FrequencyReadout(x, freqScale, freqFormat); };
  const auto level = [](double db) { return FormatPicture(db, kReadoutLevelPicture); };
  const std::array<CursorMark, 2>& c = state.Cursors;
  std::array<std::string, 6> texts;
  for (size_t i = 0; i < c.size(); ++i) {
    if (!state.CursorDisplay || !c[i].Placed()) continue;
    texts[2 * i] = frequency(c[i].X);
    texts[2 * i + 1] = level(-static_cast<double>(c[i].Y));
  }
  if (state.BothCursorsShown()) {
    texts[4] = frequency(static_cast<double>(c[1].X) - c[0].X);
    texts[5] = level(static_cast<double>(c[0].Y) - c[1].Y);
  }
  return texts;
}

}  // namespace tavrix
