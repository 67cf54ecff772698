// The view without a window: the view window's arithmetic, the live spectrum's full view on
// the first capture and on a new band, the first window's place; the plot's labels, grid
// spacing and where the trace key goes, and pictures from the one drawing routine examined
// pixel by pixel.
#include <QGuiApplication>
#include <QPainter>
#include <QtTest>

#include <cmath>
#include <functional>

#include "dsp/capture_block.h"
#include "test_support.h"
#include "view/live_spectrum.h"
#include "view/plot_renderer.h"
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

const QSize kSize(640, 360);

// A trace set over the band 0..300 whose traces all have the level `level(x)` dB at
// frequency x, the positive half on the right and the negative half on the left, as a
// capture gives them; the current trace shown, or those asked for.
TraceSet ShapedTraces(const std::function<float(float)>& level, std::array<bool, kTraceCount> shown = {true}) {
  TraceSet t;
  t.TraceVisible = shown;
  t.DataValid = true;
  for (int k = 0; k < kPointCount; ++k) {
    const float x = k < kPointCount / 2 ? 150.0f + 150.0f * (k + 1) / 1024 : 150.0f * (k - 1023) / 1024;
    for (int trace = 0; trace < kTraceCount; ++trace) {
      t.FreqPoints[static_cast<size_t>(k)][trace] = x;
      t.AmpPoints[static_cast<size_t>(k)][trace] = level(x);
    }
  }
  return t;
}
TraceSet FlatTraces(float level, std::array<bool, kTraceCount> shown = {true}) {
  return ShapedTraces([level](float) { return level; }, shown);
}

// The dB-per-division item the view window checks for a view of this size.
int CheckedFor(float height, const ViewScale& view = {}, float freqScale = 1) {
  ViewWindow v;
  v.Scale = view;
  v.Scale.ScaleHeight = height;
  v.FreqScale = freqScale;
  v.PrepareRedraw();
  return v.CheckedDB;
}

PlotScene SceneOf(const TraceSet& traces) {
  PlotScene scene;
  scene.Traces = &traces;
  scene.View = {0, -125, 300, 250};
  return scene;
}

LegendMetrics Metrics() {
  QImage probe(8, 8, QImage::Format_RGB32);
  QPainter painter(&probe);
  painter.setFont(LegendFont());
  return MeasureLegend(painter);
}

PlotMapping MappingFor(const QSize& size, const ViewScale& view = {0, -125, 300, 250}) {
  return PlotMapping(view, DataArea(size.width(), size.height(), Metrics()));
}

QRgb Rgb(ColorRef c) { return qRgb(RedOf(c), GreenOf(c), BlueOf(c)); }

// The device pixel an aliased line at this coordinate lands on.
int Pixel(double at) { return static_cast<int>(std::floor(at)); }

// Pixels of a rectangle of the image (device pixels) that `match`, or that are of one colour.
int Count(const QImage& image, const QRect& r, const std::function<bool(QRgb)>& match) {
  int n = 0;
  for (int y = r.top(); y <= r.bottom(); ++y)
    for (int x = r.left(); x <= r.right(); ++x) n += match(image.pixel(x, y));
  return n;
}
int Count(const QImage& image, const QRect& r, QRgb color) {
  return Count(image, r, [=](QRgb p) { return p == color; });
}
int CountInColumn(const QImage& image, int x, QRgb color) { return Count(image, {x, 0, 1, image.height()}, color); }

}  // namespace

class ViewTest : public QObject {
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
      const ViewScale before = v.Scale, previous = v.PreviousView;
      const ViewOutcome outcome = in ? v.ZoomIn() : v.ZoomOut();
      QCOMPARE(v.ZoomFactor, in ? 0.667f : 1.75f);
      QCOMPARE(outcome, (refused ? ViewOutcome{false, in ? kZoomInLimitText : kZoomOutLimitText} : ViewOutcome{true, {}}));
      if (refused) {
        QCOMPARE(v.Scale, before);
        if (in) QCOMPARE(v.PreviousView, previous);  // Zoom Previous still goes where it went
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

  void labels() {
    QCOMPARE(LevelLabel(0) + LevelLabel(-90) + LevelLabel(-125) + LevelLabel(2.5),
             "   0.00dB -90.00dB-125.00dB   2.50dB");
    QCOMPARE(FrequencyLabel(0, "####") + " " + FrequencyLabel(0.5, "####.0") + " " + FrequencyLabel(-0.25, "####.00") +
                 " " + FrequencyLabel(70.0125, "####.0000"),
             "0 0.5 -0.25 70.0125");
  }

  // A wide band at 10 dB/div, a narrow one at scale 10000, the deepest zoom with seven decimals.
  void gridLinesAreRoundAndLegible() {
    const struct { ViewScale view; float freqScale; double levelStep; const char* tickFormat; } rows[] = {
        {{0, -125, 300, 250}, 1, 10, "####"},
        {{9999634, -80, 732, 60}, 10000, 2.5, "####.00"},
        {{100000000, -1, 0.025f, 2}, 100000, 0.1, "####.0000000"}};
    const LegendMetrics metrics{63, 7, 14};
    const PixelRect area{80, 10, 1000, 500};
    for (const auto& [view, freqScale, levelStep, tickFormat] : rows) {
      const PlotGrid grid = ComputeGrid(view, freqScale, CheckedFor(view.ScaleHeight, view, freqScale), area, metrics);
      QCOMPARE(grid.LevelStep, levelStep);
      QCOMPARE(grid.TickFormat, tickFormat);
      QVERIFY(!grid.Level.empty() && grid.Frequency.size() >= 2 && grid.Frequency.size() <= 13);
      const PlotMapping map(view, area);
      for (size_t i = 0; i < grid.Frequency.size(); ++i) {
        const double x = map.ToPixelX(grid.Frequency[i].Position);
        QVERIFY(x >= area.Left - 0.01 && x <= area.Right() + 0.01);
        if (i == 0) continue;
        // Neighbouring labels differ and have room between them.
        QVERIFY(grid.Frequency[i].Label != grid.Frequency[i - 1].Label);
        const double gap = x - map.ToPixelX(grid.Frequency[i - 1].Position);
        QVERIFY(gap >= (grid.Frequency[i].Label.size() + 1) * metrics.CharWidth);
      }
    }
  }

  // The level lines are spaced by the checked caption at any height; labels go on every
  // n-th line, at round levels, when one on each line would collide.
  void levelLinesKeepTheCheckedDivision() {
    const struct { float viewHeight; double areaHeight, division; } rows[] = {
        {125 / 1.75f, 207, 5},  // 500x260 zoomed in once
        {125, 207, 10},         // 500x260 full height
        {669.9f, 207, 10},      // 500x260 at the zoom-out limit
        {250, 120, 10},         // the window's minimum, 250 dB tall
        {40.8f, 900, 2.5}, {5, 120, 0.25}, {1.2f, 100, 0.05}, {0.24f, 300, 0.01},
        {1e5f, 50, 10}};        // far taller than any zoom allows
    const LegendMetrics metrics{63, 7, 14};
    for (const auto& [viewHeight, areaHeight, division] : rows) {
      const int checked = CheckedFor(viewHeight);
      QCOMPARE(kDBPerDivision[static_cast<size_t>(checked)], division);
      const ViewScale view{0, -37.3f, 300, viewHeight};  // the top off any round level
      const PixelRect area{80, 10, 400, areaHeight};
      const PlotGrid grid = ComputeGrid(view, 1.0f, checked, area, metrics);
      QCOMPARE(grid.LevelStep, division);
      // Every multiple of the division in the view, one line each, top to bottom; only
      // lines closer than a pixel, which would paint the area solid, keep just the labelled.
      const double top = -static_cast<double>(view.ScaleTop), bottom = top - static_cast<double>(viewHeight);
      const double spacing = division / viewHeight * areaHeight < 1 ? grid.LevelLabelStep : division;
      QCOMPARE(static_cast<double>(grid.Level.size()),
               std::floor(top / spacing + 1e-6) - std::ceil(bottom / spacing - 1e-6) + 1);
      QVERIFY(-grid.Level.front().Position <= top && -grid.Level.front().Position > top - spacing);
      for (size_t i = 1; i < grid.Level.size(); ++i)
        QVERIFY(std::abs(grid.Level[i].Position - grid.Level[i - 1].Position - spacing) < 1e-6 * spacing + 1e-9);
      // Labels: round levels, evenly spaced, never overlapping and never needlessly sparse.
      const PlotMapping map(view, area);
      std::vector<double> labelled;
      for (const GridLine& line : grid.Level) {
        if (line.Label.empty()) continue;
        QCOMPARE(line.Label, LevelLabel(-line.Position));
        const double ratio = line.Position / grid.LevelLabelStep;
        QVERIFY(std::abs(ratio - std::round(ratio)) < 1e-6);
        labelled.push_back(map.ToPixelY(line.Position));
      }
      QVERIFY(!labelled.empty());
      for (size_t i = 1; i < labelled.size(); ++i)
        QVERIFY(labelled[i] - labelled[i - 1] >= metrics.LineHeight &&
                labelled[i] - labelled[i - 1] <= 6 * metrics.LineHeight);
    }
  }

  // The key goes to the top corner where it hides least: never over the selected point,
  // then never over the highest visible point, then where the traces are lower.
  void keyCorner() {
    const KeyCorner left = KeyCorner::Left, right = KeyCorner::Right;
    // Levels below 50 and above 250 MHz, one point near 270 MHz (0: none), whether it is selected.
    const struct { float leftLevel, rightLevel, spike; bool spikeSelected; KeyCorner corner; } rows[] = {
        {50, 50, 0, false, right},     {50, 110, 0, false, left},      {110, 50, 0, false, right},
        {121, 123, 0, false, right},   // both high, right a little higher
        {103, 50, 105, false, left},   // the highest peak under the right box
        {115, 50, 100, true, left},    {115, 50, 100, false, right}};
    for (const auto& [leftLevel, rightLevel, spike, spikeSelected, corner] : rows) {
      TraceSet traces = ShapedTraces([&](float x) { return x < 50 ? leftLevel : x > 250 ? rightLevel : 50.0f; });
      const int spikePoint = 819;  // at 269.97 MHz
      if (spike != 0) traces.AmpPoints[static_cast<size_t>(spikePoint - 1)].Current = spike;
      // Boxes 150x50 at the top corners: 2.4..47.4 and 252.6..297.6 MHz, 120..88.75 dB.
      const PlotMapping map({0, -125, 300, 250}, PixelRect{80, 10, 1000, 400});
      QVERIFY(ChooseKeyCorner(map, traces, 150, 50, spikeSelected ? kCurrentTrace : -1, spikeSelected ? spikePoint : 0) ==
              corner);
    }
  }

  // Drawn, the key sits in the chosen corner on a ground that lets the trace through.
  void keyIsTranslucentInTheChosenCorner() {
    for (const bool highOnLeft : {true, false}) {
      // Above the box on the high side, through the middle of the box on the other.
      const auto level = [&](float x) { return (highOnLeft ? x < 60 : x > 240) ? 122.0f : 103.0f; };
      const TraceSet traces = ShapedTraces(level, {true, false, false, true});
      const PlotScene scene = SceneOf(traces);
      const QImage image = RenderPlot(scene, kSize, 1);
      const PixelRect a = MappingFor(kSize).Area();
      // The key's text: bright grey (the legend colour, smoothed); the grid is a darker grey.
      const auto text = [&](int fromX) {
        return Count(image, {fromX, Pixel(a.Top) + 9, 92, 31},
                     [](QRgb p) { return qRed(p) == qGreen(p) && qGreen(p) == qBlue(p) && qRed(p) > 120; });
      };
      const int keyLeft = text(Pixel(a.Left) + 9), keyRight = text(Pixel(a.Right()) - 100);
      QVERIFY((highOnLeft ? keyRight : keyLeft) > 20);
      QCOMPARE(highOnLeft ? keyLeft : keyRight, 0);
      // The peak hold trace under the key, dimmed by the ground rather than hidden.
      const QRgb hold = Rgb(scene.Colors[kPeakHoldColor]);
      const int from = highOnLeft ? Pixel(a.Right()) - 90 : Pixel(a.Left) + 10;
      const int dimmed = Count(image, {from, Pixel(MappingFor(kSize).ToPixelY(-103)), 80, 1}, [=](QRgb p) {
        const auto near = [](int got, int full) { return std::abs(got - full * 95 / 255) <= 3; };
        return near(qRed(p), qRed(hold)) && near(qGreen(p), qGreen(hold)) && near(qBlue(p), qBlue(hold));
      });
      QVERIFY2(dimmed > 40, qPrintable(QString::number(dimmed)));
    }
  }

  // Each trace in its own colour of the palette, one device pixel wide at either ratio.
  void tracesAreOneDevicePixelWideInTheirColours() {
    const std::pair<int, PaletteField> colours[] = {{kCurrentTrace, kSpectrumColor},
                                                    {kPreviousTrace, kPreviousColor},
                                                    {kVideoAverageTrace, kVideoAverageColor},
                                                    {kPeakHoldTrace, kPeakHoldColor}};
    for (const auto& [trace, colour] : colours) {
      std::array<bool, kTraceCount> shown{};
      shown[static_cast<size_t>(trace)] = true;
      const TraceSet traces = FlatTraces(53, shown);  // off the 10 dB grid lines
      for (const qreal ratio : {1, 2}) {
        const QImage image = RenderPlot(SceneOf(traces), kSize, ratio);
        QVERIFY(image.size() == kSize * ratio && image.devicePixelRatio() == ratio);
        for (double x : {60.0, 120.0, 200.0, 280.0}) {
          const int column = Pixel(MappingFor(kSize).ToPixelX(x) * ratio) + 1;
          QCOMPARE(CountInColumn(image, column, Rgb(kDefaultPalettes[0][colour])), 1);
        }
      }
    }
  }

  // Nothing joins points 1024 and 1025, nor a point to one of a lower frequency than two
  // before it; switched-off traces are not drawn at all.
  void noSegmentJoinsTheHalvesOrCrossesALift() {
    const QRgb trace = Rgb(kDefaultPalettes[0][kSpectrumColor]);
    const PlotMapping map = MappingFor(kSize);
    for (const bool lift : {false, true}) {
      TraceSet traces = FlatTraces(5);  // clear of the threshold line at 0 dB
      if (lift) {
        // Within the first run, points 513.. jump back to 200..250 while 1..512 cover 260..300.
        for (int k = 0; k < 1024; ++k) {
          traces.FreqPoints[static_cast<size_t>(k)].Current =
              k < 512 ? 260.0f + 40.0f * k / 512 : 200.0f + 50.0f * (k - 512) / 512;
          traces.AmpPoints[static_cast<size_t>(k)].Current = (k == 511 || k == 512) ? 100.0f : 5.0f;
        }
      } else {
        traces.AmpPoints[1023].Current = traces.AmpPoints[1024].Current = 100.0f;
      }
      const QImage image = RenderPlot(SceneOf(traces), kSize, 1);
      // A joining segment would run level at 100 dB between the two points.
      const auto row = [&](double level, double from, double to) {
        return Count(image, QRect(QPoint(Pixel(map.ToPixelX(from)), Pixel(map.ToPixelY(-level))),
                                  QPoint(Pixel(map.ToPixelX(to)), Pixel(map.ToPixelY(-level)))), trace);
      };
      QCOMPARE(row(100, lift ? 252 : 10, lift ? 258 : 290), 0);
      QVERIFY(row(5, 210, 240) > 0);  // the traces themselves are there
    }
    TraceSet traces = FlatTraces(50);
    traces.TraceVisible = {false, false, false, false};
    QCOMPARE(CountInColumn(RenderPlot(SceneOf(traces), kSize, 1), Pixel(map.ToPixelX(100)), trace), 0);
  }

  void cursorsInvertAndTwiceRestore() {
    const TraceSet traces = FlatTraces(50);
    PlotScene scene = SceneOf(traces);
    const QImage plain = RenderPlot(scene, kSize, 1);
    scene.CursorsShown = true;
    scene.Cursors[0] = {110, -23};  // off the grid lines
    const QImage once = RenderPlot(scene, kSize, 1);
    const int x = Pixel(MappingFor(kSize).ToPixelX(110));
    const int inverted = CountInColumn(once, x, qRgb(255, 255, 255));
    QVERIFY(inverted > 20 && inverted < CountInColumn(plain, x, qRgb(0, 0, 0)));  // dotted, on black
    scene.Cursors[1] = scene.Cursors[0];
    QCOMPARE(RenderPlot(scene, kSize, 1), plain);
    scene.Cursors = {CursorMark{}, CursorMark{}};  // not placed: nothing drawn
    QCOMPARE(RenderPlot(scene, kSize, 1), plain);
  }

  // The measured band and the noise band tint the plot in two shades; the trace draws over both.
  void bandsAreShadedUnderTheTraces() {
    const TraceSet traces = FlatTraces(53);
    PlotScene scene = SceneOf(traces);
    scene.MeasuredBand = ShadedBand{100, 140};
    scene.NoiseBand = ShadedBand{200, 220};
    const QImage image = RenderPlot(scene, kSize, 1);
    const PlotMapping map = MappingFor(kSize);
    const auto at = [&](double x) { return image.pixel(Pixel(map.ToPixelX(x)), Pixel(map.ToPixelY(83))); };
    QVERIFY(at(117) != qRgb(0, 0, 0) && at(213) != qRgb(0, 0, 0) && at(117) != at(213));
    QCOMPARE(at(170), qRgb(0, 0, 0));
    QCOMPARE(CountInColumn(image, Pixel(map.ToPixelX(117)) + 1, Rgb(scene.Colors[kSpectrumColor])), 1);
  }

  void samePictureEveryTimeAndPalettesDiffer() {
    const TraceSet traces = FlatTraces(30);
    PlotScene scene = SceneOf(traces);
    scene.SelectedTrace = kCurrentTrace;
    scene.SelectedPoint = 700;
    const ViewScale view = scene.View;
    const QImage first = RenderPlot(scene, kSize, 2);
    QCOMPARE(RenderPlot(scene, kSize, 2), first);
    QCOMPARE(scene.View, view);
    scene.Colors = kDefaultPalettes[kPrintingPalette];
    const QImage printed = RenderPlot(scene, kSize, 2);
    QVERIFY(printed != first);
    QCOMPARE(printed.pixel(1, 1), qRgb(255, 255, 255));
    scene.Constellation = true;
    const SampleArray ramp = [] {
      SampleArray a{};
      for (int i = 0; i < kSampleCount; ++i) a[static_cast<size_t>(i)] = static_cast<float>(i % 200 - 100);
      return a;
    }();
    scene.ConstellationI = scene.ConstellationQ = &ramp;
    const QImage constellation = RenderPlot(scene, kSize, 1);
    QVERIFY(CountInColumn(constellation, kSize.width() / 2 - 20, Rgb(scene.Colors[kSpectrumColor])) > 0);
  }
};

TAVRIX_TEST_MAIN(QGuiApplication, Make<ViewTest>)

#include "test_view.moc"
