#pragma once
// A recording opened for replay. Any capture can be shown as the viewer would have shown
// it live: the previous, video-average and peak-hold traces are those of the recording's
// captures before it, processed in order with the hold and the average running from the
// recording's first capture. Checkpoints of the spectrum state, kept every
// kCheckpointEvery captures by the first pass over the recording, make any seek cost at
// most that many updates.
//
// Safe to use from two threads: a worker makes the first pass (Scan) while the window
// seeks; each call holds the timeline for one capture's work at a time.
#include <algorithm>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>

#include "history/recording_reader.h"
#include "view/live_spectrum.h"

namespace tavrix::history {

inline constexpr size_t kCheckpointEvery = 64;

class ReplayTimeline {
 public:
  // Opens and indexes the recording; an empty text on success, else why not.
  std::string Open(const std::string& path);
  // Indexes captures appended since (a recording still being written); the new count.
  size_t Refresh();

  RecordingHeader Header() const;
  size_t Count() const;
  int64_t Time(size_t index) const;
  // The first capture at or after a time (Count() when none).
  size_t FirstAtOrAfter(int64_t timeMs) const;
  // The block of one capture; false when it is damaged.
  bool Block(size_t index, std::string& block);

  // The spectrum state after every capture before `index`, windowed as `windowSpectrum`
  // says (a change of it starts the checkpoints again). Damaged and empty records are
  // passed over, as the acquisition cycle passes over an empty read.
  SpectrumState StateBefore(size_t index, bool windowSpectrum);

  // Processes the captures in [from, to) in order, calls `visit` with each one's state (its
  // index, arrival time and the live spectrum after it), and keeps checkpoints on the way.
  // Stops early when `visit` returns false. Returns the index it stopped at. `visit` runs
  // while the timeline is held, so a seek waits for it: it should only take what it needs,
  // and never call the timeline (the waterfall's rows are made from these three).
  using Visitor = std::function<bool(size_t index, int64_t timeMs, const LiveSpectrum& live)>;
  size_t Scan(size_t from, size_t to, bool windowSpectrum, const Visitor& visit);

 private:
  // Brings scratch_ to the state after the captures before `index` (lock held).
  void AdvanceTo(size_t index, bool windowSpectrum);
  void Reset(bool windowSpectrum);
  // Processes capture `next_` into scratch_ (lock held); false when it was passed over.
  bool ProcessNext();

  mutable std::mutex mutex_;
  RecordingReader reader_;
  bool windowSpectrum_ = false;
  std::map<size_t, SpectrumState> checkpoints_;  // state before the capture of the key
  LiveSpectrum scratch_;
  size_t next_ = 0;  // the capture scratch_ processes next
};

}  // namespace tavrix::history
