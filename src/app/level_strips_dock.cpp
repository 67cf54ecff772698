#include "app/level_strips_dock.h"

#include <QDockWidget>
#include <QMainWindow>
#include <QTimer>

#include "app/display_state.h"
#include "app/level_strips_panel.h"
#include "app/waterfall_dock.h"

namespace tavrix {

namespace {

constexpr int kLookMs = 100;

}  // namespace

LevelStripsDock::LevelStripsDock(QMainWindow* window, const DisplayState& display, TimeClicked clicked)
    : QObject(window), display_(display) {
  panel_ = new LevelStripsPanel;
  dock_ = AddBottomDock(window, "Level Strips", "dockLevelStrips", panel_);
  connect(panel_, &LevelStripsPanel::timeClicked, this, [clicked = std::move(clicked)](int64_t t) { clicked(t); });
  look_ = new QTimer(this);
  look_->setInterval(kLookMs);
  connect(look_, &QTimer::timeout, this, &LevelStripsDock::Take);
}

LevelStripsDock::~LevelStripsDock() { fill_.Stop(); }

void LevelStripsDock::AddLive(const SpectrumState& state, int64_t timeMs) {
  if (!live_ || replaying_ || !band_) return;
  const history::StripPoint point = history::MeasureStripPoint(state, timeMs, *band_);
  if (measuring_) return arrived_.push_back(point);
  points_.push_back(point);
  Draw(marker_);
}

void LevelStripsDock::Show(float freqScale, const std::function<Source()>& source, bool replaying,
                           std::optional<int64_t> marker) {
  const bool shown = display_.History.LevelStrips;
  if (dock_->isHidden() == shown) dock_->setVisible(shown);
  std::optional<history::StripBand> band;
  if (const auto between = BandBetween(display_.Cursors[0], display_.Cursors[1], freqScale))
    band = history::StripBand{*between, display_.Measure.Noise};
  // Hidden, nothing is measured; shown again, or with another band or recording, all is
  // measured again.
  const bool again = shown && (band != band_ || replaying != replaying_);
  if (!shown) {
    fill_.Stop();
    look_->stop();
    measuring_ = false;
    band_.reset();
    points_.clear();
    return;
  }
  if (again) {
    band_ = band;
    replaying_ = replaying;
    points_.clear();
    arrived_.clear();
    fill_.Stop();
    measuring_ = false;
    if (band_) {
      const Source s = source();
      live_ = s.Live;
      history::FillSettings settings;
      settings.WindowSpectrum = display_.WindowSpectrum;
      settings.Rows = false;
      settings.Band = band_;
      settings.FromMs = s.FromMs;
      fill_.Start(s.Files, settings);
      measuring_ = true;
      look_->start();
    }
  }
  if (again || marker != marker_) Draw(marker);
}

void LevelStripsDock::Take() {
  history::FillBatch batch = fill_.Take();
  for (const history::StripPoint& p : batch.Points) points_.push_back(p);
  if (batch.Finished) {
    look_->stop();
    measuring_ = false;
    // The captures shown meanwhile come after the recording's.
    for (const history::StripPoint& p : arrived_)
      if (points_.empty() || p.TimeMs > points_.back().TimeMs) points_.push_back(p);
    arrived_.clear();
  }
  if (!batch.Points.empty() || batch.Finished) Draw(marker_);
}

void LevelStripsDock::Draw(std::optional<int64_t> marker) {
  marker_ = marker;
  history::StripsScene scene;
  scene.Points = &points_;
  scene.Colors = display_.ActiveColors();
  scene.Limits = {display_.Measure.Limits.ChannelPowerDb, display_.Measure.Limits.CarrierToNoiseDb};
  scene.Marker = marker;
  if (!band_)
    scene.Heading = "Place both cursors to measure a band against time";
  else
    scene.Heading = QString("%1 to %2 MHz%3")
                        .arg(band_->Band.Low, 0, 'f', 3)
                        .arg(band_->Band.High, 0, 'f', 3)
                        .arg(measuring_ ? QString(", measuring the recording...") : QString())
                        .toStdString();
  panel_->Show(scene);
}

}  // namespace tavrix
