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
class QToolButton;

namespace tavrix {

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

  // The size rule of a resize; a size below the minimum is told and corrected.
  void Form_Resize(int width, int height);
  // Redraws the plot from the state, with the scroll bars, check marks and panels.
  void UpdateView();

  LiveSpectrum& Live() { return live_; }
  const Selection& CurrentSelection() const { return selection_; }
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
  uint16_t OnCaptureBlock(const std::string& block);
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

  MainWindowOptions options_;
  LiveSpectrum live_;
  Selection selection_;
  std::array<CursorMark, 2> cursors_{};
  bool cursorDisplay_ = false;
  float threshold_ = 0.0f;
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
  QLineEdit* txtThreshold_ = nullptr;
  QLineEdit* txtPoint_ = nullptr;
  QLineEdit* txtFreq_ = nullptr;
  QLineEdit* txtAmp_ = nullptr;
  std::array<QLineEdit*, 6> txtCursor_{};
  QPushButton* cmdUpdate_ = nullptr;
  QAction* stopGoMenu_ = nullptr;
  std::map<QString, QAction*> buttons_;   // tbMain and tbCursors, by key
  std::map<QString, QAction*> entries_;   // menu entries by control name
  std::map<QString, QMenu*> dropDowns_;   // drop-down menus by button key
  std::array<QAction*, kPresetCount> dbItems_{};
  std::array<QAction*, kPresetCount> spanItems_{};

  std::unique_ptr<WindowNotices> notices_;
  std::unique_ptr<AcquisitionCycle> cycle_;  // declared last: its link thread stops first
};

}  // namespace tavrix
