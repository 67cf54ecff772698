#pragma once
#include <array>
#include <optional>
#include <utility>

#include "view/view_window.h"

namespace tavrix {

// The plot's pointer modes; the numbers are the stored values (4 is not used).
enum PointerMode : int {
  kSelectMode = 0,
  kZoomWindowMode = 1,
  kZoomInMode = 2,
  kZoomOutMode = 3,
  kPanMode = 5,
  kMiddleDragMode = 6,  // a middle-button drag, for the rest of the gesture
  kNoiseBandMode = 7,   // a left drag marks the noise band, then Select mode again
};

// The four mode buttons of the toolbar and their View menu entries.
struct ModeCommand {
  int Mode;
  const char* ButtonKey;
  const char* Entry;
};
inline constexpr std::array<ModeCommand, 5> kModeCommands = {{
    {kZoomWindowMode, "ZoomWin", "mnuViewZoomWin"},
    {kZoomInMode, "ZoomIn", "mnuViewZoomIn"},
    {kZoomOutMode, "ZoomOut", "mnuViewZoomOut"},
    {kPanMode, "Pan", "mnuViewPan"},
    {kNoiseBandMode, "NoiseBand", "mnuViewNoiseBand"},
}};

// What the plot's mouse pointer shows.
enum class PointerImage { Cross, ZoomWindow, ZoomIn, ZoomOut, Pan, PlaceCursor1, PlaceCursor2, PlaceThreshold, NoiseBand };

// The pointer mode and the pending placements. Placements are independent of the mode:
// they survive mode changes and are consumed by the next left press in Select mode.
class PointerModes {
 public:
  int Mode = kSelectMode;
  int SavedMode = kSelectMode;  // the mode a middle drag returns to
  bool PlacingThreshold = false;
  int PlacingCursor = 0;        // 0 none, 1 or 2

  // A mode button (or its menu entry): on, or off again when it is the mode already.
  void ModeButtonClick(int mode);
  // "Select": Select mode, placements dropped.
  void Select();
  // Ends a zoom or pan mode as "&End Zoom Mode", a right click and a preset do: the
  // placements stay.
  void EndMode() { Mode = kSelectMode; }

  // A mode's button is pressed and its menu entry checked.
  bool Pressed(int mode) const { return Mode == mode || (Mode == kMiddleDragMode && SavedMode == mode); }
  bool EndEnabled() const;
  // The mode's image; in Select mode (and a middle drag) a pending placement's.
  PointerImage Image() const;
};

inline constexpr int kLeftButton = 1;
inline constexpr int kRightButton = 2;
inline constexpr int kMiddleButton = 4;

// The band being dragged, in plot units; 32000 in every corner when there is none.
struct RubberBand {
  float X1 = 32000, Y1 = 32000, X2 = 32000, Y2 = 32000;
  bool Active() const { return X1 != 32000; }
};

// What a mouse event asks of the window.
struct MouseOutcome {
  ViewOutcome View;          // a view change to draw, a limit notice
  bool SelectPress = false;  // a left press in Select mode: select the nearest point or place
  bool ModesChanged = false;  // buttons, menu checks and the pointer follow the modes
  // A noise band dragged across the plot: its two edges in plot units, lower first.
  std::optional<std::pair<float, float>> NoiseBand;
};

// The plot's mouse handling: presses, drags and releases in plot units, with the click
// that follows each release, acting on the view window through the pointer modes.
class PlotMouse {
 public:
  PlotMouse(PointerModes& modes, ViewWindow& view) : modes_(modes), view_(view) {}

  MouseOutcome Press(int button, float x, float y);
  // True when a band is being dragged (the band's free corner moved).
  bool Move(float x, float y);
  // The release and then the click.
  MouseOutcome Release(int button, float x, float y);
  const RubberBand& Band() const { return band_; }

 private:
  MouseOutcome Click();

  PointerModes& modes_;
  ViewWindow& view_;
  RubberBand band_;
  int lastButton_ = 0;
  float pressX_ = 0, pressY_ = 0;
};

}  // namespace tavrix
