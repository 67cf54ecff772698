#pragma once
#include <QWidget>

#include "history/level_strips.h"

namespace tavrix {

// The level-versus-time strips under the waterfall: the measured band's channel power and
// C/N at every capture, with the limit lines and the alarm periods shaded. The wheel zooms
// in time about the pointer, a drag pans, a double click shows the whole again; hovering
// tells a capture's time and figures, and a click asks for the capture at that time.
class LevelStripsPanel : public QWidget {
  Q_OBJECT

 public:
  explicit LevelStripsPanel(QWidget* parent = nullptr);
  // The strips to draw; the time shown is the panel's own span over the points' whole.
  void Show(const history::StripsScene& scene);
  const history::StripsScene& Scene() const { return scene_; }
  history::TimeSpan& Span() { return span_; }
  // The capture nearest in time to a point of the panel, as hovering tells it.
  QString DescribeAt(const QPoint& at) const;

 signals:
  void timeClicked(int64_t timeMs);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;

 private:
  // The time under a pixel across, and whether it lies on a strip.
  std::optional<int64_t> TimeAt(const QPoint& at) const;

  history::StripsScene scene_;
  history::TimeSpan span_;
  std::array<PixelRect, history::kStripCount> areas_{};  // as last drawn
  std::optional<QPoint> pressed_;
  bool dragged_ = false;
};

}  // namespace tavrix
