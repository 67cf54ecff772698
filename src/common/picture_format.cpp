#include "common/picture_format.h"

#include <charconv>
#include <cmath>

namespace tavrix {

namespace {

bool IsDigitPlace(char c) { return c == '#' || c == '0'; }

}  // namespace

std::string FormatPicture(double value, std::string_view picture) {
  // Split the picture into literal prefix, integer places, decimal places and literal suffix.
  size_t first = 0;
  while (first < picture.size() && !IsDigitPlace(picture[first]) && picture[first] != '.') ++first;
  size_t pos = first;
  int forcedIntegerDigits = 0;
  while (pos < picture.size() && IsDigitPlace(picture[pos])) {
    if (picture[pos] == '0') ++forcedIntegerDigits;
    ++pos;
  }
  int decimals = 0;
  if (pos < picture.size() && picture[pos] == '.') {
    ++pos;
    while (pos < picture.size() && IsDigitPlace(picture[pos])) {
      ++decimals;
      ++pos;
    }
  }
  std::string_view prefix = picture.substr(0, first);
  std::string_view suffix = picture.substr(pos);

  std::string out(prefix);
  if (!std::isfinite(value)) {
    out += std::isnan(value) ? "NaN" : (value < 0 ? "-Inf" : "Inf");
    out += suffix;
    return out;
  }

  char digits[400];
  auto [end, ec] = std::to_chars(digits, digits + sizeof digits, std::fabs(value),
                                 std::chars_format::fixed, decimals);
  std::string_view text(digits, ec == std::errc() ? static_cast<size_t>(end - digits) : 0);
  size_t point = text.find('.');
  std::string_view integerPart = text.substr(0, point);
  std::string_view fraction = point == std::string_view::npos ? std::string_view{} : text.substr(point);

  // "#" places drop leading zeros; the '0' places keep at least that many digits.
  size_t skip = 0;
  while (skip < integerPart.size() && integerPart[skip] == '0' &&
         static_cast<int>(integerPart.size() - skip) > forcedIntegerDigits)
    ++skip;
  integerPart.remove_prefix(skip);

  bool allZero = text.find_first_not_of("0.") == std::string_view::npos;
  if (value < 0 && !allZero) out += '-';
  for (int pad = static_cast<int>(integerPart.size()); pad < forcedIntegerDigits; ++pad) out += '0';
  out += integerPart;
  out += fraction;
  out += suffix;
  return out;
}

}  // namespace tavrix
