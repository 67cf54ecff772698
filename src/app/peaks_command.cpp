#include "app/peaks_command.h"

#include <charconv>
#include <cmath>
#include <ostream>

#include "app/option_reader.h"
#include "common/number_text.h"
#include "common/picture_format.h"
#include "dsp/point_navigation.h"

namespace tavrix {

namespace {

constexpr const char* kTraceNames[] = {"current", "previous", "videoaverage", "peakhold"};

template <typename Number>
bool ReadNumber(const std::string& text, Number& value) {
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  return error == std::errc() && stop == end && !text.empty();
}

}  // namespace

std::string ParsePeaksOptions(const std::vector<std::string>& args, PeaksOptions& options) {
  OptionReader reader(args);
  while (reader.Next()) {
    const std::string& name = reader.Name();
    std::string problem, value;
    if (TakeBlockProcessingWord(reader, options.Blocks, problem)) {
      // a block file, or how the blocks are processed
    } else if (name == "--trace") {
      problem = reader.TakeValue(value);
      int trace = -1;
      for (int t = 0; t < kTraceCount; ++t)
        if (value == kTraceNames[t]) trace = t;
      if (problem.empty() && trace < 0)
        problem = "--trace must be current, previous, videoaverage or peakhold, not \"" + value + "\"";
      options.Trace = trace;
    } else if (name == "--threshold") {
      problem = reader.TakeValue(value);
      if (problem.empty() && (!ReadNumber(value, options.Threshold) || !std::isfinite(options.Threshold)))
        problem = "--threshold must be a level in dB, not \"" + value + "\"";
    } else if (name == "--count") {
      problem = reader.TakeValue(value);
      if (problem.empty() && (!ReadNumber(value, options.Count) || options.Count < 1 || options.Count > kPointCount))
        problem = "--count must be a whole number from 1 to 2048, not \"" + value + "\"";
    } else {
      problem = "unknown option " + reader.Word();
    }
    if (!problem.empty()) return problem;
  }
  if (options.Blocks.BlockFiles.empty()) return "at least one capture block file is required";
  return {};
}

std::vector<int> PeakWalk(const TraceSet& traces, int trace, float threshold, int count) {
  std::vector<int> points;
  // "Go to Highest Peak", then "Go to Previous Highest Peak" while there is a lower level.
  for (int p = GetNextHighest(traces, trace); p != 0 && static_cast<int>(points.size()) < count;
       p = GetNextHighest(traces, trace, p)) {
    if (traces.AmpPoints[static_cast<size_t>(p - 1)][trace] < threshold) break;
    points.push_back(p);
  }
  return points;
}

int RunPeaks(const PeaksOptions& options, std::ostream& out, std::ostream& err) {
  LiveSpectrum live;
  if (const std::string error = ProcessBlockFiles(options.Blocks, live); !error.empty()) {
    err << "tavrix-spectrum: " << error << "\n";
    return 1;
  }
  const TraceSet& traces = live.State.Traces;
  // Frequencies in MHz with the decimals the read-outs give them, without the unit.
  const CaptureFields& capture = live.State.Capture;
  const std::string picture = capture.FreqFormat.substr(0, capture.FreqFormat.find("MHz"));
  const double scale = capture.FreqScale;
  std::string text = "Point,Frequency,Level\n";
  char number[kMaxNumberText];
  for (const int p : PeakWalk(traces, options.Trace, options.Threshold, options.Count)) {
    const size_t i = static_cast<size_t>(p - 1);
    text.append(number, AppendInteger(number, p));
    text += ',';
    text += FormatPicture(traces.FreqPoints[i][options.Trace] / scale, picture);
    text += ',';
    text.append(number, AppendNumberText(number, traces.AmpPoints[i][options.Trace]));
    text += '\n';
  }
  out << text;
  return 0;
}

}  // namespace tavrix
