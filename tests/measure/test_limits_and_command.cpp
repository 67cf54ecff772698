// Limit alarms through a run of captures, the event log's lines, and the measure command:
// every refusal one line with nothing printed, and a table worked out by hand on a
// capture of silence (every point at the 0 dB floor).
#include <QtTest>

#include <sstream>

#include "app/command_line.h"
#include "measure/limit_alarms.h"
#include "test_support.h"

using namespace tavrix;
using namespace tavrix::testing;

namespace {

struct Run { int status; QString out, err; };
Run Measure(const QString& words) {
  std::vector<std::string> args{"measure"};
  for (QString w : words.split(' ', Qt::SkipEmptyParts)) {
    w.replace("TONE", DataPath("blocks/tone_bin0005.bin")).replace("SILENCE", DataPath("blocks/all_00.bin"));
    args.push_back(w.replace("EMPTY", DataPath("blocks/empty.bin")).toStdString());
  }
  std::ostringstream out, err;
  const int status = RunCommandLine(args, out, err);
  return {status, QString::fromStdString(out.str()), QString::fromStdString(err.str())};
}

}  // namespace

class LimitsAndCommandTest : public QObject {
  Q_OBJECT

 private slots:
  void alarmsReportOnlyChanges() {
    const std::optional<double> none;
    const CarrierToNoise below{true, 0.0};
    const auto cn = [](double db) { return std::optional<CarrierToNoise>(CarrierToNoise{false, db}); };
    const struct { BandLimits limits; LimitedFigures figures; const char* changes; } captures[] = {
        {{15.0, 10.0}, {20.0, cn(12.0)}, ""},
        {{15.0, 10.0}, {14.5, cn(12.0)}, "ChannelPower,14.500,15.000,alarm;"},
        {{15.0, 10.0}, {14.0, cn(12.0)}, ""},  // still below: nothing new
        {{15.0, 10.0}, {15.0, cn(9.9)}, "ChannelPower,15.000,15.000,clear;CN,9.900,10.000,alarm;"},
        {{15.0, 10.0}, {16.0, below}, ""},
        {{15.0, 10.0}, {16.0, cn(11.0)}, "CN,11.000,10.000,clear;"},
        {{15.0, 10.0}, {16.0, below}, "CN,below noise,10.000,alarm;"},
        {{15.0, none}, {16.0, below}, "CN,below noise,,clear;"},  // the limit taken away
        {{15.0, 10.0}, {16.0, std::nullopt}, ""},                  // no noise band: nothing to judge
        {{15.0, 10.0}, {16.0, cn(5.0)}, "CN,5.000,10.000,alarm;"},
        {{15.0, 10.0}, {16.0, std::nullopt}, "CN,,10.000,clear;"},  // the noise band taken away
        {{none, none}, {-50.0, below}, ""},
    };
    LimitAlarms alarms;
    const auto time = std::chrono::system_clock::from_time_t(1714564803);
    int n = 0;
    for (const auto& c : captures) {
      QString changes;
      for (const AlarmChange& change : alarms.Check("70.000000-71.000000", c.limits, c.figures)) {
        const QString line = QString::fromStdString(EventLogLine({time, "Rack 2", change}));
        QVERIFY2(line.startsWith("2024-05-01T12:00:03Z,Rack 2,70.000000-71.000000,") && line.endsWith('\n'),
                 qPrintable(line));
        changes += line.section(',', 3).trimmed() + ";";
      }
      QVERIFY2(changes == c.changes, qPrintable(QString("capture %1: %2").arg(n).arg(changes)));
      ++n;
    }
    QVERIFY(!alarms.InAlarm("70.000000-71.000000"));
    alarms.Check("b", {15.0, none}, {1.0, std::nullopt});
    QVERIFY(alarms.InAlarm("b"));
    alarms.Forget("b");
    QVERIFY(!alarms.InAlarm("b"));
  }

  void eventLogQuotesWhatNeedsIt() {
    const AlarmChange change{"1-2", LimitedQuantity::ChannelPower, -3.25, false, -1.0, true};
    QCOMPARE(QString::fromStdString(EventLogHeader()), QString("Time,Unit,Band,Quantity,Value,Limit,State\n"));
    QCOMPARE(QString::fromStdString(EventLogLine({std::chrono::system_clock::from_time_t(0), "Rack \"A\", left", change})),
             QString("1970-01-01T00:00:00Z,\"Rack \"\"A\"\", left\",1-2,ChannelPower,-3.250,-1.000,alarm\n"));
  }

  void refusalsAreOneLineAndPrintNothing_data() {
    QTest::addColumn<QString>("words");
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("mentions");
    const struct { const char* words; int status; const char* mentions; } rows[] = {
        {"TONE", 2, "--band"},
        {"--band 75:70 TONE", 2, "reversed"},
        {"--band 70:75 --noise 80:79 TONE", 2, "reversed"},
        {"--band 70 TONE", 2, "\"70\""},
        {"--band 70:7x TONE", 2, "70:7x"},
        {"--band nan:75 TONE", 2, "nan:75"},
        {"--band 70:75 --trace videoaverage TONE", 2, "--video-average"},
        {"--band 70:75 --trace peakhold TONE", 2, "--peak-hold"},
        {"--band 70:75 --trace loudest TONE", 2, "loudest"},
        {"--band 70:75", 2, "block"},
        {"--band 40:75 TONE", 1, "outside the band shown, 51.250000-88.750000"},
        {"--band 60:65 --noise 80:95 TONE", 1, "noise band 80.000000-95.000000 MHz reaches outside"},
        {"--band 86:88 TONE", 1, "holds no point"},  // shown, but past the last point
        {"--band 70.001:70.002 TONE", 1, "holds no point"},
        {"--band 70:75 missing.bin", 1, "missing.bin"},
        {"--band 70:75 --trace previous TONE", 1, "previous trace holds no capture"},
        {"--band 70:75 EMPTY", 1, "no capture"},
    };
    for (const auto& r : rows) QTest::newRow(r.words) << r.words << r.status << r.mentions;
  }
  void refusalsAreOneLineAndPrintNothing() {
    QFETCH(QString, words);
    QFETCH(int, status);
    QFETCH(QString, mentions);
    const Run run = Measure(words);
    QCOMPARE(run.status, status);
    QCOMPARE(run.out, QString());
    QVERIFY2(run.err.count('\n') == 1 && run.err.endsWith('\n') && run.err.contains(mentions), qPrintable(run.err));
  }

  // Every point of silence sits at 0 dB, a power of exactly 1, at 70 + k x 62.5/4096 MHz.
  // 70..75 MHz holds k = 0..327: 328 points, 10 log10 328 dB, the peak at its lowest
  // point, the centre at k = 163.5, the 0.5 % share at k = 1 (2 >= 1.64) and 99.5 % at
  // k = 326 (327 >= 326.36); the noise is as strong as the band: below noise.
  void tableOfSilenceByHand() {
    const Run run = Measure("--band 70:75 --noise=60:65 --band=69.99:70.001 SILENCE --window off");
    QCOMPARE(run.err, QString());
    QCOMPARE(run.status, 0);
    QCOMPARE(run.out, QString("Band,Points,ChannelPower,PeakFrequency,PeakLevel,CentreFrequency,OccupiedBandwidth,"
                              "NoiseDensity,CN\n"
                              "70.000000-75.000000,328,25.159,70.000000,0.000,72.494812,4.959106,0.000,below noise\n"
                              "69.990000-70.001000,1,0.000,70.000000,0.000,70.000000,0.000000,0.000,below noise\n"));
    const Run without = Measure("--band 70:75 SILENCE");
    QVERIFY2(without.out.endsWith("\n70.000000-75.000000,328,25.159,70.000000,0.000,72.494812,4.959106,,\n"),
             qPrintable(without.out));
  }
};

std::unique_ptr<QObject> NewLimitsAndCommandTest() { return std::make_unique<LimitsAndCommandTest>(); }
std::unique_ptr<QObject> NewCarrierFiguresTest(), NewBandWatchTest();
TAVRIX_TEST_MAIN(QCoreApplication, NewCarrierFiguresTest, NewLimitsAndCommandTest, NewBandWatchTest)

#include "test_limits_and_command.moc"
