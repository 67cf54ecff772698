#pragma once
#include <QDialog>

#include <string>

#include "common/notices.h"
#include "store/modem_editing.h"

class QLineEdit;
class QPushButton;

namespace tavrix {

// frmModem, "Tarvix Modem Properties": the name, address, status and last communication
// of one unit. Opened for an entry of the directory by its name, or for a new one with
// kNewModemMarker (its boxes then start empty, the address showing the greyed
// "255.255.255.255"). OK stores through StoreModem and closes only when it stored;
// Cancel closes and changes nothing.
class frmModem : public QDialog {
  Q_OBJECT

 public:
  // `connected`: whether this entry is the unit the link is connected to now.
  frmModem(Modems& modems, const std::string& editedName, bool connected, Notices& notices,
           QWidget* parent = nullptr);

  // What OK did (Stored false after Cancel or a refusal).
  const StoreOutcome& Outcome() const { return outcome_; }

  // The controls, by their names.
  QLineEdit* txtModemName = nullptr;
  QLineEdit* txtIPA = nullptr;
  QLineEdit* txtStatus = nullptr;
  QLineEdit* txtLastComm = nullptr;
  QPushButton* cmdOK = nullptr;
  QPushButton* cmdCancel = nullptr;

  void cmdOK_Click();
  // The address check when the address box loses the focus: a refusal is told and the
  // focus goes back to the box. False when refused.
  bool txtIPA_Validate();

  void done(int result) override;

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void FillBoxes(bool connected);

  Modems& modems_;
  std::string editedName_;
  Notices& notices_;
  StoreOutcome outcome_;
  bool validating_ = false;  // a refusal is on screen: its own focus changes are not checked again
  bool closing_ = false;     // the dialog is going away: nothing is checked any more
};

}  // namespace tavrix
