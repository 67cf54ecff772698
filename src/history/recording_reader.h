#pragma once
// Reads a recording: an index of its whole records first (times and places only), then any
// record's block on demand. A recording still being written can be followed: Refresh
// indexes what was appended since.
#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

#include "history/recording_format.h"

namespace tavrix::history {

struct RecordEntry {
  int64_t TimeMs = 0;
  uint64_t Offset = 0;  // of the record's header
  uint32_t PayloadBytes = 0;
};

class RecordingReader {
 public:
  // Opens and indexes a recording. Returns an empty text on success, else why it cannot be
  // read ("not a recording", the system's reason).
  std::string Open(const std::string& path);
  // Indexes the records appended since the last look; returns how many there are.
  size_t Refresh();

  const RecordingHeader& Header() const { return header_; }
  const std::string& Path() const { return path_; }
  size_t Count() const { return entries_.size(); }
  const RecordEntry& Entry(size_t index) const { return entries_[index]; }
  const std::vector<RecordEntry>& Entries() const { return entries_; }
  // The first record at or after `timeMs` (Count() when none), by a binary search over the
  // arrival times; a clock set back while recording makes the answer one of the candidates.
  size_t FirstAtOrAfter(int64_t timeMs) const;

  // The block of one record; false when its payload is damaged.
  bool Block(size_t index, std::string& block);
  // Bytes passed over because they held no whole record (damage inside the file); a torn
  // tail is not counted, as more may yet arrive.
  uint64_t SkippedBytes() const { return skipped_; }
  // Where the whole records end: a writer appends from here.
  uint64_t WholeBytes() const { return scanFrom_; }

 private:
  uint64_t FileSize();
  bool ReadAt(uint64_t offset, size_t bytes, std::string& out);
  // The next offset at or after `from` where a record header checks out and its payload
  // fits in the file; `end` when none does.
  uint64_t Resync(uint64_t from, uint64_t end);

  std::string path_;
  std::ifstream file_;
  RecordingHeader header_;
  std::vector<RecordEntry> entries_;
  uint64_t scanFrom_ = 0;
  uint64_t skipped_ = 0;
};

}  // namespace tavrix::history
