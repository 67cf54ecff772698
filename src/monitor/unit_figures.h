#pragma once
// What the daemon knows of each unit at a moment, as plain values: what the metrics page,
// the units summary and the tests read.
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "measure/carrier_figures.h"

namespace tavrix::monitor {

// Why a poll failed: the label values of tavrix_poll_failures_total.
inline constexpr const char* kFailConnect = "connect";  // the unit took no connection (or login)
inline constexpr const char* kFailRequest = "request";  // the capture request was not taken
inline constexpr const char* kFailRead = "read";        // "spectrum:" could not be read
inline constexpr const char* kFailShort = "short";      // fewer bytes than a whole capture arrived

struct BandFigures {
  std::string Name;
  bool Measured = false;  // the latest capture was measured in this band
  double ChannelPowerDb = 0.0;
  double PeakLevelDb = 0.0;
  double OccupiedBandwidthHz = 0.0;
  std::optional<CarrierToNoise> CN;  // with a noise band
  std::optional<bool> PowerAlarm;    // with a channel power limit
  std::optional<bool> CnAlarm;       // with a C/N limit
  std::string Problem;               // why the band could not be measured, when it could not
};

struct UnitFigures {
  std::string Name;
  std::string Address;
  double IntervalSeconds = 0.0;
  bool Up = false;  // the last poll read a whole capture
  uint64_t Captures = 0;
  uint64_t Missed = 0;
  std::map<std::string, uint64_t> Failures;  // by reason
  std::optional<double> CenterHz;            // of the latest capture
  std::optional<double> SampleRateHz;
  int64_t LastCaptureMs = 0;  // milliseconds since 1970 (UTC); 0 before the first
  std::string LastError;      // the last failure in words, empty after a capture
  std::vector<BandFigures> Bands;
};

// The durations of all polls of all units, in seconds.
struct PollDurations {
  static inline const std::vector<double> kBounds = {0.1, 0.25, 0.5, 0.75, 1, 1.5, 2, 3, 5, 10};
  std::vector<uint64_t> Counts = std::vector<uint64_t>(kBounds.size() + 1, 0);
  double Sum = 0.0;
  void Add(double seconds);
};

// The daemon process itself.
struct ProcessFigures {
  std::optional<double> CpuSeconds;
  std::optional<double> ResidentBytes;
  std::optional<double> VirtualBytes;
  std::optional<double> OpenFiles;
  double StartTimeSeconds = 0.0;  // since 1970
};

// What this process has used so far, as far as the system tells.
ProcessFigures CurrentProcessFigures(double startTimeSeconds);

struct DaemonFigures {
  std::vector<UnitFigures> Units;
  PollDurations Durations;
  ProcessFigures Process;
  bool LastReloadOk = true;
  double LastReloadSeconds = 0.0;  // since 1970, of the last successful (re)load
  std::string Version;
};

// The metrics page in the Prometheus text exposition format.
std::string MetricsPage(const DaemonFigures& figures);

// The units summary for scripts, as compact JSON.
std::string UnitsJson(const DaemonFigures& figures);

}  // namespace tavrix::monitor
