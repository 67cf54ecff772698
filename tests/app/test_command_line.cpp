// The headless export command: option errors, unreadable blocks and unwritable outputs
// give one line on stderr, a non-zero status and no file; good runs write what the
// viewer's export writes for the same captures.
#include <QDir>
#include <QImage>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>
#include <sstream>

#include "app/command_line.h"
#include "app/export_command.h"
#include "common/file_io.h"
#include "test_support.h"

using namespace tavrix;
using namespace tavrix::testing;

namespace {

struct Run {
  int status;
  std::string out, err;
};

Run RunArgs(const QStringList& words) {
  std::vector<std::string> args;
  for (const QString& w : words) args.push_back(w.toStdString());
  std::ostringstream out, err;
  const int status = RunCommandLine(args, out, err);
  return {status, out.str(), err.str()};
}

int LineCount(const std::string& text) { return static_cast<int>(std::count(text.begin(), text.end(), '\n')); }

}  // namespace

class CommandLineTest : public QObject {
  Q_OBJECT

  QTemporaryDir dir_;
  QString Path(const QString& name) { return QDir(dir_.path()).filePath(name); }
  QString Block(const QString& name) { return DataPath("blocks/" + name + ".bin"); }

 private slots:
  void badInvocationsSayWhatIsWrong_data() {
    QTest::addColumn<QStringList>("args");
    QTest::addColumn<QString>("mentions");
    const QString block = DataPath("blocks/tone_bin0005.bin");
    QTest::newRow("no set") << QStringList{"export", "--out", "x.txt", block} << "--set";
    QTest::newRow("bad set") << QStringList{"export", "--set", "cooked", "--out", "x.txt", block} << "cooked";
    QTest::newRow("set without value") << QStringList{"export", "--out", "x.txt", block, "--set"} << "--set";
    QTest::newRow("bad window") << QStringList{"export", "--set", "raw", "--window", "maybe", "--out", "x.txt", block}
                                << "maybe";
    QTest::newRow("no out") << QStringList{"export", "--set", "raw", block} << "--out";
    QTest::newRow("empty out") << QStringList{"export", "--set", "raw", "--out=", block} << "--out";
    QTest::newRow("no block") << QStringList{"export", "--set", "raw", "--out", "x.txt"} << "block";
    QTest::newRow("unknown option") << QStringList{"export", "--set", "raw", "--fast", "--out", "x.txt", block}
                                    << "--fast";
    QTest::newRow("flag with value") << QStringList{"export", "--set", "raw", "--peak-hold=1", "--out", "x.txt", block}
                                     << "--peak-hold=1";
    QTest::newRow("unknown command") << QStringList{"exprot"} << "exprot";
    QTest::newRow("render without png") << QStringList{"render", block} << "--png";
    QTest::newRow("render bad size") << QStringList{"render", "--png", "x.txt", "--size", "10x10", block} << "10x10";
    QTest::newRow("render size not a size") << QStringList{"render", "--png", "x.txt", "--size", "wide", block}
                                            << "wide";
    QTest::newRow("render bad scale") << QStringList{"render", "--png", "x.txt", "--scale", "3", block} << "3";
    QTest::newRow("render bad palette") << QStringList{"render", "--png", "x.txt", "--palette", "2", block} << "2";
    QTest::newRow("render no block") << QStringList{"render", "--png", "x.txt"} << "block";
    QTest::newRow("render missing block") << QStringList{"render", "--png", "x.txt", "gone.bin"} << "gone.bin";
  }

  void badInvocationsSayWhatIsWrong() {
    QFETCH(QStringList, args);
    QFETCH(QString, mentions);
    QDir::setCurrent(dir_.path());
    const Run r = RunArgs(args);
    QVERIFY(r.status != 0);
    QCOMPARE(LineCount(r.err), 1);
    QVERIFY2(QString::fromStdString(r.err).contains(mentions), r.err.c_str());
    QVERIFY(r.out.empty());
    QVERIFY(!QFile::exists(Path("x.txt")));
  }

  void unreadableBlockWritesNothing() {
    const QString out = Path("never.txt");
    for (const QString& bad : {Path("missing.bin"), dir_.path()}) {
      const Run r = RunArgs({"export", "--set", "scaled", "--out", out, Block("tone_bin0005"), bad});
      QCOMPARE(r.status, 1);
      QCOMPARE(LineCount(r.err), 1);
      QVERIFY(QString::fromStdString(r.err).contains(bad));
      QVERIFY(!QFile::exists(out));
    }
    // Larger than any capture block can be.
    QFile big(Path("big.bin"));
    QVERIFY(big.open(QIODevice::WriteOnly));
    big.write(QByteArray(kMaxBlockFileBytes + 1, 'x'));
    big.close();
    const Run r = RunArgs({"export", "--set", "raw", "--out", out, big.fileName()});
    QCOMPARE(r.status, 1);
    QVERIFY(QString::fromStdString(r.err).contains("larger"));
    QVERIFY(!QFile::exists(out));
  }

  void unwritableOutputIsOneLine() {
    const QString out = Path("no/such/folder/set.txt");
    const Run r = RunArgs({"export", "--set", "scaled", "--out", out, Block("tone_bin0005")});
    QCOMPARE(r.status, 1);
    QCOMPARE(LineCount(r.err), 1);
    QVERIFY(QString::fromStdString(r.err).contains(out));
  }

  void writesWhatTheViewerWouldAndSaysWhere() {
    const QString out = Path("seq.txt");
    const QStringList blocks{Block("rate_exp_0003"), Block("empty"), Block("center_000F4240")};
    const Run r = RunArgs(QStringList{"export", "--set=videoaverage", "--window", "off", "--video-average",
                                      "--out", out} + blocks);
    QCOMPARE(r.status, 0);
    QVERIFY(r.err.empty());
    QVERIFY(QString::fromStdString(r.out).contains(QFileInfo(out).absoluteFilePath()));

    // The empty read is skipped: two captures were averaged.
    const SpectrumState expected =
        ProcessBlocks({ReadBytes("blocks/rate_exp_0003.bin"), ReadBytes("blocks/center_000F4240.bin")}, false, false, true)
            .State;
    QCOMPARE(expected.Traces.VideoAverageCount, 2);
    std::string written;
    QCOMPARE(ReadFileCapped(out.toStdString(), 1 << 20, written), std::string());
    QCOMPARE(written, FormatDataSet(DataSet::VideoAverage, expected));

    // Running again replaces the file.
    const Run again = RunArgs({"export", "--set", "scaled", "--out", out, Block("all_00")});
    QCOMPARE(again.status, 0);
    QCOMPARE(ReadFileCapped(out.toStdString(), 1 << 20, written), std::string());
    QCOMPARE(written, ReadBytes("expected/all_00.scaled.window_on.txt"));
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
    QFETCH(QSize, pixels);
    const QStringList blocks{Block("rate_exp_0003"), Block("noise_seed1234"), "--peak-hold", "--video-average"};
    const QString png = Path("plot.png"), again = Path("again.png"), printed = Path("printed.png");
    QCOMPARE(RunArgs(QStringList{"render", "--png", png} + options + blocks).status, 0);
    QCOMPARE(QImage(png).size(), pixels);
    // Same input, same bytes; the printing palette gives another picture.
    QCOMPARE(RunArgs(QStringList{"render", "--png", again} + options + blocks).status, 0);
    QCOMPARE(ReadWholeFile(again.toStdString()), ReadWholeFile(png.toStdString()));
    QCOMPARE(RunArgs(QStringList{"render", "--palette", "1", "--png", printed} + options + blocks).status, 0);
    QVERIFY(ReadWholeFile(printed.toStdString()) != ReadWholeFile(png.toStdString()));
    QCOMPARE(QImage(printed).pixel(0, 0), qRgb(255, 255, 255));
  }

  void helpPrintsUsage() {
    for (const QStringList& args : {QStringList{"--help"}, QStringList{"export", "--help"}, QStringList{"render", "-h"}}) {
      const Run r = RunArgs(args);
      QCOMPARE(r.status, 0);
      QVERIFY(QString::fromStdString(r.out).contains("render --png FILE"));
    }
    const Run version = RunArgs({"--version"});
    QCOMPARE(version.status, 0);
    QVERIFY(QRegularExpression("^tavrix-spectrum [0-9]+\\.[0-9]+\\.[0-9]+\n$").match(QString::fromStdString(version.out)).hasMatch());
  }
};

std::unique_ptr<QObject> NewCommandLineTest() { return std::make_unique<CommandLineTest>(); }

#include "test_command_line.moc"
