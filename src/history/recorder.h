#pragma once
// Records captures on a thread of its own, so that neither the window nor a poll ever
// waits for the disk: each capture is handed over and written (compressed) behind it, to
// its unit's file of the day, within a size limit over all units kept by removing the
// oldest days. A failure (a full disk, a folder that cannot be written) stops recording
// and is told once; the captures go on being shown.
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <string>
#include <thread>

#include "history/recording_writer.h"

namespace tavrix::history {

inline constexpr uint64_t kDefaultRecordingLimit = uint64_t{2} << 30;  // 2 GiB over all units

struct RecorderSettings {
  bool Enabled = true;
  std::string Folder;
  uint64_t LimitBytes = kDefaultRecordingLimit;
  bool operator==(const RecorderSettings&) const = default;
};

struct Capture {
  std::string UnitName;
  std::string UnitAddress;
  int64_t TimeMs = 0;  // arrival, milliseconds since 1970 (UTC)
  std::string Block;   // exactly as read
};

class Recorder {
 public:
  explicit Recorder(RecorderSettings settings = {});
  ~Recorder();  // writes what was handed over, then ends
  Recorder(const Recorder&) = delete;
  Recorder& operator=(const Recorder&) = delete;

  // New settings; recording stopped by a failure starts again with them.
  void Apply(const RecorderSettings& settings);
  RecorderSettings Settings() const;
  // Hands one capture over and returns at once.
  void Append(Capture capture);
  // Waits until everything handed over so far is written (or dropped by a failure).
  void Flush();
  // True while captures are being recorded (enabled and not stopped by a failure).
  bool Recording() const;
  // Why recording stopped, once; empty when nothing new went wrong.
  std::string TakeFailure();
  // The file a unit's captures go to now (empty before its first capture).
  std::string CurrentFile(const std::string& unitName) const;

 private:
  void Run();
  // Writes one capture; the reason recording must stop, or empty.
  std::string Write(const Capture& capture);
  std::string KeepWithinLimit();
  void Fail(const std::string& reason);

  mutable std::mutex mutex_;
  std::condition_variable wake_, idle_;
  RecorderSettings settings_;
  std::deque<Capture> queue_;
  bool writing_ = false;
  bool failed_ = false;
  bool quit_ = false;
  std::string failure_;
  std::map<std::string, std::string> currentFiles_;  // unit name to its file, for readers

  // Used on the recorder's thread only.
  std::map<std::string, RecordingWriter> writers_;  // by unit name
  uint64_t writtenSincePrune_ = 0;
  bool pruned_ = false;

  std::thread thread_;  // declared last: started once everything else is ready
};

}  // namespace tavrix::history
