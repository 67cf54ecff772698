#pragma once
#include <charconv>
#include <string>
#include <vector>

namespace tavrix {

// Walks command-line words: options "--name", "--name value" or "--name=value", and
// plain words; after "--" every word is plain.
class OptionReader {
 public:
  explicit OptionReader(const std::vector<std::string>& args) : args_(args) {}

  // Moves to the next word; false at the end.
  bool Next();
  bool IsOption() const { return isOption_; }
  const std::string& Name() const { return name_; }  // the option, without any "=value"
  const std::string& Word() const { return args_[index_]; }
  bool HasInlineValue() const { return hasInline_; }
  // Takes the option's value (inline or the next word). Returns an empty text, or what
  // is wrong.
  std::string TakeValue(std::string& value);

 private:
  const std::vector<std::string>& args_;
  size_t next_ = 0;
  size_t index_ = 0;
  bool optionsEnded_ = false;
  bool isOption_ = false;
  bool hasInline_ = false;
  std::string name_, inline_;
};

// Reads a whole word as a number (C locale, no blanks, no sign "+"); false when it is not one.
template <typename Number>
bool ReadNumber(const std::string& text, Number& value) {
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  return error == std::errc() && stop == end && !text.empty();
}

}  // namespace tavrix
