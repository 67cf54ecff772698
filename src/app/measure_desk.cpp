#include "app/measure_desk.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QDockWidget>
#include <QFileInfo>
#include <QLabel>
#include <QMainWindow>
#include <QStatusBar>

#include <chrono>

#include "app/command_builder.h"
#include "app/display_state.h"
#include "app/event_log_panel.h"
#include "app/measure_panel.h"
#include "app/peak_table_panel.h"
#include "app/window_text.h"
#include "measure/peak_table.h"
#include "view/live_spectrum.h"

namespace tavrix {

namespace {

constexpr const char* kMeasureTip = "Measure Between Cursors";

// The panels in the order of the desk's docks, with the switch each follows.
struct PanelRow {
  Command Id;
  bool DisplayState::*Shown;
  const char* Title;
  const char* Name;
  Qt::DockWidgetArea Area;
};
constexpr PanelRow kPanels[] = {
    {Command::MeasureBand, &DisplayState::MeasurePanel, "Measurement", "dockMeasure", Qt::RightDockWidgetArea},
    {Command::ViewPeakTable, &DisplayState::PeakTable, "Peak Table", "dockPeakTable", Qt::RightDockWidgetArea},
    {Command::ViewEventLog, &DisplayState::EventLog, "Event Log", "dockEventLog", Qt::BottomDockWidgetArea},
};

// A dock whose close button asks instead of closing: the window hides it from its state.
class PanelDock : public QDockWidget {
 public:
  PanelDock(const PanelRow& row, QWidget* content, QMainWindow* window, std::function<void()> closing)
      : QDockWidget(row.Title, window), closing_(std::move(closing)) {
    setObjectName(row.Name);
    setWidget(content);
    window->addDockWidget(row.Area, this);
    hide();
  }

 protected:
  void closeEvent(QCloseEvent* event) override {
    event->ignore();
    closing_();
  }

 private:
  std::function<void()> closing_;
};

// The event log beside the settings file, named after it.
std::string EventLogPath(const QString& settingsFile) {
  const QFileInfo settings(settingsFile);
  return (settings.absolutePath() + "/" + settings.completeBaseName() + " events.csv").toStdString();
}

}  // namespace

MeasureDesk::MeasureDesk(QMainWindow* window, QStatusBar* bar, const LiveSpectrum& live, DisplayState& display,
                         const CommandSet& commands, const QString& settingsFile, Handlers handlers)
    : QObject(window), live_(live), display_(display), commands_(commands), handlers_(std::move(handlers)),
      file_(EventLogPath(settingsFile)) {
  panel_ = new MeasurePanel(commands.Action(Command::ViewNoiseBand), window);
  peaks_ = new PeakTablePanel(window);
  log_ = new EventLogPanel(Text(file_.Path()), window);
  QWidget* contents[] = {panel_, peaks_, log_};
  for (size_t i = 0; i < std::size(kPanels); ++i) {
    docks_[i] = new PanelDock(kPanels[i], contents[i], window, [this, shown = kPanels[i].Shown] {
      display_.*shown = false;
      handlers_.Redraw();
    });
  }
  alarm_ = new QLabel(bar);
  alarm_->setObjectName("Alarm");
  alarm_->setTextFormat(Qt::PlainText);
  alarm_->hide();
  bar->addPermanentWidget(alarm_);

  connect(panel_, &MeasurePanel::limitsEdited, this, [this](const BandLimits& limits) {
    display_.Measure.Limits = limits;
    handlers_.Redraw();
  });
  connect(panel_, &MeasurePanel::averageEdited, this, [this](bool on) {
    display_.Measure.Average = on;
    handlers_.Redraw();
  });
  connect(panel_, &MeasurePanel::noiseBandCleared, this, [this] {
    display_.Measure.Noise.reset();
    handlers_.Redraw();
  });
  connect(peaks_, &PeakTablePanel::countChanged, this, &MeasureDesk::Show);
  connect(peaks_, &PeakTablePanel::pointClicked, this, [this](int point) { handlers_.GoToPoint(point); });
}

WatchInput MeasureDesk::Input() const {
  const TraceSet& t = live_.State.Traces;
  const CaptureFields& c = live_.State.Capture;
  int trace = display_.Navigation.ActiveTrace;
  if (trace < 0 || trace >= kTraceCount || !t.TraceVisible[static_cast<size_t>(trace)]) trace = FirstVisibleTrace(t);
  return {&t, trace, c.FreqScale, ShownBand(c.FreqLow, c.FreqHigh, c.FreqScale),
          BandBetween(display_.Cursors[0], display_.Cursors[1], c.FreqScale)};
}

BandReading MeasureDesk::Read() const { return watch_.Read(Input(), display_.Measure); }

void MeasureDesk::AddCapture(const std::string& unit, std::optional<int64_t> replayedMs) {
  const WatchInput in = Input();
  watch_.AddCapture(in, display_.Measure);
  const BandReading reading = watch_.Read(in, display_.Measure);
  const std::vector<AlarmChange> changes = watch_.CheckLimits(reading, display_.Measure.Limits);
  ShowAlarm(reading);
  if (changes.empty()) return;  // nothing is written again while the state stays
  const auto now = replayedMs ? std::chrono::system_clock::time_point(std::chrono::milliseconds(*replayedMs))
                              : std::chrono::system_clock::now();
  std::vector<std::string> lines;
  bool raised = false;
  for (const AlarmChange& change : changes) {
    lines.push_back(EventLogLine({now, unit, change}));
    log_->Add(lines.back());
    raised = raised || change.Alarm;
  }
  if (replayedMs) return;
  if (raised) QApplication::beep();
  // A log that cannot be written is told once; the display goes on regardless.
  if (const std::string told = file_.Append(lines); !told.empty()) handlers_.Notice(told);
}

void MeasureDesk::ShowAlarm(const BandReading& reading) {
  const BandLimits& limits = display_.Measure.Limits;
  const std::vector<std::string> breaches = LimitBreaches(reading, limits);
  QString text = reading.Figures ? "Limits met" : "Limits: nothing measured";
  for (size_t i = 0; i < breaches.size(); ++i)
    text = (i == 0 ? QString("ALARM %1-%2 MHz: ").arg(reading.Band.Low, 0, 'f', 3).arg(reading.Band.High, 0, 'f', 3)
                   : text + "; ") +
           Text(breaches[i]);
  alarm_->setText(text);
  alarm_->setToolTip(text);
  alarm_->setStyleSheet(breaches.empty() ? QString()
                                         : "QLabel { background: #C01010; color: white; font-weight: bold; padding: 0 6px; }");
  alarm_->setVisible(limits.ChannelPowerDb || limits.CarrierToNoiseDb);
}

void MeasureDesk::Show() {
  const DisplayState& d = display_;
  for (size_t i = 0; i < std::size(kPanels); ++i) {
    const bool shown = d.*kPanels[i].Shown;
    if (docks_[i]->isHidden() == shown) docks_[i]->setVisible(shown);
    commands_.Check(kPanels[i].Id, shown);
  }
  // The band comes from the cursors: the command waits for both, and says so.
  const bool placed = d.Cursors[0].Placed() && d.Cursors[1].Placed();
  QAction* measure = commands_.Action(Command::MeasureBand);
  measure->setEnabled(placed || d.MeasurePanel);
  measure->setToolTip(placed ? kMeasureTip
                             : QString(kMeasureTip) + ": place both cursors first (Set Cursor 1 Location, Set "
                                                      "Cursor 2 Location)");
  const BandLimits& limits = d.Measure.Limits;
  if (!limits.ChannelPowerDb && !limits.CarrierToNoiseDb) alarm_->hide();
  if (d.MeasurePanel) {
    const std::optional<BandMHz>& noise = d.Measure.Noise;
    const QString noiseText = noise ? QString("%1 to %2 MHz").arg(noise->Low, 0, 'f', 6).arg(noise->High, 0, 'f', 6)
                                    : "None: the noise is estimated";
    panel_->Show(FigureLines(Read()), noiseText, d.Measure);
  }
  if (d.PeakTable) peaks_->Show(PeakCsv());
}

QString MeasureDesk::PeakCsv() const {
  const WatchInput in = Input();
  if (in.Trace < 0 || !in.Traces->DataValid) return {};
  // The level above the noise needs a noise band; the estimate is the measurement's.
  std::optional<double> noise;
  if (display_.Measure.Noise)
    noise = MeanNoiseDensity(MeasuredTrace(*in.Traces, in.Trace, in.FreqScale), {*display_.Measure.Noise});
  const std::vector<PeakRow> rows =
      PeakRows(*in.Traces, in.Trace, display_.Navigation.Threshold, peaks_->Count(), in.FreqScale, noise);
  return Text(PeakTableCsv(rows, live_.State.Capture.FreqFormat));
}

void MeasureDesk::Toggle(Command command) {
  for (const PanelRow& row : kPanels)
    if (row.Id == command) display_.*row.Shown = !(display_.*row.Shown);
}

void MeasureDesk::SetNoiseBand(float x1, float x2) {
  const double scale = live_.State.Capture.FreqScale;
  display_.Measure.Noise = BandMHz{std::min(x1, x2) / scale, std::max(x1, x2) / scale};
  handlers_.Redraw();
}

void MeasureDesk::Forget() {
  watch_.Forget();
  ShowAlarm({});
}

void MeasureDesk::Decorate(PlotScene& scene) const {
  if (!display_.MeasurePanel) return;
  const WatchInput in = Input();
  if (in.Band) scene.MeasuredBand = ShadedBand{in.Band->Low * in.FreqScale, in.Band->High * in.FreqScale};
  if (const auto& noise = display_.Measure.Noise)
    scene.NoiseBand = ShadedBand{noise->Low * in.FreqScale, noise->High * in.FreqScale};
}

QStringList MeasureDesk::FigureTexts() const {
  QStringList texts;
  if (!display_.MeasurePanel) return texts;
  for (const FigureLine& line : FigureLines(Read())) texts << Text(line.Name + ":  " + line.Value);
  return texts;
}

}  // namespace tavrix
