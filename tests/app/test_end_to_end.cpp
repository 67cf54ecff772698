// The real window end to end, with a fresh settings folder each time. What it keeps: a first
// start, every setting back after a restart, damaged settings files, the palettes, the view on
// the clipboard, in files and on paper, and units added and chosen with the title, the recent
// menu and the acquisition following. Against the simulated unit, intervals compressed: live
// captures, every data set exported as the command line exports the served blocks, Stop, Single
// Step and a restart; then the unit's faults, which the window survives, tells and loses no
// setting over.
#include <QClipboard>
#include <QFileSystemWatcher>
#include <QMimeData>
#include <QPrinter>
#include <QProcess>

#include "app/export_command.h"
#include "app/version.h"
#include "window_harness.h"

using namespace tavrix;
using namespace tavrix::testing;

namespace {

using Viewer = WindowHarness;

ViewerSettings Written(const QString& file) { return LoadViewerSettings(SettingsStore(file), QDir::homePath().toStdString()); }

// Each damaged file also holds a palette with one good colour and one out of range; the kinds
// of damage a file can have are the settings store's tests'.
struct DamagedRow { const char* name; QByteArray content; bool setAside; QString told; int units; };
const QByteArray kGood = "PeakThreshold=-30\nVideoAverage=True\n";
const QByteArray kUnits = "[Tavrix%20Modems]\nModemCount=2\nModem1\\ModemName=Rack A\nModem1\\IP_Address=127.0.0.1:1\n"
                          "Modem2\\ModemName=Rack B\nModem2\\IP_Address=10.1.1.2\n";
const DamagedRow kDamagedRows[] = {
    {"values of the wrong kind and bytes that are no text",
     "[WindowState]\nWindowWidth=wide\nWindowHeight=1e30\nWindowLeft=-9e29\n[Configuration]\n" + kGood +
         "CurrentPalette=7\nPeakHold=maybe\n[Tavrix%20Modems]\nModemCount=many\n" +
         QByteArray("\x00\xff\xfe garbage \x01\x02\n", 16),
     true, "settings.conf.bad", 0},
    {"a section line naming nothing", "[Configuration]\n" + kGood + "[\nWindowLeft=12\nWindowTop=x\n" + kUnits, true,
     "settings.conf.bad", 2},
    {"a negative unit count", "[Configuration]\n" + kGood + QByteArray(kUnits).replace("Count=2", "Count=-5"), false,
     "repaired", 2}};

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
  QString file;

 private slots:
  void init() { file = folder.emplace().filePath("settings.conf"); }
  // A first start takes every default in a comfortable window; every setting comes back after a
  // restart. Each time the check marks show the settings.
  void firstStartAndEverySettingBackAfterARestart() {
    const auto marksShow = [](const frmMain& w, const ViewerSettings& s) {
      const std::pair<Command, bool> marks[] = {
          {Command::OptionsSnap, s.SnapToPoint}, {Command::OptionsWindow, s.WindowSpectrum},
          {Command::OptionsPanel, s.SelectionPanelOn}, {Command::ViewCursors, s.CursorDisplay},
          {Command::CurrentTrace, s.CurrentTrace}, {Command::PeakHold, s.PeakHold}, {Command::LastTrace, s.LastTrace},
          {Command::VideoAverage, s.VideoAverage}};
      for (const auto& [command, on] : marks) QVERIFY2(w.Action(command)->isChecked() == on, RowOf(command).Key);
      for (int p = 0; p < 2; ++p) QVERIFY(w.Action(Command::OptionsPalette, p)->isChecked() == (s.CurrentPalette == p));
    };
    ViewerSettings before;
    {
      Viewer v(file);
      frmMain& w = *v.w;
      const ViewerSettings defaults = LoadViewerSettings(w.Store(), QDir::homePath().toStdString());
      ViewerSettings now = w.CurrentSettings();
      // Three quarters of the screen's area (here the minimum width bounds it), centred.
      const QRect screen = QGuiApplication::primaryScreen()->availableGeometry(), place(w.pos(), w.size());
      QVERIFY(std::abs(place.height() - screen.height() * 0.866) <= 1 &&
              (place.center() - screen.center()).manhattanLength() <= 2);
      now.Window = defaults.Window;
      QVERIFY(now == defaults);
      marksShow(w, defaults);
      QCOMPARE(w.windowTitle(), QString("Tavrix Spectrum Analyzer - Version ") + kVersion);
      QAction* recent = w.Action(Command::CommSel, 0);
      QVERIFY(recent->isVisible() && !recent->isEnabled() && recent->text() == "<No Recent Modem Monitored>");
      QVERIFY(w.Cycle().Stopped() && !w.Cycle().Connecting());

      w.show();
      QVERIFY(QTest::qWaitForWindowExposed(&w));
      // Within the off-screen platform's 800x600 screen, which bounds a restored size.
      w.resize(w.MinimumPixels() + QSize(5, 77));
      w.move(3, 17);
      v.color = QColor(12, 34, 56);
      w.Action(Command::PrinterColor, kPeakHoldColor)->trigger();
      w.PickColor(0, kBackgroundColor);
      w.Action(Command::OptionsPalette, 1)->trigger();
      for (const Command c : {Command::OptionsSnap, Command::OptionsWindow, Command::OptionsPanel}) w.Action(c)->trigger();
      for (const Command c : {Command::CurrentTrace, Command::PeakHold, Command::LastTrace}) w.tbMain_ButtonClick(c);
      const std::string noise = ReadBytes("blocks/noise_seed1234.bin");
      w.ShowCaptureBlock(noise);  // with the window option off: transformed unwindowed
      QCOMPARE(FormatDataSet(DataSet::Transformed, w.Live().State),
               FormatDataSet(DataSet::Transformed, ProcessBlocks({noise}, false, false, false).State));
      w.mnuViewCursor_Click(0);
      w.SelectPress(w.Live().View.CenterX(), -12.5f);
      w.comboPeakPoint_Click(0);
      w.Entry("txtThreshold")->setText("-42.5");
      QTest::keyClick(w.Entry("txtThreshold"), Qt::Key_Return);
      before = w.CurrentSettings();
      QCOMPARE(before.Palettes[1][kPeakHoldColor], MakeColorRef(12, 34, 56));
      QVERIFY(before.Cursors[0].Placed() && before.CursorDisplay && before.PeakThreshold == -42.5f);
      QVERIFY(!before.CurrentTrace && before.PeakHold && before.LastTrace && before.PointMoves == 0);
      QTRY_VERIFY_WITH_TIMEOUT(Written(file) == before, kWaitMs);  // on the disk before any close
      w.close();
    }
    Viewer again(file);
    QVERIFY(again.w->CurrentSettings() == before);
    marksShow(*again.w, before);
    QCOMPARE(again.w->Entry("txtThreshold")->text(), QString("-42.500dB"));
    // Moves by all points: the captions say so, and the entry offers peak points.
    QCOMPARE(again.w->Action(Command::FirstPoint)->text() + ", " + again.w->Action(Command::ViewPeakPoint)->text(),
             "Go to First (&Bottom) Point, Select &Move by Peak Points");
  }

  // Damaged files: every good value and unit survives a start and a close, far-off or huge
  // geometry ends on the screen, what was repaired is told, and nothing invalid is written back.
  void damagedFilesKeepWhatCanBeRead_data() { AddRows(kDamagedRows); }
  void damagedFilesKeepWhatCanBeRead() {
    const auto& [name, damage, setAside, told, units] = Row(kDamagedRows);
    const QByteArray content = "[Configuration/ColorPalette0]\nBackGroundColor=16777216\nSpectrumColor=255\n" + damage;
    QCOMPARE(WriteFileAtomically(file.toStdString(), content.toStdString()), "");
    ViewerSettings s;
    {
      Viewer v(file);
      s = v.w->CurrentSettings();
      QVERIFY(s.PeakThreshold == -30.0f && s.VideoAverage && !s.PeakHold && s.CurrentPalette == 0);
      QCOMPARE(s.Palettes[0][kBackgroundColor], kDefaultPalettes[0][kBackgroundColor]);
      QCOMPARE(s.Palettes[0][kSpectrumColor], ColorRef{255});
      QCOMPARE(v.w->Directory().Count(), units);
      const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
      QVERIFY(screen.intersects(v.w->geometry()) && v.w->height() <= screen.height() &&
              v.w->width() >= v.w->MinimumPixels().width());
      QTRY_VERIFY(v.Asked("Tavrix Spectrum Analyzer"));
      QVERIFY(QString::fromStdString(v.questions.back().Text).contains(told));
      v.w->close();
    }
    QCOMPARE(QFile::exists(file + ".bad"), setAside);
    QVERIFY(Written(file) == s);
    const QByteArray text = QByteArray::fromStdString(ReadWholeFile(file.toStdString()));
    QVERIFY(!text.isEmpty() && !text.contains("@Invalid"));
    Viewer again(file);
    QCOMPARE(again.w->Directory().Count(), units);
    QVERIFY(units == 0 || again.w->Directory().Item("Rack B")->IP_Address == "10.1.1.2");
  }

  void palettesAndTheViewOnClipboardFilesAndPaper() {
    Viewer v(file);
    frmMain& w = *v.w;
    w.ShowCaptureBlock(ReadBytes("blocks/noise_seed1234.bin"));
    for (const char* name : {"view.png", "view.svg"}) {
      v.chosen = folder->filePath(name);
      w.mnuFileSaveView_Click();
      const std::string head = ReadWholeFile(v.chosen->toStdString()).substr(0, 200);
      QVERIFY(QString(name).endsWith("png") ? head.starts_with("\x89PNG") : head.find("<svg") != std::string::npos);
    }
    QCOMPARE(QImage(folder->filePath("view.png")).pixelColor(1, 1), QColor(Qt::white));  // the printing palette
    // A folder that is not there: one message, nothing written.
    v.chosen = folder->filePath("missing/view.png");
    w.mnuFileSaveView_Click();
    QVERIFY(v.questions.size() == 1 && !QFile::exists(*v.chosen));

    QPrinter printer(QPrinter::HighResolution);
    printer.setOutputFormat(QPrinter::PdfFormat);
    printer.setOutputFileName(folder->filePath("page.pdf"));
    w.PrintView(printer);
    const std::string pdf = ReadWholeFile(folder->filePath("page.pdf").toStdString());
    QVERIFY(pdf.starts_with("%PDF-") && pdf.size() > 2000);

    // Only a palette on the screen redraws it.
    const QImage shown = w.Plot()->Frame();
    v.color = QColor(200, 0, 0);
    w.PickColor(1, kBackgroundColor);  // the printing palette is not on the screen
    QCOMPARE(w.Plot()->Frame(), shown);
    v.color.reset();  // cancelled
    w.PickColor(0, kBackgroundColor);
    QCOMPARE(w.Display().Palettes[0][kBackgroundColor], kDefaultPalettes[0][kBackgroundColor]);
    v.color = QColor(0, 0, 90);
    w.Action(Command::ViewerColor, kBackgroundColor)->trigger();
    QCOMPARE(w.Plot()->Frame().pixelColor(2, 2), QColor(0, 0, 90));
    QCOMPARE(v.colorTitles, QStringList(3, "Select Analyzer Background Color"));

    QApplication::clipboard()->setText("held before");
    w.mnuViewCopy_Click();
    const QMimeData* held = QApplication::clipboard()->mimeData();
    QVERIFY(held->hasImage() && !held->hasText());
    QCOMPARE(qvariant_cast<QImage>(held->imageData()).size(), w.Plot()->Frame().size());
  }

  void unitsAddedAndChosenAreFollowed() {
    SimulatorProcess sim;
    QVERIFY(sim.Started());
    {
      Viewer v(file);
      frmMain& w = *v.w;
      v.name = "Rack 1", v.address = sim.Address();
      w.mnuCommAdd_Click();  // none was current: the new unit is chosen and connected
      QVERIFY(v.WaitConnected());
      QCOMPARE(w.windowTitle(), QString("Tavrix Spectrum Analyzer [Connected to Rack 1] - Version ") + kVersion);
      QVERIFY(w.Directory().Item("Rack 1")->LastComm.secsTo(QDateTime::currentDateTime()) < 5);
      w.tbMain_ButtonClick(Command::PeakHold);
      QVERIFY(v.Capture());
      QTest::qWait(1100);  // Rack 2, added next, is heard from later than Rack 1
      v.name = "Rack 2", v.address = "127.0.0.1:1";
      w.mnuCommAdd_Click();  // another is current: this one waits in the directory
      QCOMPARE(w.CurrentModemName(), std::string("Rack 1"));
      w.ChooseModem("Rack 2");
      QVERIFY(!v.WaitConnected() && v.Asked("Cannot Connect To Server"));
      // Nothing of Rack 1 is left under Rack 2's name.
      QVERIFY(!w.Live().State.Traces.DataValid && w.Live().State.Traces.PeakHoldCount == 0);
      QVERIFY(w.Panels()->Text("CenterFreq").isEmpty() && w.Panels()->Text("CurPoint").isEmpty());
      QVERIFY(w.Action(Command::PeakHold)->toolTip() == "Peak Hold Trace" && w.Action(Command::PeakHold)->isChecked());
      QCOMPARE(w.windowTitle(), QString("Tavrix Spectrum Analyzer [Connected to Rack 2] - Version ") + kVersion);
      // The recent menu, the newest (a new entry is heard from now) at the top; back to Rack 1 from there.
      QCOMPARE(w.Action(Command::CommSel, 0)->text() + ", " + w.Action(Command::CommSel, 1)->text(), "Rack 2, Rack 1");
      QVERIFY(!w.Action(Command::CommSel, 2)->isVisible());
      w.mnuCommSel_Click(1);
      QVERIFY(v.WaitConnected() && w.CurrentModemName() == "Rack 1");
      w.close();
    }
    Viewer again(file);
    QVERIFY(again.w->Directory().Count() == 2 && again.w->CurrentModemName() == "Rack 1");
    // The unit used last, by timerConnection, with updates running as they were at the close.
    QVERIFY(again.WaitConnected() && !again.w->Cycle().Stopped());
  }

  // A unit that keeps answering: its time of last connection is written once at the
  // first connection, then only after the interval (and at close).
  void aUnitThatKeepsAnsweringIsNotWrittenAtEveryPoll_data() {
    QTest::addColumn<int>("intervalMs");
    QTest::newRow("the ten-minute interval") << 600000;
    QTest::newRow("no interval") << 0;
  }
  void aUnitThatKeepsAnsweringIsNotWrittenAtEveryPoll() {
    QFETCH(int, intervalMs);
    SimulatorProcess sim;
    QVERIFY(sim.Started());
    Viewer v(file, Polls::ByTest, [&](MainWindowOptions& o) { o.LastCommWriteMs = intervalMs; });
    v.name = "Rack 1", v.address = sim.Address();
    v.w->mnuCommAdd_Click();
    QVERIFY(v.WaitConnected());
    QTRY_VERIFY_WITH_TIMEOUT(QFile(file).exists() && LoadModems(SettingsStore(file)).Entries.Count() == 1, kWaitMs);
    QTest::qWait(2500);  // the settings keeper has stored the running updates
    QFileSystemWatcher watcher({folder->path()});
    QSignalSpy writes(&watcher, &QFileSystemWatcher::directoryChanged);
    for (int i = 0; i < 3; ++i) {
      QTest::qWait(intervalMs == 0 ? 1100 : 0);  // the stored time has whole seconds
      QVERIFY(v.Capture());
    }
    QTest::qWait(300);
    QCOMPARE(writes.size() > 0, intervalMs == 0);
    const QDateTime heard = v.w->Directory().Item("Rack 1")->LastComm;
    v.w->close();  // the close writes the latest time whatever the interval
    QCOMPARE(LoadModems(SettingsStore(file)).Entries.Item("Rack 1")->LastComm.toSecsSinceEpoch(), heard.toSecsSinceEpoch());
  }

  void liveCapturesExportedStoppedSteppedAndRestored() {
    SimulatorProcess sim;
    QVERIFY(sim.Started());
    WriteOneUnit(file, sim.Address());
    ViewerSettings before;
    {
      Viewer v(file, Polls::Live);
      frmMain& w = *v.w;
      // Switched on before the first tick of timerConnection, so from the first capture.
      for (const Command trace : {Command::PeakHold, Command::VideoAverage}) w.tbMain_ButtonClick(trace);
      // The third capture stops the updates while its tick is still under way, so the
      // unit serves no fourth block; what the running window showed is kept.
      QStringList running;
      QObject::connect(&w, &frmMain::captureShown, &w, [&] {
        if (v.captures != 3) return;
        running << v.Status() << w.Action(Command::CommStopGo)->text() << w.Action(Command::StopGo)->toolTip()
                << (w.Action(Command::SingleStep)->isEnabled() ? "step" : "no step") << w.Panels()->Picture("Status");
        w.mnuCommStopGo_Click();
      });
      QVERIFY(v.WaitCaptures(3));
      QTRY_VERIFY_WITH_TIMEOUT(!w.Cycle().TickInProgress(), kWaitMs);
      QCOMPARE(sim.Count("RETR spectrum:"), 3);
      QCOMPARE(running, QStringList({"Peak Hold Samples = 3 | Video Average Samples = 3", "&Stop Data Set Updates",
                                     "Stop Updates", "no step", "Green"}));
      // The unit's header: 70 MHz, rate exponent 3 (sample rate 62.5, scale 10).
      QCOMPARE(QStringList({v.Panel("CenterFreq"), v.Panel("SampleRate"), w.Action(Command::PeakHold)->toolTip(),
                            w.Action(Command::ViewFB, 9)->text(), w.DropDown(Command::FSpan)->actions().at(9)->text()}),
               QStringList({"7.00000KHz", "0.3125KHz", "Peak Hold Trace [3]", "2.5000MHz Span", "2.5000MHz Span"}));
      QCOMPARE(w.Live().View.Scale.ScaleLeft, w.Live().State.Capture.FreqLow);
      QCOMPARE(w.Plot()->Frame().pixel(1, 1), qRgb(0, 0, 0));
      // Halted: the face offers Start and a single step, the status notice has its timer.
      QCOMPARE(v.Status(), QString("Tavrix communication has been halted!"));
      QVERIFY(w.Cycle().Stopped() && w.Cycle().StatusTimerEnabled());
      QVERIFY(w.Action(Command::StopGo)->isChecked() && w.Action(Command::SingleStep)->isEnabled());
      QVERIFY(w.Live().State.Traces.PeakHoldCount == 3 && w.Live().State.Traces.VideoAverageCount == 3);

      QStringList blocks;
      for (int n = 1; n <= 3; ++n) {
        blocks << folder->filePath(QString("served_%1.bin").arg(n));
        QCOMPARE(WriteFileAtomically(blocks.last().toStdString(), sim.ServedBlock(n)), "");
      }
      for (const DataSetInfo& set : kDataSets) {
        v.chosen = folder->filePath(QString(set.Name) + ".TXT");
        w.Action(Command::FileExport, int(set.Set))->trigger();
        const std::string exported = ReadWholeFile(v.chosen->toStdString());
        QVERIFY2(!exported.empty() && exported == CommandLineExport(set, blocks, *v.chosen + ".cli"), set.Name);
      }

      // One more capture by Single Step, and updates stay stopped, the lamp the halted one.
      w.tbMain_ButtonClick(Command::SingleStep);
      QVERIFY(v.WaitCaptures(4));
      QTRY_VERIFY_WITH_TIMEOUT(!w.Cycle().TickInProgress(), kWaitMs);
      QTest::qWait(500);  // three poll intervals: nothing more arrives
      QVERIFY(v.captures == 4 && w.Cycle().Stopped() && !w.Cycle().PollEnabled() && v.questions.empty());
      QCOMPARE(w.Panels()->Picture("Status"), QString("Red"));
      before = w.CurrentSettings();
      w.Action(Command::FileExit)->trigger();
    }
    // Restarted: every setting back, the unit connected, updates stopped as they were at the close.
    Viewer again(file, Polls::Live);
    QVERIFY(again.WaitConnected());
    QVERIFY(again.w->CurrentSettings() == before);
    QVERIFY(again.w->Cycle().Stopped() && again.w->Action(Command::PeakHold)->isChecked());
    QTest::qWait(500);
    QCOMPARE(again.captures, 0);
  }

  void faultsAreSurvived_data() { AddRows(kFaultRows); }
  void faultsAreSurvived() {
    const auto& [name, options, fault, answer, captures, running, status] = Row(kFaultRows);
    SimulatorProcess sim(options);
    QVERIFY(sim.Started());
    WriteOneUnit(file, sim.Address());
    Viewer v(file, Polls::Live);
    v.answer = answer;
    frmMain& w = *v.w;
    w.tbMain_ButtonClick(Command::PeakHold);
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
    Viewer again(file, Polls::Live);
    QVERIFY(again.w->CurrentSettings() == before);
    QCOMPARE(again.w->Directory().Count(), 1);
  }
};

std::unique_ptr<QObject> NewEndToEndTest() { return std::make_unique<EndToEndTest>(); }

#include "test_end_to_end.moc"
