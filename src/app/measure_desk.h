#pragma once
#include <QObject>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "app/command_table.h"
#include "measure/band_watch.h"
#include "measure/event_log_file.h"
#include "view/plot_scene.h"

class QDockWidget;
class QLabel;
class QMainWindow;
class QStatusBar;

namespace tavrix {

class CommandSet;
class EventLogPanel;
class LiveSpectrum;
class MeasurePanel;
class PeakTablePanel;
struct DisplayState;

// The main window's measurement panels, each a dock over a plain model: the figures of the
// band between the cursors with its noise band, limits and average; the peak table; the
// event log with its file beside the settings file; and the alarm's panel in the status
// bar. It reads the window's live spectrum and display state, keeps the measurement's
// options in that state, and asks the window for what is the window's.
class MeasureDesk : public QObject {
  Q_OBJECT

 public:
  struct Handlers {
    std::function<void(int point)> GoToPoint;        // a peak table row: select it as the moves do
    std::function<void(const std::string&)> Notice;  // one line for the Status panel
    std::function<void()> Redraw;                    // the state changed: draw the window from it
  };
  MeasureDesk(QMainWindow* window, QStatusBar* bar, const LiveSpectrum& live, DisplayState& display,
              const CommandSet& commands, const QString& settingsFile, Handlers handlers);

  // A capture has been processed: it joins the average, its figures meet the limits, and a
  // change of alarm state is shown, beeped once and logged. A replayed capture (its arrival
  // time given) shows its changes in the panels at that time, but neither beeps nor writes
  // to the event log file, which holds live events only.
  void AddCapture(const std::string& unit, std::optional<int64_t> replayedMs = std::nullopt);
  // The panels from the state: which are shown, their commands, the figures, the peak table.
  void Show();
  // A panel's command (Command::MeasureBand, ViewPeakTable, ViewEventLog): shown, or hidden again.
  void Toggle(Command command);
  // The noise band from a drag across the plot, in plot units.
  void SetNoiseBand(float x1, float x2);
  // Another unit is watched: the average and the alarm state go, without a line logged.
  void Forget();
  // The measured band and the noise band shaded on the plot, while the panel is shown.
  void Decorate(PlotScene& scene) const;
  // The figures as "Name:  value" lines while the panel is shown: for a page or a picture.
  QStringList FigureTexts() const;

  MeasurePanel* Panel() const { return panel_; }
  PeakTablePanel* PeakTable() const { return peaks_; }
  EventLogPanel* EventLog() const { return log_; }
  QLabel* AlarmPanel() const { return alarm_; }
  const EventLogFile& LogFile() const { return file_; }

 private:
  WatchInput Input() const;
  BandReading Read() const;
  QString PeakCsv() const;
  void ShowAlarm(const BandReading& reading);

  const LiveSpectrum& live_;
  DisplayState& display_;
  const CommandSet& commands_;
  Handlers handlers_;
  BandWatch watch_;
  EventLogFile file_;
  MeasurePanel* panel_ = nullptr;
  PeakTablePanel* peaks_ = nullptr;
  EventLogPanel* log_ = nullptr;
  QDockWidget* docks_[3] = {};  // the measurement, the peak table, the event log
  QLabel* alarm_ = nullptr;
};

}  // namespace tavrix
