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
inline constexpr const char* kInvalidAddressTitle = "Invalid IP Address";

// txtIPA_Validate: four dotted sections of 0..255 (a section without digits counts as
// 0), optionally followed by ":PORT" with PORT 1..65535. A section or port out of range
// is refused as out of range; otherwise a count of dots other than 3 is refused for the
// number of sections. Nothing when the address passes.
std::optional<AddressRefusal> CheckModemAddress(std::string_view text);

}  // namespace tavrix
