// The spectrum update against the acceptance results (points, levels, the vertical re-fit
// and its scroll limits, the status texts) for single blocks and a sequence of changing
// headers with peak hold and video average running. The data set files of the same runs
// are compared by the fixture_exports test, through the command that writes them.
#include <QtTest>

#include <cmath>
#include "dsp/spectrum_update.h"
#include "test_support.h"

using namespace tavrix;
using namespace tavrix::testing;

namespace {

constexpr double kAmpTolerance = 1e-3;  // dB, for a double-precision transform

// Compares a trace with the expected "freq" (relative 1e-6) and "amp" lists; returns the first mismatch.
QString CompareTrace(const TraceSet& t, int trace, const QJsonObject& expected) {
  const QJsonArray freq = expected["freq"].toArray(), amp = expected["amp"].toArray();
  for (int k = 0; k < kPointCount; ++k) {
    const double f = t.FreqPoints[k][trace], a = t.AmpPoints[k][trace];
    if (std::fabs(f - freq[k].toDouble()) > 1e-6 * std::fabs(f) || std::fabs(a - amp[k].toDouble()) > kAmpTolerance)
      return QString("point %1 is %2 %3 instead of %4 %5")
          .arg(k + 1).arg(f).arg(a).arg(freq[k].toDouble()).arg(amp[k].toDouble());
  }
  return {};
}

void CompareReport(const UpdateReport& r, const VerticalWindow& w, const SpectrumState& s, const QJsonObject& e) {
  const auto text = [](const std::string& t) { return QString::fromStdString(t); };
  const QJsonObject ours{
      {"max", r.Max}, {"min", r.Min}, {"range", r.Range}, {"fit_max", r.FitMax}, {"fit_min", r.FitMin},
      {"top", w.Top}, {"bottom", w.Bottom}, {"span", w.Span}, {"refit", r.Refit}, {"vScrollMin", r.VScrollMin},
      {"vScrollMax", r.VScrollMax}, {"FirstTrace", s.FirstTrace}, {"DataValid", s.Traces.DataValid},
      {"VideoAverageCount", s.Traces.VideoAverageCount}, {"PeakHoldCount", s.Traces.PeakHoldCount},
      {"VideoAverageToolTip", text(r.VideoAverageToolTip)}, {"PeakHoldToolTip", text(r.PeakHoldToolTip)},
      {"StatusText", r.StatusText ? QJsonValue(text(*r.StatusText)) : QJsonValue()},
      {"CenterFreqPanel", text(r.CenterFreqPanel)}, {"SampleRatePanel", text(r.SampleRatePanel)}};
  for (auto it = ours.begin(); it != ours.end(); ++it) {
    if (!r.Refit && it.key().startsWith("vScroll")) continue;  // the scroll limits move with a re-fit only
    const QString& key = it.key();  // the window's levels add two level errors, its span four
    const int errors = key == "span" ? 4 : key == "range" || key == "top" || key == "bottom" ? 2 : 1;
    const bool same =
        it->isDouble() ? std::fabs(it->toDouble() - e[key].toDouble()) <= errors * kAmpTolerance : *it == e[key];
    QVERIFY2(same, qPrintable(key + " is " + it->toVariant().toString()));
  }
}

}  // namespace

class SpectrumUpdateTest : public QObject {
  Q_OBJECT

 private slots:
  void matchesTheAcceptanceResults_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("window");
    for (const QString& name : FixtureBlockNames() + QStringList{"sequences/seq_changing_header"})
      for (const bool window : {false, true})
        QTest::newRow(qPrintable(name + (window ? " window on" : " window off"))) << name << window;
  }

  void matchesTheAcceptanceResults() {
    QFETCH(QString, name);
    QFETCH(bool, window);
    const QString windowKey = window ? "window_on" : "window_off";
    const bool sequence = name.startsWith("sequences/");
    const QJsonObject expected = sequence ? ReadJson("expected/" + name + "." + windowKey + ".json")
                                          : ReadJson("expected/" + name + ".json")[windowKey].toObject();
    SpectrumState state;
    state.Traces.TraceVisible = {true, false, sequence, sequence};
    VerticalWindow vertical;
    UpdateReport report;
    for (const QString& block : sequence ? expected["blocks"].toVariant().toStringList() : QStringList{name + ".bin"}) {
      ParseBlock(ReadBytes("blocks/" + block), state.Capture);
      report = UpdateSpectrum(state, vertical, window);
    }
    for (int trace = 0; trace < (sequence ? kTraceCount : 1); ++trace) {
      const QString traceName = QString::fromStdString(TraceName(static_cast<int16_t>(trace)));
      const QString mismatch =
          CompareTrace(state.Traces, trace, sequence ? expected["traces"][traceName].toObject() : expected);
      QVERIFY2(mismatch.isEmpty(), qPrintable(traceName + ": " + mismatch));
    }
    CompareReport(report, vertical, state, sequence ? expected["results"].toObject() : expected);
  }

  void flatTraceRefitsToTheWideWindow() {
    // All-zero input: every level is the 0 dB floor, the range counts as 250, and a due
    // re-fit gives 187.5 .. -150. The progress rises through every percentage once.
    SpectrumState state;
    state.Capture.SampleRate = 62.5;
    VerticalWindow narrow{50.0f, 0.0f, 50.0f};
    QList<int> seen;
    const UpdateReport r = UpdateSpectrum(state, narrow, true, [&](int pct) { seen.append(pct); });
    QVERIFY(r.Refit);
    QCOMPARE(QList<float>({narrow.Top, narrow.Bottom, narrow.Span}), QList<float>({187.5f, -150.0f, 337.5f}));
    QCOMPARE(QList<int>({r.VScrollMin, r.VScrollMax}), QList<int>({-188, 150}));  // -187.5 rounds half to even
    for (int percent = 1; percent <= 100; ++percent) QCOMPARE(seen.value(percent - 1), percent);
    QCOMPARE(seen.size(), 100);
  }
};

std::unique_ptr<QObject> NewSpectrumUpdateTest() { return std::make_unique<SpectrumUpdateTest>(); }

#include "test_spectrum_update.moc"
