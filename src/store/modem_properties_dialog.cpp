#include "store/modem_properties_dialog.h"
#include "store/dialog_flags.h"

#include <QApplication>
#include <QDateTime>
#include <QFocusEvent>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpressionValidator>
#include <QTimer>
#include <QVBoxLayout>

#include <optional>
#include <utility>

#include "store/address_check.h"

namespace tavrix {

namespace {

constexpr const char* kLastCommFormat = "yyyy-MM-dd HH:mm:ss";
constexpr int kBoxChars = 30;  // room for a name and for "255.255.255.255:65535" with some to spare

QLineEdit* NewBox(const char* name, QWidget* parent) {
  auto* box = new QLineEdit(parent);
  box->setObjectName(name);
  box->setMinimumWidth(box->fontMetrics().averageCharWidth() * kBoxChars);
  return box;
}

// Shown, selectable and copyable, but not typed into and out of the Tab order.
void MakeReadOnly(QLineEdit* box) {
  box->setReadOnly(true);
  box->setFocusPolicy(Qt::ClickFocus);
  QPalette palette = box->palette();
  palette.setColor(QPalette::Base, palette.color(QPalette::Window));
  box->setPalette(palette);
}

}  // namespace

frmModem::frmModem(Modems& modems, const std::string& editedName, bool connected, Notices& notices, QWidget* parent)
    : QDialog(parent, kDialogFrameFlags), modems_(modems), editedName_(editedName), notices_(notices) {
  setObjectName("frmModem");
  setWindowTitle("Tarvix Modem Properties");

  txtModemName = NewBox("txtModemName", this);
  txtIPA = NewBox("txtIPA", this);
  txtIPA->setPlaceholderText("255.255.255.255");
  // An address is digits, dots and an optional ":port"; anything else cannot be typed or pasted.
  txtIPA->setValidator(new QRegularExpressionValidator(QRegularExpression("[0-9.:]*"), txtIPA));
  txtIPA->installEventFilter(this);
  txtStatus = NewBox("txtStatus", this);
  txtLastComm = NewBox("txtLastComm", this);
  MakeReadOnly(txtStatus);
  MakeReadOnly(txtLastComm);

  auto* grid = new QGridLayout;
  grid->setHorizontalSpacing(10);
  const std::pair<const char*, QLineEdit*> rows[] = {
      {"Modem Name", txtModemName}, {"IP Address", txtIPA}, {"Status", txtStatus}, {"Last Communication", txtLastComm}};
  int row = 0;
  for (const auto& [caption, box] : rows) {
    auto* label = new QLabel(caption, this);
    label->setBuddy(box);
    grid->addWidget(label, row, 0);
    grid->addWidget(box, row++, 1);
  }

  cmdOK = new QPushButton("OK", this);
  cmdOK->setObjectName("cmdOK");
  cmdOK->setDefault(true);
  cmdCancel = new QPushButton("Cancel", this);
  cmdCancel->setObjectName("cmdCancel");
  connect(cmdOK, &QPushButton::clicked, this, &frmModem::cmdOK_Click);
  connect(cmdCancel, &QPushButton::clicked, this, &frmModem::reject);
  auto* buttons = new QHBoxLayout;
  buttons->addStretch(1);
  buttons->addWidget(cmdOK);
  buttons->addWidget(cmdCancel);

  auto* layout = new QVBoxLayout(this);
  layout->addLayout(grid);
  layout->addSpacing(6);
  layout->addLayout(buttons);
  layout->setSizeConstraint(QLayout::SetFixedSize);
  setTabOrder(txtModemName, txtIPA);
  setTabOrder(txtIPA, cmdOK);
  setTabOrder(cmdOK, cmdCancel);

  FillBoxes(connected);
  txtModemName->setFocus(Qt::OtherFocusReason);
}

void frmModem::FillBoxes(bool connected) {
  txtStatus->setText(connected ? "Connected" : "Not Connected");
  if (editedName_ == kNewModemMarker) return;  // a new entry starts empty; the marker is never shown
  const Modem* modem = modems_.Item(editedName_);
  if (modem == nullptr) return;
  txtModemName->setText(QString::fromStdString(modem->Name));
  txtIPA->setText(QString::fromStdString(modem->IP_Address));
  if (modem->LastComm.isValid() && modem->LastComm > OldestTime())
    txtLastComm->setText(modem->LastComm.toLocalTime().toString(kLastCommFormat));
}

bool frmModem::txtIPA_Validate() {
  const std::string text = txtIPA->text().trimmed().toStdString();
  // An empty box is OK's to refuse ("Missing IP Address"): passing through it is no mistake.
  if (text.empty()) return true;
  const std::optional<AddressRefusal> refusal = CheckModemAddress(text);
  if (!refusal) return true;
  validating_ = true;
  notices_.Ask(refusal->Text, refusal->Title, MessageButtons::Ok, MessageIcon::Exclamation);
  if (!closing_) {
    txtIPA->setFocus(Qt::OtherFocusReason);
    txtIPA->selectAll();
  }
  validating_ = false;
  return false;
}

void frmModem::cmdOK_Click() {
  // The questions and the focus moved to the box at fault are not checked as a leaving of the address box;
  // otherwise "Unnamed Modem" would be followed at once by the address's own refusal.
  validating_ = true;
  outcome_ = StoreModem(modems_, editedName_, txtModemName->text().toStdString(), txtIPA->text().toStdString(),
                        QDateTime::currentDateTime(), notices_);
  if (outcome_.Stored) {
    validating_ = false;
    accept();
    return;
  }
  QLineEdit* box = outcome_.Focus == ModemBox::Name      ? txtModemName
                   : outcome_.Focus == ModemBox::Address ? txtIPA
                                                         : nullptr;
  if (box != nullptr) {
    box->setFocus(Qt::OtherFocusReason);
    box->selectAll();
  }
  validating_ = false;
}

void frmModem::done(int result) {
  closing_ = true;
  QDialog::done(result);
}

bool frmModem::eventFilter(QObject* watched, QEvent* event) {
  if (watched == txtIPA && event->type() == QEvent::FocusOut && !validating_ && !closing_) {
    const Qt::FocusReason reason = static_cast<QFocusEvent*>(event)->reason();
    // The focus widget is already the one taking the focus. Cancel, another window or a pop-up menu taking it
    // is no leaving of the box: a refusal must never keep the operator from getting out.
    const bool leaving = reason != Qt::ActiveWindowFocusReason && reason != Qt::PopupFocusReason &&
                         QApplication::focusWidget() != cmdCancel;
    if (leaving) {
      // Checked once the focus change is over, not in its middle; a refusal then also ends a click on OK.
      QTimer::singleShot(0, this, [this] {
        if (!closing_ && !validating_ && isVisible() && !txtIPA->hasFocus()) txtIPA_Validate();
      });
    }
  }
  return QDialog::eventFilter(watched, event);
}

}  // namespace tavrix
