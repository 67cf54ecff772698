// The band the window measures: from the cursors, read with a noise band or the estimate,
// averaged in power, and its alarm changes written to the event log once each, with a log
// that cannot be written told once.
#include <QtTest>

#include <cmath>

#include "measure/band_watch.h"
#include "measure/event_log_file.h"
#include "test_support.h"

using namespace tavrix;
using tavrix::testing::ReadWholeFile;

namespace {

constexpr double kStep = 1.0 / 128;  // MHz between points: exact in single precision
double F(int slot) { return 100.0 + slot * kStep; }
BandMHz Slots(int a, int b) { return {F(a) - kStep / 2, F(b) + kStep / 2}; }
double Db(double ratio) { return 10.0 * std::log10(ratio); }

// A current trace laid out as a spectrum is, every point at `floor` dB but slots
// [first, end) at `level`.
struct Synthetic {
  TraceSet set;
  explicit Synthetic(float floor, int first = 0, int end = 0, float level = 0) {
    set.DataValid = true;
    for (int slot = 0; slot < kPointCount; ++slot) {
      const auto i = static_cast<size_t>(MeasuredTrace::IndexAt(slot));
      set.FreqPoints[i].Current = static_cast<float>(F(slot));
      set.AmpPoints[i].Current = slot >= first && slot < end ? level : floor;
    }
  }
  WatchInput Input(std::optional<BandMHz> band) const { return {&set, kCurrentTrace, 1.0f, {F(0), F(2047)}, band}; }
};

// A reading of one point of `db` over a noise density of 1: its C/N is 10 log10(10^(db/10) - 1).
BandReading Reading(double db, BandMHz band = {70, 71}) {
  BandReading r;
  r.Band = band;
  r.Figures = CarrierFigures{1, std::pow(10.0, db / 10), db, {}, 0, 0, 0};
  r.NoiseDensity = 1.0;
  return r;
}

}  // namespace

class BandWatchTest : public QObject {
  Q_OBJECT

 private slots:
  void bandFromTheCursors() {
    const struct { const char* name; CursorMark one, two; std::optional<BandMHz> band; } rows[] = {
        {"cursor 2 not placed", {700, -20}, {}, std::nullopt},
        {"cursor 2 left of cursor 1", {710, -20}, {700.5f, -60}, BandMHz{70.05, 71.0}},
        {"both at one frequency", {700, -1}, {700, -50}, BandMHz{70.0, 70.0}},
    };
    for (const auto& r : rows) {
      const std::optional<BandMHz> band = BandBetween(r.one, r.two, 10.0);
      QVERIFY2(band.has_value() == r.band.has_value(), r.name);
      if (band) QVERIFY2(std::fabs(band->Low - r.band->Low) < 1e-5 && std::fabs(band->High - r.band->High) < 1e-5, r.name);
    }
  }

  // 220 points around a 200-point carrier at 20 dB on a 0 dB floor: with the floor as the
  // noise band, C/N = 10 log10((200 x 100 + 20 - 220) / 220) = 10 log10(90).
  void readingTakesItsNoiseFromTheNoiseBandOrTheEstimate() {
    const Synthetic t(0.0f, 900, 1100, 20.0f);
    const BandMHz carrier = Slots(890, 1109), floor = Slots(100, 299);
    const std::optional<double> estimate = EstimateNoiseDensity(MeasuredTrace(t.set, kCurrentTrace, 1.0f), carrier);
    const struct { const char* name; std::optional<BandMHz> band, noise; std::optional<double> density; bool refused; } rows[] = {
        {"cursors not placed", std::nullopt, floor, std::nullopt, false},
        {"band beyond the shown band", BandMHz{F(2000), F(2047) + 1}, floor, std::nullopt, false},
        {"noise band", carrier, floor, 1.0, false},
        {"no noise band: the estimate", carrier, std::nullopt, estimate, false},
        {"reversed noise band: the estimate", carrier, BandMHz{F(299), F(100)}, estimate, true},
    };
    for (const auto& r : rows) {
      const BandReading got = BandWatch().Read(t.Input(r.band), {r.noise, {}, false});
      QVERIFY2(got.Figures.has_value() == r.density.has_value() && got.Problem.empty() == got.Figures.has_value(), r.name);
      if (!got.Figures) continue;
      QVERIFY2(got.Figures->Points == 220 && std::fabs(*got.NoiseDensity - *r.density) < 1e-12, r.name);
      QVERIFY2(got.NoiseEstimated == (r.density != 1.0) && got.NoiseProblem.empty() == !r.refused, r.name);
      const QString cn = QString::fromStdString(FigureLines(got)[7].Value);
      QVERIFY2(cn.endsWith("(estimated)") == got.NoiseEstimated, qPrintable(cn));
      if (!got.NoiseEstimated) QCOMPARE(cn, QString::asprintf("%.3f dB", Db(90)));
    }
  }

  // 0 dB then 10 dB averages 5.5 in power (7.404 dB), not 5 dB; once ten captures are in,
  // a new one weighs 1 - e^(-1/10). Another band starts again; with the average off the
  // latest trace alone counts.
  void averageIsOfPowerOverAnExponentialWindow() {
    const BandMHz band = Slots(100, 199), noise = Slots(1000, 1099);
    const WatchOptions on{noise, {}, true};
    BandWatch watch;
    const auto capture = [&](float level, BandMHz b) {
      const Synthetic t(level);
      watch.AddCapture(t.Input(b), on);
      return watch.Read(t.Input(b), on);
    };
    capture(0.0f, band);
    BandReading r = capture(10.0f, band);
    QVERIFY(r.Averaged == 2 && std::fabs(r.Figures->ChannelPowerDb - Db(550)) < 1e-5 &&
            std::fabs(PowerDb(*r.NoiseDensity) - Db(5.5)) < 1e-9);
    const BandMHz other = Slots(100, 200);
    QCOMPARE(capture(0.0f, other).Averaged, 1);
    for (int i = 0; i < 19; ++i) capture(0.0f, other);
    r = capture(10.0f, other);
    const double weight = 1 - std::exp(-0.1);
    QVERIFY(r.Averaged == 21 && std::fabs(r.Figures->ChannelPowerDb - Db(101 * (1 + 9 * weight))) < 1e-5);
    const Synthetic latest(3.0f);
    const BandReading off = watch.Read(latest.Input(other), {noise, {}, false});
    QVERIFY(off.Averaged == 0 && std::fabs(off.Figures->ChannelPowerDb - (3 + Db(101))) < 1e-5);
  }

  // Through a run of captures the file gets a line per change and nothing while the state
  // stays; a band that moves away while in alarm clears it.
  void alarmLinesAreWrittenOncePerChange() {
    QTemporaryDir dir;
    EventLogFile file(dir.filePath("events.csv").toStdString());
    const std::string unit = "Rack \"7\", east";
    const BandLimits at20{20.0, std::nullopt}, at10{10.0, std::nullopt};
    const struct { BandReading reading; BandLimits limits; } captures[] = {
        {Reading(25), at20}, {Reading(15), at20}, {Reading(14), at20}, {Reading(16), at20},
        {Reading(16), at10}, {Reading(5), at10},  {Reading(30, {80, 81}), at10}, {BandReading{}, at10},
    };
    BandWatch watch;
    for (const auto& c : captures) {
      std::vector<std::string> lines;
      for (const AlarmChange& change : watch.CheckLimits(c.reading, c.limits))
        lines.push_back(EventLogLine({std::chrono::system_clock::from_time_t(0), unit, change}));
      QVERIFY(file.Append(lines).empty());
    }
    const QStringList lines = QString::fromStdString(ReadWholeFile(file.Path())).split('\n', Qt::SkipEmptyParts);
    QStringList states;
    for (const QString& line : lines.mid(1)) {
      const std::vector<std::string> f = CsvFields(line.toStdString());
      QCOMPARE(f[1], unit);
      states << QString::fromStdString(f[2] + " " + f[4] + " " + f[5] + " " + f[6]);
    }
    QCOMPARE(lines.value(0) + "\n", QString::fromStdString(EventLogHeader()));
    QCOMPARE(states, QStringList({"70.000000-71.000000 15.000 20.000 alarm", "70.000000-71.000000 16.000 10.000 clear",
                                  "70.000000-71.000000 5.000 10.000 alarm", "70.000000-71.000000 5.000  clear"}));
  }

  // A folder where the file should be: told once, the lines kept; written whole once it can
  // be, and told again when it fails after that.
  void aLogThatCannotBeWrittenIsToldOnce() {
    QTemporaryDir dir;
    const QString path = dir.filePath("events.csv");
    QVERIFY(QDir().mkdir(path));
    EventLogFile file(path.toStdString());
    const std::string told = file.Append({"a\n"});
    QVERIFY2(QString::fromStdString(told).contains(path), told.c_str());
    QVERIFY(file.Append({"b\n"}).empty() && file.Waiting() == 2);
    QVERIFY(QDir().rmdir(path));
    QVERIFY(file.Append({"c\n"}).empty() && file.Waiting() == 0);
    QCOMPARE(ReadWholeFile(path.toStdString()), EventLogHeader() + "a\nb\nc\n");
    QVERIFY(QFile::remove(path) && QDir().mkdir(path));
    QVERIFY(!file.Append({"d\n"}).empty());
  }
};

std::unique_ptr<QObject> NewBandWatchTest() { return std::make_unique<BandWatchTest>(); }

#include "test_band_watch.moc"
