// The real window against the simulated unit from a fresh settings folder, with the
// intervals compressed: the first connection by timerConnection, live captures with peak
// hold and video average on the plot, the panels and the menus, every data set exported
// through the File menu and compared with the command line's export of exactly the blocks
// the unit served, Stop, Single Step, and a restart that brings everything back. Then the
// unit's faults, one row each: the window survives them, says what the operator needs to
// know, and loses no setting.
#include <QAction>
#include <QMenu>
#include <QProcess>
#include <QTemporaryDir>

#include "app/plot_widget.h"
#include "app/version.h"
#include "link/simulator_process.h"
#include "store/settings_store.h"
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

QByteArray Contents(const QString& path) {
  QFile file(path);
  return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("no file");
}

// What `tavrix-spectrum export` writes for the blocks, with both trace options on.
QByteArray CommandLineExport(const DataSetInfo& set, const QStringList& blocks, const QString& out) {
  QProcess command;
  command.start(TAVRIX_VIEWER, QStringList{"export", "--set", set.Name, "--peak-hold", "--video-average", "--out", out} +
                                   blocks);
  if (!command.waitForFinished(kWaitMs) || command.exitCode() != 0) return "export failed: " + command.readAllStandardError();
  return Contents(out);
}

}  // namespace

class EndToEndTest : public QObject {
  Q_OBJECT

 private slots:
  void liveCapturesExportedStoppedSteppedAndRestored() {
    SimulatorProcess sim;
    QVERIFY(sim.Started());
    QTemporaryDir folder;
    const QString settings = folder.filePath("settings.conf");
    WriteOneUnit(settings, sim.Address());
    ViewerSettings before;
    {
      WindowHarness v(settings, Polls::Live);
      frmMain& w = *v.w;
      // Switched on before the first tick of timerConnection, so from the first capture.
      w.tbMain_ButtonClick("PeakHold");
      w.tbMain_ButtonClick("VideoAverage");
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
      QCOMPARE(w.windowTitle(), QString("Tavrix Spectrum Analyzer [Connected to Rack 1] - Version ") + kVersion);
      // The unit's header: 70 MHz, rate exponent 3 (sample rate 62.5, scale 10).
      QCOMPARE(v.Panel("CenterFreq") + " " + v.Panel("SampleRate"), QString("7.00000KHz 0.3125KHz"));
      QCOMPARE(w.Button("PeakHold")->toolTip(), QString("Peak Hold Trace [3]"));
      QCOMPARE(w.findChild<QAction*>("mnuViewFB9")->text(), QString("2.5000MHz Span"));
      QCOMPARE(w.DropDown("FSpan")->actions().at(9)->text(), QString("2.5000MHz Span"));
      QCOMPARE(w.Live().View.Scale.ScaleLeft, w.Live().State.Capture.FreqLow);
      QCOMPARE(w.Plot()->Frame().pixel(1, 1), qRgb(0, 0, 0));
      // Halted: the face offers Start and a single step, the status notice has its timer.
      QCOMPARE(v.Status(), QString("Tavrix communication has been halted!"));
      QVERIFY(w.Cycle().Stopped() && w.Cycle().StatusTimerEnabled());
      QVERIFY(w.Button("StopGo")->isChecked() && w.Button("SingleStep")->isEnabled());
      QCOMPARE(w.Button("StopGo")->toolTip(), QString("Start Updates"));
      QCOMPARE(w.Live().State.Traces.PeakHoldCount, 3);
      QCOMPARE(w.Live().State.Traces.VideoAverageCount, 3);

      QStringList blocks;
      for (int n = 1; n <= 3; ++n) {
        blocks << folder.filePath(QString("served_%1.bin").arg(n));
        QFile block(blocks.last());
        QVERIFY(block.open(QIODevice::WriteOnly) && block.write(QByteArray::fromStdString(sim.ServedBlock(n))) > 0);
      }
      for (const DataSetInfo& set : kDataSets) {
        v.chosen = folder.filePath(QString(set.Name) + ".TXT");
        w.MenuEntry(set.Command)->trigger();
        const QByteArray exported = Contents(*v.chosen);
        QVERIFY2(!exported.isEmpty() && exported == CommandLineExport(set, blocks, folder.filePath(QString(set.Name) + ".cli")), set.Name);
      }

      // One more capture by Single Step, and updates stay stopped, the lamp the halted one.
      w.tbMain_ButtonClick("SingleStep");
      QVERIFY(v.WaitCaptures(4));
      QTRY_VERIFY_WITH_TIMEOUT(!w.Cycle().TickInProgress(), kWaitMs);
      QTest::qWait(500);  // three poll intervals: nothing more arrives
      QCOMPARE(v.captures, 4);
      QVERIFY(w.Cycle().Stopped() && !w.Cycle().PollEnabled());
      QCOMPARE(w.Panels()->Picture("Status"), QString("Red"));
      QVERIFY(v.questions.empty());
      before = w.CurrentSettings();
      w.MenuEntry("mnuFileExit")->trigger();
    }
    // Restarted: every setting is back, the unit connected, and updates stay stopped as
    // they were at the close.
    WindowHarness again(settings, Polls::Live);
    QVERIFY(again.WaitConnected());
    QVERIFY(again.w->CurrentSettings() == before);
    QVERIFY(again.w->Cycle().Stopped() && again.w->Button("PeakHold")->isChecked());
    QVERIFY(again.w->windowTitle().startsWith("Tavrix Spectrum Analyzer [Connected to Rack 1] - Version "));
    QTest::qWait(500);
    QCOMPARE(again.captures, 0);
  }

  void faultsAreSurvived_data() {
    QTest::addColumn<QStringList>("options");  // of the simulated unit
    QTest::addColumn<QString>("fault");        // what happens after the first capture, if anything
    QTest::addColumn<int>("answer");           // to the lost-connection question
    QTest::addColumn<int>("captures");         // drawn by the end, at least
    QTest::addColumn<bool>("running");         // updates at the end
    QTest::addColumn<QString>("status");       // the "Status" panel at the end, when it matters
    const int yes = int(MessageAnswer::Yes), no = int(MessageAnswer::No);
    QTest::newRow("killed and restarted, Yes") << QStringList{} << "kill, restart" << yes << 3 << true << "";
    QTest::newRow("killed, No") << QStringList{} << "kill" << no << 1 << false << "Communications have been aborted!";
    QTest::newRow("stalled transfer") << QStringList{"--stall-transfer", "30"} << "" << yes << 2 << true << "";
    QTest::newRow("dropped mid-transfer") << QStringList{"--drop-mid-transfer"} << "" << yes << 2 << true << "";
    QTest::newRow("short block") << QStringList{"--short-block", "100"} << "" << yes << 3 << true << "";
    QTest::newRow("oversized block") << QStringList{"--long-block", "3000000"} << "" << yes << 2 << true << "";
    QTest::newRow("capture refused") << QStringList{"--reject-capture"} << "" << yes << 0 << true << "";
    QTest::newRow("no SIZE") << QStringList{"--no-size"} << "" << yes << 3 << true << "";
  }
  void faultsAreSurvived() {
    QFETCH(QStringList, options);
    QFETCH(QString, fault);
    QFETCH(int, answer);
    QFETCH(int, captures);
    QFETCH(bool, running);
    QFETCH(QString, status);
    SimulatorProcess sim(options);
    QVERIFY(sim.Started());
    QTemporaryDir folder;
    const QString settings = folder.filePath("settings.conf");
    WriteOneUnit(settings, sim.Address());
    WindowHarness v(settings, Polls::Live);
    v.answer = static_cast<MessageAnswer>(answer);
    frmMain& w = *v.w;
    w.tbMain_ButtonClick("PeakHold");
    const ViewerSettings before = w.CurrentSettings();
    // The window keeps painting throughout.
    int paints = 0;
    QTimer beat;
    QObject::connect(&beat, &QTimer::timeout, [&] {
      w.UpdateView();
      ++paints;
    });
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
    QTRY_VERIFY_WITH_TIMEOUT(paints >= 10, kWaitMs);
    QVERIFY(w.Live().State.Traces.PeakHoldCount >= std::min(captures, 1));
    QVERIFY(w.Cycle().State().RawBlock.size() <= (1u << 20));  // a read is capped, whatever the unit sends
    if (captures == 0) QCOMPARE(sim.Count("RETR spectrum:"), 0);

    // Closing and starting again loses nothing.
    beat.stop();
    w.close();
    v.w.reset();
    WindowHarness again(settings, Polls::Live);
    QVERIFY(again.w->CurrentSettings() == before);
    QCOMPARE(again.w->Directory().Count(), 1);
  }
};

std::unique_ptr<QObject> NewEndToEndTest() { return std::make_unique<EndToEndTest>(); }

#include "test_end_to_end.moc"
