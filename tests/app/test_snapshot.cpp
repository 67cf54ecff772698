// The snapshot command against the simulated unit: the saved block is the served block
// byte for byte, its data set is what export writes for that block, and every way a
// unit can fail gives one line, a non-zero status, nothing written, within the time-outs.
#include <QDir>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>
#include <sstream>

#include "app/command_line.h"
#include "app/export_command.h"
#include "app/snapshot_command.h"
#include "common/file_io.h"
#include "link/loopback_peers.h"
#include "link/simulator_process.h"
#include "test_support.h"

using namespace tavrix;
using namespace tavrix::testing;

namespace {

struct Outcome {
  int status;
  std::string out, err;
};

// Runs a snapshot with short time-outs and no pauses.
Outcome Snapshot(const std::string& modem, const std::string& saveBlock, const std::string& set = {},
                 const std::string& outFile = {}) {
  SnapshotOptions options;
  std::vector<std::string> args{"--modem", modem};
  if (!saveBlock.empty()) args.insert(args.end(), {"--save-block", saveBlock});
  if (!set.empty()) args.insert(args.end(), {"--set", set, "--out", outFile});
  std::ostringstream out, err;
  const std::string problem = ParseSnapshotOptions(args, options);
  if (!problem.empty()) return {2, "", problem + "\n"};
  options.Limits.connectTimeoutMs = 1500;
  options.Limits.transferTimeoutMs = 3000;
  options.Limits.stallTimeoutMs = 1500;
  options.Limits.releasePauseMs = 0;
  options.RequestWaitMs = 20;
  const int status = RunSnapshot(options, out, err);
  return {status, out.str(), err.str()};
}

int Lines(const std::string& text) { return static_cast<int>(std::count(text.begin(), text.end(), '\n')); }

}  // namespace

class SnapshotTest : public QObject {
  Q_OBJECT

  QTemporaryDir dir_;
  std::string Path(const char* name) { return QDir(dir_.path()).filePath(name).toStdString(); }

 private slots:
  void savesTheServedBlockAndItsDataSet() {
    SimulatorProcess sim;
    QVERIFY(sim.Started());
    const Outcome r = Snapshot(sim.Address(), Path("block.bin"), "scaled", Path("scaled.txt"));
    QCOMPARE(r.status, 0);
    QVERIFY(r.err.empty());
    QCOMPARE(Lines(r.out), 2);
    QCOMPARE(sim.Count("STOR capt_spec:"), 1);
    QCOMPARE(sim.Count("RETR spectrum:"), 1);
    const std::string block = ReadWholeFile(Path("block.bin"));
    QCOMPARE(block.size(), size_t(kNominalBlockLength));
    QCOMPARE(block, sim.ServedBlock(1));
    // The data set is what export writes for the saved block.
    const SpectrumState state = ProcessBlocks({block}, true, false, false).State;
    QCOMPARE(ReadWholeFile(Path("scaled.txt")), FormatDataSet(DataSet::Scaled, state));
  }

  void unreachableOrFailingUnitsWriteNothing_data() {
    QTest::addColumn<QStringList>("simulatorOptions");
    QTest::addColumn<QString>("mentions");
    QTest::newRow("refused") << QStringList{"--refuse-after", "0"} << "could not connect";
    QTest::newRow("capture request rejected") << QStringList{"--reject-capture"} << "capture request";
    QTest::newRow("refused for the read") << QStringList{"--refuse-after", "1"} << "reconnect";
    QTest::newRow("stalls") << QStringList{"--stall-transfer", "20"} << "cut short";
    QTest::newRow("drops") << QStringList{"--drop-mid-transfer"} << "cut short";
  }

  void unreachableOrFailingUnitsWriteNothing() {
    QFETCH(QStringList, simulatorOptions);
    QFETCH(QString, mentions);
    SimulatorProcess sim(simulatorOptions);
    QVERIFY(sim.Started());
    const Outcome r = Snapshot(sim.Address(), Path("never.bin"), "raw", Path("never.txt"));
    QCOMPARE(r.status, 1);
    QCOMPARE(Lines(r.err), 1);
    QVERIFY2(QString::fromStdString(r.err).contains(mentions), r.err.c_str());
    QVERIFY(QString::fromStdString(r.err).contains(QString::fromStdString(sim.Address())));
    QVERIFY(!PathExists(Path("never.bin")));
    QVERIFY(!PathExists(Path("never.txt")));
  }

  void nothingListeningIsOneLine() {
    const Outcome r = Snapshot("127.0.0.1:" + std::to_string(FreePort()), Path("none.bin"));
    QCOMPARE(r.status, 1);
    QCOMPARE(Lines(r.err), 1);
    QVERIFY(QString::fromStdString(r.err).contains("could not connect"));
  }

  void shortBlocksAreSavedAsRead() {
    SimulatorProcess sim({"--short-block", "100"});
    QVERIFY(sim.Started());
    const Outcome r = Snapshot(sim.Address(), Path("short.bin"));
    QCOMPARE(r.status, 0);
    QCOMPARE(ReadWholeFile(Path("short.bin")), sim.ServedBlock(1));
    QCOMPARE(ReadWholeFile(Path("short.bin")).size(), size_t(100));
  }

  void badOptions_data() {
    QTest::addColumn<QStringList>("args");
    QTest::newRow("no modem") << QStringList{"snapshot", "--save-block", "x.bin"};
    QTest::newRow("bad port") << QStringList{"snapshot", "--modem", "10.0.0.1:70000", "--save-block", "x.bin"};
    QTest::newRow("empty port") << QStringList{"snapshot", "--modem", "10.0.0.1:", "--save-block", "x.bin"};
    QTest::newRow("nothing to do") << QStringList{"snapshot", "--modem", "10.0.0.1"};
    QTest::newRow("set without out") << QStringList{"snapshot", "--modem", "10.0.0.1", "--set", "raw"};
    QTest::newRow("stray word") << QStringList{"snapshot", "--modem", "10.0.0.1", "--save-block", "x.bin", "extra"};
  }

  void badOptions() {
    QFETCH(QStringList, args);
    std::vector<std::string> words;
    for (const QString& w : args) words.push_back(w.toStdString());
    std::ostringstream out, err;
    QCOMPARE(RunCommandLine(words, out, err), 2);  // refused before any network use
    QCOMPARE(Lines(err.str()), 1);
    QVERIFY(out.str().empty());
  }
};

std::unique_ptr<QObject> NewSnapshotTest() { return std::make_unique<SnapshotTest>(); }

#include "test_snapshot.moc"
