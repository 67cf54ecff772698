#include "app/export_command.h"

#include <filesystem>
#include <fstream>
#include <memory>
#include <ostream>

#include "app/option_reader.h"
#include "common/file_io.h"
#include "history/recording_reader.h"

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
  } else if (name == "--from" || name == "--to") {
    std::string text;
    problem = reader.TakeValue(text);
    if (problem.empty()) problem = history::ParseCaptureBound(text, name == "--from" ? blocks.From : blocks.To);
    if (!problem.empty()) problem = name + ": " + problem;
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
  if (options.Blocks.BlockFiles.empty()) return "at least one capture block file or recording is required";
  return {};
}

LiveSpectrum FreshSpectrum(bool peakHold, bool videoAverage) {
  LiveSpectrum live;
  Selection selection;
  live.State.Traces.TraceVisible[kCurrentTrace] = true;
  if (peakHold) SwitchTrace(live.State.Traces, selection, kPeakHoldTrace);
  if (videoAverage) SwitchTrace(live.State.Traces, selection, kVideoAverageTrace);
  return live;
}

LiveSpectrum ProcessBlocks(const std::vector<std::string>& blocks, bool windowSpectrum, bool peakHold,
                           bool videoAverage) {
  LiveSpectrum live = FreshSpectrum(peakHold, videoAverage);
  for (const std::string& block : blocks) {
    // An empty read is never parsed: the acquisition cycle skips it.
    if (!block.empty()) live.ProcessBlock(block, windowSpectrum);
  }
  live.View.PrepareRedraw();
  return live;
}

namespace {

// One input of a command: a capture block's bytes, or a recording and the captures picked.
struct CaptureSource {
  std::string Path;
  std::string Block;
  std::unique_ptr<history::RecordingReader> Recording;
  std::vector<size_t> Picked;
};

// A recording is told by its first bytes; a block never starts so (its header would also
// have to carry a matching checksum to be read as one).
bool StartsAsRecording(const std::string& path) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) return false;
  std::ifstream file(path, std::ios::binary);
  std::string start(history::kFileMagic.size(), '\0');
  return file.read(start.data(), static_cast<std::streamsize>(start.size())) && start == history::kFileMagic;
}

std::string LoadSource(const std::string& path, const BlockProcessing& blocks, CaptureSource& source) {
  source.Path = path;
  if (!StartsAsRecording(path)) {
    const std::string error = ReadFileCapped(path, kMaxBlockFileBytes, source.Block);
    return error.empty() ? error : "cannot read capture block " + path + ": " + error;
  }
  source.Recording = std::make_unique<history::RecordingReader>();
  if (const std::string error = source.Recording->Open(path); !error.empty())
    return "cannot read the recording " + path + ": " + error;
  source.Picked = history::PickCaptures(source.Recording->Entries(), blocks.From, blocks.To);
  if (source.Recording->Count() == 0) return "the recording " + path + " holds no capture";
  if (source.Picked.empty())
    return "none of the " + std::to_string(source.Recording->Count()) + " captures of the recording " + path +
           " lies between --from and --to";
  return {};
}

}  // namespace

std::string ProcessBlockFiles(const BlockProcessing& blocks, LiveSpectrum& live, std::ostream& notes,
                              const CaptureVisitor& visit) {
  std::vector<CaptureSource> sources(blocks.BlockFiles.size());
  bool anyRecording = false;
  for (size_t i = 0; i < sources.size(); ++i) {
    if (std::string error = LoadSource(blocks.BlockFiles[i], blocks, sources[i]); !error.empty()) return error;
    anyRecording = anyRecording || sources[i].Recording != nullptr;
  }
  const bool ranged = blocks.From.Is != history::CaptureBound::Kind::Open || blocks.To.Is != history::CaptureBound::Kind::Open;
  if (ranged && !anyRecording) return "--from and --to pick captures of a recording, and no recording was given";

  live = FreshSpectrum(blocks.PeakHold, blocks.VideoAverage);
  std::string block, problem;
  auto process = [&](std::string_view bytes, std::optional<int64_t> timeMs) {
    // An empty read is never parsed: the acquisition cycle skips it.
    if (bytes.empty()) return true;
    live.ProcessBlock(bytes, blocks.WindowSpectrum);
    if (visit) problem = visit(live, timeMs);
    return problem.empty();
  };
  for (CaptureSource& source : sources) {
    if (!source.Recording) {
      if (!process(source.Block, std::nullopt)) return problem;
      continue;
    }
    size_t damaged = 0;
    for (const size_t index : source.Picked) {
      if (!source.Recording->Block(index, block)) {
        ++damaged;
      } else if (!process(block, source.Recording->Entry(index).TimeMs)) {
        return problem;
      }
    }
    if (damaged > 0)
      notes << "tavrix-spectrum: " << damaged << " of the " << source.Picked.size() << " captures taken from "
            << source.Path << " are damaged and were passed over\n";
  }
  live.View.PrepareRedraw();
  return {};
}

int RunExport(const ExportOptions& options, std::ostream& out, std::ostream& err) {
  LiveSpectrum live;
  if (const std::string error = ProcessBlockFiles(options.Blocks, live, err); !error.empty()) {
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
