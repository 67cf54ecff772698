#include "app/export_command.h"

#include <filesystem>
#include <ostream>

#include "common/file_io.h"

namespace tavrix {

namespace {

constexpr const char* kSetNames = "raw, transformed, scaled, peakhold or videoaverage";

// Splits "--name=value" into name and value; a plain "--name" has no inline value.
bool SplitInline(const std::string& word, std::string& name, std::string& value) {
  const size_t eq = word.find('=');
  if (word.rfind("--", 0) != 0 || eq == std::string::npos) {
    name = word;
    return false;
  }
  name = word.substr(0, eq);
  value = word.substr(eq + 1);
  return true;
}

}  // namespace

std::string ParseExportOptions(const std::vector<std::string>& args, ExportOptions& options) {
  bool haveSet = false;
  bool optionsEnded = false;
  for (size_t i = 0; i < args.size(); ++i) {
    std::string name, value;
    const bool hasInline = !optionsEnded && SplitInline(args[i], name, value);
    auto takeValue = [&](std::string& into) -> std::string {
      if (hasInline) {
        into = value;
        return {};
      }
      if (i + 1 >= args.size()) return name + " needs a value";
      into = args[++i];
      return {};
    };

    if (optionsEnded || name.empty() || name[0] != '-' || name == "-") {
      options.BlockFiles.push_back(args[i]);
    } else if (name == "--") {
      optionsEnded = true;
    } else if (name == "--set") {
      std::string setName;
      if (auto e = takeValue(setName); !e.empty()) return e;
      const auto set = DataSetNamed(setName);
      if (!set) return "--set must be " + std::string(kSetNames) + ", not \"" + setName + "\"";
      options.Set = *set;
      haveSet = true;
    } else if (name == "--window") {
      std::string onOff;
      if (auto e = takeValue(onOff); !e.empty()) return e;
      if (onOff != "on" && onOff != "off") return "--window must be on or off, not \"" + onOff + "\"";
      options.WindowSpectrum = onOff == "on";
    } else if (name == "--out") {
      if (auto e = takeValue(options.OutFile); !e.empty()) return e;
      if (options.OutFile.empty()) return "--out needs a file name";
    } else if ((name == "--peak-hold" || name == "--video-average") && !hasInline) {
      (name == "--peak-hold" ? options.PeakHold : options.VideoAverage) = true;
    } else {
      return "unknown option " + args[i];
    }
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
  const ExportResult result = WriteDataSet(options.Set, options.OutFile, state, nullptr);
  if (result.outcome != ExportResult::Written) {
    err << "tavrix-spectrum: " << result.message << "\n";
    return 1;
  }
  std::error_code ec;
  const auto where = std::filesystem::absolute(options.OutFile, ec);
  out << "Wrote the " << InfoOf(options.Set).Name << " data set (" << InfoOf(options.Set).PointCount
      << " points) to " << (ec ? options.OutFile : where.string()) << "\n";
  return 0;
}

}  // namespace tavrix
