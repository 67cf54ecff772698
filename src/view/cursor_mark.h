#pragma once

namespace tavrix {

// A measurement cursor in plot units (frequency, -dB); -1 and -1 when not placed.
struct CursorMark {
  float X = -1.0f;
  float Y = -1.0f;
  bool Placed() const { return !(X == -1.0f && Y == -1.0f); }
  bool operator==(const CursorMark&) const = default;
};

}  // namespace tavrix
