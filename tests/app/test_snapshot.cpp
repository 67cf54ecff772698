// The snapshot command against the simulated unit: the saved block is the served block
// byte for byte, its data set and picture are what export and render make of that block,
// and every way a unit can fail gives one line, a non-zero status, nothing written,
// within the time-outs. Refused options are with the other commands' errors.
#include <QDir>
#include <QImage>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>
#include <sstream>

#include "app/command_line.h"
#include "app/export_command.h"
#include "common/file_io.h"
#include "link/loopback_peers.h"
#include "link/simulator_process.h"
#include "test_support.h"

using namespace tavrix;
using namespace tavrix::testing;

namespace {

struct Outcome {
  int status;
  QString out, err;
};

// Runs the snapshot command, as from a shell, against the unit at `modem`.
Outcome Snapshot(const std::string& modem, std::vector<std::string> args) {
  args.insert(args.begin(), {"snapshot", "--modem", modem});
  std::ostringstream out, err;
  const int status = RunCommandLine(args, out, err);
  return {status, QString::fromStdString(out.str()), QString::fromStdString(err.str())};
}

}  // namespace

class SnapshotTest : public QObject {
  Q_OBJECT

  QTemporaryDir dir_;
  std::string Path(const char* name) { return QDir(dir_.path()).filePath(name).toStdString(); }

 private slots:
  void savesTheServedBlockItsDataSetAndItsPicture_data() {
    QTest::addColumn<QStringList>("simulatorOptions");
    QTest::newRow("whole block") << QStringList{};
    QTest::newRow("short block") << QStringList{"--short-block", "100"};
  }

  void savesTheServedBlockItsDataSetAndItsPicture() {
    QFETCH(QStringList, simulatorOptions);
    SimulatorProcess sim(simulatorOptions);
    QVERIFY(sim.Started());
    const Outcome r = Snapshot(sim.Address(), {"--save-block", Path("block.bin"), "--set", "scaled", "--out",
                                               Path("scaled.txt"), "--png", Path("plot.png")});
    QCOMPARE(r.status, 0);
    QVERIFY(r.err.isEmpty());
    QCOMPARE(r.out.count('\n'), 3);
    QCOMPARE(sim.Count("STOR capt_spec:"), 1);
    QCOMPARE(sim.Count("RETR spectrum:"), 1);
    // The block as read, byte for byte; the data set and the picture are what export and
    // render make of it.
    const std::string block = ReadWholeFile(Path("block.bin"));
    QCOMPARE(block, sim.ServedBlock(1));
    const SpectrumState state = ProcessBlocks({block}, true, false, false).State;
    QCOMPARE(ReadWholeFile(Path("scaled.txt")), FormatDataSet(DataSet::Scaled, state));
    QCOMPARE(QImage(QString::fromStdString(Path("plot.png"))).size(), QSize(1280, 720));
    std::ostringstream ignored;
    QCOMPARE(RunCommandLine({"render", "--png", Path("render.png"), Path("block.bin")}, ignored, ignored), 0);
    QCOMPARE(ReadWholeFile(Path("plot.png")), ReadWholeFile(Path("render.png")));
  }

  void unreachableOrFailingUnitsWriteNothing_data() {
    // One row for each way out of a snapshot; the link tests show every fault of a unit.
    QTest::addColumn<QStringList>("simulatorOptions");  // none: nothing listens at all
    QTest::addColumn<QString>("mentions");
    QTest::newRow("nothing listening") << QStringList{} << "could not connect";
    QTest::newRow("capture request rejected") << QStringList{"--reject-capture"} << "capture request";
    QTest::newRow("refused for the read") << QStringList{"--refuse-after", "1"} << "reconnect";
    QTest::newRow("drops") << QStringList{"--drop-mid-transfer"} << "cut short";  // as a stall does
  }

  void unreachableOrFailingUnitsWriteNothing() {
    QFETCH(QStringList, simulatorOptions);
    QFETCH(QString, mentions);
    std::unique_ptr<SimulatorProcess> sim;
    std::string address = "127.0.0.1:" + std::to_string(FreePort());
    if (!simulatorOptions.isEmpty()) {
      sim = std::make_unique<SimulatorProcess>(simulatorOptions);
      QVERIFY(sim->Started());
      address = sim->Address();
    }
    const Outcome r = Snapshot(address, {"--save-block", Path("never.bin"), "--set", "raw", "--out",
                                         Path("never.txt"), "--png", Path("never.png")});
    QCOMPARE(r.status, 1);
    QCOMPARE(r.err.count('\n'), 1);
    QVERIFY2(r.err.contains(mentions) && r.err.contains(QString::fromStdString(address)), qPrintable(r.err));
    for (const char* file : {"never.bin", "never.txt", "never.png"}) QVERIFY2(!PathExists(Path(file)), file);
  }
};

std::unique_ptr<QObject> NewSnapshotTest() { return std::make_unique<SnapshotTest>(); }

#include "test_snapshot.moc"
