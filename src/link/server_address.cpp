#include "link/server_address.h"

#include <algorithm>
#include <cctype>

namespace tavrix {

namespace {

bool IsHex(char c) { return std::isxdigit(static_cast<unsigned char>(c)) != 0; }

}  // namespace

bool IsDottedQuad(std::string_view text) {
  int parts = 0;
  size_t start = 0;
  while (start <= text.size()) {
    const size_t dot = std::min(text.find('.', start), text.size());
    const std::string_view part = text.substr(start, dot - start);
    if (part.empty() || part.size() > 3 || (part.size() > 1 && part[0] == '0') ||
        !std::all_of(part.begin(), part.end(), [](char c) { return c >= '0' && c <= '9'; }) ||
        std::stoi(std::string(part)) > 255)
      return false;
    ++parts;
    start = dot + 1;
  }
  return parts == 4;
}

bool IsIpv6Literal(std::string_view text) {
  if (text.size() < 2 || text.size() > 45) return false;
  const size_t gap = text.find("::");
  if (gap != std::string_view::npos && text.find("::", gap + 1) != std::string_view::npos) return false;
  int groups = 0;
  bool sawGap = false;
  size_t start = 0;
  while (start < text.size()) {
    if (gap != std::string_view::npos && start == gap) {
      sawGap = true;
      start += 2;
      continue;
    }
    const size_t colon = std::min(text.find(':', start), text.size());
    const std::string_view group = text.substr(start, colon - start);
    if (colon == text.size() && group.find('.') != std::string_view::npos) {
      if (!IsDottedQuad(group)) return false;
      groups += 2;
    } else if (group.empty() || group.size() > 4 || !std::all_of(group.begin(), group.end(), IsHex)) {
      return false;
    } else {
      ++groups;
    }
    if (colon == text.size()) break;
    start = colon + 1;
    if (start == text.size()) return false;  // a lone trailing colon
    if (gap != std::string_view::npos && colon == gap) start = gap;
  }
  return sawGap ? groups < 8 : groups == 8;
}

std::optional<ServerAddress> ParseServerAddress(std::string_view text) {
  ServerAddress address;
  std::string_view host = text;
  std::string_view rest;  // what follows the host: empty or ":PORT"
  if (text.starts_with('[')) {
    const size_t close = text.find(']');
    if (close == std::string_view::npos) return std::nullopt;
    host = text.substr(1, close - 1);
    rest = text.substr(close + 1);
    if (!IsIpv6Literal(host)) return std::nullopt;
    if (!rest.empty() && rest[0] != ':') return std::nullopt;
  } else {
    const size_t colon = text.find(':');
    host = text.substr(0, colon);
    rest = colon == std::string_view::npos ? std::string_view() : text.substr(colon);
    const bool hostOk = !host.empty() && std::all_of(host.begin(), host.end(), [](char c) {
      return std::isalnum(static_cast<unsigned char>(c)) || c == '.' || c == '-';
    });
    if (!hostOk) return std::nullopt;
  }
  if (!rest.empty()) {
    const std::string_view port = rest.substr(1);
    if (port.empty() || port.size() > 5 ||
        !std::all_of(port.begin(), port.end(), [](char c) { return std::isdigit(static_cast<unsigned char>(c)); }))
      return std::nullopt;
    address.Port = std::stoi(std::string(port));
    if (address.Port < 1 || address.Port > 65535) return std::nullopt;
  }
  address.Host = std::string(host);
  return address;
}

std::string UrlHost(const ServerAddress& address) {
  return address.Host.find(':') == std::string::npos ? address.Host : "[" + address.Host + "]";
}

}  // namespace tavrix
