#pragma once
// One unit watched by the daemon: the viewer's acquisition cycle, unattended, on a strand of
// the shared link pool; each whole capture goes through the spectrum update, is measured in
// the unit's bands against their limits and handed to the recorder; the counters and the
// figures are kept for the metrics.
#include <QObject>

#include <memory>
#include <string>
#include <vector>

#include "dsp/spectrum_update.h"
#include "history/recorder.h"
#include "link/acquisition_cycle.h"
#include "link/link_pool.h"
#include "measure/limit_alarms.h"
#include "monitor/headless_notices.h"
#include "monitor/monitor_config.h"
#include "monitor/unit_figures.h"

namespace tavrix::monitor {

// What all units share.
struct UnitServices {
  LinkPool* pool = nullptr;
  history::Recorder* recorder = nullptr;  // none when not recording
  PollDurations* durations = nullptr;
  LogLine log;
  FtpLimits limits;
  int requestWaitMs = 200;  // between the capture request and the read, as in the viewer
  int releaseWaitMs = 200;  // after each release of a client, as in the viewer
};

class UnitMonitor : public QObject {
  Q_OBJECT

 public:
  // Polling starts after `startDelayMs`, so that the units of a rack do not all poll at once.
  UnitMonitor(UnitConfig config, UnitServices services, int startDelayMs);
  ~UnitMonitor() override;

  const UnitConfig& Config() const { return config_; }
  // The same unit with other bands or limits: polling and counters go on.
  void SetBands(const std::vector<BandConfig>& bands);
  const UnitFigures& Figures() const { return figures_; }
  // About to go: the poll under way ends at once (see AcquisitionCycle::Abandon).
  void Abandon() { cycle_->Abandon(); }
  // True while a poll is under way.
  bool Busy() const { return cycle_->TickInProgress(); }

 signals:
  void pollFinished();

 private:
  uint16_t OnBlock(const std::string& block);
  void Measure(int64_t timeMs);
  void OnTickFinished();
  void Log(const std::string& text) const;

  UnitConfig config_;
  UnitServices services_;
  HeadlessNotices notices_;
  SpectrumState spectrum_;
  VerticalWindow window_;
  LimitAlarms alarms_;
  UnitFigures figures_;
  bool shortBlock_ = false;  // the tick's block was not a whole capture
  bool wasUp_ = true;        // so that a first failed poll is logged too
  std::unique_ptr<AcquisitionCycle> cycle_;  // declared last: its strand is finished first
};

}  // namespace tavrix::monitor
