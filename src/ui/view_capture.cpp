#include "ui/view_capture.h"

#include <QBuffer>
#include <QFileInfo>
#include <QFontMetricsF>
#include <QPainter>
#include <QSvgGenerator>

#include <algorithm>
#include <cmath>

#include "common/file_io.h"
#include "view/plot_renderer.h"
#include "view/window_layout.h"

namespace tavrix {

namespace {

QString Failed(const QString& fileName, const QString& reason) {
  return QString("The view could not be saved to %1: %2").arg(fileName, reason);
}

// The notes under a saved plot: in the legend's face, two columns once there are more than three.
constexpr double kNotesPad = 6;
int NotesRows(const QStringList& notes) {
  return static_cast<int>(notes.size() > 3 ? (notes.size() + 1) / 2 : notes.size());
}
double NotesHeight(const QStringList& notes) {
  return notes.isEmpty() ? 0 : NotesRows(notes) * QFontMetricsF(LegendFont()).lineSpacing() + 2 * kNotesPad;
}

// The plot at `size`, and the strip of notes under it.
void DrawView(QPainter& painter, const QSize& size, const PlotScene& scene, const QStringList& notes) {
  DrawPlotScene(painter, QSizeF(size), scene);
  if (notes.isEmpty()) return;
  const QRectF strip(0, size.height(), size.width(), NotesHeight(notes));
  painter.fillRect(strip, ToColor(scene.Colors[kBackgroundColor]));
  painter.setPen(QPen(ToColor(scene.Colors[kGridLinesColor]), 0));
  painter.drawLine(strip.topLeft(), strip.topRight());
  painter.setFont(LegendFont());
  painter.setPen(ToColor(scene.Colors[kLegendColor]));
  const QFontMetricsF fm(painter.font(), painter.device());
  const int rows = NotesRows(notes);
  for (qsizetype i = 0; i < notes.size(); ++i) {
    const double x = kNotesPad + (i >= rows ? strip.width() / 2 : 0);
    painter.drawText(QPointF(x, strip.top() + kNotesPad + fm.ascent() + static_cast<double>(i % rows) * fm.lineSpacing()),
                     notes[i]);
  }
}

}  // namespace

ViewFileKind ViewFileKindOf(const QString& fileName) {
  return QFileInfo(fileName).suffix().compare("svg", Qt::CaseInsensitive) == 0 ? ViewFileKind::Svg : ViewFileKind::Png;
}

bool SaveViewFile(const PlotScene& scene, const QSize& size, qreal devicePixelRatio, const QString& fileName,
                  QString* error, const QStringList& notes) {
  // The picture is made in memory and written by the one file writer, which replaces a
  // file only once it is whole and reports a failed write in the system's words.
  QByteArray bytes;
  QBuffer buffer(&bytes);
  buffer.open(QIODevice::WriteOnly);
  const QSize whole(size.width(), size.height() + static_cast<int>(std::ceil(NotesHeight(notes))));
  if (ViewFileKindOf(fileName) == ViewFileKind::Png) {
    QImage image(QSize(std::max(1, qRound(whole.width() * devicePixelRatio)),
                       std::max(1, qRound(whole.height() * devicePixelRatio))),
                 QImage::Format_RGB32);
    image.setDevicePixelRatio(devicePixelRatio);
    QPainter painter(&image);
    DrawView(painter, size, scene, notes);
    painter.end();
    if (!image.save(&buffer, "PNG")) {
      if (error != nullptr) *error = Failed(fileName, "the picture could not be written.");
      return false;
    }
  } else {
    QSvgGenerator svg;
    svg.setOutputDevice(&buffer);
    svg.setSize(whole);
    svg.setViewBox(QRect(QPoint(0, 0), whole));
    svg.setTitle(kProgramTitle);
    svg.setDescription("Spectrum view");
    QPainter painter;
    if (!painter.begin(&svg)) {
      if (error != nullptr) *error = Failed(fileName, "the drawing could not be started.");
      return false;
    }
    DrawView(painter, size, scene, notes);
    painter.end();
  }
  const std::string reason = WriteFileAtomically(fileName.toStdString(), std::string_view(bytes.constData(), bytes.size()));
  if (reason.empty()) return true;
  if (error != nullptr) *error = Failed(fileName, QString::fromStdString(reason) + ".");
  return false;
}

void DrawPrintedPage(QPainter& painter, const QRectF& page, const PlotScene& scene, const PageFacts& facts) {
  painter.save();
  const QColor ink = ToColor(scene.Colors[kLegendColor]);
  QFont title = painter.font();
  title.setPointSizeF(15);
  title.setBold(true);
  QFont body = painter.font();
  body.setPointSizeF(9.5);
  QFont small = body;
  small.setPointSizeF(8);

  // Title block: the program on the left, the time on the right, the unit below.
  painter.setPen(ink);
  painter.setFont(title);
  const QFontMetricsF titleMetrics(title, painter.device());
  double y = page.top() + titleMetrics.ascent();
  painter.drawText(QPointF(page.left(), y), kProgramTitle);
  painter.setFont(body);
  const QFontMetricsF bodyMetrics(body, painter.device());
  painter.drawText(QPointF(page.right() - bodyMetrics.horizontalAdvance(facts.TakenAt), y), facts.TakenAt);
  y += titleMetrics.descent() + bodyMetrics.height() * 0.3;
  if (!facts.UnitLine.isEmpty()) {
    y += bodyMetrics.ascent();
    painter.drawText(QPointF(page.left(), y), facts.UnitLine);
    y += bodyMetrics.descent();
  }
  y += bodyMetrics.height() * 0.4;
  QPen rule(ink, 1.5);
  painter.setPen(rule);
  painter.drawLine(QPointF(page.left(), y), QPointF(page.right(), y));
  y += bodyMetrics.height() * 0.6;

  // The tables under the plot: settings on the left, readings on the right.
  const qsizetype rows = std::max(facts.Settings.size(), facts.Readings.size());
  const QFontMetricsF smallMetrics(small, painter.device());
  const double footerHeight = smallMetrics.height() * 2;
  const double tableHeight = static_cast<double>(rows) * bodyMetrics.lineSpacing() + bodyMetrics.height();
  const double plotHeight = std::max(page.bottom() - footerHeight - tableHeight - y, page.height() * 0.3);

  // The plot itself, framed, at the page's own resolution.
  const QRectF plot(page.left(), y, page.width(), plotHeight);
  painter.save();
  painter.translate(plot.topLeft());
  painter.setClipRect(QRectF(QPointF(0, 0), plot.size()));
  DrawPlotScene(painter, plot.size(), scene);
  painter.restore();
  painter.setPen(QPen(ToColor(scene.Colors[kGridLinesColor]), 1));
  painter.setBrush(Qt::NoBrush);
  painter.drawRect(plot);
  y = plot.bottom() + bodyMetrics.height();

  painter.setFont(body);
  painter.setPen(ink);
  const double column = page.width() / 2;
  for (qsizetype i = 0; i < rows; ++i) {
    const double baseline = y + bodyMetrics.ascent() + static_cast<double>(i) * bodyMetrics.lineSpacing();
    if (i < facts.Settings.size()) painter.drawText(QPointF(page.left(), baseline), facts.Settings[i]);
    if (i < facts.Readings.size()) painter.drawText(QPointF(page.left() + column, baseline), facts.Readings[i]);
  }

  // The footer: a thin rule and the program's name and version.
  painter.setFont(small);
  const double footer = page.bottom() - smallMetrics.descent();
  painter.setPen(QPen(ToColor(scene.Colors[kGridLinesColor]), 1));
  painter.drawLine(QPointF(page.left(), footer - smallMetrics.height()), QPointF(page.right(), footer - smallMetrics.height()));
  painter.setPen(ink);
  painter.drawText(QPointF(page.left(), footer), facts.Footer);
  painter.restore();
}

}  // namespace tavrix
