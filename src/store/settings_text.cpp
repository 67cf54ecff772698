#include "store/settings_text.h"

#include <QString>

#include <charconv>
#include <cmath>
#include <limits>
#include <system_error>

namespace tavrix {

namespace {

constexpr int kSingleDigits = 9;  // enough for every float to read back bit for bit

std::string_view Trimmed(std::string_view text) {
  const auto first = text.find_first_not_of(" \t");
  if (first == std::string_view::npos) return {};
  const auto last = text.find_last_not_of(" \t");
  return text.substr(first, last - first + 1);
}

bool EqualsNoCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    const auto lower = [](char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; };
    if (lower(a[i]) != lower(b[i])) return false;
  }
  return true;
}

// A number in the C locale, whatever the process locale: blanks around it, an optional
// sign, digits with an optional fraction and exponent, nothing else. Infinities and NaN
// are not numbers here.
template <typename Float>
std::optional<Float> ReadFloat(std::string_view text) {
  text = Trimmed(text);
  // from_chars takes a minus but not a plus; a plus followed by another sign stays unreadable.
  if (!text.empty() && text.front() == '+') {
    text.remove_prefix(1);
    if (!text.empty() && (text.front() == '-' || text.front() == '+')) return std::nullopt;
  }
  if (text.empty()) return std::nullopt;
  Float value{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(value)) return std::nullopt;
  return value;
}

// A whole number of the type's range. A fraction rounds to the nearest whole number and
// a half to the even one (2.5 reads 2, 3.5 reads 4), as a conversion to a whole type rounds.
template <typename Whole>
std::optional<Whole> ReadWhole(std::string_view text) {
  const std::optional<double> number = ReadFloat<double>(text);
  if (!number) return std::nullopt;
  double rounded = std::round(*number);
  if (std::fabs(*number - std::trunc(*number)) == 0.5) rounded = 2.0 * std::round(*number / 2.0);
  if (rounded < std::numeric_limits<Whole>::min() || rounded > std::numeric_limits<Whole>::max()) return std::nullopt;
  return static_cast<Whole>(rounded);
}

}  // namespace

std::string BooleanText(bool value) { return value ? "True" : "False"; }

std::string IntegerText(int64_t value) {
  char buffer[24];
  const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
  return std::string(buffer, result.ptr);
}

std::string SingleText(float value) {
  char buffer[32];
  const auto result = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::general, kSingleDigits);
  return std::string(buffer, result.ptr);
}

// Local time to the second, without an offset: the text names the time the operator saw.
std::string DateText(const QDateTime& value) {
  QDateTime local = value.toLocalTime();
  local.setTime(QTime(local.time().hour(), local.time().minute(), local.time().second()));
  return local.toString(Qt::ISODate).toStdString();
}

std::optional<bool> ReadBoolean(std::string_view text) {
  const std::string_view word = Trimmed(text);
  if (EqualsNoCase(word, "True")) return true;
  if (EqualsNoCase(word, "False")) return false;
  if (const std::optional<double> number = ReadFloat<double>(word)) return *number != 0;
  return std::nullopt;
}

std::optional<int16_t> ReadInteger(std::string_view text) { return ReadWhole<int16_t>(text); }

std::optional<int32_t> ReadLong(std::string_view text) { return ReadWhole<int32_t>(text); }

std::optional<float> ReadSingle(std::string_view text) { return ReadFloat<float>(text); }

std::optional<QDateTime> ReadDate(std::string_view text) {
  const std::string_view trimmed = Trimmed(text);
  const QDateTime date =
      QDateTime::fromString(QString::fromUtf8(trimmed.data(), static_cast<qsizetype>(trimmed.size())), Qt::ISODate);
  if (!date.isValid()) return std::nullopt;
  return date.toLocalTime();
}

}  // namespace tavrix
