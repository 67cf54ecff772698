// The headless commands: every error is one line on stderr, a non-zero status and no file;
// good runs write what the viewer's export writes for the same captures, or draw them; and a
// snapshot of the simulated unit saves the served block with what export and render make of it.
#include <QDir>
#include <QImage>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

#if defined(Q_OS_UNIX)
#include <sys/stat.h>
#endif

#include <memory>
#include <sstream>

#include "app/command_line.h"
#include "app/export_command.h"
#include "common/file_io.h"
#include "link/simulator_process.h"
#include "test_support.h"

using namespace tavrix;
using namespace tavrix::testing;

namespace {

struct Run { int status; QString out, err; };
Run RunArgs(const QStringList& words) {
  std::vector<std::string> args;
  for (const QString& w : words) args.push_back(w.toStdString());
  std::ostringstream out, err;
  const int status = RunCommandLine(args, out, err);
  return {status, QString::fromStdString(out.str()), QString::fromStdString(err.str())};
}

QString Block(const QString& name) { return DataPath("blocks/" + name + ".bin"); }

}  // namespace

class CommandLineTest : public QObject {
  Q_OBJECT

  QTemporaryDir dir_;

 private slots:
  void initTestCase() {
    QVERIFY(QDir::setCurrent(dir_.path()));
    QCOMPARE(WriteFileAtomically("big.bin", std::string(kMaxBlockFileBytes + 1, 'x')), "");  // larger than any block
#if defined(Q_OS_UNIX)
    QCOMPARE(::mkfifo("fifo", 0600), 0);  // a reader would wait for a writer for ever
#endif
  }

  void failuresAreOneLineAndWriteNothing_data() {
    QTest::addColumn<QStringList>("args");
    QTest::addColumn<QString>("mentions");
    // The words of each command line; TONE stands for a good block, FOLDER for a folder.
    const char* const rows[][3] = {
        {"no command", "", "no command"}, {"unknown command", "exprot", "exprot"},
        {"no set", "export --out x.txt TONE", "--set"}, {"bad set", "export --set cooked --out x.txt TONE", "cooked"},
        {"capitalised set", "export --set Scaled --out x.txt TONE", "Scaled"},
        {"set without value", "export --out x.txt TONE --set", "--set"},
        {"bad window", "export --set raw --window maybe --out x.txt TONE", "maybe"},
        {"no out", "export --set raw TONE", "--out"}, {"empty out", "export --set raw --out= TONE", "--out"},
        {"no block", "export --set raw --out x.txt", "block"},
        {"unknown option", "export --set raw --fast --out x.txt TONE", "--fast"},
        {"flag with value", "export --set raw --peak-hold=1 --out x.txt TONE", "--peak-hold=1"},
        // Every block is read before anything is computed.
        {"missing block", "export --set raw --out x.txt TONE missing.bin", "missing.bin"},
        {"block is a folder", "export --set raw --out x.txt TONE FOLDER", "FOLDER"},
        {"block too large", "export --set raw --out x.txt big.bin", "larger"},
        {"export FIFO block", "export --set raw --out x.txt TONE fifo", "fifo: it is not a regular file"},
        {"peaks FIFO block", "peaks fifo", "fifo: it is not a regular file"},
        {"unwritable out", "export --set raw --out no/such/x.txt TONE", "no/such/x.txt"},
        {"render without png", "render TONE", "--png"}, {"render no block", "render --png x.txt", "block"},
        {"render bad size", "render --png x.txt --size 10x10 TONE", "10x10"},
        {"render size not a size", "render --png x.txt --size wide TONE", "wide"},
        {"render bad scale", "render --png x.txt --scale 3 TONE", "3"},
        {"render bad palette", "render --png x.txt --palette 2 TONE", "2"},
        // Refused before any network use (nothing listens on port 1 should one get through).
        {"snapshot without modem", "snapshot --save-block x.txt", "--modem"},
        {"snapshot bad port", "snapshot --modem 10.0.0.1:70000 --save-block x.txt", "10.0.0.1:70000"},
        {"snapshot empty port", "snapshot --modem 10.0.0.1: --png x.txt", "10.0.0.1:"},
        {"snapshot bare IPv6", "snapshot --modem ::1 --png x.txt", "in brackets"},
        {"snapshot with nothing to do", "snapshot --modem 127.0.0.1:1", "nothing to do"},
        {"snapshot set without out", "snapshot --modem 127.0.0.1:1 --set raw", "--out"},
        {"snapshot png without file", "snapshot --modem 127.0.0.1:1 --png", "--png"},
        {"snapshot stray word", "snapshot --modem 127.0.0.1:1 --save-block x.txt extra", "extra"}};
    for (const auto& [name, words, mentions] : rows) {
      if (QString(words).contains("fifo") && !QFileInfo::exists("fifo")) continue;  // a system without FIFOs
      QStringList args = QString(words).split(' ', Qt::SkipEmptyParts);
      args.replaceInStrings("TONE", Block("tone_bin0005")).replaceInStrings("FOLDER", dir_.path());
      QTest::newRow(name) << args << QString(mentions).replace("FOLDER", dir_.path());
    }
  }

  void failuresAreOneLineAndWriteNothing() {
    QFETCH(QStringList, args);
    QFETCH(QString, mentions);
    const Run r = RunArgs(args);
    QVERIFY2(r.status != 0 && r.err.count('\n') == 1 && r.err.contains(mentions) && r.out.isEmpty(),
             qPrintable(r.err + r.out));
    QVERIFY(!QFile::exists("x.txt"));
  }

  void writesWhatTheViewerWouldAndSaysWhere() {
    const Run r = RunArgs({"export", "--set=videoaverage", "--window", "off", "--video-average", "--out", "seq.txt",
                           Block("rate_exp_0003"), Block("empty"), Block("center_000F4240")});
    QVERIFY(r.status == 0 && r.err.isEmpty() && r.out.contains(QFileInfo("seq.txt").absoluteFilePath()));
    // The empty read is skipped: two captures were averaged.
    const std::vector<std::string> two{ReadBytes("blocks/rate_exp_0003.bin"), ReadBytes("blocks/center_000F4240.bin")};
    const SpectrumState averaged = ProcessBlocks(two, false, false, true).State;
    QCOMPARE(ReadWholeFile("seq.txt"), FormatDataSet(DataSet::VideoAverage, averaged));
    // Running again replaces the file.
    QCOMPARE(RunArgs({"export", "--set", "scaled", "--out", "seq.txt", Block("all_00")}).status, 0);
    QCOMPARE(ReadWholeFile("seq.txt"), ReadBytes("expected/all_00.scaled.window_on.txt"));
  }

  void renderDrawsThePlotIntoAPng() {
    // The default size, and that the same input draws the same bytes, are shown by the snapshot tests.
    const QStringList options{"--size", "800x450", "--scale", "2", Block("rate_exp_0003"), Block("noise_seed1234"),
                              "--peak-hold", "--video-average"};
    QCOMPARE(RunArgs(QStringList{"render", "--png", "plot.png"} + options).status, 0);
    QCOMPARE(QImage("plot.png").size(), QSize(1600, 900));
    // The printing palette gives another picture, on white.
    QCOMPARE(RunArgs(QStringList{"render", "--palette", "1", "--png", "printed.png"} + options).status, 0);
    QVERIFY(ReadWholeFile("printed.png") != ReadWholeFile("plot.png"));
    QCOMPARE(QImage("printed.png").pixel(0, 0), qRgb(255, 255, 255));
  }

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
    const QString address = QString::fromStdString(ipv6 ? "[::1]:" + std::to_string(sim.Port()) : sim.Address());
    QTemporaryDir dir;
    const auto path = [&](const char* name) { return QDir(dir.path()).filePath(name); };
    const Run r = RunArgs({"snapshot", "--modem", address, "--save-block", path("block.bin"), "--set", "scaled", "--out",
                           path("scaled.txt"), "--png", path("plot.png")});
    if (!fails.isEmpty()) {
      QVERIFY2(r.status == 1 && r.err.count('\n') == 1 && r.err.endsWith('\n') && r.err.contains(fails) &&
                   r.err.contains(address),
               qPrintable(r.err));
      for (const QChar c : r.err.chopped(1)) QVERIFY2(c.unicode() >= 0x20 && c.unicode() != 0x7f, qPrintable(r.err));
      QCOMPARE(QDir(dir.path()).entryList(QDir::Files), QStringList());
      return;
    }
    QVERIFY2(r.status == 0 && r.err.isEmpty() && r.out.count('\n') == 3, qPrintable(r.err + r.out));
    QCOMPARE(QList<int>({sim.Count("STOR capt_spec:"), sim.Count("RETR spectrum:")}), QList<int>({1, 1}));  // one poll
    // The block as read, byte for byte; the data set and the picture as export and render make them.
    const std::string block = ReadWholeFile(path("block.bin").toStdString());
    QCOMPARE(block, sim.ServedBlock(1));
    const SpectrumState state = ProcessBlocks({block}, true, false, false).State;
    QCOMPARE(ReadWholeFile(path("scaled.txt").toStdString()), FormatDataSet(DataSet::Scaled, state));
    QCOMPARE(QImage(path("plot.png")).size(), QSize(1280, 720));
    QCOMPARE(RunArgs({"render", "--png", path("render.png"), path("block.bin")}).status, 0);
    QCOMPARE(ReadWholeFile(path("plot.png").toStdString()), ReadWholeFile(path("render.png").toStdString()));
  }

  void helpAndVersion() {
    const QString help = "render --png FILE", version = "^tavrix-spectrum \\d+\\.\\d+\\.\\d+\n$";
    const std::pair<QStringList, QString> runs[] = {
        {{"--help"}, help}, {{"export", "--help"}, help}, {{"render", "-h"}, help}, {{"--version"}, version}};
    for (const auto& [args, says] : runs) {
      const Run r = RunArgs(args);
      QVERIFY2(r.status == 0 && QRegularExpression(says).match(r.out).hasMatch(), qPrintable(r.out));
    }
  }
};

std::unique_ptr<QObject> NewCommandLineTest() { return std::make_unique<CommandLineTest>(); }

#include "test_command_line.moc"
