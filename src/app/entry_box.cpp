#include "app/entry_box.h"

#include <QFocusEvent>
#include <QKeyEvent>
#include <QTimer>

#include "ui/key_filter.h"

namespace tavrix {

EntryBox::EntryBox(Behaviour behaviour, QWidget* parent) : QLineEdit(parent), behaviour_(std::move(behaviour)) {
  if (behaviour_.Floating) hide();
}

void EntryBox::OpenOver(const QRect& area) {
  setGeometry(area);
  raise();
  show();
  setFocus(Qt::OtherFocusReason);
}

void EntryBox::focusInEvent(QFocusEvent* event) {
  QLineEdit::focusInEvent(event);
  skipValidation_ = false;
  allowed_ = CharacterSet(behaviour_.CharacterSet);
  if (behaviour_.Initial) setText(behaviour_.Initial());
  selectAll();
  // Again after a click that gave the focus has placed the caret.
  QTimer::singleShot(0, this, [this] {
    if (hasFocus()) selectAll();
  });
}

bool EntryBox::Validate() {
  // The range test runs even after Escape; only an in-range value, not escaped, applies.
  const EntryCheck check = behaviour_.Check(text().toStdString());
  if (!check.InRange) {
    emit refused(QString::fromStdString(check.Message));
    return false;
  }
  if (!skipValidation_ && behaviour_.Apply) behaviour_.Apply(check.Value);
  return true;
}

void EntryBox::Leave() {
  if (!Validate()) return;
  leaving_ = true;
  emit done();
  if (hasFocus()) clearFocus();
  leaving_ = false;
  if (behaviour_.Floating) hide();
}

void EntryBox::focusOutEvent(QFocusEvent* event) {
  QLineEdit::focusOutEvent(event);
  if (leaving_ || event->reason() == Qt::PopupFocusReason || !isVisible()) return;
  if (!Validate()) {
    QTimer::singleShot(0, this, [this] { setFocus(Qt::OtherFocusReason); });  // the box keeps the focus
    return;
  }
  if (behaviour_.Floating) hide();
}

void EntryBox::keyPressEvent(QKeyEvent* event) {
  const int key = event->key();
  if (key == Qt::Key_Return || key == Qt::Key_Enter) {
    skipValidation_ = false;
    Leave();
    return;
  }
  if (key == Qt::Key_Escape) {
    skipValidation_ = true;
    if (behaviour_.Escaped) behaviour_.Escaped();
    Leave();
    return;
  }
  const QString typed = event->text();
  if (typed.size() != 1 || !typed[0].isPrint()) {
    QLineEdit::keyPressEvent(event);  // editing keys: arrows, Delete, Backspace, Home...
    return;
  }
  const KeyFilterInput box{text().toStdString(), selectionStart() < 0 ? cursorPosition() : selectionStart(),
                           static_cast<int>(selectedText().size()), behaviour_.MaxLength};
  const KeyFilterResult result = FilterKey(typed[0].unicode(), allowed_, box);
  if (result.Text) {
    setText(QString::fromStdString(*result.Text));
  } else if (result.Key != 0) {
    insert(QString(QChar(result.Key)));
  }
}

}  // namespace tavrix
