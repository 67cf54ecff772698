#include "app/peaks_command.h"

#include <cmath>
#include <ostream>

#include "app/option_reader.h"
#include "measure/peak_table.h"

namespace tavrix {

std::string ParsePeaksOptions(const std::vector<std::string>& args, PeaksOptions& options) {
  OptionReader reader(args);
  while (reader.Next()) {
    const std::string& name = reader.Name();
    std::string problem, value;
    if (TakeBlockProcessingWord(reader, options.Blocks, problem)) {
      // a block file, or how the blocks are processed
    } else if (name == "--trace") {
      problem = ParseTraceOption(reader, options.Trace);
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
  if (options.Blocks.BlockFiles.empty()) return "at least one capture block file or recording is required";
  return {};
}

int RunPeaks(const PeaksOptions& options, std::ostream& out, std::ostream& err) {
  LiveSpectrum live;
  if (const std::string error = ProcessBlockFiles(options.Blocks, live, err); !error.empty()) {
    err << "tavrix-spectrum: " << error << "\n";
    return 1;
  }
  const CaptureFields& capture = live.State.Capture;
  const std::vector<PeakRow> rows =
      PeakRows(live.State.Traces, options.Trace, options.Threshold, options.Count, capture.FreqScale, std::nullopt);
  out << PeakTableCsv(rows, capture.FreqFormat);
  return 0;
}

}  // namespace tavrix
