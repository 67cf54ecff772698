#include "monitor/monitor_daemon.h"

#include <QHostAddress>
#include <QHttpServer>
#include <QHttpServerResponse>
#include <QTcpServer>
#include <QTimer>

#include <chrono>
#include <map>

#include "app/version.h"

namespace tavrix::monitor {

namespace {

constexpr int kRecorderWatchMs = 5000;

double NowSeconds() {
  return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

std::string Plural(size_t n, const char* word) { return std::to_string(n) + " " + word + (n == 1 ? "" : "s"); }

std::string ListenText(const ListenAddress& a) {
  std::string text;
  if (a.Host.find(':') != std::string::npos) {
    text.append("[").append(a.Host).append("]");
  } else {
    text.append(a.Host);
  }
  return text.append(":").append(std::to_string(a.Port));
}

history::RecorderSettings RecordingOf(const MonitorConfig& config) {
  if (config.Recording) return *config.Recording;
  history::RecorderSettings off;
  off.Enabled = false;
  return off;
}

}  // namespace

MonitorDaemon::MonitorDaemon(std::string configPath, LogLine log, DaemonOptions options)
    : path_(std::move(configPath)), log_(std::move(log)), options_(options), startSeconds_(NowSeconds()) {}

MonitorDaemon::~MonitorDaemon() { Stop(); }

std::string MonitorDaemon::Start() {
  MonitorConfig config;
  if (std::string error = ReadMonitorConfig(path_, config); !error.empty()) return error;
  if (std::string error = Listen(config.Listen); !error.empty()) return error;
  pool_ = std::make_unique<LinkPool>(LinkThreadsFor(config));
  recorder_ = std::make_unique<history::Recorder>(RecordingOf(config));
  recorderWatch_ = new QTimer(this);
  connect(recorderWatch_, &QTimer::timeout, this, &MonitorDaemon::CheckRecorder);
  recorderWatch_->start(kRecorderWatchMs);
  Apply(config);
  lastReloadSeconds_ = NowSeconds();
  log_("watching " + Plural(units_.size(), "unit") + " with " + Plural(static_cast<size_t>(pool_->Threads()),
       "link thread") + "; metrics at http://" + ListenText(config_.Listen) + "/metrics" +
       (config_.Recording ? "; recording to " + config_.Recording->Folder : ""));
  return {};
}

std::string MonitorDaemon::Listen(const ListenAddress& address) {
  http_ = std::make_unique<QHttpServer>();
  auto* listener = new QTcpServer(http_.get());
  const QHostAddress host = address.Host.empty() ? QHostAddress(QHostAddress::Any)
                                                 : QHostAddress(QString::fromStdString(address.Host));
  if (!listener->listen(host, static_cast<quint16>(address.Port)))
    return "cannot listen on " + ListenText(address) + ": " + listener->errorString().toStdString();
  http_->bind(listener);
  listener_ = listener;
  Serve();
  return {};
}

void MonitorDaemon::Serve() {
  http_->route("/metrics", QHttpServerRequest::Method::Get, [this] {
    return QHttpServerResponse("text/plain; version=0.0.4; charset=utf-8", QByteArray::fromStdString(MetricsPage(Figures())));
  });
  http_->route("/units", QHttpServerRequest::Method::Get, [this] {
    return QHttpServerResponse("application/json", QByteArray::fromStdString(UnitsJson(Figures())));
  });
  http_->route("/healthz", QHttpServerRequest::Method::Get,
               [] { return QHttpServerResponse("text/plain; charset=utf-8", QByteArray("ok\n")); });
  http_->route("/", QHttpServerRequest::Method::Get, [] {
    return QHttpServerResponse("text/plain; charset=utf-8",
                               QByteArray("tavrix-spectrum monitor\n/metrics  Prometheus metrics\n"
                                          "/units    the units as JSON\n/healthz  liveness\n"));
  });
}

std::unique_ptr<UnitMonitor> MonitorDaemon::NewUnit(const UnitConfig& unit, int index, int count) {
  UnitServices services;
  services.pool = pool_.get();
  services.recorder = recorder_.get();
  services.durations = &durations_;
  services.log = log_;
  services.limits = options_.Limits;
  services.requestWaitMs = options_.RequestWaitMs;
  services.releaseWaitMs = options_.ReleaseWaitMs;
  // The first polls of the units are spread over one interval, so that the polls of a rack
  // do not all come due together.
  const int delay = static_cast<int>(unit.IntervalSeconds * 1000 * index / std::max(1, count));
  return std::make_unique<UnitMonitor>(unit, std::move(services), delay);
}

void MonitorDaemon::Apply(const MonitorConfig& config) {
  std::map<std::string, std::unique_ptr<UnitMonitor>> running;
  for (auto& unit : units_) running[unit->Config().Name] = std::move(unit);
  units_.clear();
  const int count = static_cast<int>(config.Units.size());
  size_t kept = 0, started = 0;
  for (int i = 0; i < count; ++i) {
    const UnitConfig& next = config.Units[static_cast<size_t>(i)];
    auto found = running.find(next.Name);
    if (found != running.end() && found->second->Config().Address == next.Address &&
        found->second->Config().IntervalSeconds == next.IntervalSeconds) {
      if (!(found->second->Config().Bands == next.Bands)) found->second->SetBands(next.Bands);
      units_.push_back(std::move(found->second));
      running.erase(found);
      ++kept;
      continue;
    }
    units_.push_back(NewUnit(next, i, count));
    ++started;
  }
  // Those left go together: their steps under way end at once, then each is destroyed.
  for (auto& [name, unit] : running) unit->Abandon();
  const size_t stopped = running.size();
  running.clear();
  if (recorder_) recorder_->Apply(RecordingOf(config));
  const bool reload = applied_;
  if (reload && !(config_.Listen == config.Listen))
    log_("the listen address " + ListenText(config.Listen) + " takes effect at the next start; " +
         ListenText(config_.Listen) + " stays until then");
  const ListenAddress listening = config_.Listen;
  config_ = config;
  if (reload) config_.Listen = listening;
  applied_ = true;
  if (reload)
    log_("configuration reloaded: " + Plural(kept, "unit") + " kept, " + std::to_string(started) + " started, " +
         std::to_string(stopped) + " stopped");
}

void MonitorDaemon::Reload() {
  MonitorConfig config;
  if (const std::string error = ReadMonitorConfig(path_, config); !error.empty()) {
    lastReloadOk_ = false;
    log_("configuration not reloaded, the one in force stays: " + error);
    return;
  }
  if (LinkThreadsFor(config) > pool_->Threads()) pool_->AddThreads(LinkThreadsFor(config) - pool_->Threads());
  Apply(config);
  lastReloadOk_ = true;
  lastReloadSeconds_ = NowSeconds();
}

void MonitorDaemon::Stop() {
  if (http_) {
    for (QTcpServer* server : http_->servers()) server->close();
  }
  for (auto& unit : units_) unit->Abandon();
  units_.clear();
  if (recorder_) {
    recorder_->Flush();
    CheckRecorder();
  }
}

void MonitorDaemon::CheckRecorder() {
  if (!recorder_) return;
  if (const std::string failure = recorder_->TakeFailure(); !failure.empty())
    log_("recording stopped: " + failure + "; polling goes on (a reload starts recording again)");
}

DaemonFigures MonitorDaemon::Figures() const {
  DaemonFigures figures;
  figures.Units.reserve(units_.size());
  for (const auto& unit : units_) figures.Units.push_back(unit->Figures());
  figures.Durations = durations_;
  figures.Process = CurrentProcessFigures(startSeconds_);
  figures.LastReloadOk = lastReloadOk_;
  figures.LastReloadSeconds = lastReloadSeconds_;
  figures.Version = kVersion;
  return figures;
}

int MonitorDaemon::Port() const { return listener_ != nullptr ? listener_->serverPort() : 0; }

}  // namespace tavrix::monitor
