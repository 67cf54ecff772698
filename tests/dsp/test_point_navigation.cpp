// The amplitude-order searches and the five moves in both modes: ties broken the two
// opposite ways, a flat trace, the threshold, wrap-around, moves that find nothing, and
// the nearest point measured on the screen.
#include <QtTest>

#include <memory>

#include "dsp/point_navigation.h"

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
  void moves_data() {
    QTest::addColumn<bool>("peaks");
    QTest::addColumn<int>("move");
    QTest::addColumn<int>("from");
    QTest::addColumn<float>("threshold");
    QTest::addColumn<int>("to");
    // Levels 5, 9, 9, 3 at points 1..4, 0 dB elsewhere.
    QTest::newRow("highest: the first of equal maxima") << true << int(PointMove::Last) << 0 << 0.0f << 2;
    QTest::newRow("next lower from 2: point 1") << true << int(PointMove::Previous) << 2 << 0.0f << 1;
    QTest::newRow("next higher from 1: the last of the 9s") << true << int(PointMove::Next) << 1 << 0.0f << 3;
    QTest::newRow("next higher from the top: the highest") << true << int(PointMove::Next) << 2 << 0.0f << 2;
    QTest::newRow("next lower with no selection: the highest") << true << int(PointMove::Previous) << 0 << 0.0f << 2;
    QTest::newRow("next lower from the lowest: none") << true << int(PointMove::Previous) << 5 << 0.0f << 0;
    QTest::newRow("lowest at or above 0 dB") << true << int(PointMove::First) << 0 << 0.0f << 5;
    QTest::newRow("lowest at or above 4 dB") << true << int(PointMove::First) << 0 << 4.0f << 1;
    QTest::newRow("threshold above every level: the highest") << true << int(PointMove::First) << 0 << 50.0f << 2;
    QTest::newRow("all points: next wraps from 2048") << false << int(PointMove::Next) << 2048 << 0.0f << 1;
    QTest::newRow("all points: previous wraps from 1") << false << int(PointMove::Previous) << 1 << 0.0f << 2048;
    QTest::newRow("all points: next with none selected") << false << int(PointMove::Next) << 0 << 0.0f << 1;
    QTest::newRow("all points: previous with none") << false << int(PointMove::Previous) << 0 << 0.0f << 2048;
    QTest::newRow("all points: first and last") << false << int(PointMove::Last) << 7 << 0.0f << 2048;
  }
  void moves() {
    QFETCH(bool, peaks);
    QFETCH(int, move);
    QFETCH(int, from);
    QFETCH(float, threshold);
    QFETCH(int, to);
    const TraceSet t = Levels({5, 9, 9, 3});
    PointNavigation nav;
    nav.MoveByPeaks = peaks;
    nav.Threshold = threshold;
    QCOMPARE(MoveTarget(static_cast<PointMove>(move), t, nav, Selection{kCurrentTrace, from}), to);
  }

  void flatTraceAndRememberedPoint() {
    const TraceSet flat = Levels({});
    QCOMPARE(GetNextHighest(flat, kCurrentTrace), 1);
    for (int start : {1, 700, 2048}) {
      QCOMPARE(GetNextHighest(flat, kCurrentTrace, start), 0);
      QCOMPARE(GetPreviousHighest(flat, kCurrentTrace, start), 1);
    }
    PointNavigation nav;
    QCOMPARE(MoveTarget(PointMove::LastSelected, flat, nav, {kCurrentTrace, 9}), 0);
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

std::unique_ptr<QObject> NewPointNavigationTest() { return std::make_unique<PointNavigationTest>(); }

#include "test_point_navigation.moc"
