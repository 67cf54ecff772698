// The amplitude-order searches and the five moves in both modes: ties broken the two
// opposite ways, a flat trace, the threshold, wrap-around, moves that find nothing, and
// the nearest point measured on the screen.
#include <QtTest>

#include "dsp/point_navigation.h"
#include "test_support.h"

using namespace tavrix;

namespace {

// The current trace with the given levels at points 1.., every other point at 0 dB.
TraceSet Levels(std::initializer_list<float> levels) {
  TraceSet t;
  t.TraceVisible[kCurrentTrace] = true;
  int p = 0;
  for (float level : levels) t.AmpPoints[static_cast<size_t>(p++)].Current = level;
  for (int k = 0; k < kPointCount; ++k) t.FreqPoints[static_cast<size_t>(k)].Current = 100.0f + k;
  return t;
}

}  // namespace

class PointNavigationTest : public QObject {
  Q_OBJECT

 private slots:
  // Levels 5, 9, 9, 3 at points 1..4, 0 dB elsewhere.
  void moves() {
    const PointMove first = PointMove::First, next = PointMove::Next, previous = PointMove::Previous,
                    last = PointMove::Last;
    const struct { bool peaks; PointMove move; int from; float threshold; int to; } rows[] = {
        {true, last, 0, 0, 2},       // highest: the first of equal maxima
        {true, previous, 2, 0, 1},   // next lower from 2
        {true, next, 1, 0, 3},       // next higher from 1: the last of the 9s
        {true, next, 2, 0, 2},       // next higher from the top: the highest
        {true, previous, 0, 0, 2},   // next lower with no selection: the highest
        {true, previous, 5, 0, 0},   // next lower from the lowest: none
        {true, first, 0, 0, 5},      // lowest at or above 0 dB
        {true, first, 0, 4, 1},      // lowest at or above 4 dB
        {true, first, 0, 50, 2},     // threshold above every level: the highest
        {false, next, 2048, 0, 1},   {false, previous, 1, 0, 2048},  // all points wrap
        {false, next, 0, 0, 1},      {false, previous, 0, 0, 2048},  // none selected
        {false, last, 7, 0, 2048}};
    const TraceSet t = Levels({5, 9, 9, 3});
    for (const auto& [peaks, move, from, threshold, to] : rows) {
      PointNavigation nav;
      nav.MoveByPeaks = peaks;
      nav.Threshold = threshold;
      QVERIFY2(MoveTarget(move, t, nav, Selection{kCurrentTrace, from}) == to,
               qPrintable(QString("move %1 from %2 by %3").arg(int(move)).arg(from).arg(peaks ? "peaks" : "points")));
    }
  }

  void flatTraceAndRememberedPoint() {
    const TraceSet flat = Levels({});
    QCOMPARE(GetNextHighest(flat, kCurrentTrace), 1);
    for (int start : {1, 700, 2048}) {
      QCOMPARE(GetNextHighest(flat, kCurrentTrace, start), 0);
      QCOMPARE(GetPreviousHighest(flat, kCurrentTrace, start), 1);
    }
    PointNavigation nav;
    nav.LastSelectedPoint = 42;
    QCOMPARE(MoveTarget(PointMove::LastSelected, flat, nav, {kCurrentTrace, 9}), 42);
    // Searches run on the active trace only.
    TraceSet two = Levels({1, 2});
    two.AmpPoints[9].Previous = 80;
    nav.ActiveTrace = kPreviousTrace;
    QCOMPARE(MoveTarget(PointMove::Last, two, nav, {}), 10);
  }

  void nearestPointIsNearestOnTheScreen() {
    TraceSet t = Levels({});
    t.TraceVisible[kPeakHoldTrace] = true;
    for (int k = 0; k < kPointCount; ++k) t.FreqPoints[static_cast<size_t>(k)].PeakHold = 100.0f + k;
    t.AmpPoints[500].Current = 40;   // point 501 at x 600
    t.AmpPoints[520].PeakHold = 30;  // point 521 at x 620
    // 2 px per frequency unit and 10 px per dB: the hold's point 521 is 1 unit away at the
    // same level (2 px); the current trace's peak at 501 is 21 units and 10 dB away.
    QCOMPARE(NearestPoint(t, 600 + 21, -30, 2, 10).Point, 521);
    QCOMPARE(NearestPoint(t, 600 + 21, -30, 2, 10).Trace, int(kPeakHoldTrace));
    // With the frequency axis squeezed, the level decides.
    QCOMPARE(NearestPoint(t, 601, -40, 0.01, 10).Point, 501);
    // Level only, one trace only.
    QCOMPARE(NearestPoint(t, 0, -29, 0, 1, kPeakHoldTrace).Point, 521);
    t.TraceVisible = {false, false, false, false};
    QCOMPARE(NearestPoint(t, 600, -40, 1, 1).Trace, -1);
  }
};

std::unique_ptr<QObject> NewCaptureBlockTest(), NewSpectrumUpdateTest(), NewTraceSetTest(), NewDataSetExportTest();
TAVRIX_TEST_MAIN(QCoreApplication, NewCaptureBlockTest, NewSpectrumUpdateTest, NewTraceSetTest, NewDataSetExportTest,
                 tavrix::testing::Make<PointNavigationTest>)

#include "test_point_navigation.moc"
