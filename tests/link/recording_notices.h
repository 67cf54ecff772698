#pragma once
// The window's notices in tests: records what the operator would see, and answers a question
// as scripted: `answer` Yes or OK takes Yes or OK, No or Cancel the other; a box with OK alone OK.
#include <algorithm>
#include <string>
#include <vector>

#include "common/notices.h"

namespace tavrix::testing {

class RecordingNotices : public Notices {
 public:
  struct Box { std::string text, title; MessageButtons buttons; MessageIcon icon; };
  void ShowStatus(const std::string& text, bool) override { statuses.push_back(text); }
  MessageAnswer Ask(const std::string& text, const std::string& title, MessageButtons buttons,
                    MessageIcon icon) override {
    boxes.push_back({text, title, buttons, icon});
    const bool yes = answer == MessageAnswer::Yes || answer == MessageAnswer::Ok;
    if (buttons == MessageButtons::YesNo) return yes ? MessageAnswer::Yes : MessageAnswer::No;
    return buttons == MessageButtons::OkCancel && !yes ? MessageAnswer::Cancel : MessageAnswer::Ok;
  }
  // The boxes so far, "title|text" a line; one with other buttons or icon marked "*".
  std::string Shown(MessageButtons buttons = MessageButtons::Ok, MessageIcon icon = MessageIcon::Information) const {
    std::string shown;
    for (const Box& b : boxes)
      shown += "\n" + b.title + '|' + b.text + (b.buttons == buttons && b.icon == icon ? "" : "*");
    return shown.empty() ? shown : shown.substr(1);
  }
  bool SawStatus(const std::string& text) const { return std::ranges::find(statuses, text) != statuses.end(); }
  std::vector<std::string> statuses;
  std::vector<Box> boxes;
  MessageAnswer answer = MessageAnswer::Yes;
};

}  // namespace tavrix::testing
