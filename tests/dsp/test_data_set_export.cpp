// Data set files before any block, the overwrite question and its answers, and failures
// that leave existing files alone. The update tests compare the files after each block.
#include <QDir>
#include <QTemporaryDir>
#include <QtTest>

#include "common/file_io.h"
#include "dsp/data_set_export.h"
#include "link/recording_notices.h"
#include "test_support.h"

using namespace tavrix;
using namespace tavrix::testing;

class DataSetExportTest : public QObject {
  Q_OBJECT

 private slots:
  void beforeAnyBlockEverySetIsZeros() {
    // 4096 lines for the raw and transformed sets, 2048 for the traces.
    for (const DataSetInfo& info : kDataSets)
      QCOMPARE(FormatDataSet(info.Set, SpectrumState{}), ReadBytes(QString("expected/no_block.%1.txt").arg(info.Name)));
  }

  void existingFilesAreReplacedOnlyAfterYesAndFailuresTouchNothing() {
    QTemporaryDir dir;
    const std::string path = QDir(dir.path()).filePath("scaled.TXT").toStdString();
    const SpectrumState state;
    // A new file is written without a question; the bar rises to 100, then is reset.
    RecordingNotices notices;
    notices.answer = MessageAnswer::No;
    QList<int> progress;
    QCOMPARE(WriteDataSet(DataSet::Raw, path, state, &notices, [&](int pct) { progress.append(pct); }).outcome,
             ExportResult::Written);
    QCOMPARE(progress.mid(progress.size() - 2), QList<int>({100, 0}));
    const std::string raw = ReadWholeFile(path);
    QCOMPARE(raw, FormatDataSet(DataSet::Raw, state));

    QCOMPARE(WriteDataSet(DataSet::Scaled, path, state, &notices).outcome, ExportResult::Declined);
    QCOMPARE(ReadWholeFile(path), raw);
    QCOMPARE(notices.boxes.size(), size_t(1));  // asked about the existing file only
    const RecordingNotices::Box& box = notices.boxes[0];
    QCOMPARE(box.title + ": " + box.text, "OK to Overwrite: The transformed & scaled data set file " + path +
                                              " already exists!  Do you wish to overwrite this file?");
    QVERIFY(box.buttons == MessageButtons::YesNo && box.icon == MessageIcon::Exclamation);

    notices.answer = MessageAnswer::Yes;
    QCOMPARE(WriteDataSet(DataSet::PeakHold, path, state, &notices).outcome, ExportResult::Written);
    QCOMPARE(notices.boxes.at(1).text.rfind("The peak hold data set file ", 0), size_t(0));
    QCOMPARE(ReadWholeFile(path), FormatDataSet(DataSet::PeakHold, state));

    // A failure is one sentence that names the file, and touches nothing: a missing folder,
    // a folder in the file's place.
    const std::string lost = QDir(dir.path()).filePath("missing/folder/set.txt").toStdString();
    const ExportResult r = WriteDataSet(DataSet::VideoAverage, lost, state, nullptr);
    QCOMPARE(r.outcome, ExportResult::Failed);
    QVERIFY(r.message.find(lost) != std::string::npos && r.message.find('\n') == std::string::npos);
    QCOMPARE(WriteDataSet(DataSet::Transformed, dir.path().toStdString(), state, &notices).outcome, ExportResult::Failed);
    QCOMPARE(QDir(dir.path()).entryList(QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot), QStringList{"scaled.TXT"});
    QCOMPARE(ReadWholeFile(path), FormatDataSet(DataSet::PeakHold, state));
  }
};

std::unique_ptr<QObject> NewDataSetExportTest() { return std::make_unique<DataSetExportTest>(); }

#include "test_data_set_export.moc"
