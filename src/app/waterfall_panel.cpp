#include "app/waterfall_panel.h"

#include <QFontMetricsF>
#include <QMouseEvent>
#include <QPainter>
#include <QToolTip>

#include <cmath>

#include "app/replay_bar.h"
#include "view/plot_renderer.h"

namespace tavrix {

namespace {

constexpr int kMargin = 3;     // above and below the rows
constexpr double kGap = 6;     // between a time label and the rows
constexpr int kRowHeight = 1;  // logical pixels a row

}  // namespace

WaterfallPanel::WaterfallPanel(QWidget* parent) : QWidget(parent) {
  setObjectName("waterfallPanel");
  setAttribute(Qt::WA_OpaquePaintEvent);
  setMouseTracking(true);
  setMinimumHeight(60);
  setCursor(Qt::PointingHandCursor);
}

QRect WaterfallPanel::DataRect() const {
  const int left = dataWidth_ > 0 ? static_cast<int>(std::lround(dataLeft_)) : width() / 8;
  const int across = dataWidth_ > 0 ? static_cast<int>(std::lround(dataWidth_)) : width() - left - kMargin;
  return QRect(left, kMargin, std::max(1, across), std::max(1, height() - 2 * kMargin));
}

void WaterfallPanel::Rebuild() {
  image_.SetColors(levels_, background_);
  image_.SetGeometry(DataRect().size(), devicePixelRatioF(), kRowHeight);
  image_.SetView(left_, width_);
  if (rows_ != nullptr) image_.Rebuild(*rows_, fromAge_);
  update();
}

void WaterfallPanel::ShowRows(const history::WaterfallRows* rows, size_t fromAge) {
  rows_ = rows;
  fromAge_ = fromAge;
  Rebuild();
}

void WaterfallPanel::ShowNewerRow(size_t fromAge) {
  if (rows_ == nullptr || fromAge >= rows_->Count()) return;
  fromAge_ = fromAge;
  image_.AddRow(rows_->Newest(fromAge_));
  update();  // the rows move under their labels: both are painted again
}

void WaterfallPanel::SetView(double left, double width, double dataLeft, double dataWidth) {
  if (left == left_ && width == width_ && dataLeft == dataLeft_ && dataWidth == dataWidth_) return;
  left_ = left, width_ = width, dataLeft_ = dataLeft, dataWidth_ = dataWidth;
  Rebuild();
}

void WaterfallPanel::SetColors(const std::array<uint32_t, history::kWaterfallLevels>& levels, uint32_t background,
                               uint32_t legend) {
  if (levels == levels_ && background == background_ && legend == legend_) return;
  levels_ = levels, background_ = background, legend_ = legend;
  Rebuild();
}

long WaterfallPanel::RowAt(const QPoint& at) const {
  const QRect data = DataRect();
  if (rows_ == nullptr || !data.contains(at)) return -1;
  const size_t age = fromAge_ + static_cast<size_t>((at.y() - data.top()) / kRowHeight);
  return age < rows_->Count() && age - fromAge_ < image_.RowsShown() ? static_cast<long>(age) : -1;
}

QString WaterfallPanel::DescribeAt(const QPoint& at) const {
  const long age = RowAt(at);
  if (age < 0) return {};
  const history::WaterfallRow& row = rows_->Newest(static_cast<size_t>(age));
  QString text = CaptureTimeText(row.TimeMs);
  const QRect data = DataRect();
  const double frequency = left_ + (at.x() - data.left() + 0.5) / data.width() * width_;
  const double point = row.FrequencyStep > 0 ? std::round((frequency - row.FirstFrequency) / row.FrequencyStep) : -1;
  if (point >= 0 && point < static_cast<double>(row.Levels.size()))
    text += QString("\nLevel %1 dB").arg(row.Levels[static_cast<size_t>(point)] * history::kWaterfallLevelStep, 0, 'f', 1);
  return text + "\nClick to show this capture";
}

void WaterfallPanel::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.fillRect(rect(), QColor::fromRgb(background_));
  const QRect data = DataRect();
  image_.Paint(painter, data.topLeft());
  if (rows_ == nullptr) return;
  // The rows' times on the left, at round times between rows.
  painter.setFont(LegendFont());
  painter.setPen(QColor::fromRgb(legend_));
  const QFontMetricsF fm(painter.font(), painter.device());
  const size_t shown = std::min(image_.RowsShown(), rows_->Count() > fromAge_ ? rows_->Count() - fromAge_ : 0);
  const size_t minRows = static_cast<size_t>(std::ceil(2 * fm.height() / kRowHeight));
  for (const history::TimeLabel& label : history::TimeLabels(*rows_, shown, minRows, fromAge_)) {
    const double y = data.top() + static_cast<double>(label.Row) * kRowHeight;
    if (y + fm.height() / 2 > data.bottom()) break;
    const QString text = QString::fromStdString(label.Text);
    painter.drawLine(QPointF(data.left() - 3, y), QPointF(data.left(), y));
    painter.drawText(QPointF(data.left() - kGap - fm.horizontalAdvance(text), y + fm.ascent() - fm.height() / 2), text);
  }
}

void WaterfallPanel::resizeEvent(QResizeEvent* event) {
  QWidget::resizeEvent(event);
  Rebuild();
}

void WaterfallPanel::mouseMoveEvent(QMouseEvent* event) {
  const QString text = DescribeAt(event->position().toPoint());
  if (text.isEmpty())
    QToolTip::hideText();
  else
    QToolTip::showText(event->globalPosition().toPoint(), text, this);
}

void WaterfallPanel::mousePressEvent(QMouseEvent* event) {
  const long age = event->button() == Qt::LeftButton ? RowAt(event->position().toPoint()) : -1;
  if (age >= 0) emit rowClicked(rows_->Newest(static_cast<size_t>(age)).TimeMs);
}

}  // namespace tavrix
