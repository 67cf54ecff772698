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

// The points the viewer's "Peak Points" movement visits on a trace going down from the
// top: the highest peak, then the next lower level again and again, while levels stay at
// or above the threshold, at most Count points.
std::vector<int> PeakWalk(const TraceSet& traces, int trace, float threshold, int count);

// Processes the blocks as export does and prints the walk: "Point,Frequency,Level", then
// one line per point: the frequency in MHz as the read-outs give it (without the unit),
// the level written as in the exports.
int RunPeaks(const PeaksOptions& options, std::ostream& out, std::ostream& err);

}  // namespace tavrix
