#pragma once
#include <iosfwd>
#include <string>
#include <vector>

#include "dsp/data_set_export.h"
#include "view/live_spectrum.h"

namespace tavrix {

// Capture block files larger than this are not blocks (a unit sends 8224 bytes).
inline constexpr size_t kMaxBlockFileBytes = 1 << 20;

struct ExportOptions {
  DataSet Set = DataSet::Scaled;
  bool WindowSpectrum = true;  // the stored default of the window option
  bool PeakHold = false;
  bool VideoAverage = false;
  std::string OutFile;
  std::vector<std::string> BlockFiles;
};

class OptionReader;
// The values of --set and --window; an empty text, or what is wrong.
std::string ParseSetOption(OptionReader& reader, DataSet& set);
std::string ParseWindowOption(OptionReader& reader, bool& windowSpectrum);

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

// Reads every block file (each at most kMaxBlockFileBytes) before anything is computed.
// Returns an empty text, or what could not be read.
std::string ReadBlockFiles(const std::vector<std::string>& files, std::vector<std::string>& blocks);

}  // namespace tavrix
