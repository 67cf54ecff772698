#include "monitor/headless_notices.h"

#include <cstdio>

namespace tavrix::monitor {

std::string QuotedName(std::string_view name) {
  std::string out = "\"";
  for (const char c : name) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '"' || c == '\\') {
      out += '\\';
      out += c;
    } else if (c == '\n') {
      out += "\\n";
    } else if (byte < 0x20 || byte == 0x7f) {
      char hex[8];
      std::snprintf(hex, sizeof hex, "\\x%02x", byte);
      out += hex;
    } else {
      out += c;
    }
  }
  return out + "\"";
}

MessageAnswer HeadlessNotices::Ask(const std::string& text, const std::string& title, MessageButtons buttons,
                                   MessageIcon) {
  // The one question the cycle asks is whether to go on trying a lost unit: always.
  if (buttons == MessageButtons::YesNo || buttons == MessageButtons::YesNoCancel) return MessageAnswer::Yes;
  if (buttons == MessageButtons::RetryCancel) return MessageAnswer::Retry;
  const std::string line = prefix_ + title + ": " + text;
  if (line != last_ && log_) log_(line);
  last_ = line;
  return MessageAnswer::Ok;
}

}  // namespace tavrix::monitor
