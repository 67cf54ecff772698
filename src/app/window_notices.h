#pragma once
#include <functional>
#include <string>

#include "common/notices.h"

class QWidget;

namespace tavrix {

class StatusPanels;

// A question as the operator sees it.
struct Question {
  std::string Text;
  std::string Title;
  MessageButtons Buttons;
  MessageIcon Icon;
};
using QuestionAnswerer = std::function<MessageAnswer(const Question&)>;

// The window's notices: the "Status" panel with the system beep, and modal message
// boxes. An answerer given at construction replaces the boxes (tests answer from a script).
class WindowNotices : public Notices {
 public:
  WindowNotices(QWidget* window, StatusPanels* panels, QuestionAnswerer answerer = {})
      : window_(window), panels_(panels), answerer_(std::move(answerer)) {}

  void ShowStatus(const std::string& text, bool beep) override;
  MessageAnswer Ask(const std::string& text, const std::string& title, MessageButtons buttons,
                    MessageIcon icon) override;

 private:
  QWidget* window_;
  StatusPanels* panels_;
  QuestionAnswerer answerer_;
};

}  // namespace tavrix
