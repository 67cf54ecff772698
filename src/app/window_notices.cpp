#include "app/window_notices.h"

#include <QApplication>
#include <QMessageBox>

#include "app/status_panels.h"

namespace tavrix {

namespace {

QMessageBox::Icon BoxIcon(MessageIcon icon) {
  switch (icon) {
    case MessageIcon::Critical: return QMessageBox::Critical;
    case MessageIcon::Question: return QMessageBox::Question;
    case MessageIcon::Exclamation: return QMessageBox::Warning;
    case MessageIcon::Information: return QMessageBox::Information;
    case MessageIcon::None: break;
  }
  return QMessageBox::NoIcon;
}

QMessageBox::StandardButtons BoxButtons(MessageButtons buttons) {
  switch (buttons) {
    case MessageButtons::Ok: return QMessageBox::Ok;
    case MessageButtons::OkCancel: return QMessageBox::Ok | QMessageBox::Cancel;
    case MessageButtons::YesNo: return QMessageBox::Yes | QMessageBox::No;
    case MessageButtons::YesNoCancel: return QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel;
    case MessageButtons::RetryCancel: return QMessageBox::Retry | QMessageBox::Cancel;
  }
  return QMessageBox::Ok;
}

MessageAnswer AnswerOf(int button) {
  switch (button) {
    case QMessageBox::Yes: return MessageAnswer::Yes;
    case QMessageBox::No: return MessageAnswer::No;
    case QMessageBox::Cancel: return MessageAnswer::Cancel;
    case QMessageBox::Retry: return MessageAnswer::Retry;
    default: return MessageAnswer::Ok;
  }
}

}  // namespace

void WindowNotices::ShowStatus(const std::string& text, bool beep) {
  panels_->SetText("Status", QString::fromStdString(text));
  if (beep) QApplication::beep();
}

MessageAnswer WindowNotices::Ask(const std::string& text, const std::string& title, MessageButtons buttons,
                                 MessageIcon icon) {
  if (answerer_) return answerer_({text, title, buttons, icon});
  QMessageBox box(BoxIcon(icon), QString::fromStdString(title), QString::fromStdString(text), BoxButtons(buttons),
                  window_);
  box.setTextFormat(Qt::PlainText);
  return AnswerOf(box.exec());
}

}  // namespace tavrix
