#pragma once
// The headless daemon: reads its configuration, watches every unit in it through a shared
// pool of link threads, records when asked to, and serves /metrics, /healthz and /units
// over HTTP. A reload keeps the units that did not change polling, with their counters.
#include <QObject>

#include <memory>
#include <string>
#include <vector>

#include "monitor/monitor_config.h"
#include "monitor/unit_monitor.h"

class QHttpServer;
class QTcpServer;
class QTimer;

namespace tavrix::monitor {

struct DaemonOptions {
  FtpLimits Limits;          // the client's time-outs
  int RequestWaitMs = 200;   // as in the viewer
  int ReleaseWaitMs = 200;
};

class MonitorDaemon : public QObject {
  Q_OBJECT

 public:
  MonitorDaemon(std::string configPath, LogLine log, DaemonOptions options = {});
  ~MonitorDaemon() override;

  // Reads the configuration, listens and starts watching; the reason in one line when it
  // cannot (a bad file, a listen address that cannot be taken).
  std::string Start();
  // Reads the configuration again. A bad file leaves everything as it is, and says why.
  // Units whose name, address and interval stay keep polling and keep their counters (their
  // bands and limits follow the file), removed ones stop, new ones start.
  void Reload();
  // Stops polling at once and writes what was handed to the recorder.
  void Stop();

  DaemonFigures Figures() const;
  // The port the HTTP endpoints listen on.
  int Port() const;
  const MonitorConfig& Config() const { return config_; }

 private:
  void Apply(const MonitorConfig& config);
  std::unique_ptr<UnitMonitor> NewUnit(const UnitConfig& unit, int index, int count);
  std::string Listen(const ListenAddress& address);
  void Serve();
  void CheckRecorder();

  std::string path_;
  LogLine log_;
  DaemonOptions options_;
  MonitorConfig config_;
  bool applied_ = false;  // a configuration is in force
  bool lastReloadOk_ = true;
  double lastReloadSeconds_ = 0.0;
  double startSeconds_ = 0.0;
  PollDurations durations_;
  std::unique_ptr<LinkPool> pool_;
  std::unique_ptr<history::Recorder> recorder_;
  std::vector<std::unique_ptr<UnitMonitor>> units_;  // after the pool and the recorder: gone first
  std::unique_ptr<QHttpServer> http_;
  QTcpServer* listener_ = nullptr;  // owned by http_
  QTimer* recorderWatch_ = nullptr;
};

}  // namespace tavrix::monitor
