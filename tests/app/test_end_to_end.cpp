// The real window against the simulated unit, intervals compressed: live captures, every data
// set exported as the command line exports the served blocks, Stop, Single Step and a restart;
// then the unit's faults, which the window survives, tells and loses no setting over.
#include <QProcess>

#include "window_harness.h"

using namespace tavrix;
using namespace tavrix::testing;

namespace {

const std::string kLostTitle = "Server Connection Lost";
using Polls = WindowHarness::Polls;

// A settings folder holding one unit, "Rack 1" at `address`, used last with updates running.
void WriteOneUnit(const QString& file, const std::string& address) {
  SettingsStore store(file);
  Modems modems;
  modems.Add(0, 1, OldestTime(), false, address, "Rack 1");
  SaveModems(store, modems, "Rack 1");
  store.SaveSetting("Configuration", "StopUpdates", "False");
  QVERIFY(store.Sync());
}

// What `tavrix-spectrum export` writes for the blocks, with both trace options on.
std::string CommandLineExport(const DataSetInfo& set, const QStringList& blocks, const QString& out) {
  QProcess command;
  command.start(TAVRIX_VIEWER, QStringList{"export", "--set", set.Name, "--peak-hold", "--video-average", "--out", out} +
                                   blocks);
  if (!command.waitForFinished(kWaitMs) || command.exitCode() != 0) return "export failed";
  return ReadWholeFile(out.toStdString());
}

// The simulated unit's options, what happens after the first capture, the answer to the lost
// connection, the captures drawn by the end at least, updates running at the end, and the
// "Status" panel then when it matters.
struct FaultRow {
  const char* name; QStringList options; QString fault; MessageAnswer answer; int captures; bool running; QString status;
};
constexpr MessageAnswer kYes = MessageAnswer::Yes;
const FaultRow kFaultRows[] = {
    {"killed and restarted, Yes", {}, "kill, restart", kYes, 3, true, ""},
    {"killed, No", {}, "kill", MessageAnswer::No, 1, false, "Communications have been aborted!"},
    {"stalled transfer", {"--stall-transfer", "30"}, "", kYes, 2, true, ""},
    {"dropped mid-transfer", {"--drop-mid-transfer"}, "", kYes, 2, true, ""},
    {"short block", {"--short-block", "100"}, "", kYes, 3, true, ""},
    {"oversized block", {"--long-block", "3000000"}, "", kYes, 2, true, ""},
    {"capture refused", {"--reject-capture"}, "", kYes, 0, true, ""},
    {"no SIZE", {"--no-size"}, "", kYes, 3, true, ""}};

}  // namespace

class EndToEndTest : public QObject {
  Q_OBJECT
  std::optional<QTemporaryDir> folder;  // a fresh settings folder for each test
  QString settings;

 private slots:
  void init() { settings = folder.emplace().filePath("settings.conf"); }
  void liveCapturesExportedStoppedSteppedAndRestored() {
    SimulatorProcess sim;
    QVERIFY(sim.Started());
    WriteOneUnit(settings, sim.Address());
    ViewerSettings before;
    {
      WindowHarness v(settings, Polls::Live);
      frmMain& w = *v.w;
      // Switched on before the first tick of timerConnection, so from the first capture.
      for (const char* trace : {"PeakHold", "VideoAverage"}) w.tbMain_ButtonClick(trace);
      // The third capture stops the updates while its tick is still under way, so the
      // unit serves no fourth block; what the running window showed is kept.
      QStringList running;
      QObject::connect(&w, &frmMain::captureShown, &w, [&] {
        if (v.captures != 3) return;
        running << v.Status() << w.MenuEntry("mnuCommStopGo")->text() << w.Button("StopGo")->toolTip()
                << (w.Button("SingleStep")->isEnabled() ? "step" : "no step") << w.Panels()->Picture("Status");
        w.mnuCommStopGo_Click();
      });
      QVERIFY(v.WaitCaptures(3));
      QTRY_VERIFY_WITH_TIMEOUT(!w.Cycle().TickInProgress(), kWaitMs);
      QCOMPARE(sim.Count("RETR spectrum:"), 3);
      QCOMPARE(running, QStringList({"Peak Hold Samples = 3 | Video Average Samples = 3", "&Stop Data Set Updates",
                                     "Stop Updates", "no step", "Green"}));
      // The unit's header: 70 MHz, rate exponent 3 (sample rate 62.5, scale 10).
      QCOMPARE(QStringList({v.Panel("CenterFreq"), v.Panel("SampleRate"), w.Button("PeakHold")->toolTip(),
                            w.findChild<QAction*>("mnuViewFB9")->text(), w.DropDown("FSpan")->actions().at(9)->text()}),
               QStringList({"7.00000KHz", "0.3125KHz", "Peak Hold Trace [3]", "2.5000MHz Span", "2.5000MHz Span"}));
      QCOMPARE(w.Live().View.Scale.ScaleLeft, w.Live().State.Capture.FreqLow);
      QCOMPARE(w.Plot()->Frame().pixel(1, 1), qRgb(0, 0, 0));
      // Halted: the face offers Start and a single step, the status notice has its timer.
      QCOMPARE(v.Status(), QString("Tavrix communication has been halted!"));
      QVERIFY(w.Cycle().Stopped() && w.Cycle().StatusTimerEnabled());
      QVERIFY(w.Button("StopGo")->isChecked() && w.Button("SingleStep")->isEnabled());
      QVERIFY(w.Live().State.Traces.PeakHoldCount == 3 && w.Live().State.Traces.VideoAverageCount == 3);

      QStringList blocks;
      for (int n = 1; n <= 3; ++n) {
        blocks << folder->filePath(QString("served_%1.bin").arg(n));
        QCOMPARE(WriteFileAtomically(blocks.last().toStdString(), sim.ServedBlock(n)), "");
      }
      for (const DataSetInfo& set : kDataSets) {
        v.chosen = folder->filePath(QString(set.Name) + ".TXT");
        w.MenuEntry(set.Command)->trigger();
        const std::string exported = ReadWholeFile(v.chosen->toStdString());
        QVERIFY2(!exported.empty() && exported == CommandLineExport(set, blocks, *v.chosen + ".cli"), set.Name);
      }

      // One more capture by Single Step, and updates stay stopped, the lamp the halted one.
      w.tbMain_ButtonClick("SingleStep");
      QVERIFY(v.WaitCaptures(4));
      QTRY_VERIFY_WITH_TIMEOUT(!w.Cycle().TickInProgress(), kWaitMs);
      QTest::qWait(500);  // three poll intervals: nothing more arrives
      QVERIFY(v.captures == 4 && w.Cycle().Stopped() && !w.Cycle().PollEnabled() && v.questions.empty());
      QCOMPARE(w.Panels()->Picture("Status"), QString("Red"));
      before = w.CurrentSettings();
      w.MenuEntry("mnuFileExit")->trigger();
    }
    // Restarted: every setting back, the unit connected, updates stopped as they were at the close.
    WindowHarness again(settings, Polls::Live);
    QVERIFY(again.WaitConnected());
    QVERIFY(again.w->CurrentSettings() == before);
    QVERIFY(again.w->Cycle().Stopped() && again.w->Button("PeakHold")->isChecked());
    QTest::qWait(500);
    QCOMPARE(again.captures, 0);
  }

  void faultsAreSurvived_data() { AddRows(kFaultRows); }
  void faultsAreSurvived() {
    const auto& [name, options, fault, answer, captures, running, status] = Row(kFaultRows);
    SimulatorProcess sim(options);
    QVERIFY(sim.Started());
    WriteOneUnit(settings, sim.Address());
    WindowHarness v(settings, Polls::Live);
    v.answer = answer;
    frmMain& w = *v.w;
    w.tbMain_ButtonClick("PeakHold");
    const ViewerSettings before = w.CurrentSettings();
    int paints = 0;
    QTimer beat;
    QObject::connect(&beat, &QTimer::timeout, [&] { w.UpdateView(), ++paints; });
    beat.start(50);

    if (fault.startsWith("kill")) {
      QVERIFY(v.WaitCaptures(1));
      sim.Kill();
      QTRY_VERIFY_WITH_TIMEOUT(v.Asked(kLostTitle) > 0, kWaitMs);
      if (fault.endsWith("restart")) {
        // "Yes": every tick tries the unit again; once it is back, captures come again.
        QTRY_VERIFY_WITH_TIMEOUT(w.Cycle().Reconnecting(), kWaitMs);
        QVERIFY(!w.Cycle().Stopped());
        QVERIFY(sim.Restart());
      }
    }
    QVERIFY2(v.WaitCaptures(captures), qPrintable(QString("%1 captures").arg(v.captures)));
    if (captures == 0) QTest::qWait(1500);  // ten poll intervals
    QTRY_COMPARE_WITH_TIMEOUT(w.Cycle().Stopped(), !running, kWaitMs);
    if (!status.isEmpty()) QCOMPARE(v.Status(), status);
    QCOMPARE(v.Asked(kLostTitle), fault.startsWith("kill") ? 1 : 0);
    QTRY_VERIFY_WITH_TIMEOUT(paints >= 10, kWaitMs);  // the window kept painting
    QVERIFY(w.Live().State.Traces.PeakHoldCount >= std::min(captures, 1));
    QVERIFY(w.Cycle().State().RawBlock.size() <= (1u << 20));  // a read is capped, whatever the unit sends
    if (captures == 0) QCOMPARE(sim.Count("RETR spectrum:"), 0);

    beat.stop();  // closing and starting again loses nothing
    w.close();
    v.w.reset();
    WindowHarness again(settings, Polls::Live);
    QVERIFY(again.w->CurrentSettings() == before);
    QCOMPARE(again.w->Directory().Count(), 1);
  }
};

std::unique_ptr<QObject> NewEndToEndTest() { return std::make_unique<EndToEndTest>(); }

#include "test_end_to_end.moc"
