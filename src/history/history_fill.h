#pragma once
// Makes the waterfall's rows and the strips' points of recorded captures on a thread of its
// own, so that the window never waits for a recording to be read: either the first pass of
// a replay (every capture in order through the replay's timeline, whose checkpoints it
// makes on the way) or the captures of recording files, each on its own (a row and a point
// depend on their capture's current trace alone). What is made is taken in batches by the
// caller's thread.
#include <atomic>
#include <cstdint>
#include <limits>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "history/level_strips.h"
#include "history/replay_timeline.h"
#include "history/waterfall_rows.h"

namespace tavrix::history {

struct FillSettings {
  bool WindowSpectrum = true;
  bool Rows = true;               // a waterfall row a capture
  std::optional<StripBand> Band;  // a strip point a capture, of this band
  // The captures that arrived in [FromMs, BeforeMs).
  int64_t FromMs = std::numeric_limits<int64_t>::min();
  int64_t BeforeMs = std::numeric_limits<int64_t>::max();
};

struct FillBatch {
  std::vector<WaterfallRow> Rows;
  std::vector<size_t> RowCaptures;  // each row's capture, by its number in its recording
  std::vector<StripPoint> Points;
  size_t Done = 0;   // captures passed so far, of
  size_t Total = 0;  // all of them
  bool Finished = false;
};

class HistoryFill {
 public:
  HistoryFill() = default;
  ~HistoryFill() { Stop(); }
  HistoryFill(const HistoryFill&) = delete;
  HistoryFill& operator=(const HistoryFill&) = delete;

  // The first pass of a replay: every capture of the timeline, in order.
  void Start(std::shared_ptr<ReplayTimeline> timeline, const FillSettings& settings);
  // The captures of recording files, the files in the order given.
  void Start(std::vector<std::string> files, const FillSettings& settings);
  // Ends the fill under way, if any; what it made and was not taken is dropped.
  void Stop();

  // What was made since the last look, with how far the fill has come.
  FillBatch Take();
  bool Running() const { return started_ && !finished_; }
  // The timeline's captures before this one have been passed by the first pass.
  size_t Reached() const { return reached_; }

 private:
  // Adds one capture's row and point, handing them over now and then; false to stop.
  bool Add(size_t index, int64_t timeMs, const SpectrumState& state, FillBatch& made);
  void HandOver(FillBatch& made, bool finished);

  FillSettings settings_;
  std::thread thread_;
  std::atomic<bool> stop_{false};
  std::atomic<bool> finished_{false};
  std::atomic<size_t> reached_{0};
  bool started_ = false;
  std::mutex mutex_;
  FillBatch ready_;  // made and not yet taken
};

}  // namespace tavrix::history
