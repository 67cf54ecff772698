#include "history/capture_range.h"

#include <chrono>
#include <cstdio>
#include <optional>
#include <string_view>

#include "history/recording_folder.h"

namespace tavrix::history {

namespace {

constexpr int64_t kDayMs = 86'400'000;

// Reads exactly `digits` decimal digits at `at`, moving past them.
std::optional<int> Digits(std::string_view text, size_t& at, size_t digits) {
  if (at + digits > text.size()) return std::nullopt;
  int value = 0;
  for (size_t i = 0; i < digits; ++i) {
    const char c = text[at + i];
    if (c < '0' || c > '9') return std::nullopt;
    value = value * 10 + (c - '0');
  }
  at += digits;
  return value;
}

bool Take(std::string_view text, size_t& at, char c) {
  if (at >= text.size() || (text[at] != c && text[at] != (c ^ 0x20))) return false;
  ++at;
  return true;
}

// "HH:MM", "HH:MM:SS" or "HH:MM:SS.f..." as milliseconds since midnight.
std::optional<int64_t> TimeOfDay(std::string_view text, size_t& at) {
  const auto hours = Digits(text, at, 2);
  if (!hours || !Take(text, at, ':')) return std::nullopt;
  const auto minutes = Digits(text, at, 2);
  if (!minutes || *hours > 23 || *minutes > 59) return std::nullopt;
  int64_t ms = (int64_t{*hours} * 60 + *minutes) * 60'000;
  if (!Take(text, at, ':')) return ms;
  const auto seconds = Digits(text, at, 2);
  if (!seconds || *seconds > 59) return std::nullopt;
  ms += int64_t{*seconds} * 1000;
  if (!Take(text, at, '.')) return ms;
  // Fractions beyond the millisecond are read and dropped.
  int64_t scale = 100;
  const size_t first = at;
  for (; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at, scale /= 10) ms += (text[at] - '0') * scale;
  return at > first ? std::optional<int64_t>(ms) : std::nullopt;
}

std::optional<int64_t> IsoDateTime(std::string_view text) {
  using namespace std::chrono;
  size_t at = 0;
  const auto y = Digits(text, at, 4);
  const bool dashes = y && Take(text, at, '-');
  const auto m = dashes ? Digits(text, at, 2) : std::nullopt;
  const auto d = m && Take(text, at, '-') ? Digits(text, at, 2) : std::nullopt;
  if (!d || !Take(text, at, 'T')) return std::nullopt;
  const year_month_day date{year(*y), month(static_cast<unsigned>(*m)), day(static_cast<unsigned>(*d))};
  const auto clock = TimeOfDay(text, at);
  if (!date.ok() || !clock) return std::nullopt;
  int64_t offset = 0;  // of the local time from UTC
  if (!Take(text, at, 'Z')) {
    if (at >= text.size() || (text[at] != '+' && text[at] != '-')) return std::nullopt;
    const int64_t sign = text[at++] == '-' ? -1 : 1;
    const auto hours = Digits(text, at, 2);
    const auto minutes = hours && Take(text, at, ':') ? Digits(text, at, 2) : std::nullopt;
    if (!minutes || *hours > 23 || *minutes > 59) return std::nullopt;
    offset = sign * (int64_t{*hours} * 60 + *minutes) * 60'000;
  }
  if (at != text.size()) return std::nullopt;
  return int64_t{sys_days(date).time_since_epoch().count()} * kDayMs + *clock - offset;
}

int64_t DayStart(int64_t timeMs) { return timeMs - ((timeMs % kDayMs) + kDayMs) % kDayMs; }

}  // namespace

std::string ParseCaptureBound(const std::string& text, CaptureBound& bound) {
  const std::string_view t = text;
  if (t.starts_with('#')) {
    size_t at = 1;
    int64_t number = 0;
    for (; at < t.size() && t[at] >= '0' && t[at] <= '9' && number < (int64_t{1} << 40); ++at)
      number = number * 10 + (t[at] - '0');
    if (at == 1 || at != t.size() || number < 1)
      return "a capture number is # and a whole number from 1, not \"" + text + "\"";
    bound = {CaptureBound::Kind::Number, number};
    return {};
  }
  if (const auto time = IsoDateTime(t)) {
    bound = {CaptureBound::Kind::Time, *time};
    return {};
  }
  size_t at = 0;
  if (const auto clock = TimeOfDay(t, at); clock && at == t.size()) {
    bound = {CaptureBound::Kind::TimeOfDay, *clock};
    return {};
  }
  return "a time is 2026-11-25T06:00:00Z (UTC), 06:00:00 (on the recording's day, UTC) or #N (the N-th "
         "capture), not \"" + text + "\"";
}

std::vector<size_t> PickCaptures(const std::vector<RecordEntry>& entries, const CaptureBound& from,
                                 const CaptureBound& to) {
  std::vector<size_t> picked;
  if (entries.empty()) return picked;
  const int64_t day = DayStart(entries.front().TimeMs);
  // Whether capture `index` lies on the right side of `bound`; `sign` is 1 for --from, -1 for --to.
  auto within = [&](const CaptureBound& bound, size_t index, int64_t sign) {
    switch (bound.Is) {
      case CaptureBound::Kind::Open: return true;
      case CaptureBound::Kind::Number: return sign * (static_cast<int64_t>(index) + 1 - bound.Value) >= 0;
      case CaptureBound::Kind::Time: return sign * (entries[index].TimeMs - bound.Value) >= 0;
      case CaptureBound::Kind::TimeOfDay: return sign * (entries[index].TimeMs - day - bound.Value) >= 0;
    }
    return false;
  };
  for (size_t i = 0; i < entries.size(); ++i)
    if (within(from, i, 1) && within(to, i, -1)) picked.push_back(i);
  return picked;
}

std::string IsoTime(int64_t timeMs) {
  const int64_t ms = timeMs - DayStart(timeMs);
  char clock[24];
  std::snprintf(clock, sizeof clock, "T%02d:%02d:%02d.%03dZ", static_cast<int>(ms / 3'600'000),
                static_cast<int>(ms / 60'000 % 60), static_cast<int>(ms / 1000 % 60), static_cast<int>(ms % 1000));
  return UtcDay(timeMs) + clock;
}

}  // namespace tavrix::history
