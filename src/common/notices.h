#pragma once
#include <string>

namespace tavrix {

enum class MessageButtons { Ok, OkCancel, YesNo, YesNoCancel, RetryCancel };
enum class MessageIcon { None, Critical, Question, Exclamation, Information };
enum class MessageAnswer { Ok, Cancel, Yes, No, Retry };

// The one way the system speaks to the operator: a notice in the status bar's "Status"
// panel, or a modal question with fixed text, title, buttons and icon. The main window
// implements it with its status bar and message boxes; tests answer from a script.
class Notices {
 public:
  virtual ~Notices() = default;
  virtual void ShowStatus(const std::string& text, bool beep) = 0;
  virtual MessageAnswer Ask(const std::string& text, const std::string& title, MessageButtons buttons,
                            MessageIcon icon) = 0;
};

}  // namespace tavrix
