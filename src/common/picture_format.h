#pragma once
#include <string>
#include <string_view>

namespace tavrix {

// Formats a number with a numeric picture such as "#0.00000KHz" or "##0.000MHz":
// '#' and '0' are digit places before the point ('0' forces a digit), the '0's after
// the point give the number of decimals, and every other character is copied as it
// stands. The text is locale independent ('.' as the decimal point).
std::string FormatPicture(double value, std::string_view picture);

}  // namespace tavrix
