// The window's history on the simulated unit: every capture shown is recorded in its unit's
// file of the day, byte for byte as served; a folder that cannot be written stops recording
// with one notice while the captures go on being shown.
#include <QFile>

#include "app/history_desk.h"
#include "history/recording_folder.h"
#include "history/recording_reader.h"
#include "store/settings_store.h"
#include "window_harness.h"

using namespace tavrix;
using namespace tavrix::testing;

namespace {

struct RecordingCase {
  const char* name;
  bool on;
  const char* folder;  // under the test's folder; "file" is a plain file
  bool recorded, notice;
};
const RecordingCase kRecordingCases[] = {
    {"recorded", true, "recordings", true, false},
    {"folder under a file", true, "file/recordings", false, true},
    {"switched off", false, "recordings", false, false},
};

}  // namespace

class HistoryWindowTest : public QObject {
  Q_OBJECT

 private slots:
  void capturesShownAreRecorded_data() { AddRows(kRecordingCases); }
  void capturesShownAreRecorded() {
    const RecordingCase& r = Row(kRecordingCases);
    SimulatorProcess sim;
    QVERIFY(sim.Started());
    QTemporaryDir dir;
    QFile file(dir.filePath("file"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    const std::string folder = dir.filePath(r.folder).toStdString();
    ViewerSettings settings;
    settings.History.Recording = r.on;
    settings.History.RecordingFolder = folder;
    const QString settingsFile = dir.filePath("settings.conf");
    SaveViewerSettings(*std::make_unique<SettingsStore>(settingsFile), settings);

    WindowHarness h(settingsFile);
    QVERIFY(h.WaitConnected(sim.Address()));
    constexpr int kCaptures = 3;
    for (int n = 1; n <= kCaptures; ++n) {
      h.w->Panels()->SetText("Status", {});
      QVERIFY(h.Capture());  // the display goes on
      h.w->History()->Flush();
      QCOMPARE(h.Status().startsWith("Recording stopped: "), r.notice && n == 1);
    }
    const auto files = history::UnitRecordings(folder, "Sim");
    QCOMPARE(files.size(), size_t(r.recorded ? 1 : 0));
    if (!r.recorded) return;
    history::RecordingReader reader;
    QCOMPARE(reader.Open(files[0].Path), std::string());
    QCOMPARE(reader.Count(), size_t(kCaptures));
    QCOMPARE(reader.Header().UnitAddress, sim.Address());
    std::string block;
    for (size_t i = 0; i < reader.Count(); ++i) {
      QVERIFY(reader.Block(i, block));
      QVERIFY2(block == sim.ServedBlock(int(i) + 1), qPrintable(QString::number(i)));
      QVERIFY(i == 0 || reader.Entry(i).TimeMs >= reader.Entry(i - 1).TimeMs);
    }
  }
};

std::unique_ptr<QObject> NewHistoryWindowTest() { return std::make_unique<HistoryWindowTest>(); }

#include "test_history_window.moc"
