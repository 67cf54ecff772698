#pragma once
#include <array>

#include "dsp/trace_set.h"

namespace tavrix {

inline constexpr const char* kNoPreviousPointText = "There is no previously selected data point!";

// The amplitude-order searches over one trace; point numbers 1..2048, 0 when nothing
// qualifies. Levels are compared as stored (single precision).

// Without a start (0), the highest point. From point p, the point of the greatest level
// strictly below p's, scanning p..2048 then 1..p-1; of equal levels the first in scan
// order wins. The threshold plays no part.
int GetNextHighest(const TraceSet& traces, int trace, int start = 0);
// From point p, the point of the smallest level strictly above p's, scanning as above; of
// equal levels the last in scan order wins (the opposite of GetNextHighest). When none
// is above, or without a start, the highest point.
int GetPreviousHighest(const TraceSet& traces, int trace, int start = 0);
// The point of the lowest level at or above the threshold; the highest point when every
// level is below it.
int GetLowest(const TraceSet& traces, int trace, float threshold);

// The movement commands.
enum class PointMove { First, Next, Previous, Last, LastSelected };

// Where point navigation stands between commands.
struct PointNavigation {
  bool MoveByPeaks = true;     // false: all points in frequency order; true: level to level
  int ActiveTrace = kCurrentTrace;
  int LastSelectedPoint = 0;   // what "Go to Last Selected Point" returns to; 0 for none
  bool AtLastSelected = false;
  float Threshold = 0.0f;      // the minimum peak threshold, dB
};

// The point a move selects on the active trace from the current selection, or 0 when it
// finds none (a peak move down from the lowest level, a flat trace, no remembered point).
// In all-points mode Next and Previous wrap around the ends.
int MoveTarget(PointMove move, const TraceSet& traces, const PointNavigation& navigation, const Selection& selection);

// The first visible trace of Current, Previous, Video Average, Peak Hold: the trace moves
// run on when the one they ran on is switched off; -1 when none is visible.
int FirstVisibleTrace(const TraceSet& traces);

// A point of one trace.
struct TracePointRef {
  int Trace = -1;
  int Point = 0;
};

// The point nearest to (x, y) in plot units over the visible traces (or over `onlyTrace`
// when it is 0..3). Distances are measured on the screen: `pixelsPerX` and `pixelsPerY`
// scale frequency and level by the view, so the nearest point is the one nearest to the
// eye; a scale of 0 leaves that axis out (the frequency or level entry boxes). Of equal
// distances the first trace, then the lowest point, wins.
TracePointRef NearestPoint(const TraceSet& traces, double x, double y, double pixelsPerX, double pixelsPerY,
                           int onlyTrace = -1);

}  // namespace tavrix
