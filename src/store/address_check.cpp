#include "store/address_check.h"

#include <algorithm>
#include <string>

#include "link/server_address.h"

namespace tavrix {

namespace {

constexpr int kMaxSection = 255;
constexpr int kMaxPort = 65535;
constexpr size_t kMaxPortDigits = 5;
constexpr int kDotsOfFour = 3;

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// The value of a section: its leading digits after leading blanks, 0 without digits.
// Digits beyond the range only need to be known as too many, so the value stops growing
// past 255 and no run of digits overflows.
int SectionValue(std::string_view section) {
  size_t at = 0;
  while (at < section.size() && (section[at] == ' ' || section[at] == '\t')) ++at;
  int value = 0;
  for (; at < section.size() && IsDigit(section[at]); ++at) value = std::min(value * 10 + (section[at] - '0'), 256);
  return value;
}

// The port after ":": digits only, 1..65535.
bool PortPasses(std::string_view port) {
  if (port.empty() || port.size() > kMaxPortDigits || !std::all_of(port.begin(), port.end(), IsDigit)) return false;
  int value = 0;
  for (char c : port) value = value * 10 + (c - '0');
  return value >= 1 && value <= kMaxPort;
}

// "[literal]" or "[literal]:PORT": the literal an IPv6 address, the port as after a dotted
// address.
std::optional<AddressRefusal> CheckBracketed(std::string_view text) {
  const size_t close = text.find(']');
  if (close == std::string_view::npos || !IsIpv6Literal(text.substr(1, close - 1)))
    return AddressRefusal{kAddressIpv6Invalid, kInvalidAddressTitle};
  const std::string_view rest = text.substr(close + 1);
  if (rest.empty()) return std::nullopt;
  if (rest.front() != ':') return AddressRefusal{kAddressIpv6Invalid, kInvalidAddressTitle};
  if (!PortPasses(rest.substr(1))) return AddressRefusal{kAddressOutOfRange, kInvalidAddressTitle};
  return std::nullopt;
}

}  // namespace

std::optional<AddressRefusal> CheckModemAddress(std::string_view text) {
  if (text.starts_with('[')) return CheckBracketed(text);
  // A bare IPv6 address would read as a dotted one with a strange port; its port could
  // not be told from its own colons, so it is asked for in brackets.
  if (IsIpv6Literal(text)) return AddressRefusal{kAddressIpv6Brackets, kInvalidAddressTitle};
  const size_t colon = text.find(':');
  const std::string_view address = text.substr(0, colon);

  bool outOfRange = false;
  int dots = 0;
  size_t start = 0;
  for (;;) {
    const size_t dot = address.find('.', start);
    if (SectionValue(address.substr(start, dot == std::string_view::npos ? std::string_view::npos : dot - start)) >
        kMaxSection) {
      outOfRange = true;
      break;
    }
    if (dot == std::string_view::npos) break;
    ++dots;
    start = dot + 1;
  }
  if (!outOfRange && colon != std::string_view::npos) outOfRange = !PortPasses(text.substr(colon + 1));

  if (outOfRange) return AddressRefusal{kAddressOutOfRange, kInvalidAddressTitle};
  if (dots != kDotsOfFour) return AddressRefusal{kAddressSectionCount, kInvalidAddressTitle};
  return std::nullopt;
}

}  // namespace tavrix
