#pragma once
// The main window's commands as tables. Every command has a typed handle, `Command`, that
// indexes a row keeping the system's key (the object name of its action), its tool tip and
// its image; the menus are lists of handles with their captions. A menu entry that
// duplicates a toolbar button shares the button's action, so both are one command.
#include <array>
#include <cstddef>
#include <utility>

#include "dsp/data_set_export.h"
#include "dsp/point_navigation.h"
#include "dsp/trace_set.h"
#include "store/modem_directory.h"
#include "ui/pointer_modes.h"

namespace tavrix {

enum class Command : int {
  // tbMain, in order.
  Export, StopGo, SingleStep, CurrentTrace, PeakHold, VideoAverage, LastTrace, Select, ZoomWin, ZoomIn, ZoomOut, Pan,
  DBperDiv, FSpan, ZoomFitView, Previous, ZoomCursors, FirstPoint, NextPoint, PreviousPoint, LastPoint, CurPoint,
  PeakPoint, PeakThreshold, Status,
  // tbCursors, in order.
  CursorOne, CursorTwo, CursorDelta, MeasureBand,
  // Menu entries of their own.
  FileSaveView, FilePrint, FileExit, ViewEnd, ViewPeakPoint, ViewCursors, ViewNoiseBand, ViewPeakTable, ViewEventLog,
  ViewConstellation, ViewCopy, OptionsSnap, OptionsPanel, OptionsWindow, CommStopGo, CommAdd, CommManage, HelpAbout,
  OptionsRecording, FileOpenRecording, HistoryToday, HistoryLive, ViewWaterfall,
  ViewLevelStrips,
  // Families of menu entries, addressed by an index.
  FileExport,      // by DataSet
  ViewDBB,         // the dB-per-division presets 0..9
  ViewFB,          // the frequency span presets 0..9
  ViewCursor,      // cursor 0 or 1
  OptionsPalette,  // kViewingPalette or kPrintingPalette
  ViewerColor,     // a colour of the viewing palette, by palette position
  PrinterColor,    // a colour of the printing palette, by palette position
  CommSel,         // a recent unit, 0 the newest
  HistoryDay,      // a day's recording of the current unit, 0 the newest
  WaterfallColors,  // by WaterfallColorEntry
};
inline constexpr int kCommandCount = static_cast<int>(Command::WaterfallColors) + 1;
inline constexpr Command kFirstCursorButton = Command::CursorOne;
inline constexpr Command kFirstMenuEntry = Command::FileSaveView;
inline constexpr Command kFirstFamily = Command::FileExport;

enum class ButtonStyle {
  Push,       // a command
  Toggle,     // stays pressed while its trace or mode is on
  DropDown,   // a face that acts and an arrow that opens its entries
  Holder,     // holds another control (the move-type list)
  Indicator,  // shows a picture only
  Entry,      // no button: a menu entry of its own
};

struct CommandRow {
  Command Id;
  const char* Key;      // the action's object name: the button's key, or the entry's control name
  const char* ToolTip;  // a button's
  const char* Image;    // a button's picture
  ButtonStyle Style;
  bool Checkable;       // an entry of its own with a check mark (a Toggle button always has one)
  bool GroupEnd;        // a separator follows the button
};

inline constexpr std::array<CommandRow, static_cast<size_t>(kFirstFamily)> kCommands = {{
    {Command::Export, "Export", "Export", "Export", ButtonStyle::DropDown, false, true},
    {Command::StopGo, "StopGo", "Stop Updates", "Stop", ButtonStyle::Toggle, false, false},
    {Command::SingleStep, "SingleStep", "Single Step", "SingleStep", ButtonStyle::Push, false, true},
    {Command::CurrentTrace, "CurrentTrace", "Current Spectrum Trace", "CurrentTrace", ButtonStyle::Toggle, false, false},
    {Command::PeakHold, "PeakHold", "Peak Hold Trace", "PeakHold", ButtonStyle::Toggle, false, false},
    {Command::VideoAverage, "VideoAverage", "Video Average Trace", "VideoAverage", ButtonStyle::Toggle, false, false},
    {Command::LastTrace, "LastTrace", "Previous Spectrum Trace", "LastTrace", ButtonStyle::Toggle, false, true},
    {Command::Select, "Select", "Select Mode", "Select", ButtonStyle::Push, false, false},
    {Command::ZoomWin, "ZoomWin", "Zoom Window", "ZoomWindow", ButtonStyle::Toggle, false, false},
    {Command::ZoomIn, "ZoomIn", "Zoom In", "ZoomIn", ButtonStyle::Toggle, false, false},
    {Command::ZoomOut, "ZoomOut", "Zoom Out", "ZoomOut", ButtonStyle::Toggle, false, false},
    {Command::Pan, "Pan", "Pan", "Pan", ButtonStyle::Toggle, false, true},
    {Command::DBperDiv, "dBperDiv", "Zoom by dB per Division", "dBperDiv", ButtonStyle::DropDown, false, false},
    {Command::FSpan, "FSpan", "Zoom by Frequency Span", "FSpan", ButtonStyle::DropDown, false, false},
    {Command::ZoomFitView, "ZoomFitView", "Fit View", "ZoomFit", ButtonStyle::Push, false, false},
    {Command::Previous, "Previous", "Zoom Previous", "PreviousView", ButtonStyle::Push, false, false},
    {Command::ZoomCursors, "ZoomCursors", "Zoom to Fit Cursors", "ZoomCursors", ButtonStyle::Push, false, true},
    {Command::FirstPoint, "FirstPoint", "Go to First Point", "FirstPoint", ButtonStyle::Push, false, false},
    {Command::NextPoint, "NextPoint", "Go to Next Point", "NextPoint", ButtonStyle::Push, false, false},
    {Command::PreviousPoint, "PreviousPoint", "Go to Previous Point", "PreviousPoint", ButtonStyle::Push, false, false},
    {Command::LastPoint, "LastPoint", "Go to Last Point", "LastPoint", ButtonStyle::Push, false, false},
    {Command::CurPoint, "CurPoint", "Go to Last Selected Point", "CurPoint", ButtonStyle::Push, false, false},
    {Command::PeakPoint, "PeakPoint", "Select Move Type", "", ButtonStyle::Holder, false, false},
    {Command::PeakThreshold, "PeakThreshold", "Position Minimum Peak Threshold", "PeakThreshold", ButtonStyle::Push,
     false, true},
    {Command::Status, "Status", "Update Status", "Red", ButtonStyle::Indicator, false, false},
    {Command::CursorOne, "CursorOne", "Position Cursor 1", "Cursor1", ButtonStyle::Push, false, false},
    {Command::CursorTwo, "CursorTwo", "Position Cursor 2", "Cursor2", ButtonStyle::Push, false, false},
    {Command::CursorDelta, "CursorDelta", "View Cursors", "CursorDelta", ButtonStyle::Toggle, false, false},
    {Command::MeasureBand, "MeasureBand", "Measure Between Cursors", "MeasureBand", ButtonStyle::Toggle, false, false},
    {Command::FileSaveView, "mnuFileSaveView", "", "", ButtonStyle::Entry, false, false},
    {Command::FilePrint, "mnuFilePrint", "", "", ButtonStyle::Entry, false, false},
    {Command::FileExit, "mnuFileExit", "", "", ButtonStyle::Entry, false, false},
    {Command::ViewEnd, "mnuViewEnd", "", "", ButtonStyle::Entry, false, false},
    {Command::ViewPeakPoint, "mnuViewPeakPoint", "", "", ButtonStyle::Entry, false, false},
    {Command::ViewCursors, "mnuViewCursors", "", "", ButtonStyle::Entry, true, false},
    {Command::ViewNoiseBand, "mnuViewNoiseBand", "", "", ButtonStyle::Entry, true, false},
    {Command::ViewPeakTable, "mnuViewPeakTable", "", "", ButtonStyle::Entry, true, false},
    {Command::ViewEventLog, "mnuViewEventLog", "", "", ButtonStyle::Entry, true, false},
    {Command::ViewConstellation, "mnuViewConstellation", "", "", ButtonStyle::Entry, true, false},
    {Command::ViewCopy, "mnuViewCopy", "", "", ButtonStyle::Entry, false, false},
    {Command::OptionsSnap, "mnuOptionsSnap", "", "", ButtonStyle::Entry, true, false},
    {Command::OptionsPanel, "mnuOptionsPanel", "", "", ButtonStyle::Entry, true, false},
    {Command::OptionsWindow, "mnuOptionsWindow", "", "", ButtonStyle::Entry, true, false},
    {Command::CommStopGo, "mnuCommStopGo", "", "", ButtonStyle::Entry, false, false},
    {Command::CommAdd, "mnuCommAdd", "", "", ButtonStyle::Entry, false, false},
    {Command::CommManage, "mnuCommManage", "", "", ButtonStyle::Entry, false, false},
    {Command::HelpAbout, "mnuHelpAbout", "", "", ButtonStyle::Entry, false, false},
    {Command::OptionsRecording, "mnuOptionsRecording", "", "", ButtonStyle::Entry, false, false},
    {Command::FileOpenRecording, "mnuFileOpenRecording", "", "", ButtonStyle::Entry, false, false},
    {Command::HistoryToday, "mnuHistoryToday", "", "", ButtonStyle::Entry, false, false},
    {Command::HistoryLive, "mnuHistoryLive", "", "", ButtonStyle::Entry, false, false},
    {Command::ViewWaterfall, "mnuViewWaterfall", "", "", ButtonStyle::Entry, true, false},
    {Command::ViewLevelStrips, "mnuViewLevelStrips", "", "", ButtonStyle::Entry, true, false},
}};

// Each row stands at its handle's place.
constexpr bool RowsInOrder() {
  for (size_t i = 0; i < kCommands.size(); ++i)
    if (kCommands[i].Id != static_cast<Command>(i)) return false;
  return true;
}
static_assert(RowsInOrder(), "kCommands must list the commands in the order of Command");
// The row of a single command; a family's entries have rows of their own tables.
constexpr const CommandRow& RowOf(Command c) { return kCommands[static_cast<size_t>(c)]; }

// The toolbar's image list, in order: a status picture is named by its 1-based place.
inline constexpr std::array<const char*, 33> kToolbarImages = {
    "ZoomWindow", "ZoomIn",     "ZoomOut",     "ZoomFit",       "Pan",          "PreviousView", "Green",
    "Yellow",     "Red",        "Stop",        "NextPoint",     "PreviousPoint", "FirstPoint",  "LastPoint",
    "CurPoint",   "Export",     "Connected",   "Disconnected",  "Handshake",    "Cursor1",      "Cursor2",
    "CursorDelta", "ZoomCursors", "Select",    "dBperDiv",      "FSpan",        "CursorLoc",    "PeakThreshold",
    "PeakHold",   "VideoAverage", "LastTrace", "SingleStep",    "CurrentTrace"};

// The resource path of an image of the list by its 1-based place ("" when out of range).
const char* ToolbarImage(int place);

// The entries of a button's drop-down: key (the entry's object name) and text.
struct DropDownEntry {
  const char* Key;
  const char* Text;
};

// The Export drop-down: the first kActingExports entries export; the last two are shown
// but disabled (their data sets are exported from the File menu).
inline constexpr int kActingExports = 3;
inline constexpr std::array<DataSet, kActingExports> kActingExportSets = {DataSet::Raw, DataSet::Transformed,
                                                                          DataSet::Scaled};
inline constexpr std::array<DropDownEntry, 5> kExportEntries = {{
    {"Raw", "Export Raw Data Set"},
    {"Transformed", "Export Transformed Data Set"},
    {"TranScaled", "Export Transformed && Scaled Data Set"},
    {"PeakHold", "Export Peak Hold Data Set"},
    {"VideoAverage", "Export Video Average Data Set"},
}};
inline constexpr std::array<DropDownEntry, 10> kDBperDivEntries = {{
    {"dBB0", "0.0&1 per Division"}, {"dBB1", "0.0&2 per Division"}, {"dBB2", "0.0&5 per Division"},
    {"dBB3", "0.&10 per Division"}, {"dBB4", "0.&25 per Division"}, {"dBB5", "0.&50 per Division"},
    {"dBB6", "&1.00 per Division"}, {"dBB7", "&2.50 per Division"}, {"dBB8", "&5.00 per Division"},
    {"dBB9", "&10.00 per Division"},
}};
inline constexpr std::array<DropDownEntry, 10> kFSpanEntries = {{
    {"FB0", "0.02MHz Span"}, {"FB1", "0.05MHz Span"}, {"FB2", "0.10MHz Span"}, {"FB3", "0.25MHz Span"},
    {"FB4", "0.50MHz Span"}, {"FB5", "1.00MHz Span"}, {"FB6", "2.50MHz Span"}, {"FB7", "5.00MHz Span"},
    {"FB8", "10.00MHz Span"}, {"FB9", "25.00MHz Span"},
}};

inline constexpr std::array<const char*, 10> kDBCaptions = {
    "0.0&1dB per Division", "0.0&2dB per Division", "0.0&5dB per Division", "0.&10dB per Division",
    "0.&25dB per Division", "0.&50dB per Division", "&1.00dB per Division", "&2.50dB per Division",
    "&5.00dB per Division", "&10.00dB per Division"};
inline constexpr std::array<const char*, 10> kSpanCaptions = {
    "0.0&2MHz Span", "0.0&5MHz Span", "0.&10MHz Span", "0.&25MHz Span", "0.&50MHz Span",
    "&1.00MHz Span", "&2.50MHz Span", "&5.00MHz Span", "&10.00MHz Span", "&25.00MHz Span"};

// A menu entry: the command and its caption; a null caption is a separator.
struct MenuRow {
  Command Id;
  const char* Caption;
};
inline constexpr MenuRow kSeparator = {Command::Status, nullptr};

inline constexpr MenuRow kFileMenuTail[] = {
    {Command::FileOpenRecording, "Open &Recording..."},
    kSeparator,
    {Command::FileSaveView, "Save View &As..."},
    {Command::FilePrint, "&Print..."},
    kSeparator,
    {Command::FileExit, "E&xit"},
};

inline constexpr MenuRow kViewMenuModes[] = {
    {Command::Select, "&Select Mode"},
    {Command::ZoomWin, "Zoom &Window"},
    {Command::ZoomIn, "Zoom &In"},
    {Command::ZoomOut, "Zoom &Out"},
    {Command::Pan, "&Pan"},
    {Command::ViewEnd, "&End Zoom Mode"},
    kSeparator,
    {Command::ZoomFitView, "&Fit View"},
    {Command::Previous, "Zoom P&revious"},
    {Command::ZoomCursors, "&Zoom to Fit Cursors"},
};
// After the two preset submenus; the move entries' captions follow the move type.
inline constexpr MenuRow kViewMenuPoints[] = {
    kSeparator,
    {Command::FirstPoint, "Go to First (&Bottom) Point"},
    {Command::NextPoint, "Go to &Next Point"},
    {Command::PreviousPoint, "Go to &Previous Point"},
    {Command::LastPoint, "Go to Last (&Top) Point"},
    {Command::CurPoint, "Go to &Last Selected Point"},
    {Command::ViewPeakPoint, "Select &Move by Peak Points"},
    {Command::PeakThreshold, "Set &Minimum Peak Threshold"},
    kSeparator,
};
// Then the two cursor entries, and:
inline constexpr const char* kCursorEntryCaptions[] = {"Set Cursor &1 Location", "Set Cursor &2 Location"};
inline constexpr MenuRow kViewMenuTail[] = {
    {Command::ViewCursors, "View Cursors &Display"},
    kSeparator,
    {Command::MeasureBand, "Meas&ure Between Cursors"},
    {Command::ViewNoiseBand, "Set Noise Band"},
    {Command::ViewPeakTable, "Pea&k Table"},
    {Command::ViewEventLog, "Event Lo&g"},
    {Command::ViewWaterfall, "Waterfall"},  // every letter of these two names is taken
    {Command::ViewLevelStrips, "Level Strips"},
    kSeparator,
    {Command::ViewConstellation, "I/&Q Constellation"},
    {Command::ViewCopy, "&Copy/Capture Current View"},
};

inline constexpr const char* kPaletteEntryCaptions[] = {"Select Color Palette for &Viewing",
                                                        "Select Color Palette for &Printing"};
// The colour entries of one palette's submenu (their names end in 0 viewing, 1 printing).
struct ColorEntryRow {
  const char* Name;  // without the palette suffix
  const char* Caption;
  const char* PrintingCaption;  // where the printing menu's caption differs
  int Field;
  const char* DialogTitle;  // the colour dialog's title, as it has always been spelled
};
inline constexpr ColorEntryRow kColorEntries[] = {
    {"mnuOptionsBGColor", "&Background Color", nullptr, 0, "Select Analyzer Background Color"},
    {"mnuOptionsFGColor", "&Spectrum Trace Color", "&Spectrum Trace  Color", 1, "Select Analyzer Spectrum Trace Color"},
    {"mnuOptionsTMColor", "&Legend Scale Color", nullptr, 2, "Select Analyzer Tick Marks Color"},
    {"mnuOptionsGLColor", "&Grid Lines Color", nullptr, 3, "Select Analyzer Grid Lines Color"},
    {"mnuOptionsPTColor", "&Minimum Peak Threshold Color", nullptr, 5, "Select Minumum Peak Threshold Color"},
    {"mnuOptionsPHColor", "&Peak Hold Trace Color", nullptr, 6, "Select Peak Hold Trace Color"},
    {"mnuOptionsVAColor", "&Video Average Trace Color", nullptr, 7, "Select Video Average Trace Color"},
    {"mnuOptionsLTColor", "&Previous Trace Color", nullptr, 8, "Select Previous Trace Color"},
};
inline constexpr const char* kPaletteSubmenus[] = {"Configure Viewer Palette &Colors",
                                                   "Configure Printer Palette &Colors"};
// The waterfall's colours: its colour map, and where the levels of its first and last
// colours come from.
enum WaterfallColorEntry : int { kPerceptualMap = 0, kPaletteMap = 1, kPlotLevels = 2, kAutomaticLevels = 3 };
inline constexpr const char* kWaterfallColorsSubmenu = "Configure Wa&terfall Colors";
inline constexpr const char* kWaterfallColorCaptions[] = {"&Perceptual Color Map", "Pa&lette Color Map",
                                                          "Levels of the Plot's &View", "&Automatic Levels"};
inline constexpr MenuRow kOptionsChecks[] = {
    kSeparator,
    {Command::OptionsSnap, "&Snap to Nearest Point"},
    {Command::OptionsPanel, "Display Selection &Panel"},
    {Command::OptionsWindow, "&Window Spectrum Trace"},
    kSeparator,
    {Command::OptionsRecording, "&Recording..."},
};

// The History menu: the recordings of the current unit, and the way back from a replay.
inline constexpr MenuRow kHistoryMenuHead[] = {
    {Command::HistoryToday, "&Today's Recording"},
};
inline constexpr const char* kHistoryDaysSubmenu = "Recording of a &Day";
inline constexpr int kHistoryDays = 31;  // the newest days listed
inline constexpr const char* kNoRecordings = "<No Recordings of This Unit>";
inline constexpr MenuRow kHistoryMenuTail[] = {
    kSeparator,
    {Command::FileOpenRecording, "Open &Recording..."},
    kSeparator,
    {Command::HistoryLive, "Back to &Live"},
};

inline constexpr MenuRow kCommMenu[] = {
    {Command::CommStopGo, "&Start Data Set Updates"},
    {Command::SingleStep, "Single S&tep"},
    kSeparator,
    {Command::CommAdd, "&Add Tarvix Modem"},
    {Command::CommManage, "&Manage Modems/Select Modem"},
    kSeparator,
};
inline constexpr int kRecentModems = kRecentPlaces;  // the recent menu shows every recent place
inline constexpr const char* kNoRecentModem = "<No Recent Modem Monitored>";

inline constexpr MenuRow kHelpMenu[] = {
    {Command::HelpAbout, "&About Tavrix Spectrum Analyzer..."},
};

// The trace each trace switch stands for, in the Tools menu's order.
struct TraceCommandRow {
  Command Id;
  int Trace;
};
inline constexpr std::array<TraceCommandRow, kTraceCount> kTraceCommands = {{
    {Command::CurrentTrace, kCurrentTrace},
    {Command::LastTrace, kPreviousTrace},
    {Command::VideoAverage, kVideoAverageTrace},
    {Command::PeakHold, kPeakHoldTrace},
}};
// The pointer mode of each mode button, and of the entry that marks the noise band.
inline constexpr std::array<std::pair<Command, int>, 5> kModeButtons = {
    {{Command::ZoomWin, kZoomWindowMode}, {Command::ZoomIn, kZoomInMode}, {Command::ZoomOut, kZoomOutMode},
     {Command::Pan, kPanMode}, {Command::ViewNoiseBand, kNoiseBandMode}}};

// The five movement commands in the two move types: peak points and all points.
struct MoveCommandRow {
  Command Id;
  PointMove Move;
  const char* PeakToolTip;
  const char* PeakCaption;
  const char* PointToolTip;
  const char* PointCaption;
};
inline constexpr MoveCommandRow kMoveCommands[] = {
    {Command::FirstPoint, PointMove::First, "Go to Lowest Peak", "Go to Lowest (&Bottom) Peak", "Go to First Point",
     "Go to First (&Bottom) Point"},
    {Command::NextPoint, PointMove::Next, "Go to Next Highest Peak", "Go to &Next Highest Peak", "Go to Next Point",
     "Go to &Next Point"},
    {Command::PreviousPoint, PointMove::Previous, "Go to Previous Highest Peak", "Go to &Previous Highest Peak",
     "Go to Previous Point", "Go to &Previous Point"},
    {Command::LastPoint, PointMove::Last, "Go to Highest Peak", "Go to Highest (&Top) Peak", "Go to Last Point",
     "Go to Last (&Top) Point"},
    {Command::CurPoint, PointMove::LastSelected, "Go to Last Selected Peak", "Go to &Last Selected Peak",
     "Go to Last Selected Point", "Go to &Last Selected Point"},
};
// mnuViewPeakPoint offers the other move type.
inline constexpr const char* kMoveByAllPoints = "Select &Move by All Points";
inline constexpr const char* kMoveByPeakPoints = "Select &Move by Peak Points";

}  // namespace tavrix
