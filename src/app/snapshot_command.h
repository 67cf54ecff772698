#pragma once
#include <iosfwd>
#include <string>
#include <vector>

#include "dsp/data_set_export.h"
#include "link/ftp_server.h"

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

// One capture request and one read from a live unit, then the block saved and/or a
// data set written as the export command writes it. Every wait is bounded.
int RunSnapshot(const SnapshotOptions& options, std::ostream& out, std::ostream& err);

}  // namespace tavrix
