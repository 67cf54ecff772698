// The headless commands: option errors, unreadable blocks and unwritable outputs give
// one line on stderr, a non-zero status and no file; good runs write what the viewer's
// export writes for the same captures, or draw it.
#include <QDir>
#include <QImage>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>
#include <sstream>

#include "app/command_line.h"
#include "app/export_command.h"
#include "test_support.h"

using namespace tavrix;
using namespace tavrix::testing;

namespace {

struct Run {
  int status;
  QString out, err;
};

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
    QFile big("big.bin");  // larger than any capture block can be
    QVERIFY(big.open(QIODevice::WriteOnly) && big.write(QByteArray(kMaxBlockFileBytes + 1, 'x')) > 0);
  }

  void failuresAreOneLineAndWriteNothing_data() {
    QTest::addColumn<QStringList>("args");
    QTest::addColumn<QString>("mentions");
    const QString tone = Block("tone_bin0005");
    const QStringList raw{"export", "--set", "raw", "--out", "x.txt"};
    QTest::newRow("no command") << QStringList{} << "no command";
    QTest::newRow("unknown command") << QStringList{"exprot"} << "exprot";
    QTest::newRow("no set") << QStringList{"export", "--out", "x.txt", tone} << "--set";
    QTest::newRow("bad set") << QStringList{"export", "--set", "cooked", "--out", "x.txt", tone} << "cooked";
    QTest::newRow("capitalised set") << QStringList{"export", "--set", "Scaled", "--out", "x.txt", tone} << "Scaled";
    QTest::newRow("set without value") << QStringList{"export", "--out", "x.txt", tone, "--set"} << "--set";
    QTest::newRow("bad window") << raw + QStringList{"--window", "maybe", tone} << "maybe";
    QTest::newRow("no out") << QStringList{"export", "--set", "raw", tone} << "--out";
    QTest::newRow("empty out") << QStringList{"export", "--set", "raw", "--out=", tone} << "--out";
    QTest::newRow("no block") << raw << "block";
    QTest::newRow("unknown option") << raw + QStringList{"--fast", tone} << "--fast";
    QTest::newRow("flag with value") << raw + QStringList{"--peak-hold=1", tone} << "--peak-hold=1";
    // Every block is read before anything is computed.
    QTest::newRow("missing block") << raw + QStringList{tone, "missing.bin"} << "missing.bin";
    QTest::newRow("block is a folder") << raw + QStringList{tone, dir_.path()} << dir_.path();
    QTest::newRow("block too large") << raw + QStringList{"big.bin"} << "larger";
    QTest::newRow("unwritable out") << QStringList{"export", "--set", "raw", "--out", "no/such/x.txt", tone}
                                    << "no/such/x.txt";
    QTest::newRow("render without png") << QStringList{"render", tone} << "--png";
    QTest::newRow("render bad size") << QStringList{"render", "--png", "x.txt", "--size", "10x10", tone} << "10x10";
    QTest::newRow("render size not a size") << QStringList{"render", "--png", "x.txt", "--size", "wide", tone}
                                            << "wide";
    QTest::newRow("render bad scale") << QStringList{"render", "--png", "x.txt", "--scale", "3", tone} << "3";
    QTest::newRow("render bad palette") << QStringList{"render", "--png", "x.txt", "--palette", "2", tone} << "2";
    QTest::newRow("render no block") << QStringList{"render", "--png", "x.txt"} << "block";
    QTest::newRow("render missing block") << QStringList{"render", "--png", "x.txt", "gone.bin"} << "gone.bin";
    // Refused before any network use (nothing listens on port 1 should one get through).
    const QStringList snapshot{"snapshot", "--modem", "127.0.0.1:1"};
    QTest::newRow("snapshot without modem") << QStringList{"snapshot", "--save-block", "x.txt"} << "--modem";
    QTest::newRow("snapshot bad port") << QStringList{"snapshot", "--modem", "10.0.0.1:70000", "--save-block", "x.txt"}
                                       << "10.0.0.1:70000";
    QTest::newRow("snapshot empty port") << QStringList{"snapshot", "--modem", "10.0.0.1:", "--png", "x.txt"}
                                         << "10.0.0.1:";
    QTest::newRow("snapshot with nothing to do") << snapshot << "nothing to do";
    QTest::newRow("snapshot set without out") << snapshot + QStringList{"--set", "raw"} << "--out";
    QTest::newRow("snapshot png without file") << snapshot + QStringList{"--png"} << "--png";
    QTest::newRow("snapshot stray word") << snapshot + QStringList{"--save-block", "x.txt", "extra"} << "extra";
  }

  void failuresAreOneLineAndWriteNothing() {
    QFETCH(QStringList, args);
    QFETCH(QString, mentions);
    const Run r = RunArgs(args);
    QVERIFY(r.status != 0);
    QCOMPARE(r.err.count('\n'), 1);
    QVERIFY2(r.err.contains(mentions), qPrintable(r.err));
    QVERIFY(r.out.isEmpty());
    QVERIFY(!QFile::exists("x.txt"));
  }

  void writesWhatTheViewerWouldAndSaysWhere() {
    const Run r = RunArgs({"export", "--set=videoaverage", "--window", "off", "--video-average", "--out", "seq.txt",
                           Block("rate_exp_0003"), Block("empty"), Block("center_000F4240")});
    QCOMPARE(r.status, 0);
    QVERIFY(r.err.isEmpty());
    QVERIFY(r.out.contains(QFileInfo("seq.txt").absoluteFilePath()));
    // The empty read is skipped: two captures were averaged.
    const SpectrumState expected =
        ProcessBlocks({ReadBytes("blocks/rate_exp_0003.bin"), ReadBytes("blocks/center_000F4240.bin")}, false, false, true)
            .State;
    QCOMPARE(ReadWholeFile("seq.txt"), FormatDataSet(DataSet::VideoAverage, expected));
    // Running again replaces the file.
    QCOMPARE(RunArgs({"export", "--set", "scaled", "--out", "seq.txt", Block("all_00")}).status, 0);
    QCOMPARE(ReadWholeFile("seq.txt"), ReadBytes("expected/all_00.scaled.window_on.txt"));
  }

  void renderDrawsThePlotIntoAPng_data() {
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QSize>("pixels");
    QTest::newRow("default size") << QStringList{} << QSize(1280, 720);
    QTest::newRow("given size") << QStringList{"--size", "800x450"} << QSize(800, 450);
    QTest::newRow("pixel ratio 2") << QStringList{"--size", "800x450", "--scale", "2"} << QSize(1600, 900);
  }

  void renderDrawsThePlotIntoAPng() {
    QFETCH(QStringList, options);
    options += {Block("rate_exp_0003"), Block("noise_seed1234"), "--peak-hold", "--video-average"};
    QCOMPARE(RunArgs(QStringList{"render", "--png", "plot.png"} + options).status, 0);
    QTEST(QImage("plot.png").size(), "pixels");
    // Same input, same bytes; the printing palette gives another picture.
    QCOMPARE(RunArgs(QStringList{"render", "--png", "again.png"} + options).status, 0);
    QCOMPARE(ReadWholeFile("again.png"), ReadWholeFile("plot.png"));
    QCOMPARE(RunArgs(QStringList{"render", "--palette", "1", "--png", "printed.png"} + options).status, 0);
    QVERIFY(ReadWholeFile("printed.png") != ReadWholeFile("plot.png"));
    QCOMPARE(QImage("printed.png").pixel(0, 0), qRgb(255, 255, 255));
  }

  void helpAndVersion() {
    for (const QStringList& args : {QStringList{"--help"}, QStringList{"export", "--help"}, QStringList{"render", "-h"}}) {
      const Run r = RunArgs(args);
      QVERIFY(r.status == 0 && r.out.contains("render --png FILE"));
    }
    const Run v = RunArgs({"--version"});
    QVERIFY(v.status == 0 && QRegularExpression("^tavrix-spectrum [0-9]+\\.[0-9]+\\.[0-9]+\n$").match(v.out).hasMatch());
  }
};

std::unique_ptr<QObject> NewCommandLineTest() { return std::make_unique<CommandLineTest>(); }

#include "test_command_line.moc"
