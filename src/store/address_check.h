#pragma once
#include <optional>
#include <string_view>

namespace tavrix {

// Why an address typed for a modem is refused: the message and its title.
struct AddressRefusal {
  const char* Text;
  const char* Title;
};

inline constexpr const char* kAddressOutOfRange = "One or more address sections for this IP address are out of range!";
inline constexpr const char* kAddressSectionCount =
    "There are an incorrect amount of address sections for this IP address!";
inline constexpr const char* kAddressIpv6Invalid = "The address between the brackets is not a valid IPv6 address!";
inline constexpr const char* kAddressIpv6Brackets =
    "An IPv6 address is written in brackets, with an optional port after them: [::1] or [::1]:21!";
inline constexpr const char* kInvalidAddressTitle = "Invalid IP Address";

// txtIPA_Validate: four dotted sections of 0..255 (a section without digits counts as
// 0), optionally followed by ":PORT" with PORT 1..65535. A section or port out of range
// is refused as out of range; otherwise a count of dots other than 3 is refused for the
// number of sections. An IPv6 address passes in brackets, "[::1]" or "[fe80::1]:2121",
// with the same rule for the port; a bad literal or text after the "]" other than the
// port is refused as not IPv6, and an IPv6 address without brackets is asked for in
// them. Nothing when the address passes.
std::optional<AddressRefusal> CheckModemAddress(std::string_view text);

}  // namespace tavrix
