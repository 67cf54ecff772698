// libFuzzer entry: any byte string as a capture block through parse, update and the
// formatting of every data set. Built by scripts/fuzz.sh with clang.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "dsp/data_set_export.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace tavrix;
  static SpectrumState state;  // kept across inputs, as captures follow one another
  static VerticalWindow vertical;
  const std::string_view block(reinterpret_cast<const char*>(data), size);
  ParseBlock(block, state.Capture);
  const bool window = size > 0 && (data[0] & 1);
  state.Traces.TraceVisible[kPeakHoldTrace] = size > 1 && (data[1] & 1);
  state.Traces.TraceVisible[kVideoAverageTrace] = size > 1 && (data[1] & 2);
  UpdateSpectrum(state, vertical, window);
  for (const DataSetInfo& info : kDataSets) {
    const std::string text = FormatDataSet(info.Set, state);
    if (text.find("NAN") != std::string::npos) std::abort();
  }
  return 0;
}
