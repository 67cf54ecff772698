#pragma once
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include "dsp/data_set_export.h"
#include "history/capture_range.h"
#include "view/live_spectrum.h"

namespace tavrix {

// Capture block files larger than this are not blocks (a unit sends 8224 bytes).
inline constexpr size_t kMaxBlockFileBytes = 1 << 20;

// How the commands that read capture block files process them: as successive captures
// in the viewer, with the window option and the two trace switches. A recording given in
// place of a block stands for its captures, those between --from and --to.
struct BlockProcessing {
  bool WindowSpectrum = true;  // the stored default of the window option
  bool PeakHold = false;
  bool VideoAverage = false;
  std::vector<std::string> BlockFiles;  // capture block files and recordings, in order
  history::CaptureBound From, To;
};

struct ExportOptions {
  DataSet Set = DataSet::Scaled;
  std::string OutFile;
  BlockProcessing Blocks;
};

class OptionReader;
// Takes the word the reader stands on when it is a block file, --window, --peak-hold,
// --video-average, --from or --to: true when taken, with `problem` saying what is wrong.
bool TakeBlockProcessingWord(OptionReader& reader, BlockProcessing& blocks, std::string& problem);

// Called after each capture is processed, with its arrival time when it came from a
// recording; a text stops the processing with that problem.
using CaptureVisitor = std::function<std::string(const LiveSpectrum& live, std::optional<int64_t> timeMs)>;
// Reads every block and indexes every recording first, then processes the captures in
// order, a recording's one at a time. An empty text, or what could not be read. Captures
// of a recording that are damaged are passed over, and `notes` is told how many.
std::string ProcessBlockFiles(const BlockProcessing& blocks, LiveSpectrum& live, std::ostream& notes,
                              const CaptureVisitor& visit = {});

// The values of --set, --window and --trace; an empty text, or what is wrong.
std::string ParseSetOption(OptionReader& reader, DataSet& set);
std::string ParseWindowOption(OptionReader& reader, bool& windowSpectrum);
std::string ParseTraceOption(OptionReader& reader, int& trace);
// "current", "previous", "videoaverage" or "peakhold", as --trace names the trace.
const char* TraceOptionName(int trace);

// Reads the export options from the words after "export". Returns an empty text, or
// one line saying what is wrong.
std::string ParseExportOptions(const std::vector<std::string>& args, ExportOptions& options);

// Processes the blocks in order as successive captures and writes the data set.
// Every block is read before anything is computed, so a bad block writes nothing.
// Returns the exit status; says what it wrote on `out`, what went wrong on `err`.
int RunExport(const ExportOptions& options, std::ostream& out, std::ostream& err);

// Writes one data set file (replacing it) and says where it went, or why not. Returns
// the exit status.
int WriteDataSetFile(DataSet set, const std::string& outFile, const SpectrumState& state, std::ostream& out,
                     std::ostream& err);

// A path as the operator should read it: absolute when it can be made so.
std::string ShownPath(const std::string& path);

// The spectrum and view after processing the given block contents in order, as the
// viewer would: a fresh state with the chosen trace switches on; an empty block is
// skipped. The view is prepared as for a redraw.
LiveSpectrum ProcessBlocks(const std::vector<std::string>& blocks, bool windowSpectrum, bool peakHold,
                           bool videoAverage);
// A fresh live spectrum with the chosen trace switches on, before any capture.
LiveSpectrum FreshSpectrum(bool peakHold, bool videoAverage);

}  // namespace tavrix
