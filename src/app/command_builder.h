#pragma once
#include <QString>

#include <array>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "app/command_table.h"

class QAction;
class QComboBox;
class QMainWindow;
class QMenu;
class QToolBar;
class QWidget;

namespace tavrix {

// Where the commands go: a command with its index in a family (0 for a single command),
// and an entry of a button's drop-down by its place.
struct CommandHandlers {
  std::function<void(Command, int)> Run;
  std::function<void(Command button, int entry)> RunDropDown;
};

// The main window's actions, menus and toolbars, built from the command tables and
// addressed by their handles. Check marks and captions are set here from what the window
// says; the actions hold no state of their own that the window reads back.
class CommandSet {
 public:
  // Builds tbMain on `window` (with `thresholdBox` after "PeakThreshold"), the menu bar,
  // and the buttons of `cursorBar`.
  void Build(QMainWindow* window, QToolBar* cursorBar, QWidget* thresholdBox, CommandHandlers handlers);

  // A command's action; in a family, the entry at `index`.
  QAction* Action(Command command, int index = 0) const;
  // The drop-down of the Export, dBperDiv or FSpan button; nullptr for any other.
  QMenu* DropDown(Command button) const;
  QComboBox* MoveTypeList() const { return comboPeakPoint_; }
  QMenu* ViewMenu() const { return viewMenu_; }

  void Check(Command command, bool on, int index = 0) const;
  void Enable(Command command, bool on, int index = 0) const;
  // The move commands' captions and tool tips, and the move-type list, for a move type.
  void ShowMoveType(bool byPeaks) const;
  // The preset checked in each preset menu and its drop-down.
  void CheckPresets(int dbIndex, int spanIndex) const;
  // The span presets' captions for a capture's band; nullptr for the captions before any.
  void ShowSpanCaptions(const std::array<std::string, kPresetCount>* captions) const;

 private:
  QAction* NewAction(QWidget* owner, Command command, int index, const QString& text);
  // A toolbar button's action: its picture, key, tool tip and check mark.
  QAction* NewButton(QWidget* owner, const CommandRow& row);
  void BuildMainToolbar(QMainWindow* window, QWidget* thresholdBox);
  void BuildMenus(QMainWindow* window);
  void AddEntries(QMenu* menu, std::span<const MenuRow> rows);

  CommandHandlers handlers_;
  std::array<std::vector<QAction*>, kCommandCount> actions_;
  std::array<QMenu*, 3> dropDowns_{};  // Export, dBperDiv, FSpan
  QComboBox* comboPeakPoint_ = nullptr;
  QMenu* viewMenu_ = nullptr;
};

}  // namespace tavrix
