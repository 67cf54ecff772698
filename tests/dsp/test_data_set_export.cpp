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

  // One file through a series of exports: a new file is written without a question and the
  // bar rises to 100, then is reset; an existing one is replaced only after Yes. A failure is
  // one sentence that names the file and touches nothing: a missing folder, a folder in the
  // file's place.
  void existingFilesAreReplacedOnlyAfterYesAndFailuresTouchNothing() {
    QTemporaryDir dir;
    const std::string path = QDir(dir.path()).filePath("scaled.TXT").toStdString();
    const std::string lost = QDir(dir.path()).filePath("missing/folder/set.txt").toStdString();
    const SpectrumState state;
    const std::string question = " already exists!  Do you wish to overwrite this file?";
    const struct { DataSet set; std::string path; MessageAnswer answer; ExportResult::Outcome outcome;
                   std::string asked; DataSet kept; } rows[] = {
        {DataSet::Raw, path, MessageAnswer::No, ExportResult::Written, "", DataSet::Raw},
        {DataSet::Scaled, path, MessageAnswer::No, ExportResult::Declined,
         "The transformed & scaled data set file " + path + question, DataSet::Raw},
        {DataSet::PeakHold, path, MessageAnswer::Yes, ExportResult::Written,
         "The peak hold data set file " + path + question, DataSet::PeakHold},
        {DataSet::VideoAverage, lost, MessageAnswer::Yes, ExportResult::Failed, "", DataSet::PeakHold},
        {DataSet::Transformed, dir.path().toStdString(), MessageAnswer::Yes, ExportResult::Failed,
         "The transformed data set file " + dir.path().toStdString() + question, DataSet::PeakHold}};
    for (const auto& row : rows) {
      RecordingNotices notices;
      notices.answer = row.answer;
      QList<int> progress;
      const ExportResult r = WriteDataSet(row.set, row.path, state, &notices, [&](int pct) { progress.append(pct); });
      QCOMPARE(r.outcome, row.outcome);
      QCOMPARE(notices.Shown(MessageButtons::YesNo, MessageIcon::Exclamation),
               row.asked.empty() ? "" : "OK to Overwrite|" + row.asked);
      QCOMPARE(ReadWholeFile(path), FormatDataSet(row.kept, state));
      // The last line's whole percentage of 4096, then 0.
      if (row.outcome == ExportResult::Written)
        QCOMPARE(progress.mid(progress.size() - 2), QList<int>({row.set == DataSet::Raw ? 100 : 50, 0}));
      if (row.outcome == ExportResult::Failed)
        QVERIFY(r.message.find(row.path) != std::string::npos && r.message.find('\n') == std::string::npos);
    }
    QCOMPARE(QDir(dir.path()).entryList(QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot), QStringList{"scaled.TXT"});
  }
};

std::unique_ptr<QObject> NewDataSetExportTest() { return std::make_unique<DataSetExportTest>(); }

#include "test_data_set_export.moc"
