#pragma once
#include <string>

#include "dsp/trace_set.h"

namespace tavrix {

// A level as the read-outs show it: the "Amplitude" panel and the cursor read-outs.
inline constexpr const char* kReadoutLevelPicture = "0.000dB";
// A plot frequency as the read-outs and the frequency box show it: in the capture's unit
// (`freqScale` plot units to it) and its format.
std::string FrequencyReadout(double plotX, double freqScale, const std::string& freqFormat);

// What the status panels say about the selected point: "CurPoint", "Frequency",
// "Amplitude" and "CurTrace" with its picture. A click and every capture write the same.
struct SelectionReadout {
  std::string Point;
  std::string Frequency;  // in MHz, with the capture's frequency format
  std::string Amplitude;  // "0.000dB"
  std::string Trace;      // the trace's name, or "None"
  std::string Picture;    // "CurTrace", "LastTrace", "VideoAverage", "PeakHold" or "None"
};

SelectionReadout ReadSelection(const TraceSet& traces, const Selection& selection, float freqScale,
                               const std::string& freqFormat);

}  // namespace tavrix
