#pragma once
#include <QImage>
#include <QPointF>
#include <QWidget>

#include "ui/pointer_modes.h"
#include "view/plot_renderer.h"

class QLabel;

namespace tavrix {

// picSpectrum: shows the picture the drawing routine made of the latest scene, at the
// screen's pixel ratio, with the dragged band over it, and reports the mouse in plot
// units. It decides nothing itself.
class PlotWidget : public QWidget {
  Q_OBJECT

 public:
  explicit PlotWidget(QWidget* parent = nullptr);

  // Draws the scene into the frame at this widget's size and pixel ratio, then repaints.
  void ShowScene(const PlotScene& scene);
  const QImage& Frame() const { return frame_; }
  // How the view window lies on the widget at the last drawing.
  const PlotMapping& Mapping() const { return mapping_; }
  QPointF ToPixel(double x, double y) const { return {mapping_.ToPixelX(x), mapping_.ToPixelY(y)}; }
  // The band to show over the picture (inverting, dotted); an inactive band hides it.
  void ShowBand(const RubberBand& band);
  // cmdCoord: the floating read-out of the selected point.
  QLabel* CoordinateReadout() const { return cmdCoord_; }

 signals:
  // The frame no longer matches the widget (a new size or pixel ratio): draw again.
  void frameOutdated();
  // Buttons 1 left, 2 right, 4 middle; positions in plot units (frequency, -dB).
  void plotPressed(int button, QPointF at);
  void plotMoved(QPointF at);
  void plotReleased(int button, QPointF at);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;

 private:
  bool FrameMatches() const;
  QPointF PlotPoint(const QPointF& pixel) const { return {mapping_.ToPlotX(pixel.x()), mapping_.ToPlotY(pixel.y())}; }

  QImage frame_;
  PlotMapping mapping_;
  RubberBand band_;
  QLabel* cmdCoord_ = nullptr;
};

}  // namespace tavrix
