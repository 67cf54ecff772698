#pragma once
#include <iosfwd>
#include <string>
#include <vector>

#include "app/export_command.h"

namespace tavrix {

struct PeaksOptions {
  int Trace = kCurrentTrace;
  float Threshold = 0.0f;  // the stored default of the minimum peak threshold
  int Count = 10;
  BlockProcessing Blocks;
};

std::string ParsePeaksOptions(const std::vector<std::string>& args, PeaksOptions& options);

// Processes the blocks as export does and prints the walk: "Point,Frequency,Level", then
// one line per point: the frequency in MHz as the read-outs give it (without the unit),
// the level written as in the exports.
int RunPeaks(const PeaksOptions& options, std::ostream& out, std::ostream& err);

}  // namespace tavrix
