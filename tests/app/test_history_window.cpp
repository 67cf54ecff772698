// The window's history on the simulated unit: every capture shown is recorded in its unit's
// file of the day, byte for byte as served; a folder that cannot be written stops recording
// with one notice while the captures go on being shown. A replay lands seeks and steps on the
// right capture, whose traces are those the export command gives over the blocks up to it;
// leaving it watches the unit again. After a restart the waterfall is filled back from the
// recording, the level strips measure the band between the cursors over it, and a row of it
// replays its capture.
#include <QFile>

#include <sstream>

#include "app/command_line.h"
#include "app/export_command.h"
#include "app/history_desk.h"
#include "app/level_strips_dock.h"
#include "app/plot_widget.h"
#include "app/replay_bar.h"
#include "app/waterfall_dock.h"
#include "history/waterfall_rows.h"
#include "common/file_io.h"
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

// A move in a replay: a seek to a capture's time and `offsetMs` beyond it, or a step.
struct ReplayMove {
  const char* name;
  int seek;  // a capture, or -1 for none
  int64_t offsetMs;
  int step;
  size_t shown;
};
const ReplayMove kMoves[] = {
    {"opened on the first", -1, 0, 0, 0},   {"seek between two captures", 2, 1, 0, 2},
    {"step forward", -1, 0, 1, 3},          {"step past the last", -1, 0, 5, 3},
    {"seek before the first", 0, -60'000, 0, 0}, {"step back", 3, 0, -2, 1},
};

// A settings file in `dir` recording into its "recordings" folder, with the changes made.
QString SettingsFile(const QTemporaryDir& dir, const std::function<void(ViewerSettings&)>& change) {
  ViewerSettings settings;
  settings.History.RecordingFolder = dir.filePath("recordings").toStdString();
  change(settings);
  const QString file = dir.filePath("settings.conf");
  SaveViewerSettings(*std::make_unique<SettingsStore>(file), settings);
  return file;
}

// What `export` writes for the blocks given.
std::string Exported(const char* set, const std::vector<std::string>& blocks) {
  QTemporaryDir dir;
  std::vector<std::string> args = {"export", "--set", set, "--window", "on", "--peak-hold", "--out",
                                   dir.filePath("out").toStdString()};
  for (size_t i = 0; i < blocks.size(); ++i) {
    args.push_back(dir.filePath(QString::number(i)).toStdString());
    if (!WriteFileAtomically(args.back(), blocks[i]).empty()) return "not written";
  }
  std::ostringstream out, err;
  return RunCommandLine(args, out, err) == 0 ? ReadWholeFile(dir.filePath("out").toStdString()) : err.str();
}

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
    const QString settingsFile = SettingsFile(dir, [&](ViewerSettings& s) {
      s.History.Recording = r.on;
      s.History.RecordingFolder = folder;
    });

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

  void replayShowsEachCaptureAsFetched() {
    SimulatorProcess sim;
    QVERIFY(sim.Started());
    QTemporaryDir dir;
    const QString settingsFile = SettingsFile(dir, [](ViewerSettings& s) { s.PeakHold = true; });
    const std::string folder = dir.filePath("recordings").toStdString();
    WindowHarness h(settingsFile);
    QVERIFY(h.WaitConnected(sim.Address()));
    std::vector<std::string> served;
    for (int n = 1; n <= 4; ++n) {
      QVERIFY(h.Capture());
      served.push_back(sim.ServedBlock(n));
    }
    HistoryDesk& history = *h.w->History();
    history.Flush();
    const auto files = history::UnitRecordings(folder, "Sim");
    QCOMPARE(files.size(), size_t(1));
    history::RecordingReader reader;
    QCOMPARE(reader.Open(files[0].Path), std::string());

    QCOMPARE(history.OpenReplay(files[0].Path), std::string());
    QVERIFY(history.Replaying() && !h.w->Cycle().PollEnabled());
    for (const ReplayMove& m : kMoves) {
      if (m.seek >= 0) history.SeekTo(reader.Entry(size_t(m.seek)).TimeMs + m.offsetMs);
      history.Step(m.step);
      QVERIFY2(history.ShownIndex() == m.shown, m.name);
      QVERIFY2(h.w->windowTitle().endsWith(CaptureTimeText(reader.Entry(m.shown).TimeMs)), m.name);
      const std::vector<std::string> upTo(served.begin(), served.begin() + long(m.shown) + 1);
      for (const auto& [set, name] : {std::pair{DataSet::Scaled, "scaled"}, {DataSet::PeakHold, "peakhold"}})
        QVERIFY2(FormatDataSet(set, h.w->Live().State) == Exported(name, upTo), qPrintable(QString(m.name) + " " + name));
    }

    // Back to live: the unit is watched again and its captures recorded.
    history.LeaveReplay();
    QVERIFY(!history.Replaying() && !h.w->windowTitle().contains("Replay"));
    QVERIFY(h.WaitConnected() && h.Capture());
    history.Flush();
    QCOMPARE(reader.Open(files[0].Path), std::string());
    QCOMPARE(reader.Count(), size_t(5));
  }

  void waterfallFillsBackAfterARestart() {
    SimulatorProcess sim;
    QVERIFY(sim.Started());
    QTemporaryDir dir;
    const QString settingsFile = SettingsFile(dir, [](ViewerSettings& s) { s.History.Waterfall = true; });
    const std::string folder = dir.filePath("recordings").toStdString();
    for (int n = 1; n <= 3; ++n) {
      WindowHarness before(settingsFile);
      QVERIFY(before.WaitConnected(sim.Address()) && before.Capture());
      QVERIFY(sim.Restart());
    }
    WindowHarness h(settingsFile);
    QVERIFY(h.WaitConnected(sim.Address()) && h.Capture());
    const history::WaterfallRows& rows = h.w->History()->Waterfall()->LiveRows();
    QVERIFY(QTest::qWaitFor([&] { return rows.Count() == 4; }, kWaitMs));
    h.w->History()->Flush();
    // The level strips measure the band between the cursors over the recording.
    h.w->resize(1200, 720);
    h.w->show();
    QVERIFY(QTest::qWaitForWindowExposed(h.w.get()));
    const float scale = h.w->Live().State.Capture.FreqScale;
    for (int c = 0; c < 2; ++c) {
      h.w->Action(Command::ViewCursor, c)->trigger();
      const QPointF at = h.w->Plot()->ToPixel((60.0 + 5.0 * c) * scale, h.w->Live().View.Scale.CenterY());
      QTest::mouseClick(h.w->Plot(), Qt::LeftButton, {}, at.toPoint());
    }
    h.w->Action(Command::ViewLevelStrips)->trigger();
    const LevelStripsDock& strips = *h.w->History()->Strips();
    QVERIFY(QTest::qWaitFor([&] { return !strips.Measuring(); }, kWaitMs));
    QCOMPARE(strips.Points().size(), size_t(4));
    const std::optional<BandMHz> band = BandBetween(h.w->Display().Cursors[0], h.w->Display().Cursors[1], scale);
    QVERIFY(band && band->High - band->Low > 4);
    // Each row is its capture's current trace, oldest at the bottom, and each point its
    // figures in the band.
    history::RecordingReader reader;
    QCOMPARE(reader.Open(history::UnitRecordings(folder, "Sim").back().Path), std::string());
    QCOMPARE(reader.Count(), size_t(4));
    std::string block;
    for (size_t i = 0; i < 4; ++i) {
      QVERIFY(reader.Block(i, block));
      const history::WaterfallRow& row = rows.Newest(3 - i);
      QCOMPARE(row.TimeMs, reader.Entry(i).TimeMs);
      const SpectrumState state = ProcessBlocks({block}, true, false, false).State;
      QVERIFY2(row.Levels == history::MakeWaterfallRow(state.Traces, 0).Levels, qPrintable(QString::number(i)));
      const history::StripPoint point = history::MeasureStripPoint(state, row.TimeMs, {*band, std::nullopt});
      QVERIFY(!std::isnan(point.ChannelPowerDb));
      QCOMPARE(strips.Points()[i].TimeMs, row.TimeMs);
      QCOMPARE(strips.Points()[i].ChannelPowerDb, point.ChannelPowerDb);
    }
    // A row asks for its capture: the day's recording replays from it.
    h.w->History()->ReplayAt(rows.Newest(2).TimeMs);
    QVERIFY(h.w->History()->Replaying());
    QCOMPARE(h.w->History()->ShownIndex(), size_t(1));
  }
};

std::unique_ptr<QObject> NewHistoryWindowTest() { return std::make_unique<HistoryWindowTest>(); }

#include "test_history_window.moc"
