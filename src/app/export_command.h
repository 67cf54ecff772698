#pragma once
#include <iosfwd>
#include <string>
#include <vector>

#include "dsp/data_set_export.h"
#include "view/live_spectrum.h"

namespace tavrix {

// Capture block files larger than this are not blocks (a unit sends 8224 bytes).
inline constexpr size_t kMaxBlockFileBytes = 1 << 20;

// How the commands that read capture block files process them: as successive captures
// in the viewer, with the window option and the two trace switches.
struct BlockProcessing {
  bool WindowSpectrum = true;  // the stored default of the window option
  bool PeakHold = false;
  bool VideoAverage = false;
  std::vector<std::string> BlockFiles;
};

struct ExportOptions {
  DataSet Set = DataSet::Scaled;
  std::string OutFile;
  BlockProcessing Blocks;
};

class OptionReader;
// Takes the word the reader stands on when it is a block file, --window, --peak-hold or
// --video-average: true when taken, with `problem` saying what is wrong with it.
bool TakeBlockProcessingWord(OptionReader& reader, BlockProcessing& blocks, std::string& problem);
// Reads every block and processes them in order; an empty text, or what could not be read.
std::string ProcessBlockFiles(const BlockProcessing& blocks, LiveSpectrum& live);

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

}  // namespace tavrix
