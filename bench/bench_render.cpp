// One full redraw of a 1920x1080 plot (four traces of real captures after a few updates
// with peak hold and video average on, grid, legend, threshold, cursors and a selected
// point) against the floor any drawing of these traces pays: the same four traces drawn
// alone as bare polylines onto the same image; at device pixel ratio 1 and 2.
#include <QFile>
#include <QGuiApplication>
#include <QPainter>

#include <string>
#include <vector>

#include "ratio_reporter.h"
#include "view/live_spectrum.h"
#include "view/plot_renderer.h"

namespace {

using namespace tavrix;

const QSize kPlotSize(1920, 1080);

std::string ReadCapture(int n) {
  QFile file(QStringLiteral(TAVRIX_SOURCE_DIR "/bench/data/capture_%1.bin").arg(n));
  if (!file.open(QIODevice::ReadOnly)) qFatal("missing bench/data/capture_%d.bin", n);
  return file.readAll().toStdString();
}

// The live spectrum after four captures with all four traces on.
const LiveSpectrum& Captured() {
  static const LiveSpectrum live = [] {
    LiveSpectrum l;
    Selection none;
    l.State.Traces.TraceVisible[kCurrentTrace] = true;
    for (int trace : {kPreviousTrace, kVideoAverageTrace, kPeakHoldTrace}) SwitchTrace(l.State.Traces, none, trace);
    for (int n = 1; n <= 4; ++n) l.ProcessBlock(ReadCapture(n), true);
    l.View.PrepareRedraw();
    return l;
  }();
  return live;
}

PlotScene FullScene() {
  const LiveSpectrum& live = Captured();
  PlotScene scene = live.Scene();
  const ViewScale& v = scene.View;
  scene.Threshold = 45;
  scene.CursorsShown = true;
  scene.Cursors = {CursorMark{v.ScaleLeft + v.ScaleWidth * 0.3f, v.CenterY()},
                   CursorMark{v.ScaleLeft + v.ScaleWidth * 0.7f, v.CenterY() + v.ScaleHeight * 0.2f}};
  scene.SelectedTrace = kCurrentTrace;
  scene.SelectedPoint = 300;
  return scene;
}

void Redraw(benchmark::State& state, qreal ratio) {
  const PlotScene scene = FullScene();
  QImage image;
  RenderPlot(scene, kPlotSize, ratio, image);
  for (auto _ : state) {
    QPainter painter(&image);
    DrawPlotScene(painter, QSizeF(kPlotSize), scene);
  }
}

// The floor: the same traces, already mapped to pixels, as bare polylines in the same pens.
void BareTraces(benchmark::State& state, qreal ratio) {
  const PlotScene scene = FullScene();
  QImage image;
  RenderPlot(scene, kPlotSize, ratio, image);
  QPainter probe(&image);
  probe.setFont(LegendFont());
  const PlotMapping map(scene.View, DataArea(kPlotSize.width(), kPlotSize.height(), MeasureLegend(probe)));
  probe.end();
  const TraceSet& t = *scene.Traces;
  std::vector<std::vector<QPointF>> runs;
  std::vector<QColor> colors;
  const std::pair<int, PaletteField> order[] = {{kCurrentTrace, kSpectrumColor}, {kPreviousTrace, kPreviousColor},
                                                {kVideoAverageTrace, kVideoAverageColor}, {kPeakHoldTrace, kPeakHoldColor}};
  for (const auto& [trace, color] : order) {
    for (int run = 0; run < 2; ++run) {
      std::vector<QPointF> points;
      for (int i = run * 1024; i < run * 1024 + 1024; ++i)
        points.emplace_back(map.ToPixelX(t.FreqPoints[i][trace]), map.ToPixelY(-t.AmpPoints[i][trace]));
      runs.push_back(std::move(points));
      colors.push_back(ToColor(scene.Colors[color]));
    }
  }
  for (auto _ : state) {
    QPainter painter(&image);
    for (size_t r = 0; r < runs.size(); ++r) {
      QPen pen(colors[r], 0);
      pen.setCosmetic(true);
      painter.setPen(pen);
      painter.drawPolyline(runs[r].data(), static_cast<int>(runs[r].size()));
    }
  }
}

void BM_Redraw1080p(benchmark::State& state) { Redraw(state, 1); }
void BM_BareTraces1080p(benchmark::State& state) { BareTraces(state, 1); }
void BM_Redraw1080pRatio2(benchmark::State& state) { Redraw(state, 2); }
void BM_BareTraces1080pRatio2(benchmark::State& state) { BareTraces(state, 2); }
BENCHMARK(BM_Redraw1080p)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_BareTraces1080p)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Redraw1080pRatio2)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_BareTraces1080pRatio2)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  QGuiApplication app(argc, argv);
  return tavrix::bench::RunAndPrintRatios(argc, argv,
                                          {{"full redraw 1920x1080 / bare traces", "BM_Redraw1080p", "BM_BareTraces1080p", 1.5},
                                           {"full redraw 1920x1080 at ratio 2 / bare traces", "BM_Redraw1080pRatio2",
                                            "BM_BareTraces1080pRatio2", 1.5}});
}
