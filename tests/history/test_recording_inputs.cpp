// Recordings in place of capture blocks: the bounds of --from and --to, the captures they
// pick, and the commands giving for a recording's captures what they give for the blocks.
#include <QTemporaryDir>
#include <QtTest>

#include <sstream>

#include "app/command_line.h"
#include "app/export_command.h"
#include "history/capture_range.h"
#include "history/recording_writer.h"
#include "test_support.h"

using namespace tavrix;
using namespace tavrix::history;
using namespace tavrix::testing;

namespace {

constexpr int64_t kMorning = 1'764'050'400'000;  // 2025-11-25T06:00:00Z

struct Run {
  int status;
  std::string out, err;
};
Run RunArgs(const std::vector<std::string>& args) {
  std::ostringstream out, err;
  const int status = RunCommandLine(args, out, err);
  return {status, out.str(), err.str()};
}

}  // namespace

class RecordingInputsTest : public QObject {
  Q_OBJECT

  QTemporaryDir dir_;
  std::vector<std::string> blocks_;
  std::string recording_;

  std::string Path(const char* name) const { return dir_.filePath(name).toStdString(); }

 private slots:
  // Five captures a minute apart from 06:00 (the third an empty read), then one the next day.
  void initTestCase() {
    for (const char* name : {"tone_bin0005", "noise_seed1234", "empty", "rate_exp_0003", "center_000F4240", "all_00"})
      blocks_.push_back(ReadBytes(QString("blocks/%1.bin").arg(name)));
    recording_ = Path("unit.tavrec");
    RecordingWriter writer;
    QCOMPARE(writer.Open(recording_, {"unit", "10.0.0.1"}), std::string());
    for (size_t i = 0; i < blocks_.size(); ++i)
      QCOMPARE(writer.Append(kMorning + int64_t(i) * 60'000 + (i == 5 ? 86'400'000 : 0), blocks_[i]), std::string());
  }

  void boundsPickCaptures_data() {
    QTest::addColumn<QString>("from");
    QTest::addColumn<QString>("to");
    QTest::addColumn<QList<int>>("picked");  // capture indices; empty when a bound is refused
    QTest::newRow("open") << "" << "" << QList<int>{0, 1, 2, 3, 4, 5};
    QTest::newRow("numbers") << "#2" << "#4" << QList<int>{1, 2, 3};
    QTest::newRow("one capture") << "#5" << "#5" << QList<int>{4};
    QTest::newRow("past the end") << "#7" << "" << QList<int>{};
    QTest::newRow("UTC times, both included") << "2025-11-25T06:01:00Z" << "2025-11-25T06:03:00.000Z" << QList<int>{1, 2, 3};
    QTest::newRow("an offset") << "2025-11-25T07:02:30+01:00" << "" << QList<int>{3, 4, 5};
    QTest::newRow("without seconds") << "2025-11-26T06:00Z" << "" << QList<int>{5};
    QTest::newRow("time of day, first capture's day") << "06:01:30" << "06:04" << QList<int>{2, 3, 4};
    QTest::newRow("fraction") << "06:00:59.999" << "06:01:00.001" << QList<int>{1};
    QTest::newRow("number and time") << "#3" << "06:03:00" << QList<int>{2, 3};
    QTest::newRow("reversed") << "#4" << "#2" << QList<int>{};
  }
  void boundsPickCaptures() {
    QFETCH(QString, from);
    QFETCH(QString, to);
    QFETCH(QList<int>, picked);
    CaptureBound lower, upper;
    QCOMPARE(from.isEmpty() ? std::string() : ParseCaptureBound(from.toStdString(), lower), std::string());
    QCOMPARE(to.isEmpty() ? std::string() : ParseCaptureBound(to.toStdString(), upper), std::string());
    RecordingReader reader;
    QCOMPARE(reader.Open(recording_), std::string());
    const std::vector<size_t> got = PickCaptures(reader.Entries(), lower, upper);
    QCOMPARE(QList<int>(got.begin(), got.end()), picked);
  }

  void badBoundsAreRefused() {
    for (const char* text : {"", "#", "#0", "#-1", "#1x", "6:00", "24:00", "06:60", "06:00:61", "06:00:00.",
                             "2025-02-29T06:00Z", "2025-11-25 06:00:00Z", "2025-11-25T06:00:00", "2025-11-25T06:00+1",
                             "yesterday"}) {
      CaptureBound bound;
      QVERIFY2(!ParseCaptureBound(text, bound).empty(), text);
    }
  }

  // A recording stands for its captures: the same export as the blocks, alone or among
  // blocks, and a picked capture's export is that block's.
  void commandsTakeARecordingAsItsBlocks() {
    const std::string out = Path("out.txt");
    const std::vector<std::string> common = {"export", "--set", "videoaverage", "--video-average", "--out", out};
    auto exported = [&](std::vector<std::string> inputs) {
      std::vector<std::string> args = common;
      args.insert(args.end(), inputs.begin(), inputs.end());
      const Run r = RunArgs(args);
      return r.status == 0 && r.err.empty() ? ReadWholeFile(out) : "failed: " + r.err;
    };
    const std::string all = FormatDataSet(DataSet::VideoAverage, ProcessBlocks(blocks_, true, false, true).State);
    QCOMPARE(exported({recording_}), all);
    std::vector<std::string> mixed = {ReadBytes("blocks/tone_bin0005.bin")};
    mixed.insert(mixed.end(), blocks_.begin() + 3, blocks_.end());
    QCOMPARE(exported({DataPath("blocks/tone_bin0005.bin").toStdString(), "--from", "#4", recording_}),
             FormatDataSet(DataSet::VideoAverage, ProcessBlocks(mixed, true, false, true).State));
    QCOMPARE(exported({"--from", "06:03", "--to", "#4", recording_}),
             FormatDataSet(DataSet::VideoAverage, ProcessBlocks({blocks_[3]}, true, false, true).State));
  }

  void refusalsAreOneLine_data() {
    QTest::addColumn<QStringList>("args");
    QTest::addColumn<QString>("mentions");
    QTest::addColumn<int>("status");
    QTest::newRow("bad bound") << QStringList{"peaks", "--from", "noon", "REC"} << "--from: a time is" << 2;
    QTest::newRow("nothing picked") << QStringList{"peaks", "--from", "#9", "REC"} << "none of the 6 captures" << 1;
    QTest::newRow("range without recording") << QStringList{"peaks", "--to", "#1", "BLOCK"} << "no recording" << 1;
    QTest::newRow("damaged header") << QStringList{"peaks", "DAMAGED"} << "header is damaged" << 1;
    QTest::newRow("waterfall of a block") << QStringList{"render", "--waterfall", "--png", "w.png", "BLOCK"}
                                          << "a capture block has no time" << 1;
    QTest::newRow("levels without waterfall") << QStringList{"render", "--levels", "auto", "--png", "w.png", "REC"}
                                              << "--levels is for --waterfall" << 2;
    QTest::newRow("reversed levels") << QStringList{"render", "--waterfall", "--levels", "80:20", "--png", "w.png", "REC"}
                                     << "the lower first" << 2;
  }
  void refusalsAreOneLine() {
    QFETCH(QStringList, args);
    QFETCH(QString, mentions);
    QFETCH(int, status);
    std::string damaged = ReadWholeFile(recording_);
    damaged[12] ^= 1;
    const std::string damagedPath = Path("damaged.tavrec");
    QFile file(QString::fromStdString(damagedPath));
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(damaged.data(), qint64(damaged.size())) == qint64(damaged.size()));
    file.close();
    std::vector<std::string> words;
    for (QString w : args)
      words.push_back(w.replace("REC", QString::fromStdString(recording_))
                          .replace("DAMAGED", QString::fromStdString(damagedPath))
                          .replace("BLOCK", DataPath("blocks/tone_bin0005.bin"))
                          .replace("w.png", dir_.filePath("w.png"))
                          .toStdString());
    const Run r = RunArgs(words);
    QVERIFY2(r.status == status && r.out.empty() && std::count(r.err.begin(), r.err.end(), '\n') == 1 &&
                 QString::fromStdString(r.err).contains(mentions),
             r.err.c_str());
    QVERIFY(!QFile::exists(dir_.filePath("w.png")));
  }

  // A damaged capture is passed over and counted; the waterfall draws the rest.
  void damagedCapturesArePassedOverAndTold() {
    RecordingReader reader;
    QCOMPARE(reader.Open(recording_), std::string());
    std::string bytes = ReadWholeFile(recording_);
    bytes[reader.Entry(1).Offset + kRecordHeaderBytes + 40] ^= 0x55;
    const std::string path = Path("hurt.tavrec");
    QFile file(QString::fromStdString(path));
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(bytes.data(), qint64(bytes.size())) == qint64(bytes.size()));
    file.close();
    const std::string png = Path("waterfall.png");
    const Run r = RunArgs({"render", "--waterfall", "--levels", "auto", "--size", "400x300", "--scale", "2", "--png", png, path});
    QVERIFY2(r.status == 0 && r.err.find("1 of the 6 captures") != std::string::npos, r.err.c_str());
    QCOMPARE(QImage(QString::fromStdString(png)).size(), QSize(800, 600));
  }
};

std::unique_ptr<QObject> NewRecordingInputsTest() { return std::make_unique<RecordingInputsTest>(); }

#include "test_recording_inputs.moc"
