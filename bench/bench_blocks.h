#pragma once
// Capture blocks for the benchmarks: a unit's header (70 MHz centre, rate exponent 3,
// as the demodulators run) over pseudo-random sample bytes.
#include <cstdint>
#include <string>

#include "dsp/capture_block.h"

namespace tavrix::bench {

inline std::string NoisyCaptureBlock(uint32_t seed) {
  std::string block(kNominalBlockLength, '\0');
  uint32_t x = seed;
  for (char& c : block) c = static_cast<char>((x = x * 1103515245 + 12345) >> 16);
  const uint32_t centre = 70000;  // thousandths: 70.000
  for (int k = 0; k < 4; ++k) block[2 + k] = static_cast<char>(centre >> (24 - 8 * k));
  block[6] = 0;
  block[7] = 3;
  return block;
}

}  // namespace tavrix::bench
