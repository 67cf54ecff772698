#include "ui/entry_checks.h"

#include <charconv>
#include <cmath>
#include <limits>

#include "common/picture_format.h"

namespace tavrix {

namespace {

constexpr int kPointCount = 2048;
constexpr double kAmplitudeLimit = 125;

bool IsBlank(char c) { return c == ' ' || c == '\t'; }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// Where the leading number ends (past its last digit or point).
size_t NumberEnd(std::string_view text) {
  size_t pos = 0;
  while (pos < text.size() && IsBlank(text[pos])) ++pos;
  if (pos < text.size() && (text[pos] == '-' || text[pos] == '+')) ++pos;
  while (pos < text.size() && IsDigit(text[pos])) ++pos;
  if (pos < text.size() && text[pos] == '.') ++pos;
  while (pos < text.size() && IsDigit(text[pos])) ++pos;
  return pos;
}

EntryCheck Checked(double value, bool inRange, std::string message) {
  return {inRange, value, inRange ? std::string() : std::move(message)};
}

EntryCheck CheckDecibels(std::string_view text, const char* message) {
  const double value = LeadingNumber(text);
  return Checked(value, value >= -kAmplitudeLimit && value <= kAmplitudeLimit, message);
}

}  // namespace

double LeadingNumber(std::string_view text) {
  size_t pos = 0;
  while (pos < text.size() && IsBlank(text[pos])) ++pos;
  const bool negative = pos < text.size() && text[pos] == '-';
  if (pos < text.size() && (text[pos] == '-' || text[pos] == '+')) ++pos;
  const std::string_view digits = text.substr(pos, NumberEnd(text) - pos);
  if (digits.find_first_of("0123456789") == std::string_view::npos) return 0;
  double value = 0;
  const auto [end, ec] = std::from_chars(digits.data(), digits.data() + digits.size(), value,
                                         std::chars_format::fixed);
  // Digits beyond any double read as infinite, so that every range refuses them.
  if (ec == std::errc::result_out_of_range) value = std::numeric_limits<double>::infinity();
  return negative ? -value : value;
}

EntryCheck CheckPointEntry(std::string_view text) {
  const double value = LeadingNumber(text);
  return Checked(value, value >= 1 && value <= kPointCount,
                 "You can only select from valid points...1 through " + std::to_string(kPointCount) + "!");
}

EntryCheck CheckFrequencyEntry(std::string_view text, double lowMHz, double highMHz, const std::string& freqFormat) {
  double value = LeadingNumber(text);
  std::string_view unit = text.substr(NumberEnd(text));
  while (!unit.empty() && IsBlank(unit.front())) unit.remove_prefix(1);
  if (!unit.empty() && (unit.front() == 'K' || unit.front() == 'k')) value /= 1000;

  const std::string low = FormatPicture(lowMHz, freqFormat);
  const std::string high = FormatPicture(highMHz, freqFormat);
  // The bounds are shown rounded; what the operator can read off the message is accepted.
  const std::string shown = FormatPicture(value, freqFormat);
  const bool inRange = (value >= lowMHz && value <= highMHz) || shown == low || shown == high;
  return Checked(value, inRange, "You can only set a frequency within " + low + " and " + high + "!");
}

EntryCheck CheckAmplitudeEntry(std::string_view text) {
  return CheckDecibels(text, "You can only set an amplitude value within \u00B1" "125dB!");
}

EntryCheck CheckThresholdEntry(std::string_view text) {
  return CheckDecibels(text, "You can only set a minimum peak threshold value within \u00B1" "125dB!");
}

}  // namespace tavrix
