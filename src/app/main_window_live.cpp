// The main window and the live data: the acquisition cycle's display, each capture
// block through the update onto the plot and the panels, the title, and the exports.
#include <QAction>
#include <QApplication>
#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QProgressBar>
#include <QTimer>

#include "app/command_table.h"
#include "app/history_desk.h"
#include "app/main_window.h"
#include "app/measure_desk.h"
#include "app/window_text.h"
#include "app/project_icons.h"
#include "app/replay_bar.h"
#include "app/save_dialog.h"
#include "app/status_panels.h"
#include "app/version.h"
#include "view/selection_readout.h"
#include "view/window_layout.h"

namespace tavrix {

namespace {

constexpr int kCaptureBlinkMs = 400;

}  // namespace

void frmMain::SetCurrentModem(std::optional<ModemInfo> modem) {
  const std::optional<ModemInfo> before = CurrentModem();
  outsideModem_ = std::move(modem);
  if (!SameUnit(before, CurrentModem())) ForgetCaptures();
  currentModemName_.clear();
  SetTitle();
  cycle_->CurrentModemChanged();
  if (outsideModem_)
    cycle_->ChooseUnit();
  else
    cycle_->DropUnit();
  ShowAcquisitionDisplay();
}

void frmMain::SetTitle() {
  const std::optional<ModemInfo> modem = CurrentModem();
  const QString title = Text(WindowTitle(modem ? std::optional<std::string>(modem->Name) : std::nullopt, kVersion));
  setWindowTitle(history_ != nullptr && history_->Replaying() ? title + " - " + history_->ReplayTitle() : title);
}

void frmMain::ShowReplayedCapture(SpectrumState before, const std::string& block, int64_t timeMs) {
  // The traces shown are the window's choice, not the recording's.
  before.Traces.TraceVisible = live_.State.Traces.TraceVisible;
  live_.State = std::move(before);
  replayedMs_ = timeMs;
  ShowCaptureBlock(block);
  replayedMs_.reset();
  SetTitle();
  panels_->SetText("Status", "Replay: " + CaptureTimeText(timeMs));
}

void frmMain::OnReplayChanged(bool replaying) {
  if (replaying) {
    cycle_->DropUnit();
  } else if (CurrentModem()) {
    cycle_->ChooseUnit();
  }
  // The replay's captures and the unit's live ones never mix in the traces.
  ForgetCaptures();
  panels_->SetText("Status", {});
  SetTitle();
  ShowAcquisitionDisplay();
}

uint16_t frmMain::ShowCaptureBlock(const std::string& block) {
  // While a replay holds the display, a late live capture is not shown.
  if (history_->Replaying() && !replayedMs_) return live_.State.Capture.LeadWord;
  const int64_t arrived = QDateTime::currentMSecsSinceEpoch();
  QProgressBar* progress = panels_->ProgressBar();
  const CaptureOutcome outcome = live_.ProcessBlock(block, display_.WindowSpectrum,
                                                    [progress](int percent) { progress->setValue(percent); });
  const UpdateReport& r = outcome.Report;
  commands_.ShowSpanCaptions(&live_.State.Capture.SpanCaptions);
  Action(Command::VideoAverage)->setToolTip(Text(r.VideoAverageToolTip));
  Action(Command::PeakHold)->setToolTip(Text(r.PeakHoldToolTip));
  panels_->SetText("CenterFreq", Text(r.CenterFreqPanel));
  panels_->SetText("SampleRate", Text(r.SampleRatePanel));
  if (r.StatusText) panels_->SetText("Status", Text(*r.StatusText));
  const std::optional<ModemInfo> unit = CurrentModem();
  desk_->AddCapture(unit ? unit->Name : std::string(), replayedMs_);
  if (unit) history_->Record(*unit, arrived, block, live_.State);
  UpdateView();
  // The bar stays full a moment after each capture, then empties: a capture indicator.
  QTimer::singleShot(kCaptureBlinkMs, progress, [progress] {
    if (progress->maximum() > 0) progress->setValue(0);
  });
  emit captureShown();
  return live_.State.Capture.LeadWord;
}

void frmMain::ForgetCaptures() {
  // Another unit's band must never be shown under this unit's name: everything a capture
  // set goes back to how it was before the first one.
  live_.ForgetCaptures();
  desk_->Forget();
  selection_ = {};
  panels_->SetText("CenterFreq", {});
  panels_->SetText("SampleRate", {});
  for (const Command c : {Command::VideoAverage, Command::PeakHold}) Action(c)->setToolTip(RowOf(c).ToolTip);
  commands_.ShowSpanCaptions(nullptr);
  UpdateView();
}

void frmMain::RefreshSelectionPanels() {
  // Redraws refresh the selection's panels; "Status" keeps its notice.
  const SelectionReadout r =
      ReadSelection(live_.State.Traces, selection_, live_.State.Capture.FreqScale, live_.State.Capture.FreqFormat);
  panels_->SetText("CurPoint", Text(r.Point));
  panels_->SetText("Frequency", Text(r.Frequency));
  panels_->SetText("Amplitude", Text(r.Amplitude));
  panels_->SetText("CurTrace", Text(r.Trace));
  panels_->SetPicture("CurTrace", Text(r.Picture));
}

void frmMain::ShowAcquisitionDisplay() {
  const AcquisitionDisplay& d = cycle_->Display();
  QAction* stopGo = Action(Command::StopGo);
  stopGo->setChecked(d.StopGoPressed);
  // Pressed (halted) it shows the halted lamp; otherwise the command a click gives: Stop
  // while updates run, Start while they are stopped (after a failed connect, say).
  const bool stopped = cycle_->Stopped();
  stopGo->setIcon(ProjectIcon(d.StopGoPressed ? ToolbarImage(d.StopGoImage) : stopped ? "Start" : "Stop"));
  stopGo->setToolTip(stopped ? "Start Updates" : "Stop Updates");
  Action(Command::CommStopGo)->setText(Text(d.StopGoCaption));
  Action(Command::SingleStep)->setEnabled(d.SingleStepEnabled);
  const char* lamp = d.StatusPicture == kImageNone ? "Red" : ToolbarImage(d.StatusPicture);
  Action(Command::Status)->setIcon(ProjectIcon(lamp));
  panels_->SetPicture("Status", d.StatusPicture == kImageNone ? QString() : QString(lamp));
  // While the first connection is made the bar shows that something is under way.
  QProgressBar* progress = panels_->ProgressBar();
  if (d.ConnectingProgress)
    progress->setRange(0, 0);
  else if (progress->maximum() == 0)
    progress->setRange(0, 100);
  if (d.BusyPointer != busyShown_) {
    busyShown_ = d.BusyPointer;
    if (busyShown_)
      QApplication::setOverrideCursor(Qt::BusyCursor);
    else
      QApplication::restoreOverrideCursor();
  }
}

void frmMain::ExportDataSet(DataSet set) {
  const DataSetInfo& info = InfoOf(set);
  const SaveDialogSetup setup{info.DialogTitle, lastPath_, "*.TXT", "TXT", {"*.TXT (*.TXT)", "*.* (*)"}};
  const std::optional<QString> file = options_.ChooseSaveFile(setup);
  if (!file || file->isEmpty()) return;  // cancelled: nothing is written, nothing said
  const QFileInfo chosen(*file);
  if (chosen.absoluteDir().exists()) lastPath_ = chosen.absolutePath();
  QProgressBar* progress = panels_->ProgressBar();
  const ExportResult result = WriteDataSet(set, file->toStdString(), live_.State, notices_.get(),
                                           [progress](int percent) { progress->setValue(percent); });
  if (result.outcome == ExportResult::Failed)
    notices_->Ask(result.message, kProgramTitle, MessageButtons::Ok, MessageIcon::Critical);
}

}  // namespace tavrix
