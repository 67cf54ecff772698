#include "app/plot_widget.h"

#include <QLabel>
#include <QMouseEvent>
#include <QPaintEngine>
#include <QPaintEvent>
#include <QPainter>
#include <QTimer>

namespace tavrix {

namespace {

int ButtonOf(Qt::MouseButton button) {
  switch (button) {
    case Qt::LeftButton: return kLeftButton;
    case Qt::RightButton: return kRightButton;
    case Qt::MiddleButton: return kMiddleButton;
    default: return 0;
  }
}

}  // namespace

PlotWidget::PlotWidget(QWidget* parent) : QWidget(parent) {
  setObjectName("picSpectrum");
  setAttribute(Qt::WA_OpaquePaintEvent);  // the frame covers every pixel
  setFocusPolicy(Qt::StrongFocus);
  setCursor(Qt::CrossCursor);
  setMinimumSize(120, 80);
  cmdCoord_ = new QLabel(this);
  cmdCoord_->setObjectName("cmdCoord");
  cmdCoord_->setFont(LegendFont());
  cmdCoord_->setTextFormat(Qt::PlainText);
  cmdCoord_->setAttribute(Qt::WA_TransparentForMouseEvents);
  cmdCoord_->hide();
}

void PlotWidget::ShowScene(const PlotScene& scene) {
  mapping_ = RenderPlot(scene, size(), devicePixelRatioF(), frame_);
  update();
}

void PlotWidget::ShowBand(const RubberBand& band) {
  band_ = band;
  update();
}

bool PlotWidget::FrameMatches() const {
  return !frame_.isNull() && frame_.devicePixelRatio() == devicePixelRatioF() &&
         frame_.deviceIndependentSize().toSize() == size();
}

void PlotWidget::paintEvent(QPaintEvent* event) {
  QPainter painter(this);
  if (frame_.isNull())
    painter.fillRect(event->rect(), Qt::black);
  else
    painter.drawImage(QPointF(0, 0), frame_);
  if (band_.Active()) {
    // The band inverts what it crosses, so it reads on any palette.
    QPen pen(Qt::white, 0, Qt::DotLine);
    pen.setCosmetic(true);
    painter.setPen(pen);
    if (painter.paintEngine()->hasFeature(QPaintEngine::RasterOpModes))
      painter.setCompositionMode(QPainter::RasterOp_NotDestination);
    painter.drawRect(QRectF(ToPixel(band_.X1, band_.Y1), ToPixel(band_.X2, band_.Y2)).normalized());
  }
  // Moved to a screen of another pixel ratio: ask for a fresh frame after this paint.
  if (!FrameMatches()) QTimer::singleShot(0, this, [this] { emit frameOutdated(); });
}

void PlotWidget::resizeEvent(QResizeEvent* event) {
  QWidget::resizeEvent(event);
  emit frameOutdated();
}

void PlotWidget::mousePressEvent(QMouseEvent* event) {
  if (const int button = ButtonOf(event->button()); button != 0) emit plotPressed(button, PlotPoint(event->position()));
}

void PlotWidget::mouseMoveEvent(QMouseEvent* event) { emit plotMoved(PlotPoint(event->position())); }

void PlotWidget::mouseReleaseEvent(QMouseEvent* event) {
  if (const int button = ButtonOf(event->button()); button != 0) emit plotReleased(button, PlotPoint(event->position()));
}

}  // namespace tavrix
