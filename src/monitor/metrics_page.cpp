#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "monitor/metrics_text.h"
#include "monitor/unit_figures.h"

namespace tavrix::monitor {

namespace {

// The quantity label of tavrix_band_alarm.
constexpr const char* kPowerQuantity = "channel_power";
constexpr const char* kCnQuantity = "cn";
const char* const kReasons[] = {kFailConnect, kFailRequest, kFailRead, kFailShort};

// One gauge or counter family over the units, a sample for each unit that has a value.
template <typename Value>
void PerUnit(MetricsText& text, const DaemonFigures& figures, const char* name, MetricType type, const char* help,
             Value value) {
  bool started = false;
  for (const UnitFigures& unit : figures.Units) {
    const std::optional<double> v = value(unit);
    if (!v) continue;
    if (!started) text.Family(name, type, help);
    started = true;
    text.Sample({{"unit", unit.Name}}, *v);
  }
}

// One gauge family over the bands the latest captures measured.
template <typename Value>
void PerBand(MetricsText& text, const DaemonFigures& figures, const char* name, const char* help, Value value) {
  bool started = false;
  for (const UnitFigures& unit : figures.Units) {
    if (!unit.Up) continue;  // no figures stand for a unit that does not answer
    for (const BandFigures& band : unit.Bands) {
      const std::optional<double> v = band.Measured ? value(band) : std::nullopt;
      if (!v) continue;
      if (!started) text.Family(name, MetricType::Gauge, help);
      started = true;
      text.Sample({{"unit", unit.Name}, {"band", band.Name}}, *v);
    }
  }
}

// "VmRSS:    1234 kB" from the system's status of this process, in bytes.
std::optional<double> StatusKiB(const std::string& status, const std::string& key) {
  const size_t at = status.find("\n" + key + ":");
  if (at == std::string::npos) return std::nullopt;
  std::istringstream line(status.substr(at + key.size() + 2));
  double kib = 0;
  if (!(line >> kib)) return std::nullopt;
  return kib * 1024;
}

}  // namespace

void PollDurations::Add(double seconds) {
  const auto at = std::lower_bound(kBounds.begin(), kBounds.end(), seconds);
  ++Counts[static_cast<size_t>(at - kBounds.begin())];
  Sum += seconds;
}

ProcessFigures CurrentProcessFigures(double startTimeSeconds) {
  ProcessFigures p;
  p.StartTimeSeconds = startTimeSeconds;
  const std::clock_t cpu = std::clock();  // every thread of the process
  if (cpu != static_cast<std::clock_t>(-1)) p.CpuSeconds = static_cast<double>(cpu) / CLOCKS_PER_SEC;
  std::ifstream file("/proc/self/status");
  if (file) {
    std::ostringstream status;
    status << "\n" << file.rdbuf();
    p.ResidentBytes = StatusKiB(status.str(), "VmRSS");
    p.VirtualBytes = StatusKiB(status.str(), "VmSize");
  }
  std::error_code error;
  std::filesystem::directory_iterator fds("/proc/self/fd", error);
  if (!error) p.OpenFiles = static_cast<double>(std::distance(fds, std::filesystem::directory_iterator()));
  return p;
}

std::string MetricsPage(const DaemonFigures& f) {
  MetricsText text;
  text.Family("tavrix_build_info", MetricType::Gauge, "The daemon's version, as a label; always 1.");
  text.Sample({{"version", f.Version}}, 1);
  text.Family("tavrix_config_last_reload_successful", MetricType::Gauge,
              "1 when the configuration was read without a problem at the last start or reload (SIGHUP).");
  text.Sample({}, f.LastReloadOk ? 1 : 0);
  text.Family("tavrix_config_last_reload_success_timestamp_seconds", MetricType::Gauge,
              "When the configuration in force was read, in seconds since 1970.");
  text.Sample({}, f.LastReloadSeconds);

  if (!f.Units.empty()) {
    text.Family("tavrix_unit_info", MetricType::Gauge, "The units watched, with their addresses; always 1.");
    for (const UnitFigures& unit : f.Units) text.Sample({{"unit", unit.Name}, {"address", unit.Address}}, 1);
  }
  PerUnit(text, f, "tavrix_unit_up", MetricType::Gauge, "1 when the unit's last poll read a whole capture, else 0.",
          [](const UnitFigures& u) { return std::optional<double>(u.Up ? 1 : 0); });
  PerUnit(text, f, "tavrix_poll_interval_seconds", MetricType::Gauge, "The time between two polls of the unit.",
          [](const UnitFigures& u) { return std::optional<double>(u.IntervalSeconds); });
  PerUnit(text, f, "tavrix_captures_total", MetricType::Counter, "Whole captures read from the unit.",
          [](const UnitFigures& u) { return std::optional<double>(static_cast<double>(u.Captures)); });
  if (!f.Units.empty()) {
    text.Family("tavrix_poll_failures_total", MetricType::Counter,
                "Polls that read no whole capture, by the step that failed: connect (no connection or login), "
                "request (the capture request was not taken), read (the capture could not be read), short (fewer "
                "bytes than a capture arrived).");
    for (const UnitFigures& unit : f.Units) {
      for (const char* reason : kReasons) {
        const auto it = unit.Failures.find(reason);
        text.Sample({{"unit", unit.Name}, {"reason", reason}},
                    static_cast<double>(it == unit.Failures.end() ? 0 : it->second));
      }
    }
  }
  PerUnit(text, f, "tavrix_missed_cycles_total", MetricType::Counter,
          "Polls skipped because the unit's previous poll was still running when they came due.",
          [](const UnitFigures& u) { return std::optional<double>(static_cast<double>(u.Missed)); });
  PerUnit(text, f, "tavrix_last_capture_timestamp_seconds", MetricType::Gauge,
          "When the unit's latest whole capture arrived, in seconds since 1970.", [](const UnitFigures& u) {
            return u.LastCaptureMs > 0 ? std::optional<double>(static_cast<double>(u.LastCaptureMs) / 1000)
                                       : std::nullopt;
          });
  PerUnit(text, f, "tavrix_center_frequency_hertz", MetricType::Gauge,
          "The centre frequency of the unit's latest capture.", [](const UnitFigures& u) { return u.CenterHz; });
  PerUnit(text, f, "tavrix_sample_rate_hertz", MetricType::Gauge, "The sample rate of the unit's latest capture.",
          [](const UnitFigures& u) { return u.SampleRateHz; });

  text.Family("tavrix_poll_duration_seconds", MetricType::Histogram,
              "How long a poll took, from the capture request to the connection kept for the next one, "
              "over all units.");
  text.Histogram({}, PollDurations::kBounds, f.Durations.Counts, f.Durations.Sum);

  PerBand(text, f, "tavrix_band_channel_power_db",
          "The band's channel power in the latest capture: 10 log10 of the summed power of its points "
          "(relative dB, uncalibrated).",
          [](const BandFigures& b) { return std::optional<double>(b.ChannelPowerDb); });
  PerBand(text, f, "tavrix_band_cn_db",
          "The band's carrier to noise ratio in the latest capture, against the noise band; absent while "
          "the carrier is below the noise.",
          [](const BandFigures& b) {
            return b.CN && !b.CN->BelowNoise ? std::optional<double>(b.CN->Db) : std::nullopt;
          });
  PerBand(text, f, "tavrix_band_peak_level_db", "The highest level in the band in the latest capture (dB).",
          [](const BandFigures& b) { return std::optional<double>(b.PeakLevelDb); });
  PerBand(text, f, "tavrix_band_occupied_bandwidth_hertz",
          "The band's 99 % occupied bandwidth in the latest capture.",
          [](const BandFigures& b) { return std::optional<double>(b.OccupiedBandwidthHz); });

  bool started = false;
  for (const UnitFigures& unit : f.Units) {
    if (!unit.Up) continue;
    for (const BandFigures& band : unit.Bands) {
      if (!band.Measured) continue;
      for (const auto& [quantity, alarm] :
           {std::pair{kPowerQuantity, band.PowerAlarm}, std::pair{kCnQuantity, band.CnAlarm}}) {
        if (!alarm) continue;
        if (!started)
          text.Family("tavrix_band_alarm", MetricType::Gauge,
                      "1 while the band's figure is below its lower limit (quantity channel_power or cn; a carrier "
                      "below the noise is below any C/N limit), 0 while at or above it.");
        started = true;
        text.Sample({{"unit", unit.Name}, {"band", band.Name}, {"quantity", quantity}}, *alarm ? 1 : 0);
      }
    }
  }

  const ProcessFigures& p = f.Process;
  if (p.CpuSeconds) {
    text.Family("process_cpu_seconds_total", MetricType::Counter, "Total user and system CPU time spent in seconds.");
    text.Sample({}, *p.CpuSeconds);
  }
  if (p.ResidentBytes) {
    text.Family("process_resident_memory_bytes", MetricType::Gauge, "Resident memory size in bytes.");
    text.Sample({}, *p.ResidentBytes);
  }
  if (p.VirtualBytes) {
    text.Family("process_virtual_memory_bytes", MetricType::Gauge, "Virtual memory size in bytes.");
    text.Sample({}, *p.VirtualBytes);
  }
  if (p.OpenFiles) {
    text.Family("process_open_fds", MetricType::Gauge, "Number of open file descriptors.");
    text.Sample({}, *p.OpenFiles);
  }
  text.Family("process_start_time_seconds", MetricType::Gauge, "Start time of the process since unix epoch in seconds.");
  text.Sample({}, p.StartTimeSeconds);
  return text.Text();
}

std::string UnitsJson(const DaemonFigures& f) {
  QJsonArray units;
  for (const UnitFigures& unit : f.Units) {
    QJsonObject u{{"name", QString::fromStdString(unit.Name)},
                  {"address", QString::fromStdString(unit.Address)},
                  {"interval", unit.IntervalSeconds},
                  {"up", unit.Up},
                  {"captures", static_cast<double>(unit.Captures)},
                  {"missed", static_cast<double>(unit.Missed)}};
    QJsonObject failures;
    for (const char* reason : kReasons) {
      const auto it = unit.Failures.find(reason);
      failures[reason] = static_cast<double>(it == unit.Failures.end() ? 0 : it->second);
    }
    u["failures"] = failures;
    u["last_error"] = QString::fromStdString(unit.LastError);
    u["last_capture_ms"] = unit.LastCaptureMs > 0 ? QJsonValue(static_cast<double>(unit.LastCaptureMs)) : QJsonValue();
    u["center_hz"] = unit.CenterHz ? QJsonValue(*unit.CenterHz) : QJsonValue();
    u["sample_rate_hz"] = unit.SampleRateHz ? QJsonValue(*unit.SampleRateHz) : QJsonValue();
    QJsonArray bands;
    for (const BandFigures& band : unit.Bands) {
      QJsonObject b{{"name", QString::fromStdString(band.Name)}, {"measured", band.Measured && unit.Up}};
      if (band.Measured && unit.Up) {
        b["channel_power_db"] = band.ChannelPowerDb;
        b["peak_level_db"] = band.PeakLevelDb;
        b["occupied_bandwidth_hz"] = band.OccupiedBandwidthHz;
        if (band.CN) b["cn_db"] = band.CN->BelowNoise ? QJsonValue("below noise") : QJsonValue(band.CN->Db);
        QJsonObject alarms;
        if (band.PowerAlarm) alarms[kPowerQuantity] = *band.PowerAlarm;
        if (band.CnAlarm) alarms[kCnQuantity] = *band.CnAlarm;
        b["alarms"] = alarms;
      }
      if (!band.Problem.empty()) b["problem"] = QString::fromStdString(band.Problem);
      bands.append(b);
    }
    u["bands"] = bands;
    units.append(u);
  }
  return QJsonDocument(QJsonObject{{"version", QString::fromStdString(f.Version)}, {"units", units}})
      .toJson(QJsonDocument::Compact)
      .toStdString();
}

}  // namespace tavrix::monitor
