// The main window's commands: the dispatch of each command by its handle, and the check
// marks, enabled commands and captions drawn from the state.
#include <QAction>

#include "app/command_table.h"
#include "app/history_desk.h"
#include "app/main_window.h"
#include "app/measure_desk.h"

namespace tavrix {

namespace {

int TraceOf(Command c) {
  for (const TraceCommandRow& t : kTraceCommands)
    if (t.Id == c) return t.Trace;
  return -1;
}

int ModeOf(Command c) {
  for (const auto& [id, mode] : kModeButtons)
    if (id == c) return mode;
  return kSelectMode;
}

std::optional<PointMove> MoveOf(Command c) {
  for (const MoveCommandRow& m : kMoveCommands)
    if (m.Id == c) return m.Move;
  return std::nullopt;
}

}  // namespace

void frmMain::RunCommand(Command command, int index) {
  switch (command) {
    case Command::PeakPoint: return comboPeakPoint_Click(index);
    case Command::FileSaveView: return mnuFileSaveView_Click();
    case Command::FilePrint: return mnuFilePrint_Click();
    case Command::FileExit: close(); return;
    case Command::ViewEnd:
      modes_.EndMode();
      return ShowModes();
    case Command::ViewPeakPoint: return mnuViewPeakPoint_Click();
    case Command::ViewCursors: return mnuViewCursors_Click();
    case Command::ViewConstellation:
      display_.Constellation = !display_.Constellation;
      return UpdateView();
    case Command::ViewCopy: return mnuViewCopy_Click();
    case Command::MeasureBand:
    case Command::ViewPeakTable:
    case Command::ViewEventLog:
      desk_->Toggle(command);
      return UpdateView();
    // The window option changes the next capture's spectrum; snap and panel act on the
    // next press.
    case Command::OptionsSnap: return ToggleOption(&DisplayState::SnapToPoint);
    case Command::OptionsPanel: return ToggleOption(&DisplayState::SelectionPanelOn);
    case Command::OptionsWindow: return ToggleOption(&DisplayState::WindowSpectrum);
    case Command::CommStopGo: return mnuCommStopGo_Click();
    case Command::CommAdd: return mnuCommAdd_Click();
    case Command::CommManage: return mnuCommManage_Click();
    case Command::HelpAbout: return mnuHelpAbout_Click();
    case Command::OptionsRecording: return history_->EditRecording();
    case Command::FileOpenRecording: return history_->ChooseRecording();
    case Command::HistoryToday: return history_->OpenToday();
    case Command::HistoryDay: return history_->OpenDay(index);
    case Command::HistoryLive: return history_->LeaveReplay();
    case Command::ViewWaterfall:
      history_->ToggleWaterfall();
      return UpdateView();
    case Command::ViewLevelStrips:
      history_->ToggleLevelStrips();
      return UpdateView();
    case Command::WaterfallColors:
      history_->ChooseWaterfallColors(index);
      return UpdateView();
    case Command::FileExport: return ExportDataSet(static_cast<DataSet>(index));
    case Command::ViewDBB: return mnuViewDBB_Click(index);
    case Command::ViewFB: return mnuViewFB_Click(index);
    case Command::ViewCursor: return mnuViewCursor_Click(index);
    case Command::OptionsPalette: return mnuOptionsPalette_Click(index);
    case Command::ViewerColor: return PickColor(kViewingPalette, index);
    case Command::PrinterColor: return PickColor(kPrintingPalette, index);
    case Command::CommSel: return mnuCommSel_Click(index);
    default: return tbMain_ButtonClick(command);
  }
}

void frmMain::ToggleOption(bool DisplayState::*option) {
  display_.*option = !(display_.*option);
  ShowCommands();
}

void frmMain::tbMain_ButtonClick(Command button) {
  if (const int trace = TraceOf(button); trace >= 0) return SwitchTraceCommand(trace);
  if (const int mode = ModeOf(button); mode != kSelectMode) {
    modes_.ModeButtonClick(mode);
    return ShowModes();
  }
  if (const auto move = MoveOf(button)) return MovePoint(*move);
  switch (button) {
    case Command::Export: return tbMain_ButtonMenuClick(button, exportKind_);
    case Command::StopGo:
      cycle_->StopGo_Click();
      return ShowAcquisitionDisplay();
    case Command::SingleStep: return cycle_->SingleStep_Click();
    case Command::DBperDiv:
    case Command::FSpan:
      return tbMain_ButtonMenuClick(button, button == Command::DBperDiv ? live_.View.DBIndex : live_.View.SpanIndex);
    case Command::Select:
      modes_.Select();
      return ShowModes();
    case Command::PeakThreshold:
      modes_.PlacingThreshold = true;
      return ShowModes();
    case Command::CursorOne:
    case Command::CursorTwo: return mnuViewCursor_Click(button == Command::CursorOne ? 0 : 1);
    case Command::CursorDelta: return mnuViewCursors_Click();
    case Command::ZoomFitView:
      modes_.Select();
      ShowModes();
      return ApplyViewOutcome(live_.View.FitView());
    case Command::Previous: return ApplyViewOutcome(live_.View.RestorePrevious());
    case Command::ZoomCursors: {
      const std::array<CursorMark, 2>& c = display_.Cursors;
      if (display_.BothCursorsShown()) ApplyViewOutcome(live_.View.ZoomToFitCursors(c[0].X, c[0].Y, c[1].X, c[1].Y));
      return;
    }
    default: return;  // the lamp takes no clicks; menu entries of their own are RunCommand's
  }
}

void frmMain::tbMain_ButtonMenuClick(Command button, int entry) {
  if (button == Command::Export) {
    // Only the first three act; the peak hold and video average entries are the File
    // menu's alone.
    if (entry < 0 || entry >= kActingExports) return;
    exportKind_ = entry;
    return ExportDataSet(kActingExportSets[static_cast<size_t>(entry)]);
  }
  if (button != Command::DBperDiv && button != Command::FSpan) return;
  if (entry >= 0 && entry < kPresetCount) {
    if (button == Command::DBperDiv)
      mnuViewDBB_Click(entry);
    else
      mnuViewFB_Click(entry);
  }
  MoveCursor(live_.View.CenterX(), live_.View.CenterY());
}

void frmMain::SwitchTraceCommand(int trace) {
  SwitchTrace(live_.State.Traces, selection_, trace);
  KeepActiveTraceVisible();
  UpdateView();
}

void frmMain::ShowCommands() {
  const DisplayState& d = display_;
  const auto& shown = live_.State.Traces.TraceVisible;
  for (const auto& [command, on] : {std::pair{Command::OptionsSnap, d.SnapToPoint},
                                    {Command::OptionsPanel, d.SelectionPanelOn},
                                    {Command::OptionsWindow, d.WindowSpectrum},
                                    {Command::ViewConstellation, d.Constellation},
                                    {Command::ViewCursors, d.CursorDisplay},
                                    {Command::CursorDelta, d.CursorDisplay}})
    commands_.Check(command, on);
  for (const TraceCommandRow& t : kTraceCommands) commands_.Check(t.Id, shown[static_cast<size_t>(t.Trace)]);
  for (int p = 0; p < 2; ++p) commands_.Check(Command::OptionsPalette, d.ActivePalette == p, p);
  for (int c = 0; c < 2; ++c) commands_.Check(Command::ViewCursor, modes_.PlacingCursor == c + 1, c);
  for (const auto& [command, mode] : kModeButtons) commands_.Check(command, modes_.Pressed(mode));
  commands_.Enable(Command::ViewEnd, modes_.EndEnabled());
  commands_.Enable(Command::ZoomCursors, d.BothCursorsShown());
  // The four movement commands follow the data; the last selected point needs one.
  for (const MoveCommandRow& m : kMoveCommands)
    commands_.Enable(m.Id, m.Move == PointMove::LastSelected ? d.Navigation.LastSelectedPoint != 0
                                                             : live_.State.Traces.DataValid);
  commands_.ShowMoveType(d.Navigation.MoveByPeaks);
  commands_.CheckPresets(live_.View.CheckedDB, live_.View.CheckedFB);
  desk_->Show();
}

}  // namespace tavrix
