#pragma once
#include <cstdint>
#include <memory>
#include <string>

#include "common/notices.h"
#include "link/ftp_server.h"

namespace tavrix {

// What a read of "spectrum:" gave.
struct FetchOutcome {
  bool opened = false;        // the unit let the file be read
  int32_t requestedSize = 0;  // what was asked of ReadFromFile: the reported size, or 8224
  int32_t reportedSize = -1;  // what the unit said the file holds (SIZE); -1 when it did not say
  std::string block;          // the bytes read, exactly as read
  std::string cutShort;       // why the transfer ended early (stall, drop); empty when complete
};

// How an opened read fell short of a whole capture, in a few words ("4000 of 8224 bytes",
// "4112 bytes, transfer stalled"); empty when it did not: the transfer ended normally and
// holds at least the size the unit gave, if it gave one.
std::string Shortfall(const FetchOutcome& outcome);

// The network side of the acquisition cycle: the one current client and the steps
// that use it. Every method may block for as long as the client's time-outs allow, so
// the viewer calls them on its link thread only.
class LinkSide {
 public:
  LinkSide(Notices* notices, FtpLimits limits) : notices_(notices), limits_(limits) {}

  bool EnsureClient();                        // creates one if there is none; ConnectedToInternet
  bool Connect(const std::string& address);   // anonymous login; IsConnected
  void Release();                             // closes every handle of the client, then pauses
  bool Request();                             // one byte of value 1 to "capt_spec:"; releases
  FetchOutcome Fetch();                       // reads "spectrum:"; the caller releases
  bool IsConnected();                         // of the current client, creating one if none
  // Why the last failed step failed, in a few words (for the command line).
  const std::string& LastError() const { return lastError_; }

 private:
  Notices* notices_;
  FtpLimits limits_;
  std::unique_ptr<FTP_Server> client_;
  std::string lastError_;
};

}  // namespace tavrix
