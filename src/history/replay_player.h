#pragma once
// Where a replay stands and how it plays: the capture shown, play or pause at a speed, and
// the capture a seek, a step or the play clock comes to, from the recording's arrival times.
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace tavrix::history {

inline constexpr std::array<int, 10> kReplaySpeeds = {1, 2, 5, 10, 20, 50, 100, 200, 500, 1000};
// A gap between two captures longer than this many of the recording's usual intervals (a
// unit off for an hour) is played as one usual interval.
inline constexpr int64_t kLongestPlayGap = 10;

class ReplayPlayer {
 public:
  // A recording's arrival times, in the order recorded; the first capture is shown.
  void Open(std::vector<int64_t> times);
  size_t Count() const { return times_.size(); }
  size_t Index() const { return index_; }
  int64_t TimeOf(size_t index) const { return index < times_.size() ? times_[index] : 0; }
  int64_t Time() const { return TimeOf(index_); }

  // The capture that was the latest at a time: the last at or before it, or the first.
  size_t CaptureAt(int64_t timeMs) const;
  // Shows a capture (clamped to the recording); the play clock moves to its time.
  void SetIndex(size_t index);
  void Step(int captures);

  bool Playing() const { return playing_; }
  // Playing from the last capture starts again from the first.
  void SetPlaying(bool on);
  int Speed() const { return speed_; }
  void SetSpeed(int speed);
  // `elapsedMs` of wall time passed while playing: the clock runs at the speed and the
  // capture shown is the last one it has reached. Playing stops at the last capture.
  size_t Advance(int64_t elapsedMs);

 private:
  std::vector<int64_t> times_;
  size_t index_ = 0;
  bool playing_ = false;
  int speed_ = 1;
  double clock_ = 0;  // recording time, ms
  double usual_ = 0;  // the median interval between captures, ms
};

}  // namespace tavrix::history
