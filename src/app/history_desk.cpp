#include "app/history_desk.h"

#include <QAction>
#include <QDateTime>
#include <QDir>
#include <QFileDialog>
#include <QLocale>
#include <QMainWindow>
#include <QTimer>

#include <algorithm>
#include <limits>

#include "app/command_builder.h"
#include "app/display_state.h"
#include "app/level_strips_dock.h"
#include "app/recording_dialog.h"
#include "app/replay_bar.h"
#include "app/waterfall_dock.h"
#include "history/recording_folder.h"

namespace tavrix {

namespace {

constexpr uint64_t kMiB = uint64_t{1} << 20;
constexpr int kTickMs = 40;  // the play clock's and the first pass's look
constexpr int64_t kStripsBackMs = int64_t{24} * 3600 * 1000;  // what the strips show live

}  // namespace

HistoryDesk::HistoryDesk(QWidget* window, DisplayState& display, QString defaultFolder, Handlers handlers)
    : QObject(window), window_(window), display_(display), defaultFolder_(std::move(defaultFolder)),
      handlers_(std::move(handlers)) {
  bar_ = new ReplayBar(window);
  bar_->hide();
  connect(bar_, &ReplayBar::playClicked, this, [this] { SetPlaying(!player_.Playing()); });
  connect(bar_, &ReplayBar::stepClicked, this, &HistoryDesk::Step);
  connect(bar_, &ReplayBar::seekRequested, this, &HistoryDesk::SeekTo);
  connect(bar_, &ReplayBar::speedChosen, this, &HistoryDesk::SetSpeed);
  connect(bar_, &ReplayBar::leaveClicked, this, &HistoryDesk::LeaveReplay);
  waterfall_ = new WaterfallDock(static_cast<QMainWindow*>(window), display_, [this](int64_t t) { ReplayAt(t); });
  strips_ = new LevelStripsDock(static_cast<QMainWindow*>(window), display_, [this](int64_t t) { ReplayAt(t); });
  static_cast<QMainWindow*>(window)->splitDockWidget(waterfall_->Dock(), strips_->Dock(), Qt::Vertical);
  tick_ = new QTimer(this);
  tick_->setInterval(kTickMs);
  connect(tick_, &QTimer::timeout, this, &HistoryDesk::Tick);
}

HistoryDesk::~HistoryDesk() { fill_.Stop(); }

// ---- recording -----------------------------------------------------------------------

QString HistoryDesk::RecordingFolder() const {
  const std::string& chosen = display_.History.RecordingFolder;
  return chosen.empty() ? defaultFolder_ : QString::fromStdString(chosen);
}

void HistoryDesk::ApplySettings() {
  const HistorySettings& h = display_.History;
  recorder_.Apply({h.Recording, QDir::toNativeSeparators(RecordingFolder()).toStdString(),
                   static_cast<uint64_t>(std::max(h.RecordingLimitMiB, 1)) * kMiB});
}

void HistoryDesk::Record(const ModemInfo& unit, int64_t timeMs, const std::string& block, const SpectrumState& state) {
  TellFailure();
  if (Replaying() || unit.Name.empty()) return;
  recorder_.Append({unit.Name, unit.Address, timeMs, block});
  const auto files = [this, name = unit.Name] {
    std::vector<std::string> paths;
    for (const history::RecordingFile& f : history::UnitRecordings(RecordingFolder().toStdString(), name))
      paths.push_back(f.Path);
    return paths;
  };
  waterfall_->AddLive(unit.Name, state.Traces, timeMs, files, display_.WindowSpectrum);
  strips_->AddLive(state, timeMs);
}


void HistoryDesk::Flush() {
  recorder_.Flush();
  TellFailure();
}

void HistoryDesk::TellFailure() {
  if (const std::string failure = recorder_.TakeFailure(); !failure.empty() && handlers_.Notice)
    handlers_.Notice("Recording stopped: " + failure);
}

void HistoryDesk::EditRecording() {
  uint64_t held = 0;
  const std::vector<history::RecordingFile> files = history::ListRecordings(RecordingFolder().toStdString());
  for (const history::RecordingFile& f : files) held += f.Bytes;
  const QString usage =
      QString("%1 in %2 day files").arg(QLocale::c().formattedDataSize(static_cast<qint64>(held))).arg(files.size());
  RecordingDialog dialog(display_.History, defaultFolder_, usage, window_);
  if (dialog.exec() != QDialog::Accepted) return;
  display_.History = dialog.Edited();
  ApplySettings();
}

// ---- opening a replay ----------------------------------------------------------------

std::string HistoryDesk::OpenReplay(const std::string& path) {
  auto timeline = std::make_shared<history::ReplayTimeline>();
  if (std::string problem = timeline->Open(path); !problem.empty()) return problem;
  if (timeline->Count() == 0) return "The recording " + path + " holds no capture.";
  std::vector<int64_t> times(timeline->Count());
  for (size_t i = 0; i < times.size(); ++i) times[i] = timeline->Time(i);
  const bool wasReplaying = Replaying();
  fill_.Stop();
  timeline_ = std::move(timeline);
  replayPath_ = path;
  unitName_ = timeline_->Header().UnitName;
  player_.Open(std::move(times));
  waiting_.reset();
  StartFirstPass();
  if (!wasReplaying && handlers_.ReplayChanged) handlers_.ReplayChanged(true);
  bar_->show();
  sinceTick_.start();
  tick_->start();
  ShowIndex(0);
  return {};
}

void HistoryDesk::StartFirstPass() {
  fillWindow_ = display_.WindowSpectrum;
  replayRows_.Clear();
  replayRowCaptures_.clear();
  replayTopRow_ = -2;
  fill_.Start(timeline_, {fillWindow_, true, std::nullopt});
}

void HistoryDesk::ShowReplayRows(bool always) {
  // The rows from the capture shown down; rows made of later captures change nothing.
  const auto after = std::upper_bound(replayRowCaptures_.begin(), replayRowCaptures_.end(), shown_);
  const long top = static_cast<long>(after - replayRowCaptures_.begin()) - 1;
  if (!always && top == replayTopRow_) return;
  replayTopRow_ = top;
  waterfall_->ShowReplay(&replayRows_, replayRows_.Count() - 1 - static_cast<size_t>(top));
}

void HistoryDesk::ReplayAt(int64_t timeMs) {
  if (!Replaying()) {
    const std::optional<ModemInfo> unit = handlers_.CurrentUnit();
    if (!unit) return;
    recorder_.Flush();  // the captures handed over are in the file
    const std::string path = history::RecordingPath(RecordingFolder().toStdString(), unit->Name, timeMs);
    if (const std::string problem = OpenReplay(path); !problem.empty()) {
      if (handlers_.Notice) handlers_.Notice(problem);
      return;
    }
  }
  SeekTo(timeMs);
}

void HistoryDesk::ToggleWaterfall() { display_.History.Waterfall = !display_.History.Waterfall; }
void HistoryDesk::ToggleLevelStrips() { display_.History.LevelStrips = !display_.History.LevelStrips; }

void HistoryDesk::ChooseWaterfallColors(int entry) {
  HistorySettings& h = display_.History;
  if (entry == kPerceptualMap || entry == kPaletteMap) h.PaletteColorMap = entry == kPaletteMap;
  if (entry == kPlotLevels || entry == kAutomaticLevels) h.AutomaticLevels = entry == kAutomaticLevels;
}

void HistoryDesk::Show(const CommandSet& commands, const ViewScale& view, const PlotWidget& plot, float freqScale) {
  const HistorySettings& h = display_.History;
  commands.Enable(Command::HistoryLive, Replaying());
  commands.Check(Command::ViewWaterfall, h.Waterfall);
  commands.Check(Command::ViewLevelStrips, h.LevelStrips);
  for (const auto& [entry, on] : {std::pair{kPerceptualMap, !h.PaletteColorMap}, {kPaletteMap, h.PaletteColorMap},
                                  {kPlotLevels, !h.AutomaticLevels}, {kAutomaticLevels, h.AutomaticLevels}})
    commands.Check(Command::WaterfallColors, on, entry);
  waterfall_->Show(view, plot);
  // The strips measure the replayed recording whole, or the unit's last day.
  const auto source = [this]() -> LevelStripsDock::Source {
    if (Replaying()) return {{replayPath_}, std::numeric_limits<int64_t>::min(), false};
    std::vector<std::string> files;
    if (const std::optional<ModemInfo> unit = handlers_.CurrentUnit())
      for (const history::RecordingFile& f : history::UnitRecordings(RecordingFolder().toStdString(), unit->Name))
        files.push_back(f.Path);
    return {files, QDateTime::currentMSecsSinceEpoch() - kStripsBackMs, true};
  };
  strips_->Show(freqScale, source, Replaying(), Replaying() ? std::optional(player_.TimeOf(shown_)) : std::nullopt);
}

void HistoryDesk::ChooseRecording() {
  const QString path = QFileDialog::getOpenFileName(window_, "Open Recording", RecordingFolder(),
                                                    "Recordings (*.tavrec);;All Files (*)");
  if (path.isEmpty()) return;
  if (const std::string problem = OpenReplay(path.toStdString()); !problem.empty() && handlers_.Notice)
    handlers_.Notice(problem);
}

namespace {

// The unit's recordings, newest day first.
std::vector<history::RecordingFile> NewestFirst(const QString& folder, const std::optional<ModemInfo>& unit) {
  if (!unit) return {};
  std::vector<history::RecordingFile> days = history::UnitRecordings(folder.toStdString(), unit->Name);
  std::reverse(days.begin(), days.end());
  return days;
}

}  // namespace

void HistoryDesk::ListDays(const CommandSet& commands) {
  const auto days = NewestFirst(RecordingFolder(), handlers_.CurrentUnit());
  for (int i = 0; i < kHistoryDays; ++i) {
    QAction* entry = commands.Action(Command::HistoryDay, i);
    const bool listed = static_cast<size_t>(i) < days.size();
    entry->setText(listed ? QString::fromStdString(days[static_cast<size_t>(i)].Day) : i == 0 ? kNoRecordings : "");
    entry->setEnabled(listed);
    entry->setVisible(listed || i == 0);
  }
}

void HistoryDesk::OpenDay(int newest) {
  recorder_.Flush();  // the captures handed over are in the file
  const auto days = NewestFirst(RecordingFolder(), handlers_.CurrentUnit());
  std::string problem = "No recording of this unit.";
  if (newest >= 0 && static_cast<size_t>(newest) < days.size())
    problem = OpenReplay(days[static_cast<size_t>(newest)].Path);
  if (!problem.empty() && handlers_.Notice) handlers_.Notice(problem);
}

void HistoryDesk::OpenToday() {
  const auto days = NewestFirst(RecordingFolder(), handlers_.CurrentUnit());
  const std::string today = history::UtcDay(QDateTime::currentMSecsSinceEpoch());
  if (!days.empty() && days.front().Day == today)
    OpenDay(0);
  else if (handlers_.Notice)
    handlers_.Notice("No recording of this unit today.");
}

void HistoryDesk::LeaveReplay() {
  if (!Replaying()) return;
  tick_->stop();
  fill_.Stop();
  timeline_.reset();
  player_.Open({});
  waiting_.reset();
  replayRows_.Clear();
  replayRowCaptures_.clear();
  waterfall_->ShowReplay(nullptr, 0);
  bar_->hide();
  if (handlers_.ReplayChanged) handlers_.ReplayChanged(false);
}

// ---- moving in a replay --------------------------------------------------------------

void HistoryDesk::SeekTo(int64_t timeMs) {
  if (Replaying()) ShowIndex(player_.CaptureAt(timeMs));
}

void HistoryDesk::Step(int captures) {
  if (!Replaying()) return;
  player_.SetPlaying(false);
  const long long target = static_cast<long long>(waiting_.value_or(shown_)) + captures;
  ShowIndex(static_cast<size_t>(std::clamp<long long>(target, 0, static_cast<long long>(player_.Count()) - 1)));
}

void HistoryDesk::SetPlaying(bool on) {
  if (!Replaying()) return;
  player_.SetPlaying(on);
  sinceTick_.restart();
  if (player_.Index() != shown_) ShowIndex(player_.Index());  // played again from the first
  ShowBar();
}

void HistoryDesk::SetSpeed(int speed) {
  player_.SetSpeed(speed);
  ShowBar();
}

void HistoryDesk::ShowIndex(size_t index, bool played) {
  // A capture the play clock has reached keeps the clock where it is.
  if (!played) player_.SetIndex(index);
  index = std::min(index, player_.Count() - 1);
  // Beyond the first pass's reach a capture waits for it rather than reading the
  // recording up to it here.
  if (fill_.Running() && index >= fill_.Reached() + history::kCheckpointEvery) {
    waiting_ = index;
    return ShowBar();
  }
  waiting_.reset();
  if (display_.WindowSpectrum != fillWindow_ && fill_.Running()) StartFirstPass();
  shown_ = index;
  std::string block;
  ShowReplayRows(false);
  if (timeline_->Block(index, block) && !block.empty() && handlers_.ShowCapture)
    handlers_.ShowCapture(timeline_->StateBefore(index, display_.WindowSpectrum), block, player_.Time());
  else if (handlers_.Notice)
    handlers_.Notice("The capture of " + CaptureTimeText(player_.Time()).toStdString() + " is damaged.");
  ShowBar();
}

void HistoryDesk::Tick() {
  const int64_t elapsed = sinceTick_.restart();
  history::FillBatch batch = fill_.Take();
  for (history::WaterfallRow& row : batch.Rows) replayRows_.Add(std::move(row));
  replayRowCaptures_.insert(replayRowCaptures_.end(), batch.RowCaptures.begin(), batch.RowCaptures.end());
  // Rows beyond the waterfall's memory go oldest first.
  const size_t dropped = replayRowCaptures_.size() - replayRows_.Count();
  replayRowCaptures_.erase(replayRowCaptures_.begin(), replayRowCaptures_.begin() + static_cast<long>(dropped));
  if (!batch.Rows.empty()) ShowReplayRows(false);
  if (waiting_) {
    if (!fill_.Running() || *waiting_ < fill_.Reached() + history::kCheckpointEvery) ShowIndex(*waiting_, player_.Playing());
    return ShowBar();
  }
  if (!player_.Playing()) return ShowBar();
  const size_t before = shown_;
  if (const size_t reached = player_.Advance(elapsed); reached != before) ShowIndex(reached, true);
  ShowBar();
}

void HistoryDesk::ShowBar() {
  if (!Replaying()) return;
  ReplayBarState s;
  s.FirstMs = player_.TimeOf(0);
  s.LastMs = player_.TimeOf(player_.Count() - 1);
  s.Index = waiting_.value_or(shown_);
  s.ShownMs = player_.TimeOf(s.Index);
  s.Count = player_.Count();
  s.Playing = player_.Playing();
  s.Speed = player_.Speed();
  if (waiting_) s.Reading = QString("Reading %1 of %2...").arg(fill_.Reached()).arg(player_.Count());
  bar_->Show(s);
}

QString HistoryDesk::ReplayTitle() const {
  if (!Replaying()) return {};
  return QString("Replay of %1, %2").arg(QString::fromStdString(unitName_), CaptureTimeText(player_.TimeOf(shown_)));
}

}  // namespace tavrix
