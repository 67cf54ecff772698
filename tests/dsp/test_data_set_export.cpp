// Data set files: layout, values against the acceptance exports, the overwrite question
// and its answers, and failures that must leave existing files alone.
#include <QDir>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>
#include <vector>

#include "common/file_io.h"
#include "dsp/data_set_export.h"
#include "test_support.h"

using namespace tavrix;
using namespace tavrix::testing;

namespace {

// Answers questions from a script and keeps what was asked.
class ScriptedNotices : public Notices {
 public:
  explicit ScriptedNotices(MessageAnswer answer) : answer_(answer) {}
  void ShowStatus(const std::string& text, bool) override { statuses.push_back(text); }
  MessageAnswer Ask(const std::string& text, const std::string& title, MessageButtons buttons,
                    MessageIcon icon) override {
    questions.push_back(text);
    titles.push_back(title);
    lastButtons = buttons;
    lastIcon = icon;
    return answer_;
  }
  std::vector<std::string> statuses, questions, titles;
  MessageButtons lastButtons = MessageButtons::Ok;
  MessageIcon lastIcon = MessageIcon::None;

 private:
  MessageAnswer answer_;
};

// Checks the layout exactly and the numbers within the acceptance tolerances (column 2
// relative 1e-6; column 3 1e-3 dB, or relative 1e-6 + 1e-6 for sample columns).
QString CompareExport(const std::string& ours, const std::string& expected, bool iq) {
  const QStringList a = QString::fromStdString(ours).split("\r\n");
  const QStringList b = QString::fromStdString(expected).split("\r\n");
  if (a.size() != b.size()) return QString("%1 lines instead of %2").arg(a.size()).arg(b.size());
  if (!a.last().isEmpty()) return "the last line does not end with CR LF";
  if (a.first() != "\"Point\",\"I_Data\",\"Q_Data\"") return "header is " + a.first();
  for (int n = 1; n + 1 < a.size(); ++n) {
    const QStringList fa = a[n].split(','), fb = b[n].split(',');
    if (fa.size() != 3) return QString("line %1 is malformed: %2").arg(n + 1).arg(a[n]);
    double va[3], vb[3];
    for (int c = 0; c < 3; ++c) {
      if (!fa[c].startsWith('"') || !fa[c].endsWith('"') || fa[c].size() < 3)
        return QString("line %1 field %2 is not quoted text: %3").arg(n + 1).arg(c + 1).arg(a[n]);
      va[c] = fa[c].mid(1, fa[c].size() - 2).toDouble();
      vb[c] = fb[c].mid(1, fb[c].size() - 2).toDouble();
    }
    auto within = [](double x, double y, double rtol, double atol) {
      return std::fabs(x - y) <= rtol * std::max(std::fabs(x), std::fabs(y)) + atol;
    };
    const bool ok = va[0] == n && vb[0] == n && within(va[1], vb[1], 1e-6, iq ? 1e-6 : 0) &&
                    within(va[2], vb[2], iq ? 1e-6 : 0, iq ? 1e-6 : 1e-3);
    if (!ok) return QString("line %1: %2 instead of %3").arg(n + 1).arg(a[n], b[n]);
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
    const SpectrumState fresh;
    for (const DataSetInfo& info : kDataSets) {
      const std::string text = FormatDataSet(info.Set, fresh);
      QCOMPARE(text, ReadBytes(QString("expected/no_block.%1.txt").arg(info.Name)));
      QVERIFY(text.find("\r\n\"1\",\"0\",\"0\"\r\n") != std::string::npos);
    }
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
    const QString suffix = window ? ".window_on.txt" : ".window_off.txt";
    QString problem = CompareExport(FormatDataSet(DataSet::Scaled, state), ReadBytes("expected/" + name + ".scaled" + suffix), false);
    QVERIFY2(problem.isEmpty(), qPrintable("scaled: " + problem));
    problem = CompareExport(FormatDataSet(DataSet::Raw, state), ReadBytes("expected/" + name + ".raw" + suffix), true);
    QVERIFY2(problem.isEmpty(), qPrintable("raw: " + problem));
  }

  void rawWithoutWindowHoldsTheParsedSamples() {
    const std::string text = FormatDataSet(DataSet::Raw, AfterBlock("all_80", false));
    QVERIFY(text.find("\r\n\"4096\",\"-127.5\",\"-127.5\"\r\n") != std::string::npos);
  }

  void transformedHoldsAllBinsAndTracesHold2048() {
    const SpectrumState state = AfterBlock("tone_bin0005", true);
    for (const DataSetInfo& info : kDataSets) {
      const std::string text = FormatDataSet(info.Set, state);
      const auto lines = QString::fromStdString(text).split("\r\n");
      QCOMPARE(lines.size(), info.PointCount + 2);  // header, points, empty after the last CR LF
      QVERIFY(lines[info.PointCount].startsWith(QString("\"%1\",").arg(info.PointCount)));
    }
  }

  void existingFileAsksBeforeOverwriting() {
    QTemporaryDir dir;
    const std::string path = QDir(dir.path()).filePath("scaled.TXT").toStdString();
    QCOMPARE(WriteFileAtomically(path, "keep me"), std::string());
    const SpectrumState state = AfterBlock("tone_bin0005", true);

    ScriptedNotices no(MessageAnswer::No);
    QCOMPARE(WriteScaled(path, state, &no).outcome, ExportResult::Declined);
    QCOMPARE(ReadWholeFile(path), std::string("keep me"));
    QCOMPARE(no.questions.size(), size_t(1));
    QCOMPARE(no.questions[0], "The transformed & scaled data set file " + path +
                                  " already exists!  Do you wish to overwrite this file?");
    QCOMPARE(no.titles[0], std::string("OK to Overwrite"));
    QVERIFY(no.lastButtons == MessageButtons::YesNo);
    QVERIFY(no.lastIcon == MessageIcon::Exclamation);

    ScriptedNotices yes(MessageAnswer::Yes);
    QCOMPARE(WritePeakHold(path, state, &yes).outcome, ExportResult::Written);
    QCOMPARE(yes.questions[0].rfind("The peak hold data set file ", 0), size_t(0));
    QCOMPARE(ReadWholeFile(path), FormatDataSet(DataSet::PeakHold, state));
    QCOMPARE(QDir(dir.path()).entryList(QDir::Files).size(), 1);
  }

  void newFileIsWrittenWithoutAQuestion() {
    QTemporaryDir dir;
    const std::string path = QDir(dir.path()).filePath("raw.txt").toStdString();
    ScriptedNotices notices(MessageAnswer::No);
    QList<int> progress;
    const SpectrumState state = AfterBlock("noise_seed1234", false);
    const ExportResult r = WriteDataSet(DataSet::Raw, path, state, &notices, [&](int pct) { progress.append(pct); });
    QCOMPARE(r.outcome, ExportResult::Written);
    QVERIFY(notices.questions.empty());
    QCOMPARE(ReadWholeFile(path), FormatDataSet(DataSet::Raw, state));
    QCOMPARE(progress.last(), 0);  // the bar is reset at the end
    QCOMPARE(progress[progress.size() - 2], 100);
  }

  void unwritableFileIsOneClearMessage() {
    QTemporaryDir dir;
    const std::string path = QDir(dir.path()).filePath("missing/folder/set.txt").toStdString();
    const ExportResult r = WriteVideoAverage(path, SpectrumState{}, nullptr);
    QCOMPARE(r.outcome, ExportResult::Failed);
    QVERIFY(r.message.find(path) != std::string::npos);
    QVERIFY(r.message.find('\n') == std::string::npos);
    QVERIFY(!PathExists(path));

    // A folder in the file's place is reported, and left as it is.
    const std::string folder = dir.path().toStdString();
    ScriptedNotices yes(MessageAnswer::Yes);
    QCOMPARE(WriteTransformed(folder, SpectrumState{}, &yes).outcome, ExportResult::Failed);
    QVERIFY(QDir(dir.path()).exists());
  }

  void setNames() {
    QVERIFY(DataSetNamed("videoaverage") == DataSet::VideoAverage);
    QVERIFY(!DataSetNamed("Scaled"));
    QVERIFY(!DataSetNamed(""));
  }
};

std::unique_ptr<QObject> NewDataSetExportTest() { return std::make_unique<DataSetExportTest>(); }

#include "test_data_set_export.moc"
