#include "app/command_line.h"

#include <algorithm>
#include <ostream>

#include "app/export_command.h"
#include "app/snapshot_command.h"

namespace tavrix {

std::string UsageText() {
  return "Usage:\n"
         "  tavrix-spectrum export --set SET [--window on|off] [--peak-hold] [--video-average]\n"
         "                         --out FILE BLOCK...\n"
         "  tavrix-spectrum snapshot --modem ADDR[:PORT] [--save-block FILE] [--set SET --out FILE]\n"
         "                         [--window on|off]\n"
         "  tavrix-spectrum --help\n"
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
         "snapshot  Asks a live unit for one capture and reads it, as one poll of the\n"
         "        viewer does, then saves the block exactly as read and/or writes a data\n"
         "        set as export does. Every network wait is bounded (a few seconds).\n"
         "  --modem ADDR[:PORT] the unit's address; port 21 unless given\n"
         "  --save-block FILE  the capture block, byte for byte\n";
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
    err << "tavrix-spectrum: the viewer window is not in this build yet; try --help\n";
    return 2;
  }
  const std::string& command = args[0];
  if (command == "--help" || command == "-h" || command == "help") {
    out << UsageText();
    return 0;
  }
  const std::vector<std::string> rest(args.begin() + 1, args.end());
  const bool wantsHelp = std::any_of(rest.begin(), rest.end(), [](const std::string& w) { return w == "--help" || w == "-h"; });
  if ((command == "export" || command == "snapshot") && wantsHelp) {
    out << UsageText();
    return 0;
  }
  if (command == "snapshot") return RunSubcommand<SnapshotOptions>(command, rest, ParseSnapshotOptions, RunSnapshot, out, err);
  if (command == "export") return RunSubcommand<ExportOptions>(command, rest, ParseExportOptions, RunExport, out, err);
  err << "tavrix-spectrum: unknown command \"" << command << "\" (see --help)\n";
  return 2;
}

}  // namespace tavrix
