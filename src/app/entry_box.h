#pragma once
#include <QLineEdit>

#include <functional>
#include <string>

#include "ui/entry_checks.h"

namespace tavrix {

// One of the entry boxes (point, frequency, amplitude, threshold): it takes only the keys
// of its character set, checks its value when the focus leaves it, and applies the value
// unless Escape sent it away. An out-of-range value keeps the focus in the box.
class EntryBox : public QLineEdit {
  Q_OBJECT

 public:
  struct Behaviour {
    int CharacterSet = 0;
    int MaxLength = 0;                                     // for typed keys only
    std::function<QString()> Initial;                      // the text when the box takes the focus
    std::function<EntryCheck(const std::string&)> Check;   // the range test
    std::function<void(double)> Apply;                     // an in-range value, not escaped
    std::function<void()> Escaped;                         // Escape rewrites what the box stands for
    bool Floating = false;                                 // shown only while it is edited
  };

  EntryBox(Behaviour behaviour, QWidget* parent);
  // Shows a floating box over `area` (in the parent's coordinates) and gives it the focus.
  void OpenOver(const QRect& area);

 signals:
  void refused(const QString& message);  // out of range: told in "Status" with a beep
  void done();                            // the value is dealt with: the focus moves on

 protected:
  void focusInEvent(QFocusEvent* event) override;
  void focusOutEvent(QFocusEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;

 private:
  bool Validate();
  void Leave();

  Behaviour behaviour_;
  std::string allowed_;
  bool skipValidation_ = false;
  bool leaving_ = false;
};

}  // namespace tavrix
