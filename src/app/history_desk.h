#pragma once
#include <QElapsedTimer>
#include <QObject>
#include <QString>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "dsp/spectrum_update.h"
#include "history/history_fill.h"
#include "history/recorder.h"
#include "history/replay_player.h"
#include "history/replay_timeline.h"
#include "link/acquisition_cycle.h"

class QTimer;
class QWidget;

namespace tavrix {

class CommandSet;
class LevelStripsDock;
class PlotWidget;
class ReplayBar;
class WaterfallDock;
struct DisplayState;
struct ViewScale;

// The main window's history. Every capture shown live is handed to the recorder with its
// arrival time and unit, in the folder and within the limit the settings give; a failure
// stops the recording with one notice while the captures go on being shown. A recording
// opened is replayed: the live unit rests, the replay bar shows where the replay stands,
// and each capture is handed to the window with the state of the captures before it, to
// be processed as if it had just arrived. A first pass over the recording runs on a thread
// of its own; a seek beyond its reach waits for it, so that no seek costs more than one
// checkpoint's updates.
class HistoryDesk : public QObject {
  Q_OBJECT

 public:
  struct Handlers {
    std::function<void(const std::string&)> Notice;  // one line for the Status panel
    // A replayed capture: the state after the captures before it, its block and arrival time.
    std::function<void(SpectrumState before, const std::string& block, int64_t timeMs)> ShowCapture;
    std::function<void(bool replaying)> ReplayChanged;  // a replay began, or ended
    std::function<std::optional<ModemInfo>()> CurrentUnit;
  };
  // `defaultFolder`: where the recordings go when the settings name no folder.
  HistoryDesk(QWidget* window, DisplayState& display, QString defaultFolder, Handlers handlers);
  ~HistoryDesk() override;

  // The recorder takes the settings of the display state.
  void ApplySettings();
  // A capture has arrived from `unit` at `timeMs` (UTC) and been processed into `state`:
  // unless replaying, it is recorded and goes on the waterfall and the level strips.
  void Record(const ModemInfo& unit, int64_t timeMs, const std::string& block, const SpectrumState& state);
  // Options > "Recording...".
  void EditRecording();
  // Waits until every capture handed over is written, and tells a failure.
  void Flush();
  QString RecordingFolder() const;

  // Opens a recording as a replay showing its first capture; empty on success, else why not.
  std::string OpenReplay(const std::string& path);
  // File > "Open Recording...", and the History menu's entries.
  void ChooseRecording();
  void OpenDay(int newest);  // 0: the current unit's newest day
  void OpenToday();
  // The History menu's days, of the current unit, newest first.
  void ListDays(const CommandSet& commands);
  // Leaves the replay; the window resumes the live unit.
  void LeaveReplay();

  bool Replaying() const { return timeline_ != nullptr; }
  // The capture a time falls in (the last at or before it) is shown.
  void SeekTo(int64_t timeMs);
  void Step(int captures);
  void SetPlaying(bool on);
  void SetSpeed(int speed);
  const history::ReplayPlayer& Player() const { return player_; }
  // The capture shown, or the one waiting for the first pass.
  size_t ShownIndex() const { return shown_; }
  QString ReplayTitle() const;  // "Replay of <unit>, <time>" while replaying
  // The capture of the current unit at a time replayed (a waterfall row's click).
  void ReplayAt(int64_t timeMs);
  ReplayBar* Bar() const { return bar_; }
  WaterfallDock* Waterfall() const { return waterfall_; }
  LevelStripsDock* Strips() const { return strips_; }

  // View > "Waterfall" and "Level Strips", and the waterfall's colours (a WaterfallColorEntry).
  void ToggleWaterfall();
  void ToggleLevelStrips();
  void ChooseWaterfallColors(int entry);
  // The panels and check marks from the state; the waterfall across the plot's window.
  void Show(const CommandSet& commands, const ViewScale& view, const PlotWidget& plot, float freqScale);

 private:
  void ShowIndex(size_t index, bool played = false);
  void Tick();
  void ShowBar();
  void TellFailure();
  void StartFirstPass();
  void ShowReplayRows(bool always);

  QWidget* window_;
  DisplayState& display_;
  QString defaultFolder_;
  Handlers handlers_;
  history::Recorder recorder_{history::RecorderSettings{false, {}, 0}};

  std::shared_ptr<history::ReplayTimeline> timeline_;
  std::string unitName_;  // the recording's
  history::ReplayPlayer player_;
  history::HistoryFill fill_;
  bool fillWindow_ = true;  // the window the first pass uses
  size_t shown_ = 0;
  history::WaterfallRows replayRows_;      // made by the first pass
  std::vector<size_t> replayRowCaptures_;  // each row's capture
  long replayTopRow_ = -2;                 // the row at the waterfall's top, -1 for none
  WaterfallDock* waterfall_ = nullptr;
  LevelStripsDock* strips_ = nullptr;
  std::string replayPath_;
  std::optional<size_t> waiting_;  // a capture beyond the first pass's reach
  ReplayBar* bar_ = nullptr;
  QTimer* tick_ = nullptr;
  QElapsedTimer sinceTick_;
};

}  // namespace tavrix
