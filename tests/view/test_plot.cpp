// The plot: labels and grid spacing, and pictures drawn by the one drawing routine,
// examined pixel by pixel: traces one device pixel wide at both pixel ratios, no segment
// across the two halves or a pen lift, switched-off traces absent, inverting cursors,
// palettes, and a redraw that changes nothing it was given.
#include <QPainter>
#include <QtTest>

#include <cmath>
#include <memory>

#include "test_support.h"
#include "view/plot_renderer.h"

using namespace tavrix;

Q_DECLARE_METATYPE(tavrix::ViewScale)

namespace {

const QSize kSize(640, 360);

// A trace set over the band 0..300 whose current trace is flat at `level` dB, the
// positive half on the right and the negative half on the left, as a capture gives them.
TraceSet FlatTraces(float level) {
  TraceSet t;
  t.TraceVisible[kCurrentTrace] = true;
  for (int k = 0; k < kPointCount; ++k) {
    const float x = k < kPointCount / 2 ? 150.0f + 150.0f * (k + 1) / 1024 : 150.0f * (k - 1023) / 1024;
    t.FreqPoints[static_cast<size_t>(k)].Current = x;
    t.AmpPoints[static_cast<size_t>(k)].Current = level;
  }
  return t;
}

PlotScene SceneOf(const TraceSet& traces) {
  PlotScene scene;
  scene.Traces = &traces;
  scene.View = {0, -125, 300, 250};
  return scene;
}

PlotMapping MappingFor(const QSize& size) {
  QImage probe(8, 8, QImage::Format_RGB32);
  QPainter painter(&probe);
  painter.setFont(LegendFont());
  return PlotMapping({0, -125, 300, 250}, DataArea(size.width(), size.height(), MeasureLegend(painter)));
}

QRgb Rgb(ColorRef c) { return qRgb(RedOf(c), GreenOf(c), BlueOf(c)); }

// The device pixel an aliased line at this coordinate lands on.
int Pixel(double at) { return static_cast<int>(std::floor(at)); }

// Pixels of `color` in a column or row of the image (device pixels).
int CountInColumn(const QImage& image, int x, QRgb color) {
  int n = 0;
  for (int y = 0; y < image.height(); ++y) n += image.pixel(x, y) == color;
  return n;
}
int CountInRow(const QImage& image, int y, int fromX, int toX, QRgb color) {
  int n = 0;
  for (int x = fromX; x <= toX; ++x) n += image.pixel(x, y) == color;
  return n;
}

}  // namespace

class PlotTest : public QObject {
  Q_OBJECT

 private slots:
  void labels() {
    QCOMPARE(LevelLabel(0), std::string("   0.00dB"));
    QCOMPARE(LevelLabel(-90), std::string(" -90.00dB"));
    QCOMPARE(LevelLabel(-125), std::string("-125.00dB"));
    QCOMPARE(LevelLabel(2.5), std::string("   2.50dB"));
    QCOMPARE(FrequencyLabel(0, "####"), std::string("0"));
    QCOMPARE(FrequencyLabel(0.5, "####.0"), std::string("0.5"));
    QCOMPARE(FrequencyLabel(-0.25, "####.00"), std::string("-0.25"));
    QCOMPARE(FrequencyLabel(70.0125, "####.0000"), std::string("70.0125"));
  }

  void gridLinesAreRoundAndLegible_data() {
    QTest::addColumn<ViewScale>("view");
    QTest::addColumn<float>("freqScale");
    QTest::addColumn<double>("areaHeight");
    QTest::addColumn<double>("levelStep");
    QTest::addColumn<QString>("tickFormat");
    QTest::newRow("wide band, 10 dB/div") << ViewScale{0, -125, 300, 250} << 1.0f << 500.0 << 10.0 << "####";
    QTest::newRow("too tight for 10 dB: widened") << ViewScale{0, -125, 300, 250} << 1.0f << 100.0 << 50.0 << "####";
    QTest::newRow("narrow band at scale 10000") << ViewScale{9999634, -80, 732, 60} << 10000.0f << 500.0 << 2.5
                                                << "####.00";
    QTest::newRow("deepest zoom: seven decimals") << ViewScale{100000000, -1, 0.025f, 2} << 100000.0f << 500.0
                                                  << 0.1 << "####.0000000";
  }
  void gridLinesAreRoundAndLegible() {
    QFETCH(ViewScale, view);
    QFETCH(float, freqScale);
    QFETCH(double, areaHeight);
    QFETCH(double, levelStep);
    QFETCH(QString, tickFormat);
    const LegendMetrics metrics{63, 7, 14};
    const PixelRect area{80, 10, 1000, areaHeight};
    ViewWindow v;
    v.Scale = view;
    v.FreqScale = freqScale;
    v.PrepareRedraw();
    const PlotGrid grid = ComputeGrid(view, freqScale, v.CheckedDB, area, metrics);
    QCOMPARE(grid.LevelStep, levelStep);
    QCOMPARE(QString::fromStdString(grid.TickFormat), tickFormat);
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
    for (const GridLine& line : grid.Level) QCOMPARE(LevelLabel(-line.Position), line.Label);
  }

  void tracesAreOneDevicePixelWide_data() {
    QTest::addColumn<qreal>("ratio");
    QTest::newRow("pixel ratio 1") << qreal(1);
    QTest::newRow("pixel ratio 2") << qreal(2);
  }
  void tracesAreOneDevicePixelWide() {
    QFETCH(qreal, ratio);
    const TraceSet traces = FlatTraces(50);
    const QImage image = RenderPlot(SceneOf(traces), kSize, ratio);
    QCOMPARE(image.size(), kSize * ratio);
    QCOMPARE(image.devicePixelRatio(), ratio);
    const PlotMapping map = MappingFor(kSize);
    const QRgb trace = Rgb(kDefaultPalettes[0][kSpectrumColor]);
    for (double x : {60.0, 120.0, 200.0, 280.0})
      QCOMPARE(CountInColumn(image, Pixel(map.ToPixelX(x) * ratio) + 1, trace), 1);
  }

  void noSegmentJoinsTheHalvesOrCrossesALift_data() {
    QTest::addColumn<bool>("lift");
    QTest::newRow("points 1024 and 1025") << false;
    QTest::newRow("a frequency lower than two before") << true;
  }
  void noSegmentJoinsTheHalvesOrCrossesALift() {
    QFETCH(bool, lift);
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
    const PlotMapping map = MappingFor(kSize);
    const int row = Pixel(map.ToPixelY(-100));
    const QRgb trace = Rgb(kDefaultPalettes[0][kSpectrumColor]);
    // A joining segment would run level at 100 dB between the two points.
    const int from = Pixel(map.ToPixelX(lift ? 252 : 10)), to = Pixel(map.ToPixelX(lift ? 258 : 290));
    QCOMPARE(CountInRow(image, row, from, to, trace), 0);
    // The traces themselves are there.
    QVERIFY(CountInRow(image, Pixel(map.ToPixelY(-5)), Pixel(map.ToPixelX(210)), Pixel(map.ToPixelX(240)), trace) > 0);
  }

  void switchedOffTracesAreNotDrawn() {
    TraceSet traces = FlatTraces(50);
    traces.TraceVisible = {false, false, false, false};
    const QImage image = RenderPlot(SceneOf(traces), kSize, 1);
    QCOMPARE(CountInColumn(image, Pixel(MappingFor(kSize).ToPixelX(100)), Rgb(kDefaultPalettes[0][kSpectrumColor])),
             0);
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

std::unique_ptr<QObject> NewPlotTest() { return std::make_unique<PlotTest>(); }

#include "test_plot.moc"
