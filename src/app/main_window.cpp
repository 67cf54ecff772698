#include "app/main_window.h"

#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QGridLayout>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QScrollBar>
#include <QShortcut>
#include <QStandardPaths>
#include <QSignalBlocker>
#include <QStatusBar>
#include <QWindow>

#include <algorithm>
#include <cmath>

#include "app/cursor_panel.h"
#include "app/entry_box.h"
#include "app/history_desk.h"
#include "app/measure_desk.h"
#include "app/plot_widget.h"
#include "app/replay_bar.h"
#include "app/window_text.h"
#include "app/status_panels.h"
#include "store/settings_store.h"
#include "view/window_layout.h"

// The icons live in a static library: their resources are registered by hand.
static void RegisterIcons() { Q_INIT_RESOURCE(icons); }

namespace tavrix {

namespace {

// Qt's keys as the view's key codes.
int ViewKeyOf(int qtKey) {
  switch (qtKey) {
    case Qt::Key_PageUp: return kKeyPageUp;
    case Qt::Key_PageDown: return kKeyPageDown;
    case Qt::Key_Left: return kKeyLeft;
    case Qt::Key_Up: return kKeyUp;
    case Qt::Key_Right: return kKeyRight;
    case Qt::Key_Down: return kKeyDown;
    default: return 0;
  }
}

}  // namespace

frmMain::frmMain(MainWindowOptions options, QWidget* parent) : QMainWindow(parent), options_(std::move(options)) {
  RegisterIcons();
  setObjectName("frmMain");
  setWindowIcon(QIcon(":/icons/tavrix-spectrum"));
  lastPath_ = QDir::homePath();

  // The view starts with ViewWindow's initial values; the trace switches
  // start with the current trace shown.
  live_.State.Traces.TraceVisible[kCurrentTrace] = true;

  BuildCentralArea();
  auto* bar = new QStatusBar(this);
  panels_ = new StatusPanels(bar);
  bar->addWidget(panels_, 1);
  setStatusBar(bar);
  notices_ = std::make_unique<WindowNotices>(this, panels_, options_.Answerer);
  DefaultDialogs();
  txtThreshold_ = NewThresholdBox(this);
  commands_.Build(this, cursorPanel_->Toolbar(), txtThreshold_,
                  {[this](Command c, int index) { RunCommand(c, index); },
                   [this](Command button, int entry) { tbMain_ButtonMenuClick(button, entry); }});
  panels_->SetText("CurTrace", "None");
  panels_->SetPicture("CurTrace", "None");

  // The entry boxes float over their status panels while they are open; cmdUpdate stays
  // hidden (a second update would window the same samples again).
  BuildEntryBoxes();
  ConnectPlotMouse();
  cmdUpdate_ = new QPushButton(this);
  cmdUpdate_->setObjectName("cmdUpdate");
  cmdUpdate_->setText("Update");
  cmdUpdate_->hide();

  cycle_ = std::make_unique<AcquisitionCycle>(
      *notices_, [this] { return CurrentModem(); },
      [this](const std::string& block) { return ShowCaptureBlock(block); }, options_.Timing, options_.Limits);
  connect(cycle_.get(), &AcquisitionCycle::displayChanged, this, &frmMain::ShowAcquisitionDisplay);
  cycle_->CurrentModemChanged();  // what the cycle's controls offer with no unit yet
  // Ctrl+S ends a connection attempt in progress; updates stay stopped.
  auto* abort = new QShortcut(QKeySequence("Ctrl+S"), this);
  connect(abort, &QShortcut::activated, this, [this] { cycle_->AbortConnection(); });

  setMinimumSize(MinimumPixels());
  store_ = options_.SettingsFile.isEmpty() ? std::make_unique<SettingsStore>()
                                           : std::make_unique<SettingsStore>(options_.SettingsFile);
  desk_ = new MeasureDesk(this, statusBar(), live_, display_, commands_, store_->FileName(),
                          {[this](int point) { GoToPoint(point); }, [this](const std::string& text) { Notice(text); },
                           [this] { UpdateView(); }});
  const QString recordings = options_.RecordingFolder.isEmpty()
                                 ? QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation) + "/recordings"
                                 : options_.RecordingFolder;
  history_ = new HistoryDesk(
      this, display_, recordings,
      {[this](const std::string& text) { Notice(text); },
       [this](SpectrumState before, const std::string& block, int64_t timeMs) {
         ShowReplayedCapture(std::move(before), block, timeMs);
       },
       [this](bool replaying) { OnReplayChanged(replaying); }, [this] { return CurrentModem(); }});
  static_cast<QGridLayout*>(centralWidget()->layout())->addWidget(history_->Bar(), 3, 0, 1, 2);
  if (QMenu* historyMenu = menuBar()->findChild<QMenu*>("mnuHistory"))
    connect(historyMenu, &QMenu::aboutToShow, this, [this] { history_->ListDays(commands_); });
  connect(cycle_.get(), &AcquisitionCycle::connectFinished, this, &frmMain::OnConnectFinished);
  // At start: geometry, palettes, configuration, the directory, the title, and
  // timerConnection for the unit used last.
  LoadSettings();
  history_->ApplySettings();
  ShowAcquisitionDisplay();
  loaded_ = true;
  UpdateView();
}

frmMain::~frmMain() {
  if (busyShown_) QApplication::restoreOverrideCursor();
}

QSize frmMain::MinimumPixels() const {
  const double dpiX = DpiOr96(logicalDpiX()), dpiY = DpiOr96(logicalDpiY());
  return {TwipsToPixels(kMinimumWidthTwips, dpiX), TwipsToPixels(kMinimumHeightTwips, dpiY)};
}

void frmMain::BuildCentralArea() {
  auto* central = new QWidget(this);
  auto* grid = new QGridLayout(central);
  grid->setContentsMargins(0, 0, 0, 0);
  grid->setSpacing(0);
  picSpectrum_ = new PlotWidget(central);
  vScroll_ = new QScrollBar(Qt::Vertical, central);
  hScroll_ = new QScrollBar(Qt::Horizontal, central);
  vScroll_->setObjectName("vScroll");
  hScroll_->setObjectName("hScroll");
  for (QScrollBar* bar : {vScroll_, hScroll_}) {
    bar->setTracking(false);  // a thumb drag is one change, at its end
    bar->setFocusPolicy(Qt::NoFocus);
    connect(bar, &QScrollBar::actionTriggered, this, [this, bar](int action) { OnScrollAction(bar, action); });
    connect(bar, &QScrollBar::sliderMoved, this, [this, bar] { OnScrollDragged(bar); });
    connect(bar, &QScrollBar::sliderReleased, this, [this, bar] { OnScrollReleased(bar); });
  }
  grid->addWidget(picSpectrum_, 0, 0);
  grid->addWidget(vScroll_, 0, 1);
  grid->addWidget(hScroll_, 1, 0);
  cursorPanel_ = new CursorPanel(central);
  grid->addWidget(cursorPanel_, 2, 0, 1, 2);
  grid->setRowStretch(0, 1);
  grid->setColumnStretch(0, 1);
  setCentralWidget(central);
  connect(picSpectrum_, &PlotWidget::frameOutdated, this, [this] {
    if (loaded_) UpdateView();
  });
}

// ---- the view --------------------------------------------------------------------------

PlotScene frmMain::Scene() const {
  PlotScene scene = live_.Scene();
  scene.Colors = display_.ActiveColors();
  scene.Threshold = display_.Navigation.Threshold;
  scene.CursorsShown = display_.CursorDisplay;
  scene.Cursors = display_.Cursors;
  scene.SelectedTrace = selection_.SelectedTrace;
  scene.SelectedPoint = selection_.SelectedPoint;
  scene.Constellation = display_.Constellation;
  desk_->Decorate(scene);
  return scene;
}

void frmMain::UpdateView() {
  live_.View.PrepareRedraw();
  SyncScrollBars();
  ShowCommands();
  picSpectrum_->ShowScene(Scene());
  history_->Show(commands_, live_.View.Scale, *picSpectrum_, live_.State.Capture.FreqScale);
  FollowCoordinateReadout();
  RefreshSelectionPanels();
  cursorPanel_->Show(CursorReadouts(display_, live_.State.Capture.FreqScale, live_.State.Capture.FreqFormat));
}

void frmMain::ApplyViewOutcome(const ViewOutcome& outcome) {
  if (!outcome.Notice.empty()) {
    notices_->ShowStatus(std::string(outcome.Notice), true);
    cycle_->StartStatusTimer();
  }
  if (outcome.Redraw) UpdateView();
}

// A preset ends a zoom mode as "&End Zoom Mode" does.
void frmMain::mnuViewDBB_Click(int index) {
  modes_.EndMode();
  ShowModes();
  ApplyViewOutcome(live_.View.ApplyDBPreset(index));
}

void frmMain::mnuViewFB_Click(int index) {
  modes_.EndMode();
  ShowModes();
  ApplyViewOutcome(live_.View.ApplySpanPreset(index));
}

void frmMain::SyncScrollBars() {
  const ViewWindow& v = live_.View;
  live_.View.ScrollBusy = true;
  for (QScrollBar* bar : {hScroll_, vScroll_}) {
    const ScrollBarModel& m = bar == hScroll_ ? v.HScroll : v.VScroll;
    const QSignalBlocker quiet(bar);
    bar->setRange(m.Min, m.Max);
    bar->setValue(m.Value);
  }
  // The thumb shows how much of the band, or of the bar's level range, is in view.
  const double band = static_cast<double>(v.DataRight) - v.DataLeft;
  const double shownPercent = band > 0 ? v.Scale.ScaleWidth / band * 100 : 100;
  hScroll_->setPageStep(std::clamp(static_cast<int>(std::lround(shownPercent)), 1, 100));
  vScroll_->setPageStep(std::clamp(static_cast<int>(std::lround(v.Scale.ScaleHeight)), 1, 1000));
  live_.View.ScrollBusy = false;
}

void frmMain::OnScrollAction(QScrollBar* bar, int action) {
  if (action == QAbstractSlider::SliderMove && bar->isSliderDown()) return;  // a drag: its end counts
  const int position = bar->sliderPosition();
  bool increase = action == QAbstractSlider::SliderSingleStepAdd || action == QAbstractSlider::SliderPageStepAdd ||
                  action == QAbstractSlider::SliderToMaximum;
  if (action == QAbstractSlider::SliderMove) {  // the mouse wheel
    if (position == bar->value()) return;        // against the end: nothing moves
    increase = position > bar->value();
  }
  const ScrollAction how = increase ? ScrollAction::Increase : ScrollAction::Decrease;
  ApplyViewOutcome(bar == hScroll_ ? live_.View.HScrollChange(position, how)
                                   : live_.View.VScrollChange(position, how));
}

void frmMain::OnScrollDragged(QScrollBar* bar) {
  if (bar == hScroll_)
    live_.View.HScrollScroll();
  else
    live_.View.VScrollScroll();
}

void frmMain::OnScrollReleased(QScrollBar* bar) {
  if (!live_.View.DragPending) return;
  const int position = bar->sliderPosition();
  ApplyViewOutcome(bar == hScroll_ ? live_.View.HScrollChange(position, ScrollAction::Drag)
                                   : live_.View.VScrollChange(position, ScrollAction::Drag));
}

// ---- keys and size ---------------------------------------------------------------------

bool frmMain::PlotKeysActive() const {
  const QWidget* focus = QApplication::focusWidget();
  return qobject_cast<const QLineEdit*>(focus) == nullptr && qobject_cast<const QComboBox*>(focus) == nullptr;
}

void frmMain::keyPressEvent(QKeyEvent* event) {
  const int key = ViewKeyOf(event->key());
  if (PlotKeysActive() && key >= kKeyLeft && key <= kKeyDown && event->modifiers() == Qt::NoModifier) {
    ApplyViewOutcome(live_.View.ArrowKey(key));
    MoveCursor(live_.View.CenterX(), live_.View.CenterY());
    return;
  }
  QMainWindow::keyPressEvent(event);
}

void frmMain::keyReleaseEvent(QKeyEvent* event) {
  // The zooms act when the key comes up.
  const int key = ViewKeyOf(event->key());
  if (PlotKeysActive() && (key == kKeyPageUp || key == kKeyPageDown) && event->modifiers() == Qt::NoModifier) {
    ApplyViewOutcome(key == kKeyPageUp ? live_.View.ZoomIn() : live_.View.ZoomOut());
    return;
  }
  QMainWindow::keyReleaseEvent(event);
}

void frmMain::resizeEvent(QResizeEvent* event) {
  QMainWindow::resizeEvent(event);
  KeepNormalPlace();
  Form_Resize(width(), height());
}

void frmMain::moveEvent(QMoveEvent* event) {
  QMainWindow::moveEvent(event);
  KeepNormalPlace();
}

void frmMain::showEvent(QShowEvent* event) {
  QMainWindow::showEvent(event);
  // A new screen may have another pixel ratio: the plot draws itself again.
  QWindow* handle = windowHandle();
  if (handle != nullptr && !watchingScreen_) {
    watchingScreen_ = true;
    connect(handle, &QWindow::screenChanged, this, [this] { UpdateView(); });
  }
}

void frmMain::Form_Resize(int width, int height) {
  if (!loaded_ || isMinimized()) return;
  const QSize minimum = MinimumPixels();
  const auto correction = CheckWindowSize(width, height, minimum.width(), minimum.height());
  if (!correction) return;  // the plot redraws itself as the layout gives it its new size
  notices_->Ask(correction->Text, correction->Title, MessageButtons::Ok, MessageIcon::Critical);
  resize(correction->Width, correction->Height);
}

}  // namespace tavrix
