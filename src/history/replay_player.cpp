#include "history/replay_player.h"

#include <algorithm>
#include <utility>

namespace tavrix::history {

void ReplayPlayer::Open(std::vector<int64_t> times) {
  times_ = std::move(times);
  std::vector<int64_t> intervals;
  for (size_t i = 1; i < times_.size(); ++i)
    if (times_[i] > times_[i - 1]) intervals.push_back(times_[i] - times_[i - 1]);
  usual_ = 0;
  if (!intervals.empty()) {
    std::nth_element(intervals.begin(), intervals.begin() + intervals.size() / 2, intervals.end());
    usual_ = static_cast<double>(intervals[intervals.size() / 2]);
  }
  playing_ = false;
  SetIndex(0);
}

size_t ReplayPlayer::CaptureAt(int64_t timeMs) const {
  // A clock set back while recording leaves the times unsorted; the search then gives one
  // of the captures around the time.
  const auto after = std::upper_bound(times_.begin(), times_.end(), timeMs);
  return after == times_.begin() ? 0 : static_cast<size_t>(after - times_.begin()) - 1;
}

void ReplayPlayer::SetIndex(size_t index) {
  index_ = times_.empty() ? 0 : std::min(index, times_.size() - 1);
  clock_ = static_cast<double>(Time());
}

void ReplayPlayer::Step(int captures) {
  const long long target = static_cast<long long>(index_) + captures;
  SetIndex(static_cast<size_t>(std::max(0LL, target)));
}

void ReplayPlayer::SetPlaying(bool on) {
  if (on && !times_.empty() && index_ + 1 >= times_.size()) SetIndex(0);
  playing_ = on && times_.size() > 1;
}

void ReplayPlayer::SetSpeed(int speed) { speed_ = std::clamp(speed, kReplaySpeeds.front(), kReplaySpeeds.back()); }

size_t ReplayPlayer::Advance(int64_t elapsedMs) {
  if (!playing_) return index_;
  clock_ += static_cast<double>(std::max<int64_t>(0, elapsedMs)) * speed_;
  while (index_ + 1 < times_.size()) {
    const double now = static_cast<double>(Time()), next = static_cast<double>(times_[index_ + 1]);
    // A long gap is played as one usual interval from the capture before it.
    if (next - now > usual_ * kLongestPlayGap && clock_ - now >= usual_) clock_ = std::max(clock_, next);
    if (next > clock_) break;
    ++index_;
  }
  if (index_ + 1 >= times_.size()) playing_ = false;
  return index_;
}

}  // namespace tavrix::history
