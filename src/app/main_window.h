#pragma once
#include <QElapsedTimer>
#include <QMainWindow>
#include <QRect>
#include <QString>
#include <QStringList>

#include <array>
#include <functional>
#include <memory>
#include <optional>

#include "app/command_builder.h"
#include "app/display_state.h"
#include "app/save_dialog.h"
#include "app/window_notices.h"
#include "dsp/data_set_export.h"
#include "dsp/point_navigation.h"
#include "ui/pointer_modes.h"
#include "ui/view_capture.h"
#include "link/acquisition_cycle.h"
#include "store/modem_directory.h"
#include "store/modem_editing.h"
#include "store/viewer_settings.h"
#include "view/live_spectrum.h"
#include "view/palette.h"
#include "view/plot_renderer.h"

class QAction;
class QCloseEvent;
class QPrinter;
class QMenu;
class QPushButton;
class QScrollBar;
class QTimer;

namespace tavrix {

class CursorPanel;
class EntryBox;
class HistoryDesk;
class MeasureDesk;
class SettingsStore;
class PlotWidget;
class StatusPanels;

// Replaces the save dialog: the chosen file, or nothing when cancelled.
using FileChooser = std::function<std::optional<QString>(const SaveDialogSetup&)>;
// Shows the colour dialog with a title and a starting colour; the chosen colour, or
// nothing when cancelled.
using ColorChooser = std::function<std::optional<QColor>(const QString& title, const QColor& initial)>;
std::optional<QColor> ShowColorDialog(QWidget* parent, const QString& title, const QColor& initial);
// Shows the properties dialog of a unit (or kNewModemMarker) and returns what its OK did.
using ModemEditor = std::function<StoreOutcome(Modems& modems, const std::string& editedName)>;

// Two current units are the same when name (in any case) and address agree; none is
// the same as none.
bool SameUnit(const std::optional<ModemInfo>& a, const std::optional<ModemInfo>& b);

struct MainWindowOptions {
  CycleTiming Timing;        // the product's 3000/500/5000 ms unless a test compresses them
  FtpLimits Limits;
  QuestionAnswerer Answerer;  // replaces the message boxes (tests)
  FileChooser ChooseSaveFile;  // replaces the save dialog (tests)
  ColorChooser ChooseColor;    // replaces the colour dialog (tests)
  ModemEditor EditModem;       // replaces the properties dialog (tests)
  QString SettingsFile;        // the settings file; empty for the platform's per-user store
  QString RecordingFolder;     // the recordings when the settings name no folder; empty for the user's data location
  bool ConnectAtStart = true;  // false: the unit used last waits (--demo brings its own unit)
  // How often a unit's time of last connection is written while it keeps answering.
  qint64 LastCommWriteMs = 10 * 60 * 1000;
};

// The main window. It owns the state (the live spectrum with its view window, the
// selection, the display state with the options, palettes, cursors, threshold and move
// type, the acquisition cycle), has its menus and toolbars built from the command tables,
// forwards events to the state and draws what the state says: check marks included.
class frmMain : public QMainWindow {
  Q_OBJECT

 public:
  explicit frmMain(MainWindowOptions options = {}, QWidget* parent = nullptr);
  ~frmMain() override;

  // A unit to monitor that is not in the directory (the simulated unit of --demo, tests):
  // it becomes current and is connected; the directory and LastModem are left alone.
  void SetCurrentModem(std::optional<ModemInfo> modem);

  // The modem directory (main_window_modems.cpp). Choosing a unit makes it current,
  // puts it in the title and connects to it.
  void ChooseModem(const std::string& name);
  void mnuCommSel_Click(int index);
  void mnuCommAdd_Click();
  void mnuCommManage_Click();
  // The directory changed: it is written back and the recent menu rebuilt.
  void UpdateModems();
  const Modems& Directory() const { return modems_; }
  Modems& Directory() { return modems_; }
  std::optional<ModemInfo> CurrentModem() const;
  // The unit of the directory that is current; empty for none (or a unit not stored).
  const std::string& CurrentModemName() const { return currentModemName_; }

  // Palettes and the view as a picture (main_window_options.cpp).
  void mnuOptionsPalette_Click(int index);
  // The colour-picking routine of one field of a palette (0 viewing, 1 printing).
  void PickColor(int palette, int field);
  void mnuViewCopy_Click();
  void mnuFileSaveView_Click();
  void mnuFilePrint_Click();
  // Draws the report page onto a printer that is set up and ready.
  void PrintView(QPrinter& printer);
  void mnuHelpAbout_Click();

  // Settings (main_window_settings.cpp): what the window would store now, and storing it.
  ViewerSettings CurrentSettings() const;
  void UnloadSettings();
  SettingsStore& Store() { return *store_; }

  // Commands (main_window_commands.cpp): any command by its handle, with its index in a
  // family; a toolbar button (menu entries that duplicate a button come here too); an entry
  // of a button's drop-down by its place; the presets; an export.
  void RunCommand(Command command, int index = 0);
  void tbMain_ButtonClick(Command button);
  void tbMain_ButtonMenuClick(Command button, int entry);
  void mnuViewDBB_Click(int index);
  void mnuViewFB_Click(int index);
  void mnuCommStopGo_Click() { tbMain_ButtonClick(Command::StopGo); }
  void ExportDataSet(DataSet set);

  // Point navigation and the plot's pointer (main_window_pointer.cpp).
  void MovePoint(PointMove move);
  void comboPeakPoint_Click(int index);
  void mnuViewPeakPoint_Click();
  // Selects a point of the active trace as the moves do, and shows it.
  void GoToPoint(int point, bool atLastSelected = false);
  // The left press in Select mode at a plot position: a placement, or the nearest point.
  void SelectPress(float x, float y);
  // Moves the mouse pointer onto a plot position (a point chosen by a move or a snap).
  void MoveCursor(float x, float y);
  // Cursors and entry boxes (main_window_entries.cpp).
  void mnuViewCursor_Click(int index);
  void mnuViewCursors_Click();
  void OpenEntryBox(const QString& panelKey);

  // A capture block as the acquisition cycle hands it on: parsed, updated, drawn. Returns
  // the block's lead word.
  uint16_t ShowCaptureBlock(const std::string& block);
  // A replayed capture, after the state of the captures before it, through the same path.
  void ShowReplayedCapture(SpectrumState before, const std::string& block, int64_t timeMs);

  // The size rule of a resize; a size below the minimum is told and corrected.
  void Form_Resize(int width, int height);
  // Redraws the plot from the state, with the scroll bars, check marks and panels.
  void UpdateView();

  LiveSpectrum& Live() { return live_; }
  const Selection& CurrentSelection() const { return selection_; }
  const DisplayState& Display() const { return display_; }
  const PointerModes& Modes() const { return modes_; }
  EntryBox* Entry(const QString& name) const;
  AcquisitionCycle& Cycle() { return *cycle_; }
  // A command's action (a family's entry at `index`), and a drop-down button's entries.
  QAction* Action(Command command, int index = 0) const { return commands_.Action(command, index); }
  QMenu* DropDown(Command button) const { return commands_.DropDown(button); }
  StatusPanels* Panels() const { return panels_; }
  CursorPanel* Cursors() const { return cursorPanel_; }
  MeasureDesk* Desk() const { return desk_; }
  HistoryDesk* History() const { return history_; }
  PlotWidget* Plot() const { return picSpectrum_; }
  QScrollBar* VScroll() const { return vScroll_; }
  QScrollBar* HScroll() const { return hScroll_; }
  PlotScene Scene() const;
  QSize MinimumPixels() const;

 signals:
  void captureShown();  // a capture block has been processed and drawn

 protected:
  void closeEvent(QCloseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void keyReleaseEvent(QKeyEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void moveEvent(QMoveEvent* event) override;
  void showEvent(QShowEvent* event) override;

 private:
  // Check marks, enabled commands and the move type's captions, from the state.
  void ShowCommands();
  void ToggleOption(bool DisplayState::*option);

  // Settings, palettes and the directory at start.
  void LoadSettings();
  // Writes the settings when they differ from the ones last written, so that a crash
  // loses at most the last moments of changes.
  void KeepSettings();
  // Says once in the Status panel why the settings could not be written; true when they were.
  bool SettingsWritten(bool written);
  void ApplySettings(const ViewerSettings& settings);
  // The threshold and its box, from the box, a placing press or the settings.
  void SetThreshold(float level);
  void ApplyGeometry(const StoredGeometry& stored);
  // A new user's first window: three quarters of the primary screen, centred.
  void ShowFirstStartPlace();
  StoredGeometry CurrentGeometry() const;
  // Remembers the place and size of the normal window, which a maximised one returns to.
  void KeepNormalPlace();
  void LoadDirectory();
  void SaveDirectory();
  // The unit at a place of the recent menu, 0 the newest; nullptr for an empty place.
  const Modem* RecentModem(int place) const;
  void FillRecentMenu();
  void OnConnectFinished(bool connected);
  // The unit of the directory that is current and answering.
  bool IsConnectedUnit(const std::string& name) const;
  // Fills the dialog hooks a test did not give with the real dialogs.
  void DefaultDialogs();
  void OnModemRenamed(const std::string& oldName, const std::string& newName);
  void OnModemRemoved(const std::string& name);
  void ChooseDirectoryUnit();
  // What a printed page says beside the plot.
  PageFacts PrintedPageFacts() const;

  // Layout (main_window.cpp).
  void BuildCentralArea();

  // Acquisition and captures (main_window_live.cpp).
  void ShowAcquisitionDisplay();
  // Clears every trace of the unit watched before, back to the no-capture state.
  void ForgetCaptures();
  // A replay began: the live unit rests; or ended: the live unit is watched again.
  void OnReplayChanged(bool replaying);
  void RefreshSelectionPanels();
  void SetTitle();

  // View commands.
  void ApplyViewOutcome(const ViewOutcome& outcome);
  void SyncScrollBars();
  void OnScrollAction(QScrollBar* bar, int action);
  void OnScrollDragged(QScrollBar* bar);
  void OnScrollReleased(QScrollBar* bar);
  void SwitchTraceCommand(int trace);
  bool PlotKeysActive() const;

  // Pointer and mouse (main_window_pointer.cpp).
  void ConnectPlotMouse();
  // The pointer modes' check marks and the plot's pointer.
  void ShowModes();
  // The floating read-out of the selected point beside a press at plot position (x, y);
  // it follows that position through zooms and pans, and goes when it leaves the view.
  void ShowCoordinateReadout(float x, float y);
  void FollowCoordinateReadout();
  void PlaceCoordinateReadout();
  void SelectPoint(int trace, int point, bool remember);
  // Moves run on the first visible trace when theirs is not shown; false when none is.
  bool KeepActiveTraceVisible();
  void ApplyMouseOutcome(const MouseOutcome& outcome);
  void Notice(const std::string& text);

  // Cursors and entry boxes (main_window_entries.cpp).
  void BuildEntryBoxes();
  EntryBox* NewThresholdBox(QWidget* parent);
  void MoveToSpecificPoint(int point);

  MainWindowOptions options_;
  LiveSpectrum live_;
  Selection selection_;
  DisplayState display_;
  PointerModes modes_;
  PlotMouse mouse_{modes_, live_.View};
  std::unique_ptr<SettingsStore> store_;
  Modems modems_;
  std::string currentModemName_;          // the current unit of the directory, by name
  std::optional<ModemInfo> outsideModem_;  // a current unit kept outside the directory
  std::string lastModem_;                 // LastModem as it will be stored
  QRect normalPlace_;                     // the normal window's frame place and size
  QString lastPath_;
  std::string lastCommWrittenFor_;  // the unit whose LastComm was written last, and when
  QElapsedTimer lastCommWritten_;
  int exportKind_ = 0;  // the drop-down entry the Export button's face repeats
  bool loaded_ = false;
  bool busyShown_ = false;
  bool watchingScreen_ = false;
  std::optional<int64_t> replayedMs_;  // the arrival time of the replayed capture being processed

  // Widgets (owned by Qt's parent chain).
  PlotWidget* picSpectrum_ = nullptr;
  QScrollBar* vScroll_ = nullptr;
  QScrollBar* hScroll_ = nullptr;
  StatusPanels* panels_ = nullptr;
  CursorPanel* cursorPanel_ = nullptr;
  CommandSet commands_;
  MeasureDesk* desk_ = nullptr;  // the measurement panels
  HistoryDesk* history_ = nullptr;  // recording
  EntryBox* txtThreshold_ = nullptr;
  EntryBox* txtPoint_ = nullptr;
  EntryBox* txtFreq_ = nullptr;
  EntryBox* txtAmp_ = nullptr;
  QTimer* timerCoord_ = nullptr;
  struct {
    float X = 0, Y = 0;
  } readoutAnchor_;  // the plot position the floating read-out stands beside
  QTimer* settingsKeeper_ = nullptr;
  ViewerSettings savedSettings_;
  QString settingsWriteError_;   // the write failure last told, so it is told once
  std::string directoryRepair_;  // what was repaired in the stored directory at start
  QTimer* curPointClick_ = nullptr;  // a click on "CurPoint" waits to see if a second follows
  QPushButton* cmdUpdate_ = nullptr;

  std::unique_ptr<WindowNotices> notices_;
  std::unique_ptr<AcquisitionCycle> cycle_;  // declared last: its link thread stops first
};

}  // namespace tavrix
