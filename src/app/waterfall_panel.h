#pragma once
#include <QWidget>

#include <array>
#include <cstdint>

#include "history/waterfall_image.h"

namespace tavrix {

// The waterfall under the plot: the rows of the captures, newest at the top, across the
// plot's own frequency window and data area (so a frequency stands above itself on both),
// the rows' times labelled on the left. Hovering a row tells its time and the level under
// the pointer; a click on a row asks for that capture. A new row costs one row's drawing.
class WaterfallPanel : public QWidget {
  Q_OBJECT

 public:
  explicit WaterfallPanel(QWidget* parent = nullptr);

  // The rows to show, from the one `fromAge` rows old (0: the newest) at the top; drawn
  // again whole. The rows must outlive the panel's use of them.
  void ShowRows(const history::WaterfallRows* rows, size_t fromAge = 0);
  // The rows shown start one row newer, now at `fromAge`: that row is drawn at the top and
  // the others move down by one (a row added to the rows, or a replay's step forward).
  void ShowNewerRow(size_t fromAge = 0);
  // The plot's frequency window and its data area across, in this panel's pixels.
  void SetView(double left, double width, double dataLeft, double dataWidth);
  // The colours of the levels, the background and the labels.
  void SetColors(const std::array<uint32_t, history::kWaterfallLevels>& levels, uint32_t background, uint32_t legend);
  // The row under a point of the panel, by age from the newest; -1 for none.
  long RowAt(const QPoint& at) const;
  // What hovering a row tells: its time, and the frequency and level under the pointer.
  QString DescribeAt(const QPoint& at) const;
  const history::WaterfallImage& Image() const { return image_; }
  QSize sizeHint() const override { return {640, 180}; }

 signals:
  void rowClicked(int64_t timeMs);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;

 private:
  QRect DataRect() const;
  void Rebuild();

  history::WaterfallImage image_;
  const history::WaterfallRows* rows_ = nullptr;
  size_t fromAge_ = 0;
  double left_ = 0, width_ = 1, dataLeft_ = 0, dataWidth_ = -1;
  std::array<uint32_t, history::kWaterfallLevels> levels_{};
  uint32_t background_ = 0xFF000000u, legend_ = 0xFFC8C8C8u;
};

}  // namespace tavrix
