// Data set files: layout, values against the acceptance exports, the overwrite question
// and its answers, and failures that must leave existing files alone.
#include <QDir>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

#include "common/file_io.h"
#include "dsp/data_set_export.h"
#include "link/recording_notices.h"
#include "test_support.h"

using namespace tavrix;
using namespace tavrix::testing;

namespace {

// The layout exactly, the numbers within the acceptance tolerances: column 2 relative
// 1e-6; column 3 1e-3 dB, or relative 1e-6 + 1e-6 for the sample columns.
QString CompareExport(const std::string& ours, const std::string& expected, bool iq) {
  const QStringList a = QString::fromStdString(ours).split("\r\n"), b = QString::fromStdString(expected).split("\r\n");
  if (a.size() != b.size() || a.first() != b.first() || !a.last().isEmpty())
    return QString("%1 lines after %2, not ended by CR LF: %3").arg(a.size()).arg(a.first()).arg(!a.last().isEmpty());
  static const QRegularExpression kLine("^\"(\\d+)\",\"([^\"]+)\",\"([^\"]+)\"$");
  for (int n = 1; n + 1 < a.size(); ++n) {
    const QRegularExpressionMatch x = kLine.match(a[n]), y = kLine.match(b[n]);
    const auto near = [&](int column, double rtol, double atol) {
      const double u = x.captured(column).toDouble(), v = y.captured(column).toDouble();
      return std::fabs(u - v) <= rtol * std::max(std::fabs(u), std::fabs(v)) + atol;
    };
    if (!x.hasMatch() || x.captured(1).toInt() != n || !near(2, 1e-6, iq ? 1e-6 : 0) ||
        !near(3, iq ? 1e-6 : 0, iq ? 1e-6 : 1e-3))
      return QString("line %1: %2 instead of %3").arg(n + 1).arg(a[n], b[n]);
  }
  return {};
}

SpectrumState AfterBlock(const QString& name, bool window) {
  SpectrumState state;
  state.Traces.TraceVisible[kCurrentTrace] = true;
  ParseBlock(ReadBytes("blocks/" + name + ".bin"), state.Capture);
  VerticalWindow vertical;
  UpdateSpectrum(state, vertical, window);
  return state;
}

}  // namespace

class DataSetExportTest : public QObject {
  Q_OBJECT

 private slots:
  void beforeAnyBlockEverySetIsZeros() {
    // 4096 lines for the raw and transformed sets, 2048 for the traces.
    for (const DataSetInfo& info : kDataSets)
      QCOMPARE(FormatDataSet(info.Set, SpectrumState{}), ReadBytes(QString("expected/no_block.%1.txt").arg(info.Name)));
  }

  void scaledAndRawMatchTheAcceptanceExports_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("window");
    for (const QString& name : FixtureBlockNames()) {
      if (name == "empty") continue;  // never parsed by the viewer; the command-line test covers it
      QTest::newRow(qPrintable(name + " off")) << name << false;
      QTest::newRow(qPrintable(name + " on")) << name << true;
    }
  }

  void scaledAndRawMatchTheAcceptanceExports() {
    QFETCH(QString, name);
    QFETCH(bool, window);
    const SpectrumState state = AfterBlock(name, window);
    for (const bool raw : {false, true}) {
      const QString file =
          QString("expected/%1.%2.window_%3.txt").arg(name, raw ? "raw" : "scaled", window ? "on" : "off");
      const QString problem =
          CompareExport(FormatDataSet(raw ? DataSet::Raw : DataSet::Scaled, state), ReadBytes(file), raw);
      QVERIFY2(problem.isEmpty(), qPrintable(file + ": " + problem));
    }
  }

  void anExistingFileIsReplacedOnlyAfterYes() {
    QTemporaryDir dir;
    const std::string path = QDir(dir.path()).filePath("scaled.TXT").toStdString();
    const SpectrumState state = AfterBlock("tone_bin0005", true);
    // A new file is written without a question; the bar rises to 100, then is reset.
    RecordingNotices notices;
    notices.answer = MessageAnswer::No;
    QList<int> progress;
    QCOMPARE(WriteDataSet(DataSet::Raw, path, state, &notices, [&](int pct) { progress.append(pct); }).outcome,
             ExportResult::Written);
    QVERIFY(notices.boxes.empty());
    QCOMPARE(progress.mid(progress.size() - 2), QList<int>({100, 0}));
    const std::string raw = ReadWholeFile(path);
    QCOMPARE(raw, FormatDataSet(DataSet::Raw, state));

    QCOMPARE(WriteScaled(path, state, &notices).outcome, ExportResult::Declined);
    QCOMPARE(ReadWholeFile(path), raw);
    QCOMPARE(notices.boxes.size(), size_t(1));
    const RecordingNotices::Box& box = notices.boxes[0];
    QCOMPARE(box.text, "The transformed & scaled data set file " + path +
                           " already exists!  Do you wish to overwrite this file?");
    QCOMPARE(box.title, std::string("OK to Overwrite"));
    QVERIFY(box.buttons == MessageButtons::YesNo && box.icon == MessageIcon::Exclamation);

    notices.answer = MessageAnswer::Yes;
    QCOMPARE(WritePeakHold(path, state, &notices).outcome, ExportResult::Written);
    QCOMPARE(notices.boxes.at(1).text.rfind("The peak hold data set file ", 0), size_t(0));
    QCOMPARE(ReadWholeFile(path), FormatDataSet(DataSet::PeakHold, state));
    QCOMPARE(QDir(dir.path()).entryList(QDir::Files).size(), 1);
  }

  void failuresAreOneSentenceAndTouchNothing() {
    QTemporaryDir dir;
    const std::string path = QDir(dir.path()).filePath("missing/folder/set.txt").toStdString();
    const ExportResult r = WriteVideoAverage(path, SpectrumState{}, nullptr);
    QCOMPARE(r.outcome, ExportResult::Failed);
    QVERIFY(r.message.find(path) != std::string::npos && r.message.find('\n') == std::string::npos);
    QVERIFY(!PathExists(path));
    // A folder in the file's place is reported, and left as it is.
    RecordingNotices yes;
    QCOMPARE(WriteTransformed(dir.path().toStdString(), SpectrumState{}, &yes).outcome, ExportResult::Failed);
    QVERIFY(QDir(dir.path()).exists());
  }
};

std::unique_ptr<QObject> NewDataSetExportTest() { return std::make_unique<DataSetExportTest>(); }

#include "test_data_set_export.moc"
