// The snapshot command against the simulated unit: the served block saved byte for byte with
// what export and render make of it, or, however the unit fails, one line and nothing written.
#include <QDir>
#include <QImage>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>
#include <sstream>

#include "app/command_line.h"
#include "app/export_command.h"
#include "link/simulator_process.h"
#include "test_support.h"

using namespace tavrix;
using namespace tavrix::testing;

class SnapshotTest : public QObject {
  Q_OBJECT

 private slots:
  void snapshots_data() {
    QTest::addColumn<QStringList>("simulatorOptions");
    QTest::addColumn<QString>("fails");  // what the one line on stderr mentions; empty for a good run
    QTest::newRow("whole block") << QStringList{} << "";
    QTest::newRow("short block") << QStringList{"--short-block", "100"} << "";
    // One row for each way out of a snapshot; the link tests show every fault of a unit.
    QTest::newRow("nothing listening") << QStringList{"--refuse-after", "0"} << "could not connect";
    QTest::newRow("capture request rejected") << QStringList{"--reject-capture"} << "capture request";
    QTest::newRow("refused for the read") << QStringList{"--refuse-after", "1"} << "reconnect";
    QTest::newRow("dropped, as a stall is") << QStringList{"--drop-mid-transfer"} << "cut short";
  }

  void snapshots() {
    QFETCH(QStringList, simulatorOptions);
    QFETCH(QString, fails);
    SimulatorProcess sim(simulatorOptions);
    QVERIFY(sim.Started());
    QTemporaryDir dir;
    const auto path = [&](const char* name) { return QDir(dir.path()).filePath(name).toStdString(); };
    std::ostringstream out, err;
    const int status = RunCommandLine({"snapshot", "--modem", sim.Address(), "--save-block", path("block.bin"), "--set",
                                       "scaled", "--out", path("scaled.txt"), "--png", path("plot.png")},
                                      out, err);
    const QString said = QString::fromStdString(out.str()), complaint = QString::fromStdString(err.str());
    if (!fails.isEmpty()) {
      QVERIFY2(status == 1 && complaint.count('\n') == 1 && complaint.contains(fails) &&
                   complaint.contains(QString::fromStdString(sim.Address())),
               qPrintable(complaint));
      QCOMPARE(QDir(dir.path()).entryList(QDir::Files), QStringList());
      return;
    }
    QVERIFY2(status == 0 && complaint.isEmpty(), qPrintable(complaint));
    QCOMPARE(said.count('\n'), 3);
    QCOMPARE(QList<int>({sim.Count("STOR capt_spec:"), sim.Count("RETR spectrum:")}), QList<int>({1, 1}));  // one poll
    // The block as read, byte for byte; the data set and the picture are what export and
    // render make of it.
    const std::string block = ReadWholeFile(path("block.bin"));
    QCOMPARE(block, sim.ServedBlock(1));
    const SpectrumState state = ProcessBlocks({block}, true, false, false).State;
    QCOMPARE(ReadWholeFile(path("scaled.txt")), FormatDataSet(DataSet::Scaled, state));
    QCOMPARE(QImage(QString::fromStdString(path("plot.png"))).size(), QSize(1280, 720));
    QCOMPARE(RunCommandLine({"render", "--png", path("render.png"), path("block.bin")}, out, err), 0);
    QCOMPARE(ReadWholeFile(path("plot.png")), ReadWholeFile(path("render.png")));
  }
};

std::unique_ptr<QObject> NewSnapshotTest() { return std::make_unique<SnapshotTest>(); }

#include "test_snapshot.moc"
