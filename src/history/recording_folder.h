#pragma once
// The recordings folder: one sub-folder a unit, one file a day (UTC) in it, and the size
// limit over all of them, kept by removing the oldest days first.
#include <cstdint>
#include <string>
#include <vector>

namespace tavrix::history {

// A folder name for a unit that any file system takes and that names no other unit:
// letters, digits, space, '-', '_' and '.' stay, every other byte becomes %XX; a leading
// '.' or a trailing space or '.' is escaped too; a long name is cut and made unique by a
// checksum of the whole.
std::string UnitFolderName(const std::string& unitName);

// "YYYY-MM-DD" of a time in milliseconds since 1970 (UTC).
std::string UtcDay(int64_t timeMs);

// The recording of a unit for the day of `timeMs`: FOLDER/UNIT/YYYY-MM-DD.tavrec.
std::string RecordingPath(const std::string& folder, const std::string& unitName, int64_t timeMs);

struct RecordingFile {
  std::string Path;
  std::string Day;  // from the file's name
  uint64_t Bytes = 0;
};

// Every recording under `folder`, oldest day first (files of the same day by path).
std::vector<RecordingFile> ListRecordings(const std::string& folder);

// The recordings of one unit, oldest day first.
std::vector<RecordingFile> UnitRecordings(const std::string& folder, const std::string& unitName);

struct PruneResult {
  uint64_t TotalBytes = 0;  // what the recordings hold afterwards
  std::vector<std::string> Removed;
  std::string Problem;  // a file that could not be removed, with the system's reason
};

// Removes the oldest days' files until all of them together hold at most `limitBytes`.
// Files named in `keep` (the ones being written) are never removed.
PruneResult PruneRecordings(const std::string& folder, uint64_t limitBytes, const std::vector<std::string>& keep);

}  // namespace tavrix::history
