#include "view/plot_renderer.h"

#include <QFontMetricsF>
#include <QPaintEngine>
#include <QPainter>
#include <QPointF>

#include <algorithm>
#include <cmath>
#include <tuple>
#include <vector>

namespace tavrix {

namespace {

constexpr int kRunLength = kPointCount / 2;  // the two halves are drawn as separate runs
constexpr double kFarPixels = 1e6;           // trace points further out are pulled in to here
constexpr int kKeyOpacity = 160;             // of 255: the traces under the key stay visible, dimmed
constexpr int kBandOpacity = 48;             // of 255: a shaded band tints the plot, the traces draw over it
constexpr const char* kLevelAxisText = "Amplitude (dB)";
constexpr const char* kFrequencyAxisText = "Frequency (MHz)";

// The traces in the fixed order they are drawn in, with their palette colours.
constexpr std::array<std::pair<int, PaletteField>, kTraceCount> kTraceOrder = {{
    {kCurrentTrace, kSpectrumColor},
    {kPreviousTrace, kPreviousColor},
    {kVideoAverageTrace, kVideoAverageColor},
    {kPeakHoldTrace, kPeakHoldColor},
}};

// The pen of one trace: one device pixel for the usual width of 1 at any pixel ratio.
QPen TracePen(ColorRef color, int lineWidth) {
  QPen pen(ToColor(color), lineWidth <= 1 ? 0 : lineWidth);
  pen.setCosmetic(lineWidth <= 1);
  pen.setCapStyle(Qt::FlatCap);
  pen.setJoinStyle(Qt::BevelJoin);
  return pen;
}

// Inverting pens: drawing the same line twice restores the picture. Surfaces without
// raster operations (SVG, printers) get the legend colour instead.
bool BeginInvert(QPainter& painter) {
  if (painter.paintEngine() == nullptr || !painter.paintEngine()->hasFeature(QPaintEngine::RasterOpModes))
    return false;
  painter.setCompositionMode(QPainter::RasterOp_NotDestination);
  return true;
}

double Pull(double v) { return std::clamp(v, -kFarPixels, kFarPixels); }

// One trace as polylines: two runs of 1024 points; within a run the pen lifts where a
// frequency is lower than the one two places before it.
void DrawTrace(QPainter& painter, const PlotMapping& map, const TraceSet& traces, int trace,
               std::vector<QPointF>& points) {
  for (int run = 0; run < 2; ++run) {
    points.clear();
    const int first = run * kRunLength;
    for (int i = first; i < first + kRunLength; ++i) {
      const float f = traces.FreqPoints[static_cast<size_t>(i)][trace];
      if (i - first >= 2 && f < traces.FreqPoints[static_cast<size_t>(i - 2)][trace]) {
        if (points.size() >= 2) painter.drawPolyline(points.data(), static_cast<int>(points.size()));
        points.clear();
      }
      const float level = traces.AmpPoints[static_cast<size_t>(i)][trace];
      points.emplace_back(Pull(map.ToPixelX(f)), Pull(map.ToPixelY(-static_cast<double>(level))));
    }
    if (points.size() >= 2) painter.drawPolyline(points.data(), static_cast<int>(points.size()));
  }
}

void DrawTraces(QPainter& painter, const PlotMapping& map, const PlotScene& scene) {
  if (scene.Traces == nullptr) return;
  static thread_local std::vector<QPointF> points;
  points.reserve(kRunLength);
  for (const auto& [trace, color] : kTraceOrder) {
    if (!scene.Traces->TraceVisible[static_cast<size_t>(trace)]) continue;
    painter.setPen(TracePen(scene.Colors[color], 1));
    DrawTrace(painter, map, *scene.Traces, trace, points);
  }
}

// The measured band in the legend's colour and the noise band in the threshold's, each
// named at its top where it is wide enough for the name.
void DrawShadedBands(QPainter& painter, const PlotMapping& map, const PlotScene& scene) {
  if (!scene.MeasuredBand && !scene.NoiseBand) return;
  const PixelRect& a = map.Area();
  const QFontMetricsF fm(painter.font(), painter.device());
  for (const auto& [band, color, name] : {std::tuple{&scene.MeasuredBand, kLegendColor, "Band"},
                                          std::tuple{&scene.NoiseBand, kThresholdColor, "Noise"}}) {
    if (!band->has_value()) continue;
    const double left = std::max(a.Left, Pull(map.ToPixelX((*band)->Left)));
    const double right = std::min(a.Right(), Pull(map.ToPixelX((*band)->Right)));
    if (right < left) continue;  // out of view
    QColor shade = ToColor(scene.Colors[color]);
    shade.setAlpha(kBandOpacity);
    painter.fillRect(QRectF(left, a.Top, std::max(1.0, right - left), a.Height), shade);
    if (right - left > fm.horizontalAdvance(name) + 6) {
      painter.setPen(ToColor(scene.Colors[color]));
      painter.drawText(QPointF(left + 3, a.Top + 3 + fm.ascent()), name);
    }
  }
}

void DrawGridAndLegend(QPainter& painter, const PlotMapping& map, const PlotGrid& grid, const PlotScene& scene,
                       const LegendMetrics& metrics, double surfaceWidth) {
  const PixelRect& a = map.Area();
  QPen gridPen(ToColor(scene.Colors[kGridLinesColor]), 0, Qt::DashDotDotLine);
  gridPen.setCosmetic(true);
  painter.setPen(gridPen);
  for (const GridLine& line : grid.Frequency) {
    const double x = map.ToPixelX(line.Position);
    painter.drawLine(QPointF(x, a.Top), QPointF(x, a.Bottom()));
  }
  for (const GridLine& line : grid.Level) {
    const double y = map.ToPixelY(line.Position);
    painter.drawLine(QPointF(a.Left, y), QPointF(a.Right(), y));
  }

  const QColor legend = ToColor(scene.Colors[kLegendColor]);
  QPen frame(legend, 0, Qt::SolidLine);
  frame.setCosmetic(true);
  painter.setPen(frame);
  painter.drawRect(QRectF(a.Left, a.Top, a.Width, a.Height));

  // Labels: levels right-aligned at the left edge, frequencies centred under their lines.
  const QFontMetricsF fm(painter.font(), painter.device());
  const double textDrop = fm.ascent() - fm.height() / 2;
  for (const GridLine& line : grid.Level) {
    if (line.Label.empty()) continue;  // a line between labelled ones
    const QString text = QString::fromStdString(line.Label);
    const double y = map.ToPixelY(line.Position);
    painter.drawText(QPointF(a.Left - 6 - fm.horizontalAdvance(text), y + textDrop), text);
  }
  const double labelBaseline = a.Bottom() + 3 + fm.ascent();
  for (const GridLine& line : grid.Frequency) {
    const QString text = QString::fromStdString(line.Label);
    const double width = fm.horizontalAdvance(text);
    const double x = map.ToPixelX(line.Position) - width / 2;
    // A label at the very edge would run into the level labels or off the surface.
    if (x < a.Left - 6 || x + width > surfaceWidth) continue;
    painter.drawText(QPointF(x, labelBaseline), text);
  }
  // Axis texts: the frequency axis below its labels, the level axis rotated beside them.
  const QString frequencyText = kFrequencyAxisText;
  painter.drawText(QPointF(a.Left + (a.Width - fm.horizontalAdvance(frequencyText)) / 2,
                           labelBaseline + metrics.LineHeight + 3),
                   frequencyText);
  const QString levelText = kLevelAxisText;
  painter.save();
  painter.translate(6 + fm.ascent(), a.Top + (a.Height + fm.horizontalAdvance(levelText)) / 2);
  painter.rotate(-90);
  painter.drawText(QPointF(0, 0), levelText);
  painter.restore();
}

// A key to the traces once more than one trace is shown: a stroke of each colour with
// the trace's name and, for the average and the hold, how many captures they hold. It
// sits in the top corner where it hides least (see ChooseKeyCorner), on a translucent
// ground, so what runs under it still shows.
void DrawTraceKey(QPainter& painter, const PlotMapping& map, const PlotScene& scene, const LegendMetrics& metrics) {
  if (scene.Traces == nullptr) return;
  const TraceSet& t = *scene.Traces;
  std::vector<std::pair<QString, ColorRef>> lines;
  for (const auto& [trace, color] : kTraceOrder) {
    if (!t.TraceVisible[static_cast<size_t>(trace)]) continue;
    QString name = QString::fromStdString(TraceName(static_cast<int16_t>(trace)));
    if (trace == kVideoAverageTrace) name += QString(" (%1)").arg(t.VideoAverageCount);
    if (trace == kPeakHoldTrace) name += QString(" (%1)").arg(t.PeakHoldCount);
    lines.emplace_back(name, scene.Colors[color]);
  }
  if (lines.size() < 2) return;
  const QFontMetricsF fm(painter.font(), painter.device());
  double textWidth = 0;
  for (const auto& line : lines) textWidth = std::max(textWidth, fm.horizontalAdvance(line.first));
  const double stroke = 2 * metrics.CharWidth, pad = 6, row = metrics.LineHeight;
  const double width = pad + stroke + pad + textWidth + pad;
  const double height = pad + row * static_cast<double>(lines.size()) + pad / 2;
  const KeyCorner corner = ChooseKeyCorner(map, t, width, height, scene.SelectedTrace, scene.SelectedPoint);
  const PixelRect at = KeyBox(map.Area(), width, height, corner);
  const QRectF box(at.Left, at.Top, at.Width, at.Height);
  painter.save();
  QColor ground = ToColor(scene.Colors[kBackgroundColor]);
  ground.setAlpha(kKeyOpacity);
  painter.fillRect(box, ground);
  QPen border(ToColor(scene.Colors[kGridLinesColor]), 0);
  border.setCosmetic(true);
  painter.setPen(border);
  painter.setBrush(Qt::NoBrush);
  painter.drawRect(box);
  for (size_t i = 0; i < lines.size(); ++i) {
    const double y = box.top() + pad + row * static_cast<double>(i) + row / 2;
    QPen pen = TracePen(lines[i].second, 2);
    painter.setPen(pen);
    painter.drawLine(QPointF(box.left() + pad, y), QPointF(box.left() + pad + stroke, y));
    painter.setPen(ToColor(scene.Colors[kLegendColor]));
    painter.drawText(QPointF(box.left() + pad + stroke + pad, y + fm.ascent() - fm.height() / 2), lines[i].first);
  }
  painter.restore();
}

void DrawThreshold(QPainter& painter, const PlotMapping& map, const PlotScene& scene) {
  const double y = map.ToPixelY(-static_cast<double>(scene.Threshold));
  const PixelRect& a = map.Area();
  if (!(y >= a.Top && y <= a.Bottom())) return;
  QPen pen(ToColor(scene.Colors[kThresholdColor]), 0, Qt::SolidLine);
  pen.setCosmetic(true);
  painter.setPen(pen);
  painter.drawLine(QPointF(a.Left, y), QPointF(a.Right(), y));
}

void DrawCursors(QPainter& painter, const PlotMapping& map, const PlotScene& scene) {
  if (!scene.CursorsShown) return;
  const PixelRect& a = map.Area();
  painter.save();
  QPen pen(ToColor(scene.Colors[kLegendColor]), 0, Qt::DotLine);
  pen.setCosmetic(true);
  painter.setPen(pen);
  BeginInvert(painter);
  for (const CursorMark& cursor : scene.Cursors) {
    if (!cursor.Placed()) continue;
    const double x = map.ToPixelX(cursor.X), y = map.ToPixelY(cursor.Y);
    if (x >= a.Left && x <= a.Right()) painter.drawLine(QPointF(x, a.Top), QPointF(x, a.Bottom()));
    if (y >= a.Top && y <= a.Bottom()) painter.drawLine(QPointF(a.Left, y), QPointF(a.Right(), y));
  }
  painter.restore();
}

void DrawSelection(QPainter& painter, const PlotMapping& map, const PlotScene& scene) {
  const int p = scene.SelectedPoint, t = scene.SelectedTrace;
  if (scene.Traces == nullptr || p < 1 || p > kPointCount || t < 0 || t >= kTraceCount) return;
  const size_t i = static_cast<size_t>(p - 1);
  const QPointF at(map.ToPixelX(scene.Traces->FreqPoints[i][t]),
                   map.ToPixelY(-static_cast<double>(scene.Traces->AmpPoints[i][t])));
  const PixelRect& a = map.Area();
  if (at.x() < a.Left || at.x() > a.Right() || at.y() < a.Top || at.y() > a.Bottom()) return;
  painter.save();
  QPen pen(ToColor(scene.Colors[kLegendColor]), 0);
  pen.setCosmetic(true);
  painter.setPen(pen);
  painter.setBrush(Qt::NoBrush);
  BeginInvert(painter);
  painter.drawEllipse(at, kSelectionRadius, kSelectionRadius);
  painter.restore();
}

}  // namespace

QColor ToColor(ColorRef c) { return QColor(RedOf(c), GreenOf(c), BlueOf(c)); }

QFont LegendFont() {
  QFont font("Courier New");
  font.setStyleHint(QFont::TypeWriter);
  font.setPixelSize(12);
  return font;
}

LegendMetrics MeasureLegend(QPainter& painter) {
  const QFontMetricsF fm(painter.font(), painter.device());
  LegendMetrics m;
  // The widest level label decides the room on the left.
  m.LevelLabelWidth = std::max(fm.horizontalAdvance("-125.00dB"), fm.horizontalAdvance("-90.00dB"));
  m.CharWidth = fm.horizontalAdvance('0');
  m.LineHeight = fm.height();
  return m;
}

PlotMapping DrawPlotScene(QPainter& painter, const QSizeF& size, const PlotScene& scene) {
  if (scene.Constellation) {
    DrawConstellation(painter, size, scene);
    return PlotMapping(scene.View, PixelRect{0, 0, size.width(), size.height()});
  }
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing, false);
  painter.fillRect(QRectF(QPointF(0, 0), size), ToColor(scene.Colors[kBackgroundColor]));
  painter.setFont(LegendFont());
  const LegendMetrics metrics = MeasureLegend(painter);
  const PlotMapping map(scene.View, DataArea(size.width(), size.height(), metrics));
  const PixelRect& a = map.Area();

  painter.setClipRect(QRectF(a.Left, a.Top, a.Width + 1, a.Height + 1));
  DrawShadedBands(painter, map, scene);
  DrawTraces(painter, map, scene);
  painter.setClipping(false);

  painter.setPen(ToColor(scene.Colors[kLegendColor]));
  const PlotGrid grid = ComputeGrid(scene.View, scene.FreqScale, scene.CheckedDB, a, metrics);
  DrawGridAndLegend(painter, map, grid, scene, metrics, size.width());
  DrawTraceKey(painter, map, scene, metrics);
  if (scene.Traces != nullptr && !scene.Traces->DataValid) {
    const QString note = "No capture received yet";
    painter.drawText(QPointF(a.Left + (a.Width - painter.fontMetrics().horizontalAdvance(note)) / 2,
                             a.Top + a.Height / 3),
                     note);
  }
  DrawThreshold(painter, map, scene);
  DrawCursors(painter, map, scene);
  DrawSelection(painter, map, scene);
  painter.restore();
  return map;
}

void DrawConstellation(QPainter& painter, const QSizeF& size, const PlotScene& scene) {
  painter.save();
  painter.fillRect(QRectF(QPointF(0, 0), size), ToColor(scene.Colors[kBackgroundColor]));
  painter.setFont(LegendFont());
  const LegendMetrics metrics = MeasureLegend(painter);
  // A square user scale, -149 at the left and top edges, 299 units across.
  const double side = std::max(1.0, std::min(size.width(), size.height()) - 2 * metrics.LineHeight - 12);
  const QRectF square((size.width() - side) / 2, (size.height() - side) / 2, side, side);
  const double unit = side / 299.0;
  auto at = [&](double x, double y) { return QPointF(square.left() + (x + 149) * unit, square.top() + (y + 149) * unit); };

  QPen grid(ToColor(scene.Colors[kGridLinesColor]), 0);
  grid.setCosmetic(true);
  painter.setPen(grid);
  for (int offset = 0; offset < 150; offset += 16) {
    for (int sign : {1, -1}) {
      painter.drawLine(at(sign * offset, -149), at(sign * offset, 149));
      painter.drawLine(at(-149, sign * offset), at(149, sign * offset));
    }
  }
  painter.setPen(ToColor(scene.Colors[kLegendColor]));
  painter.drawText(QPointF(square.right() + 4, square.center().y() + metrics.LineHeight / 3), "I");
  painter.drawText(QPointF(square.center().x() - metrics.CharWidth / 2, square.bottom() + metrics.LineHeight), "Q");

  if (scene.ConstellationI != nullptr && scene.ConstellationQ != nullptr) {
    // Radius 0.25 units, but never less than a dot one can see.
    QPen dot(ToColor(scene.Colors[kSpectrumColor]), std::max(0.5 * unit, 2.0), Qt::SolidLine, Qt::RoundCap);
    painter.setPen(dot);
    std::vector<QPointF> points;
    points.reserve(kSampleCount);
    for (int k = 1; k <= kSampleCount; ++k) {
      if (k == 2049) continue;  // the sample the display has always left out
      const size_t i = static_cast<size_t>(k - 1);
      points.push_back(at((*scene.ConstellationI)[i], (*scene.ConstellationQ)[i]));
    }
    painter.drawPoints(points.data(), static_cast<int>(points.size()));
  }
  painter.restore();
}

PlotMapping RenderPlot(const PlotScene& scene, const QSize& size, qreal devicePixelRatio, QImage& image) {
  const QSize pixels(std::max(1, qRound(size.width() * devicePixelRatio)),
                     std::max(1, qRound(size.height() * devicePixelRatio)));
  if (image.size() != pixels || image.format() != QImage::Format_RGB32)
    image = QImage(pixels, QImage::Format_RGB32);
  image.setDevicePixelRatio(devicePixelRatio);
  QPainter painter(&image);
  return DrawPlotScene(painter, QSizeF(size), scene);
}

QImage RenderPlot(const PlotScene& scene, const QSize& size, qreal devicePixelRatio) {
  QImage image;
  RenderPlot(scene, size, devicePixelRatio, image);
  return image;
}

}  // namespace tavrix
