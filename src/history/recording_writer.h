#pragma once
// Appends captures to one recording file. Each record is written whole and flushed, so a
// reader sees it at once and a crash tears at most the record being written.
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

#include "history/recording_format.h"

namespace tavrix::history {

class RecordingWriter {
 public:
  // Opens `path` for appending: a missing file is created with `header`; an existing one
  // must be a recording (its header is kept) and loses a torn last record. Returns an empty
  // text on success, else the reason in the system's words.
  std::string Open(const std::string& path, const RecordingHeader& header);
  // Appends one capture. On failure the file is cut back to its whole records and the
  // reason is returned ("No space left on device").
  std::string Append(int64_t timeMs, std::string_view block);
  // Appends a record whose payload is already made (CompressBlock).
  std::string AppendPayload(int64_t timeMs, std::string_view payload);
  void Close() { file_.reset(); }

  bool IsOpen() const { return file_ != nullptr; }
  const std::string& Path() const { return path_; }
  uint64_t Size() const { return size_; }

 private:
  struct FileCloser {
    void operator()(std::FILE* f) const { std::fclose(f); }
  };
  std::string path_;
  std::unique_ptr<std::FILE, FileCloser> file_;
  uint64_t size_ = 0;
};

}  // namespace tavrix::history
