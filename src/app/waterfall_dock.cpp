#include "app/waterfall_dock.h"

#include <QCloseEvent>
#include <QDockWidget>
#include <QMainWindow>
#include <QTimer>

#include "app/display_state.h"
#include "app/plot_widget.h"
#include "app/waterfall_panel.h"
#include "view/plot_renderer.h"
#include "view/view_window.h"

namespace tavrix {

namespace {

constexpr int kFillLookMs = 100;
// The captures filled back: those of the last hours before the first live one.
constexpr int64_t kFillBackMs = int64_t{3} * 3600 * 1000;
constexpr size_t kAutomaticRows = 200;  // the newest rows automatic levels follow

}  // namespace

QDockWidget* AddBottomDock(QMainWindow* window, const char* title, const char* name, QWidget* content) {
  auto* dock = new QDockWidget(title, window);
  dock->setObjectName(name);
  dock->setWidget(content);
  dock->setFeatures(QDockWidget::DockWidgetMovable | QDockWidget::DockWidgetFloatable);
  window->addDockWidget(Qt::BottomDockWidgetArea, dock);
  dock->hide();
  return dock;
}

WaterfallDock::WaterfallDock(QMainWindow* window, const DisplayState& display, RowClicked clicked)
    : QObject(window), display_(display) {
  panel_ = new WaterfallPanel;
  dock_ = AddBottomDock(window, "Waterfall", "dockWaterfall", panel_);
  panel_->ShowRows(&live_);
  connect(panel_, &WaterfallPanel::rowClicked, this, [clicked = std::move(clicked)](int64_t t) { clicked(t); });
  fillTick_ = new QTimer(this);
  fillTick_->setInterval(kFillLookMs);
  connect(fillTick_, &QTimer::timeout, this, &WaterfallDock::TakeFill);
}

WaterfallDock::~WaterfallDock() { fill_.Stop(); }

void WaterfallDock::AddLive(const std::string& unit, const TraceSet& traces, int64_t timeMs,
                            const std::function<std::vector<std::string>()>& files, bool windowSpectrum) {
  if (unit != liveUnit_) {
    ForgetLive();
    liveUnit_ = unit;
    history::FillSettings settings;
    settings.WindowSpectrum = windowSpectrum;
    settings.FromMs = timeMs - kFillBackMs;
    settings.BeforeMs = timeMs;
    fill_.Start(files(), settings);
    fillTick_->start();
  }
  live_.Add(history::MakeWaterfallRow(traces, timeMs));
  if (!replaying_) panel_->ShowNewerRow(0);
}

void WaterfallDock::ForgetLive() {
  fill_.Stop();
  fillTick_->stop();
  filled_.clear();
  live_.Clear();
  liveUnit_.clear();
  if (!replaying_) panel_->ShowRows(&live_);
}

void WaterfallDock::TakeFill() {
  history::FillBatch batch = fill_.Take();
  for (history::WaterfallRow& row : batch.Rows) filled_.push_back(std::move(row));
  if (!batch.Finished) return;
  fillTick_->stop();
  // The filled rows go under the live ones.
  history::WaterfallRows all;
  for (history::WaterfallRow& row : filled_) all.Add(std::move(row));
  for (size_t age = live_.Count(); age-- > 0;) all.Add(live_.Newest(age));
  live_ = std::move(all);
  filled_.clear();
  if (!replaying_) panel_->ShowRows(&live_);
}

void WaterfallDock::ShowReplay(const history::WaterfallRows* rows, size_t fromAge) {
  replaying_ = rows != nullptr;
  panel_->ShowRows(replaying_ ? rows : &live_, replaying_ ? fromAge : 0);
}

void WaterfallDock::Show(const ViewScale& view, const PlotWidget& plot) {
  const HistorySettings& h = display_.History;
  if (dock_->isHidden() == h.Waterfall) dock_->setVisible(h.Waterfall);
  if (!h.Waterfall) return;
  const Palette& colors = display_.ActiveColors();
  history::LevelLimits limits{-double(view.ScaleTop) - view.ScaleHeight, -double(view.ScaleTop)};
  if (h.AutomaticLevels && live_.Count() > 0) limits = history::AutomaticLimits(live_, kAutomaticRows);
  panel_->SetColors(
      history::LevelColors(limits, h.PaletteColorMap ? history::ColorMap::Palette : history::ColorMap::Perceptual, colors),
      ToColor(colors[kBackgroundColor]).rgb(), ToColor(colors[kLegendColor]).rgb());
  // The plot's data area, in the panel's pixels, so that a frequency stands above itself.
  const double left = plot.ToPixel(view.ScaleLeft, 0).x(), right = plot.ToPixel(view.ScaleLeft + view.ScaleWidth, 0).x();
  const double shift = plot.mapToGlobal(QPoint(0, 0)).x() - panel_->mapToGlobal(QPoint(0, 0)).x();
  panel_->SetView(view.ScaleLeft, view.ScaleWidth, left + shift, right - left);
}

}  // namespace tavrix
