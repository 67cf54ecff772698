// The real main window off screen: the File menu's exports with their dialog, questions and
// failures; the size rule; a stalled unit that neither freezes the window nor holds up its
// closing; StopGo while connecting; the --demo unit that never outlives the viewer; and the plot
// under the mouse and the keys: drags, keys, clicks in the modes, the mode buttons with a pending
// placement, the drop-downs, the cursors, the moves and the entry boxes.
#include <QElapsedTimer>
#include <QFile>
#include <QLabel>
#include <QProcess>
#include <QScrollBar>
#include <QTextDocument>

#include <cstring>
#include <tuple>

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

// The window shown with room for every panel and the noise block, and points of its plot.
struct Window : WindowHarness {
  Window() {
    w->resize(1000, 640);
    w->show();
    QVERIFY(QTest::qWaitForWindowExposed(w.get()));
    w->ShowCaptureBlock(ReadBytes("blocks/noise_seed1234.bin"));
  }
  PlotWidget* Plot() const { return w->Plot(); }
  ViewWindow& View() const { return w->Live().View; }
  QPoint At(double x, double y) const { return Plot()->ToPixel(x, y).toPoint(); }
  // A point of the view by its share of the width and height.
  QPoint Share(double fx, double fy) const {
    const ViewScale& v = View().Scale;
    return At(v.ScaleLeft + fx * v.ScaleWidth, v.ScaleTop + fy * v.ScaleHeight);
  }
  void Drag(Qt::MouseButton button, QPoint from, QPoint to) const {
    QTest::mousePress(Plot(), button, {}, from);
    QMouseEvent move(QEvent::MouseMove, to, Plot()->mapToGlobal(to), Qt::NoButton, button, {});
    QApplication::sendEvent(Plot(), &move);
    QTest::mouseRelease(Plot(), button, {}, to);
  }
};

bool Near(double a, double b, double tolerance) { return std::fabs(a - b) <= tolerance; }

struct DragRow { const char* name; Command modeButton; Qt::MouseButton button; int modeAfter; };
constexpr DragRow kDragRows[] = {{"left drag in Zoom Window", Command::ZoomWin, Qt::LeftButton, kZoomWindowMode},
                                 {"middle drag from Pan returns to Pan", Command::Pan, Qt::MiddleButton, kPanMode},
                                 {"middle drag from Select", Command::Select, Qt::MiddleButton, kSelectMode}};

// The cursor read-outs of the panel and the printed page, at 10 plot units to the MHz.
struct ReadoutRow { const char* name; bool display; CursorMark one, two; std::array<std::string, 6> texts; };
const ReadoutRow kReadoutRows[] = {
    {"display off", false, {10, -20}, {30, -50}, {}},
    {"cursor 2 not placed", true, {10, -20}, {}, {"1.000MHz", "20.000dB", "", "", "", ""}},
    {"both: 2 less 1", true, {10, -20}, {30, -50.5f}, {"1.000MHz", "20.000dB", "3.000MHz", "50.500dB", "2.000MHz", "30.500dB"}},
    {"both, 2 below 1", true, {30, -50}, {10, -20}, {"3.000MHz", "50.000dB", "1.000MHz", "20.000dB", "-2.000MHz", "-30.000dB"}}};

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
    h.w->Action(Command::FileExport, int(DataSet::PeakHold))->trigger();

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
      h.w->tbMain_ButtonMenuClick(Command::Export, 1);
      QCOMPARE(h.dialogs.back().Folder, QFileInfo(file).absolutePath());
    }
  }

  void cursorReadouts_data() { AddRows(kReadoutRows); }
  void cursorReadouts() {
    const auto& [name, display, one, two, texts] = Row(kReadoutRows);
    DisplayState state;
    state.CursorDisplay = display;
    state.Cursors = {one, two};
    QCOMPARE(CursorReadouts(state, 10, "##0.000MHz"), texts);
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
    for (int i = 0; i < clicks; ++i) h.w->tbMain_ButtonClick(Command::StopGo), QTest::qWait(30);
    QTRY_VERIFY_WITH_TIMEOUT(!h.w->Cycle().Connecting(), kWaitMs);
    QTest::qWait(2500);  // longer than a connect may take: any second attempt has ended
    QVERIFY(int(h.questions.size()) >= fewestBoxes && int(h.questions.size()) <= mostBoxes &&
            h.w->Cycle().Stopped() && !h.w->Cycle().PollEnabled());
    QCOMPARE(h.w->Action(Command::StopGo)->toolTip() + " " + h.w->Action(Command::CommStopGo)->text(),
             "Start Updates &Start Data Set Updates");
  }

  // Every command's action carries the system's key, and every image is there.
  void everyCommandHasItsKeyAndImage() {
    WindowHarness h;
    for (const CommandRow& row : kCommands) QCOMPARE(h.w->Action(row.Id)->objectName(), QString(row.Key));
    for (const char* image : kToolbarImages) QVERIFY2(QFile::exists(QString(":/icons/") + image), image);
    for (const char* image : {"None", "tavrix-spectrum"}) QVERIFY2(QFile::exists(QString(":/icons/") + image), image);
  }

  void demoUnitEndsWithTheViewerEvenAfterACrash() {
#if !defined(Q_OS_LINUX)
    QSKIP("finds the viewer's child through /proc");
#endif
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
    viewer.kill();  // no chance to stop its unit
    viewer.waitForFinished();
    QTRY_VERIFY_WITH_TIMEOUT(!Running(simulator), 3000);
  }

  void dragsZoomToTheBand_data() { AddRows(kDragRows); }
  void dragsZoomToTheBand() {
    const auto& [name, modeButton, button, modeAfter] = Row(kDragRows);
    Window h;
    h.w->tbMain_ButtonClick(modeButton);
    const ViewScale before = h.View().Scale;
    const QPoint from = h.Share(0.6, 0.7), to = h.Share(0.2, 0.3);  // corners in either order
    const PlotMapping map = h.Plot()->Mapping();
    h.Drag(button, from, to);
    const ViewScale& v = h.View().Scale;
    QVERIFY(Near(v.ScaleLeft, map.ToPlotX(to.x()), 1e-3 * before.ScaleWidth) &&
            Near(v.ScaleWidth, map.ToPlotX(from.x()) - map.ToPlotX(to.x()), 1e-3 * before.ScaleWidth) &&
            Near(v.ScaleTop, map.ToPlotY(to.y()), 1e-3 * before.ScaleHeight));
    QCOMPARE(h.View().PreviousView, before);
    QVERIFY(h.w->Modes().Mode == modeAfter && h.w->Action(Command::Pan)->isChecked() == (modeAfter == kPanMode));
  }

  void keysPanZoomAndReportTheLimit() {
    Window h;
    h.Plot()->setFocus();
    ViewWindow& v = h.View();
    const ViewScale start = v.Scale;
    QTest::keyClick(h.Plot(), Qt::Key_Left);
    QCOMPARE(v.Scale.ScaleLeft, start.ScaleLeft - start.ScaleWidth / 100);
    QTest::keyClick(h.Plot(), Qt::Key_PageUp);
    QCOMPARE(v.Scale.ScaleWidth, static_cast<float>(start.ScaleWidth * 0.6667));
    for (int i = 0; i < 40; ++i) QTest::keyClick(h.Plot(), Qt::Key_PageUp);
    QCOMPARE(h.Status(), QString(kZoomInLimitText));
    QVERIFY(v.Scale.ScaleWidth * 0.6667 <= v.ZoomMinWidth);
    const ViewScale shown = v.Scale;  // a redraw changes nothing
    h.w->UpdateView();
    QVERIFY(std::memcmp(&shown, &v.Scale, sizeof shown) == 0);
  }

  // The status bar always fits the window and shows a unit's text as it stands; the scroll
  // bar pans.
  void statusAndScrollBars() {
    Window f;
    // Wider, then narrower, then the narrowest: the panels always end inside the window.
    for (const int width : {1500, 1000, f.w->MinimumPixels().width()}) {
      f.w->resize(width, 640);
      QTRY_COMPARE(f.w->width(), width);
      QCoreApplication::processEvents();
      for (const char* key : kStatusPanelKeys) {
        const QWidget* panel = f.w->Panels()->Panel(key);
        const int right = panel->mapTo(f.w.get(), QPoint(panel->width(), 0)).x();
        QVERIFY2(right <= width, key);
      }
    }
    // The scroll bar pans the view: up to the top, then down; its arrows at an end are the view's tests'.
    QScrollBar* bar = f.w->VScroll();
    for (int i = 0; i < 2000 && bar->value() > bar->minimum(); ++i) bar->triggerAction(QAbstractSlider::SliderPageStepSub);
    const ViewScale atTop = f.View().Scale;
    bar->triggerAction(QAbstractSlider::SliderSingleStepAdd);
    QVERIFY(!(f.View().Scale == atTop));
    for (const QString text : {"<b>X</b>", "Rack <font color=red>7</font>", "<img src=\"/tmp/x.png\">", "R&amp;D & Ops"}) {
      f.w->Panels()->SetText("Status", "Attempting connection to " + text + "...");
      // What the tool tip shows, as Qt decides between plain and rich text.
      const QString tip = f.w->Panels()->Panel("Status")->toolTip();
      QTextDocument shown;
      shown.setHtml(tip);
      QCOMPARE(Qt::mightBeRichText(tip) ? shown.toPlainText() : tip, "Attempting connection to " + text + "...");
    }
  }

  void dropDownsFollowTheMenus() {
    Window h;
    for (const auto& [button, presets, preset] : {std::tuple{Command::DBperDiv, Command::ViewDBB, 3},
                                                  {Command::FSpan, Command::ViewFB, 6}}) {
      h.w->Action(presets, preset)->trigger();
      const QList<QAction*> entries = h.w->DropDown(button)->actions();
      for (int i = 0; i < entries.size(); ++i) QCOMPARE(entries[i]->isChecked(), h.w->Action(presets, i)->isChecked());
      QVERIFY(entries[preset]->isChecked());
    }
    // The two exports of the File menu alone are shown disabled, saying where they are; the face
    // repeats the last export that acts.
    const QList<QAction*> exports = h.w->DropDown(Command::Export)->actions();
    for (qsizetype i = 0; i < exports.size(); ++i) {
      QCOMPARE(exports[i]->isEnabled(), i < kActingExports);
      QCOMPARE(exports[i]->toolTip().contains("File > Export Data Set"), i >= kActingExports);
    }
    h.w->tbMain_ButtonClick(Command::Export);
    for (const int entry : {3, 4, 2}) h.w->tbMain_ButtonMenuClick(Command::Export, entry);  // peak hold, average, scaled
    h.w->tbMain_ButtonClick(Command::Export);
    QStringList titles;
    for (const SaveDialogSetup& d : h.dialogs) titles << d.Title;
    const QString scaled = "Specify the transformed & scaled data set file to export...";
    QCOMPARE(titles, QStringList({"Specify the raw data set file to export...", scaled, scaled}));
  }

  void floatingReadoutFollowsThePress() {
    Window h;
    QLabel* readout = h.Plot()->CoordinateReadout();
    const QPoint press = h.Share(0.3, 0.5);
    QTest::mouseClick(h.Plot(), Qt::LeftButton, {}, press);
    QVERIFY(readout->isVisible());
    const QPointF anchor(h.View().Scale.ScaleLeft + 0.3 * h.View().Scale.ScaleWidth, 0);
    // A zoom about the selected point moves the press on the screen: the read-out goes with it.
    QTest::keyClick(h.w.get(), Qt::Key_PageUp);
    const QPointF now = h.Plot()->ToPixel(anchor.x(), h.View().Scale.CenterY());
    QVERIFY(readout->isVisible());
    QVERIFY(std::abs(readout->x() - now.x()) <= readout->width() + 8);
    QVERIFY(std::abs(readout->x() - press.x()) > 8);
    // A pan that takes the press out of sight takes the read-out with it.
    for (int i = 0; i < 4 && readout->isVisible(); ++i)
      QTest::mouseClick(h.Plot(), Qt::MiddleButton, {}, h.Share(0.95, 0.5));
    QVERIFY(!readout->isVisible());
  }

  // Clicks in the modes; a mode button again with a placement pending shows its pointer.
  void modesByClicksAndButtons() {
    Window h;
    // A middle click without a drag centres the view on it.
    const ViewScale start = h.View().Scale;
    QTest::mouseClick(h.Plot(), Qt::MiddleButton, {}, h.Share(0.75, 0.5));
    QVERIFY(Near(h.View().Scale.CenterX(), start.ScaleLeft + 0.75 * start.ScaleWidth, 0.01 * start.ScaleWidth));
    QCOMPARE(h.View().Scale.ScaleWidth, start.ScaleWidth);
    // Zoom Out clicks until the limit: the full view and the message.
    h.w->tbMain_ButtonClick(Command::ZoomOut);
    for (int i = 0; i < 6 && h.Status() != kZoomOutLimitText; ++i)
      QTest::mouseClick(h.Plot(), Qt::LeftButton, {}, h.Share(0.3, 0.3));
    QCOMPARE(h.Status(), QString(kZoomOutLimitText));
    QCOMPARE(h.View().Scale, h.View().FullView());
    QTest::mouseClick(h.Plot(), Qt::RightButton, {}, h.Share(0.5, 0.5));  // ends the mode
    QVERIFY(h.w->Modes().Mode == kSelectMode && !h.w->Action(Command::ViewEnd)->isEnabled() &&
            !h.w->Action(Command::ZoomOut)->isChecked());
    h.w->tbMain_ButtonClick(Command::PeakThreshold);
    h.w->Action(Command::ZoomIn)->trigger();
    QVERIFY(h.w->Modes().Mode == kZoomInMode && h.w->Action(Command::ZoomIn)->isChecked() &&
            h.w->Action(Command::ViewEnd)->isEnabled());
    QCOMPARE(h.Plot()->cursor().shape(), Qt::BitmapCursor);
    h.w->tbMain_ButtonClick(Command::ZoomIn);
    QVERIFY(h.w->Modes().Mode == kSelectMode && !h.w->Action(Command::ZoomIn)->isChecked());
    QCOMPARE(h.w->Modes().Image(), PointerImage::PlaceThreshold);
    // The next press places the threshold at its level.
    QTest::mouseClick(h.Plot(), Qt::LeftButton, {}, h.At(h.View().Scale.CenterX(), -50));
    QVERIFY(Near(h.w->Display().Navigation.Threshold, 50, 0.5) && h.w->Modes().Image() == PointerImage::Cross);
    QCOMPARE(h.Plot()->cursor().shape(), Qt::CrossCursor);
  }

  void bothCursorsEnableZoomToFit() {
    Window h;
    QAction* zoom = h.w->Action(Command::ZoomCursors);
    QVERIFY(!zoom->isEnabled());
    h.w->Action(Command::ViewCursor, 0)->trigger();
    QVERIFY(h.w->Action(Command::ViewCursor, 0)->isChecked() && h.w->Action(Command::CursorDelta)->isChecked());
    QTest::mouseClick(h.Plot(), Qt::LeftButton, {}, h.Share(0.3, 0.4));
    QVERIFY(!h.w->Action(Command::ViewCursor, 0)->isChecked() && !zoom->isEnabled());
    h.w->tbMain_ButtonClick(Command::CursorTwo);
    QTest::mouseClick(h.Plot(), Qt::LeftButton, {}, h.Share(0.6, 0.5));
    QVERIFY(zoom->isEnabled() && !h.w->Cursors()->Text(5).isEmpty());
    QCOMPARE(h.w->CurrentSelection().SelectedPoint, 0);  // placing presses select nothing
    h.w->Action(Command::ViewCursors)->trigger();  // display off
    QVERIFY(!zoom->isEnabled() && h.w->Cursors()->Text(0).isEmpty());
  }

  void movesAndEntryBoxes() {
    Window h;
    frmMain& w = *h.w;
    // Peak moves from the top: the highest, then lower levels.
    w.tbMain_ButtonClick(Command::LastPoint);
    const TraceSet& t = w.Live().State.Traces;
    const int top = w.CurrentSelection().SelectedPoint;
    QCOMPARE(top, GetNextHighest(t, kCurrentTrace));
    w.Action(Command::PreviousPoint)->trigger();
    QVERIFY(t.AmpPoints[static_cast<size_t>(w.CurrentSelection().SelectedPoint - 1)].Current <
            t.AmpPoints[static_cast<size_t>(top - 1)].Current);
    QCOMPARE(w.Display().Navigation.LastSelectedPoint, 0);  // only clicks and boxes remember a point
    w.tbMain_ButtonClick(Command::CurPoint);
    QCOMPARE(h.Status(), QString(kNoPreviousPointText));

    // The point box: out of range keeps the focus with its message, even after Escape.
    EntryBox* box = w.Entry("txtPoint");
    const auto type = [&](const char* text, Qt::Key key) { box->selectAll(), QTest::keyClicks(box, text), QTest::keyClick(box, key); };
    w.OpenEntryBox("CurPoint");
    QVERIFY(box->isVisible() && box->hasFocus());
    type("2049", Qt::Key_Escape);
    QTRY_VERIFY(box->hasFocus() && h.Status().startsWith("You can only select from valid points"));
    // In range and escaped: nothing moves.
    const int before = w.CurrentSelection().SelectedPoint;
    box->selectAll();
    QTest::keyClicks(box, "7x");  // "x" is not in the box's set
    QCOMPARE(box->text(), QString("7"));
    QTest::keyClick(box, Qt::Key_Escape);
    QVERIFY(w.CurrentSelection().SelectedPoint == before && !box->isVisible());
    // In range and entered: the point is selected and remembered.
    w.OpenEntryBox("CurPoint");
    type("7", Qt::Key_Return);
    QVERIFY(w.CurrentSelection().SelectedPoint == 7 && w.Display().Navigation.LastSelectedPoint == 7);
    QVERIFY(w.Panels()->Text("CurPoint") == "7" && w.Action(Command::CurPoint)->isEnabled());
  }
};

std::unique_ptr<QObject> NewWindowTest() { return std::make_unique<WindowTest>(); }

#include "test_window.moc"
