#include "app/command_line.h"

#include <algorithm>
#include <ostream>
#include <set>

#include "app/export_command.h"
#include "app/peaks_command.h"
#include "app/render_command.h"
#include "app/snapshot_command.h"
#include "app/version.h"

namespace tavrix {

std::string UsageText() {
  return "Usage:\n"
         "  tavrix-spectrum [--demo]\n"
         "  tavrix-spectrum export --set SET [--window on|off] [--peak-hold] [--video-average]\n"
         "                         --out FILE BLOCK...\n"
         "  tavrix-spectrum render --png FILE [--size WxH] [--scale 1|2] [--palette 0|1]\n"
         "                         [--window on|off] [--peak-hold] [--video-average] BLOCK...\n"
         "  tavrix-spectrum peaks [--trace current|previous|videoaverage|peakhold] [--threshold DB]\n"
         "                        [--count N] [--window on|off] [--peak-hold] [--video-average] BLOCK...\n"
         "  tavrix-spectrum snapshot --modem ADDR[:PORT] [--save-block FILE] [--set SET --out FILE]\n"
         "                         [--png FILE] [--window on|off]\n"
         "  tavrix-spectrum --help | --version\n"
         "\n"
         "With no command the viewer opens: a live spectrum analyzer display of the unit in use.\n"
         "  --demo             start a simulated unit on this machine and show its live spectrum\n"
         "                     (needs Python 3 with pyftpdlib)\n"
         "\n"
         "export  Processes each capture block file in order, as successive captures are\n"
         "        processed in the viewer, and writes one data set as File > Export does.\n"
         "  --set SET          raw, transformed, scaled, peakhold or videoaverage\n"
         "  --window on|off    window the samples before the transform (default on)\n"
         "  --peak-hold        peak hold trace on from the first block\n"
         "  --video-average    video average trace on from the first block\n"
         "  --out FILE         the data set file to write (replaced when it exists)\n"
         "  BLOCK...           capture block files; an empty file is skipped\n"
         "\n"
         "render  Processes the blocks as export does and draws the plot as the viewer shows\n"
         "        it after the last capture, into a PNG file; no display is needed.\n"
         "  --png FILE         the picture to write (replaced when it exists)\n"
         "  --size WxH         the plot's size in pixels (default 1280x720)\n"
         "  --scale 1|2        device pixel ratio: 2 draws twice as many pixels each way\n"
         "  --palette 0|1      0 the viewing colours (default), 1 the printing colours\n"
         "  --window, --peak-hold, --video-average, BLOCK...   as for export\n"
         "\n"
         "peaks   Processes the blocks as export does and prints the points the viewer's peak\n"
         "        moves visit going down from the highest: \"Point,Frequency,Level\", then a line\n"
         "        per point: the frequency in MHz with the read-outs' decimals, the level as\n"
         "        in the exports.\n"
         "  --trace TRACE      current (default), previous, videoaverage or peakhold\n"
         "  --threshold DB     stop below this level (default 0, the minimum peak threshold)\n"
         "  --count N          at most N points, 1 to 2048 (default 10)\n"
         "  --window, --peak-hold, --video-average, BLOCK...   as for export\n"
         "\n"
         "snapshot  Asks a live unit for one capture and reads it, as one poll of the\n"
         "        viewer does, then saves the block exactly as read, writes a data set as\n"
         "        export does and/or draws it as render does. Every network wait is bounded;\n"
         "        a read that is empty or shorter than the size the unit gave saves nothing.\n"
         "  --modem ADDR[:PORT] the unit's address (a name, 10.0.0.5 or [fe80::5]); port 21\n"
         "                     unless given\n"
         "  --save-block FILE  the capture block, byte for byte\n"
         "  --set SET --out FILE  a data set of the capture, as export writes it\n"
         "  --png FILE         a picture of the capture, as render draws it\n"
         "  --window on|off    window the samples before the transform (default on)\n"
         "\n"
         "Errors print one line on stderr; the status is 1 when the work failed and 2 when\n"
         "the command line was refused.\n";
}

bool IsCommand(const std::vector<std::string>& args) {
  static const std::set<std::string> kCommands = {"export", "render", "peaks", "snapshot", "help", "--help", "-h", "--version"};
  return !args.empty() && kCommands.count(args[0]) > 0;
}

namespace {

// Reads a command's options, then runs it; a bad option is one line and status 2.
template <typename Options, typename Parse, typename Run>
int RunSubcommand(const std::string& command, const std::vector<std::string>& args, Parse parse, Run run,
                  std::ostream& out, std::ostream& err) {
  Options options;
  const std::string problem = parse(args, options);
  if (!problem.empty()) {
    err << "tavrix-spectrum: " << command << ": " << problem << " (see --help)\n";
    return 2;
  }
  return run(options, out, err);
}

}  // namespace

int RunCommandLine(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  if (args.empty()) {
    err << "tavrix-spectrum: no command given (see --help)\n";
    return 2;
  }
  const std::string& command = args[0];
  if (command == "--help" || command == "-h" || command == "help") {
    out << UsageText();
    return 0;
  }
  if (command == "--version") {
    out << "tavrix-spectrum " << kVersion << "\n";
    return 0;
  }
  const std::vector<std::string> rest(args.begin() + 1, args.end());
  const bool wantsHelp = std::any_of(rest.begin(), rest.end(), [](const std::string& w) { return w == "--help" || w == "-h"; });
  if (wantsHelp) {
    out << UsageText();
    return 0;
  }
  if (command == "snapshot") return RunSubcommand<SnapshotOptions>(command, rest, ParseSnapshotOptions, RunSnapshot, out, err);
  if (command == "export") return RunSubcommand<ExportOptions>(command, rest, ParseExportOptions, RunExport, out, err);
  if (command == "render") return RunSubcommand<RenderOptions>(command, rest, ParseRenderOptions, RunRender, out, err);
  if (command == "peaks") return RunSubcommand<PeaksOptions>(command, rest, ParsePeaksOptions, RunPeaks, out, err);
  err << "tavrix-spectrum: unknown command \"" << command << "\" (see --help)\n";
  return 2;
}

}  // namespace tavrix
