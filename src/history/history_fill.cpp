#include "history/history_fill.h"

#include <utility>

#include "history/recording_reader.h"
#include "view/live_spectrum.h"

namespace tavrix::history {

namespace {

// Made captures are handed over this many at a time, so that the caller sees progress
// without taking the lock for each.
constexpr size_t kHandOverEvery = 128;

}  // namespace

void HistoryFill::Stop() {
  stop_ = true;
  if (thread_.joinable()) thread_.join();
  stop_ = false;
  started_ = false;
  finished_ = false;
  reached_ = 0;
  std::lock_guard lock(mutex_);
  ready_ = {};
}

bool HistoryFill::Add(size_t index, int64_t timeMs, const SpectrumState& state, FillBatch& made) {
  if (timeMs >= settings_.FromMs && timeMs < settings_.BeforeMs) {
    if (settings_.Rows) {
      made.Rows.push_back(MakeWaterfallRow(state.Traces, timeMs));
      made.RowCaptures.push_back(index);
    }
    if (settings_.Band) made.Points.push_back(MeasureStripPoint(state, timeMs, *settings_.Band));
  }
  if (++made.Done % kHandOverEvery == 0) HandOver(made, false);
  return !stop_;
}

void HistoryFill::HandOver(FillBatch& made, bool finished) {
  std::lock_guard lock(mutex_);
  for (WaterfallRow& row : made.Rows) ready_.Rows.push_back(std::move(row));
  ready_.RowCaptures.insert(ready_.RowCaptures.end(), made.RowCaptures.begin(), made.RowCaptures.end());
  ready_.Points.insert(ready_.Points.end(), made.Points.begin(), made.Points.end());
  ready_.Done = made.Done;
  ready_.Total = made.Total;
  ready_.Finished = finished;
  made.Rows.clear();
  made.RowCaptures.clear();
  made.Points.clear();
  if (finished) finished_ = true;
}

FillBatch HistoryFill::Take() {
  std::lock_guard lock(mutex_);
  FillBatch taken = std::move(ready_);
  ready_ = {};
  ready_.Done = taken.Done;
  ready_.Total = taken.Total;
  ready_.Finished = taken.Finished;
  return taken;
}

void HistoryFill::Start(std::shared_ptr<ReplayTimeline> timeline, const FillSettings& settings) {
  Stop();
  settings_ = settings;
  started_ = true;
  thread_ = std::thread([this, timeline = std::move(timeline)] {
    FillBatch made;
    made.Total = timeline->Count();
    const size_t stopped = timeline->Scan(0, made.Total, settings_.WindowSpectrum,
                                          [&](size_t index, int64_t timeMs, const LiveSpectrum& live) {
                                            reached_ = index + 1;
                                            made.Done = index;  // Add counts this one
                                            return Add(index, timeMs, live.State, made);
                                          });
    reached_ = stopped;
    made.Done = stopped;
    HandOver(made, true);
  });
}

void HistoryFill::Start(std::vector<std::string> files, const FillSettings& settings) {
  Stop();
  settings_ = settings;
  started_ = true;
  thread_ = std::thread([this, files = std::move(files)] {
    FillBatch made;
    std::vector<RecordingReader> readers(files.size());
    for (size_t f = 0; f < files.size(); ++f)
      if (readers[f].Open(files[f]).empty()) made.Total += readers[f].Count();
    LiveSpectrum scratch;
    scratch.State.Traces.TraceVisible[kCurrentTrace] = true;
    std::string block;
    for (RecordingReader& reader : readers) {
      for (size_t i = 0; i < reader.Count() && !stop_; ++i) {
        const int64_t timeMs = reader.Entry(i).TimeMs;
        const bool wanted = timeMs >= settings_.FromMs && timeMs < settings_.BeforeMs;
        // A damaged or empty record is passed over, as a replay passes over it.
        if (wanted && reader.Block(i, block) && !block.empty()) {
          scratch.ProcessBlock(block, settings_.WindowSpectrum);
          Add(i, timeMs, scratch.State, made);
        } else if (++made.Done % kHandOverEvery == 0) {
          HandOver(made, false);
        }
      }
    }
    HandOver(made, true);
  });
}

}  // namespace tavrix::history
