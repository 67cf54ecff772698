#pragma once
#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

#include "link/ftp_server.h"

namespace tavrix {

struct RecordOptions {
  std::string Modem;    // ADDR[:PORT]
  std::string OutFile;  // the recording, created or appended to
  std::string Name;     // the unit's name in the recording; the address when not given
  int64_t EveryMs = 3000;
  int64_t Count = 0;  // captures to record; 0 for no limit
  int64_t ForMs = 0;  // how long polls are started; 0 for no limit
  FtpLimits Limits;
  int RequestWaitMs = 200;  // between the capture request and the read
};

// "90s", "15m", "2h", "1.5h" or seconds alone ("90", "0.5"), as milliseconds; false when
// the text is none of these or not above zero.
bool ParseDuration(const std::string& text, int64_t& ms);

std::string ParseRecordOptions(const std::vector<std::string>& args, RecordOptions& options);

// Polls a unit as the viewer does, once an interval, and appends every capture read to the
// recording with its arrival time, until the count is reached, the time is up, or an
// interrupt or termination request comes; the file is whole whenever it ends. A poll that
// fails is one line on `err` and the unit is asked again at the next interval.
int RunRecord(const RecordOptions& options, std::ostream& out, std::ostream& err);

}  // namespace tavrix
