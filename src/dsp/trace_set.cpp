#include "dsp/trace_set.h"

namespace tavrix {

float& TracePoint::operator[](int trace) {
  switch (trace) {
    case kPreviousTrace: return Previous;
    case kVideoAverageTrace: return VideoAverage;
    case kPeakHoldTrace: return PeakHold;
    default: return Current;
  }
}

float TracePoint::operator[](int trace) const { return const_cast<TracePoint&>(*this)[trace]; }

std::string TraceName(int16_t trace) {
  switch (trace) {
    case kPreviousTrace: return "Previous";
    case kVideoAverageTrace: return "Video Average";
    case kPeakHoldTrace: return "Peak Hold";
    default: return "Current";
  }
}

const std::array<TraceSwitch, kTraceCount> kTraceSwitches = {{
    {"mnuToolsCurrentTrace", "&Current Spectrum Trace", "CurrentTrace", kCurrentTrace},
    {"mnuToolsLastTrace", "&Previous Spectrum Trace", "LastTrace", kPreviousTrace},
    {"mnuToolsVideoAverage", "&Video Average Trace", "VideoAverage", kVideoAverageTrace},
    {"mnuToolsPeakHold", "Peak &Hold Trace", "PeakHold", kPeakHoldTrace},
}};

bool SwitchTrace(TraceSet& traces, Selection& selection, int trace) {
  if (trace < 0 || trace >= kTraceCount) return false;
  const bool checked = !traces.TraceVisible[trace];
  traces.TraceVisible[trace] = checked;
  if (checked) {
    // The next update starts a new average or hold with a count of 1.
    if (trace == kVideoAverageTrace) traces.VideoAverageCount = 0;
    if (trace == kPeakHoldTrace) traces.PeakHoldCount = 0;
  } else if (selection.SelectedTrace == trace) {
    selection.SelectedTrace = -1;
    selection.SelectedPoint = 0;
  }
  return checked;
}

}  // namespace tavrix
