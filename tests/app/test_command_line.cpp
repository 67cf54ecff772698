// The headless commands: every error is one line on stderr, a non-zero status and no file;
// good runs write what the viewer's export writes for the same captures, or draw them; a
// snapshot of the simulated unit saves the served block with what export and render make of
// it; and a recording keeps what a unit served, through a lost unit and up to a stop request.
#include <QDateTime>
#include <QDir>
#include <QImage>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

#if defined(Q_OS_UNIX)
#include <signal.h>
#include <sys/stat.h>
#endif

#include <memory>
#include <sstream>

#include "app/command_line.h"
#include "app/export_command.h"
#include "common/file_io.h"
#include "history/recording_reader.h"
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

// Every capture of a recording, in order; "<damaged>" for one that cannot be read.
QStringList Captures(const QString& path, history::RecordingReader* keep = nullptr) {
  history::RecordingReader local, &reader = keep != nullptr ? *keep : local;
  QStringList blocks;
  if (!reader.Open(path.toStdString()).empty()) return {"<not a recording>"};
  for (size_t i = 0; i < reader.Count(); ++i) {
    std::string block;
    blocks << (reader.Block(i, block) ? QString::fromLatin1(block.data(), qsizetype(block.size())) : "<damaged>");
  }
  return blocks;
}

template <typename Done>
bool WaitFor(Done done, int ms = 20000) {
  const QDeadlineTimer deadline(ms);
  while (!done() && !deadline.hasExpired()) QTest::qWait(50);
  return done();
}

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
        {"snapshot stray word", "snapshot --modem 127.0.0.1:1 --save-block x.txt extra", "extra"},
        {"record without out", "record --modem 127.0.0.1:1", "--out"},
        {"record count and for", "record --modem 127.0.0.1:1 --out x.txt --count 2 --for 1m", "not both"},
        {"record bad every", "record --modem 127.0.0.1:1 --out x.txt --every 0.05", "0.05"},
        {"record bad duration", "record --modem 127.0.0.1:1 --out x.txt --for 5d", "5d"},
        {"record into a block", "record --modem 127.0.0.1:1 --out TONE --count 1", "not a recording"}};
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

  // What a unit served, byte for byte, in order, with its arrival time; a capture of the
  // recording exports as its block does, and the whole recording as the blocks in order.
  void recordKeepsWhatTheUnitServed() {
    START_SIMULATOR(sim);
    const QString address = QString::fromStdString(sim.Address()), rec = "served.tavrec";
    const qint64 before = QDateTime::currentMSecsSinceEpoch();
    Run r = RunArgs({"record", "--modem", address, "--out", rec, "--every", "0.1", "--count", "3", "--name", "rack 1"});
    QVERIFY2(r.status == 0 && r.err.isEmpty() && r.out.endsWith("Recorded 3 captures to " + QFileInfo(rec).absoluteFilePath() + "\n"),
             qPrintable(r.err + r.out));
    history::RecordingReader reader;
    QStringList served, blockFiles;
    for (int n = 1; n <= 3; ++n) {
      const std::string block = sim.ServedBlock(n);
      served << QString::fromLatin1(block.data(), qsizetype(block.size()));
      blockFiles << QString("served_%1.bin").arg(n);
      QCOMPARE(WriteFileAtomically(blockFiles.back().toStdString(), block), "");
    }
    QCOMPARE(Captures(rec, &reader), served);
    QCOMPARE(reader.Header().UnitName, std::string("rack 1"));
    QCOMPARE(reader.Header().UnitAddress, address.toStdString());
    for (size_t i = 0; i < 3; ++i)
      QVERIFY(reader.Entry(i).TimeMs >= (i == 0 ? before : reader.Entry(i - 1).TimeMs) &&
              reader.Entry(i).TimeMs <= QDateTime::currentMSecsSinceEpoch());
    const auto exported = [](const QStringList& args) {
      const Run e = RunArgs(QStringList{"export", "--out", "e.txt"} + args);
      return e.status == 0 ? ReadWholeFile("e.txt") : "failed: " + e.err.toStdString();
    };
    QCOMPARE(exported({"--set", "scaled", "--from", "#2", "--to", "#2", rec}), exported({"--set", "scaled", blockFiles[1]}));
    QCOMPARE(exported({"--set", "peakhold", "--peak-hold", rec}), exported(QStringList{"--set", "peakhold", "--peak-hold"} + blockFiles));

    // Recording again adds to the file; another unit's name is refused.
    r = RunArgs({"record", "--modem", address, "--out", rec, "--every", "0.1", "--count", "1", "--name", "rack 1"});
    QVERIFY2(r.status == 0 && r.out.contains("after its 3 captures") && Captures(rec).size() == 4, qPrintable(r.err));
    r = RunArgs({"record", "--modem", address, "--out", rec, "--count", "1"});
    QVERIFY2(r.status == 1 && r.err.count('\n') == 1 && r.err.contains("\"rack 1\"") && Captures(rec).size() == 4,
             qPrintable(r.err));
  }

  // A plain FTP server over a folder, with a prepared "spectrum:" file: snapshot and record
  // read it as they read a unit, and the capture request lands in "capt_spec:".
  void aPlainFtpServerIsReadAsAUnit() {
    QTemporaryDir root;
    const std::string tone = ReadBytes("blocks/tone_bin0005.bin");
    QCOMPARE(WriteFileAtomically(QDir(root.path()).filePath("spectrum:").toStdString(), tone), "");
    QProcess ftpd;
    ftpd.start("python3", {TAVRIX_SOURCE_DIR "/tests/app/plain_ftpd.py", root.path()});
    QVERIFY(WaitFor([&] { return ftpd.canReadLine() || ftpd.state() == QProcess::NotRunning; }, 10000));
    const QByteArray listening = ftpd.readLine();
    QVERIFY2(listening.startsWith("LISTENING "), qPrintable(listening + ftpd.readAllStandardError()));
    const QString address = "127.0.0.1:" + listening.mid(10).trimmed();
    Run r = RunArgs({"snapshot", "--modem", address, "--save-block", "plain.bin"});
    QVERIFY2(r.status == 0 && ReadWholeFile("plain.bin") == tone, qPrintable(r.err));
    r = RunArgs({"record", "--modem", address, "--out", "plain.tavrec", "--every", "0.1", "--count", "2"});
    const QString toneText = QString::fromLatin1(tone.data(), qsizetype(tone.size()));
    QVERIFY2(r.status == 0 && r.err.isEmpty() && Captures("plain.tavrec") == QStringList({toneText, toneText}),
             qPrintable(r.err));
    QCOMPARE(ReadWholeFile(QDir(root.path()).filePath("capt_spec:").toStdString()), std::string(1, '\x01'));
    ftpd.kill();
    ftpd.waitForFinished();
  }

  // The program itself, stopped by a signal: the file is whole and holds every capture
  // read; a unit that stops answering is one line a poll and is recorded again once back.
  void recordEndsWholeOnRequest_data() {
    QTest::addColumn<int>("stopSignal");
    QTest::addColumn<bool>("unitLost");
#if defined(Q_OS_UNIX)
    QTest::newRow("SIGTERM, unit lost and back") << int(SIGTERM) << true;
    QTest::newRow("SIGINT") << int(SIGINT) << false;
#endif
  }
  void recordEndsWholeOnRequest() {
#if defined(Q_OS_UNIX)
    QFETCH(int, stopSignal);
    QFETCH(bool, unitLost);
    START_SIMULATOR(sim);
    const QString rec = QString("stopped_%1.tavrec").arg(stopSignal);
    QProcess recorder;
    recorder.start(TAVRIX_VIEWER, {"record", "--modem", QString::fromStdString(sim.Address()), "--out", rec, "--every", "0.1"});
    QString err;
    const auto count = [&] { return Captures(rec).filter("<").isEmpty() ? Captures(rec).size() : 0; };
    QVERIFY(WaitFor([&] { return count() >= 2; }));
    if (unitLost) {
      sim.Kill();
      QVERIFY(WaitFor([&] { return (err += recorder.readAllStandardError()).count("could not connect") >= 2; }));
      const qsizetype had = count();
      QVERIFY(sim.Restart());
      QVERIFY(WaitFor([&] { return count() > had; }));
    }
    ::kill(static_cast<pid_t>(recorder.processId()), stopSignal);
    QVERIFY(recorder.waitForFinished(10000));
    err += recorder.readAllStandardError();
    QCOMPARE(recorder.exitStatus(), QProcess::NormalExit);
    QCOMPARE(recorder.exitCode(), 0);
    QVERIFY(recorder.readAllStandardOutput().contains(", stopped on request\n"));
    // One line a failed poll, whichever step the unit's loss met.
    for (const QString& line : err.split('\n', Qt::SkipEmptyParts))
      QVERIFY2(line.startsWith("tavrix-spectrum: ") && line.contains(QString::fromStdString(sim.Address())), qPrintable(line));
    history::RecordingReader reader;
    QVERIFY(!Captures(rec, &reader).contains("<damaged>"));
    QCOMPARE(reader.WholeBytes(), uint64_t(QFileInfo(rec).size()));
    QCOMPARE(reader.SkippedBytes(), uint64_t(0));
#endif
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
