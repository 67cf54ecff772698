#include "app/measure_command.h"

#include <cmath>
#include <ostream>

#include "app/option_reader.h"

namespace tavrix {

namespace {

// "F1:F2" in MHz, the lower first.
std::string ParseBandOption(OptionReader& reader, BandMHz& band) {
  const std::string option = reader.Name();
  std::string value;
  if (auto e = reader.TakeValue(value); !e.empty()) return e;
  const size_t colon = value.find(':');
  const bool read = colon != std::string::npos && ReadNumber(value.substr(0, colon), band.Low) &&
                    ReadNumber(value.substr(colon + 1), band.High) && std::isfinite(band.Low) &&
                    std::isfinite(band.High);
  if (!read) return option + " must be two frequencies in MHz as F1:F2, not \"" + value + "\"";
  if (band.Low > band.High) return option + " " + value + " is reversed: give the lower frequency first";
  return {};
}

}  // namespace

std::string ParseMeasureOptions(const std::vector<std::string>& args, MeasureOptions& options) {
  OptionReader reader(args);
  while (reader.Next()) {
    const std::string& name = reader.Name();
    std::string problem;
    if (TakeBlockProcessingWord(reader, options.Blocks, problem)) {
      // a block file, or how the blocks are processed
    } else if (name == "--band") {
      problem = ParseBandOption(reader, options.Bands.emplace_back());
    } else if (name == "--noise") {
      problem = ParseBandOption(reader, options.Noise.emplace_back());
    } else if (name == "--trace") {
      problem = ParseTraceOption(reader, options.Trace);
    } else {
      problem = "unknown option " + reader.Word();
    }
    if (!problem.empty()) return problem;
  }
  if (options.Bands.empty()) return "at least one --band F1:F2 is required";
  if (options.Trace == kVideoAverageTrace && !options.Blocks.VideoAverage)
    return "--trace videoaverage needs --video-average, or the trace stays empty";
  if (options.Trace == kPeakHoldTrace && !options.Blocks.PeakHold)
    return "--trace peakhold needs --peak-hold, or the trace stays empty";
  if (options.Blocks.BlockFiles.empty()) return "at least one capture block file or recording is required";
  return {};
}

int RunMeasure(const MeasureOptions& options, std::ostream& out, std::ostream& err) {
  LiveSpectrum live;
  if (const std::string error = ProcessBlockFiles(options.Blocks, live, err); !error.empty()) {
    err << "tavrix-spectrum: " << error << "\n";
    return 1;
  }
  const CaptureFields& capture = live.State.Capture;
  const MeasuredTrace trace(live.State.Traces, options.Trace, capture.FreqScale);
  // A trace never written holds 2048 points at 0 MHz: the previous trace after one capture.
  bool written = false;
  for (int k = 0; k < kPointCount && !written; ++k) written = trace.FrequencyMHz(k) != 0.0;
  if (!written) {
    err << "tavrix-spectrum: the " << TraceOptionName(options.Trace) << " trace holds no capture"
        << (options.Trace == kPreviousTrace ? " yet: it needs two capture blocks\n" : ": every block was empty\n");
    return 1;
  }
  const BandMHz shown = ShownBand(capture.FreqLow, capture.FreqHigh, capture.FreqScale);
  std::string problem;
  for (size_t b = 0; b < options.Noise.size() && problem.empty(); ++b)
    problem = BandProblem(trace, options.Noise[b], shown, "noise band");
  for (size_t b = 0; b < options.Bands.size() && problem.empty(); ++b)
    problem = BandProblem(trace, options.Bands[b], shown, "band");
  if (!problem.empty()) {
    err << "tavrix-spectrum: " << problem << " (" << TraceOptionName(options.Trace) << " trace)\n";
    return 1;
  }
  const std::optional<double> noise =
      options.Noise.empty() ? std::nullopt : MeanNoiseDensity(trace, options.Noise);
  std::string text = MeasurementCsvHeader();
  for (const BandMHz& band : options.Bands) text += MeasurementCsvLine(band, *MeasureCarrier(trace, band), noise);
  out << text;
  return 0;
}

}  // namespace tavrix
