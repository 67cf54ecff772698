#include "view/selection_readout.h"

#include <array>

#include "common/picture_format.h"

namespace tavrix {

std::string FrequencyReadout(double plotX, double freqScale, const std::string& freqFormat) {
  return FormatPicture(plotX / freqScale, freqFormat);
}

SelectionReadout ReadSelection(const TraceSet& traces, const Selection& selection, float freqScale,
                               const std::string& freqFormat) {
  static constexpr std::array<const char*, kTraceCount> kPictures = {"CurTrace", "LastTrace", "VideoAverage",
                                                                     "PeakHold"};
  SelectionReadout r;
  const int t = selection.SelectedTrace, p = selection.SelectedPoint;
  if (t < 0 || t >= kTraceCount || p < 1 || p > kPointCount) {
    r.Trace = r.Picture = "None";
    return r;
  }
  const size_t i = static_cast<size_t>(p - 1);
  r.Point = std::to_string(p);
  r.Frequency = FrequencyReadout(traces.FreqPoints[i][t], freqScale, freqFormat);
  r.Amplitude = FormatPicture(traces.AmpPoints[i][t], kReadoutLevelPicture);
  r.Trace = TraceName(static_cast<int16_t>(t));
  r.Picture = kPictures[static_cast<size_t>(t)];
  return r;
}

}  // namespace tavrix
