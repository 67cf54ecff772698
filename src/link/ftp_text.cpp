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
  std::string url = "ftp://" + address.Host + ":" + std::to_string(address.Port) + "/";
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
