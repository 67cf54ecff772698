#include "history/waterfall_image.h"

#include <QFontMetricsF>
#include <QPaintDevice>
#include <QPainter>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "history/recording_folder.h"
#include "view/plot_layout.h"
#include "view/plot_renderer.h"

namespace tavrix::history {

namespace {

constexpr double kGap = 6;         // pixels between a label and what it labels
constexpr double kTickLength = 4;  // of the axis ticks, into the data area

int Wrap(int line, int lines) { return ((line % lines) + lines) % lines; }

}  // namespace

void WaterfallImage::SetGeometry(const QSize& logical, double devicePixelRatio, int rowHeight) {
  ratio_ = devicePixelRatio > 0 ? devicePixelRatio : 1;
  rowHeight_ = std::max(1, rowHeight);
  const QSize pixels(std::max(1, qRound(logical.width() * ratio_)), std::max(1, qRound(logical.height() * ratio_)));
  if (ring_.size() != pixels) ring_ = QImage(pixels, QImage::Format_RGB32);
  ring_.fill(background_);
  top_ = 0;
  columnsFor_.fill(std::nan(""));  // equal to no key: the columns are made again
}

void WaterfallImage::SetView(double left, double width) {
  left_ = left;
  width_ = width;
  columnsFor_.fill(std::nan(""));  // equal to no key: the columns are made again
}

void WaterfallImage::SetColors(const std::array<uint32_t, kWaterfallLevels>& colors, uint32_t background) {
  colors_ = colors;
  background_ = background;
}

size_t WaterfallImage::RowsShown() const {
  const int lines = std::max(1, qRound(rowHeight_ * ratio_));
  return static_cast<size_t>((ring_.height() + lines - 1) / lines);
}

void WaterfallImage::PrepareColumns(const WaterfallRow& row) {
  const std::array<double, 4> key = {row.FirstFrequency, row.FrequencyStep, left_, width_};
  if (key == columnsFor_ && firstPoint_.size() == static_cast<size_t>(ring_.width())) return;
  columnsFor_ = key;
  const int columns = ring_.width();
  const int points = static_cast<int>(row.Levels.size());
  firstPoint_.assign(static_cast<size_t>(columns), 0);
  lastPoint_.assign(static_cast<size_t>(columns), -1);
  if (!(row.FrequencyStep > 0) || !(width_ > 0)) return;
  // A column shows the points whose frequencies fall in it, at their highest, so that a
  // narrow carrier is never lost between columns; zoomed in, the nearest point.
  for (int c = 0; c < columns; ++c) {
    const double from = (left_ + width_ * c / columns - row.FirstFrequency) / row.FrequencyStep;
    const double to = (left_ + width_ * (c + 1) / columns - row.FirstFrequency) / row.FrequencyStep;
    double first = std::ceil(from), last = std::ceil(to) - 1;
    if (first > last) first = last = std::floor((from + to) / 2 + 0.5);
    first = std::max(first, 0.0);
    last = std::min(last, points - 1.0);
    if (first <= last) {
      firstPoint_[static_cast<size_t>(c)] = static_cast<int>(first);
      lastPoint_[static_cast<size_t>(c)] = static_cast<int>(last);
    }
  }
}

void WaterfallImage::DrawRowAt(const WaterfallRow& row, int firstLine) {
  PrepareColumns(row);
  const int lines = ring_.height();
  auto* pixels = reinterpret_cast<uint32_t*>(ring_.scanLine(Wrap(firstLine, lines)));
  const uint8_t* levels = row.Levels.data();
  for (size_t c = 0; c < firstPoint_.size(); ++c) {
    const int first = firstPoint_[c], last = lastPoint_[c];
    if (first > last) {
      pixels[c] = background_;
      continue;
    }
    uint8_t top = levels[first];
    for (int p = first + 1; p <= last; ++p) top = std::max(top, levels[p]);
    pixels[c] = colors_[top];
  }
  const size_t bytes = firstPoint_.size() * sizeof(uint32_t);
  for (int k = 1; k < std::max(1, qRound(rowHeight_ * ratio_)); ++k)
    std::memcpy(ring_.scanLine(Wrap(firstLine + k, lines)), pixels, bytes);
}

void WaterfallImage::Rebuild(const WaterfallRows& rows, size_t fromAge) {
  ring_.fill(background_);
  top_ = 0;
  const int lines = std::max(1, qRound(rowHeight_ * ratio_));
  const size_t shown = fromAge < rows.Count() ? std::min(RowsShown(), rows.Count() - fromAge) : 0;
  // The oldest shown first, so that a row cut by the bottom edge does not cover a newer one.
  for (size_t age = shown; age-- > 0;) DrawRowAt(rows.Newest(fromAge + age), static_cast<int>(age) * lines);
}

void WaterfallImage::AddRow(const WaterfallRow& row) {
  const int lines = std::max(1, qRound(rowHeight_ * ratio_));
  top_ = Wrap(top_ - lines, ring_.height());
  DrawRowAt(row, top_);
}

void WaterfallImage::Paint(QPainter& painter, const QPointF& topLeft) const {
  const double width = ring_.width() / ratio_;
  const int upper = ring_.height() - top_;  // lines from top_ to the ring's end, drawn first
  painter.drawImage(QRectF(topLeft.x(), topLeft.y(), width, upper / ratio_), ring_,
                    QRectF(0, top_, ring_.width(), upper));
  if (top_ > 0)
    painter.drawImage(QRectF(topLeft.x(), topLeft.y() + upper / ratio_, width, top_ / ratio_), ring_,
                      QRectF(0, 0, ring_.width(), top_));
}

QImage WaterfallImage::Picture() const {
  QImage picture(ring_.size(), QImage::Format_RGB32);
  for (int y = 0; y < ring_.height(); ++y)
    std::memcpy(picture.scanLine(y), ring_.constScanLine(Wrap(top_ + y, ring_.height())),
                static_cast<size_t>(ring_.bytesPerLine()));
  return picture;
}

void DrawWaterfallPanel(QPainter& painter, const QSizeF& size, const WaterfallScene& scene) {
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing, false);
  painter.fillRect(QRectF(QPointF(0, 0), size), ToColor(scene.Colors[kBackgroundColor]));
  painter.setFont(LegendFont());
  const LegendMetrics metrics = MeasureLegend(painter);
  const PixelRect area = DataArea(size.width(), size.height(), metrics);
  const QRect a(qRound(area.Left), qRound(area.Top), qRound(area.Width), qRound(area.Height));

  WaterfallImage image;
  const uint32_t background = ToColor(scene.Colors[kBackgroundColor]).rgb();
  image.SetColors(LevelColors(scene.Limits, scene.Map, scene.Colors), background);
  image.SetGeometry(a.size(), painter.device()->devicePixelRatioF(), scene.RowHeight);
  image.SetView(scene.View.ScaleLeft, scene.View.ScaleWidth);
  if (scene.Rows != nullptr) image.Rebuild(*scene.Rows);
  image.Paint(painter, a.topLeft());

  const QColor legend = ToColor(scene.Colors[kLegendColor]);
  QPen pen(legend, 0);
  pen.setCosmetic(true);
  painter.setPen(pen);
  painter.drawRect(QRectF(a));
  const QFontMetricsF fm(painter.font(), painter.device());

  // The frequency axis: the plot's lines as ticks, labelled where the plot labels them.
  const PixelRect exact{double(a.left()), double(a.top()), double(a.width()), double(a.height())};
  const PlotMapping map(scene.View, exact);
  const PlotGrid grid = ComputeGrid(scene.View, scene.FreqScale, scene.CheckedDB, exact, metrics);
  const double baseline = exact.Bottom() + 3 + fm.ascent();
  for (const GridLine& line : grid.Frequency) {
    const double x = map.ToPixelX(line.Position);
    painter.drawLine(QPointF(x, exact.Bottom() - kTickLength), QPointF(x, exact.Bottom()));
    const QString text = QString::fromStdString(line.Label);
    const double left = x - fm.horizontalAdvance(text) / 2;
    if (left >= exact.Left - kGap && left + fm.horizontalAdvance(text) <= size.width())
      painter.drawText(QPointF(left, baseline), text);
  }
  const QString frequencyText = "Frequency (MHz)";
  painter.drawText(QPointF(exact.Left + (exact.Width - fm.horizontalAdvance(frequencyText)) / 2,
                           baseline + metrics.LineHeight + 3),
                   frequencyText);

  // The time axis: round times between rows, with the day of the rows beside it.
  const size_t shown = scene.Rows == nullptr ? 0 : std::min(image.RowsShown(), scene.Rows->Count());
  const size_t minRows = static_cast<size_t>(std::ceil(2 * metrics.LineHeight / scene.RowHeight));
  if (shown > 0) {
    for (const TimeLabel& label : TimeLabels(*scene.Rows, shown, minRows)) {
      const double y = exact.Top + static_cast<double>(label.Row) * scene.RowHeight;
      if (y + fm.height() / 2 > exact.Bottom()) break;
      const QString text = QString::fromStdString(label.Text);
      painter.drawLine(QPointF(exact.Left, y), QPointF(exact.Left + kTickLength, y));
      painter.drawText(QPointF(exact.Left - kGap - fm.horizontalAdvance(text), y + fm.ascent() - fm.height() / 2), text);
    }
  }
  QString timeText = "Time (UTC)";
  if (shown > 0) {
    const std::string newest = UtcDay(scene.Rows->Newest(0).TimeMs), oldest = UtcDay(scene.Rows->Newest(shown - 1).TimeMs);
    const QString dated = QString::fromStdString("Time (UTC, " + (oldest == newest ? newest : oldest + " to " + newest) + ")");
    if (fm.horizontalAdvance(dated) <= exact.Height) timeText = dated;  // the days only where they fit
  }
  painter.translate(kGap + fm.ascent(), exact.Top + (exact.Height + fm.horizontalAdvance(timeText)) / 2);
  painter.rotate(-90);
  painter.drawText(QPointF(0, 0), timeText);
  painter.restore();
}

QImage RenderWaterfall(const WaterfallScene& scene, const QSize& size, double devicePixelRatio) {
  QImage image(std::max(1, qRound(size.width() * devicePixelRatio)), std::max(1, qRound(size.height() * devicePixelRatio)),
               QImage::Format_RGB32);
  image.setDevicePixelRatio(devicePixelRatio);
  QPainter painter(&image);
  DrawWaterfallPanel(painter, QSizeF(size), scene);
  return image;
}

}  // namespace tavrix::history
