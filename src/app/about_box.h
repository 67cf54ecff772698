#pragma once
#include <QDialog>
#include <QString>

namespace tavrix {

// The text "System Info..." shows: what Qt reports about the machine, the screens and
// the libraries this build uses.
QString SystemInformationText();

// frmAbout: the product's name and icon, its version, what it does, a disclaimer, and a
// "System Info..." button that shows SystemInformationText in a dialog whose text can be
// selected and copied.
class frmAbout : public QDialog {
  Q_OBJECT

 public:
  explicit frmAbout(QWidget* parent = nullptr);
  void cmdSysInfo_Click();
};

}  // namespace tavrix
