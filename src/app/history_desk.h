#pragma once
#include <QObject>
#include <QString>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "history/recorder.h"
#include "link/acquisition_cycle.h"

class QWidget;

namespace tavrix {

struct DisplayState;

// The main window's history: every capture shown is handed to the recorder with its arrival
// time and unit, in the folder and within the limit the settings give. A failure stops the
// recording with one notice; the captures go on being shown.
class HistoryDesk : public QObject {
  Q_OBJECT

 public:
  using Notice = std::function<void(const std::string&)>;  // one line for the Status panel
  // `defaultFolder`: where the recordings go when the settings name no folder.
  HistoryDesk(QWidget* window, DisplayState& display, QString defaultFolder, Notice notice);
  ~HistoryDesk() override;

  // The recorder takes the settings of the display state.
  void ApplySettings();
  // A capture has arrived from `unit` at `timeMs` (UTC): it is recorded.
  void Record(const ModemInfo& unit, int64_t timeMs, const std::string& block);
  // Options > "Recording...".
  void EditRecording();
  // Waits until every capture handed over is written, and tells a failure.
  void Flush();

  QString RecordingFolder() const;
  const history::Recorder& Recorder() const { return recorder_; }

 private:
  void TellFailure();

  QWidget* window_;
  DisplayState& display_;
  QString defaultFolder_;
  Notice notice_;
  history::Recorder recorder_{history::RecorderSettings{false, {}, 0}};
};

}  // namespace tavrix
