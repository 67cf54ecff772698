#include "app/level_strips_panel.h"

#include <QMouseEvent>
#include <QPainter>
#include <QToolTip>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

#include "app/replay_bar.h"
#include "view/plot_renderer.h"

namespace tavrix {

namespace {

constexpr double kWheelZoom = 0.8;  // a wheel step in: the span shown, times this
constexpr int kDragPixels = 4;      // a press that moves less than this is a click

QString Figure(float value) {
  if (std::isnan(value)) return "none";
  return std::isinf(value) ? QString("below noise") : QString("%1 dB").arg(value, 0, 'f', 2);
}

}  // namespace

LevelStripsPanel::LevelStripsPanel(QWidget* parent) : QWidget(parent) {
  setObjectName("levelStripsPanel");
  setAttribute(Qt::WA_OpaquePaintEvent);
  setMouseTracking(true);
  setMinimumHeight(120);
}

void LevelStripsPanel::Show(const history::StripsScene& scene) {
  scene_ = scene;
  if (scene_.Points != nullptr && !scene_.Points->empty())
    span_.SetWhole(scene_.Points->front().TimeMs, scene_.Points->back().TimeMs);
  scene_.Shown = span_.Shown();
  update();
}

std::optional<int64_t> LevelStripsPanel::TimeAt(const QPoint& at) const {
  for (const PixelRect& a : areas_)
    if (at.x() >= a.Left && at.x() <= a.Right() && at.y() >= a.Top && at.y() <= a.Bottom())
      return history::TimeAtPixel(a, scene_.Shown, at.x());
  return std::nullopt;
}

QString LevelStripsPanel::DescribeAt(const QPoint& at) const {
  const std::optional<int64_t> t = TimeAt(at);
  if (!t || scene_.Points == nullptr || scene_.Points->empty()) return {};
  const auto& points = *scene_.Points;
  const auto after = std::lower_bound(points.begin(), points.end(), *t,
                                      [](const history::StripPoint& p, int64_t time) { return p.TimeMs < time; });
  auto nearest = after == points.end() ? after - 1 : after;
  if (after != points.begin() && after != points.end() && *t - (after - 1)->TimeMs < after->TimeMs - *t) nearest = after - 1;
  return QString("%1\nChannel power %2\nC/N %3\nClick to show this capture")
      .arg(CaptureTimeText(nearest->TimeMs), Figure(nearest->ChannelPowerDb), Figure(nearest->CarrierToNoiseDb));
}

void LevelStripsPanel::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  history::DrawLevelStrips(painter, QSizeF(size()), scene_);
  // Where the strips lie, for the mouse: measured as they were drawn.
  painter.setFont(LegendFont());
  areas_ = history::StripAreas(QSizeF(size()), scene_, MeasureLegend(painter));
}

void LevelStripsPanel::wheelEvent(QWheelEvent* event) {
  const std::optional<int64_t> at = TimeAt(event->position().toPoint());
  if (!at || event->angleDelta().y() == 0) return;
  span_.Zoom(*at, std::pow(kWheelZoom, event->angleDelta().y() / 120.0));
  Show(scene_);
}

void LevelStripsPanel::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return;
  pressed_ = event->position().toPoint();
  dragged_ = false;
}

void LevelStripsPanel::mouseMoveEvent(QMouseEvent* event) {
  const QPoint at = event->position().toPoint();
  if (pressed_ && (dragged_ || (at - *pressed_).manhattanLength() >= kDragPixels)) {
    // The time under the pointer stays under it.
    const std::optional<int64_t> from = TimeAt(*pressed_), to = TimeAt(at);
    if (from && to) span_.Pan(*from - *to);
    pressed_ = at;
    dragged_ = true;
    Show(scene_);
    return;
  }
  const QString text = DescribeAt(at);
  if (text.isEmpty())
    QToolTip::hideText();
  else
    QToolTip::showText(event->globalPosition().toPoint(), text, this);
}

void LevelStripsPanel::mouseReleaseEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton || !pressed_) return;
  const bool click = !dragged_;
  pressed_.reset();
  if (!click) return;
  if (const std::optional<int64_t> t = TimeAt(event->position().toPoint())) emit timeClicked(*t);
}

void LevelStripsPanel::mouseDoubleClickEvent(QMouseEvent*) {
  span_.ShowWhole();
  Show(scene_);
}

}  // namespace tavrix
