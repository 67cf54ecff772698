// The main window and its settings: everything read at start in a fixed order (window
// geometry, both palettes, the configuration keys, the modem directory), and written
// back in the same order a moment after any of them changes and when the window closes.
#include <QCloseEvent>
#include <QDir>
#include <QGuiApplication>
#include <QScreen>
#include <QTimer>

#include "app/main_window.h"
#include "app/window_text.h"
#include "store/settings_store.h"
#include "view/window_layout.h"

namespace tavrix {

namespace {

// A window shows at least this much of itself on some screen, or it is brought back.
constexpr int kVisibleMargin = 48;
// How often the settings are compared with the ones last written: a change reaches the
// disk within this time, and a drag of the window writes at most once per interval.
constexpr int kSettingsKeepMs = 2000;

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
  lastPath_ = Text(s.LastPath);
  display_.Apply(s, live_.State.Traces.TraceVisible);
  SetThreshold(display_.Navigation.Threshold);
  KeepActiveTraceVisible();
  // The check marks, and the move type's captions and tool tips, follow the state.
  ShowCommands();
}

void frmMain::ApplyGeometry(const StoredGeometry& stored) {
  const double dpiX = DpiOr96(logicalDpiX()), dpiY = DpiOr96(logicalDpiY());
  QRect wanted(StoredTwipsToPixels(stored.Left, dpiX), StoredTwipsToPixels(stored.Top, dpiY),
               StoredTwipsToPixels(stored.Width, dpiX), StoredTwipsToPixels(stored.Height, dpiY));
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
  g.Left = TwipsOfPixels(r.x(), dpiX);
  g.Top = TwipsOfPixels(r.y(), dpiY);
  g.Width = TwipsOfPixels(r.width(), dpiX);
  g.Height = TwipsOfPixels(r.height(), dpiY);
  return g;
}

ViewerSettings frmMain::CurrentSettings() const {
  ViewerSettings s;
  s.Window = CurrentGeometry();
  s.LastPath = lastPath_.toStdString();
  s.StopUpdates = cycle_->Stopped();
  display_.SaveTo(s, live_.State.Traces.TraceVisible);
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
