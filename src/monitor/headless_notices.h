#pragma once
// The acquisition cycle's notices where no one watches: a question about a lost unit is
// answered "go on trying", a box's text goes to the log (once while it repeats), and the
// status texts, meant for a status bar, are dropped.
#include <functional>
#include <string>
#include <string_view>

#include "common/notices.h"

namespace tavrix::monitor {

using LogLine = std::function<void(const std::string& line)>;

// A unit's name as log lines show it: in quotes, with quotes, backslashes and control
// characters escaped, so that one line stays one line.
std::string QuotedName(std::string_view name);

class HeadlessNotices : public Notices {
 public:
  HeadlessNotices(std::string prefix, LogLine log) : prefix_(std::move(prefix)), log_(std::move(log)) {}
  void ShowStatus(const std::string&, bool) override {}
  MessageAnswer Ask(const std::string& text, const std::string& title, MessageButtons buttons,
                    MessageIcon icon) override;

 private:
  std::string prefix_;
  LogLine log_;
  std::string last_;
};

}  // namespace tavrix::monitor
