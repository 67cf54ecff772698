// The view window's arithmetic without a window, the live spectrum's full view on the
// first capture and on a new band, and the first window's place.
#include <QtTest>

#include "dsp/capture_block.h"
#include "test_support.h"
#include "view/live_spectrum.h"
#include "view/view_window.h"
#include "view/window_layout.h"

using namespace tavrix;
using namespace tavrix::testing;

namespace {

// A view over a 300-wide band (centre 150), showing 100..-150 dB, centred at (150, 25).
ViewWindow BandView(const ViewScale& scale = {0, -100, 300, 250}) {
  ViewWindow v;
  v.SetBand(0, 300, 1);
  v.Scale = scale;
  v.PrepareRedraw();
  return v;
}

}  // namespace

class ViewWindowTest : public QObject {
  Q_OBJECT

 private slots:
  // A preset sets one extent about the remembered centre; the dB ladder's items 4 and 7
  // are 0.8 of their captions, and an index past a table takes the widest.
  void presetsKeepTheirDivisors() {
    const struct { bool db; int index; float freqScale, extent; } rows[] = {
        {true, 0, 1, 0.125f}, {true, 4, 1, 2.5f},  {true, 7, 1, 25},      {true, 9, 1, 125},
        {true, 12, 1, 125},   {false, 0, 1, 0.25f}, {false, 5, 1, 10},     {false, 9, 10, 25},
        {false, -1, 100, 2.5f}};
    for (const auto& r : rows) {
      ViewWindow v = BandView();
      v.FreqScale = r.freqScale;
      v.SetCenter(120, -40);
      const ViewScale before = v.Scale;
      QVERIFY((r.db ? v.ApplyDBPreset(r.index) : v.ApplySpanPreset(r.index)).Redraw);
      QCOMPARE(v.PreviousView, before);
      QCOMPARE(r.db ? v.Scale.ScaleHeight : v.Scale.ScaleWidth, r.extent);
      QCOMPARE(r.db ? v.Scale.CenterY() : v.Scale.CenterX(), r.db ? -40.0f : 120.0f);
      QCOMPARE(r.db ? v.Scale.ScaleWidth : v.Scale.ScaleHeight, r.db ? before.ScaleWidth : before.ScaleHeight);
      QCOMPARE(r.db ? v.DBIndex : v.SpanIndex, r.index);
      v.PrepareRedraw();
      if (r.index >= 0 && r.index <= 9) QCOMPARE(r.db ? v.CheckedDB : v.CheckedFB, r.index);
    }
  }

  // Zoom in is refused at a trial width equal to the limit, zoom out above a trial height
  // of 4 x AmpRange; a refused zoom-out click shows the full view.
  void zoomLimitsAtTheirEdges() {
    const struct { bool in, atLimit, refused; } rows[] = {
        {true, true, true}, {true, false, false}, {false, true, false}, {false, false, true}};
    for (const auto& [in, atLimit, refused] : rows) {
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
      QCOMPARE(outcome, (refused ? ViewOutcome{false, in ? kZoomInLimitText : kZoomOutLimitText} : ViewOutcome{true, {}}));
      if (refused) {
        QCOMPARE(v.Scale, before);
        continue;
      }
      QCOMPARE(v.PreviousView, before);
      const double factor = in ? 0.6667 : 1.75;
      QCOMPARE(QList<float>({v.Scale.ScaleWidth, v.Scale.ScaleHeight, v.Scale.CenterX()}),
               QList<float>({float(before.ScaleWidth * factor), float(before.ScaleHeight * factor), 100.0f}));
      QVERIFY(qAbs(v.Scale.CenterY() + 50) < 1e-3);
      QVERIFY(v.RestorePrevious().Redraw);
      QCOMPARE(v.Scale, before);
    }
    ViewWindow v = BandView();
    v.SetFullVertical(60, 80);
    v.Scale.ScaleHeight = 900;
    QCOMPARE(v.ZoomOutAbout(10, 10, true), (ViewOutcome{true, kZoomOutLimitText}));
    QCOMPARE(v.Scale, (ViewScale{0, -60, 300, 80}));
  }

  // A pan moves 1% of the view; an arrow key also moves the remembered point by a tenth of that.
  void panMovesOnePercent() {
    const struct { int key; float dx, dy; } rows[] = {
        {kKeyLeft, -3, 0}, {kKeyRight, 3, 0}, {kKeyUp, 0, -2.5f}, {kKeyDown, 0, 2.5f}, {65, 0, 0}};
    for (const auto& [key, dx, dy] : rows) {
      ViewWindow v = BandView(), arrow = BandView();
      const ViewScale before = v.Scale;
      QVERIFY(v.PanView(key).Redraw);  // another key: a redraw only
      QCOMPARE(v.Scale.ScaleLeft - before.ScaleLeft, dx);
      QCOMPARE(v.Scale.ScaleTop - before.ScaleTop, dy);
      QCOMPARE(v.PreviousView, before);
      arrow.ArrowKey(key);
      if (dx == 0 && dy == 0) continue;
      QVERIFY(qAbs(arrow.CenterX() - before.CenterX() - dx / 10) < 1e-4f);
      QVERIFY(qAbs(arrow.CenterY() - before.CenterY() - dy / 10) < 1e-4f);
    }
  }

  // 1.1 and 1.5 times the cursors' differences, grown to 20 dB and 1 unit; a hair apart
  // never loops for ever; equal cursors keep the extents.
  void zoomToFitCursors() {
    const struct { float y1, y2, x1, x2, height, width; } rows[] = {
        {-80, -20, 100, 140, 66, 60}, {-31, -21, 100.2f, 100, 20, 1},
        {-30, -30.00001f, 100, 100.000008f, 20, 1}, {-30, -30, 120, 120, 250, 300}};
    for (const auto& [y1, y2, x1, x2, height, width] : rows) {
      ViewWindow v = BandView();
      QVERIFY(v.ZoomToFitCursors(x1, y1, x2, y2).Redraw);
      QVERIFY2(v.Scale.ScaleHeight >= height * 0.999f && v.Scale.ScaleHeight < height * 1.06f,
               qPrintable(QString::number(v.Scale.ScaleHeight)));
      QVERIFY2(v.Scale.ScaleWidth >= width * 0.999f && v.Scale.ScaleWidth < width * 1.1f,
               qPrintable(QString::number(v.Scale.ScaleWidth)));
      QVERIFY(qAbs(v.Scale.CenterY() - (y1 + y2) / 2) < 1e-3f);
      QVERIFY(qAbs(v.Scale.CenterX() - (x1 + x2) / 2) < 1e-3f);
    }
  }

  // The bars count -dB and percent of the band, clamped at their ends, halves to even; a
  // zero-wide band keeps the thumb centred and a zero-range bar has no arrow.
  void scrollBarsInNegatedUnits() {
    const struct { ViewScale view; int h, v, vArrows; } rows[] = {
        {{0, -100, 300, 250}, 50, 25, 0},  {{200, -100, 100, 250}, 83, 25, 0}, {{500, -100, 100, 250}, 100, 25, 0},
        {{0, -300, 300, 100}, 50, -125, 2}, {{0, 100, 300, 100}, 50, 125, 1},  {{0, -3.5, 300, 2}, 50, -2, 0}};
    for (const auto& r : rows) {
      const ViewWindow w = BandView(r.view);
      QCOMPARE(QList<int>({w.HScroll.Value, w.VScroll.Value, w.VScroll.Arrows}), QList<int>({r.h, r.v, r.vArrows}));
    }
    ViewWindow v;
    v.SetBand(50, 50, 1);
    v.Scale.ScaleLeft = 10;
    v.VScroll.Min = v.VScroll.Max = 0;
    v.PrepareRedraw();
    QCOMPARE(v.HScroll.Value, 50);
    QCOMPARE(v.VScroll.Arrows, kNoArrow);
    QVERIFY(!v.VScrollChange(0, ScrollAction::Increase).Redraw && !v.VScrollChange(0, ScrollAction::Decrease).Redraw);
  }

  // One action on a bar: a thumb drag moves by the whole drag, 1% of the view per horizontal
  // unit and 1 dB per vertical one; an arrow or track click pans 1% in its own direction,
  // whatever the value, and never towards the end the bar stands at, however often clicked.
  void scrollBarActions() {
    const ScrollAction up = ScrollAction::Decrease, down = ScrollAction::Increase, drag = ScrollAction::Drag;
    const ViewScale top{0, -300, 300, 100}, bottom{0, 100, 300, 100}, right{500, -100, 100, 250},
        left{-500, -100, 100, 250}, middle{0, -100, 300, 250};
    constexpr int kAtThumb = -1000;  // the value the bar stands at
    // moved: ScaleLeft or ScaleTop after; the view's own when nothing may move.
    const struct { bool horizontal; ViewScale view; ScrollAction action; int value; float moved; } rows[] = {
        {true, middle, drag, 40, -30},      {false, middle, drag, 40, -85},      {true, middle, down, 49, 3},
        {false, middle, up, 26, -102.5f},   {false, top, up, kAtThumb, -300},    {false, top, down, kAtThumb, -299},
        {false, bottom, down, kAtThumb, 100}, {false, bottom, up, kAtThumb, 99}, {false, middle, up, kAtThumb, -102.5f},
        {true, right, down, kAtThumb, 500}, {true, right, up, kAtThumb, 499},    {true, left, up, kAtThumb, -500}};
    for (const auto& [horizontal, view, action, value, moved] : rows) {
      ViewWindow w = BandView(view);
      ScrollBarModel& bar = horizontal ? w.HScroll : w.VScroll;
      const int at = value == kAtThumb ? bar.Value : value;
      if (action == drag) {
        horizontal ? (w.HScrollScroll(), w.HScrollScroll()) : w.VScrollScroll();  // the second is the same drag
        QCOMPARE(w.DragStartValue, bar.Value);
      }
      ViewScale after = view;
      (horizontal ? after.ScaleLeft : after.ScaleTop) = moved;
      for (int i = 0; i < (after == view ? 5 : 1); ++i)
        QCOMPARE((horizontal ? w.HScrollChange(at, action) : w.VScrollChange(at, action)).Redraw, !(after == view));
      QCOMPARE(w.Scale, after);
      QVERIFY(!w.DragPending && w.ViewChanged == !(after == view));
    }
    ViewWindow v = BandView(middle);
    v.VScrollChange(v.VScroll.Min, up);
    QCOMPARE(v.VScroll.Arrows, kOnlyHighArrow);  // the arrows follow the value the bar was moved to
    v.ScrollBusy = true;            // the window's own setting of the bars changes nothing
    const ViewScale before = v.Scale;
    QCOMPARE(v.HScrollChange(10, down), ViewOutcome{});
    QCOMPARE(v.Scale, before);
  }

  // Three quarters of the area, centred; at most 1600x1000; never below 794x384.
  void firstStartPlace() {
    const std::pair<QRect, QRect> rows[] = {{{0, 0, 1920, 1040}, {160, 69, 1600, 901}},
                                            {{0, 0, 1366, 728}, {91, 49, 1183, 630}},
                                            {{0, 0, 3840, 2120}, {1120, 560, 1600, 1000}},
                                            {{0, 0, 800, 600}, {3, 40, 794, 520}},
                                            {{1920, 24, 1280, 1000}, {2005, 91, 1109, 866}}};
    for (const auto& [screen, place] : rows) {
      const ScreenRect r = FirstStartPlace({screen.x(), screen.y(), screen.width(), screen.height()}, 794, 384);
      QCOMPARE(QRect(r.X, r.Y, r.Width, r.Height), place);
    }
  }

  // The dB check mark at exactly 10 dB/div, a rounding below it, between items, past either end.
  void checkMarksFollowThePresets() {
    for (const auto& [height, checked] : {std::pair{125.0f, 9}, {124.999f, 9}, {100.0f, 8}, {337.5f, 9}, {0.1f, 0}}) {
      const ViewWindow v = BandView({0, -100, 300, height});
      QCOMPARE(v.CheckedDB, checked);
      QCOMPARE(v.PixelStepY, height / 1000);
    }
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
