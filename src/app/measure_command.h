#pragma once
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include "app/export_command.h"
#include "measure/carrier_figures.h"

namespace tavrix {

struct MeasureOptions {
  std::vector<BandMHz> Bands;  // in the order given
  std::vector<BandMHz> Noise;  // stretches of one noise band; none for no C/N
  int Trace = kCurrentTrace;
  BlockProcessing Blocks;
};

// Reads the measure options from the words after "measure": one line saying what is
// wrong (a band that is not F1:F2 in MHz, a reversed band, a trace that is not kept), or
// an empty text.
std::string ParseMeasureOptions(const std::vector<std::string>& args, MeasureOptions& options);

// Processes the blocks as export does and prints the measurement table of the chosen
// trace, a line a band. A band reaching outside the band shown or holding no point is
// one line on `err` and status 1, with nothing printed.
int RunMeasure(const MeasureOptions& options, std::ostream& out, std::ostream& err);

}  // namespace tavrix
