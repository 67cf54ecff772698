#include "app/record_command.h"

#include <chrono>
#include <cmath>
#include <ostream>

#include "app/export_command.h"
#include "app/option_reader.h"
#include "app/platform.h"
#include "app/snapshot_command.h"
#include "common/file_io.h"
#include "history/recording_reader.h"
#include "history/recording_writer.h"

namespace tavrix {

namespace {

constexpr int64_t kShortestEveryMs = 100;
constexpr int64_t kLongestMs = int64_t{366} * 86'400'000;

int64_t UtcNowMs() {
  using namespace std::chrono;
  return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

std::string SecondsText(int64_t ms) {
  const std::string whole = std::to_string(ms / 1000);
  return ms % 1000 == 0 ? whole + " s" : whole + "." + std::to_string(1000 + ms % 1000).substr(1) + " s";
}

std::string Counted(int64_t n, const char* thing) {
  return std::to_string(n) + " " + thing + (n == 1 ? "" : "s");
}

}  // namespace

bool ParseDuration(const std::string& text, int64_t& ms) {
  static const std::pair<char, double> kUnits[] = {{'s', 1e3}, {'m', 60e3}, {'h', 3600e3}};
  double scale = 1e3;
  std::string number = text;
  for (const auto& [unit, unitMs] : kUnits)
    if (!text.empty() && text.back() == unit) {
      scale = unitMs;
      number.pop_back();
    }
  double value = 0;
  if (!ReadNumber(number, value) || !std::isfinite(value) || value <= 0 || value * scale > double(kLongestMs))
    return false;
  ms = std::llround(value * scale);
  return ms > 0;
}

std::string ParseRecordOptions(const std::vector<std::string>& args, RecordOptions& options) {
  bool haveCount = false, haveFor = false;
  OptionReader reader(args);
  while (reader.Next()) {
    const std::string& name = reader.Name();
    std::string problem, value;
    if (!reader.IsOption()) {
      problem = "unexpected word " + reader.Word();
    } else if (name == "--modem") {
      problem = ParseModemOption(reader, options.Modem);
    } else if (name == "--out") {
      problem = reader.TakeValue(options.OutFile);
      if (problem.empty() && options.OutFile.empty()) problem = "--out needs a file name";
    } else if (name == "--name") {
      problem = reader.TakeValue(options.Name);
      if (problem.empty() && (options.Name.empty() || options.Name.size() > history::kMaxNameBytes))
        problem = "--name needs a unit name of 1 to " + std::to_string(history::kMaxNameBytes) + " bytes";
    } else if (name == "--every") {
      problem = reader.TakeValue(value);
      if (problem.empty() && (!ParseDuration(value, options.EveryMs) || options.EveryMs < kShortestEveryMs))
        problem = "--every must be a number of seconds from 0.1 (or 90s, 15m, 2h), not \"" + value + "\"";
    } else if (name == "--count") {
      problem = reader.TakeValue(value);
      haveCount = true;
      if (problem.empty() && (!ReadNumber(value, options.Count) || options.Count < 1))
        problem = "--count must be a whole number from 1, not \"" + value + "\"";
    } else if (name == "--for") {
      problem = reader.TakeValue(value);
      haveFor = true;
      if (problem.empty() && !ParseDuration(value, options.ForMs))
        problem = "--for must be a duration such as 90s, 15m or 2h, not \"" + value + "\"";
    } else {
      problem = "unknown option " + reader.Word();
    }
    if (!problem.empty()) return problem;
  }
  if (options.Modem.empty()) return "--modem ADDR[:PORT] is required";
  if (options.OutFile.empty()) return "--out FILE is required";
  if (haveCount && haveFor) return "give --count or --for, not both";
  if (options.Name.empty()) options.Name = options.Modem;
  return {};
}

int RunRecord(const RecordOptions& options, std::ostream& out, std::ostream& err) {
  const std::string& unit = options.Modem;
  const std::string& path = options.OutFile;
  auto fail = [&](const std::string& what) {
    err << "tavrix-spectrum: " << what << "\n";
    return 1;
  };
  // Captures of one unit only: a recording of another is not added to.
  size_t already = 0;
  if (PathExists(path)) {
    history::RecordingReader existing;
    if (existing.Open(path).empty()) {
      if (existing.Header().UnitName != options.Name)
        return fail("the recording " + path + " holds the captures of \"" + existing.Header().UnitName +
                    "\": give that --name to add to it, or another --out");
      already = existing.Count();
    }
  }
  history::RecordingWriter writer;
  if (const std::string problem = writer.Open(path, {options.Name, unit}); !problem.empty())
    return fail("cannot record to " + path + ": " + problem);

  StopRequests stop;
  FtpLimits limits = options.Limits;
  limits.abort = stop.Flag();
  StderrNotices notices(err);
  LinkSide link(&notices, limits);
  out << "Recording the Tavrix modem at " << unit << " every " << SecondsText(options.EveryMs) << " to "
      << ShownPath(path) << (already > 0 ? " after its " + std::to_string(already) + " captures" : std::string())
      << "\n"
      << std::flush;

  using Clock = std::chrono::steady_clock;
  const Clock::time_point start = Clock::now();
  auto elapsedMs = [&start] {
    return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
  };
  int64_t recorded = 0, failed = 0;
  while (!stop.Requested()) {
    const PolledCapture polled = PollUnit(link, unit, options.RequestWaitMs, [&stop](int64_t ms) { return stop.Wait(ms); });
    // A poll cut off by the stop request is neither recorded nor a failure.
    const bool interrupted = stop.Requested() && (!polled.Failure.empty() || !polled.Shortfall.empty());
    if (polled.Stopped || interrupted) break;
    if (!polled.Failure.empty()) {
      ++failed;
      err << "tavrix-spectrum: " << polled.Failure << "\n";
    } else if (polled.Block.empty()) {
      ++failed;
      err << "tavrix-spectrum: the Tavrix modem at " << unit << " sent an empty capture; nothing was recorded\n";
    } else {
      // What arrived is kept, as the viewer shows it; the operator is told it was not all.
      if (!polled.Shortfall.empty())
        err << "tavrix-spectrum: the read from the Tavrix modem at " << unit << " was cut short ("
            << polled.Shortfall << "); it is recorded as read\n";
      if (const std::string problem = writer.Append(UtcNowMs(), polled.Block); !problem.empty())
        return fail("could not add to the recording " + path + ": " + problem);
      if (++recorded == options.Count) break;
    }
    // The next poll starts at the next whole interval: a poll that overran skips a turn.
    const int64_t now = elapsedMs();
    const int64_t next = (now / options.EveryMs + 1) * options.EveryMs;
    if ((options.ForMs > 0 && next >= options.ForMs) || !stop.Wait(next - now)) break;
  }
  writer.Close();
  out << "Recorded " << Counted(recorded, "capture") << " to " << ShownPath(path)
      << (failed > 0 ? "; " + Counted(failed, "poll") + " failed" : std::string())
      << (stop.Requested() ? ", stopped on request" : "") << "\n";
  return recorded == 0 && failed > 0 ? 1 : 0;
}

}  // namespace tavrix
