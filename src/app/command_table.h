#pragma once
// The main window's commands as tables: toolbar buttons with their keys, tool tips and
// images, and the menus with their captions. The window builds its menus and toolbars
// from these; a menu entry that duplicates a button shares the button's action.
#include <array>
#include <string_view>

#include "store/modem_directory.h"

namespace tavrix {

// The toolbar's image list, in order: a status picture is named by its 1-based place.
inline constexpr std::array<const char*, 33> kToolbarImages = {
    "ZoomWindow", "ZoomIn",     "ZoomOut",     "ZoomFit",       "Pan",          "PreviousView", "Green",
    "Yellow",     "Red",        "Stop",        "NextPoint",     "PreviousPoint", "FirstPoint",  "LastPoint",
    "CurPoint",   "Export",     "Connected",   "Disconnected",  "Handshake",    "Cursor1",      "Cursor2",
    "CursorDelta", "ZoomCursors", "Select",    "dBperDiv",      "FSpan",        "CursorLoc",    "PeakThreshold",
    "PeakHold",   "VideoAverage", "LastTrace", "SingleStep",    "CurrentTrace"};

// The resource path of an image of the list by its 1-based place ("" when out of range).
const char* ToolbarImage(int place);

enum class ButtonStyle {
  Push,       // a command
  Toggle,     // stays pressed while its trace or mode is on
  DropDown,   // a face that acts and an arrow that opens its entries
  Holder,     // holds another control (the move-type list)
  Indicator,  // shows a picture only
};

struct ToolButtonRow {
  const char* Key;
  const char* ToolTip;
  const char* Image;
  ButtonStyle Style;
  bool GroupEnd;  // a separator follows
};

// tbMain, in order.
inline constexpr std::array<ToolButtonRow, 25> kMainButtons = {{
    {"Export", "Export", "Export", ButtonStyle::DropDown, true},
    {"StopGo", "Stop Updates", "Stop", ButtonStyle::Toggle, false},
    {"SingleStep", "Single Step", "SingleStep", ButtonStyle::Push, true},
    {"CurrentTrace", "Current Spectrum Trace", "CurrentTrace", ButtonStyle::Toggle, false},
    {"PeakHold", "Peak Hold Trace", "PeakHold", ButtonStyle::Toggle, false},
    {"VideoAverage", "Video Average Trace", "VideoAverage", ButtonStyle::Toggle, false},
    {"LastTrace", "Previous Spectrum Trace", "LastTrace", ButtonStyle::Toggle, true},
    {"Select", "Select Mode", "Select", ButtonStyle::Push, false},
    {"ZoomWin", "Zoom Window", "ZoomWindow", ButtonStyle::Toggle, false},
    {"ZoomIn", "Zoom In", "ZoomIn", ButtonStyle::Toggle, false},
    {"ZoomOut", "Zoom Out", "ZoomOut", ButtonStyle::Toggle, false},
    {"Pan", "Pan", "Pan", ButtonStyle::Toggle, true},
    {"dBperDiv", "Zoom by dB per Division", "dBperDiv", ButtonStyle::DropDown, false},
    {"FSpan", "Zoom by Frequency Span", "FSpan", ButtonStyle::DropDown, false},
    {"ZoomFitView", "Fit View", "ZoomFit", ButtonStyle::Push, false},
    {"Previous", "Zoom Previous", "PreviousView", ButtonStyle::Push, false},
    {"ZoomCursors", "Zoom to Fit Cursors", "ZoomCursors", ButtonStyle::Push, true},
    {"FirstPoint", "Go to First Point", "FirstPoint", ButtonStyle::Push, false},
    {"NextPoint", "Go to Next Point", "NextPoint", ButtonStyle::Push, false},
    {"PreviousPoint", "Go to Previous Point", "PreviousPoint", ButtonStyle::Push, false},
    {"LastPoint", "Go to Last Point", "LastPoint", ButtonStyle::Push, false},
    {"CurPoint", "Go to Last Selected Point", "CurPoint", ButtonStyle::Push, false},
    {"PeakPoint", "", "", ButtonStyle::Holder, false},
    {"PeakThreshold", "Position Minimum Peak Threshold", "PeakThreshold", ButtonStyle::Push, true},
    {"Status", "Update Status", "Red", ButtonStyle::Indicator, false},
}};

// tbCursors, in order.
inline constexpr std::array<ToolButtonRow, 3> kCursorButtons = {{
    {"CursorOne", "Position Cursor 1", "Cursor1", ButtonStyle::Push, false},
    {"CursorTwo", "Position Cursor 2", "Cursor2", ButtonStyle::Push, false},
    {"CursorDelta", "View Cursors", "CursorDelta", ButtonStyle::Toggle, false},
}};

// The entries of a button's drop-down: key and text.
struct DropDownEntry {
  const char* Key;
  const char* Text;
};

// The Export drop-down: the first kActingExports entries export; the last two are shown
// but disabled (their data sets are exported from the File menu).
inline constexpr int kActingExports = 3;
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

// A drop-down key that compares, as text, between `first` and `last` ("dBB0".."dBB9")
// selects the index its last character names; any other key selects nothing (-1).
int DropDownIndex(std::string_view key, std::string_view first, std::string_view last);

inline constexpr std::array<const char*, 10> kDBCaptions = {
    "0.0&1dB per Division", "0.0&2dB per Division", "0.0&5dB per Division", "0.&10dB per Division",
    "0.&25dB per Division", "0.&50dB per Division", "&1.00dB per Division", "&2.50dB per Division",
    "&5.00dB per Division", "&10.00dB per Division"};
inline constexpr std::array<const char*, 10> kSpanCaptions = {
    "0.0&2MHz Span", "0.0&5MHz Span", "0.&10MHz Span", "0.&25MHz Span", "0.&50MHz Span",
    "&1.00MHz Span", "&2.50MHz Span", "&5.00MHz Span", "&10.00MHz Span", "&25.00MHz Span"};

// A menu entry: its control name, caption, and the toolbar button whose action it shares
// (nullptr for an entry of its own). A null name is a separator.
struct MenuEntryRow {
  const char* Name;
  const char* Caption;
  const char* ButtonKey;
  bool Checkable;
};
inline constexpr MenuEntryRow kSeparator = {nullptr, nullptr, nullptr, false};

inline constexpr MenuEntryRow kFileMenuTail[] = {
    {"mnuFileSaveView", "Save View &As...", nullptr, false},
    {"mnuFilePrint", "&Print...", nullptr, false},
    kSeparator,
    {"mnuFileExit", "E&xit", nullptr, false},
};

inline constexpr MenuEntryRow kViewMenuModes[] = {
    {"mnuViewSelect", "&Select Mode", "Select", false},
    {"mnuViewZoomWin", "Zoom &Window", "ZoomWin", true},
    {"mnuViewZoomIn", "Zoom &In", "ZoomIn", true},
    {"mnuViewZoomOut", "Zoom &Out", "ZoomOut", true},
    {"mnuViewPan", "&Pan", "Pan", true},
    {"mnuViewEnd", "&End Zoom Mode", nullptr, false},
    kSeparator,
    {"mnuViewFitView", "&Fit View", "ZoomFitView", false},
    {"mnuViewPrevious", "Zoom P&revious", "Previous", false},
    {"mnuViewZoomCursors", "&Zoom to Fit Cursors", "ZoomCursors", false},
};
// After the two preset submenus.
inline constexpr MenuEntryRow kViewMenuPoints[] = {
    kSeparator,
    {"mnuViewFirstPoint", "Go to First (&Bottom) Point", "FirstPoint", false},
    {"mnuViewNextPoint", "Go to &Next Point", "NextPoint", false},
    {"mnuViewPreviousPoint", "Go to &Previous Point", "PreviousPoint", false},
    {"mnuViewLastPoint", "Go to Last (&Top) Point", "LastPoint", false},
    {"mnuViewCurPoint", "Go to &Last Selected Point", "CurPoint", false},
    {"mnuViewPeakPoint", "Select &Move by Peak Points", nullptr, false},
    {"mnuViewThreshold", "Set &Minimum Peak Threshold", "PeakThreshold", false},
    kSeparator,
    {"mnuViewCursor0", "Set Cursor &1 Location", nullptr, true},
    {"mnuViewCursor1", "Set Cursor &2 Location", nullptr, true},
    {"mnuViewCursors", "View Cursors &Display", nullptr, true},
    kSeparator,
    {"mnuViewConstellation", "I/&Q Constellation", nullptr, true},
    {"mnuViewCopy", "&Copy/Capture Current View", nullptr, false},
};

inline constexpr MenuEntryRow kOptionsPalettes[] = {
    {"mnuOptionsPalette0", "Select Color Palette for &Viewing", nullptr, true},
    {"mnuOptionsPalette1", "Select Color Palette for &Printing", nullptr, true},
};
// The colour entries of one palette's submenu (suffix 0 viewing, 1 printing).
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
inline constexpr MenuEntryRow kOptionsChecks[] = {
    kSeparator,
    {"mnuOptionsSnap", "&Snap to Nearest Point", nullptr, true},
    {"mnuOptionsPanel", "Display Selection &Panel", nullptr, true},
    {"mnuOptionsWindow", "&Window Spectrum Trace", nullptr, true},
};

inline constexpr MenuEntryRow kCommMenu[] = {
    {"mnuCommStopGo", "&Start Data Set Updates", nullptr, false},
    {"mnuCommSingleStep", "Single S&tep", "SingleStep", false},
    kSeparator,
    {"mnuCommAdd", "&Add Tarvix Modem", nullptr, false},
    {"mnuCommManage", "&Manage Modems/Select Modem", nullptr, false},
    kSeparator,
};
// The five movement commands in the two move modes: peak points and all points.
struct MoveCommandRow {
  const char* ButtonKey;
  const char* Entry;
  const char* PeakToolTip;
  const char* PeakCaption;
  const char* PointToolTip;
  const char* PointCaption;
};
inline constexpr MoveCommandRow kMoveCommands[] = {
    {"FirstPoint", "mnuViewFirstPoint", "Go to Lowest Peak", "Go to Lowest (&Bottom) Peak", "Go to First Point",
     "Go to First (&Bottom) Point"},
    {"NextPoint", "mnuViewNextPoint", "Go to Next Highest Peak", "Go to &Next Highest Peak", "Go to Next Point",
     "Go to &Next Point"},
    {"PreviousPoint", "mnuViewPreviousPoint", "Go to Previous Highest Peak", "Go to &Previous Highest Peak",
     "Go to Previous Point", "Go to &Previous Point"},
    {"LastPoint", "mnuViewLastPoint", "Go to Highest Peak", "Go to Highest (&Top) Peak", "Go to Last Point",
     "Go to Last (&Top) Point"},
    {"CurPoint", "mnuViewCurPoint", "Go to Last Selected Peak", "Go to &Last Selected Peak",
     "Go to Last Selected Point", "Go to &Last Selected Point"},
};
// mnuViewPeakPoint offers the other mode.
inline constexpr const char* kMoveByAllPoints = "Select &Move by All Points";
inline constexpr const char* kMoveByPeakPoints = "Select &Move by Peak Points";

inline constexpr int kRecentModems = kRecentPlaces;  // the recent menu shows every recent place
inline constexpr const char* kNoRecentModem = "<No Recent Modem Monitored>";

inline constexpr MenuEntryRow kHelpMenu[] = {
    {"mnuHelpAbout", "&About Tavrix Spectrum Analyzer...", nullptr, false},
};

}  // namespace tavrix
