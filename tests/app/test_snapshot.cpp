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
    // One row for each way out of a snapshot; the link tests show every fault of a unit.
    // The read's data connection from another host than the unit is refused, the unit's own
    // taken; whatever the unit's reply holds, no terminal sequence reaches stderr.
    const char* const rows[][3] = {
        {"whole block", "", ""}, {"short block", "--short-block 100", ""},
        {"nothing listening", "--refuse-after 0", "could not connect"},
        {"capture request rejected", "--reject-capture", "capture request"},
        {"refused for the read", "--refuse-after 1", "reconnect"},
        {"dropped, as a stall is", "--drop-mid-transfer", "cut short"},
        {"short of its size", "--short-block 4000 --size-says 8224", "cut short (4000 of 8224 bytes)"},
        {"empty read", "--short-block 0", "empty capture"},
        {"data from another address", "--forge-data-from 127.0.0.2 --forge-skip 1", "127.0.0.2 refused"},
        {"data from the unit's address", "--forge-data-from 127.0.0.1", ""},
        {"terminal sequences in a reply", R"(--reject-text \x1b]0;t\x07\x1b[2J\x00\xff)", R"(550 \x1b]0;t\x07\x1b[2J\x00\xff)"},
        {"IPv6 loopback", "--host ::1", ""}};
    for (const auto& [name, options, fails] : rows)
      QTest::newRow(name) << QString(options).split(' ', Qt::SkipEmptyParts) << QString(fails);
  }

  void snapshots() {
    QFETCH(QStringList, simulatorOptions);
    QFETCH(QString, fails);
    const bool ipv6 = simulatorOptions.contains("::1");
    SimulatorProcess sim(simulatorOptions);
    if (ipv6 && !sim.Started()) QSKIP("this machine has no IPv6 loopback");
    QVERIFY(sim.Started());
    const std::string address = ipv6 ? "[::1]:" + std::to_string(sim.Port()) : sim.Address();
    QTemporaryDir dir;
    const auto path = [&](const char* name) { return QDir(dir.path()).filePath(name).toStdString(); };
    std::ostringstream out, err;
    const int status = RunCommandLine({"snapshot", "--modem", address, "--save-block", path("block.bin"), "--set",
                                       "scaled", "--out", path("scaled.txt"), "--png", path("plot.png")},
                                      out, err);
    const QString said = QString::fromStdString(out.str()), complaint = QString::fromStdString(err.str());
    if (!fails.isEmpty()) {
      QVERIFY2(status == 1 && complaint.count('\n') == 1 && complaint.endsWith('\n') && complaint.contains(fails) &&
                   complaint.contains(QString::fromStdString(address)),
               qPrintable(complaint));
      for (const char c : err.str().substr(0, err.str().size() - 1))
        QVERIFY2(static_cast<unsigned char>(c) >= 0x20 && c != 0x7f, qPrintable(complaint));
      QCOMPARE(QDir(dir.path()).entryList(QDir::Files), QStringList());
      return;
    }
    QVERIFY2(status == 0 && complaint.isEmpty() && said.count('\n') == 3, qPrintable(complaint + said));
    QCOMPARE(QList<int>({sim.Count("STOR capt_spec:"), sim.Count("RETR spectrum:")}), QList<int>({1, 1}));  // one poll
    // The block as read, byte for byte; the data set and the picture as export and render make them.
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
