#include "app/plot_widget.h"

#include <QPaintEvent>
#include <QPainter>
#include <QTimer>

namespace tavrix {

PlotWidget::PlotWidget(QWidget* parent) : QWidget(parent) {
  setObjectName("picSpectrum");
  setAttribute(Qt::WA_OpaquePaintEvent);  // the frame covers every pixel
  setFocusPolicy(Qt::StrongFocus);
  setCursor(Qt::CrossCursor);
  setMinimumSize(120, 80);
}

void PlotWidget::ShowScene(const PlotScene& scene) {
  RenderPlot(scene, size(), devicePixelRatioF(), frame_);
  update();
}

bool PlotWidget::FrameMatches() const {
  return !frame_.isNull() && frame_.devicePixelRatio() == devicePixelRatioF() &&
         frame_.deviceIndependentSize().toSize() == size();
}

void PlotWidget::paintEvent(QPaintEvent* event) {
  QPainter painter(this);
  if (frame_.isNull()) {
    painter.fillRect(event->rect(), Qt::black);
  } else {
    painter.drawImage(QPointF(0, 0), frame_);
  }
  // Moved to a screen of another pixel ratio: ask for a fresh frame after this paint.
  if (!FrameMatches()) QTimer::singleShot(0, this, [this] { emit frameOutdated(); });
}

void PlotWidget::resizeEvent(QResizeEvent* event) {
  QWidget::resizeEvent(event);
  emit frameOutdated();
}

}  // namespace tavrix
