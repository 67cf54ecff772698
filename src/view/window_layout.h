#pragma once
#include <array>
#include <optional>
#include <string>

namespace tavrix {

inline constexpr const char* kProgramTitle = "Tavrix Spectrum Analyzer";

// The main window's limits, in twips (1440 to the inch).
inline constexpr int kMinimumWidthTwips = 11910;
inline constexpr int kMinimumHeightTwips = 5760;
inline constexpr int kReadoutPanelTwips = 840;

// Twips and pixels at `dpi` dots per inch: one conversion, two roundings. A limit (the
// minimum, the read-out panel) is rounded up, so the window is never below it; a stored
// place or size, kept unrounded in twips, goes back to the nearest pixel (within a million
// pixels either way), so it comes back to the pixel it was stored from.
inline constexpr double kTwipsPerInch = 1440.0;
inline double PixelsOfTwips(double twips, double dpi) { return twips * dpi / kTwipsPerInch; }
inline double TwipsOfPixels(double pixels, double dpi) { return pixels * kTwipsPerInch / dpi; }
int TwipsToPixels(int twips, double dpi);
int StoredTwipsToPixels(double twips, double dpi);

// The size rule of a resize: a size below the minimum is answered with a message and
// corrected. Both too small at once gives one message, under the width's title.
struct SizeCorrection {
  const char* Text;
  const char* Title;
  int Width;  // the corrected size
  int Height;
};
std::optional<SizeCorrection> CheckWindowSize(int width, int height, int minimumWidth, int minimumHeight);

// The status bar's panels, by key, in the order they stand on the bar.
inline constexpr std::array<const char*, 8> kStatusPanelKeys = {
    "Status", "CenterFreq", "SampleRate", "CurTrace", "CurPoint", "Frequency", "Amplitude", "Cursor"};

// Shares `total` pixels among the panels so that together they fill it exactly: every
// panel but "Status" gets the width its longest text needs, "Status" the rest (at least
// `statusMinimum`); a bar too narrow for that shrinks every panel in proportion.
std::array<int, kStatusPanelKeys.size()> StatusPanelWidths(int total, const std::array<int, kStatusPanelKeys.size()>& wanted,
                                                           int statusMinimum);

// A rectangle of whole pixels: top-left corner and size.
struct ScreenRect {
  int X = 0;
  int Y = 0;
  int Width = 0;
  int Height = 0;
  bool operator==(const ScreenRect&) const = default;
};

// The first window of a user with no stored geometry: three quarters of the screen's
// available area (each side scaled by the square root of 3/4), at most kFirstStartMax,
// never below the minimum, centred on the available area.
inline constexpr int kFirstStartMaxWidth = 1600;
inline constexpr int kFirstStartMaxHeight = 1000;
ScreenRect FirstStartPlace(const ScreenRect& available, int minimumWidth, int minimumHeight);

// "Tavrix Spectrum Analyzer [Connected to NAME] - Version X.Y.Z", or without the bracket
// while no unit is current.
std::string WindowTitle(const std::optional<std::string>& modemName, const std::string& version);

}  // namespace tavrix
