#pragma once
#include <array>
#include <cstdint>
#include <optional>
#include <string>

#include "view/palette.h"
#include "view/cursor_mark.h"

namespace tavrix {

class SettingsStore;

// Window states as stored.
enum StoredWindowState : int { kWindowNormal = 0, kWindowMinimized = 1, kWindowMaximized = 2 };

// The main window's place and size, in twips (1440 to the inch).
struct StoredGeometry {
  int State = kWindowNormal;
  double Left = 0;
  double Top = 0;
  double Width = 11910;
  double Height = 5760;
  bool operator==(const StoredGeometry&) const = default;
};

// The measurement panels: the noise band in MHz as the axis shows it (lower edge first),
// the lower limits in dB, the average, and which of the three panels are shown.
struct MeasureSettings {
  std::optional<std::array<double, 2>> NoiseBand;
  std::optional<double> ChannelPowerLimit;
  std::optional<double> CarrierToNoiseLimit;
  bool Average = false;
  bool MeasurePanel = false;
  bool PeakTable = false;
  bool EventLog = false;
  bool operator==(const MeasureSettings&) const = default;
};

// Recording and the history panels: whether every capture shown is recorded, the folder of
// the recordings (empty: the user's data location) and their limit over all units in MiB;
// the waterfall and the level strips shown, the waterfall's palette colour map (else the
// perceptual one), and its levels from the rows (else from the plot's level window).
struct HistorySettings {
  bool Recording = true;
  std::string RecordingFolder;
  int32_t RecordingLimitMiB = 2048;
  bool Waterfall = false;
  bool LevelStrips = false;
  bool PaletteColorMap = false;
  bool AutomaticLevels = false;
  bool operator==(const HistorySettings&) const = default;
};

// Every setting the viewer keeps apart from the modem directory, with its default. The
// main window holds the live values; this is what is loaded at start, saved whenever it
// has changed and saved at exit.
struct ViewerSettings {
  StoredGeometry Window;
  std::array<Palette, 2> Palettes = kDefaultPalettes;
  int CurrentPalette = kViewingPalette;
  std::string LastPath;  // the home folder by default, always with "/"
  bool SnapToPoint = true;
  bool WindowSpectrum = true;
  bool StopUpdates = true;
  bool SelectionPanelOn = true;
  bool CursorDisplay = false;
  std::array<CursorMark, 2> Cursors{};  // -1, -1: not placed
  int PointMoves = 1;                   // 0 all points, 1 peak points
  float PeakThreshold = 0.0f;           // dB
  bool CurrentTrace = true;
  bool PeakHold = false;
  bool VideoAverage = false;
  bool LastTrace = false;
  MeasureSettings Measure;
  HistorySettings History;
  bool operator==(const ViewerSettings&) const = default;
};

// The stored keys of the palette colours, in the order they are read and written, with
// the palette position each one holds (position 4 is never stored).
struct PaletteKey {
  const char* Key;
  int Field;
};
inline constexpr std::array<PaletteKey, 8> kPaletteKeys = {{{"BackGroundColor", kBackgroundColor},
                                                            {"SpectrumColor", kSpectrumColor},
                                                            {"LegendColor", kLegendColor},
                                                            {"GridLinesColor", kGridLinesColor},
                                                            {"PeakThreshold", kThresholdColor},
                                                            {"PeakHold", kPeakHoldColor},
                                                            {"VideoAverage", kVideoAverageColor},
                                                            {"LastTrace", kPreviousColor}}};

// Reads the window state and geometry, both palettes, the configuration keys, the
// measurement keys and the history keys, in that order. A value missing, empty, unreadable or out of its range takes its default;
// the others are kept. `homeFolder` is LastPath's default.
ViewerSettings LoadViewerSettings(const SettingsStore& store, const std::string& homeFolder);
// Writes the same keys in the same order. A minimised window is stored as normal. Any
// value outside the settings table is removed from the store, so the file written holds
// the table's keys only.
void SaveViewerSettings(SettingsStore& store, const ViewerSettings& settings);

// Whether a stored value is one of the settings table: the window geometry, the palettes,
// the configuration keys and the modem directory's values.
bool IsSettingsTableKey(const std::string& section, const std::string& key);

}  // namespace tavrix
