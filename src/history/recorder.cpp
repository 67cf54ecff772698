#include "history/recorder.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "history/recording_folder.h"

namespace tavrix::history {

namespace {

// Captures waiting for the disk before recording gives up on it: about ten minutes of one
// unit, or a few seconds of a whole rack, about 2 MiB.
constexpr size_t kMaxQueued = 256;
// The limit is checked again after this much was written, or a hundredth of the limit.
constexpr uint64_t kPruneEveryBytes = uint64_t{16} << 20;
// A capture handed over is written within this. Waking the writer at every capture would
// cost the caller a system call, several times what handing it over costs; looking at the
// queue this often costs the writer's thread next to nothing.
constexpr auto kHandOverWait = std::chrono::milliseconds(100);

}  // namespace

Recorder::Recorder(RecorderSettings settings) : settings_(std::move(settings)), thread_([this] { Run(); }) {}

Recorder::~Recorder() {
  {
    std::lock_guard lock(mutex_);
    quit_ = true;
  }
  wake_.notify_all();
  thread_.join();
}

void Recorder::Apply(const RecorderSettings& settings) {
  std::lock_guard lock(mutex_);
  if (settings == settings_ && !failed_) return;
  settings_ = settings;
  failed_ = false;
  pruned_ = false;
  wake_.notify_one();
}

RecorderSettings Recorder::Settings() const {
  std::lock_guard lock(mutex_);
  return settings_;
}

void Recorder::Append(Capture capture) {
  {
    std::lock_guard lock(mutex_);
    if (!settings_.Enabled || failed_ || settings_.Folder.empty()) return;
    if (queue_.size() >= kMaxQueued) {
      queue_.clear();
      failed_ = true;
      failure_ = "the recordings folder cannot keep up with the captures";
      return;
    }
    queue_.push_back(std::move(capture));
  }
}

void Recorder::Flush() {
  wake_.notify_one();
  std::unique_lock lock(mutex_);
  idle_.wait(lock, [this] { return queue_.empty() && !writing_; });
}

bool Recorder::Recording() const {
  std::lock_guard lock(mutex_);
  return settings_.Enabled && !failed_ && !settings_.Folder.empty();
}

std::string Recorder::TakeFailure() {
  std::lock_guard lock(mutex_);
  return std::exchange(failure_, {});
}

std::string Recorder::CurrentFile(const std::string& unitName) const {
  std::lock_guard lock(mutex_);
  const auto it = currentFiles_.find(unitName);
  return it == currentFiles_.end() ? std::string() : it->second;
}

void Recorder::Fail(const std::string& reason) {
  std::lock_guard lock(mutex_);
  failed_ = true;
  failure_ = reason;
  queue_.clear();
}

void Recorder::Run() {
  std::string folder;  // the folder the open writers belong to
  for (;;) {
    Capture capture;
    {
      std::unique_lock lock(mutex_);
      writing_ = false;
      idle_.notify_all();
      // While recording, the queue is looked at every kHandOverWait; otherwise nothing
      // arrives until the settings change.
      while (!quit_ && queue_.empty()) {
        if (settings_.Enabled && !failed_)
          wake_.wait_for(lock, kHandOverWait);
        else
          wake_.wait(lock);
      }
      if (queue_.empty()) return;  // quitting with nothing left to write
      capture = std::move(queue_.front());
      queue_.pop_front();
      writing_ = true;
      if (settings_.Folder != folder) {
        writers_.clear();
        folder = settings_.Folder;
      }
    }
    if (const std::string problem = Write(capture); !problem.empty()) {
      writers_.clear();
      Fail(problem);
    }
  }
}

std::string Recorder::Write(const Capture& capture) {
  const RecorderSettings settings = Settings();
  const std::string path = RecordingPath(settings.Folder, capture.UnitName, capture.TimeMs);
  RecordingWriter& writer = writers_[capture.UnitName];
  if (!writer.IsOpen() || writer.Path() != path) {
    if (std::string problem = writer.Open(path, {capture.UnitName, capture.UnitAddress}); !problem.empty()) {
      writers_.erase(capture.UnitName);
      return "the recording " + path + " could not be opened: " + problem;
    }
    pruned_ = false;  // a new file: the limit is looked at again
    std::lock_guard lock(mutex_);
    currentFiles_[capture.UnitName] = path;
  }
  const uint64_t before = writer.Size();
  if (std::string problem = writer.Append(capture.TimeMs, capture.Block); !problem.empty())
    return "the recording " + path + " could not be written: " + problem;
  writtenSincePrune_ += writer.Size() - before;
  if (!pruned_ || writtenSincePrune_ >= std::min(kPruneEveryBytes, settings.LimitBytes / 100 + 1))
    return KeepWithinLimit();
  return {};
}

std::string Recorder::KeepWithinLimit() {
  const RecorderSettings settings = Settings();
  std::vector<std::string> open;
  for (const auto& [unit, writer] : writers_) open.push_back(writer.Path());
  const PruneResult result = PruneRecordings(settings.Folder, settings.LimitBytes, open);
  pruned_ = true;
  writtenSincePrune_ = 0;
  if (result.TotalBytes > settings.LimitBytes)
    return result.Problem.empty()
               ? "the recordings of today alone reach the recording limit; raise it or record fewer units"
               : "an old recording could not be removed to keep within the limit: " + result.Problem;
  return {};
}

}  // namespace tavrix::history
