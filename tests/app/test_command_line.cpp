// The headless commands: every error is one line on stderr, a non-zero status and no file;
// good runs write what the viewer's export writes for the same captures, or draw them.
#include <QDir>
#include <QImage>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

#include <sys/stat.h>

#include <memory>
#include <sstream>

#include "app/command_line.h"
#include "app/export_command.h"
#include "common/file_io.h"
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
    QCOMPARE(::mkfifo("fifo", 0600), 0);  // a reader would wait for a writer for ever
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
