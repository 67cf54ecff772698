// The spectrum update against the acceptance results: points, levels, the vertical
// re-fit and its scroll limits, the status texts, and a sequence of changing headers
// with peak hold and video average running.
#include <QtTest>

#include <cmath>
#include <memory>

#include "dsp/fft.h"
#include "dsp/spectrum_update.h"
#include "test_support.h"

using namespace tavrix;
using namespace tavrix::testing;

namespace {

constexpr double kAmpTolerance = 1e-3;   // dB, for a double-precision transform
constexpr double kFreqTolerance = 1e-6;  // relative

bool Near(double a, double b, double rtol, double atol) {
  return std::fabs(a - b) <= rtol * std::max(std::fabs(a), std::fabs(b)) + atol;
}

// Compares a trace with the expected "freq" and "amp" lists; returns the first mismatch.
QString CompareTrace(const TraceSet& t, int trace, const QJsonObject& expected) {
  const QJsonArray freq = expected["freq"].toArray();
  const QJsonArray amp = expected["amp"].toArray();
  if (freq.size() != kPointCount || amp.size() != kPointCount) return "expected lists are not 2048 long";
  for (int k = 0; k < kPointCount; ++k) {
    if (!Near(t.FreqPoints[k][trace], freq[k].toDouble(), kFreqTolerance, 0))
      return QString("point %1 frequency %2, expected %3").arg(k + 1).arg(t.FreqPoints[k][trace]).arg(freq[k].toDouble());
    if (!Near(t.AmpPoints[k][trace], amp[k].toDouble(), 0, kAmpTolerance))
      return QString("point %1 level %2, expected %3").arg(k + 1).arg(t.AmpPoints[k][trace]).arg(amp[k].toDouble());
  }
  return {};
}

void CompareReport(const UpdateReport& r, const VerticalWindow& w, const SpectrumState& s, const QJsonObject& e) {
  QVERIFY(Near(r.Max, e["max"].toDouble(), 0, kAmpTolerance));
  QVERIFY(Near(r.Min, e["min"].toDouble(), 0, kAmpTolerance));
  QVERIFY(Near(r.Range, e["range"].toDouble(), 0, 2 * kAmpTolerance));
  QVERIFY(Near(r.FitMax, e["fit_max"].toDouble(), 0, kAmpTolerance));
  QVERIFY(Near(r.FitMin, e["fit_min"].toDouble(), 0, kAmpTolerance));
  QCOMPARE(r.Refit, e["refit"].toBool());
  QVERIFY(Near(w.Top, e["top"].toDouble(), 0, 2 * kAmpTolerance));
  QVERIFY(Near(w.Bottom, e["bottom"].toDouble(), 0, 2 * kAmpTolerance));
  QVERIFY(Near(w.Span, e["span"].toDouble(), 0, 4 * kAmpTolerance));
  if (r.Refit) {
    QCOMPARE(r.VScrollMin, e["vScrollMin"].toInt());
    QCOMPARE(r.VScrollMax, e["vScrollMax"].toInt());
  }
  QCOMPARE(s.FirstTrace, e["FirstTrace"].toBool());
  QCOMPARE(s.Traces.DataValid, e["DataValid"].toBool());
  QCOMPARE(s.Traces.VideoAverageCount, e["VideoAverageCount"].toInt());
  QCOMPARE(s.Traces.PeakHoldCount, e["PeakHoldCount"].toInt());
  QCOMPARE(QString::fromStdString(r.VideoAverageToolTip), e["VideoAverageToolTip"].toString());
  QCOMPARE(QString::fromStdString(r.PeakHoldToolTip), e["PeakHoldToolTip"].toString());
  QCOMPARE(r.StatusText.has_value(), !e["StatusText"].isNull());
  if (r.StatusText) QCOMPARE(QString::fromStdString(*r.StatusText), e["StatusText"].toString());
  QCOMPARE(QString::fromStdString(r.CenterFreqPanel), e["CenterFreqPanel"].toString());
  QCOMPARE(QString::fromStdString(r.SampleRatePanel), e["SampleRatePanel"].toString());
}

}  // namespace

class SpectrumUpdateTest : public QObject {
  Q_OBJECT

 private slots:
  void fixtureUpdate_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("window");
    for (const QString& name : FixtureBlockNames()) {
      QTest::newRow(qPrintable(name + " window off")) << name << false;
      QTest::newRow(qPrintable(name + " window on")) << name << true;
    }
  }

  void fixtureUpdate() {
    QFETCH(QString, name);
    QFETCH(bool, window);
    const QJsonObject expected = ReadJson("expected/" + name + ".json")[window ? "window_on" : "window_off"].toObject();
    SpectrumState state;
    state.Traces.TraceVisible[kCurrentTrace] = true;
    ParseBlock(ReadBytes("blocks/" + name + ".bin"), state.Capture);
    VerticalWindow vertical;
    const UpdateReport report = UpdateSpectrum(state, vertical, window);
    const QString mismatch = CompareTrace(state.Traces, kCurrentTrace, expected);
    QVERIFY2(mismatch.isEmpty(), qPrintable(mismatch));
    CompareReport(report, vertical, state, expected);
  }

  void sequenceWithPeakHoldAndVideoAverage_data() {
    QTest::addColumn<bool>("window");
    QTest::newRow("window off") << false;
    QTest::newRow("window on") << true;
  }

  void sequenceWithPeakHoldAndVideoAverage() {
    QFETCH(bool, window);
    const QJsonObject expected =
        ReadJson(QString("expected/sequences/seq_changing_header.window_%1.json").arg(window ? "on" : "off"));
    SpectrumState state;
    state.Traces.TraceVisible = {true, false, true, true};
    VerticalWindow vertical;
    UpdateReport report;
    for (const QJsonValue& block : expected["blocks"].toArray()) {
      ParseBlock(ReadBytes("blocks/" + block.toString()), state.Capture);
      report = UpdateSpectrum(state, vertical, window);
    }
    const QJsonObject traces = expected["traces"].toObject();
    const char* names[] = {"Current", "Previous", "Video Average", "Peak Hold"};
    for (int trace = 0; trace < kTraceCount; ++trace) {
      const QString mismatch = CompareTrace(state.Traces, trace, traces[names[trace]].toObject());
      QVERIFY2(mismatch.isEmpty(), qPrintable(QString(names[trace]) + ": " + mismatch));
    }
    CompareReport(report, vertical, state, expected["results"].toObject());
  }

  void transformIsTheUnscaledForwardDft() {
    // A tone at bin 5 of amplitude 1 gives 4096 at bin 5 and (close to) nothing elsewhere;
    // a tone at a negative bin lands above 2048.
    SampleArray re{}, im{}, outRe{}, outIm{};
    for (int n = 0; n < kSampleCount; ++n) {
      re[n] = static_cast<float>(std::cos(2 * M_PI * 5 * n / kSampleCount));
      im[n] = static_cast<float>(std::sin(2 * M_PI * 5 * n / kSampleCount));
    }
    fft_float(re, im, outRe, outIm);
    QVERIFY(std::fabs(outRe[5] - 4096) < 1e-2);
    QVERIFY(std::fabs(outIm[5]) < 1e-2);
    QVERIFY(std::fabs(outRe[kSampleCount - 5]) < 1e-2);
    for (int n = 0; n < kSampleCount; ++n) im[n] = -im[n];
    fft_float(re, im, outRe, outIm);
    QVERIFY(std::fabs(outRe[kSampleCount - 5] - 4096) < 1e-2);

    QCOMPARE(Index_to_frequency(4096, 0), 0.0);
    QCOMPARE(Index_to_frequency(4096, 2048), 0.5);
    QCOMPARE(Index_to_frequency(4096, 2049), -2047.0 / 4096);
    QCOMPARE(Index_to_frequency(4096, 4096), 0.0);
  }

  void pointsCarryTheirBinWithTheNextLabel() {
    // A tone at bin j shows at point j + 1 with the label of bin j + 1; the last point
    // is labelled with the centre frequency itself.
    SpectrumState state;
    state.Capture.CenterFreq = 70;
    state.Capture.SampleRate = 62.5;
    state.Capture.FreqScale = 10;
    for (int n = 0; n < kSampleCount; ++n) {
      state.Capture.SampleI[n] = static_cast<float>(100 * std::cos(2 * M_PI * 17 * n / kSampleCount));
      state.Capture.SampleQ[n] = static_cast<float>(100 * std::sin(2 * M_PI * 17 * n / kSampleCount));
    }
    VerticalWindow vertical;
    UpdateSpectrum(state, vertical, false);
    const TraceSet& t = state.Traces;
    int loudest = 0;
    for (int k = 1; k < kPointCount; ++k)
      if (t.AmpPoints[k].Current > t.AmpPoints[loudest].Current) loudest = k;
    QCOMPARE(loudest + 1, 18);
    QCOMPARE(t.FreqPoints[loudest].Current, static_cast<float>((18.0 / 4096 * 62.5 + 70) * 10));
    QCOMPARE(t.FreqPoints[kPointCount - 1].Current, 700.0f);
    QCOMPARE(t.FreqPoints[1024].Current, static_cast<float>((-1023.0 / 4096 * 62.5 + 70) * 10));
  }

  void windowOffLeavesTheSamplesAsParsed() {
    SpectrumState state;
    ParseBlock(ReadBytes("blocks/noise_seed1234.bin"), state.Capture);
    const SampleArray parsed = state.Capture.SampleI;
    VerticalWindow vertical;
    UpdateSpectrum(state, vertical, false);
    QVERIFY(state.Capture.SampleI == parsed);
    UpdateSpectrum(state, vertical, true);
    QVERIFY(state.Capture.SampleI != parsed);
    // The window is shifted by half a radian: not symmetric about the centre.
    SampleArray ones, twos;
    ones.fill(1.0f);
    twos.fill(1.0f);
    WindowSmooth(ones, twos);
    QVERIFY(ones == twos);
    QVERIFY(std::fabs(ones[100] - ones[kSampleCount - 1 - 100]) > 1e-3);
  }

  void flatTraceRefitsToTheWideWindow() {
    // All-zero input: every level is the 0 dB floor, the range counts as 250, and a due
    // re-fit gives 187.5 .. -150.
    SpectrumState state;
    state.Capture.SampleRate = 62.5;
    VerticalWindow narrow{50.0f, 0.0f, 50.0f};
    const UpdateReport r = UpdateSpectrum(state, narrow, true);
    QVERIFY(r.Refit);
    QCOMPARE(narrow.Top, 187.5f);
    QCOMPARE(narrow.Bottom, -150.0f);
    QCOMPARE(narrow.Span, 337.5f);
    QCOMPARE(r.VScrollMin, -188);  // -187.5 rounds half to even
    QCOMPARE(r.VScrollMax, 150);
    for (int k = 0; k < kPointCount; ++k) QCOMPARE(state.Traces.AmpPoints[k].Current, 0.0f);
  }

  void progressRisesToOneHundredOnce() {
    SpectrumState state;
    VerticalWindow vertical;
    QList<int> seen;
    UpdateSpectrum(state, vertical, true, [&](int pct) { seen.append(pct); });
    QCOMPARE(seen.size(), 100);
    QCOMPARE(seen.first(), 1);
    QCOMPARE(seen.last(), 100);
  }
};

std::unique_ptr<QObject> NewSpectrumUpdateTest() { return std::make_unique<SpectrumUpdateTest>(); }

#include "test_spectrum_update.moc"
