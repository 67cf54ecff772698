// The numeric core: capture blocks (the fixtures field by field, and the shapes a unit or a
// broken link can produce); the spectrum update against the acceptance results (points,
// levels, the vertical re-fit and its scroll limits, the status texts) for single blocks and
// a sequence of changing headers with peak hold and video average running; the trace set
// beyond what that sequence shows (the frequencies the hold and the average keep, the
// switches, what they restart and clear, the counters at their limit); the data set files
// before any block, the overwrite question and its answers, and failures that leave existing
// files alone (the files of the acceptance runs are compared by the fixture_exports test,
// through the command); the amplitude-order searches and the five moves in both modes: ties
// broken the two opposite ways, a flat trace, the threshold, wrap-around, moves that find
// nothing, and the nearest point measured on the screen.
#include <QtTest>

#include <cmath>
#include <memory>
#include <string>

#include "dsp/capture_block.h"
#include "dsp/data_set_export.h"
#include "dsp/point_navigation.h"
#include "link/recording_notices.h"
#include "test_support.h"

using namespace tavrix;
using namespace tavrix::testing;

namespace {

// An 8224-byte block with the given header and every I and Q byte set.
QByteArray MakeBlock(uint32_t center, uint16_t rate, char iByte, char qByte) {
  QByteArray header(30, '\0');
  for (int k = 0; k < 4; ++k) header[2 + k] = static_cast<char>(center >> (24 - 8 * k));
  header[0] = 0x12, header[1] = 0x34, header[6] = static_cast<char>(rate >> 8), header[7] = static_cast<char>(rate);
  return header + QByteArray(kSampleCount, iByte) + QByteArray(kSampleCount, qByte) + QByteArray(2, '\0');
}

// Parsed into fields that held another block: nothing of the earlier one may survive.
CaptureFields Reparsed(const QByteArray& block) {
  CaptureFields f = ParseBlock(MakeBlock(1000000, 5, 0x7E, '\x81').toStdString());
  ParseBlock(std::string_view(block.constData(), static_cast<size_t>(block.size())), f);
  return f;
}

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

class DspTest : public QObject {
  Q_OBJECT

 private slots:
  void fixtureFields_data() {
    QTest::addColumn<QString>("name");
    for (const QString& name : FixtureBlockNames()) QTest::newRow(qPrintable(name)) << name;
  }

  // Every byte value is in the noise block: the samples check the 255.5 offset of the negative half.
  void fixtureFields() {
    QFETCH(QString, name);
    const QJsonObject e = ReadJson("expected/" + name + ".json")["parse"].toObject();
    const CaptureFields f = Reparsed(QByteArray::fromStdString(ReadBytes("blocks/" + name + ".bin")));
    QJsonArray captions, sampleI, sampleQ;
    for (const std::string& c : f.SpanCaptions) captions.append(QString::fromStdString(c));
    for (int k = 0; k < kSampleCount; ++k) sampleI.append(f.SampleI[k]), sampleQ.append(f.SampleQ[k]);
    const QJsonObject ours{
        {"LeadWord", f.LeadWord},   {"TrailerWord", f.TrailerWord}, {"RateExponentRaw", f.RateExponentRaw},
        {"RateExponent", f.RateExponent}, {"StaleRepair", f.StaleRepair}, {"CenterFreq", f.CenterFreq},
        {"RateDivisor", f.RateDivisor}, {"SampleRate", f.SampleRate}, {"FreqScale", f.FreqScale},
        {"FreqFormat", QString::fromStdString(f.FreqFormat)}, {"FreqLow", f.FreqLow}, {"FreqHigh", f.FreqHigh},
        {"BinStep", f.BinStep},     {"RateStep", f.RateStep},       {"SpanCaptions", captions},
        {"SampleI", sampleI},       {"SampleQ", sampleQ}};
    for (auto it = ours.begin(); it != ours.end(); ++it)
      QVERIFY2(*it == e[it.key()], qPrintable(it.key() + " is " + it->toVariant().toString()));
  }

  // The header (centre, trailer word, a repaired stale start), a telling sample and the last,
  // and what the rate exponent sets: rate, scale, format, the first and last span caption.
  void blockShapes_data() {
    QTest::addColumn<QByteArray>("block");
    QTest::addColumn<int>("at");
    QTest::addColumn<QString>("fields");
    QByteArray runOfSeven = MakeBlock(70000, 3, 0x05, '\xF0');
    runOfSeven[30 + 7] = 0x06;  // I byte 8 breaks the run; Q has eight
    // Missing bytes read as spaces, in the header words as in the samples.
    QTest::newRow("one byte") << QByteArray("\x7F") << 0
                              << "538976.288 7f20 stale (32,32) (32,32) 0.1220703125 x10000 ##0.0000000MHz";
    // The stale-start repair needs a run of eight in both channels.
    QTest::newRow("run of seven") << runOfSeven << 7 << "70.000 0000 (6,-15.5) (5,-15.5) 62.5 x10 ##0.0000MHz";
    // A longer block is read from its start; the trailer word is its own last two bytes.
    QTest::newRow("long, largest centre") << MakeBlock(0xFFFFFFFFu, 3, 3, 4) + QByteArray(5000, '\x09') + "\xAB\xCD"
                                          << 0 << "4294967.295 abcd stale (3,4) (3,4) 62.5 x10 ##0.0000MHz";
    for (const auto& [exponent, fields] :
         {std::pair(0, "500 x1 ##0.000MHz 0.0200MHz Span .. 25.0000MHz Span"),
          std::pair(6, "7.8125 x100 ##0.00000MHz 0.0002MHz Span .. 0.2500MHz Span"),
          std::pair(9, "0.9765625 x1000 ##0.000000MHz 0.0000MHz Span .. 0.0250MHz Span"),
          std::pair(13, "0.1220703125 x10000 ##0.0000000MHz 0.0000MHz Span .. 0.0025MHz Span")})  // clamped to 12
      QTest::newRow(qPrintable(QString("exponent %1").arg(exponent)))
          << MakeBlock(70000, static_cast<uint16_t>(exponent), 1, 2) << 0
          << QString("70.000 0000 stale (1,2) (1,2) ") + fields;
  }

  void blockShapes() {
    QFETCH(QByteArray, block);
    QFETCH(int, at);
    QFETCH(QString, fields);
    const CaptureFields f = Reparsed(block);
    const auto iq = [&](int k) { return QString("(%1,%2)").arg(f.SampleI[k]).arg(f.SampleQ[k]); };
    const QString ours = QString("%1 %2%3 %4 %5 %6 x%7 %8 %9 .. %10")
                             .arg(f.CenterFreq, 0, 'f', 3).arg(f.TrailerWord, 4, 16, QChar('0'))
                             .arg(f.StaleRepair ? " stale" : "", iq(at), iq(kSampleCount - 1))
                             .arg(f.SampleRate, 0, 'g', 12).arg(f.FreqScale)
                             .arg(QString::fromStdString(f.FreqFormat), QString::fromStdString(f.SpanCaptions[0]),
                                  QString::fromStdString(f.SpanCaptions[9]));
    QVERIFY2(ours.startsWith(fields), qPrintable(ours));
  }

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

  void beforeAnyBlockEverySetIsZeros() {
    // 4096 lines for the raw and transformed sets, 2048 for the traces.
    for (const DataSetInfo& info : kDataSets)
      QCOMPARE(FormatDataSet(info.Set, SpectrumState{}), ReadBytes(QString("expected/no_block.%1.txt").arg(info.Name)));
  }

  // One file through a series of exports: a new file is written without a question and the
  // bar rises to 100, then is reset; an existing one is replaced only after Yes. A failure is
  // one sentence that names the file and touches nothing: a missing folder, a folder in the
  // file's place.
  void existingFilesAreReplacedOnlyAfterYesAndFailuresTouchNothing() {
    QTemporaryDir dir;
    const std::string path = QDir(dir.path()).filePath("scaled.TXT").toStdString();
    const std::string lost = QDir(dir.path()).filePath("missing/folder/set.txt").toStdString();
    const SpectrumState state;
    const std::string question = " already exists!  Do you wish to overwrite this file?";
    const struct { DataSet set; std::string path; MessageAnswer answer; ExportResult::Outcome outcome;
                   std::string asked; DataSet kept; } rows[] = {
        {DataSet::Raw, path, MessageAnswer::No, ExportResult::Written, "", DataSet::Raw},
        {DataSet::Scaled, path, MessageAnswer::No, ExportResult::Declined,
         "The transformed & scaled data set file " + path + question, DataSet::Raw},
        {DataSet::PeakHold, path, MessageAnswer::Yes, ExportResult::Written,
         "The peak hold data set file " + path + question, DataSet::PeakHold},
        {DataSet::VideoAverage, lost, MessageAnswer::Yes, ExportResult::Failed, "", DataSet::PeakHold},
        {DataSet::Transformed, dir.path().toStdString(), MessageAnswer::Yes, ExportResult::Failed,
         "The transformed data set file " + dir.path().toStdString() + question, DataSet::PeakHold}};
    for (const auto& row : rows) {
      RecordingNotices notices;
      notices.answer = row.answer;
      QList<int> progress;
      const ExportResult r = WriteDataSet(row.set, row.path, state, &notices, [&](int pct) { progress.append(pct); });
      QCOMPARE(r.outcome, row.outcome);
      QCOMPARE(notices.Shown(MessageButtons::YesNo, MessageIcon::Exclamation),
               row.asked.empty() ? "" : "OK to Overwrite|" + row.asked);
      QCOMPARE(ReadWholeFile(path), FormatDataSet(row.kept, state));
      // The last line's whole percentage of 4096, then 0.
      if (row.outcome == ExportResult::Written)
        QCOMPARE(progress.mid(progress.size() - 2), QList<int>({row.set == DataSet::Raw ? 100 : 50, 0}));
      if (row.outcome == ExportResult::Failed)
        QVERIFY(r.message.find(row.path) != std::string::npos && r.message.find('\n') == std::string::npos);
    }
    QCOMPARE(QDir(dir.path()).entryList(QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot), QStringList{"scaled.TXT"});
  }

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

TAVRIX_TEST_MAIN(QCoreApplication, Make<DspTest>)

#include "test_dsp.moc"
