#pragma once
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

#include "dsp/data_set_export.h"
#include "link/ftp_server.h"
#include "link/link_side.h"

namespace tavrix {

struct SnapshotOptions {
  std::string Modem;      // ADDR[:PORT]
  std::string SaveBlock;  // where the block goes, exactly as read
  bool HaveSet = false;
  DataSet Set = DataSet::Scaled;
  bool WindowSpectrum = true;
  std::string OutFile;
  std::string Png;  // a picture of the spectrum of the block, as render draws it
  FtpLimits Limits;
  int RequestWaitMs = 200;  // between the capture request and the read
};

std::string ParseSnapshotOptions(const std::vector<std::string>& args, SnapshotOptions& options);

class OptionReader;
// The value of --modem, ADDR[:PORT]; an empty text, or what is wrong.
std::string ParseModemOption(OptionReader& reader, std::string& modem);

// The client's own notices, as lines on stderr.
class StderrNotices : public Notices {
 public:
  explicit StderrNotices(std::ostream& err) : err_(err) {}
  void ShowStatus(const std::string& text, bool beep) override;
  MessageAnswer Ask(const std::string& text, const std::string& title, MessageButtons buttons,
                    MessageIcon icon) override;

 private:
  std::ostream& err_;
};

// What one poll of a unit gave.
struct PolledCapture {
  std::string Failure;    // why no capture was read, in one line naming the unit; empty when read
  std::string Shortfall;  // how a read fell short of a whole capture (see Shortfall); empty when whole
  std::string Block;      // exactly as read
  bool Stopped = false;   // the wait said to stop
};

// One poll of a unit as the viewer makes it: a capture request, the wait, a reconnect and
// the read of the block. `wait` sleeps for the given milliseconds and says whether to go
// on (false ends the poll with no capture and no failure).
PolledCapture PollUnit(LinkSide& link, const std::string& unit, int requestWaitMs,
                       const std::function<bool(int64_t)>& wait);

// One capture request and one read from a live unit, then the block saved and/or a
// data set written as the export command writes it. Every wait is bounded.
int RunSnapshot(const SnapshotOptions& options, std::ostream& out, std::ostream& err);

}  // namespace tavrix
