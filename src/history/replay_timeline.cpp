#include "history/replay_timeline.h"

#include <algorithm>
#include <iterator>

namespace tavrix::history {

std::string ReplayTimeline::Open(const std::string& path) {
  std::lock_guard lock(mutex_);
  std::string problem = reader_.Open(path);
  Reset(false);
  return problem;
}

size_t ReplayTimeline::Refresh() {
  std::lock_guard lock(mutex_);
  return reader_.Refresh();
}

RecordingHeader ReplayTimeline::Header() const {
  std::lock_guard lock(mutex_);
  return reader_.Header();
}

size_t ReplayTimeline::Count() const {
  std::lock_guard lock(mutex_);
  return reader_.Count();
}

int64_t ReplayTimeline::Time(size_t index) const {
  std::lock_guard lock(mutex_);
  return index < reader_.Count() ? reader_.Entry(index).TimeMs : 0;
}

size_t ReplayTimeline::FirstAtOrAfter(int64_t timeMs) const {
  std::lock_guard lock(mutex_);
  return reader_.FirstAtOrAfter(timeMs);
}

bool ReplayTimeline::Block(size_t index, std::string& block) {
  std::lock_guard lock(mutex_);
  return reader_.Block(index, block);
}

void ReplayTimeline::Reset(bool windowSpectrum) {
  windowSpectrum_ = windowSpectrum;
  checkpoints_.clear();
  scratch_ = LiveSpectrum();
  // The hold and the average run from the first capture, whatever the window shows.
  Selection none;
  SwitchTrace(scratch_.State.Traces, none, kPeakHoldTrace);
  SwitchTrace(scratch_.State.Traces, none, kVideoAverageTrace);
  scratch_.State.Traces.TraceVisible[kCurrentTrace] = true;
  checkpoints_.emplace(0, scratch_.State);
  next_ = 0;
}

bool ReplayTimeline::ProcessNext() {
  std::string block;
  const bool whole = reader_.Block(next_, block) && !block.empty();
  if (whole) scratch_.ProcessBlock(block, windowSpectrum_);
  ++next_;
  if (next_ % kCheckpointEvery == 0) checkpoints_.try_emplace(next_, scratch_.State);
  return whole;
}

void ReplayTimeline::AdvanceTo(size_t index, bool windowSpectrum) {
  if (windowSpectrum != windowSpectrum_) Reset(windowSpectrum);
  index = std::min(index, reader_.Count());
  if (next_ > index || index - next_ >= kCheckpointEvery) {
    // From the last checkpoint at or before the index; the ones beyond the first pass's
    // reach are made on the way.
    const auto from = std::prev(checkpoints_.upper_bound(index));
    if (from->first > next_ || next_ > index) {
      scratch_.State = from->second;
      next_ = from->first;
    }
  }
  while (next_ < index) ProcessNext();
}

SpectrumState ReplayTimeline::StateBefore(size_t index, bool windowSpectrum) {
  std::lock_guard lock(mutex_);
  AdvanceTo(index, windowSpectrum);
  return scratch_.State;
}

size_t ReplayTimeline::Scan(size_t from, size_t to, bool windowSpectrum, const Visitor& visit) {
  for (size_t index = from; index < to; ++index) {
    std::lock_guard lock(mutex_);
    if (index >= reader_.Count()) return index;
    AdvanceTo(index, windowSpectrum);
    if (ProcessNext() && !visit(index, reader_.Entry(index).TimeMs, scratch_)) return index + 1;
  }
  return to;
}

}  // namespace tavrix::history
