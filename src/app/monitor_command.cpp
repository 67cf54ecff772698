#include "app/monitor_command.h"

#include <QCoreApplication>

#include <iostream>
#include <memory>

#include "app/option_reader.h"
#include "app/platform.h"
#include "monitor/monitor_daemon.h"

namespace tavrix {

std::string ParseMonitorOptions(const std::vector<std::string>& args, MonitorOptions& options) {
  OptionReader reader(args);
  bool haveConfig = false;
  while (reader.Next()) {
    const std::string& name = reader.Name();
    std::string problem;
    if (!reader.IsOption()) {
      problem = "unexpected word " + reader.Word();
    } else if (name == "--config" || name == "--check-config") {
      if (haveConfig) return "give one of --config FILE and --check-config FILE, once";
      haveConfig = true;
      options.CheckOnly = name == "--check-config";
      problem = reader.TakeValue(options.ConfigFile);
      if (problem.empty() && options.ConfigFile.empty()) problem = name + " needs a file name";
    } else {
      problem = "unknown option " + reader.Word();
    }
    if (!problem.empty()) return problem;
  }
  if (!haveConfig) return "--config FILE or --check-config FILE is required";
  return {};
}

namespace {

int CheckConfig(const std::string& path, std::ostream& out, std::ostream& err) {
  monitor::MonitorConfig config;
  if (const std::string error = monitor::ReadMonitorConfig(path, config); !error.empty()) {
    err << "tavrix-spectrum: " << error << "\n";
    return 1;
  }
  size_t bands = 0, limits = 0;
  for (const monitor::UnitConfig& unit : config.Units) {
    bands += unit.Bands.size();
    for (const monitor::BandConfig& band : unit.Bands)
      limits += band.Limits.ChannelPowerDb.has_value() + band.Limits.CarrierToNoiseDb.has_value();
  }
  out << path << ": " << config.Units.size() << (config.Units.size() == 1 ? " unit, " : " units, ") << bands
      << (bands == 1 ? " band, " : " bands, ") << limits << (limits == 1 ? " limit" : " limits")
      << (config.Recording ? ", recording to " + config.Recording->Folder : std::string()) << ": OK\n";
  return 0;
}

}  // namespace

int RunMonitor(const MonitorOptions& options, std::ostream& out, std::ostream& err) {
  if (options.CheckOnly) return CheckConfig(options.ConfigFile, out, err);
  // The daemon runs on a Qt event loop without any window system.
  static int argc = 1;
  static char name[] = "tavrix-spectrum";
  static char* argv[] = {name, nullptr};
  std::unique_ptr<QCoreApplication> app;
  if (QCoreApplication::instance() == nullptr) app = std::make_unique<QCoreApplication>(argc, argv);
  RaiseOpenFileLimit();
  // One line an event, as a service manager's journal takes them.
  const monitor::LogLine log = [&err](const std::string& line) { err << "tavrix-spectrum monitor: " << line << std::endl; };
  monitor::MonitorDaemon daemon(options.ConfigFile, log);
  if (const std::string error = daemon.Start(); !error.empty()) {
    err << "tavrix-spectrum: " << error << "\n";
    return 1;
  }
  WatchDaemonSignals(&daemon, [&](DaemonSignal signal) {
    if (signal == DaemonSignal::Reload) {
      log("reloading " + options.ConfigFile);
      daemon.Reload();
      return;
    }
    log("stopping");
    daemon.Stop();
    QCoreApplication::quit();
  });
  QCoreApplication::exec();
  log("stopped");
  return 0;
}

}  // namespace tavrix
