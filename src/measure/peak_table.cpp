#include "measure/peak_table.h"

#include <cstdio>

#include "common/number_text.h"
#include "common/picture_format.h"
#include "dsp/point_navigation.h"
#include "measure/carrier_figures.h"

namespace tavrix {

std::vector<int> PeakWalk(const TraceSet& traces, int trace, float threshold, int count) {
  std::vector<int> points;
  for (int p = GetNextHighest(traces, trace); p != 0 && static_cast<int>(points.size()) < count;
       p = GetNextHighest(traces, trace, p)) {
    if (traces.AmpPoints[static_cast<size_t>(p - 1)][trace] < threshold) break;
    points.push_back(p);
  }
  return points;
}

std::vector<PeakRow> PeakRows(const TraceSet& traces, int trace, float threshold, int count, float freqScale,
                              std::optional<double> noiseDensity) {
  std::vector<PeakRow> rows;
  const double scale = freqScale;
  for (const int p : PeakWalk(traces, trace, threshold, count)) {
    const auto i = static_cast<size_t>(p - 1);
    PeakRow row{p, traces.FreqPoints[i][trace] / scale, traces.AmpPoints[i][trace], std::nullopt};
    if (noiseDensity && *noiseDensity > 0.0) row.AboveNoiseDb = row.LevelDb - PowerDb(*noiseDensity);
    rows.push_back(row);
  }
  return rows;
}

std::string PeakTableCsv(const std::vector<PeakRow>& rows, const std::string& freqFormat) {
  const bool aboveNoise = !rows.empty() && rows.front().AboveNoiseDb.has_value();
  const std::string picture = freqFormat.substr(0, freqFormat.find("MHz"));
  std::string text = aboveNoise ? "Point,Frequency,Level,AboveNoise\n" : "Point,Frequency,Level\n";
  char number[kMaxNumberText];
  for (const PeakRow& row : rows) {
    text.append(number, AppendInteger(number, row.Point));
    text += ',';
    text += FormatPicture(row.FrequencyMHz, picture);
    text += ',';
    text.append(number, AppendNumberText(number, row.LevelDb));
    if (aboveNoise) {
      char above[32];
      std::snprintf(above, sizeof above, ",%.3f", row.AboveNoiseDb.value_or(0.0));
      text += above;
    }
    text += '\n';
  }
  return text;
}

}  // namespace tavrix
