#include "link/peer_address.h"

#if defined(_WIN32)
#include <winsock2.h>
#include <ws2tcpip.h>
#else
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#endif

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace tavrix::ftp {

namespace {

// The address in a comparable form: lower case, no zone, no IPv4-in-IPv6 prefix.
std::string Canonical(std::string address) {
  address = address.substr(0, address.find('%'));
  std::transform(address.begin(), address.end(), address.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  constexpr std::string_view kMapped = "::ffff:";
  if (address.starts_with(kMapped) && address.find('.') != std::string::npos) address.erase(0, kMapped.size());
  return address;
}

}  // namespace

bool IsDataListener(const curl_sockaddr& address) {
  size_t offset = 0;
  if (address.family == AF_INET) {
    offset = offsetof(sockaddr_in, sin_port);
  } else if (address.family == AF_INET6) {
    offset = offsetof(sockaddr_in6, sin6_port);
  } else {
    return false;
  }
  uint16_t port = 1;
  std::memcpy(&port, reinterpret_cast<const char*>(&address.addr) + offset, sizeof port);
  return port == 0;
}

curl_socket_t OpenSocket(const curl_sockaddr& address) {
  int type = address.socktype;
#ifdef SOCK_CLOEXEC
  type |= SOCK_CLOEXEC;
#endif
  return ::socket(address.family, type, address.protocol);
}

std::string PeerAddress(curl_socket_t socket) {
  sockaddr_storage peer{};
  socklen_t length = sizeof peer;
  if (::getpeername(socket, reinterpret_cast<sockaddr*>(&peer), &length) != 0) return {};
  char host[NI_MAXHOST] = {};
  if (::getnameinfo(reinterpret_cast<const sockaddr*>(&peer), length, host, sizeof host, nullptr, 0,
                    NI_NUMERICHOST) != 0)
    return {};
  return host;
}

bool SameHost(const std::string& a, const std::string& b) {
  return !a.empty() && !b.empty() && Canonical(a) == Canonical(b);
}

}  // namespace tavrix::ftp
