#include "history/recording_folder.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <system_error>

#include "history/recording_format.h"

namespace tavrix::history {

namespace fs = std::filesystem;

namespace {

// Long enough for any unit name an operator types, short enough for every file system's
// 255-byte limit once escaped bytes triple.
constexpr size_t kMaxFolderName = 96;

bool KeptAsIs(unsigned char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == ' ' || c == '-' ||
         c == '_' || c == '.';
}

std::string Escaped(unsigned char c) {
  char text[4];
  std::snprintf(text, sizeof text, "%%%02X", c);
  return text;
}

bool IsDayName(const std::string& stem) {
  if (stem.size() != 10 || stem[4] != '-' || stem[7] != '-') return false;
  return std::all_of(stem.begin(), stem.end(), [](char c) { return c == '-' || (c >= '0' && c <= '9'); });
}

std::vector<RecordingFile> RecordingsBelow(const fs::path& folder, bool recursive) {
  std::vector<RecordingFile> files;
  std::error_code error;
  auto add = [&files](const fs::directory_entry& entry) {
    std::error_code e;
    const fs::path& path = entry.path();
    if (!entry.is_regular_file(e) || path.extension() != kRecordingSuffix) return;
    const std::string stem = path.stem().string();
    if (!IsDayName(stem)) return;
    files.push_back({path.string(), stem, static_cast<uint64_t>(entry.file_size(e))});
  };
  if (recursive) {
    for (fs::recursive_directory_iterator it(folder, fs::directory_options::skip_permission_denied, error), end;
         !error && it != end; it.increment(error))
      add(*it);
  } else {
    for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) add(*it);
  }
  std::sort(files.begin(), files.end(), [](const RecordingFile& a, const RecordingFile& b) {
    return a.Day != b.Day ? a.Day < b.Day : a.Path < b.Path;
  });
  return files;
}

}  // namespace

std::string UnitFolderName(const std::string& unitName) {
  std::string name;
  for (size_t i = 0; i < unitName.size(); ++i) {
    const auto c = static_cast<unsigned char>(unitName[i]);
    const bool edge = (i == 0 && c == '.') || (i + 1 == unitName.size() && (c == '.' || c == ' '));
    name += KeptAsIs(c) && !edge ? std::string(1, static_cast<char>(c)) : Escaped(c);
  }
  if (name.empty()) name = "%00";
  if (name.size() > kMaxFolderName) {
    char sum[10];
    std::snprintf(sum, sizeof sum, "~%08X", static_cast<unsigned>(Crc32(unitName)));
    // Cut before an escape rather than through one.
    size_t cut = kMaxFolderName - 9;
    if (const size_t escape = name.rfind('%', cut - 1); escape != std::string::npos && escape + 3 > cut)
      cut = escape;
    name = name.substr(0, cut) + sum;
  }
  return name;
}

std::string UtcDay(int64_t timeMs) {
  using namespace std::chrono;
  const sys_days day = floor<days>(sys_time<milliseconds>(milliseconds(timeMs)));
  const year_month_day date(day);
  char text[16];
  std::snprintf(text, sizeof text, "%04d-%02u-%02u", static_cast<int>(date.year()),
                static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()));
  return text;
}

std::string RecordingPath(const std::string& folder, const std::string& unitName, int64_t timeMs) {
  return (fs::path(folder) / UnitFolderName(unitName) / (UtcDay(timeMs) + std::string(kRecordingSuffix))).string();
}

std::vector<RecordingFile> ListRecordings(const std::string& folder) { return RecordingsBelow(folder, true); }

std::vector<RecordingFile> UnitRecordings(const std::string& folder, const std::string& unitName) {
  return RecordingsBelow(fs::path(folder) / UnitFolderName(unitName), false);
}

PruneResult PruneRecordings(const std::string& folder, uint64_t limitBytes, const std::vector<std::string>& keep) {
  PruneResult result;
  const std::vector<RecordingFile> files = ListRecordings(folder);
  for (const RecordingFile& file : files) result.TotalBytes += file.Bytes;
  auto kept = [&keep](const std::string& path) {
    std::error_code error;
    return std::any_of(keep.begin(), keep.end(),
                       [&](const std::string& k) { return fs::equivalent(k, path, error); });
  };
  for (const RecordingFile& file : files) {
    if (result.TotalBytes <= limitBytes) break;
    if (kept(file.Path)) continue;
    std::error_code error;
    fs::remove(file.Path, error);
    if (error) {
      result.Problem = file.Path + ": " + error.message();
      continue;
    }
    result.TotalBytes -= file.Bytes;
    result.Removed.push_back(file.Path);
  }
  return result;
}

}  // namespace tavrix::history
