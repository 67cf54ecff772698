#pragma once
// The waterfall's data: one row a capture, the trace's levels in frequency order with the
// capture's band and arrival time, kept compactly within a memory bound; the limits that
// map levels onto colours; the colour maps; and where the time axis is labelled.
#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "dsp/trace_set.h"
#include "view/palette.h"

namespace tavrix::history {

// A level is kept in a byte of half decibels: 0 to 127.5 dB. Levels are never below the
// 0 dB floor, and a capture of byte-wide samples stays below 118 dB.
inline constexpr double kWaterfallLevelStep = 0.5;
inline constexpr int kWaterfallLevels = 256;
// What the rows of a recording may hold at most: over a day at one capture every 3 s.
inline constexpr size_t kDefaultWaterfallBytes = size_t{64} << 20;

struct WaterfallRow {
  int64_t TimeMs = 0;          // arrival, milliseconds since 1970 (UTC)
  double FirstFrequency = 0;   // of the lowest point, in the plot's frequency units
  double FrequencyStep = 0;    // between neighbouring points
  std::vector<uint8_t> Levels;  // lowest frequency first, in kWaterfallLevelStep
};

// The row of one capture: the levels of a trace (the current one as a rule).
WaterfallRow MakeWaterfallRow(const TraceSet& traces, int64_t timeMs, int trace = kCurrentTrace);

// The newest rows, as many as the bound holds; the oldest go first.
class WaterfallRows {
 public:
  explicit WaterfallRows(size_t maxBytes = kDefaultWaterfallBytes);
  void Add(WaterfallRow row);
  void Clear() { rows_.clear(); }
  size_t Count() const { return rows_.size(); }
  size_t Capacity() const { return capacity_; }
  // By age: 0 is the newest.
  const WaterfallRow& Newest(size_t age) const { return rows_[rows_.size() - 1 - age]; }

 private:
  size_t capacity_;
  std::deque<WaterfallRow> rows_;
};

// The levels that the first and the last colour of the map stand for.
struct LevelLimits {
  double Low = 0;
  double High = 100;
};

// Limits that follow the rows: from the level a hundredth of the newest rows' points lie
// below (the floor) to the one a thousandth lie above (the carriers' tops), at least 1 dB
// apart. `newest` rows are looked at.
LevelLimits AutomaticLimits(const WaterfallRows& rows, size_t newest);

enum class ColorMap {
  Perceptual,  // dark blue through green to yellow, evenly bright steps (viridis)
  Palette,     // from the palette's background to its current-trace colour
};

// The colour (0xAARRGGBB, opaque) of every kept level under the limits.
std::array<uint32_t, kWaterfallLevels> LevelColors(const LevelLimits& limits, ColorMap map, const Palette& palette);

// A time label of the waterfall's axis: at `Row` rows from the top (a row border).
struct TimeLabel {
  size_t Row = 0;
  std::string Text;
};

// Labels at round times (1 s to 1 day apart) between the `shown` rows from the one
// `fromAge` rows old (0: the newest), no two closer than `minRows`; seconds are shown when
// the step is under a minute. `Row` counts from that first row shown.
std::vector<TimeLabel> TimeLabels(const WaterfallRows& rows, size_t shown, size_t minRows, size_t fromAge = 0);

// The least round time step (1 s, 2 s, 5 s ... 12 h, 1 day) of at least `wantedMs`; a
// day for anything longer.
int64_t RoundTimeStep(double wantedMs);
// A time of day (UTC): "HH:MM", or "HH:MM:SS" with seconds.
std::string ClockText(int64_t timeMs, bool seconds);

}  // namespace tavrix::history
