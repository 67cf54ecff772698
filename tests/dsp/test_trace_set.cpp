// The trace set beyond what the acceptance sequence shows: the frequencies the hold and the
// average keep, the switches, what they restart and clear, and the counters at their limit.
#include <QtTest>

#include "dsp/spectrum_update.h"
#include "test_support.h"

using namespace tavrix;
using namespace tavrix::testing;

namespace {

void Capture(SpectrumState& s, const QString& block) {
  ParseBlock(ReadBytes("blocks/" + block + ".bin"), s.Capture);
  VerticalWindow vertical;
  UpdateSpectrum(s, vertical, false);
}

// One trace of the frequencies or of the levels.
QList<float> Values(const std::array<TracePoint, kPointCount>& points, int trace) {
  QList<float> values;
  for (const TracePoint& p : points) values.append(p[trace]);
  return values;
}

}  // namespace

class TraceSetTest : public QObject {
  Q_OBJECT

 private slots:
  void holdAndAverageThroughTheSwitches() {
    SpectrumState s;
    Selection sel;
    for (const int trace : {kVideoAverageTrace, kPeakHoldTrace}) QVERIFY(SwitchTrace(s.Traces, sel, trace));
    const auto counts = [&] { return QList<int>{s.Traces.VideoAverageCount, s.Traces.PeakHoldCount}; };
    Capture(s, "tone_bin0005");  // centre 70
    const QList<float> first = Values(s.Traces.FreqPoints, kCurrentTrace);
    Capture(s, "center_000F4240");  // centre 1000
    // The hold keeps the frequencies of its first trace, the average takes the latest.
    QCOMPARE(Values(s.Traces.FreqPoints, kPeakHoldTrace), first);
    QCOMPARE(Values(s.Traces.FreqPoints, kVideoAverageTrace), Values(s.Traces.FreqPoints, kCurrentTrace));
    const auto kept = s.Traces.AmpPoints;
    // Off: the old values stay and the counts do not move. The selection goes with its
    // trace only; a trace number that is none changes nothing.
    sel = {kPeakHoldTrace, 300};
    QVERIFY(!SwitchTrace(s.Traces, sel, kVideoAverageTrace));
    QCOMPARE(QList<int>({sel.SelectedTrace, sel.SelectedPoint}), QList<int>({kPeakHoldTrace, 300}));
    QVERIFY(!SwitchTrace(s.Traces, sel, kPeakHoldTrace));
    QCOMPARE(QList<int>({sel.SelectedTrace, sel.SelectedPoint}), QList<int>({-1, 0}));
    QVERIFY(!SwitchTrace(s.Traces, sel, 9));
    QCOMPARE(s.Traces.TraceVisible, (std::array<bool, 4>{false, false, false, false}));
    Capture(s, "noise_seed1234");
    QCOMPARE(counts(), QList<int>({2, 2}));
    // On: the counts restart at once, the values with the next capture.
    for (const int trace : {kVideoAverageTrace, kPeakHoldTrace}) QVERIFY(SwitchTrace(s.Traces, sel, trace));
    QCOMPARE(counts(), QList<int>({0, 0}));
    for (const int trace : {kVideoAverageTrace, kPeakHoldTrace})
      QCOMPARE(Values(s.Traces.AmpPoints, trace), Values(kept, trace));
    Capture(s, "all_80");
    QCOMPARE(counts(), QList<int>({1, 1}));
    for (const int trace : {kVideoAverageTrace, kPeakHoldTrace})
      QCOMPARE(Values(s.Traces.AmpPoints, trace), Values(s.Traces.AmpPoints, kCurrentTrace));
  }

  // Neither and both at 3 are in the acceptance results; here each alone, and both at the limit and past it.
  void statusTextsAndCounters() {
    const struct { bool videoAverage, peakHold; int counts; const char *status, *toolTips; } rows[] = {
        {true, false, 0, "Video Average Samples = 1", "Video Average Trace [1], Peak Hold Trace"},
        {false, true, 0, "Peak Hold Samples = 1", "Video Average Trace, Peak Hold Trace [1]"},
        {true, true, 2147483646, "Peak Hold Samples = 2147483647 | Video Average Samples = 2147483647",
         "Video Average Trace [2147483647], Peak Hold Trace [2147483647]"},
        {true, true, 2147483647, "Peak Hold Samples = 1 | Video Average Samples = 1",
         "Video Average Trace [1], Peak Hold Trace [1]"}};
    for (const auto& r : rows) {
      SpectrumState s;
      s.Traces.TraceVisible = {true, false, r.videoAverage, r.peakHold};
      s.Traces.VideoAverageCount = s.Traces.PeakHoldCount = r.counts;
      VerticalWindow vertical;
      const UpdateReport report = UpdateSpectrum(s, vertical, true);
      QCOMPARE(report.StatusText.value_or("(none)"), r.status);
      QCOMPARE(report.VideoAverageToolTip + ", " + report.PeakHoldToolTip, r.toolTips);
    }
  }
};

std::unique_ptr<QObject> NewTraceSetTest() { return std::make_unique<TraceSetTest>(); }

#include "test_trace_set.moc"
