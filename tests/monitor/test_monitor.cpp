// The daemon: its configuration refused line by line, the metrics text (escaping, what a
// down unit and a carrier below the noise leave out) checked by promtool, many simulated
// units with faults on some of them, a reload, the HTTP endpoints, and the program itself
// under SIGHUP and SIGTERM without a display.
#include <QtTest>

#include <QEventLoop>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <map>
#include <signal.h>
#include <string>

#include "history/recording_folder.h"
#include "history/recording_reader.h"
#include "link/loopback_peers.h"
#include "link/simulator_process.h"
#include "monitor/metrics_text.h"
#include "monitor/monitor_daemon.h"
#include "test_support.h"

using namespace tavrix;
using namespace tavrix::monitor;
using namespace tavrix::testing;

namespace {

constexpr int kWaitMs = 30000;  // an upper bound, never reached when all is well

// The example unit, with a name that needs every escape.
// (No raw string here: the meta-object compiler does not read them.)
const char* const kExample =
    "listen = \"127.0.0.1:9464\"          # the HTTP endpoints\n"
    "\n"
    "[[unit]]\n"
    "name = \"Rack A \\\"slot\\\" 1 \\\\ Zürich\"\n"
    "address = \"192.0.2.10\"\n"
    "interval = 3.0\n"
    "\n"
    "  [[unit.band]]\n"
    "  name = \"carrier-1\"\n"
    "  from_mhz = 69.5\n"
    "  to_mhz = 70.5\n"
    "  noise_from_mhz = 80.0\n"
    "  noise_to_mhz = 81.0\n"
    "  min_power_db = 60.0\n"
    "  min_cn_db = 10.0\n"
    "\n";

void WriteText(const QString& path, const std::string& text) {
  QFile file(path);
  QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
  file.write(text.data(), static_cast<qint64>(text.size()));
}

std::string UnitToml(const std::string& name, const std::string& address, const std::string& bands = {}) {
  return "[[unit]]\nname = \"" + name + "\"\naddress = \"" + address + "\"\ninterval = 1.5\n" + bands;
}

// A band on the simulator's narrow carrier (centre 70 MHz) with its noise band and limits.
const std::string kNarrowBand =
    "  [[unit.band]]\n  name = \"narrow\"\n  from_mhz = 77.2\n  to_mhz = 79.0\n"
    "  noise_from_mhz = 79.8\n  noise_to_mhz = 81.4\n  min_power_db = 80.0\n  min_cn_db = 10.0\n";

// What promtool says of an exposition text: empty when it takes it without a word.
QString PromtoolProblems(const std::string& text) {
  const QString promtool = QStandardPaths::findExecutable("promtool");
  if (promtool.isEmpty()) return "promtool is not installed (scripts/setup.sh --tests installs it)";
  QProcess process;
  process.start(promtool, {"check", "metrics"});
  process.write(text.data(), static_cast<qint64>(text.size()));
  process.closeWriteChannel();
  if (!process.waitForFinished(kWaitMs)) return "promtool did not finish";
  const QString said = QString::fromUtf8(process.readAllStandardOutput() + process.readAllStandardError()).trimmed();
  return process.exitCode() == 0 && said.isEmpty() ? QString() : said;
}

QByteArray Get(int port, const QString& path) {
  QNetworkAccessManager manager;
  QNetworkReply* reply = manager.get(QNetworkRequest(QUrl(QString("http://127.0.0.1:%1%2").arg(port).arg(path))));
  QEventLoop loop;
  QObject::connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
  QTimer::singleShot(kWaitMs, &loop, &QEventLoop::quit);
  loop.exec();
  const QByteArray body = reply->error() == QNetworkReply::NoError ? reply->readAll() : QByteArray();
  reply->deleteLater();
  return body;
}

const UnitFigures* Find(const DaemonFigures& figures, const std::string& name) {
  for (const UnitFigures& unit : figures.Units)
    if (unit.Name == name) return &unit;
  return nullptr;
}

uint64_t Failures(const UnitFigures& unit, const char* reason) {
  const auto it = unit.Failures.find(reason);
  return it == unit.Failures.end() ? 0 : it->second;
}

}  // namespace

class MonitorTest : public QObject {
  Q_OBJECT

 private slots:
  void configRefusedWithLineAndReason_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("error");  // "LINE: reason" after "cfg.toml:"
    const std::string unit = "[[unit]]\nname = \"A\"\naddress = \"10.0.0.1\"\n";
    const std::string band = "  [[unit.band]]\n  name = \"b\"\n  from_mhz = 69.5\n  to_mhz = 70.5\n";
    for (const auto& [name, text, error] : std::initializer_list<std::tuple<const char*, std::string, const char*>>{
             {"not TOML", "listen = \n", "1: Error while parsing"},
             {"misspelt key", "lisen = \"127.0.0.1:1\"\n", "1: unknown key \"lisen\""},
             {"listen without port", "listen = \"127.0.0.1\"\n", "1: listen must be HOST:PORT"},
             {"listen on a name", "listen = \"example.org:9464\"\n", "1: listen must be HOST:PORT"},
             {"unit not a table", "unit = \"A\"\n", "1: unit must be a list of tables"},
             {"no address", "[[unit]]\nname = \"A\"\n", "1: unit \"A\": address is required"},
             {"no name", "[[unit]]\naddress = \"10.0.0.1\"\n", "1: unit: name is required"},
             {"port 0", "[[unit]]\nname = \"A\"\naddress = \"10.0.0.1:0\"\n", "3: unit \"A\": address must be"},
             {"interval as text", unit + "interval = \"3\"\n", "4: unit \"A\": interval must be a number"},
             {"interval too short", unit + "interval = 0.1\n", "4: unit \"A\": interval must be 0.5 to 86400"},
             {"unit named twice", unit + unit, "5: unit \"A\" is named twice"},
             {"reversed band", unit + "  [[unit.band]]\n  name = \"b\"\n  from_mhz = 70.5\n  to_mhz = 69.5\n",
              "7: unit \"A\": band \"b\": to_mhz must be above from_mhz"},
             {"half a noise band", unit + band + "  noise_from_mhz = 80\n",
              "8: unit \"A\": band \"b\": noise_from_mhz and noise_to_mhz go together"},
             {"C/N limit without noise", unit + band + "  min_cn_db = 10\n",
              "8: unit \"A\": band \"b\": min_cn_db needs a noise band"},
             {"misspelt limit", unit + band + "  min_power = 60\n", "8: unit \"A\": band \"b\": unknown key \"min_power\""},
             {"band named twice", unit + band + band, "9: unit \"A\": band \"b\" is named twice"},
             {"recording without folder", "[recording]\nlimit_mib = 10\n", "1: recording: folder is required"},
             {"link threads", "link_threads = 0\n", "1: link_threads must be a whole number"}})
      QTest::newRow(name) << QString::fromStdString(text) << error;
  }

  void configRefusedWithLineAndReason() {
    QFETCH(QString, text);
    QFETCH(QString, error);
    MonitorConfig config;
    const QString got = QString::fromStdString(ParseMonitorConfig(text.toStdString(), "cfg.toml", config));
    QVERIFY2(got.startsWith("cfg.toml:" + error), qPrintable(got));
    QVERIFY(!got.contains('\n'));
    QVERIFY(config.Units.empty());
  }

  void exampleConfigIsRead() {
    MonitorConfig config;
    QCOMPARE(ParseMonitorConfig(kExample, "cfg.toml", config), std::string());
    QCOMPARE(config.Listen, (ListenAddress{"127.0.0.1", 9464}));
    QCOMPARE(config.Units.size(), size_t(1));
    const UnitConfig& unit = config.Units[0];
    QCOMPARE(unit.Name, std::string("Rack A \"slot\" 1 \\ Zürich"));
    QCOMPARE(unit.IntervalSeconds, 3.0);
    const BandConfig& band = unit.Bands.at(0);
    QVERIFY(band.Band.Low == 69.5 && band.Band.High == 70.5 && band.Noise && band.Noise->Low == 80.0);
    QVERIFY(band.Limits.ChannelPowerDb == 60.0 && band.Limits.CarrierToNoiseDb == 10.0);
    // Defaults: the interval, the listen address; ":PORT" listens everywhere.
    QCOMPARE(ParseMonitorConfig("listen = \":9100\"\n[[unit]]\nname = \"B\"\naddress = \"[::1]:2121\"\n", "c", config),
             std::string());
    QVERIFY(config.Listen == (ListenAddress{"", 9100}) && config.Units[0].IntervalSeconds == 3.0);
  }

  void labelValuesAndNumbersAreWrittenAsTheFormatAsks() {
    QCOMPARE(EscapeLabelValue("Rack \"A\"\\1\nZürich"), std::string("Rack \\\"A\\\"\\\\1\\nZürich"));
    QCOMPARE(EscapeHelp("a \"b\" \\ c\nd"), std::string("a \"b\" \\\\ c\\nd"));
    for (const auto& [value, text] : std::initializer_list<std::pair<double, const char*>>{
             {0.1, "0.1"}, {7e7, "7e+07"}, {-3.5, "-3.5"}, {1.0 / 0.0, "+Inf"}, {-1.0 / 0.0, "-Inf"}, {0.0 / 0.0, "NaN"}})
      QCOMPARE(MetricValue(value), std::string(text));
  }

  // A unit up with a carrier over the noise and one below it, a unit down: promtool takes the
  // page, the names that need escapes are escaped, and a down unit's figures are left out.
  void metricsPagePassesPromtool() {
    DaemonFigures figures;
    figures.Version = "1.2.3";
    UnitFigures up;
    up.Name = "Rack \"A\" \\ 1\nZürich";
    up.Address = "10.0.0.1:2121";
    up.Up = true;
    up.Captures = 12;
    up.Failures[kFailShort] = 2;
    up.CenterHz = 70e6;
    up.SampleRateHz = 62.5e6;
    up.LastCaptureMs = 1700000000123;
    BandFigures carrier{"wide", true, 90.5, 70.25, 7.5e6, CarrierToNoise{false, 17.2}, true, false, {}};
    BandFigures faded{"narrow", true, 60.0, 45.0, 1.0e6, CarrierToNoise{true, 0.0}, std::nullopt, true, {}};
    up.Bands = {carrier, faded};
    UnitFigures down = up;
    down.Name = "down";
    down.Up = false;
    figures.Units = {up, down};
    figures.Durations.Add(0.6);
    figures.Durations.Add(12);
    figures.Process = CurrentProcessFigures(1700000000);
    const std::string page = MetricsPage(figures);
    const QString problems = PromtoolProblems(page);
    QVERIFY2(problems.isEmpty(), qPrintable(problems));
    const QString text = QString::fromStdString(page);
    const QString unit = "unit=\"Rack \\\"A\\\" \\\\ 1\\nZürich\"";
    for (const QString& line :
         {"tavrix_unit_up{" + unit + "} 1", QString("tavrix_unit_up{unit=\"down\"} 0"),
          "tavrix_poll_failures_total{" + unit + ",reason=\"short\"} 2",
          "tavrix_band_cn_db{" + unit + ",band=\"wide\"} 17.2",
          "tavrix_band_alarm{" + unit + ",band=\"wide\",quantity=\"channel_power\"} 1",
          "tavrix_band_alarm{" + unit + ",band=\"narrow\",quantity=\"cn\"} 1",
          QString("tavrix_poll_duration_seconds_bucket{le=\"0.75\"} 1"),
          QString("tavrix_poll_duration_seconds_count 2"), QString("process_resident_memory_bytes ")})
      QVERIFY2(text.contains(line), qPrintable(line));
    // Below the noise there is no C/N to give; a down unit's bands give nothing at all; a
    // figure without a limit has no alarm.
    QVERIFY(!text.contains("tavrix_band_cn_db{" + unit + ",band=\"narrow\"}"));
    QVERIFY(!text.contains("unit=\"down\",band="));
    QVERIFY(!text.contains("band=\"narrow\",quantity=\"channel_power\""));
    QCOMPARE(text.count("# TYPE tavrix_band_alarm gauge"), 1);
  }

  // Healthy units beside a stalled one, one that refuses the capture request and one that is
  // not there: only the stalled one misses polls. A reload keeps the unit that stays, with its
  // counters; the endpoints answer; a stop leaves the recordings whole.
  void daemonWatchesFaultyUnitsBesideHealthyOnes() {
    START_SIMULATOR(stalling, "--units", "2", "--fault-units", "2", "--stall-transfer", "4");
    START_SIMULATOR(refusing, "--units", "2", "--fault-units", "2", "--reject-capture");
    QTemporaryDir folder;
    const QString path = folder.filePath("monitor.toml");
    const std::string sim = "127.0.0.1:", dead = sim + std::to_string(FreePort());
    auto port = [&](const SimulatorProcess& s, int k) { return sim + std::to_string(s.Port() + k); };
    const std::string head = "listen = \"127.0.0.1:" + std::to_string(FreePort()) + "\"\n[recording]\nfolder = \"" +
                             folder.filePath("rec").toStdString() + "\"\n";
    WriteText(path, head + UnitToml("healthy", port(stalling, 0), kNarrowBand) + UnitToml("stalled", port(stalling, 1)) +
                        UnitToml("healthy 2", port(refusing, 0)) + UnitToml("refusing", port(refusing, 1)) +
                        UnitToml("gone", dead));
    QStringList log;
    DaemonOptions options;
    options.Limits = FtpLimits{.connectTimeoutMs = 1000, .transferTimeoutMs = 4000, .stallTimeoutMs = 2500};
    options.RequestWaitMs = options.ReleaseWaitMs = 20;
    auto daemon = std::make_unique<MonitorDaemon>(path.toStdString(),
                                                  [&log](const std::string& line) { log << QString::fromStdString(line); },
                                                  options);
    QCOMPARE(daemon->Start(), std::string());
    auto unit = [&](const char* name) { return *Find(daemon->Figures(), name); };
    QTRY_VERIFY_WITH_TIMEOUT(unit("stalled").Missed >= 2 && unit("healthy").Captures >= 4 &&
                                 Failures(unit("refusing"), kFailRequest) >= 2 && Failures(unit("gone"), kFailConnect) >= 2,
                             kWaitMs);
    for (const char* name : {"healthy", "healthy 2", "refusing", "gone"}) QCOMPARE(unit(name).Missed, uint64_t(0));
    QVERIFY(unit("healthy").Up && !unit("gone").Up && !unit("refusing").Up);
    QVERIFY(Failures(unit("stalled"), kFailShort) >= 1 && unit("stalled").LastError.find("stalled") != std::string::npos);
    QVERIFY(unit("healthy").Bands.at(0).Measured && unit("healthy").Bands[0].CnAlarm.has_value());
    QVERIFY(log.filter("unit \"gone\": down: connect:").size() == 1);

    const QJsonArray units = QJsonDocument::fromJson(Get(daemon->Port(), "/units")).object()["units"].toArray();
    QCOMPARE(units.size(), 5);
    QCOMPARE(Get(daemon->Port(), "/healthz"), QByteArray("ok\n"));
    const QString metrics = QString::fromUtf8(Get(daemon->Port(), "/metrics"));
    QVERIFY(metrics.contains("tavrix_band_channel_power_db{unit=\"healthy\",band=\"narrow\"} "));
    QVERIFY(metrics.contains("tavrix_poll_failures_total{unit=\"gone\",reason=\"connect\"} "));

    // The healthy unit stays with another band; the stalled one goes; a new one comes.
    const uint64_t before = unit("healthy").Captures;
    WriteText(path, "lisen = 1\n");
    daemon->Reload();
    QVERIFY(log.last().startsWith("configuration not reloaded, the one in force stays: " + path + ":1: unknown key"));
    WriteText(path, head + UnitToml("healthy", port(stalling, 0)) + UnitToml("new", port(refusing, 0)));
    daemon->Reload();
    QCOMPARE(log.last(), QString("configuration reloaded: 1 unit kept, 1 started, 4 stopped"));
    QVERIFY(unit("healthy").Captures >= before && unit("healthy").Bands.empty());
    QVERIFY(Find(daemon->Figures(), "stalled") == nullptr);
    QTRY_VERIFY_WITH_TIMEOUT(unit("new").Captures >= 1, kWaitMs);
    const uint64_t recorded = unit("healthy").Captures;
    daemon.reset();  // stops at once, writing what was handed to the recorder
    history::RecordingReader reader;
    const std::vector<history::RecordingFile> files =
        history::UnitRecordings(folder.filePath("rec").toStdString(), "healthy");
    QVERIFY(!files.empty() && reader.Open(files.back().Path).empty());
    QVERIFY(reader.Count() >= recorded && reader.SkippedBytes() == 0);
  }

  // The program itself, as a service runs it: no display named, SIGHUP reloads, SIGTERM ends it
  // cleanly; a bad file is one line and status 1.
  void programReloadsAndEndsOnSignals() {
    START_SIMULATOR(sim);
    QTemporaryDir folder;
    const QString path = folder.filePath("monitor.toml");
    WriteText(path, "listen = \"127.0.0.1:" + std::to_string(FreePort()) + "\"\n" +
                        UnitToml("Sim", sim.Address(), kNarrowBand));
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) environment.remove(name);
    QProcess check;
    check.setProcessEnvironment(environment);
    check.start(TAVRIX_VIEWER, {"monitor", "--check-config", path});
    QVERIFY(check.waitForFinished(kWaitMs));
    QCOMPARE(check.readAllStandardOutput(), (path + ": 1 unit, 1 band, 2 limits: OK\n").toUtf8());
    WriteText(folder.filePath("bad.toml"), "[[unit]]\nname = \"A\"\naddress = \"10.0.0.1:99999\"\n");
    check.start(TAVRIX_VIEWER, {"monitor", "--check-config", folder.filePath("bad.toml")});
    QVERIFY(check.waitForFinished(kWaitMs));
    const QByteArray said = check.readAllStandardError();
    QVERIFY2(check.exitCode() == 1 && said.count('\n') == 1 && said.contains("bad.toml:3: unit \"A\": address"),
             said.constData());

    QProcess daemon;
    daemon.setProcessEnvironment(environment);
    daemon.start(TAVRIX_VIEWER, {"monitor", "--config", path});
    QVERIFY(daemon.waitForStarted(kWaitMs));
    QByteArray output;
    auto sawLine = [&](const char* text) {
      output += daemon.readAllStandardError();
      return output.contains(text);
    };
    QTRY_VERIFY_WITH_TIMEOUT(sawLine("watching 1 unit"), kWaitMs);
    ::kill(static_cast<pid_t>(daemon.processId()), SIGHUP);
    QTRY_VERIFY_WITH_TIMEOUT(sawLine("configuration reloaded: 1 unit kept, 0 started, 0 stopped"), kWaitMs);
    daemon.terminate();  // SIGTERM
    QVERIFY(daemon.waitForFinished(kWaitMs));
    QVERIFY2(sawLine("stopping") && sawLine("stopped"), output.constData());
    QCOMPARE(daemon.exitStatus(), QProcess::NormalExit);
    QCOMPARE(daemon.exitCode(), 0);
  }
};

TAVRIX_TEST_MAIN(QCoreApplication, Make<MonitorTest>)

#include "test_monitor.moc"
