#pragma once
#include <ostream>
#include <string>
#include <vector>

namespace tavrix {

struct MonitorOptions {
  std::string ConfigFile;
  bool CheckOnly = false;  // --check-config: read the file, say what it holds, and end
};

std::string ParseMonitorOptions(const std::vector<std::string>& args, MonitorOptions& options);

// Runs the daemon until SIGTERM or SIGINT (SIGHUP reads the configuration again), or only
// checks the configuration. Needs no display.
int RunMonitor(const MonitorOptions& options, std::ostream& out, std::ostream& err);

}  // namespace tavrix
