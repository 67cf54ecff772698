// The real main window on the off-screen platform: live captures from the simulated
// unit onto the plot, the panels and the menus; stop and single step; the exports
// through the File menu with their dialog, questions and failures; the keys; the size
// rule; a stalled unit that neither freezes the window nor delays its closing; and the
// --demo unit that never outlives the viewer.
#include <QAction>
#include <QElapsedTimer>
#include <QFile>
#include <QMenu>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

#include <csignal>
#include <cstring>
#include <memory>

#include "app/command_table.h"
#include "app/version.h"
#include "app/main_window.h"
#include "app/plot_widget.h"
#include "app/status_panels.h"
#include "link/loopback_peers.h"
#include "link/simulator_process.h"
#include "test_support.h"
#include "view/window_layout.h"

using namespace tavrix;
using namespace tavrix::testing;

namespace {

constexpr int kWaitMs = 15000;

// A process that has ended, whether or not its parent has collected it yet, is gone.
bool Running(qint64 pid) {
  QFile stat(QString("/proc/%1/stat").arg(pid));
  if (!stat.open(QIODevice::ReadOnly)) return false;
  const QByteArray text = stat.readAll();
  const qsizetype close = text.lastIndexOf(')');
  return close > 0 && close + 2 < text.size() && text[close + 2] != 'Z';
}

// The window with scripted answers and save dialog, the poll driven by the test.
struct Harness {
  Harness() {
    MainWindowOptions options;
    options.Timing.pollMs = 600000;
    options.Timing.connectionMs = 0;
    options.Timing.requestWaitMs = 20;
    options.Limits.connectTimeoutMs = 2000;
    options.Limits.transferTimeoutMs = 20000;
    options.Limits.stallTimeoutMs = 20000;
    options.Limits.releasePauseMs = 0;
    options.Answerer = [this](const Question& q) {
      questions.push_back(q);
      return q.Buttons == MessageButtons::Ok ? MessageAnswer::Ok : answer;
    };
    options.ChooseSaveFile = [this](const SaveDialogSetup& setup) {
      dialogs.push_back(setup);
      return chosen;
    };
    window = std::make_unique<frmMain>(options);
  }
  bool Connect(const std::string& address) {
    QSignalSpy done(&window->Cycle(), &AcquisitionCycle::connectFinished);
    window->SetCurrentModem(ModemInfo{"Sim", address});
    return done.wait(kWaitMs) && done.last().first().toBool();
  }
  // One whole poll tick; true when it showed a capture.
  bool Capture() {
    QSignalSpy shown(window.get(), &frmMain::captureShown);
    QSignalSpy ended(&window->Cycle(), &AcquisitionCycle::tickFinished);
    window->Cycle().timerPoll_Timer();
    return ended.wait(kWaitMs) && shown.size() == 1;
  }
  QString Panel(const char* key) const { return window->Panels()->Text(key); }

  std::vector<Question> questions;
  MessageAnswer answer = MessageAnswer::Yes;
  std::vector<SaveDialogSetup> dialogs;
  std::optional<QString> chosen;
  std::unique_ptr<frmMain> window;
};

}  // namespace

class WindowTest : public QObject {
  Q_OBJECT

 private slots:
  void liveCapturesReachThePlotPanelsAndMenus() {
    SimulatorProcess sim;
    QVERIFY(sim.Started());
    Harness h;
    frmMain& w = *h.window;
    QCOMPARE(w.windowTitle(), QString("Tavrix Spectrum Analyzer - Version ") + kVersion);
    QVERIFY(h.Connect(sim.Address()));
    QCOMPARE(w.windowTitle(), QString("Tavrix Spectrum Analyzer [Connected to Sim] - Version ") + kVersion);
    QCOMPARE(w.MenuEntry("mnuCommStopGo")->text(), QString("&Stop Data Set Updates"));
    QVERIFY(!w.Button("SingleStep")->isEnabled());

    w.tbMain_ButtonClick("PeakHold");
    QVERIFY(w.MenuEntry("mnuToolsPeakHold")->isChecked());
    QVERIFY(h.Capture() && h.Capture());
    // The unit's header: 70 MHz, rate exponent 3 (sample rate 62.5, scale 10).
    QCOMPARE(h.Panel("CenterFreq"), QString("7.00000KHz"));
    QCOMPARE(h.Panel("SampleRate"), QString("0.3125KHz"));
    QCOMPARE(h.Panel("Status"), QString("Peak Hold Samples = 2"));
    QCOMPARE(w.Button("PeakHold")->toolTip(), QString("Peak Hold Trace [2]"));
    QCOMPARE(w.findChild<QAction*>("mnuViewFB9")->text(), QString("2.5000MHz Span"));
    QCOMPARE(w.DropDown("FSpan")->actions().at(9)->text(), QString("2.5000MHz Span"));
    QCOMPARE(w.Live().View.Scale.ScaleLeft, w.Live().State.Capture.FreqLow);
    const QImage& frame = w.Plot()->Frame();
    QVERIFY(!frame.isNull());
    QCOMPARE(frame.pixel(1, 1), qRgb(0, 0, 0));

    // Halting and single-stepping.
    w.mnuCommStopGo_Click();
    QCOMPARE(h.Panel("Status"), QString("Tavrix communication has been halted!"));
    QVERIFY(w.Button("StopGo")->isChecked() && w.Button("SingleStep")->isEnabled());
    QVERIFY(w.Cycle().StatusTimerEnabled());
    QSignalSpy shown(&w, &frmMain::captureShown);
    QSignalSpy ended(&w.Cycle(), &AcquisitionCycle::tickFinished);
    w.tbMain_ButtonClick("SingleStep");
    QVERIFY(ended.wait(kWaitMs));
    QCOMPARE(shown.size(), 1);
    QCOMPARE(w.Live().State.Traces.PeakHoldCount, 3);
    QVERIFY(!w.Cycle().PollEnabled());
    // A single step is not running: the lamp stays the halted one.
    QCOMPARE(w.Panels()->Picture("Status"), QString("Red"));
    QCOMPARE(w.Button("StopGo")->toolTip(), QString("Start Updates"));
    QVERIFY(h.questions.empty());
  }

  void exportsThroughTheFileMenu_data() {
    QTest::addColumn<bool>("exists");
    QTest::addColumn<int>("answer");
    QTest::addColumn<bool>("unwritable");
    QTest::addColumn<bool>("cancel");
    QTest::newRow("new file") << false << int(MessageAnswer::Yes) << false << false;
    QTest::newRow("existing file, Yes") << true << int(MessageAnswer::Yes) << false << false;
    QTest::newRow("existing file, No") << true << int(MessageAnswer::No) << false << false;
    QTest::newRow("unwritable folder") << false << int(MessageAnswer::Yes) << true << false;
    QTest::newRow("cancelled") << true << int(MessageAnswer::Yes) << false << true;
  }
  void exportsThroughTheFileMenu() {
    QFETCH(bool, exists);
    QFETCH(int, answer);
    QFETCH(bool, unwritable);
    QFETCH(bool, cancel);
    QTemporaryDir dir;
    const QString file = dir.filePath(unwritable ? "no/such/folder/set.TXT" : "set.TXT");
    if (exists) {
      QFile old(file);
      QVERIFY(old.open(QIODevice::WriteOnly));
      old.write("old");
    }
    Harness h;
    h.answer = static_cast<MessageAnswer>(answer);
    if (!cancel) h.chosen = file;
    h.window->MenuEntry("mnuFilePeakHold")->trigger();

    QCOMPARE(h.dialogs.size(), size_t(1));
    const SaveDialogSetup& d = h.dialogs[0];
    QCOMPARE(d.Title, QString("Specify the peak hold data set file to export..."));
    QCOMPARE(d.FileName, QString("*.TXT"));
    QCOMPARE(d.DefaultSuffix, QString("TXT"));
    QCOMPARE(d.Folder, QDir::homePath());
    const bool asked = exists && !cancel;
    QCOMPARE(h.questions.size(), size_t(asked || unwritable ? 1 : 0));
    if (asked) {
      QCOMPARE(h.questions[0].Text, "The peak hold data set file " + file.toStdString() +
                                        " already exists!  Do you wish to overwrite this file?");
      QCOMPARE(h.questions[0].Title, std::string("OK to Overwrite"));
    }
    if (unwritable) {
      QCOMPARE(h.questions[0].Title, std::string(kProgramTitle));
      QVERIFY(h.questions[0].Icon == MessageIcon::Critical);
    }
    const bool written = !cancel && !unwritable && (!exists || h.answer == MessageAnswer::Yes);
    const std::string content = ReadWholeFile(file.toStdString());
    if (written)
      QCOMPARE(content, FormatDataSet(DataSet::PeakHold, h.window->Live().State));
    else
      QCOMPARE(content, std::string(exists ? "old" : ""));

    // The next dialog opens where the last file went.
    if (!cancel && !unwritable) {
      h.window->tbMain_ButtonMenuClick("Export", "Transformed");
      QCOMPARE(h.dialogs.back().Folder, QFileInfo(file).absolutePath());
      QCOMPARE(h.dialogs.back().Title, QString("Specify the transformed data set file to export..."));
    }
  }

  void exportButtonRepeatsTheLastExportAndSkipsTheTraceEntries() {
    Harness h;
    h.window->tbMain_ButtonClick("Export");
    h.window->tbMain_ButtonMenuClick("Export", "PeakHold");
    h.window->tbMain_ButtonMenuClick("Export", "VideoAverage");
    h.window->tbMain_ButtonMenuClick("Export", "TranScaled");
    h.window->tbMain_ButtonClick("Export");
    QCOMPARE(h.dialogs.size(), size_t(3));
    QCOMPARE(h.dialogs[0].Title, QString("Specify the raw data set file to export..."));
    QCOMPARE(h.dialogs[2].Title, h.dialogs[1].Title);
    QCOMPARE(h.dialogs[1].Title, QString("Specify the transformed & scaled data set file to export..."));
  }

  void keysZoomPanAndReportTheLimit() {
    Harness h;
    frmMain& w = *h.window;
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
    QCOMPARE(h.Panel("Status"), QString(kZoomInLimitText));
    QVERIFY(v.Scale.ScaleWidth * 0.6667 <= v.ZoomMinWidth);
    QTest::keyClick(w.Plot(), Qt::Key_PageDown);
    QVERIFY(v.Scale.ScaleWidth * 0.6667 > v.ZoomMinWidth);
    // A preset from the menu, the check mark after it, and a redraw that changes nothing.
    w.mnuViewDBB_Click(6);
    QVERIFY(w.findChild<QAction*>("mnuViewDBB6")->isChecked());
    const ViewScale shown = v.Scale;
    w.UpdateView();
    QVERIFY(std::memcmp(&shown, &v.Scale, sizeof shown) == 0);
  }

  void sizeRule_data() {
    QTest::addColumn<int>("dw");
    QTest::addColumn<int>("dh");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("title");
    QTest::newRow("both too small: one message") << -1 << -1 << "You cannot resize this window to this size!"
                                                 << "Invalid Window Width";
    QTest::newRow("too narrow") << -1 << 0 << "You cannot resize this window to this width!" << "Invalid Window Width";
    QTest::newRow("too low") << 0 << -1 << "You cannot resize this window to this height!" << "Invalid Window Height";
    QTest::newRow("exactly the minimum") << 0 << 0 << "" << "";
  }
  void sizeRule() {
    QFETCH(int, dw);
    QFETCH(int, dh);
    QFETCH(QString, text);
    QFETCH(QString, title);
    Harness h;
    const QSize minimum = h.window->MinimumPixels();
    QCOMPARE(minimum, QSize(TwipsToPixels(11910, h.window->logicalDpiX()), TwipsToPixels(5760, h.window->logicalDpiX())));
    QCOMPARE(h.window->minimumSize(), minimum);
    h.window->Form_Resize(minimum.width() + dw, minimum.height() + dh);
    QCOMPARE(h.questions.size(), size_t(text.isEmpty() ? 0 : 1));
    if (!text.isEmpty()) {
      QCOMPARE(QString::fromStdString(h.questions[0].Text), text);
      QCOMPARE(QString::fromStdString(h.questions[0].Title), title);
      QVERIFY(h.questions[0].Icon == MessageIcon::Critical);
    }
  }

  void stalledUnitNeitherFreezesTheWindowNorDelaysClosing() {
    SimulatorProcess sim({"--stall-transfer", "30"});
    QVERIFY(sim.Started());
    Harness h;
    QVERIFY(h.Connect(sim.Address()));
    h.window->Cycle().timerPoll_Timer();
    QTRY_VERIFY_WITH_TIMEOUT(sim.Count("STALL 30") == 1, kWaitMs);
    // The window keeps answering while the read waits on the unit.
    QElapsedTimer clock;
    clock.start();
    int ticks = 0;
    QTimer beat;
    QObject::connect(&beat, &QTimer::timeout, [&] {
      ++ticks;
      h.window->UpdateView();
    });
    beat.start(20);
    QTRY_VERIFY_WITH_TIMEOUT(ticks >= 10, 2000);
    QVERIFY(h.window->Cycle().State().FetchBusy);
    clock.restart();
    h.window.reset();
    QVERIFY2(clock.elapsed() < 1000, qPrintable(QString("closing took %1 ms").arg(clock.elapsed())));
  }

  // Clicks on StopGo while a connection is being made end that attempt; they never start
  // others beside it. A connect that fails leaves a face that offers Start.
  void stopGoWhileConnecting_data() {
    QTest::addColumn<bool>("answers");
    QTest::addColumn<int>("clicks");
    QTest::addColumn<int>("fewestBoxes");
    QTest::addColumn<int>("mostBoxes");
    // A click that lands after an ended attempt is a Start of its own, which may be told
    // once; never one box per click.
    QTest::newRow("mute unit, three clicks") << true << 3 << 0 << 1;
    QTest::newRow("refused connection, no click: one box") << false << 0 << 1 << 1;
  }
  void stopGoWhileConnecting() {
    QFETCH(bool, answers);
    QFETCH(int, clicks);
    QFETCH(int, fewestBoxes);
    QFETCH(int, mostBoxes);
    MuteListener mute;
    const int port = answers ? mute.Port() : FreePort();
    Harness h;
    QSignalSpy done(&h.window->Cycle(), &AcquisitionCycle::connectFinished);
    h.window->SetCurrentModem(ModemInfo{"Mute", "127.0.0.1:" + std::to_string(port)});
    for (int i = 0; i < clicks; ++i) {
      h.window->tbMain_ButtonClick("StopGo");
      QTest::qWait(30);
    }
    QTRY_VERIFY_WITH_TIMEOUT(!h.window->Cycle().Connecting(), kWaitMs);
    QTest::qWait(2500);  // longer than a connect may take: any second attempt has ended
    QVERIFY(int(h.questions.size()) >= fewestBoxes && int(h.questions.size()) <= mostBoxes);
    QVERIFY(h.window->Cycle().Stopped() && !h.window->Cycle().PollEnabled());
    QCOMPARE(h.window->Button("StopGo")->toolTip(), QString("Start Updates"));
    QCOMPARE(h.window->MenuEntry("mnuCommStopGo")->text(), QString("&Start Data Set Updates"));
  }

  void everyImageOfTheToolbarsIsThere() {
    for (const char* image : kToolbarImages) QVERIFY2(QFile::exists(QString(":/icons/") + image), image);
    for (const char* image : {"None", "tavrix-spectrum"}) QVERIFY2(QFile::exists(QString(":/icons/") + image), image);
  }

  void demoUnitEndsWithTheViewerEvenAfterACrash() {
    QProcess viewer;
    viewer.setProgram(TAVRIX_VIEWER);
    viewer.setArguments({"--demo"});
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("QT_QPA_PLATFORM", "offscreen");
    viewer.setProcessEnvironment(env);
    viewer.start();
    QVERIFY(viewer.waitForStarted());
    // The simulator is the viewer's child.
    auto child = [&] {
      const QString pid = QString::number(viewer.processId());
      QFile children(QString("/proc/%1/task/%1/children").arg(pid));
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
