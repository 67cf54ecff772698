#pragma once
#include <string>

namespace tavrix {

// Room for the longest text AppendNumberText or AppendInteger writes.
inline constexpr int kMaxNumberText = 24;

// Writes the decimal text of a single-precision value as C's printf("%.7G") gives it in
// the "C" locale: at most 7 significant digits, trailing zeros and a bare point removed,
// exponent form d.ddddddE+XX when the decimal exponent is below -4 or 7 and above.
// Negative zero is written "0". Returns the end of the text; writes no terminator.
char* AppendNumberText(char* out, float value);

// Writes a signed 32-bit integer in decimal. Returns the end of the text.
char* AppendInteger(char* out, int value);

std::string NumberText(float value);

}  // namespace tavrix
