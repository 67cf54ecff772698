// The plot of the real window under the mouse and the keys: drags, clicks in the modes, the mode
// buttons with a pending placement, the cursors, the moves and the entry boxes.
#include <QLabel>
#include <QLineEdit>
#include <QScrollBar>
#include <QTextDocument>

#include <tuple>

#include "window_harness.h"

using namespace tavrix;
using namespace tavrix::testing;

namespace {

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

struct DragRow { const char *name, *modeButton; Qt::MouseButton button; int modeAfter; };
constexpr DragRow kDragRows[] = {{"left drag in Zoom Window", "ZoomWin", Qt::LeftButton, kZoomWindowMode},
                                 {"middle drag from Pan returns to Pan", "Pan", Qt::MiddleButton, kPanMode},
                                 {"middle drag from Select", "", Qt::MiddleButton, kSelectMode}};

}  // namespace

class InteractionTest : public QObject {
  Q_OBJECT

 private slots:
  void dragsZoomToTheBand_data() { AddRows(kDragRows); }
  void dragsZoomToTheBand() {
    const auto& [name, modeButton, button, modeAfter] = Row(kDragRows);
    Window h;
    if (*modeButton) h.w->tbMain_ButtonClick(modeButton);
    const ViewScale before = h.View().Scale;
    const QPoint from = h.Share(0.6, 0.7), to = h.Share(0.2, 0.3);  // corners in either order
    const PlotMapping map = h.Plot()->Mapping();
    h.Drag(button, from, to);
    const ViewScale& v = h.View().Scale;
    QVERIFY(Near(v.ScaleLeft, map.ToPlotX(to.x()), 1e-3 * before.ScaleWidth) &&
            Near(v.ScaleWidth, map.ToPlotX(from.x()) - map.ToPlotX(to.x()), 1e-3 * before.ScaleWidth) &&
            Near(v.ScaleTop, map.ToPlotY(to.y()), 1e-3 * before.ScaleHeight));
    QCOMPARE(h.View().PreviousView, before);
    QVERIFY(h.w->Modes().Mode == modeAfter && h.w->Button("Pan")->isChecked() == (modeAfter == kPanMode));
  }

  void statusBarAndScrollBarsFollowTheWindow() {
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
  }

  void dropDownsShowTheViewMenusChecks() {
    Window h;
    for (const auto& [button, prefix, preset] : {std::tuple{"dBperDiv", "mnuViewDBB", 3}, {"FSpan", "mnuViewFB", 6}}) {
      h.w->findChild<QAction*>(QString(prefix) + QString::number(preset))->trigger();
      const QList<QAction*> entries = h.w->DropDown(button)->actions();
      for (qsizetype i = 0; i < entries.size(); ++i)
        QCOMPARE(entries[i]->isChecked(), h.w->findChild<QAction*>(QString(prefix) + QString::number(i))->isChecked());
      QVERIFY(entries[preset]->isChecked());
    }
    // The two exports of the File menu alone are shown disabled, saying where they are.
    const QList<QAction*> exports = h.w->DropDown("Export")->actions();
    for (qsizetype i = 0; i < exports.size(); ++i) {
      QCOMPARE(exports[i]->isEnabled(), i < kActingExports);
      QCOMPARE(exports[i]->toolTip().contains("File > Export Data Set"), i >= kActingExports);
    }
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

  void unitTextsLookingLikeMarkupShowAsTheyStand() {
    Window h;
    for (const QString text : {"<b>X</b>", "Rack <font color=red>7</font>", "<img src=\"/tmp/x.png\">", "R&amp;D & Ops"}) {
      h.w->Panels()->SetText("Status", "Attempting connection to " + text + "...");
      // What the tool tip shows, as Qt decides between plain and rich text.
      const QString tip = h.w->Panels()->Panel("Status")->toolTip();
      QTextDocument shown;
      shown.setHtml(tip);
      QCOMPARE(Qt::mightBeRichText(tip) ? shown.toPlainText() : tip, "Attempting connection to " + text + "...");
    }
  }

  void clicksInTheModes() {
    Window h;
    // A middle click without a drag centres the view on it.
    const ViewScale start = h.View().Scale;
    QTest::mouseClick(h.Plot(), Qt::MiddleButton, {}, h.Share(0.75, 0.5));
    QVERIFY(Near(h.View().Scale.CenterX(), start.ScaleLeft + 0.75 * start.ScaleWidth, 0.01 * start.ScaleWidth));
    QCOMPARE(h.View().Scale.ScaleWidth, start.ScaleWidth);
    // Zoom Out clicks until the limit: the full view and the message.
    h.w->tbMain_ButtonClick("ZoomOut");
    for (int i = 0; i < 6 && h.Status() != kZoomOutLimitText; ++i)
      QTest::mouseClick(h.Plot(), Qt::LeftButton, {}, h.Share(0.3, 0.3));
    QCOMPARE(h.Status(), QString(kZoomOutLimitText));
    QCOMPARE(h.View().Scale, h.View().FullView());
    QTest::mouseClick(h.Plot(), Qt::RightButton, {}, h.Share(0.5, 0.5));  // ends the mode
    QVERIFY(h.w->Modes().Mode == kSelectMode && !h.w->MenuEntry("mnuViewEnd")->isEnabled() &&
            !h.w->Button("ZoomOut")->isChecked());
  }

  void activeModeButtonAgainShowsAPendingPlacement() {
    Window h;
    h.w->tbMain_ButtonClick("PeakThreshold");
    h.w->MenuEntry("mnuViewZoomIn")->trigger();
    QVERIFY(h.w->Modes().Mode == kZoomInMode && h.w->Button("ZoomIn")->isChecked() && h.w->MenuEntry("mnuViewEnd")->isEnabled());
    QCOMPARE(h.Plot()->cursor().shape(), Qt::BitmapCursor);
    h.w->tbMain_ButtonClick("ZoomIn");
    QVERIFY(h.w->Modes().Mode == kSelectMode && !h.w->MenuEntry("mnuViewZoomIn")->isChecked());
    QCOMPARE(h.w->Modes().Image(), PointerImage::PlaceThreshold);
    // The next press places the threshold at its level.
    QTest::mouseClick(h.Plot(), Qt::LeftButton, {}, h.At(h.View().Scale.CenterX(), -50));
    QVERIFY(Near(h.w->Navigation().Threshold, 50, 0.5) && h.w->Modes().Image() == PointerImage::Cross);
    QCOMPARE(h.Plot()->cursor().shape(), Qt::CrossCursor);
  }

  void bothCursorsEnableZoomToFit() {
    Window h;
    QVERIFY(!h.w->Button("ZoomCursors")->isEnabled());
    h.w->MenuEntry("mnuViewCursor0")->trigger();
    QVERIFY(h.w->MenuEntry("mnuViewCursor0")->isChecked() && h.w->Button("CursorDelta")->isChecked());
    QTest::mouseClick(h.Plot(), Qt::LeftButton, {}, h.Share(0.3, 0.4));
    QVERIFY(!h.w->MenuEntry("mnuViewCursor0")->isChecked() && !h.w->Button("ZoomCursors")->isEnabled());
    h.w->tbMain_ButtonClick("CursorTwo");
    QTest::mouseClick(h.Plot(), Qt::LeftButton, {}, h.Share(0.6, 0.5));
    QVERIFY(h.w->Button("ZoomCursors")->isEnabled() && h.w->MenuEntry("mnuViewZoomCursors")->isEnabled() &&
            !h.w->findChild<QLineEdit*>("txtCursor5")->text().isEmpty());
    QCOMPARE(h.w->CurrentSelection().SelectedPoint, 0);  // placing presses select nothing
    h.w->MenuEntry("mnuViewCursors")->trigger();  // display off
    QVERIFY(!h.w->Button("ZoomCursors")->isEnabled() && h.w->findChild<QLineEdit*>("txtCursor0")->text().isEmpty());
  }

  void movesAndEntryBoxes() {
    Window h;
    frmMain& w = *h.w;
    // Peak moves from the top: the highest, then lower levels.
    w.tbMain_ButtonClick("LastPoint");
    const TraceSet& t = w.Live().State.Traces;
    const int top = w.CurrentSelection().SelectedPoint;
    QCOMPARE(top, GetNextHighest(t, kCurrentTrace));
    w.MenuEntry("mnuViewPreviousPoint")->trigger();
    QVERIFY(t.AmpPoints[static_cast<size_t>(w.CurrentSelection().SelectedPoint - 1)].Current <
            t.AmpPoints[static_cast<size_t>(top - 1)].Current);
    QCOMPARE(w.Navigation().LastSelectedPoint, 0);  // only clicks and boxes remember a point
    w.tbMain_ButtonClick("CurPoint");
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
    QVERIFY(w.CurrentSelection().SelectedPoint == 7 && w.Navigation().LastSelectedPoint == 7);
    QVERIFY(w.Panels()->Text("CurPoint") == "7" && w.Button("CurPoint")->isEnabled());
  }
};

std::unique_ptr<QObject> NewInteractionTest() { return std::make_unique<InteractionTest>(); }

#include "test_interaction.moc"
