#pragma once
#include <QImage>
#include <QSize>

#include "view/plot_layout.h"
#include "view/plot_scene.h"

class QPainter;

namespace tavrix {

// A stored palette colour as Qt's.
QColor ToColor(ColorRef color);

// The legend's font ("Courier New": fixed pitch, the same widths on every machine that
// maps it to a metric-compatible face) and what it measures on a given device.
QFont LegendFont();
LegendMetrics MeasureLegend(QPainter& painter);

// Draws the whole plot onto a surface of the given logical size: background, the
// visible traces in their fixed order, grid and legend, axis texts, the threshold line,
// the cursors and the selected point. The scene, and so the view window, is unchanged.
// Returns how the view window was mapped onto the surface (for the mouse).
PlotMapping DrawPlotScene(QPainter& painter, const QSizeF& size, const PlotScene& scene);

// The raw samples as points on a square -149..150 grid (16 units a line).
void DrawConstellation(QPainter& painter, const QSizeF& size, const PlotScene& scene);

// Draws the scene into `image` (resized when needed), logical size `size`, at the given
// device pixel ratio.
PlotMapping RenderPlot(const PlotScene& scene, const QSize& size, qreal devicePixelRatio, QImage& image);
QImage RenderPlot(const PlotScene& scene, const QSize& size, qreal devicePixelRatio);

}  // namespace tavrix
