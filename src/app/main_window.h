#pragma once
#include <QMainWindow>
#include <QString>
#include <QStringList>

#include <array>
#include <functional>
#include <map>
#include <memory>
#include <optional>

#include "app/window_notices.h"
#include "dsp/data_set_export.h"
#include "dsp/point_navigation.h"
#include "ui/pointer_modes.h"
#include "link/acquisition_cycle.h"
#include "view/live_spectrum.h"
#include "view/palette.h"
#include "view/plot_renderer.h"

class QAction;
class QComboBox;
class QLineEdit;
class QMenu;
class QPushButton;
class QScrollBar;
class QToolBar;
class QTimer;
class QToolButton;

namespace tavrix {

class EntryBox;
class PlotWidget;
class StatusPanels;

// How the save dialog of an export is set up.
struct SaveDialogSetup {
  QString Title;
  QString Folder;
  QString FileName;       // "*.TXT"
  QString DefaultSuffix;  // "TXT"
  QStringList Filters;
};
// Shows the dialog; the chosen file, or nothing when cancelled.
using FileChooser = std::function<std::optional<QString>(const SaveDialogSetup&)>;

struct MainWindowOptions {
  CycleTiming Timing;        // the product's 3000/500/5000 ms unless a test compresses them
  FtpLimits Limits;
  QuestionAnswerer Answerer;  // replaces the message boxes (tests)
  FileChooser ChooseSaveFile;  // replaces the save dialog (tests)
};

// The main window. It owns the state (the live spectrum with its view window, the
// selection, cursors, threshold and palettes, the acquisition cycle), builds its menus
// and toolbars from the command tables, forwards events to the state and draws what the
// state says.
class frmMain : public QMainWindow {
  Q_OBJECT

 public:
  explicit frmMain(MainWindowOptions options = {}, QWidget* parent = nullptr);
  ~frmMain() override;

  // The unit to monitor. A unit that becomes current while none was is connected.
  void SetCurrentModem(std::optional<ModemInfo> modem);

  // Commands: a toolbar button by key (menu entries that duplicate a button come here
  // too), a drop-down entry by key, the presets, an export.
  void tbMain_ButtonClick(const QString& key);
  void tbMain_ButtonMenuClick(const QString& buttonKey, const QString& entryKey);
  void mnuViewDBB_Click(int index);
  void mnuViewFB_Click(int index);
  void mnuCommStopGo_Click() { tbMain_ButtonClick("StopGo"); }
  void ExportDataSet(DataSet set);

  // Point navigation and the plot's pointer (main_window_pointer.cpp).
  void MovePoint(PointMove move);
  void comboPeakPoint_Click(int index);
  void mnuViewPeakPoint_Click();
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

  // The size rule of a resize; a size below the minimum is told and corrected.
  void Form_Resize(int width, int height);
  // Redraws the plot from the state, with the scroll bars, check marks and panels.
  void UpdateView();

  LiveSpectrum& Live() { return live_; }
  const Selection& CurrentSelection() const { return selection_; }
  const PointNavigation& Navigation() const { return navigation_; }
  const PointerModes& Modes() const { return modes_; }
  const std::array<CursorMark, 2>& Cursors() const { return cursors_; }
  EntryBox* Entry(const QString& name) const;
  AcquisitionCycle& Cycle() { return *cycle_; }
  QAction* Button(const QString& key) const;
  QAction* MenuEntry(const QString& name) const;
  QMenu* DropDown(const QString& key) const;
  StatusPanels* Panels() const { return panels_; }
  PlotWidget* Plot() const { return picSpectrum_; }
  QScrollBar* VScroll() const { return vScroll_; }
  QScrollBar* HScroll() const { return hScroll_; }
  PlotScene Scene() const;
  QSize MinimumPixels() const;

 signals:
  void captureShown();  // a capture block has been processed and drawn

 protected:
  void keyPressEvent(QKeyEvent* event) override;
  void keyReleaseEvent(QKeyEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void showEvent(QShowEvent* event) override;

 private:
  // Building (main_window_commands.cpp).
  void BuildCommands();
  void BuildMenus();
  void BuildMainToolbar();
  void BuildCursorToolbar(QToolBar* bar);
  QAction* AddEntry(QMenu* menu, const struct MenuEntrySpec& entry);
  QToolButton* DropDownButton(QAction* face, const QString& key, QMenu* entries);
  void EnableCommands();
  // The captions and tool tips of the movement commands for a move mode.
  void ShowMoveMode(bool byPeaks);

  // Layout (main_window.cpp).
  void BuildCentralArea();
  QWidget* BuildReadoutPanel();

  // Acquisition and captures (main_window_live.cpp).
  void ShowAcquisitionDisplay();
  void ShowSpanCaptions();
  void RefreshSelectionPanels();
  void SetTitle();

  // View commands.
  void ApplyViewOutcome(const ViewOutcome& outcome);
  void SetChecksDB(int index);
  void SetChecksFB(int index);
  void SyncScrollBars();
  void OnScrollAction(QScrollBar* bar, int action);
  void OnScrollDragged(QScrollBar* bar);
  void OnScrollReleased(QScrollBar* bar);
  void SwitchTraceCommand(int trace);
  bool PlotKeysActive() const;

  // Pointer and mouse (main_window_pointer.cpp).
  void ConnectPlotMouse();
  void ShowModes();
  void SetMoveButtons();
  void ShowCoordinateReadout(float x, float y);
  void SelectPoint(int trace, int point, bool remember);
  // Moves run on the first visible trace when theirs is not shown; false when none is.
  bool KeepActiveTraceVisible();
  void ApplyMouseOutcome(const MouseOutcome& outcome);
  void Notice(const std::string& text);

  // Cursors and entry boxes (main_window_entries.cpp).
  void BuildEntryBoxes();
  EntryBox* NewThresholdBox(QWidget* parent);
  void ShowCursorReadouts();
  void EnableZoomCursors();
  void MoveToSpecificPoint(int point);

  MainWindowOptions options_;
  LiveSpectrum live_;
  Selection selection_;
  PointNavigation navigation_;
  PointerModes modes_;
  PlotMouse mouse_{modes_, live_.View};
  std::array<CursorMark, 2> cursors_{};
  bool cursorDisplay_ = false;
  std::array<Palette, 2> palettes_ = kDefaultPalettes;
  int activePalette_ = kViewingPalette;
  int traceLineWidth_ = 1;
  std::optional<ModemInfo> currentModem_;
  QString lastPath_;
  int exportKind_ = 0;  // the drop-down entry the Export button's face repeats
  bool loaded_ = false;
  bool busyShown_ = false;
  bool watchingScreen_ = false;

  // Widgets (owned by Qt's parent chain).
  PlotWidget* picSpectrum_ = nullptr;
  QScrollBar* vScroll_ = nullptr;
  QScrollBar* hScroll_ = nullptr;
  StatusPanels* panels_ = nullptr;
  QToolBar* tbMain_ = nullptr;
  QToolBar* tbCursors_ = nullptr;
  QComboBox* comboPeakPoint_ = nullptr;
  EntryBox* txtThreshold_ = nullptr;
  EntryBox* txtPoint_ = nullptr;
  EntryBox* txtFreq_ = nullptr;
  EntryBox* txtAmp_ = nullptr;
  QTimer* timerCoord_ = nullptr;
  QTimer* curPointClick_ = nullptr;  // a click on "CurPoint" waits to see if a second follows
  std::array<QLineEdit*, 6> txtCursor_{};
  QPushButton* cmdUpdate_ = nullptr;
  QAction* stopGoMenu_ = nullptr;
  QMenu* viewMenu_ = nullptr;
  std::map<QString, QAction*> buttons_;   // tbMain and tbCursors, by key
  std::map<QString, QAction*> entries_;   // menu entries by control name
  std::map<QString, QMenu*> dropDowns_;   // drop-down menus by button key
  std::array<QAction*, kPresetCount> dbItems_{};
  std::array<QAction*, kPresetCount> spanItems_{};

  std::unique_ptr<WindowNotices> notices_;
  std::unique_ptr<AcquisitionCycle> cycle_;  // declared last: its link thread stops first
};

}  // namespace tavrix
