#pragma once
#include <QDateTime>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tavrix {

// Text forms of the stored values. Writing and reading round-trip exactly: Booleans as
// "True"/"False", numbers in the C locale (singles with 9 significant digits), dates as
// ISO text. A reader gives nothing for a text that is not a value of its type, so the
// caller falls back to the key's default.

std::string BooleanText(bool value);
std::string IntegerText(int64_t value);
std::string SingleText(float value);
std::string DateText(const QDateTime& value);

// "True"/"False" in any case; a number is true when it is not zero.
std::optional<bool> ReadBoolean(std::string_view text);
// Integer: 16 bits, -32768..32767. Long: 32 bits. A whole number with optional blanks
// around it and an optional sign; a number with a fraction is rounded, as a conversion to
// a whole type rounds (a half to the even neighbour).
std::optional<int16_t> ReadInteger(std::string_view text);
std::optional<int32_t> ReadLong(std::string_view text);
// Single: a finite number within the single range.
std::optional<float> ReadSingle(std::string_view text);
std::optional<QDateTime> ReadDate(std::string_view text);

}  // namespace tavrix
