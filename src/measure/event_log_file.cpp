#include "measure/event_log_file.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "measure/limit_alarms.h"

namespace tavrix {

namespace {

// Beyond this many lines waiting, the oldest go: a log that cannot be written for days
// must not take the memory with it.
constexpr size_t kMostWaiting = 10000;

// Appends the text to a regular file (made when missing); the system's reason when it cannot.
std::string AppendToFile(const std::string& path, const std::string& text) {
  struct stat info {};
  const bool exists = ::stat(path.c_str(), &info) == 0;
  if (exists && !S_ISREG(info.st_mode)) return "it is not a regular file";
  const bool isNew = !exists || info.st_size == 0;
  std::FILE* file = std::fopen(path.c_str(), "ab");
  if (file == nullptr) return std::strerror(errno);
  const std::string whole = (isNew ? EventLogHeader() : std::string()) + text;
  const bool written = std::fwrite(whole.data(), 1, whole.size(), file) == whole.size();
  const int writeError = errno;
  const bool closed = std::fclose(file) == 0;
  if (!written || !closed) return std::strerror(written ? errno : writeError);
  return {};
}

}  // namespace

std::string EventLogFile::Append(const std::vector<std::string>& lines) {
  waiting_.insert(waiting_.end(), lines.begin(), lines.end());
  while (waiting_.size() > kMostWaiting) waiting_.pop_front();
  if (waiting_.empty()) return {};
  std::string text;
  for (const std::string& line : waiting_) text += line;
  const std::string reason = AppendToFile(path_, text);
  if (reason.empty()) {
    waiting_.clear();
    told_ = false;
    return {};
  }
  if (told_) return {};
  told_ = true;
  return "The event log could not be written to " + path_ + ": " + reason + " (its lines are kept for the next try).";
}

std::vector<std::string> CsvFields(const std::string& line) {
  std::vector<std::string> fields(1);
  bool quoted = false;
  for (size_t i = 0; i < line.size(); ++i) {
    const char c = line[i];
    if (quoted && c == '"' && i + 1 < line.size() && line[i + 1] == '"') {
      fields.back() += '"';
      ++i;
    } else if (c == '"') {
      quoted = !quoted;
    } else if (c == ',' && !quoted) {
      fields.emplace_back();
    } else if ((c == '\n' || c == '\r') && !quoted) {
      break;
    } else {
      fields.back() += c;
    }
  }
  return fields;
}

}  // namespace tavrix
