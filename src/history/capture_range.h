#pragma once
// Which captures of a recording a command takes: the bounds of --from and --to, each a
// time in UTC, a time of day on the recording's day, or a capture's number.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "history/recording_reader.h"

namespace tavrix::history {

struct CaptureBound {
  enum class Kind {
    Open,       // no bound: from the first capture, or to the last
    Time,       // milliseconds since 1970 (UTC)
    TimeOfDay,  // milliseconds since midnight (UTC) of the day of the recording's first capture
    Number,     // the capture's number, 1 for the first
  };
  Kind Is = Kind::Open;
  int64_t Value = 0;
};

// Reads a bound: "2026-11-25T06:00:00Z" (seconds and fractions optional, "Z" or an offset
// "+01:00"), "06:00" or "06:00:30.5" (a time of day), or "#N". An empty text, or what is
// wrong with it.
std::string ParseCaptureBound(const std::string& text, CaptureBound& bound);

// The captures whose number and arrival time both lie within the bounds (each bound
// included), in the order they were recorded.
std::vector<size_t> PickCaptures(const std::vector<RecordEntry>& entries, const CaptureBound& from,
                                 const CaptureBound& to);

// "2026-11-25T06:00:00.000Z": a capture's time as the commands print it.
std::string IsoTime(int64_t timeMs);

}  // namespace tavrix::history
