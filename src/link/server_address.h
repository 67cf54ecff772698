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
// a name, a dotted address or an IPv6 address in brackets ("[::1]", "[fe80::2]:2121",
// kept without them); empty hosts, bad ports and stray colons give nothing.
std::optional<ServerAddress> ParseServerAddress(std::string_view text);

// A dotted IPv4 address: four decimal numbers 0-255 without leading zeros.
bool IsDottedQuad(std::string_view text);

// An IPv6 address as written between brackets: eight groups of up to four hex digits, one
// run of them shortened to "::", the last two optionally a dotted IPv4 address; no zone.
bool IsIpv6Literal(std::string_view text);

// The host as it goes into a URL: an IPv6 address in brackets.
std::string UrlHost(const ServerAddress& address);

}  // namespace tavrix
