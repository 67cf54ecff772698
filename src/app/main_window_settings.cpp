// The main window and its settings: everything read at start in a fixed order (window
// geometry, both palettes, the configuration keys, the modem directory), and written
// back in the same order a moment after any of them changes and when the window closes.
#include <QAction>
#include <QCloseEvent>
#include <QDir>
#include <QGuiApplication>
#include <QScreen>
#include <QTimer>

#include <algorithm>
#include <cmath>

#include "app/entry_box.h"
#include "app/main_window.h"
#include "app/window_text.h"
#include "common/picture_format.h"
#include "store/settings_store.h"
#include "view/window_layout.h"

namespace tavrix {

namespace {

constexpr double kTwipsPerInch = 1440.0;
// Stored geometry beyond any screen is pulled in to this many pixels before it is used.
constexpr double kFarPixels = 1e6;
// A window shows at least this much of itself on some screen, or it is brought back.
constexpr int kVisibleMargin = 48;
// How often the settings are compared with the ones last written: a change reaches the
// disk within this time, and a drag of the window writes at most once per interval.
constexpr int kSettingsKeepMs = 2000;

int PixelsOf(double twips, double dpi) {
  return static_cast<int>(std::lround(std::clamp(twips * dpi / kTwipsPerInch, -kFarPixels, kFarPixels)));
}

bool OnSomeScreen(const QRect& window) {
  for (const QScreen* screen : QGuiApplication::screens()) {
    const QRect shared = screen->availableGeometry().intersected(window);
    if (shared.width() >= kVisibleMargin && shared.height() >= kVisibleMargin) return true;
  }
  return false;
}

}  // namespace

void frmMain::LoadSettings() {
  const ViewerSettings settings = LoadViewerSettings(*store_, QDir::homePath().toStdString());
  // With no stored size (a new user) the window opens at a comfortable size instead of
  // the table's default, which is only the minimum.
  const bool storedSize = !store_->GetSetting("WindowState", "WindowWidth", "").empty() &&
                          !store_->GetSetting("WindowState", "WindowHeight", "").empty();
  ApplySettings(settings);
  if (!storedSize) ShowFirstStartPlace();
  savedSettings_ = settings;
  settingsKeeper_ = new QTimer(this);
  settingsKeeper_->setInterval(kSettingsKeepMs);
  connect(settingsKeeper_, &QTimer::timeout, this, &frmMain::KeepSettings);
  settingsKeeper_->start();
  LoadDirectory();
  SetTitle();
  // The first tick of timerConnection connects to the unit used last; updates start only
  // when they were running at the last close. With no usable unit nothing is armed.
  if (CurrentModem() && options_.ConnectAtStart) cycle_->Start(settings.StopUpdates);
  // Told once the window is up: a status notice would vanish under the first
  // connection's own.
  std::string text;
  if (!store_->SetAsideFile().isEmpty())
    text = "The settings file could not be read whole; it was kept as " + store_->SetAsideFile().toStdString() +
           " and every readable setting restored.";
  if (!directoryRepair_.empty()) text += (text.empty() ? "" : "\n\n") + directoryRepair_;
  if (!text.empty()) {
    QTimer::singleShot(0, this, [this, text] {
      notices_->Ask(text, kProgramTitle, MessageButtons::Ok, MessageIcon::Exclamation);
    });
  }
}

void frmMain::ApplySettings(const ViewerSettings& s) {
  ApplyGeometry(s.Window);
  palettes_ = s.Palettes;
  mnuOptionsPalette_Click(s.CurrentPalette);
  lastPath_ = QString::fromStdString(s.LastPath);
  MenuEntry("mnuOptionsSnap")->setChecked(s.SnapToPoint);
  MenuEntry("mnuOptionsWindow")->setChecked(s.WindowSpectrum);
  MenuEntry("mnuOptionsPanel")->setChecked(s.SelectionPanelOn);
  cursorDisplay_ = s.CursorDisplay;
  MenuEntry("mnuViewCursors")->setChecked(cursorDisplay_);
  Button("CursorDelta")->setChecked(cursorDisplay_);
  cursors_ = s.Cursors;
  EnableZoomCursors();
  // The move mode's switch runs once, so that captions and tool tips match it.
  comboPeakPoint_Click(s.PointMoves == 0 ? 0 : 1);
  navigation_.Threshold = s.PeakThreshold;
  txtThreshold_->setText(LevelText(navigation_.Threshold));
  const std::array<bool, kTraceCount> shown = {s.CurrentTrace, s.LastTrace, s.VideoAverage, s.PeakHold};
  for (const TraceSwitch& sw : kTraceSwitches) {
    const bool on = shown[static_cast<size_t>(sw.Trace)];
    live_.State.Traces.TraceVisible[static_cast<size_t>(sw.Trace)] = on;
    Button(sw.ButtonKey)->setChecked(on);
  }
  KeepActiveTraceVisible();
}

void frmMain::ApplyGeometry(const StoredGeometry& stored) {
  const double dpiX = DpiOr96(logicalDpiX()), dpiY = DpiOr96(logicalDpiY());
  QRect wanted(PixelsOf(stored.Left, dpiX), PixelsOf(stored.Top, dpiY), PixelsOf(stored.Width, dpiX),
               PixelsOf(stored.Height, dpiY));
  const QSize minimum = MinimumPixels();
  // A stored size below the minimum is told and corrected as any resize would be.
  if (const auto correction = CheckWindowSize(wanted.width(), wanted.height(), minimum.width(), minimum.height())) {
    notices_->Ask(correction->Text, correction->Title, MessageButtons::Ok, MessageIcon::Critical);
    wanted.setSize(QSize(correction->Width, correction->Height));
  }
  // No larger than the primary screen leaves room for, and on some screen.
  if (const QScreen* primary = QGuiApplication::primaryScreen()) {
    const QRect room = primary->availableGeometry();
    wanted.setSize(wanted.size().boundedTo(room.size()).expandedTo(minimum));
    if (!OnSomeScreen(wanted)) wanted.moveTopLeft(room.topLeft());
  }
  // The place is the frame's, as the window manager shows it; the size is the window's.
  resize(wanted.size());
  move(wanted.topLeft());
  normalPlace_ = wanted;
  if (stored.State == kWindowMaximized) setWindowState(windowState() | Qt::WindowMaximized);
}

void frmMain::ShowFirstStartPlace() {
  const QScreen* primary = QGuiApplication::primaryScreen();
  if (primary == nullptr) return;
  const QRect room = primary->availableGeometry();
  const QSize minimum = MinimumPixels();
  const ScreenRect place =
      FirstStartPlace({room.x(), room.y(), room.width(), room.height()}, minimum.width(), minimum.height());
  resize(place.Width, place.Height);
  move(place.X, place.Y);
  normalPlace_ = QRect(place.X, place.Y, place.Width, place.Height);
}

void frmMain::KeepNormalPlace() {
  if (windowState() & (Qt::WindowMaximized | Qt::WindowMinimized | Qt::WindowFullScreen)) return;
  normalPlace_ = QRect(pos(), size());
}

StoredGeometry frmMain::CurrentGeometry() const {
  const double dpiX = DpiOr96(logicalDpiX()), dpiY = DpiOr96(logicalDpiY());
  // The normal place and size, also while maximised or minimised; never stored minimised.
  const bool normal = !(isMaximized() || isMinimized() || isFullScreen());
  const QRect r = normal ? QRect(pos(), size()) : normalPlace_;
  StoredGeometry g;
  g.State = isMaximized() ? kWindowMaximized : kWindowNormal;
  g.Left = r.x() * kTwipsPerInch / dpiX;
  g.Top = r.y() * kTwipsPerInch / dpiY;
  g.Width = r.width() * kTwipsPerInch / dpiX;
  g.Height = r.height() * kTwipsPerInch / dpiY;
  return g;
}

ViewerSettings frmMain::CurrentSettings() const {
  ViewerSettings s;
  s.Window = CurrentGeometry();
  s.Palettes = palettes_;
  s.CurrentPalette = activePalette_;
  s.LastPath = lastPath_.toStdString();
  s.SnapToPoint = MenuEntry("mnuOptionsSnap")->isChecked();
  s.WindowSpectrum = MenuEntry("mnuOptionsWindow")->isChecked();
  s.StopUpdates = cycle_->Stopped();
  s.SelectionPanelOn = MenuEntry("mnuOptionsPanel")->isChecked();
  s.CursorDisplay = cursorDisplay_;
  s.Cursors = cursors_;
  s.PointMoves = navigation_.MoveByPeaks ? 1 : 0;
  s.PeakThreshold = navigation_.Threshold;
  const auto& shown = live_.State.Traces.TraceVisible;
  s.CurrentTrace = shown[kCurrentTrace];
  s.LastTrace = shown[kPreviousTrace];
  s.VideoAverage = shown[kVideoAverageTrace];
  s.PeakHold = shown[kPeakHoldTrace];
  return s;
}

void frmMain::KeepSettings() {
  ViewerSettings now = CurrentSettings();
  if (now == savedSettings_) return;
  SaveViewerSettings(*store_, now);
  // A failed write is said once and tried again at the next comparison.
  if (!SettingsWritten(store_->Sync())) return;
  savedSettings_ = std::move(now);
}

bool frmMain::SettingsWritten(bool written) {
  if (written) {
    settingsWriteError_.clear();
    return true;
  }
  const QString error = store_->WriteError();
  if (error != settingsWriteError_) {
    settingsWriteError_ = error;
    notices_->ShowStatus(error.toStdString(), true);
    cycle_->StartStatusTimer();
  }
  return false;
}

void frmMain::UnloadSettings() {
  savedSettings_ = CurrentSettings();
  SaveViewerSettings(*store_, savedSettings_);
  SaveDirectory();
}

void frmMain::closeEvent(QCloseEvent* event) {
  UnloadSettings();
  QMainWindow::closeEvent(event);
}

}  // namespace tavrix
