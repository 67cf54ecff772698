#pragma once
#include <QImage>
#include <QWidget>

#include "view/plot_renderer.h"

namespace tavrix {

// picSpectrum: shows the picture the drawing routine made of the latest scene, at the
// screen's pixel ratio. It draws nothing of its own.
class PlotWidget : public QWidget {
  Q_OBJECT

 public:
  explicit PlotWidget(QWidget* parent = nullptr);

  // Draws the scene into the frame at this widget's size and pixel ratio, then repaints.
  void ShowScene(const PlotScene& scene);
  const QImage& Frame() const { return frame_; }

 signals:
  // The frame no longer matches the widget (a new size or pixel ratio): draw again.
  void frameOutdated();

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;

 private:
  bool FrameMatches() const;
  QImage frame_;
};

}  // namespace tavrix
