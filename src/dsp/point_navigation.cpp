#include "dsp/point_navigation.h"

#include <cmath>
#include <limits>

namespace tavrix {

namespace {

constexpr float kOpenBound = 32000.0f;  // the searches' open bounds, in dB

float Level(const TraceSet& traces, int trace, int point) {
  return traces.AmpPoints[static_cast<size_t>(point - 1)][trace];
}

bool ValidPoint(int point) { return point >= 1 && point <= kPointCount; }

// Calls visit(p) for p = start..2048, then 1..start-1.
template <typename Visit>
void ScanFrom(int start, Visit visit) {
  for (int p = start; p <= kPointCount; ++p) visit(p);
  for (int p = 1; p < start; ++p) visit(p);
}

}  // namespace

int GetNextHighest(const TraceSet& traces, int trace, int start) {
  float limit = kOpenBound;
  if (ValidPoint(start))
    limit = Level(traces, trace, start);
  else
    start = 1;
  float best = -kOpenBound;
  int result = 0;
  ScanFrom(start, [&](int p) {
    const float level = Level(traces, trace, p);
    if (level > best && level < limit) {
      best = level;
      result = p;
    }
  });
  return result;
}

int GetPreviousHighest(const TraceSet& traces, int trace, int start) {
  const int highest = GetNextHighest(traces, trace);
  if (!ValidPoint(start)) return highest;  // nothing can qualify
  const float limit = Level(traces, trace, start);
  float best = highest == 0 ? -kOpenBound : Level(traces, trace, highest);
  int result = 0;
  ScanFrom(start, [&](int p) {
    const float level = Level(traces, trace, p);
    if (level <= best && level > limit) {
      best = level;
      result = p;
    }
  });
  return result != 0 ? result : highest;
}

int GetLowest(const TraceSet& traces, int trace, float threshold) {
  int best = GetNextHighest(traces, trace);
  if (best == 0) return 0;
  for (int p = 1; p <= kPointCount; ++p) {
    const float level = Level(traces, trace, p);
    if (level < Level(traces, trace, best) && level >= threshold) best = p;
  }
  return best;
}

int MoveTarget(PointMove move, const TraceSet& traces, const PointNavigation& navigation, const Selection& selection) {
  const int trace = navigation.ActiveTrace;
  if (trace < 0 || trace >= kTraceCount) return 0;
  const int p = ValidPoint(selection.SelectedPoint) ? selection.SelectedPoint : 0;
  const bool peaks = navigation.MoveByPeaks;
  switch (move) {
    case PointMove::First: return peaks ? GetLowest(traces, trace, navigation.Threshold) : 1;
    case PointMove::Last: return peaks ? GetNextHighest(traces, trace) : kPointCount;
    case PointMove::Next:
      // Peak points: the next higher level, climbing towards the highest.
      if (peaks) return GetPreviousHighest(traces, trace, p);
      return p == 0 || p == kPointCount ? 1 : p + 1;
    case PointMove::Previous:
      // Peak points: the next lower level (from no selection, the highest); from the
      // lowest level there is none.
      if (peaks) return GetNextHighest(traces, trace, p);
      return p == 0 || p == 1 ? kPointCount : p - 1;
    case PointMove::LastSelected: return ValidPoint(navigation.LastSelectedPoint) ? navigation.LastSelectedPoint : 0;
  }
  return 0;
}

int FirstVisibleTrace(const TraceSet& traces) {
  for (int t = 0; t < kTraceCount; ++t)
    if (traces.TraceVisible[static_cast<size_t>(t)]) return t;
  return -1;
}

TracePointRef NearestPoint(const TraceSet& traces, double x, double y, double pixelsPerX, double pixelsPerY,
                           int onlyTrace) {
  TracePointRef nearest;
  double best = std::numeric_limits<double>::infinity();
  for (int t = 0; t < kTraceCount; ++t) {
    const bool wanted = onlyTrace >= 0 ? t == onlyTrace : traces.TraceVisible[static_cast<size_t>(t)];
    if (!wanted) continue;
    for (int p = 1; p <= kPointCount; ++p) {
      const size_t i = static_cast<size_t>(p - 1);
      const double dx = (traces.FreqPoints[i][t] - x) * pixelsPerX;
      const double dy = (-static_cast<double>(traces.AmpPoints[i][t]) - y) * pixelsPerY;
      const double distance = dx * dx + dy * dy;
      if (distance < best) {
        best = distance;
        nearest = {t, p};
      }
    }
  }
  return nearest;
}

}  // namespace tavrix
