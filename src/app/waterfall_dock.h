#pragma once
#include <QObject>
#include <QString>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "history/history_fill.h"
#include "history/waterfall_rows.h"

class QDockWidget;
class QMainWindow;
class QTimer;
class QWidget;

namespace tavrix {

// A hidden dock under the plot holding `content`, closed only from its View menu entry.
QDockWidget* AddBottomDock(QMainWindow* window, const char* title, const char* name, QWidget* content);

class PlotWidget;
class WaterfallPanel;
struct DisplayState;
struct TraceSet;
struct ViewScale;

// View > "Waterfall": a dock under the plot with one row a capture of the current trace,
// newest at the top, across the plot's frequency window. Live, its rows are the captures
// shown, filled back from the unit's recordings on a thread of their own when the unit's
// first capture arrives, so that it is never empty after a restart; in a replay, the
// replay's rows from the capture shown down. A click on a row asks for that capture.
class WaterfallDock : public QObject {
  Q_OBJECT

 public:
  using RowClicked = std::function<void(int64_t timeMs)>;
  WaterfallDock(QMainWindow* window, const DisplayState& display, RowClicked clicked);
  ~WaterfallDock() override;

  // A live capture of `unit` arrived at `timeMs`: its row goes on top. The first of a unit
  // starts filling back from `files` (its recordings, oldest first) the captures before it.
  void AddLive(const std::string& unit, const TraceSet& traces, int64_t timeMs,
               const std::function<std::vector<std::string>()>& files, bool windowSpectrum);
  // The live rows go: another unit is watched.
  void ForgetLive();
  // A replay's rows, from the one `fromAge` old at the top; null for the live rows again.
  void ShowReplay(const history::WaterfallRows* rows, size_t fromAge);
  // The dock shown or not, its colours and its frequency window, as the plot has them.
  void Show(const ViewScale& view, const PlotWidget& plot);

  QDockWidget* Dock() const { return dock_; }
  WaterfallPanel* Panel() const { return panel_; }
  const history::WaterfallRows& LiveRows() const { return live_; }
  bool Filling() const { return fill_.Running(); }

 private:
  void TakeFill();

  const DisplayState& display_;
  QDockWidget* dock_ = nullptr;
  WaterfallPanel* panel_ = nullptr;
  QTimer* fillTick_ = nullptr;
  history::WaterfallRows live_;
  std::string liveUnit_;
  history::HistoryFill fill_;
  std::vector<history::WaterfallRow> filled_;  // older than the live rows, in order
  bool replaying_ = false;
};

}  // namespace tavrix
