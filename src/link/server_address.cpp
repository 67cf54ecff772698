#include "link/server_address.h"

#include <algorithm>
#include <cctype>

namespace tavrix {

std::optional<ServerAddress> ParseServerAddress(std::string_view text) {
  ServerAddress address;
  const size_t colon = text.find(':');
  std::string_view host = text.substr(0, colon);
  if (colon != std::string_view::npos) {
    const std::string_view port = text.substr(colon + 1);
    if (port.empty() || port.size() > 5 ||
        !std::all_of(port.begin(), port.end(), [](char c) { return std::isdigit(static_cast<unsigned char>(c)); }))
      return std::nullopt;
    address.Port = std::stoi(std::string(port));
    if (address.Port < 1 || address.Port > 65535) return std::nullopt;
  }
  const bool hostOk = !host.empty() && std::all_of(host.begin(), host.end(), [](char c) {
    return std::isalnum(static_cast<unsigned char>(c)) || c == '.' || c == '-';
  });
  if (!hostOk) return std::nullopt;
  address.Host = std::string(host);
  return address;
}

}  // namespace tavrix
