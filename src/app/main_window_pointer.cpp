// The main window and the plot's pointer: point navigation and its buttons, the pointer
// modes with their buttons, menu checks and images, the mouse on the plot, the left press
// in Select mode and the floating coordinate read-out.
#include <QAction>
#include <QComboBox>
#include <QCursor>
#include <QIcon>
#include <QLabel>
#include <QMenu>
#include <QMouseEvent>
#include <QTimer>

#include "app/command_table.h"
#include "app/entry_box.h"
#include "app/main_window.h"
#include "app/measure_desk.h"
#include "app/window_text.h"
#include "app/plot_widget.h"
#include "app/pointer_images.h"
#include "common/picture_format.h"
#include "view/selection_readout.h"

namespace tavrix {

namespace {

// The pointer of each image (made when the mode changes, never kept past the
// application); hot spots are given on a 32-unit grid.
QCursor PointerFor(PointerImage image) {
  if (image == PointerImage::Cross) return Qt::CrossCursor;
  const PointerImageRow* look = &kPointerZoomWindow;
  switch (image) {
    case PointerImage::ZoomIn: look = &kPointerZoomIn; break;
    case PointerImage::ZoomOut: look = &kPointerZoomOut; break;
    case PointerImage::Pan: look = &kPointerPan; break;
    case PointerImage::PlaceCursor1: look = &kPointerCursor1; break;
    case PointerImage::PlaceCursor2: look = &kPointerCursor2; break;
    case PointerImage::PlaceThreshold: look = &kPointerThreshold; break;
    case PointerImage::NoiseBand: look = &kPointerNoiseBand; break;
    default: break;
  }
  constexpr int kSide = 32;
  return QCursor(QIcon(look->Resource).pixmap(QSize(kSide, kSide)), look->HotX, look->HotY);
}

constexpr int kCoordinateMs = 4000;  // how long the floating read-out stays after a press

}  // namespace

void frmMain::ConnectPlotMouse() {
  timerCoord_ = new QTimer(this);
  timerCoord_->setObjectName("timerCoord");
  timerCoord_->setSingleShot(true);
  timerCoord_->setInterval(kCoordinateMs);
  connect(timerCoord_, &QTimer::timeout, picSpectrum_->CoordinateReadout(), &QWidget::hide);
  connect(picSpectrum_, &PlotWidget::plotPressed, this, [this](int button, QPointF at) {
    const MouseOutcome outcome = mouse_.Press(button, static_cast<float>(at.x()), static_cast<float>(at.y()));
    if (outcome.SelectPress) SelectPress(static_cast<float>(at.x()), static_cast<float>(at.y()));
    picSpectrum_->ShowBand(mouse_.Band());
  });
  connect(picSpectrum_, &PlotWidget::plotMoved, this, [this](QPointF at) {
    if (mouse_.Move(static_cast<float>(at.x()), static_cast<float>(at.y()))) picSpectrum_->ShowBand(mouse_.Band());
  });
  connect(picSpectrum_, &PlotWidget::plotReleased, this, [this](int button, QPointF at) {
    const MouseOutcome outcome = mouse_.Release(button, static_cast<float>(at.x()), static_cast<float>(at.y()));
    picSpectrum_->ShowBand(mouse_.Band());
    ApplyMouseOutcome(outcome);
  });
}

void frmMain::ApplyMouseOutcome(const MouseOutcome& outcome) {
  if (outcome.ModesChanged) ShowModes();
  if (outcome.NoiseBand) desk_->SetNoiseBand(outcome.NoiseBand->first, outcome.NoiseBand->second);
  ApplyViewOutcome(outcome.View);
}

void frmMain::Notice(const std::string& text) {
  notices_->ShowStatus(text, true);
  cycle_->StartStatusTimer();
}

void frmMain::ShowModes() {
  ShowCommands();
  picSpectrum_->setCursor(PointerFor(modes_.Image()));
}

void frmMain::comboPeakPoint_Click(int index) {
  display_.Navigation.MoveByPeaks = index == 1;
  ShowCommands();
}

void frmMain::mnuViewPeakPoint_Click() { comboPeakPoint_Click(display_.Navigation.MoveByPeaks ? 0 : 1); }

void frmMain::SelectPoint(int trace, int point, bool remember) {
  selection_ = {trace, point};
  display_.Navigation.ActiveTrace = trace;
  if (remember) display_.Navigation.LastSelectedPoint = point;
  const size_t i = static_cast<size_t>(point - 1);
  const TraceSet& t = live_.State.Traces;
  // Zooms and presets centre on the selected point from now on.
  live_.View.SetCenter(t.FreqPoints[i][trace], -t.AmpPoints[i][trace]);
}

bool frmMain::KeepActiveTraceVisible() {
  const TraceSet& t = live_.State.Traces;
  const int active = display_.Navigation.ActiveTrace;
  if (active < 0 || !t.TraceVisible[static_cast<size_t>(active)]) display_.Navigation.ActiveTrace = FirstVisibleTrace(t);
  return display_.Navigation.ActiveTrace >= 0;
}

void frmMain::MovePoint(PointMove move) {
  const TraceSet& t = live_.State.Traces;
  if (!KeepActiveTraceVisible()) return;  // no trace shown: nothing to move on
  if (move == PointMove::LastSelected && display_.Navigation.LastSelectedPoint == 0) {
    Notice(kNoPreviousPointText);
    return;
  }
  const int point = MoveTarget(move, t, display_.Navigation, selection_);
  if (point == 0) return;  // a move that finds no point changes nothing
  GoToPoint(point, move == PointMove::LastSelected);
}

void frmMain::GoToPoint(int point, bool atLastSelected) {
  if (point < 1 || point > kPointCount || !KeepActiveTraceVisible()) return;
  SelectPoint(display_.Navigation.ActiveTrace, point, false);
  display_.Navigation.AtLastSelected = atLastSelected;
  const float x = live_.View.CenterX(), y = live_.View.CenterY();
  live_.View.KeepInView(x, y);
  UpdateView();
  MoveCursor(x, y);
  ShowCoordinateReadout(x, y);
}

void frmMain::MoveCursor(float x, float y) {
  if (!picSpectrum_->isVisible()) return;
  const QPoint at = picSpectrum_->ToPixel(x, y).toPoint();
  if (picSpectrum_->rect().contains(at)) QCursor::setPos(picSpectrum_->mapToGlobal(at));
}

void frmMain::SelectPress(float x, float y) {
  timerCoord_->stop();
  picSpectrum_->CoordinateReadout()->hide();  // a selecting press shows it again
  if (modes_.PlacingThreshold) {
    const EntryCheck check = CheckThresholdEntry(FormatPicture(-static_cast<double>(y), kLevelPicture));
    if (!check.InRange) {
      Notice(check.Message);  // the placement stays pending for a press within range
      return;
    }
    SetThreshold(-y);
    modes_.PlacingThreshold = false;
    ShowModes();
    UpdateView();
    return;
  }
  if (modes_.PlacingCursor == 1 || modes_.PlacingCursor == 2) {
    display_.Cursors[static_cast<size_t>(modes_.PlacingCursor - 1)] = {x, y};
    modes_.PlacingCursor = 0;
    ShowModes();
    UpdateView();
    return;
  }
  // Before the first capture there is no point to select.
  if (!live_.State.Traces.DataValid) return;
  // The nearest point on the screen over the visible traces; its trace becomes active.
  const PixelRect& area = picSpectrum_->Mapping().Area();
  const ViewScale& v = live_.View.Scale;
  const TracePointRef nearest =
      NearestPoint(live_.State.Traces, x, y, area.Width / v.ScaleWidth, area.Height / v.ScaleHeight);
  if (nearest.Trace < 0) return;
  SelectPoint(nearest.Trace, nearest.Point, true);
  display_.Navigation.AtLastSelected = false;
  UpdateView();
  if (display_.SnapToPoint) MoveCursor(live_.View.CenterX(), live_.View.CenterY());
  ShowCoordinateReadout(x, y);
}

void frmMain::ShowCoordinateReadout(float x, float y) {
  readoutAnchor_ = {x, y};
  PlaceCoordinateReadout();
  if (picSpectrum_->CoordinateReadout()->isVisible()) timerCoord_->start();
}

void frmMain::FollowCoordinateReadout() {
  if (picSpectrum_->CoordinateReadout()->isVisible()) PlaceCoordinateReadout();
}

void frmMain::PlaceCoordinateReadout() {
  QLabel* readout = picSpectrum_->CoordinateReadout();
  const float x = readoutAnchor_.X, y = readoutAnchor_.Y;
  // A zoom or pan that takes the press out of sight takes the read-out with it.
  const QPointF press = picSpectrum_->ToPixel(x, y);
  const PixelRect& area = picSpectrum_->Mapping().Area();
  const bool inSight = press.x() >= area.Left && press.x() <= area.Left + area.Width && press.y() >= area.Top &&
                       press.y() <= area.Top + area.Height;
  if (!display_.SelectionPanelOn || selection_.SelectedPoint == 0 || !inSight) {
    readout->hide();
    return;
  }
  const SelectionReadout r =
      ReadSelection(live_.State.Traces, selection_, live_.State.Capture.FreqScale, live_.State.Capture.FreqFormat);
  // In the plot's own colours, so it reads as part of the display.
  const Palette& colors = display_.ActiveColors();
  const auto css = [&colors](PaletteField f) { return ToColor(colors[f]).name(); };
  readout->setStyleSheet(QString("QLabel { background: %1; color: %2; border: 1px solid %3; padding: 3px; }")
                             .arg(css(kBackgroundColor), css(kLegendColor), css(kGridLinesColor)));
  readout->setText(QString::fromStdString("Trace = " + r.Trace + "\nData Point = " + r.Point + "\nFrequency = " +
                                          r.Frequency + "\nAmplitude = " + r.Amplitude));
  readout->adjustSize();
  // Beside the press, and always inside the plot: left of it near the right edge, above it
  // near the bottom.
  const int gap = 4, w = readout->width(), h = readout->height();
  int left = static_cast<int>(press.x()) + gap, top = static_cast<int>(press.y()) + gap;
  if (left + w > picSpectrum_->width()) left = static_cast<int>(press.x()) - gap - w;
  if (top + h > picSpectrum_->height()) top = static_cast<int>(press.y()) - gap - h;
  readout->move(std::clamp(left, 0, std::max(0, picSpectrum_->width() - w)),
                std::clamp(top, 0, std::max(0, picSpectrum_->height() - h)));
  readout->show();
  readout->raise();
}

void frmMain::mousePressEvent(QMouseEvent* event) {
  // A right press on the window outside the plot offers the View menu.
  if (event->button() == Qt::RightButton && commands_.ViewMenu() != nullptr) {
    commands_.ViewMenu()->popup(event->globalPosition().toPoint());
    return;
  }
  QMainWindow::mousePressEvent(event);
}

}  // namespace tavrix
