// The main window's palettes and the view as a picture: the palette in use, the colour of
// each field of either palette, and the plot copied to the clipboard, saved as PNG or SVG,
// and printed as a report page.
#include <QApplication>
#include <QClipboard>
#include <QColorDialog>
#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QMimeData>
#include <QPainter>
#include <QPrintPreviewDialog>
#include <QPrinter>

#include "app/about_box.h"
#include "app/command_table.h"
#include "app/main_window.h"
#include "app/measure_desk.h"
#include "app/window_text.h"
#include "app/plot_widget.h"
#include "app/save_dialog.h"
#include "app/status_panels.h"
#include "app/version.h"
#include "common/picture_format.h"
#include "view/selection_readout.h"
#include "view/window_layout.h"

namespace tavrix {

namespace {

// Printed pages are laid out at screen resolution: the drawing routine's one-unit lines
// then print a clear quarter of a millimetre wide, and text and traces stay vectors.
constexpr int kPrintDotsPerInch = 96;

}  // namespace

// The colour dialog: the chosen colour, or nothing when cancelled.
std::optional<QColor> ShowColorDialog(QWidget* parent, const QString& title, const QColor& initial) {
  const QColor chosen = QColorDialog::getColor(initial, parent, title);
  if (!chosen.isValid()) return std::nullopt;  // cancelled
  return chosen;
}

void frmMain::mnuOptionsPalette_Click(int index) {
  display_.ActivePalette = index == kPrintingPalette ? kPrintingPalette : kViewingPalette;
  if (loaded_) UpdateView();
}

void frmMain::PickColor(int palette, int field) {
  if (palette < 0 || palette > 1 || field < 0 || field >= kPaletteColors) return;
  const ColorEntryRow* entry = nullptr;
  for (const ColorEntryRow& c : kColorEntries)
    if (c.Field == field) entry = &c;
  if (entry == nullptr) return;  // position 4 has no menu entry
  ColorRef& stored = display_.Palettes[static_cast<size_t>(palette)][static_cast<size_t>(field)];
  const std::optional<QColor> chosen = options_.ChooseColor(entry->DialogTitle, ToColor(stored));
  if (!chosen) return;  // cancelled: the colour stays
  stored = MakeColorRef(chosen->red(), chosen->green(), chosen->blue());
  // Only the palette in use is on the screen; the pointer and a pending placement stay.
  if (palette == display_.ActivePalette) UpdateView();
}

void frmMain::mnuViewCopy_Click() {
  // The clipboard then holds the plot's picture alone.
  auto* data = new QMimeData;
  data->setImageData(picSpectrum_->Frame());
  QClipboard* clipboard = QApplication::clipboard();
  clipboard->clear();
  clipboard->setMimeData(data);
}

void frmMain::mnuFileSaveView_Click() {
  const SaveDialogSetup setup{"Save View As", lastPath_, "spectrum.png", "png",
                              {"PNG Image (*.png)", "SVG Drawing (*.svg)"}, true};
  const std::optional<QString> file = options_.ChooseSaveFile(setup);
  if (!file || file->isEmpty()) return;
  QString path = *file;
  if (QFileInfo(path).suffix().isEmpty()) path += ".png";
  if (QFileInfo(path).absoluteDir().exists()) lastPath_ = QFileInfo(path).absolutePath();
  PlotScene scene = Scene();
  scene.Colors = display_.Palettes[kPrintingPalette];
  QString error;
  if (!SaveViewFile(scene, picSpectrum_->size(), picSpectrum_->devicePixelRatioF(), path, &error, desk_->FigureTexts()))
    notices_->Ask(error.toStdString(), kProgramTitle, MessageButtons::Ok, MessageIcon::Critical);
}

PageFacts frmMain::PrintedPageFacts() const {
  PageFacts facts;
  if (const std::optional<ModemInfo> modem = CurrentModem())
    facts.UnitLine = Text("Unit: " + modem->Name + "  (" + modem->Address + ")");
  facts.TakenAt = QDateTime::currentDateTime().toString("yyyy-MM-dd HH:mm:ss");
  facts.Footer = QString("%1 - Version %2").arg(kProgramTitle, kVersion);
  const CaptureFields& capture = live_.State.Capture;
  const TraceSet& traces = live_.State.Traces;
  // The page gives the capture's own figures in MHz, whatever the status bar's units.
  if (traces.DataValid) {
    const double scale = capture.FreqScale;
    facts.Settings << "Center Frequency:  " + Text(FormatPicture(capture.CenterFreq, "##0.000000")) + " MHz"
                   << "Sample Rate:  " + Text(FormatPicture(capture.SampleRate, "##0.000000")) + " MHz"
                   << "Band:  " + Text(FormatPicture(capture.FreqLow / scale, "##0.000000")) + " to " +
                          Text(FormatPicture(capture.FreqHigh / scale, "##0.000000")) + " MHz";
  } else {
    facts.Settings << "No capture received yet";
  }
  QStringList shown;
  for (const TraceSwitch& s : kTraceSwitches) {
    if (!traces.TraceVisible[static_cast<size_t>(s.Trace)]) continue;
    QString name = Text(TraceName(static_cast<int16_t>(s.Trace)));
    if (s.Trace == kVideoAverageTrace) name += QString(" (%1)").arg(traces.VideoAverageCount);
    if (s.Trace == kPeakHoldTrace) name += QString(" (%1)").arg(traces.PeakHoldCount);
    shown << name;
  }
  facts.Settings << "Traces:  " + (shown.isEmpty() ? QString("none") : shown.join(", "))
                 << "Minimum Peak Threshold:  " + LevelText(display_.Navigation.Threshold)
                 << QString("Window Spectrum Trace:  %1").arg(display_.WindowSpectrum ? "on" : "off");
  if (selection_.SelectedPoint != 0) {
    const SelectionReadout r = ReadSelection(traces, selection_, capture.FreqScale, capture.FreqFormat);
    facts.Readings << Text("Selected:  " + r.Trace + ", point " + r.Point + ", " + r.Frequency + ", " + r.Amplitude);
  }
  // The cursor read-outs as the panel below the plot shows them.
  const std::array<std::string, 6> cursors = CursorReadouts(display_, capture.FreqScale, capture.FreqFormat);
  for (size_t c = 0; c < 3; ++c) {
    if (cursors[2 * c].empty()) continue;
    const QString name = c < 2 ? QString("Cursor %1").arg(c + 1) : QString("Delta");
    facts.Readings << name + ":  " + Text(cursors[2 * c]) + ", " + Text(cursors[2 * c + 1]);
  }
  facts.Readings << desk_->FigureTexts();  // while the measurement panel is shown
  return facts;
}

void frmMain::PrintView(QPrinter& printer) {
  printer.setResolution(kPrintDotsPerInch);
  QPainter painter;
  if (!painter.begin(&printer)) {
    notices_->Ask("The page could not be printed: the printer could not be started.", kProgramTitle,
                  MessageButtons::Ok, MessageIcon::Critical);
    return;
  }
  PlotScene scene = Scene();
  scene.Colors = display_.Palettes[kPrintingPalette];
  const QRectF page = printer.pageLayout().paintRectPixels(printer.resolution()).translated(
      -printer.pageLayout().paintRectPixels(printer.resolution()).topLeft());
  DrawPrintedPage(painter, page, scene, PrintedPageFacts());
  painter.end();
}

void frmMain::mnuFilePrint_Click() {
  QPrinter printer(QPrinter::HighResolution);
  printer.setPageOrientation(QPageLayout::Landscape);
  printer.setDocName(QString("%1 - %2").arg(kProgramTitle, QDateTime::currentDateTime().toString("yyyy-MM-dd HH:mm")));
  QPrintPreviewDialog preview(&printer, this);
  preview.setWindowTitle("Print Preview");
  connect(&preview, &QPrintPreviewDialog::paintRequested, this, [this](QPrinter* p) { PrintView(*p); });
  preview.exec();
}

void frmMain::mnuHelpAbout_Click() {
  frmAbout about(this);
  about.exec();
}

}  // namespace tavrix
