// The main window's palettes and options, and the view as a picture: the palette in use,
// the colour of each field of either palette, the three options, and the plot copied to
// the clipboard, saved as PNG or SVG, and printed as a report page.
#include <QAction>
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

void frmMain::ConnectOptionCommands() {
  for (int index = 0; index < 2; ++index)
    connect(MenuEntry(QString("mnuOptionsPalette%1").arg(index)), &QAction::triggered, this,
            [this, index] { mnuOptionsPalette_Click(index); });
  for (const ColorEntryRow& c : kColorEntries)
    for (int palette = 0; palette < 2; ++palette) {
      const int field = c.Field;
      connect(MenuEntry(QString(c.Name) + QString::number(palette)), &QAction::triggered, this,
              [this, palette, field] { PickColor(palette, field); });
    }
  connect(MenuEntry("mnuViewCopy"), &QAction::triggered, this, &frmMain::mnuViewCopy_Click);
  connect(MenuEntry("mnuFileSaveView"), &QAction::triggered, this, &frmMain::mnuFileSaveView_Click);
  connect(MenuEntry("mnuFilePrint"), &QAction::triggered, this, &frmMain::mnuFilePrint_Click);
  connect(MenuEntry("mnuHelpAbout"), &QAction::triggered, this, &frmMain::mnuHelpAbout_Click);
  connect(MenuEntry("mnuCommAdd"), &QAction::triggered, this, &frmMain::mnuCommAdd_Click);
  connect(MenuEntry("mnuCommManage"), &QAction::triggered, this, &frmMain::mnuCommManage_Click);
  for (int i = 0; i < kRecentModems; ++i)
    connect(MenuEntry(QString("mnuCommSel%1").arg(i)), &QAction::triggered, this, [this, i] { mnuCommSel_Click(i); });
  // The window option changes the next capture's spectrum; snap and panel act on the
  // next press. Each only inverts its own check mark.
}

// The colour dialog: the chosen colour, or nothing when cancelled.
std::optional<QColor> ShowColorDialog(QWidget* parent, const QString& title, const QColor& initial) {
  const QColor chosen = QColorDialog::getColor(initial, parent, title);
  if (!chosen.isValid()) return std::nullopt;  // cancelled
  return chosen;
}

void frmMain::mnuOptionsPalette_Click(int index) {
  activePalette_ = index == kPrintingPalette ? kPrintingPalette : kViewingPalette;
  MenuEntry("mnuOptionsPalette0")->setChecked(activePalette_ == kViewingPalette);
  MenuEntry("mnuOptionsPalette1")->setChecked(activePalette_ == kPrintingPalette);
  if (loaded_) UpdateView();
}

void frmMain::PickColor(int palette, int field) {
  if (palette < 0 || palette > 1 || field < 0 || field >= kPaletteColors) return;
  const ColorEntryRow* entry = nullptr;
  for (const ColorEntryRow& c : kColorEntries)
    if (c.Field == field) entry = &c;
  if (entry == nullptr) return;  // position 4 has no menu entry
  ColorRef& stored = palettes_[static_cast<size_t>(palette)][static_cast<size_t>(field)];
  const QString title = entry->DialogTitle;
  const std::optional<QColor> chosen =
      options_.ChooseColor(title, ToColor(stored));
  if (!chosen) return;  // cancelled: the colour stays
  stored = MakeColorRef(chosen->red(), chosen->green(), chosen->blue());
  // Only the palette in use is on the screen; the pointer and a pending placement stay.
  if (palette == activePalette_) UpdateView();
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
  const std::optional<QString> file =
      options_.ChooseSaveFile(setup);
  if (!file || file->isEmpty()) return;
  QString path = *file;
  if (QFileInfo(path).suffix().isEmpty()) path += ".png";
  if (QFileInfo(path).absoluteDir().exists()) lastPath_ = QFileInfo(path).absolutePath();
  PlotScene scene = Scene();
  scene.Colors = palettes_[kPrintingPalette];
  QString error;
  if (!SaveViewFile(scene, picSpectrum_->size(), picSpectrum_->devicePixelRatioF(), path, &error))
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
                 << "Minimum Peak Threshold:  " + LevelText(navigation_.Threshold)
                 << QString("Window Spectrum Trace:  %1").arg(MenuEntry("mnuOptionsWindow")->isChecked() ? "on" : "off");
  if (selection_.SelectedPoint != 0) {
    const SelectionReadout r = ReadSelection(traces, selection_, capture.FreqScale, capture.FreqFormat);
    facts.Readings << Text("Selected:  " + r.Trace + ", point " + r.Point + ", " + r.Frequency + ", " + r.Amplitude);
  }
  if (cursorDisplay_) {
    for (size_t c = 0; c < cursors_.size(); ++c) {
      if (!cursors_[c].Placed()) continue;
      facts.Readings << QString("Cursor %1:  %2, %3")
                            .arg(c + 1)
                            .arg(Text(FormatPicture(cursors_[c].X / capture.FreqScale, capture.FreqFormat)),
                                 Text(FormatPicture(-static_cast<double>(cursors_[c].Y), "0.000dB")));
    }
    if (cursors_[0].Placed() && cursors_[1].Placed())
      facts.Readings << QString("Delta:  %1, %2")
                            .arg(Text(FormatPicture((static_cast<double>(cursors_[1].X) - cursors_[0].X) / capture.FreqScale,
                                                    capture.FreqFormat)),
                                 Text(FormatPicture(static_cast<double>(cursors_[0].Y) - cursors_[1].Y, "0.000dB")));
  }
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
  scene.Colors = palettes_[kPrintingPalette];
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
