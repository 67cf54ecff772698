// The trace set over several captures: previous trace, peak hold, video average, the
// counters and their restarts, and the four trace switches with the selection.
#include <QtTest>

#include <memory>

#include "dsp/spectrum_update.h"
#include "test_support.h"

using namespace tavrix;
using namespace tavrix::testing;

namespace {

// Runs one update with every sample set to constant complex value (i, q) plus a tone
// whose level depends on `loudness`, so successive captures differ point by point.
void Capture(SpectrumState& s, double centre, int toneBin, float loudness) {
  s.Capture.CenterFreq = centre;
  s.Capture.SampleRate = 62.5;
  s.Capture.FreqScale = 10;
  for (int n = 0; n < kSampleCount; ++n) {
    const double phase = 2 * M_PI * toneBin * n / kSampleCount;
    s.Capture.SampleI[n] = static_cast<float>(loudness * std::cos(phase) + (n % 7) - 3);
    s.Capture.SampleQ[n] = static_cast<float>(loudness * std::sin(phase) + (n % 5) - 2);
  }
  VerticalWindow vertical;
  UpdateSpectrum(s, vertical, false);
}

}  // namespace

class TraceSetTest : public QObject {
  Q_OBJECT

 private slots:
  void previousIsTheLastCurrent() {
    SpectrumState s;
    Capture(s, 70, 10, 50);
    const auto first = s.Traces.AmpPoints;
    QVERIFY(s.FirstTrace);
    Capture(s, 71, 20, 60);
    QVERIFY(!s.FirstTrace);
    for (int k = 0; k < kPointCount; ++k) QCOMPARE(s.Traces.AmpPoints[k].Previous, first[k].Current);
    QCOMPARE(s.Traces.FreqPoints[kPointCount - 1].Previous, 700.0f);
    QCOMPARE(s.Traces.FreqPoints[kPointCount - 1].Current, 710.0f);
  }

  void peakHoldKeepsTheMaximumAndTheFirstFrequencies() {
    SpectrumState s;
    Selection sel;
    QVERIFY(SwitchTrace(s.Traces, sel, kPeakHoldTrace));
    std::array<std::array<float, kPointCount>, 3> levels;
    std::array<TracePoint, kPointCount> firstFrequencies{};
    const double centres[] = {70, 71, 72};
    const float loudness[] = {20, 80, 40};
    for (int run = 0; run < 3; ++run) {
      Capture(s, centres[run], 10 + run * 100, loudness[run]);
      for (int k = 0; k < kPointCount; ++k) levels[run][k] = s.Traces.AmpPoints[k].Current;
      if (run == 0) {
        firstFrequencies = s.Traces.FreqPoints;
        for (int k = 0; k < kPointCount; ++k) QCOMPARE(s.Traces.AmpPoints[k].PeakHold, levels[0][k]);
      }
    }
    QCOMPARE(s.Traces.PeakHoldCount, 3);
    for (int k = 0; k < kPointCount; ++k) {
      QCOMPARE(s.Traces.AmpPoints[k].PeakHold, std::max({levels[0][k], levels[1][k], levels[2][k]}));
      // Frequencies stay those of the first trace of the run.
      QCOMPARE(s.Traces.FreqPoints[k].PeakHold, firstFrequencies[k].Current);
    }
    QCOMPARE(s.Traces.FreqPoints[kPointCount - 1].PeakHold, 700.0f);
  }

  void videoAverageIsTheCumulativeMean() {
    SpectrumState s;
    Selection sel;
    SwitchTrace(s.Traces, sel, kVideoAverageTrace);
    std::array<double, kPointCount> sum{};
    float before5[kPointCount];
    for (int run = 1; run <= 5; ++run) {
      if (run == 5)
        for (int k = 0; k < kPointCount; ++k) before5[k] = s.Traces.AmpPoints[k].VideoAverage;
      Capture(s, 70 + run, 5 * run, 10.0f * run);
      for (int k = 0; k < kPointCount; ++k) sum[k] += s.Traces.AmpPoints[k].Current;
      if (run == 1)
        for (int k = 0; k < kPointCount; ++k) QCOMPARE(s.Traces.AmpPoints[k].VideoAverage, s.Traces.AmpPoints[k].Current);
    }
    QCOMPARE(s.Traces.VideoAverageCount, 5);
    for (int k = 0; k < kPointCount; ++k) {
      // The fifth weights the old average by 4/5 and the new trace by 1/5.
      const float fifth = static_cast<float>(0.8 * before5[k] + s.Traces.AmpPoints[k].Current * 0.2);
      QVERIFY(std::fabs(s.Traces.AmpPoints[k].VideoAverage - fifth) <= 1e-4f * std::max(1.0f, fifth));
      QVERIFY(std::fabs(s.Traces.AmpPoints[k].VideoAverage - sum[k] / 5) < 1e-3);
      QCOMPARE(s.Traces.FreqPoints[k].VideoAverage, s.Traces.FreqPoints[k].Current);
    }
  }

  void switchingOffAndOnRestartsAtTheNextCapture() {
    SpectrumState s;
    Selection sel;
    SwitchTrace(s.Traces, sel, kVideoAverageTrace);
    SwitchTrace(s.Traces, sel, kPeakHoldTrace);
    Capture(s, 70, 10, 90);
    Capture(s, 70, 300, 20);
    QCOMPARE(s.Traces.VideoAverageCount, 2);
    const auto kept = s.Traces.AmpPoints;

    QVERIFY(!SwitchTrace(s.Traces, sel, kVideoAverageTrace));
    QVERIFY(!SwitchTrace(s.Traces, sel, kPeakHoldTrace));
    Capture(s, 70, 500, 30);
    // Off: the old values stay, the counts do not move.
    QCOMPARE(s.Traces.VideoAverageCount, 2);
    QCOMPARE(s.Traces.AmpPoints[10].VideoAverage, kept[10].VideoAverage);
    QCOMPARE(s.Traces.AmpPoints[10].PeakHold, kept[10].PeakHold);

    QVERIFY(SwitchTrace(s.Traces, sel, kVideoAverageTrace));
    QVERIFY(SwitchTrace(s.Traces, sel, kPeakHoldTrace));
    QCOMPARE(s.Traces.VideoAverageCount, 0);
    QCOMPARE(s.Traces.AmpPoints[10].VideoAverage, kept[10].VideoAverage);  // until the next capture
    Capture(s, 70, 500, 30);
    QCOMPARE(s.Traces.VideoAverageCount, 1);
    QCOMPARE(s.Traces.PeakHoldCount, 1);
    for (int k = 0; k < kPointCount; ++k) {
      QCOMPARE(s.Traces.AmpPoints[k].VideoAverage, s.Traces.AmpPoints[k].Current);
      QCOMPARE(s.Traces.AmpPoints[k].PeakHold, s.Traces.AmpPoints[k].Current);
    }
  }

  void countersRestartAtTheirLimit() {
    SpectrumState s;
    s.Traces.TraceVisible[kVideoAverageTrace] = true;
    s.Traces.TraceVisible[kPeakHoldTrace] = true;
    s.Traces.VideoAverageCount = 2147483646;
    s.Traces.PeakHoldCount = 2147483646;
    VerticalWindow vertical;
    UpdateReport r = UpdateSpectrum(s, vertical, false);
    QCOMPARE(s.Traces.VideoAverageCount, 2147483647);
    QCOMPARE(QString::fromStdString(r.PeakHoldToolTip), QString("Peak Hold Trace [2147483647]"));
    r = UpdateSpectrum(s, vertical, false);
    QCOMPARE(s.Traces.VideoAverageCount, 1);
    QCOMPARE(s.Traces.PeakHoldCount, 1);
    QCOMPARE(QString::fromStdString(*r.StatusText), QString("Peak Hold Samples = 1 | Video Average Samples = 1"));
  }

  void statusTextsFollowTheSwitches() {
    SpectrumState s;
    VerticalWindow vertical;
    UpdateReport r = UpdateSpectrum(s, vertical, true);
    QVERIFY(!r.StatusText);
    QCOMPARE(QString::fromStdString(r.VideoAverageToolTip), QString("Video Average Trace"));
    s.Traces.TraceVisible[kVideoAverageTrace] = true;
    r = UpdateSpectrum(s, vertical, true);
    QCOMPARE(QString::fromStdString(*r.StatusText), QString("Video Average Samples = 1"));
    QCOMPARE(QString::fromStdString(r.VideoAverageToolTip), QString("Video Average Trace [1]"));
    s.Traces.TraceVisible[kVideoAverageTrace] = false;
    s.Traces.TraceVisible[kPeakHoldTrace] = true;
    r = UpdateSpectrum(s, vertical, true);
    QCOMPARE(QString::fromStdString(*r.StatusText), QString("Peak Hold Samples = 1"));
  }

  void switchingOffTheSelectedTraceClearsTheSelection() {
    TraceSet t;
    t.TraceVisible = {true, true, true, true};
    Selection sel{kPreviousTrace, 300};
    QVERIFY(!SwitchTrace(t, sel, kPeakHoldTrace));
    QCOMPARE(sel.SelectedTrace, int(kPreviousTrace));
    QCOMPARE(sel.SelectedPoint, 300);
    QVERIFY(!SwitchTrace(t, sel, kPreviousTrace));
    QCOMPARE(sel.SelectedTrace, -1);
    QCOMPARE(sel.SelectedPoint, 0);
    QVERIFY(!t.TraceVisible[kPreviousTrace]);
    QVERIFY(SwitchTrace(t, sel, kPreviousTrace));
    QVERIFY(!SwitchTrace(t, sel, 9));  // no such trace: nothing changes
    QCOMPARE(t.TraceVisible, (std::array<bool, 4>{true, true, true, false}));
  }

  void traceNames() {
    QCOMPARE(QString::fromStdString(TraceName(0)), QString("Current"));
    QCOMPARE(QString::fromStdString(TraceName(1)), QString("Previous"));
    QCOMPARE(QString::fromStdString(TraceName(2)), QString("Video Average"));
    QCOMPARE(QString::fromStdString(TraceName(3)), QString("Peak Hold"));
    QCOMPARE(QString::fromStdString(TraceName(7)), QString("Current"));
    QCOMPARE(QString::fromStdString(TraceName(-1)), QString("Current"));
  }
};

std::unique_ptr<QObject> NewTraceSetTest() { return std::make_unique<TraceSetTest>(); }

#include "test_trace_set.moc"
