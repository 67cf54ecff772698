#include "app/export_command.h"

#include <filesystem>
#include <ostream>

#include "common/file_io.h"
#include "app/option_reader.h"

namespace tavrix {

namespace {
constexpr const char* kSetNames = "raw, transformed, scaled, peakhold or videoaverage";
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

std::string ParseExportOptions(const std::vector<std::string>& args, ExportOptions& options) {
  bool haveSet = false;
  OptionReader reader(args);
  while (reader.Next()) {
    const std::string& name = reader.Name();
    std::string problem;
    if (!reader.IsOption()) {
      options.BlockFiles.push_back(reader.Word());
    } else if (name == "--set") {
      problem = ParseSetOption(reader, options.Set);
      haveSet = true;
    } else if (name == "--window") {
      problem = ParseWindowOption(reader, options.WindowSpectrum);
    } else if (name == "--out") {
      problem = reader.TakeValue(options.OutFile);
      if (problem.empty() && options.OutFile.empty()) problem = "--out needs a file name";
    } else if ((name == "--peak-hold" || name == "--video-average") && !reader.HasInlineValue()) {
      (name == "--peak-hold" ? options.PeakHold : options.VideoAverage) = true;
    } else {
      problem = "unknown option " + reader.Word();
    }
    if (!problem.empty()) return problem;
  }
  if (!haveSet) return "--set is required (" + std::string(kSetNames) + ")";
  if (options.OutFile.empty()) return "--out FILE is required";
  if (options.BlockFiles.empty()) return "at least one capture block file is required";
  return {};
}

SpectrumState ProcessBlocks(const std::vector<std::string>& blocks, bool windowSpectrum, bool peakHold,
                            bool videoAverage) {
  SpectrumState state;
  Selection selection;
  state.Traces.TraceVisible[kCurrentTrace] = true;
  if (peakHold) SwitchTrace(state.Traces, selection, kPeakHoldTrace);
  if (videoAverage) SwitchTrace(state.Traces, selection, kVideoAverageTrace);
  VerticalWindow window;
  for (const std::string& block : blocks) {
    // An empty read is never parsed: the acquisition cycle skips it.
    if (block.empty()) continue;
    ParseBlock(block, state.Capture);
    UpdateSpectrum(state, window, windowSpectrum);
  }
  return state;
}

int RunExport(const ExportOptions& options, std::ostream& out, std::ostream& err) {
  std::vector<std::string> blocks(options.BlockFiles.size());
  for (size_t i = 0; i < blocks.size(); ++i) {
    const std::string error = ReadFileCapped(options.BlockFiles[i], kMaxBlockFileBytes, blocks[i]);
    if (!error.empty()) {
      err << "tavrix-spectrum: cannot read capture block " << options.BlockFiles[i] << ": " << error << "\n";
      return 1;
    }
  }
  const SpectrumState state = ProcessBlocks(blocks, options.WindowSpectrum, options.PeakHold, options.VideoAverage);
  return WriteDataSetFile(options.Set, options.OutFile, state, out, err);
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
