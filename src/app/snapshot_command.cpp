#include "app/snapshot_command.h"

#include <chrono>
#include <ostream>
#include <thread>

#include "app/export_command.h"
#include "app/option_reader.h"
#include "app/render_command.h"
#include "common/file_io.h"
#include "link/server_address.h"

namespace tavrix {

namespace {

std::string Because(const std::string& reason) { return reason.empty() ? std::string() : " (" + reason + ")"; }

}  // namespace

void StderrNotices::ShowStatus(const std::string& text, bool) {
  if (!text.empty()) err_ << "tavrix-spectrum: " << text << "\n";
}

MessageAnswer StderrNotices::Ask(const std::string& text, const std::string&, MessageButtons, MessageIcon) {
  err_ << "tavrix-spectrum: " << text << "\n";
  return MessageAnswer::Ok;
}

std::string ParseModemOption(OptionReader& reader, std::string& modem) {
  if (std::string problem = reader.TakeValue(modem); !problem.empty()) return problem;
  if (ParseServerAddress(modem)) return {};
  return "--modem must be a host name, an IPv4 address or an IPv6 address in brackets, with an optional :PORT "
         "(1-65535), not \"" + modem + "\"";
}

std::string ParseSnapshotOptions(const std::vector<std::string>& args, SnapshotOptions& options) {
  OptionReader reader(args);
  while (reader.Next()) {
    const std::string& name = reader.Name();
    std::string problem;
    if (!reader.IsOption()) {
      problem = "unexpected word " + reader.Word();
    } else if (name == "--modem") {
      problem = ParseModemOption(reader, options.Modem);
    } else if (name == "--save-block") {
      problem = reader.TakeValue(options.SaveBlock);
      if (problem.empty() && options.SaveBlock.empty()) problem = "--save-block needs a file name";
    } else if (name == "--set") {
      problem = ParseSetOption(reader, options.Set);
      options.HaveSet = true;
    } else if (name == "--window") {
      problem = ParseWindowOption(reader, options.WindowSpectrum);
    } else if (name == "--out") {
      problem = reader.TakeValue(options.OutFile);
      if (problem.empty() && options.OutFile.empty()) problem = "--out needs a file name";
    } else if (name == "--png") {
      problem = ParsePngOption(reader, options.Png);
    } else {
      problem = "unknown option " + reader.Word();
    }
    if (!problem.empty()) return problem;
  }
  if (options.Modem.empty()) return "--modem ADDR[:PORT] is required";
  if (options.HaveSet != !options.OutFile.empty()) return "--set and --out go together";
  if (!options.HaveSet && options.SaveBlock.empty() && options.Png.empty())
    return "nothing to do: give --save-block FILE, --set SET --out FILE and/or --png FILE";
  return {};
}

PolledCapture PollUnit(LinkSide& link, const std::string& unit, int requestWaitMs,
                       const std::function<bool(int64_t)>& wait) {
  PolledCapture polled;
  auto fail = [&](const std::string& what) {
    link.Release();
    polled.Failure = what;
    return polled;
  };
  if (!link.EnsureClient()) return fail("no network session could be opened");
  if (!link.Connect(unit)) return fail("could not connect to the Tavrix modem at " + unit + Because(link.LastError()));
  if (!link.Request()) return fail("the Tavrix modem at " + unit + " did not take the capture request" + Because(link.LastError()));
  if (!wait(requestWaitMs)) {
    polled.Stopped = true;
    return fail({});
  }
  if (!link.Connect(unit)) return fail("could not reconnect to the Tavrix modem at " + unit + Because(link.LastError()));
  FetchOutcome fetched = link.Fetch();
  link.Release();
  if (!fetched.opened) return fail("the Tavrix modem at " + unit + " did not let the capture be read" + Because(link.LastError()));
  polled.Shortfall = Shortfall(fetched);
  polled.Block = std::move(fetched.block);
  return polled;
}

int RunSnapshot(const SnapshotOptions& options, std::ostream& out, std::ostream& err) {
  StderrNotices notices(err);
  LinkSide link(&notices, options.Limits);
  const std::string& unit = options.Modem;
  auto fail = [&](const std::string& what) {
    err << "tavrix-spectrum: " << what << "\n";
    return 1;
  };
  const PolledCapture polled = PollUnit(link, unit, options.RequestWaitMs, [](int64_t ms) {
    std::this_thread::sleep_for(std::chrono::milliseconds(ms));
    return true;
  });
  if (!polled.Failure.empty() || polled.Stopped) return fail(polled.Failure);
  // The viewer would show what arrived; a snapshot keeps only a whole, non-empty transfer.
  if (!polled.Shortfall.empty())
    return fail("the read from the Tavrix modem at " + unit + " was cut short (" + polled.Shortfall +
                "); nothing was written");
  if (polled.Block.empty()) return fail("the Tavrix modem at " + unit + " sent an empty capture; nothing was written");
  const std::string& block = polled.Block;

  if (!options.SaveBlock.empty()) {
    const std::string error = WriteFileAtomically(options.SaveBlock, block);
    if (!error.empty()) return fail("could not write the capture block file " + options.SaveBlock + ": " + error + ".");
    out << "Saved the capture block (" << block.size() << " bytes) to " << ShownPath(options.SaveBlock)
        << "\n";
  }
  if (!options.HaveSet && options.Png.empty()) return 0;
  const LiveSpectrum live = ProcessBlocks({block}, options.WindowSpectrum, false, false);
  if (options.HaveSet) {
    if (const int status = WriteDataSetFile(options.Set, options.OutFile, live.State, out, err); status != 0)
      return status;
  }
  if (!options.Png.empty())
    return WritePlotPng(live, options.Png, kDefaultRenderWidth, kDefaultRenderHeight, 1, 0, out, err);
  return 0;
}

}  // namespace tavrix
