#include "app/export_command.h"

#include <filesystem>
#include <ostream>

#include "common/file_io.h"
#include "app/option_reader.h"

namespace tavrix {

namespace {
constexpr const char* kSetNames = "raw, transformed, scaled, peakhold or videoaverage";
constexpr const char* kTraceNames[kTraceCount] = {"current", "previous", "videoaverage", "peakhold"};
}  // namespace

std::string ParseSetOption(OptionReader& reader, DataSet& set) {
  std::string setName;
  if (auto e = reader.TakeValue(setName); !e.empty()) return e;
  const auto named = DataSetNamed(setName);
  if (!named) return "--set must be " + std::string(kSetNames) + ", not \"" + setName + "\"";
  set = *named;
  return {};
}

std::string ParseWindowOption(OptionReader& reader, bool& windowSpectrum) {
  std::string onOff;
  if (auto e = reader.TakeValue(onOff); !e.empty()) return e;
  if (onOff != "on" && onOff != "off") return "--window must be on or off, not \"" + onOff + "\"";
  windowSpectrum = onOff == "on";
  return {};
}

std::string ParseTraceOption(OptionReader& reader, int& trace) {
  std::string name;
  if (auto e = reader.TakeValue(name); !e.empty()) return e;
  for (int t = 0; t < kTraceCount; ++t)
    if (name == kTraceNames[t]) {
      trace = t;
      return {};
    }
  return "--trace must be current, previous, videoaverage or peakhold, not \"" + name + "\"";
}

const char* TraceOptionName(int trace) { return kTraceNames[trace >= 0 && trace < kTraceCount ? trace : 0]; }

bool TakeBlockProcessingWord(OptionReader& reader, BlockProcessing& blocks, std::string& problem) {
  const std::string& name = reader.Name();
  if (!reader.IsOption()) {
    blocks.BlockFiles.push_back(reader.Word());
  } else if (name == "--window") {
    problem = ParseWindowOption(reader, blocks.WindowSpectrum);
  } else if ((name == "--peak-hold" || name == "--video-average") && !reader.HasInlineValue()) {
    (name == "--peak-hold" ? blocks.PeakHold : blocks.VideoAverage) = true;
  } else {
    return false;
  }
  return true;
}

std::string ParseExportOptions(const std::vector<std::string>& args, ExportOptions& options) {
  bool haveSet = false;
  OptionReader reader(args);
  while (reader.Next()) {
    const std::string& name = reader.Name();
    std::string problem;
    if (TakeBlockProcessingWord(reader, options.Blocks, problem)) {
      // a block file, or how the blocks are processed
    } else if (name == "--set") {
      problem = ParseSetOption(reader, options.Set);
      haveSet = true;
    } else if (name == "--out") {
      problem = reader.TakeValue(options.OutFile);
      if (problem.empty() && options.OutFile.empty()) problem = "--out needs a file name";
    } else {
      problem = "unknown option " + reader.Word();
    }
    if (!problem.empty()) return problem;
  }
  if (!haveSet) return "--set is required (" + std::string(kSetNames) + ")";
  if (options.OutFile.empty()) return "--out FILE is required";
  if (options.Blocks.BlockFiles.empty()) return "at least one capture block file is required";
  return {};
}

LiveSpectrum ProcessBlocks(const std::vector<std::string>& blocks, bool windowSpectrum, bool peakHold,
                           bool videoAverage) {
  LiveSpectrum live;
  Selection selection;
  live.State.Traces.TraceVisible[kCurrentTrace] = true;
  if (peakHold) SwitchTrace(live.State.Traces, selection, kPeakHoldTrace);
  if (videoAverage) SwitchTrace(live.State.Traces, selection, kVideoAverageTrace);
  for (const std::string& block : blocks) {
    // An empty read is never parsed: the acquisition cycle skips it.
    if (!block.empty()) live.ProcessBlock(block, windowSpectrum);
  }
  live.View.PrepareRedraw();
  return live;
}

std::string ProcessBlockFiles(const BlockProcessing& blocks, LiveSpectrum& live) {
  std::vector<std::string> contents(blocks.BlockFiles.size());
  for (size_t i = 0; i < contents.size(); ++i) {
    const std::string error = ReadFileCapped(blocks.BlockFiles[i], kMaxBlockFileBytes, contents[i]);
    if (!error.empty()) return "cannot read capture block " + blocks.BlockFiles[i] + ": " + error;
  }
  live = ProcessBlocks(contents, blocks.WindowSpectrum, blocks.PeakHold, blocks.VideoAverage);
  return {};
}

int RunExport(const ExportOptions& options, std::ostream& out, std::ostream& err) {
  LiveSpectrum live;
  if (const std::string error = ProcessBlockFiles(options.Blocks, live); !error.empty()) {
    err << "tavrix-spectrum: " << error << "\n";
    return 1;
  }
  return WriteDataSetFile(options.Set, options.OutFile, live.State, out, err);
}

std::string ShownPath(const std::string& path) {
  std::error_code ec;
  const auto absolute = std::filesystem::absolute(path, ec);
  return ec ? path : absolute.string();
}

int WriteDataSetFile(DataSet set, const std::string& outFile, const SpectrumState& state, std::ostream& out,
                     std::ostream& err) {
  const ExportResult result = WriteDataSet(set, outFile, state, nullptr);
  if (result.outcome != ExportResult::Written) {
    err << "tavrix-spectrum: " << result.message << "\n";
    return 1;
  }
  out << "Wrote the " << InfoOf(set).Name << " data set (" << InfoOf(set).PointCount << " points) to "
      << ShownPath(outFile) << "\n";
  return 0;
}

}  // namespace tavrix
