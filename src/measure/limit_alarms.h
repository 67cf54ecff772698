#pragma once
// Lower limits on a band's channel power and C/N, the alarm state that reports only its
// changes, and the event log's CSV lines. One LimitAlarms watches the bands of one unit.
#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "measure/carrier_figures.h"

namespace tavrix {

enum class LimitedQuantity { ChannelPower, CarrierToNoise };

// "ChannelPower" or "CN", as the measurement table's columns are named.
const char* QuantityName(LimitedQuantity quantity);

// Optional lower limits of one band, in dB.
struct BandLimits {
  std::optional<double> ChannelPowerDb;
  std::optional<double> CarrierToNoiseDb;
};

// One capture's figures of a band as the limits read them.
struct LimitedFigures {
  double ChannelPowerDb = 0.0;
  std::optional<CarrierToNoise> CN;  // nothing without a noise density
};

// A change of alarm state.
struct AlarmChange {
  std::string Band;
  LimitedQuantity Quantity = LimitedQuantity::ChannelPower;
  std::optional<double> Value;  // nothing when the carrier is below noise or the figure is gone
  bool BelowNoise = false;
  std::optional<double> Limit;  // nothing when the limit was taken away
  bool Alarm = false;           // true: went below the limit; false: back at or above it
};

class LimitAlarms {
 public:
  // Compares one capture's figures of a band with its limits. A figure under its limit
  // raises an alarm (below noise is under any C/N limit), one at or above it clears it;
  // an alarm whose limit or figure is gone clears too. Returns only what changed.
  std::vector<AlarmChange> Check(const std::string& band, const BandLimits& limits, const LimitedFigures& figures);
  // Whether any figure of the band is in alarm now.
  bool InAlarm(const std::string& band) const;
  // Whether that figure of the band is in alarm now.
  bool InAlarm(const std::string& band, LimitedQuantity quantity) const;
  // The band is no longer watched: its state goes without a change being reported.
  void Forget(const std::string& band);

 private:
  std::map<std::pair<std::string, LimitedQuantity>, bool> alarmed_;
};

// One line of the event log.
struct LoggedChange {
  std::chrono::system_clock::time_point Time;
  std::string Unit;  // the unit's name
  AlarmChange Change;
};

// "Time,Unit,Band,Quantity,Value,Limit,State" and a line end.
std::string EventLogHeader();
// The time in UTC as 2024-05-01T12:00:03Z, the unit, the band, the quantity, the value
// with three decimals (or "below noise"), the limit with three decimals, "alarm" or
// "clear", and a line end. Fields that hold a comma, a quote or a line end are quoted.
std::string EventLogLine(const LoggedChange& logged);

}  // namespace tavrix
