// The real main window off screen: the File menu's exports with their dialog, questions and
// failures; the keys; the size rule; a stalled unit that neither freezes the window nor holds
// up its closing; StopGo while connecting; and the --demo unit that never outlives the viewer.
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>

#include <csignal>
#include <cstring>

#include "link/loopback_peers.h"
#include "window_harness.h"

using namespace tavrix;
using namespace tavrix::testing;

namespace {

// A process that has ended, whether or not its parent has collected it yet, is gone.
bool Running(qint64 pid) {
  QFile stat(QString("/proc/%1/stat").arg(pid));
  if (!stat.open(QIODevice::ReadOnly)) return false;
  const QByteArray text = stat.readAll();
  const qsizetype close = text.lastIndexOf(')');
  return close > 0 && close + 2 < text.size() && text[close + 2] != 'Z';
}

struct ExportRow { const char* name; bool exists; MessageAnswer answer; bool unwritable, cancel; };
constexpr ExportRow kExportRows[] = {{"new file", false, MessageAnswer::Yes, false, false},
                                     {"existing file, Yes", true, MessageAnswer::Yes, false, false},
                                     {"existing file, No", true, MessageAnswer::No, false, false},
                                     {"unwritable folder", false, MessageAnswer::Yes, true, false},
                                     {"cancelled", true, MessageAnswer::Yes, false, true}};

struct SizeRow { const char* name; int dw, dh; const char *text, *title; };  // the one message, if any
constexpr SizeRow kSizeRows[] = {
    {"both too small: one message", -1, -1, "You cannot resize this window to this size!", "Invalid Window Width"},
    {"too narrow", -1, 0, "You cannot resize this window to this width!", "Invalid Window Width"},
    {"too low", 0, -1, "You cannot resize this window to this height!", "Invalid Window Height"},
    {"exactly the minimum", 0, 0, "", ""}};

// A click that lands after an ended attempt is a Start of its own, which may be told once;
// never one box per click.
struct StopGoRow { const char* name; bool answers; int clicks, fewestBoxes, mostBoxes; };
constexpr StopGoRow kStopGoRows[] = {{"mute unit, three clicks", true, 3, 0, 1},
                                     {"refused connection, no click: one box", false, 0, 1, 1}};

}  // namespace

class WindowTest : public QObject {
  Q_OBJECT

 private slots:
  void exportsThroughTheFileMenu_data() { AddRows(kExportRows); }
  void exportsThroughTheFileMenu() {
    const auto& [name, exists, answer, unwritable, cancel] = Row(kExportRows);
    QTemporaryDir dir;
    const QString file = dir.filePath(unwritable ? "no/such/folder/set.TXT" : "set.TXT");
    if (exists) QCOMPARE(WriteFileAtomically(file.toStdString(), "old"), "");
    WindowHarness h;
    h.answer = answer;
    if (!cancel) h.chosen = file;
    h.w->MenuEntry("mnuFilePeakHold")->trigger();

    QCOMPARE(h.dialogs.size(), size_t(1));
    const SaveDialogSetup& d = h.dialogs[0];
    QCOMPARE(QStringList({d.Title, d.FileName, d.DefaultSuffix, d.Folder}),
             QStringList({"Specify the peak hold data set file to export...", "*.TXT", "TXT", QDir::homePath()}));
    const bool asked = exists && !cancel;
    QCOMPARE(h.questions.size(), size_t(asked || unwritable ? 1 : 0));
    if (asked)
      QVERIFY(h.Asked("OK to Overwrite") == 1 && h.questions[0].Text == "The peak hold data set file " + file.toStdString() +
                                                                           " already exists!  Do you wish to overwrite this file?");
    if (unwritable) QVERIFY(h.Asked(kProgramTitle) == 1 && h.questions[0].Icon == MessageIcon::Critical);
    const bool written = !cancel && !unwritable && (!exists || h.answer == MessageAnswer::Yes);
    QCOMPARE(ReadWholeFile(file.toStdString()),
             written ? FormatDataSet(DataSet::PeakHold, h.w->Live().State) : std::string(exists ? "old" : ""));
    if (!cancel && !unwritable) {  // the next dialog opens where the last file went
      h.w->tbMain_ButtonMenuClick("Export", "Transformed");
      QCOMPARE(h.dialogs.back().Folder, QFileInfo(file).absolutePath());
    }
  }

  void exportButtonRepeatsTheLastExportAndSkipsTheTraceEntries() {
    WindowHarness h;
    h.w->tbMain_ButtonClick("Export");
    for (const char* entry : {"PeakHold", "VideoAverage", "TranScaled"}) h.w->tbMain_ButtonMenuClick("Export", entry);
    h.w->tbMain_ButtonClick("Export");
    QStringList titles;
    for (const SaveDialogSetup& d : h.dialogs) titles << d.Title;
    const QString scaled = "Specify the transformed & scaled data set file to export...";
    QCOMPARE(titles, QStringList({"Specify the raw data set file to export...", scaled, scaled}));
  }

  void keysZoomPanAndReportTheLimit() {
    WindowHarness h;
    frmMain& w = *h.w;
    w.show();
    QVERIFY(QTest::qWaitForWindowExposed(&w));
    w.Plot()->setFocus();
    ViewWindow& v = w.Live().View;
    const ViewScale start = v.Scale;
    QTest::keyClick(w.Plot(), Qt::Key_Left);
    QCOMPARE(v.Scale.ScaleLeft, start.ScaleLeft - start.ScaleWidth / 100);
    QTest::keyClick(w.Plot(), Qt::Key_PageUp);
    QCOMPARE(v.Scale.ScaleWidth, static_cast<float>(start.ScaleWidth * 0.6667));
    for (int i = 0; i < 40; ++i) QTest::keyClick(w.Plot(), Qt::Key_PageUp);
    QCOMPARE(h.Status(), QString(kZoomInLimitText));
    QVERIFY(v.Scale.ScaleWidth * 0.6667 <= v.ZoomMinWidth);
    // A preset from the menu, the check mark after it, and a redraw that changes nothing.
    w.mnuViewDBB_Click(6);
    QVERIFY(w.findChild<QAction*>("mnuViewDBB6")->isChecked());
    const ViewScale shown = v.Scale;
    w.UpdateView();
    QVERIFY(std::memcmp(&shown, &v.Scale, sizeof shown) == 0);
  }

  void sizeRule_data() { AddRows(kSizeRows); }
  void sizeRule() {
    const auto& [name, dw, dh, text, title] = Row(kSizeRows);
    WindowHarness h;
    const QSize minimum = h.w->MinimumPixels();
    const int dpi = h.w->logicalDpiX();
    QVERIFY(minimum == QSize(TwipsToPixels(11910, dpi), TwipsToPixels(5760, dpi)) && h.w->minimumSize() == minimum);
    h.w->Form_Resize(minimum.width() + dw, minimum.height() + dh);
    QCOMPARE(h.questions.size(), size_t(*text ? 1 : 0));
    if (*text) QVERIFY(h.questions[0].Text == text && h.Asked(title) == 1 && h.questions[0].Icon == MessageIcon::Critical);
  }

  void stalledUnitNeitherFreezesTheWindowNorDelaysClosing() {
    SimulatorProcess sim({"--stall-transfer", "30"});
    QVERIFY(sim.Started());
    WindowHarness h;  // whose stall limit is 20 s
    QVERIFY(h.WaitConnected(sim.Address()));
    h.w->Cycle().timerPoll_Timer();
    QTRY_VERIFY_WITH_TIMEOUT(sim.Count("STALL 30") == 1, kWaitMs);
    // The window keeps answering while the read waits on the unit.
    int ticks = 0;
    QTimer beat;
    QObject::connect(&beat, &QTimer::timeout, [&] { ++ticks, h.w->UpdateView(); });
    beat.start(20);
    QTRY_VERIFY_WITH_TIMEOUT(ticks >= 10 && h.w->Cycle().State().FetchBusy, 5000);
    // Closing cuts the read short rather than waiting the stall out (a guard against a hang).
    QElapsedTimer clock;
    clock.start();
    h.w.reset();
    QVERIFY2(clock.elapsed() < 10000, "closing waited for the stalled read");
  }

  // Clicks on StopGo while a connection is being made end that attempt; they never start
  // others beside it. A connect that fails leaves a face that offers Start.
  void stopGoWhileConnecting_data() { AddRows(kStopGoRows); }
  void stopGoWhileConnecting() {
    const auto& [name, answers, clicks, fewestBoxes, mostBoxes] = Row(kStopGoRows);
    MuteListener mute;
    WindowHarness h;
    h.w->SetCurrentModem(ModemInfo{"Mute", "127.0.0.1:" + std::to_string(answers ? mute.Port() : FreePort())});
    for (int i = 0; i < clicks; ++i) h.w->tbMain_ButtonClick("StopGo"), QTest::qWait(30);
    QTRY_VERIFY_WITH_TIMEOUT(!h.w->Cycle().Connecting(), kWaitMs);
    QTest::qWait(2500);  // longer than a connect may take: any second attempt has ended
    QVERIFY(int(h.questions.size()) >= fewestBoxes && int(h.questions.size()) <= mostBoxes &&
            h.w->Cycle().Stopped() && !h.w->Cycle().PollEnabled());
    QCOMPARE(h.w->Button("StopGo")->toolTip() + " " + h.w->MenuEntry("mnuCommStopGo")->text(),
             "Start Updates &Start Data Set Updates");
  }

  void everyImageOfTheToolbarsIsThere() {
    for (const char* image : kToolbarImages) QVERIFY2(QFile::exists(QString(":/icons/") + image), image);
    for (const char* image : {"None", "tavrix-spectrum"}) QVERIFY2(QFile::exists(QString(":/icons/") + image), image);
  }

  void demoUnitEndsWithTheViewerEvenAfterACrash() {
    QProcess viewer;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("QT_QPA_PLATFORM", "offscreen");
    viewer.setProcessEnvironment(env);
    viewer.start(TAVRIX_VIEWER, {"--demo"});
    QVERIFY(viewer.waitForStarted());
    // The simulator is the viewer's child.
    const auto child = [&] {
      QFile children(QString("/proc/%1/task/%1/children").arg(viewer.processId()));
      return children.open(QIODevice::ReadOnly) ? children.readAll().trimmed().split(' ').first().toLongLong() : 0;
    };
    qint64 simulator = 0;
    QTRY_VERIFY_WITH_TIMEOUT((simulator = child()) > 0, kWaitMs);
    ::kill(static_cast<pid_t>(viewer.processId()), SIGKILL);
    viewer.waitForFinished();
    QTRY_VERIFY_WITH_TIMEOUT(!Running(simulator), 3000);
  }
};

std::unique_ptr<QObject> NewWindowTest() { return std::make_unique<WindowTest>(); }

#include "test_window.moc"
