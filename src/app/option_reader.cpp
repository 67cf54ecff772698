#include "app/option_reader.h"

namespace tavrix {

bool OptionReader::Next() {
  while (next_ < args_.size()) {
    index_ = next_++;
    const std::string& word = args_[index_];
    if (!optionsEnded_ && word == "--") {
      optionsEnded_ = true;
      continue;
    }
    isOption_ = !optionsEnded_ && word.size() > 1 && word[0] == '-';
    hasInline_ = false;
    name_ = word;
    if (isOption_ && word.rfind("--", 0) == 0) {
      const size_t eq = word.find('=');
      if (eq != std::string::npos) {
        name_ = word.substr(0, eq);
        inline_ = word.substr(eq + 1);
        hasInline_ = true;
      }
    }
    return true;
  }
  return false;
}

std::string OptionReader::TakeValue(std::string& value) {
  if (hasInline_) {
    value = inline_;
    return {};
  }
  if (next_ >= args_.size()) return name_ + " needs a value";
  value = args_[next_++];
  return {};
}

}  // namespace tavrix
