// The view window's arithmetic without a window: presets with their uneven divisors,
// zoom limits at their exact edges, pan steps, the previous view, zoom to fit cursors,
// the scroll bars in negated units, the check-mark ladders, and the live spectrum's
// full view on the first capture and on a new band, the first window's place.
#include <QtTest>

#include <memory>

#include "link/capture_block.h"
#include "test_support.h"
#include "view/live_spectrum.h"
#include "view/view_window.h"
#include "view/window_layout.h"

using namespace tavrix;
using namespace tavrix::testing;

Q_DECLARE_METATYPE(tavrix::ViewScale)

namespace {

// A view over a 300-wide band (centre 150), showing 100..-150 dB, centred at (150, 25).
ViewWindow BandView() {
  ViewWindow v;
  v.SetBand(0, 300, 1);
  v.Scale = {0, -100, 300, 250};
  v.PrepareRedraw();
  return v;
}

}  // namespace

class ViewWindowTest : public QObject {
  Q_OBJECT

 private slots:
  void presetsKeepTheirDivisors_data() {
    QTest::addColumn<bool>("db");
    QTest::addColumn<int>("index");
    QTest::addColumn<float>("freqScale");
    QTest::addColumn<float>("extent");
    QTest::newRow("0.01 dB") << true << 0 << 1.0f << 0.125f;
    QTest::newRow("0.25 dB, 0.8 of its caption") << true << 4 << 1.0f << 2.5f;
    QTest::newRow("2.50 dB, 0.8 of its caption") << true << 7 << 1.0f << 25.0f;
    QTest::newRow("10 dB") << true << 9 << 1.0f << 125.0f;
    QTest::newRow("dB index past the table") << true << 12 << 1.0f << 125.0f;
    QTest::newRow("0.02 MHz is 0.25 wide") << false << 0 << 1.0f << 0.25f;
    QTest::newRow("1 MHz") << false << 5 << 1.0f << 10.0f;
    QTest::newRow("25 MHz at scale 10") << false << 9 << 10.0f << 25.0f;
    QTest::newRow("span index past the table") << false << -1 << 100.0f << 2.5f;
  }
  void presetsKeepTheirDivisors() {
    QFETCH(bool, db);
    QFETCH(int, index);
    QFETCH(float, freqScale);
    QFETCH(float, extent);
    ViewWindow v = BandView();
    v.FreqScale = freqScale;
    v.SetCenter(120, -40);
    const ViewScale before = v.Scale;
    QVERIFY((db ? v.ApplyDBPreset(index) : v.ApplySpanPreset(index)).Redraw);
    QCOMPARE(v.PreviousView, before);
    QCOMPARE(db ? v.Scale.ScaleHeight : v.Scale.ScaleWidth, extent);
    QCOMPARE(db ? v.Scale.CenterY() : v.Scale.CenterX(), db ? -40.0f : 120.0f);
    QCOMPARE(db ? v.Scale.ScaleWidth : v.Scale.ScaleHeight, db ? before.ScaleWidth : before.ScaleHeight);
    QCOMPARE(db ? v.DBIndex : v.SpanIndex, index);
    v.PrepareRedraw();
    if (index >= 0 && index <= 9) QCOMPARE(db ? v.CheckedDB : v.CheckedFB, index);
  }

  void zoomLimitsAtTheirEdges_data() {
    QTest::addColumn<bool>("in");
    QTest::addColumn<bool>("atLimit");
    QTest::addColumn<bool>("refused");
    QTest::newRow("in, trial width equal to the limit") << true << true << true;
    QTest::newRow("in, just above the limit") << true << false << false;
    QTest::newRow("out, trial height equal to 4 x AmpRange") << false << true << false;
    QTest::newRow("out, just above") << false << false << true;
  }
  void zoomLimitsAtTheirEdges() {
    QFETCH(bool, in);
    QFETCH(bool, atLimit);
    QFETCH(bool, refused);
    ViewWindow v = BandView();
    v.SetCenter(100, -50);
    if (in) {
      v.Scale.ScaleWidth = 0.0375f;
      const double trial = static_cast<double>(v.Scale.ScaleWidth) * 0.6667;
      v.ZoomMinWidth = atLimit ? trial : trial * 0.999;
    } else {
      v.AmpRange = 175;  // 4 x 175 = 700 = 400 x 1.75 exactly
      v.Scale.ScaleHeight = atLimit ? 400.0f : 400.5f;
    }
    const ViewScale before = v.Scale;
    const ViewOutcome outcome = in ? v.ZoomIn() : v.ZoomOut();
    QCOMPARE(v.ZoomFactor, in ? 0.667f : 1.75f);
    if (refused) {
      QCOMPARE(outcome, (ViewOutcome{false, in ? kZoomInLimitText : kZoomOutLimitText}));
      QCOMPARE(v.Scale, before);
      return;
    }
    QCOMPARE(outcome, (ViewOutcome{true, {}}));
    QCOMPARE(v.PreviousView, before);
    QCOMPARE(v.Scale.ScaleWidth, static_cast<float>(before.ScaleWidth * (in ? 0.6667 : 1.75)));
    QCOMPARE(v.Scale.ScaleHeight, static_cast<float>(before.ScaleHeight * (in ? 0.6667 : 1.75)));
    QCOMPARE(v.Scale.CenterX(), 100.0f);
    QVERIFY(qAbs(v.Scale.CenterY() + 50) < 1e-3);
    QVERIFY(v.RestorePrevious().Redraw);
    QCOMPARE(v.Scale, before);
  }

  void refusedZoomOutClickShowsTheFullView() {
    ViewWindow v = BandView();
    v.SetFullVertical(60, 80);
    v.Scale.ScaleHeight = 900;
    QCOMPARE(v.ZoomOutAbout(10, 10, true), (ViewOutcome{true, kZoomOutLimitText}));
    QCOMPARE(v.Scale, (ViewScale{0, -60, 300, 80}));
  }

  void panMovesOnePercent_data() {
    QTest::addColumn<int>("key");
    QTest::addColumn<float>("dx");
    QTest::addColumn<float>("dy");
    QTest::newRow("left") << int(kKeyLeft) << -3.0f << 0.0f;
    QTest::newRow("right") << int(kKeyRight) << 3.0f << 0.0f;
    QTest::newRow("up") << int(kKeyUp) << 0.0f << -2.5f;
    QTest::newRow("down") << int(kKeyDown) << 0.0f << 2.5f;
    QTest::newRow("other key: redraw only") << 65 << 0.0f << 0.0f;
  }
  void panMovesOnePercent() {
    QFETCH(int, key);
    QFETCH(float, dx);
    QFETCH(float, dy);
    ViewWindow v = BandView();
    const ViewScale before = v.Scale;
    QVERIFY(v.PanView(key).Redraw);
    QCOMPARE(v.Scale.ScaleLeft - before.ScaleLeft, dx);
    QCOMPARE(v.Scale.ScaleTop - before.ScaleTop, dy);
    QCOMPARE(v.PreviousView, before);
    // An arrow key also moves the remembered point by one pan unit.
    ViewWindow arrow = BandView();
    arrow.ArrowKey(key);
    if (dx != 0 || dy != 0) {
      QVERIFY(qAbs(arrow.CenterX() - before.CenterX() - dx / 10) < 1e-4f);
      QVERIFY(qAbs(arrow.CenterY() - before.CenterY() - dy / 10) < 1e-4f);
    }
  }

  void zoomToFitCursors_data() {
    QTest::addColumn<float>("y1");
    QTest::addColumn<float>("y2");
    QTest::addColumn<float>("x1");
    QTest::addColumn<float>("x2");
    QTest::addColumn<float>("height");
    QTest::addColumn<float>("width");
    QTest::newRow("wide apart: 1.1 and 1.5 times") << -80.0f << -20.0f << 100.0f << 140.0f << 66.0f << 60.0f;
    QTest::newRow("close: grows to 20 dB and 1 unit") << -31.0f << -21.0f << 100.2f << 100.0f << 20.0f << 1.0f;
    QTest::newRow("a hair apart: no endless loop") << -30.0f << -30.00001f << 100.0f << 100.000008f << 20.0f << 1.0f;
    QTest::newRow("equal: extents kept") << -30.0f << -30.0f << 120.0f << 120.0f << 250.0f << 300.0f;
  }
  void zoomToFitCursors() {
    QFETCH(float, y1);
    QFETCH(float, y2);
    QFETCH(float, x1);
    QFETCH(float, x2);
    QFETCH(float, height);
    QFETCH(float, width);
    ViewWindow v = BandView();
    QVERIFY(v.ZoomToFitCursors(x1, y1, x2, y2).Redraw);
    QVERIFY2(v.Scale.ScaleHeight >= height * 0.999f && v.Scale.ScaleHeight < height * 1.06f,
             qPrintable(QString::number(v.Scale.ScaleHeight)));
    QVERIFY2(v.Scale.ScaleWidth >= width * 0.999f && v.Scale.ScaleWidth < width * 1.1f,
             qPrintable(QString::number(v.Scale.ScaleWidth)));
    QVERIFY(qAbs(v.Scale.CenterY() - (y1 + y2) / 2) < 1e-3f);
    QVERIFY(qAbs(v.Scale.CenterX() - (x1 + x2) / 2) < 1e-3f);
  }

  void scrollBarsInNegatedUnits_data() {
    QTest::addColumn<ViewScale>("view");
    QTest::addColumn<int>("h");
    QTest::addColumn<int>("v");
    QTest::addColumn<int>("vArrows");
    QTest::newRow("full band") << ViewScale{0, -100, 300, 250} << 50 << 25 << 0;
    QTest::newRow("right third") << ViewScale{200, -100, 100, 250} << 83 << 25 << 0;
    QTest::newRow("past the band: clamped") << ViewScale{500, -100, 100, 250} << 100 << 25 << 0;
    QTest::newRow("centre above 125 dB: the top end") << ViewScale{0, -300, 300, 100} << 50 << -125 << 2;
    QTest::newRow("centre below -125 dB: the bottom end") << ViewScale{0, 100, 300, 100} << 50 << 125 << 1;
    QTest::newRow("half rounds to even") << ViewScale{0, -3.5, 300, 2} << 50 << -2 << 0;
  }
  void scrollBarsInNegatedUnits() {
    QFETCH(ViewScale, view);
    QFETCH(int, h);
    QFETCH(int, v);
    QFETCH(int, vArrows);
    ViewWindow w = BandView();
    w.Scale = view;
    w.PrepareRedraw();
    QCOMPARE(w.HScroll.Value, h);
    QCOMPARE(w.VScroll.Value, v);
    QCOMPARE(w.VScroll.Arrows, vArrows);
  }

  void zeroSpanKeepsTheThumbCentred() {
    ViewWindow v;
    v.SetBand(50, 50, 1);
    v.Scale.ScaleLeft = 10;
    v.PrepareRedraw();
    QCOMPARE(v.HScroll.Value, 50);
  }

  void scrollBarEvents() {
    // A thumb drag moves by the whole drag: 1% of the view per horizontal unit, 1 dB per
    // vertical unit; an arrow or track click pans one step in its own direction.
    ViewWindow v = BandView();
    v.HScrollScroll();
    v.HScrollScroll();  // still the same drag
    QCOMPARE(v.DragStartValue, 50);
    QVERIFY(v.HScrollChange(40, ScrollAction::Drag).Redraw);
    QCOMPARE(v.Scale.ScaleLeft, -30.0f);
    QVERIFY(!v.DragPending && v.ViewChanged);

    v = BandView();
    v.VScrollScroll();
    v.VScrollChange(40, ScrollAction::Drag);
    QCOMPARE(v.Scale.ScaleTop, -85.0f);

    v = BandView();
    v.HScrollChange(49, ScrollAction::Increase);
    QCOMPARE(v.Scale.ScaleLeft, 3.0f);  // the action, not the value, gives the direction
    v.VScrollChange(26, ScrollAction::Decrease);
    QCOMPARE(v.Scale.ScaleTop, -102.5f);
    QCOMPARE(v.VScroll.Arrows, 0);
    v.VScrollChange(v.VScroll.Min, ScrollAction::Decrease);
    QCOMPARE(v.VScroll.Arrows, 2);

    v.ScrollBusy = true;  // the window's own setting of the bars changes nothing
    const ViewScale before = v.Scale;
    QCOMPARE(v.HScrollChange(10, ScrollAction::Increase), ViewOutcome{});
    QCOMPARE(v.Scale, before);
  }

  void arrowsAtAnEndMoveNothing_data() {
    QTest::addColumn<bool>("horizontal");
    QTest::addColumn<ViewScale>("view");
    QTest::addColumn<int>("action");
    QTest::addColumn<bool>("moves");
    const int up = int(ScrollAction::Decrease), down = int(ScrollAction::Increase);
    const ViewScale top{0, -300, 300, 100}, bottom{0, 100, 300, 100}, right{500, -100, 100, 250},
        left{-500, -100, 100, 250}, middle{0, -100, 300, 250};
    QTest::newRow("level bar at its top: up refused") << false << top << up << false;
    QTest::newRow("level bar at its top: down pans") << false << top << down << true;
    QTest::newRow("level bar at its bottom: down refused") << false << bottom << down << false;
    QTest::newRow("level bar at its bottom: up pans") << false << bottom << up << true;
    QTest::newRow("level bar in between: up pans") << false << middle << up << true;
    QTest::newRow("band bar at its right: right refused") << true << right << down << false;
    QTest::newRow("band bar at its right: left pans") << true << right << up << true;
    QTest::newRow("band bar at its left: left refused") << true << left << up << false;
  }
  void arrowsAtAnEndMoveNothing() {
    QFETCH(bool, horizontal);
    QFETCH(ViewScale, view);
    QFETCH(int, action);
    QFETCH(bool, moves);
    ViewWindow w = BandView();
    w.Scale = view;
    w.PrepareRedraw();
    const ScrollBarModel& bar = horizontal ? w.HScroll : w.VScroll;
    const ViewScale before = w.Scale;
    const int value = bar.Value;
    const ViewOutcome outcome = horizontal ? w.HScrollChange(value, ScrollAction(action))
                                           : w.VScrollChange(value, ScrollAction(action));
    QCOMPARE(outcome.Redraw, moves);
    QCOMPARE(w.Scale == before, !moves);
    // Clicked again and again, a refused arrow never walks the view off the bar.
    for (int i = 0; i < 5 && !moves; ++i)
      QVERIFY(!(horizontal ? w.HScrollChange(value, ScrollAction(action)) : w.VScrollChange(value, ScrollAction(action))).Redraw);
    QCOMPARE(w.Scale == before, !moves);
  }

  void zeroRangeBarHasNoArrow() {
    ViewWindow v;
    v.PrepareRedraw();
    v.VScroll.Min = v.VScroll.Max = 0;
    v.PrepareRedraw();
    QCOMPARE(v.VScroll.Arrows, kNoArrow);
    QVERIFY(!v.VScrollChange(0, ScrollAction::Increase).Redraw && !v.VScrollChange(0, ScrollAction::Decrease).Redraw);
  }

  void firstStartPlace_data() {
    QTest::addColumn<QRect>("screen");
    QTest::addColumn<QRect>("place");
    // Three quarters of the area, centred; at most 1600x1000; never below 794x384.
    QTest::newRow("full HD") << QRect(0, 0, 1920, 1040) << QRect(160, 69, 1600, 901);
    QTest::newRow("laptop") << QRect(0, 0, 1366, 728) << QRect(91, 49, 1183, 630);
    QTest::newRow("4K: capped") << QRect(0, 0, 3840, 2120) << QRect(1120, 560, 1600, 1000);
    QTest::newRow("small: the minimum") << QRect(0, 0, 800, 600) << QRect(3, 40, 794, 520);
    QTest::newRow("second screen to the right") << QRect(1920, 24, 1280, 1000) << QRect(2005, 91, 1109, 866);
  }
  void firstStartPlace() {
    QFETCH(QRect, screen);
    QFETCH(QRect, place);
    const ScreenRect r = FirstStartPlace({screen.x(), screen.y(), screen.width(), screen.height()}, 794, 384);
    QCOMPARE(QRect(r.X, r.Y, r.Width, r.Height), place);
  }

  void checkMarksFollowThePresets_data() {
    QTest::addColumn<float>("height");
    QTest::addColumn<int>("checked");
    QTest::newRow("exactly 10 dB/div") << 125.0f << 9;
    QTest::newRow("a rounding below 10 dB/div") << 124.999f << 9;
    QTest::newRow("between 5 and 10") << 100.0f << 8;
    QTest::newRow("above the largest") << 337.5f << 9;
    QTest::newRow("below the smallest") << 0.1f << 0;
  }
  void checkMarksFollowThePresets() {
    QFETCH(float, height);
    QFETCH(int, checked);
    ViewWindow v = BandView();
    v.Scale.ScaleHeight = height;
    v.PrepareRedraw();
    QCOMPARE(v.CheckedDB, checked);
    QCOMPARE(v.PixelStepY, height / 1000);
  }

  void liveSpectrumShowsTheFullViewOnFirstCaptureAndNewBand() {
    LiveSpectrum live;
    live.State.Traces.TraceVisible[kCurrentTrace] = true;
    const std::string noise = ReadBytes("blocks/noise_seed1234.bin");
    CaptureOutcome first = live.ProcessBlock(noise, true);
    QVERIFY(first.FullViewShown && first.Report.Refit);
    const CaptureFields& c = live.State.Capture;
    QCOMPARE(live.View.Scale, (ViewScale{c.FreqLow, -first.Report.Fit.Top, c.FreqHigh - c.FreqLow, first.Report.Fit.Span}));
    QCOMPARE(live.View.VScroll.Min, first.Report.VScrollMin);

    // The same band again: an operator's zoom stays (but for the vertical re-fit).
    live.View.ApplySpanPreset(2);
    const float left = live.View.Scale.ScaleLeft;
    const CaptureOutcome second = live.ProcessBlock(noise, true);
    QVERIFY(!second.FullViewShown && !second.BandChanged);
    QCOMPARE(live.View.Scale.ScaleLeft, left);

    // Another band: the full view again; the samples kept for the constellation are the
    // decoded ones, before the window.
    const std::string other = ReadBytes("blocks/center_000F4240.bin");
    const CaptureOutcome third = live.ProcessBlock(other, true);
    QVERIFY(third.BandChanged && third.FullViewShown);
    QCOMPARE(live.View.Scale.ScaleLeft, live.State.Capture.FreqLow);
    QCOMPARE(live.RawI, ParseBlock(other).SampleI);
  }
};

std::unique_ptr<QObject> NewViewWindowTest() { return std::make_unique<ViewWindowTest>(); }

#include "test_view_window.moc"
