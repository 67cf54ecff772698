#include "measure/limit_alarms.h"

#include <cstdio>
#include <ctime>

namespace tavrix {

namespace {

std::string CsvField(const std::string& text) {
  if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
  std::string quoted = "\"";
  for (const char c : text) {
    if (c == '"') quoted += '"';
    quoted += c;
  }
  return quoted + "\"";
}

std::string Decibels(std::optional<double> value) {
  if (!value) return {};
  char text[32];
  std::snprintf(text, sizeof text, "%.3f", *value);
  return text;
}

}  // namespace

const char* QuantityName(LimitedQuantity quantity) {
  return quantity == LimitedQuantity::ChannelPower ? "ChannelPower" : "CN";
}

std::vector<AlarmChange> LimitAlarms::Check(const std::string& band, const BandLimits& limits,
                                            const LimitedFigures& figures) {
  std::vector<AlarmChange> changes;
  const auto judge = [&](LimitedQuantity quantity, std::optional<double> limit, std::optional<double> value,
                         bool belowNoise) {
    bool& alarmed = alarmed_[{band, quantity}];
    const bool judged = limit && (value || belowNoise);
    const bool under = judged && (belowNoise || *value < *limit);
    if (under == alarmed) return;
    alarmed = under;
    changes.push_back({band, quantity, value, belowNoise, limit, under});
  };
  judge(LimitedQuantity::ChannelPower, limits.ChannelPowerDb, figures.ChannelPowerDb, false);
  const bool belowNoise = figures.CN && figures.CN->BelowNoise;
  const std::optional<double> cn = figures.CN && !belowNoise ? std::optional<double>(figures.CN->Db) : std::nullopt;
  judge(LimitedQuantity::CarrierToNoise, limits.CarrierToNoiseDb, cn, belowNoise);
  return changes;
}

bool LimitAlarms::InAlarm(const std::string& band) const {
  return InAlarm(band, LimitedQuantity::ChannelPower) || InAlarm(band, LimitedQuantity::CarrierToNoise);
}

bool LimitAlarms::InAlarm(const std::string& band, LimitedQuantity quantity) const {
  const auto found = alarmed_.find({band, quantity});
  return found != alarmed_.end() && found->second;
}

void LimitAlarms::Forget(const std::string& band) {
  alarmed_.erase({band, LimitedQuantity::ChannelPower});
  alarmed_.erase({band, LimitedQuantity::CarrierToNoise});
}

std::string EventLogHeader() { return "Time,Unit,Band,Quantity,Value,Limit,State\n"; }

std::string EventLogLine(const LoggedChange& logged) {
  const std::time_t seconds = std::chrono::system_clock::to_time_t(logged.Time);
  std::tm utc{};
  gmtime_r(&seconds, &utc);
  char time[32];
  std::strftime(time, sizeof time, "%Y-%m-%dT%H:%M:%SZ", &utc);
  const AlarmChange& c = logged.Change;
  return std::string(time) + ',' + CsvField(logged.Unit) + ',' + CsvField(c.Band) + ',' + QuantityName(c.Quantity) +
         ',' + (c.BelowNoise ? std::string("below noise") : Decibels(c.Value)) + ',' + Decibels(c.Limit) + ',' +
         (c.Alarm ? "alarm" : "clear") + '\n';
}

}  // namespace tavrix
