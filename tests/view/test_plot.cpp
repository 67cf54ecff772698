// The plot: labels, grid spacing and where the trace key goes, and pictures from the one
// drawing routine examined pixel by pixel.
#include <QGuiApplication>
#include <QPainter>
#include <QtTest>

#include <cmath>
#include <functional>

#include "test_support.h"
#include "view/plot_renderer.h"

using namespace tavrix;

namespace {

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

class PlotTest : public QObject {
  Q_OBJECT

 private slots:
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

std::unique_ptr<QObject> NewViewWindowTest();
TAVRIX_TEST_MAIN(QGuiApplication, NewViewWindowTest, tavrix::testing::Make<PlotTest>)

#include "test_plot.moc"
