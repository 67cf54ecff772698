// The main window and the modem directory: loading it, the current unit and the title,
// the recent list of the Communications menu, the dialogs that add, edit, remove and
// choose units, and the time of each unit's last successful connection.
#include <QAction>
#include <QApplication>
#include <QDateTime>

#include "app/command_table.h"
#include "app/main_window.h"
#include "app/window_text.h"
#include "store/modem_properties_dialog.h"
#include "store/modem_select_dialog.h"
#include "store/settings_store.h"

namespace tavrix {

namespace {

// A unit's name as a menu caption: an "&" shows as itself, not as a mnemonic.
QString MenuCaption(const std::string& name) { return Text(name).replace("&", "&&"); }

}  // namespace

bool SameUnit(const std::optional<ModemInfo>& a, const std::optional<ModemInfo>& b) {
  if (!a || !b) return !a && !b;
  return SameName(a->Name, b->Name) && a->Address == b->Address;
}

std::optional<ModemInfo> frmMain::CurrentModem() const {
  if (outsideModem_) return outsideModem_;
  const Modem* modem = currentModemName_.empty() ? nullptr : modems_.Item(currentModemName_);
  if (modem == nullptr) return std::nullopt;
  return ModemInfo{modem->Name, modem->IP_Address};
}

void frmMain::LoadDirectory() {
  StoredDirectory stored = LoadModems(*store_);
  modems_ = std::move(stored.Entries);
  lastModem_ = stored.LastModem;
  directoryRepair_ = stored.CountRepairNotice;
  // A LastModem that names no entry leaves no unit current.
  if (const Modem* last = lastModem_.empty() ? nullptr : modems_.Item(lastModem_)) currentModemName_ = last->Name;
  FillRecentMenu();
}

void frmMain::SaveDirectory() {
  SettingsWritten(SaveModems(*store_, modems_, lastModem_));
}

void frmMain::UpdateModems() {
  modems_.SetRecent();
  FillRecentMenu();
}

const Modem* frmMain::RecentModem(int place) const {
  // The recent array runs from the oldest of the ten to the newest; the menu shows the
  // newest at the top.
  int places = 0;
  while (places < kRecentModems && modems_.GetRecent(places + 1) != 0) ++places;
  return place >= 0 && place < places ? modems_.WithIndex(modems_.GetRecent(places - place)) : nullptr;
}

void frmMain::FillRecentMenu() {
  for (int i = 0; i < kRecentModems; ++i) {
    QAction* item = Action(Command::CommSel, i);
    const Modem* modem = RecentModem(i);
    item->setCheckable(modem != nullptr);
    item->setText(modem != nullptr ? MenuCaption(modem->Name) : i == 0 ? kNoRecentModem : "");
    if (modem != nullptr) item->setChecked(!outsideModem_ && SameName(modem->Name, currentModemName_));
    item->setEnabled(modem != nullptr);
    item->setVisible(modem != nullptr || (i == 0 && RecentModem(0) == nullptr));
  }
}

void frmMain::mnuCommSel_Click(int index) {
  if (const Modem* modem = RecentModem(index)) ChooseModem(std::string(modem->Name));
}

void frmMain::ChooseModem(const std::string& name) {
  const Modem* modem = modems_.Item(name);
  if (modem == nullptr) return;
  const std::optional<ModemInfo> before = CurrentModem();
  outsideModem_.reset();
  currentModemName_ = modem->Name;
  lastModem_ = modem->Name;
  UpdateModems();
  SaveDirectory();
  if (!SameUnit(before, CurrentModem())) ForgetCaptures();
  ChooseDirectoryUnit();
}

void frmMain::ChooseDirectoryUnit() {
  SetTitle();
  cycle_->CurrentModemChanged();
  cycle_->ChooseUnit();
  ShowAcquisitionDisplay();
}

bool frmMain::IsConnectedUnit(const std::string& name) const {
  return !outsideModem_ && SameName(name, currentModemName_) && cycle_->Connected();
}

void frmMain::DefaultDialogs() {
  // The dialogs a test has not replaced are the real ones.
  if (!options_.ChooseSaveFile)
    options_.ChooseSaveFile = [this](const SaveDialogSetup& setup) { return ShowSaveDialog(this, setup); };
  if (!options_.ChooseColor)
    options_.ChooseColor = [this](const QString& title, const QColor& initial) {
      return ShowColorDialog(this, title, initial);
    };
  if (!options_.EditModem)
    options_.EditModem = [this](Modems& modems, const std::string& edited) {
      const bool connected = edited != kNewModemMarker && IsConnectedUnit(edited);
      frmModem dialog(modems, edited, connected, *notices_, QApplication::activeWindow());
      dialog.exec();
      return dialog.Outcome();
    };
}

void frmMain::mnuCommAdd_Click() {
  const StoreOutcome outcome = options_.EditModem(modems_, kNewModemMarker);
  if (!outcome.Stored) return;
  UpdateModems();
  SaveDirectory();
  SetTitle();
  // A unit added while none is current becomes current and is connected.
  if (!CurrentModem()) ChooseModem(outcome.StoredName);
}

void frmMain::mnuCommManage_Click() {
  ModemSelectHooks hooks;
  hooks.IsConnected = [this](const std::string& name) { return IsConnectedUnit(name); };
  hooks.EditProperties = [this](const std::string& name) { return options_.EditModem(modems_, name); };
  frmModemSelect dialog(modems_, *notices_, hooks, this);
  connect(&dialog, &frmModemSelect::modemRenamed, this, [this](const QString& from, const QString& to) {
    OnModemRenamed(from.toStdString(), to.toStdString());
  });
  connect(&dialog, &frmModemSelect::modemRemoved, this,
          [this](const QString& name) { OnModemRemoved(name.toStdString()); });
  connect(&dialog, &frmModemSelect::directoryChanged, this, [this] {
    UpdateModems();
    SaveDirectory();
    SetTitle();
  });
  if (dialog.exec() == QDialog::Accepted && dialog.Chosen()) ChooseModem(*dialog.Chosen());
}

void frmMain::OnModemRenamed(const std::string& oldName, const std::string& newName) {
  // The current unit, LastModem and the title follow a rename.
  if (SameName(currentModemName_, oldName)) currentModemName_ = newName;
  if (SameName(lastModem_, oldName)) lastModem_ = newName;
  SetTitle();
}

void frmMain::OnModemRemoved(const std::string& name) {
  if (SameName(lastModem_, name)) lastModem_.clear();
  if (outsideModem_ || !SameName(currentModemName_, name)) return;
  // The unit being watched has gone: updates stop and no unit is current.
  currentModemName_.clear();
  SetTitle();
  cycle_->DropUnit();
  ShowAcquisitionDisplay();
}

void frmMain::OnConnectFinished(bool connected) {
  if (!connected || outsideModem_) return;
  Modem* modem = currentModemName_.empty() ? nullptr : modems_.Item(currentModemName_);
  if (modem == nullptr) return;
  modem->LastComm = QDateTime::currentDateTime();
  modem->IsThere = true;
  std::array<int32_t, kRecentModems> before{};
  for (int i = 0; i < kRecentModems; ++i) before[static_cast<size_t>(i)] = modems_.GetRecent(i + 1);
  modems_.SetRecent();
  bool reordered = false;
  for (int i = 0; i < kRecentModems; ++i) reordered |= before[static_cast<size_t>(i)] != modems_.GetRecent(i + 1);
  if (reordered) FillRecentMenu();
  // The unit answers at every poll: its time goes to the disk at the first connection,
  // then at most once per interval, and at close, so the settings file is not rewritten
  // every few seconds for a timestamp.
  const bool firstForUnit = !SameName(lastCommWrittenFor_, modem->Name);
  if (firstForUnit || !lastCommWritten_.isValid() || lastCommWritten_.hasExpired(options_.LastCommWriteMs)) {
    SaveDirectory();
    lastCommWrittenFor_ = modem->Name;
    lastCommWritten_.start();
  }
}

}  // namespace tavrix
