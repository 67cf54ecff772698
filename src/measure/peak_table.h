#pragma once
// The peak table: the points the viewer's "Peak Points" moves visit going down from the
// highest, with their frequency, level and, where the noise is known, the level above it.
#include <optional>
#include <string>
#include <vector>

#include "dsp/trace_set.h"

namespace tavrix {

// The highest point of the trace, then the next lower level again and again (the search
// of "Go to Previous Highest Peak"), while levels stay at or above the threshold, at most
// `count` points.
std::vector<int> PeakWalk(const TraceSet& traces, int trace, float threshold, int count);

struct PeakRow {
  int Point = 0;
  double FrequencyMHz = 0.0;  // as the axis shows it
  float LevelDb = 0.0f;
  std::optional<double> AboveNoiseDb;  // the level over the noise density, when known
};

// The walk as table rows; `noiseDensity` is a linear power per point, or nothing.
std::vector<PeakRow> PeakRows(const TraceSet& traces, int trace, float threshold, int count, float freqScale,
                              std::optional<double> noiseDensity);

// The rows as CSV lines: "Point,Frequency,Level" (",AboveNoise" when the first row has
// it), then a line a row: the frequency in MHz with the decimals of the capture's
// frequency format (a picture such as "##0.0000MHz"), the level as the exports write it,
// the level above the noise with three decimals.
std::string PeakTableCsv(const std::vector<PeakRow>& rows, const std::string& freqFormat);

}  // namespace tavrix
