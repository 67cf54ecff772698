#include "app/command_line.h"

#include <algorithm>
#include <ostream>
#include <set>

#include "app/export_command.h"
#include "app/measure_command.h"
#include "app/monitor_command.h"
#include "app/peaks_command.h"
#include "app/record_command.h"
#include "app/render_command.h"
#include "app/snapshot_command.h"
#include "app/version.h"

namespace tavrix {

std::string UsageText() {
  return "Usage:\n"
         "  tavrix-spectrum [--demo]\n"
         "  tavrix-spectrum export --set SET [--window on|off] [--peak-hold] [--video-average]\n"
         "                         [--from TIME] [--to TIME] --out FILE BLOCK|RECORDING...\n"
         "  tavrix-spectrum render --png FILE [--size WxH] [--scale 1|2] [--palette 0|1]\n"
         "                         [--window on|off] [--peak-hold] [--video-average] BLOCK...\n"
         "  tavrix-spectrum render --waterfall --png FILE [--size WxH] [--scale 1|2] [--palette 0|1]\n"
         "                         [--levels auto|LOW:HIGH] [--color-map perceptual|palette]\n"
         "                         [--window on|off] [--from TIME] [--to TIME] RECORDING...\n"
         "  tavrix-spectrum peaks [--trace current|previous|videoaverage|peakhold] [--threshold DB]\n"
         "                        [--count N] [--window on|off] [--peak-hold] [--video-average] BLOCK...\n"
         "  tavrix-spectrum measure --band F1:F2 [--band F1:F2 ...] [--noise N1:N2 ...]\n"
         "                          [--trace current|previous|videoaverage|peakhold]\n"
         "                          [--window on|off] [--peak-hold] [--video-average] BLOCK...\n"
         "  tavrix-spectrum snapshot --modem ADDR[:PORT] [--save-block FILE] [--set SET --out FILE]\n"
         "                         [--png FILE] [--window on|off]\n"
         "  tavrix-spectrum record --modem ADDR[:PORT] --out FILE [--name NAME] [--every SECONDS]\n"
         "                         [--count N | --for DURATION]\n"
         "  tavrix-spectrum monitor --config FILE | --check-config FILE\n"
         "  tavrix-spectrum --help | --version\n"
         "Wherever BLOCK... is taken, recordings may stand among the blocks, and --from TIME\n"
         "and --to TIME pick their captures (see export).\n"
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
         "  RECORDING          a recording (made by record or by the viewer) stands for its\n"
         "                     captures, in the order they arrived; damaged ones are passed\n"
         "                     over and counted in a line on stderr\n"
         "  --from TIME, --to TIME  only the captures of each recording from and to these,\n"
         "                     both included: 2026-11-25T06:00:00Z (UTC; seconds optional,\n"
         "                     or an offset such as +01:00 for Z), 06:00:00 (that time of day,\n"
         "                     UTC, on the day of the recording's first capture) or #N (the\n"
         "                     N-th capture, #1 the first)\n"
         "\n"
         "render  Processes the blocks as export does and draws the plot as the viewer shows\n"
         "        it after the last capture, into a PNG file; no display is needed.\n"
         "  --png FILE         the picture to write (replaced when it exists)\n"
         "  --size WxH         the plot's size in pixels (default 1280x720)\n"
         "  --scale 1|2        device pixel ratio: 2 draws twice as many pixels each way\n"
         "  --palette 0|1      0 the viewing colours (default), 1 the printing colours\n"
         "  --window, --peak-hold, --video-average, BLOCK...   as for export\n"
         "  --waterfall        draw the waterfall of recordings instead: a row a capture,\n"
         "                     newest at the top, as many as fit, across the band of the\n"
         "                     last capture, with the times on the left\n"
         "  --levels auto|LOW:HIGH  the levels of the first and last colour: the plot's\n"
         "                     levels after the last capture (default), or from the rows\n"
         "                     (auto), or given in dB\n"
         "  --color-map perceptual|palette  dark blue to yellow (default), or from the\n"
         "                     palette's background to its current-trace colour\n"
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
         "measure Processes the blocks as export does and measures carriers on one trace:\n"
         "        \"Band,Points,ChannelPower,PeakFrequency,PeakLevel,CentreFrequency,\n"
         "        OccupiedBandwidth,NoiseDensity,CN\", then a line a band in the order given.\n"
         "        A band holds the points whose frequency (MHz, as the axis shows it) lies\n"
         "        within it, edges included; p = 10^(level/10) is a point's power.\n"
         "        ChannelPower    10 log10 of the sum of p over the band (relative dB)\n"
         "        PeakFrequency, PeakLevel  the highest point (of equal ones the lowest)\n"
         "        CentreFrequency the frequencies weighted by p\n"
         "        OccupiedBandwidth  walking up the band, from the first point where the\n"
         "                        running sum of p reaches 0.5 % of the total to the\n"
         "                        first where it reaches 99.5 %\n"
         "        NoiseDensity    10 log10 of the mean p over the noise band\n"
         "        CN              10 log10 of the band's power above its noise against\n"
         "                        that noise; \"below noise\" when there is none above\n"
         "        Frequencies in MHz with 6 decimals, levels in dB with 3; NoiseDensity and\n"
         "        CN are empty without --noise.\n"
         "  --band F1:F2       a band to measure, in MHz (repeat for more bands)\n"
         "  --noise N1:N2      the noise band, in MHz: a stretch with no carrier; give it\n"
         "                     again to add stretches (either side of a carrier where the\n"
         "                     floor slopes): the mean runs over the points of them all\n"
         "  --trace TRACE      current (default), previous, videoaverage (needs\n"
         "                     --video-average) or peakhold (needs --peak-hold)\n"
         "  --window, --peak-hold, --video-average, BLOCK...   as for export\n"
         "        A band must lie within the band the capture shows and hold a point.\n"
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
         "record  Polls a live unit as the viewer does and adds every capture read, with\n"
         "        its arrival time, to a recording, until the count or the time is reached,\n"
         "        or until interrupted (Ctrl+C, SIGTERM); the file is whole whenever it ends.\n"
         "        A poll that fails is one line on stderr, and the unit is asked again at\n"
         "        the next interval.\n"
         "  --modem ADDR[:PORT] the unit's address, as for snapshot\n"
         "  --out FILE         the recording: created, or added to when it is one\n"
         "  --name NAME        the unit's name in a new recording (default the address)\n"
         "  --every SECONDS    from the start of one poll to the next (default 3; 0.1 to\n"
         "                     a day, also as 90s, 15m, 2h); a longer poll skips a turn\n"
         "  --count N          stop after N captures recorded\n"
         "  --for DURATION     start no poll after this long: 90s, 15m, 2h\n"
         "\n"
         "monitor Watches the units a configuration file names, headless, and serves their\n"
         "        figures to Prometheus: GET /metrics, /healthz and /units on the listen\n"
         "        address (default 127.0.0.1:9464). SIGHUP reads the file again without\n"
         "        dropping the units that stay; SIGTERM ends it. See the user guide, \"Watching\n"
         "        a rack\", for the file's keys and the metrics.\n"
         "  --config FILE      run with this configuration (TOML)\n"
         "  --check-config FILE  only read the file: one line, what it holds or what is\n"
         "                     wrong with it (the file, the line and the reason)\n"
         "\n"
         "Errors print one line on stderr; the status is 1 when the work failed and 2 when\n"
         "the command line was refused.\n";
}

bool IsCommand(const std::vector<std::string>& args) {
  static const std::set<std::string> kCommands = {"export", "render", "peaks", "measure", "snapshot",
                                                  "record", "monitor", "help",   "--help", "-h",     "--version"};
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
  if (command == "measure") return RunSubcommand<MeasureOptions>(command, rest, ParseMeasureOptions, RunMeasure, out, err);
  if (command == "monitor") return RunSubcommand<MonitorOptions>(command, rest, ParseMonitorOptions, RunMonitor, out, err);
  if (command == "record") return RunSubcommand<RecordOptions>(command, rest, ParseRecordOptions, RunRecord, out, err);
  err << "tavrix-spectrum: unknown command \"" << command << "\" (see --help)\n";
  return 2;
}

}  // namespace tavrix
