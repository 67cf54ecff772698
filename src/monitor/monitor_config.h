#pragma once
// The daemon's configuration: the HTTP listen address, the units to watch with their bands
// and limits, and the optional recording, read from a TOML file. Every problem is refused
// with the file, the line and the reason.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "history/recorder.h"
#include "measure/carrier_figures.h"
#include "measure/limit_alarms.h"

namespace tavrix::monitor {

inline constexpr double kDefaultIntervalSeconds = 3.0;
inline constexpr double kMinIntervalSeconds = 0.5;
inline constexpr double kMaxIntervalSeconds = 86400.0;
inline constexpr const char* kDefaultListen = "127.0.0.1:9464";

struct BandConfig {
  std::string Name;
  BandMHz Band;
  std::optional<BandMHz> Noise;  // gives C/N
  BandLimits Limits;
  bool operator==(const BandConfig& o) const {
    auto same = [](const BandMHz& a, const BandMHz& b) { return a.Low == b.Low && a.High == b.High; };
    return Name == o.Name && same(Band, o.Band) && Noise.has_value() == o.Noise.has_value() &&
           (!Noise || same(*Noise, *o.Noise)) && Limits.ChannelPowerDb == o.Limits.ChannelPowerDb &&
           Limits.CarrierToNoiseDb == o.Limits.CarrierToNoiseDb;
  }
};

struct UnitConfig {
  std::string Name;     // any text; unique in the file
  std::string Address;  // host[:port], port 21 unless given
  double IntervalSeconds = kDefaultIntervalSeconds;
  std::vector<BandConfig> Bands;
  bool operator==(const UnitConfig&) const = default;
};

struct ListenAddress {
  std::string Host;  // an IP address; empty for every interface
  int Port = 9464;
  bool operator==(const ListenAddress&) const = default;
};

struct MonitorConfig {
  ListenAddress Listen;
  int LinkThreads = 0;  // 0: chosen from the number of units
  std::optional<history::RecorderSettings> Recording;
  std::vector<UnitConfig> Units;
};

// "HOST:PORT", "[V6]:PORT" or ":PORT" (every interface); nothing when it is none of these.
std::optional<ListenAddress> ParseListenAddress(std::string_view text);

// Reads the configuration from `text`; `fileName` names it in the errors. Returns an empty
// text, or one line: "FILE:LINE: reason".
std::string ParseMonitorConfig(std::string_view text, const std::string& fileName, MonitorConfig& config);

// The same, from a file.
std::string ReadMonitorConfig(const std::string& path, MonitorConfig& config);

// The number of link threads for a configuration: its own, or a few for every unit.
int LinkThreadsFor(const MonitorConfig& config);

}  // namespace tavrix::monitor
