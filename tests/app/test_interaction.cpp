// The plot under the mouse and the keys of the real window on the off-screen platform:
// zoom window and middle drags, clicks in the zoom and pan modes, the mode buttons and the
// pointer with a pending placement, the cursors, the moves and the entry boxes.
#include <QAction>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QScrollBar>
#include <QTextDocument>

#include <tuple>

#include "app/command_table.h"
#include "app/entry_box.h"
#include "app/plot_widget.h"
#include "view/window_layout.h"
#include "window_harness.h"

using namespace tavrix;
using namespace tavrix::testing;

namespace {

// The window shown with the noise block, and points of its plot by the view's measure.
struct Window : WindowHarness {
  Window() { ShowNoise(); }
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

}  // namespace

class InteractionTest : public QObject {
  Q_OBJECT

 private slots:
  void dragsZoomToTheBand_data() {
    QTest::addColumn<QString>("modeButton");
    QTest::addColumn<int>("button");
    QTest::addColumn<int>("modeAfter");
    QTest::newRow("left drag in Zoom Window") << "ZoomWin" << int(Qt::LeftButton) << int(kZoomWindowMode);
    QTest::newRow("middle drag from Pan returns to Pan") << "Pan" << int(Qt::MiddleButton) << int(kPanMode);
    QTest::newRow("middle drag from Select") << "" << int(Qt::MiddleButton) << int(kSelectMode);
  }
  void dragsZoomToTheBand() {
    QFETCH(QString, modeButton);
    QFETCH(int, button);
    QFETCH(int, modeAfter);
    Window h;
    if (!modeButton.isEmpty()) h.w->tbMain_ButtonClick(modeButton);
    const ViewScale before = h.View().Scale;
    const QPoint from = h.Share(0.6, 0.7), to = h.Share(0.2, 0.3);  // corners in either order
    const PlotMapping map = h.Plot()->Mapping();
    h.Drag(static_cast<Qt::MouseButton>(button), from, to);
    const ViewScale& v = h.View().Scale;
    QVERIFY(Near(v.ScaleLeft, map.ToPlotX(to.x()), 1e-3 * before.ScaleWidth));
    QVERIFY(Near(v.ScaleWidth, map.ToPlotX(from.x()) - map.ToPlotX(to.x()), 1e-3 * before.ScaleWidth));
    QVERIFY(Near(v.ScaleTop, map.ToPlotY(to.y()), 1e-3 * before.ScaleHeight));
    QCOMPARE(h.View().PreviousView, before);
    QCOMPARE(h.w->Modes().Mode, modeAfter);
    QCOMPARE(h.w->Button("Pan")->isChecked(), modeAfter == kPanMode);
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
    // The scroll arrows: up until the thumb is at the top, then a few more clicks of the
    // disabled arrow, which change nothing.
    QScrollBar* bar = f.w->VScroll();
    for (int i = 0; i < 2000 && bar->value() > bar->minimum(); ++i) bar->triggerAction(QAbstractSlider::SliderPageStepSub);
    QCOMPARE(bar->value(), bar->minimum());
    const ViewScale atTop = f.View().Scale;
    for (int i = 0; i < 3; ++i) bar->triggerAction(QAbstractSlider::SliderSingleStepSub);
    QCOMPARE(f.View().Scale, atTop);
    bar->triggerAction(QAbstractSlider::SliderSingleStepAdd);  // the other way still pans
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
    // A right click ends the mode.
    QTest::mouseClick(h.Plot(), Qt::RightButton, {}, h.Share(0.5, 0.5));
    QCOMPARE(h.w->Modes().Mode, int(kSelectMode));
    QVERIFY(!h.w->MenuEntry("mnuViewEnd")->isEnabled() && !h.w->Button("ZoomOut")->isChecked());
  }

  void activeModeButtonAgainShowsAPendingPlacement() {
    Window h;
    h.w->tbMain_ButtonClick("PeakThreshold");
    QCOMPARE(h.w->Modes().Image(), PointerImage::PlaceThreshold);
    h.w->MenuEntry("mnuViewZoomIn")->trigger();
    QCOMPARE(h.w->Modes().Mode, int(kZoomInMode));
    QVERIFY(h.w->Button("ZoomIn")->isChecked() && h.w->MenuEntry("mnuViewEnd")->isEnabled());
    QCOMPARE(h.Plot()->cursor().shape(), Qt::BitmapCursor);
    h.w->tbMain_ButtonClick("ZoomIn");
    QCOMPARE(h.w->Modes().Mode, int(kSelectMode));
    QCOMPARE(h.w->Modes().Image(), PointerImage::PlaceThreshold);
    QVERIFY(!h.w->MenuEntry("mnuViewZoomIn")->isChecked());
    // The next press places the threshold at its level.
    QTest::mouseClick(h.Plot(), Qt::LeftButton, {}, h.At(h.View().Scale.CenterX(), -50));
    QVERIFY(Near(h.w->Navigation().Threshold, 50, 0.5));
    QCOMPARE(h.w->Modes().Image(), PointerImage::Cross);
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
    QVERIFY(h.w->Button("ZoomCursors")->isEnabled() && h.w->MenuEntry("mnuViewZoomCursors")->isEnabled());
    QVERIFY(!h.w->findChild<QLineEdit*>("txtCursor5")->text().isEmpty());
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
    w.OpenEntryBox("CurPoint");
    QVERIFY(box->isVisible() && box->hasFocus());
    QTest::keyClicks(box, "2049");
    QTest::keyClick(box, Qt::Key_Escape);
    QCOMPARE(h.Status(), QString("You can only select from valid points...1 through 2048!"));
    QTRY_VERIFY(box->hasFocus());
    // In range and escaped: nothing moves.
    const int before = w.CurrentSelection().SelectedPoint;
    box->selectAll();
    QTest::keyClicks(box, "7x");  // "x" is not in the box's set
    QCOMPARE(box->text(), QString("7"));
    QTest::keyClick(box, Qt::Key_Escape);
    QCOMPARE(w.CurrentSelection().SelectedPoint, before);
    QVERIFY(!box->isVisible());
    // In range and entered: the point is selected and remembered.
    w.OpenEntryBox("CurPoint");
    box->selectAll();
    QTest::keyClicks(box, "7");
    QTest::keyClick(box, Qt::Key_Return);
    QCOMPARE(w.CurrentSelection().SelectedPoint, 7);
    QCOMPARE(w.Navigation().LastSelectedPoint, 7);
    QCOMPARE(w.Panels()->Text("CurPoint"), QString("7"));
    QVERIFY(w.Button("CurPoint")->isEnabled());
  }
};

std::unique_ptr<QObject> NewInteractionTest() { return std::make_unique<InteractionTest>(); }

#include "test_interaction.moc"
