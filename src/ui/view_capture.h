#pragma once
#include <QImage>
#include <QRectF>
#include <QSize>
#include <QString>
#include <QStringList>

#include "view/plot_scene.h"

class QPainter;

namespace tavrix {

// The file kinds "Save View As..." writes, told apart by the name's suffix.
enum class ViewFileKind { Png, Svg };
ViewFileKind ViewFileKindOf(const QString& fileName);

// Writes the plot as `scene` draws it at `size` logical pixels: a PNG at the given pixel
// ratio, or an SVG drawing (the same routine onto Qt's SVG generator). With `notes` (the
// measurement's figures) the picture grows by a strip under the plot that holds them. The
// file is replaced only once it is complete, so a failure leaves an existing file as it
// was. On failure, false and one sentence in `error`.
bool SaveViewFile(const PlotScene& scene, const QSize& size, qreal devicePixelRatio, const QString& fileName,
                  QString* error, const QStringList& notes = {});

// What a printed page says about the capture beside the plot.
struct PageFacts {
  QString UnitLine;      // "Unit: NAME (ADDRESS)", or empty
  QString TakenAt;       // the date and time of printing
  QStringList Settings;  // "Center Frequency  70.00000MHz", ... one per line
  QStringList Readings;  // the selected point and the cursors, one per line
  QString Footer;        // the program and its version
};

// One page of a report: a title block with the unit and time, the plot in the printing
// palette across the page, and the settings and readings under it. `page` is the
// printable area in the painter's units; lines are one unit wide, so a painter at
// screen resolution (96 to the inch) prints a clear quarter-millimetre line.
void DrawPrintedPage(QPainter& painter, const QRectF& page, const PlotScene& scene, const PageFacts& facts);

}  // namespace tavrix
