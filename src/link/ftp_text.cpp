#include "link/ftp_text.h"

#include <algorithm>
#include <cstdio>
#include <string>

namespace tavrix::ftp {

namespace {

bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsLetterOrDigit(char c) { return IsDigit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

// The three-digit code a reply line starts with, or 0.
int LineCode(const std::string& line) {
  if (line.size() < 3 || !IsDigit(line[0]) || !IsDigit(line[1]) || !IsDigit(line[2])) return 0;
  return (line[0] - '0') * 100 + (line[1] - '0') * 10 + (line[2] - '0');
}

bool ContinuesReply(const std::string& line) { return line.size() > 3 && line[3] == '-'; }

}  // namespace

std::string ServerSideName(const std::string& name) { return name.substr(0, name.find('\0')); }

bool HasLineBreak(const std::string& text) { return text.find_first_of("\r\n") != std::string::npos; }

std::string RequestUrl(const ServerAddress& address, const std::string& path) {
  std::string url = "ftp://" + UrlHost(address) + ":" + std::to_string(address.Port) + "/";
  for (const char c : path) {
    if (IsLetterOrDigit(c) || c == '-' || c == '.' || c == '_' || c == '~' || c == '/' || c == ':') {
      url += c;
    } else {
      char escaped[4];
      std::snprintf(escaped, sizeof escaped, "%%%02X", static_cast<unsigned char>(c));
      url += escaped;
    }
  }
  return url;
}

std::optional<long long> ReportedSize(const std::string& reply) {
  if (LineCode(reply) != 213 || reply.size() < 5 || reply[3] != ' ') return std::nullopt;
  size_t end = 4;
  while (end < reply.size() && IsDigit(reply[end])) ++end;
  if (end == 4 || end - 4 > 18) return std::nullopt;
  if (end < reply.size() && reply[end] != '\r' && reply[end] != '\n') return std::nullopt;
  return std::stoll(reply.substr(4, end - 4));
}

std::optional<std::string> QuotedDirectory(const std::string& reply) {
  const size_t open = reply.find('"');
  if (open == std::string::npos) return std::nullopt;
  std::string directory;
  for (size_t i = open + 1; i < reply.size(); ++i) {
    if (reply[i] != '"') {
      directory += reply[i];
    } else if (i + 1 < reply.size() && reply[i + 1] == '"') {
      directory += '"';
      ++i;
    } else {
      return directory;
    }
  }
  return std::nullopt;
}

namespace {

// The length of the valid UTF-8 sequence that starts text[i], or 0 when it is not one.
size_t Utf8Length(std::string_view text, size_t i) {
  const auto byte = [&](size_t k) { return static_cast<unsigned char>(text[k]); };
  const unsigned char lead = byte(i);
  if (lead < 0x80) return 1;
  size_t length = 0;
  unsigned char low = 0x80, high = 0xBF;  // the range of the second byte
  if (lead >= 0xC2 && lead <= 0xDF) {
    length = 2;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    length = 3;
    if (lead == 0xE0) low = 0xA0;
    if (lead == 0xED) high = 0x9F;  // no UTF-16 surrogates
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    length = 4;
    if (lead == 0xF0) low = 0x90;
    if (lead == 0xF4) high = 0x8F;  // nothing past U+10FFFF
  } else {
    return 0;
  }
  if (i + length > text.size() || byte(i + 1) < low || byte(i + 1) > high) return 0;
  for (size_t k = 2; k < length; ++k)
    if (byte(i + k) < 0x80 || byte(i + k) > 0xBF) return 0;
  return length;
}

bool IsControl(std::string_view text, size_t i, size_t length) {
  const unsigned char lead = static_cast<unsigned char>(text[i]);
  if (length == 1) return lead < 0x20 || lead == 0x7F;
  return length == 2 && lead == 0xC2 && static_cast<unsigned char>(text[i + 1]) < 0xA0;  // C1
}

}  // namespace

std::string PrintableText(std::string_view text, size_t maxChars, bool keepLineBreaks) {
  std::string shown;
  size_t chars = 0;
  for (size_t i = 0; i < text.size();) {
    std::string_view piece;  // what goes out as it came, one character
    size_t length = Utf8Length(text, i);
    if (keepLineBreaks && text.substr(i, 2) == "\r\n") {
      length = 2;
      piece = text.substr(i, 2);
    } else if (length != 0 && ((keepLineBreaks && text[i] == '\n') || !IsControl(text, i, length))) {
      piece = text.substr(i, length);
    }
    std::string escapes;
    for (size_t k = 0; piece.empty() && k < std::max<size_t>(length, 1); ++k) {
      char escaped[5];
      std::snprintf(escaped, sizeof escaped, "\\x%02x", static_cast<unsigned char>(text[i + k]));
      escapes += escaped;
    }
    const size_t pieceChars = piece.empty() ? escapes.size() : 1;
    if (chars + pieceChars > maxChars) return shown + "...";
    shown += piece.empty() ? std::string_view(escapes) : piece;
    chars += pieceChars;
    i += piece.empty() ? std::max<size_t>(length, 1) : length;
  }
  return shown;
}

bool MatchesPattern(const std::string& name, const std::string& pattern) {
  size_t n = 0, p = 0;
  size_t starAt = std::string::npos, resumeAt = 0;
  while (n < name.size()) {
    if (p < pattern.size() && (pattern[p] == '?' || pattern[p] == name[n])) {
      ++n;
      ++p;
    } else if (p < pattern.size() && pattern[p] == '*') {
      starAt = p++;
      resumeAt = n;
    } else if (starAt != std::string::npos) {
      p = starAt + 1;
      n = ++resumeAt;
    } else {
      return false;
    }
  }
  while (p < pattern.size() && pattern[p] == '*') ++p;
  return p == pattern.size();
}

std::vector<std::string> MatchingNames(const std::string& listing, const std::string& pattern) {
  std::vector<std::string> names;
  size_t start = 0;
  while (start < listing.size()) {
    size_t end = listing.find('\n', start);
    if (end == std::string::npos) end = listing.size();
    std::string line = listing.substr(start, end - start);
    start = end + 1;
    if (!line.empty() && line.back() == '\r') line.pop_back();
    const size_t slash = line.find_last_of('/');
    if (slash != std::string::npos) line.erase(0, slash + 1);
    if (!line.empty() && MatchesPattern(line, pattern)) names.push_back(line);
  }
  return names;
}

bool ReplyLog::AddLine(const std::string& line) {
  const int code = LineCode(line);
  if (pending_.empty()) {
    if (code == 0) return false;  // not a reply line
    pendingCode_ = code;
    pending_ = line;
    if (ContinuesReply(line)) return false;
  } else {
    pending_ += line;
    if (code != pendingCode_ || ContinuesReply(line)) return false;
  }
  lastReply_ = pending_;
  lastCode_ = pendingCode_;
  anyReply_ = true;
  ++count_;
  pending_.clear();
  return true;
}

}  // namespace tavrix::ftp
