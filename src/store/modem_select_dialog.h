#pragma once
#include <QDialog>

#include <functional>
#include <optional>
#include <string>

#include "common/notices.h"
#include "store/modem_editing.h"

class QListWidget;
class QMenu;
class QAction;
class QPushButton;

namespace tavrix {

// What the manager needs from its owner.
struct ModemSelectHooks {
  // Whether the named entry is the unit the link is connected to now.
  std::function<bool(const std::string& name)> IsConnected;
  // Opens the properties dialog for an entry (or kNewModemMarker) and returns what its
  // OK did. The default shows frmModem modally; tests answer instead.
  std::function<StoreOutcome(const std::string& editedName)> EditProperties;
};

// frmModemSelect, "Select Modem": the list of all units in directory order, with Add,
// Remove, Properties, OK and Cancel, the same commands on the list's right-click menu
// "&Edit", and a double click for Properties. Every change of the directory is reported
// at once through `directoryChanged`; OK with a selection chooses that unit. Remove,
// Properties and OK do nothing without a selection.
class frmModemSelect : public QDialog {
  Q_OBJECT

 public:
  frmModemSelect(Modems& modems, Notices& notices, ModemSelectHooks hooks, QWidget* parent = nullptr);

  // The unit chosen with OK; nothing after Cancel.
  const std::optional<std::string>& Chosen() const { return chosen_; }

  QListWidget* listModems = nullptr;
  QPushButton* cmdAdd = nullptr;
  QPushButton* cmdRemove = nullptr;
  QPushButton* cmdProps = nullptr;
  QPushButton* cmdOK = nullptr;
  QPushButton* cmdCancel = nullptr;
  QMenu* mnuEdit = nullptr;
  QAction* mnuEditAdd = nullptr;
  QAction* mnuEditRemove = nullptr;
  QAction* mnuEditProps = nullptr;
  QAction* mnuEditDone = nullptr;

  void cmdAdd_Click();
  void cmdRemove_Click();
  void cmdProps_Click();
  void cmdOK_Click();

 signals:
  // The directory changed: an entry added, edited (renamed from `oldName`, or replaced
  // and removed) or removed.
  void directoryChanged();
  void modemRenamed(const QString& oldName, const QString& newName);
  void modemRemoved(const QString& name);

 private:
  // Refills the list from the directory and selects `select` (the first item when it is not there).
  void FillList(const std::string& select);
  std::optional<std::string> SelectedName() const;
  // Reports what the properties dialog stored for `editedName` and shows the new list.
  void TakeEdit(const std::string& editedName, const StoreOutcome& outcome);
  void EnableCommands();

  Modems& modems_;
  Notices& notices_;
  ModemSelectHooks hooks_;
  std::optional<std::string> chosen_;
};

}  // namespace tavrix
