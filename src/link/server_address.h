#pragma once
#include <optional>
#include <string>
#include <string_view>

namespace tavrix {

inline constexpr int kFtpPort = 21;

struct ServerAddress {
  std::string Host;
  int Port = kFtpPort;
};

// "host" or "host:PORT" with PORT 1..65535 (port 21 when none is given). The host is
// a name or a dotted address; empty hosts, bad ports and stray colons give nothing.
std::optional<ServerAddress> ParseServerAddress(std::string_view text);

}  // namespace tavrix
