#include "history/recording_reader.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>

namespace tavrix::history {

namespace {

// How much a damaged stretch is searched at a time for the next record's mark.
constexpr size_t kResyncChunk = 64 * 1024;

}  // namespace

std::string RecordingReader::Open(const std::string& path) {
  *this = RecordingReader();
  path_ = path;
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error))
    return std::filesystem::exists(path, error) ? "not a regular file" : "No such file or directory";
  file_.open(path, std::ios::binary);
  if (!file_) return std::strerror(errno);
  std::string start;
  const uint64_t size = FileSize();
  const size_t want = static_cast<size_t>(std::min<uint64_t>(size, 14 + 2 * kMaxNameBytes + 4));
  if (!ReadAt(0, want, start)) return "could not be read";
  const long headerBytes = DecodeFileHeader(start, header_);
  if (headerBytes < 0)
    return start.starts_with(kFileMagic) ? "its header is damaged, or it was written by a later version"
                                         : "not a recording of this program";
  if (headerBytes == 0) return "its header is incomplete";
  scanFrom_ = static_cast<uint64_t>(headerBytes);
  Refresh();
  return {};
}

uint64_t RecordingReader::FileSize() {
  std::error_code error;
  const auto size = std::filesystem::file_size(path_, error);
  return error ? 0 : static_cast<uint64_t>(size);
}

bool RecordingReader::ReadAt(uint64_t offset, size_t bytes, std::string& out) {
  out.resize(bytes);
  file_.clear();
  file_.seekg(static_cast<std::streamoff>(offset));
  file_.read(out.data(), static_cast<std::streamsize>(bytes));
  out.resize(static_cast<size_t>(file_.gcount()));
  return out.size() == bytes;
}

size_t RecordingReader::Refresh() {
  if (!file_.is_open()) return 0;
  const uint64_t end = FileSize();
  std::string bytes;
  RecordHeader header;
  while (scanFrom_ + kRecordHeaderBytes <= end) {
    if (!ReadAt(scanFrom_, kRecordHeaderBytes, bytes)) break;
    if (DecodeRecordHeader(bytes, header)) {
      const uint64_t next = scanFrom_ + kRecordHeaderBytes + header.PayloadBytes;
      if (next > end) break;  // torn, or still being written
      entries_.push_back({header.TimeMs, scanFrom_, header.PayloadBytes});
      scanFrom_ = next;
      continue;
    }
    const uint64_t found = Resync(scanFrom_ + 1, end);
    if (found >= end) break;
    skipped_ += found - scanFrom_;
    scanFrom_ = found;
  }
  return entries_.size();
}

uint64_t RecordingReader::Resync(uint64_t from, uint64_t end) {
  std::string chunk;
  RecordHeader header;
  for (uint64_t at = from; at + kRecordHeaderBytes <= end;) {
    const size_t want = static_cast<size_t>(std::min<uint64_t>(kResyncChunk, end - at));
    if (!ReadAt(at, want, chunk)) return end;
    for (size_t i = chunk.find(kRecordMark); i != std::string::npos; i = chunk.find(kRecordMark, i + 1)) {
      std::string candidate;
      if (!ReadAt(at + i, kRecordHeaderBytes, candidate)) return end;
      if (DecodeRecordHeader(candidate, header) && at + i + kRecordHeaderBytes + header.PayloadBytes <= end)
        return at + i;
    }
    // The next chunk starts a little early so that a mark cut by the chunk's end is seen.
    at += want > kRecordMark.size() ? want - kRecordMark.size() + 1 : want;
  }
  return end;
}

size_t RecordingReader::FirstAtOrAfter(int64_t timeMs) const {
  const auto it = std::partition_point(entries_.begin(), entries_.end(),
                                       [timeMs](const RecordEntry& e) { return e.TimeMs < timeMs; });
  return static_cast<size_t>(it - entries_.begin());
}

bool RecordingReader::Block(size_t index, std::string& block) {
  block.clear();
  if (index >= entries_.size()) return false;
  const RecordEntry& entry = entries_[index];
  std::string payload;
  if (!ReadAt(entry.Offset + kRecordHeaderBytes, entry.PayloadBytes, payload)) return false;
  return DecompressBlock(payload, block);
}

}  // namespace tavrix::history
