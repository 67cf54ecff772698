#pragma once
#include <QObject>

#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "history/history_fill.h"
#include "history/level_strips.h"

class QDockWidget;
class QMainWindow;
class QTimer;

namespace tavrix {

class LevelStripsPanel;
struct DisplayState;

// View > "Level Strips": a dock under the waterfall with the channel power and C/N of the
// band between the cursors against time, over a recording: the unit's recordings of the
// last day while live, with each capture shown added; the replayed recording in a replay,
// its capture shown marked. The points are measured on a thread of their own, again
// whenever the band, the noise band or the recording changes.
class LevelStripsDock : public QObject {
  Q_OBJECT

 public:
  using TimeClicked = std::function<void(int64_t timeMs)>;
  LevelStripsDock(QMainWindow* window, const DisplayState& display, TimeClicked clicked);
  ~LevelStripsDock() override;

  // What the strips measure over: recording files (oldest first) and the captures of
  // [fromMs, ...) in them, `live` when the captures shown are added as they come.
  struct Source {
    std::vector<std::string> Files;
    int64_t FromMs = 0;
    bool Live = true;
    bool operator==(const Source&) const = default;
  };
  // A live capture shown: its point is added while the strips follow the live unit.
  void AddLive(const SpectrumState& state, int64_t timeMs);
  // The dock shown or not; the band from the cursors, measured over `source` (asked for
  // only when the band or the dock changes), `marker` the capture a replay shows.
  void Show(float freqScale, const std::function<Source()>& source, bool replaying, std::optional<int64_t> marker);

  QDockWidget* Dock() const { return dock_; }
  LevelStripsPanel* Panel() const { return panel_; }
  const std::deque<history::StripPoint>& Points() const { return points_; }
  bool Measuring() const { return measuring_; }

 private:
  void Take();
  void Draw(std::optional<int64_t> marker);

  const DisplayState& display_;
  QDockWidget* dock_ = nullptr;
  LevelStripsPanel* panel_ = nullptr;
  QTimer* look_ = nullptr;
  history::HistoryFill fill_;
  std::optional<history::StripBand> band_;
  bool replaying_ = false;
  bool live_ = false;
  bool measuring_ = false;
  std::deque<history::StripPoint> points_;
  std::vector<history::StripPoint> arrived_;  // live points while the recording is measured
  std::optional<int64_t> marker_;
};

}  // namespace tavrix
