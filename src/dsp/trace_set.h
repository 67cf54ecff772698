#pragma once
#include <array>
#include <cstdint>
#include <string>

namespace tavrix {

inline constexpr int kPointCount = 2048;  // points per trace

// Trace numbers.
enum Trace : int {
  kCurrentTrace = 0,
  kPreviousTrace = 1,
  kVideoAverageTrace = 2,
  kPeakHoldTrace = 3,
};
inline constexpr int kTraceCount = 4;

// One point of all four traces, in trace-number order.
struct TracePoint {
  float Current = 0.0f;
  float Previous = 0.0f;
  float VideoAverage = 0.0f;
  float PeakHold = 0.0f;

  float& operator[](int trace);
  float operator[](int trace) const;
};

// The data set record: frequency and level of every point of the four traces.
// Point p (1-based) is at index p - 1.
struct TraceSet {
  std::array<TracePoint, kPointCount> FreqPoints{};
  std::array<TracePoint, kPointCount> AmpPoints{};
  int32_t VideoAverageCount = 0;
  int32_t PeakHoldCount = 0;
  std::array<bool, kTraceCount> TraceVisible{};  // also the check marks of the trace switches
  bool DataValid = false;                        // set by the first transform, never cleared
};

// The selected point: trace -1 and point 0 when nothing is selected.
struct Selection {
  int SelectedTrace = -1;
  int SelectedPoint = 0;
};

// "Current", "Previous", "Video Average", "Peak Hold"; any other number is "Current".
std::string TraceName(int16_t trace);

// What sets the four trace switches apart.
struct TraceSwitch {
  const char* Command;    // menu entry
  const char* Caption;    // menu caption
  const char* ButtonKey;  // toolbar button key
  int Trace;
};
extern const std::array<TraceSwitch, kTraceCount> kTraceSwitches;

// The shared procedure of the four trace switches: inverts the trace's check mark
// (TraceVisible), restarts the video average or peak hold when it is switched on, and
// clears the selection when the trace that holds it is switched off. Returns the new
// check state; the window then sets the button, redraws and refreshes navigation.
bool SwitchTrace(TraceSet& traces, Selection& selection, int trace);

}  // namespace tavrix
