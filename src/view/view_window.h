#pragma once
#include <array>
#include <string>
#include <string_view>

namespace tavrix {

// The visible rectangle of the (frequency, level) plane, as the plot surface's own user
// scale. Frequencies are in the capture's scaled unit (MHz x FreqScale). The vertical
// axis runs downwards, so a level of L dB sits at y = -L: ScaleTop is minus the level at
// the top edge.
struct ViewScale {
  float ScaleLeft = 0.0f;
  float ScaleTop = -125.0f;
  float ScaleWidth = 250.0f;
  float ScaleHeight = 250.0f;

  bool operator==(const ViewScale&) const = default;
  float CenterX() const { return ScaleLeft + ScaleWidth / 2; }
  float CenterY() const { return ScaleTop + ScaleHeight / 2; }
};

// One flat scroll bar: range, thumb position and which arrows are enabled.
struct ScrollBarModel {
  int Min = 0;
  int Max = 100;
  int Value = 50;
  int Arrows = 0;  // which arrows are enabled: one of the values below
};
inline constexpr int kBothArrows = 0;
inline constexpr int kOnlyLowArrow = 1;   // at Max: only the up/left arrow
inline constexpr int kOnlyHighArrow = 2;  // at Min: only the down/right arrow
inline constexpr int kNoArrow = 3;        // Min == Max: neither

// How a scroll bar's value came to change: the end of a thumb drag, or an arrow or
// track click towards larger or smaller values.
enum class ScrollAction { Drag, Increase, Decrease };

// Key codes the view reacts to.
enum ViewKey : int {
  kKeyPageUp = 33,
  kKeyPageDown = 34,
  kKeyLeft = 37,
  kKeyUp = 38,
  kKeyRight = 39,
  kKeyDown = 40,
};

inline constexpr const char* kZoomInLimitText = "You have reached the zoom in limit!";
inline constexpr const char* kZoomOutLimitText = "Cannot zoom out farther...you have reached the zoom out limit!";

// What a view operation asks of the window: a redraw, and a limit notice with its beep.
struct ViewOutcome {
  bool Redraw = false;
  std::string_view Notice;  // for the "Status" panel, with a beep and timerStatus; empty for none

  bool operator==(const ViewOutcome&) const = default;
};

inline constexpr int kPresetCount = 10;
// The dB-per-division presets: divisors of AmpRange. The ladder is uneven on purpose
// (items 4 and 7 are 0.8 of what their captions suggest); operators know it as it is.
inline constexpr std::array<float, kPresetCount> kDBDivisors = {2000, 1000, 400, 200, 100, 40, 20, 10, 4, 2};
// The dB per division each preset's caption names: the spacing of the grid's level lines.
inline constexpr std::array<double, kPresetCount> kDBPerDivision = {0.01, 0.02, 0.05, 0.10, 0.25,
                                                                    0.50, 1.00, 2.50, 5.00, 10.00};
// The span presets: widths B / FreqScale. The first is 12.5 times its caption, the
// others 10 times; kept as they have always been.
inline constexpr std::array<float, kPresetCount> kSpanWidths = {0.25f, 0.5f, 1.0f,  2.5f,   5.0f,
                                                                10.0f, 25.f, 50.f, 100.0f, 250.0f};

// The view window and its scales: presets, zooms, pans, the previous view, the scroll
// bars and the preset check marks. Plain state; the window draws what it says.
class ViewWindow {
 public:
  ViewWindow();

  ViewScale Scale;         // what the plot shows
  ViewScale PreviousView;  // one level deep

  float AmpMin = -125.0f;
  float AmpMax = 125.0f;
  float AmpRange = 250.0f;
  float FreqScale = 1.0f;
  float DataLeft = 0.0f;   // the capture's band, scaled
  float DataRight = 0.0f;
  double ZoomMinWidth = 0.025;
  float PixelStepX = 0.25f;  // ScaleWidth / 1000, the pan unit
  float PixelStepY = 0.25f;
  float ZoomFactor = 1.0f;
  int DBIndex = 9;
  int SpanIndex = 9;

  // The full view's vertical extent: the fit of the current trace; -125..125 dB before data.
  float FullTop = -125.0f;
  float FullHeight = 250.0f;

  ScrollBarModel HScroll{0, 100, 50, 0};
  ScrollBarModel VScroll{-125, 125, 0, 0};
  bool ScrollBusy = false;  // set while the window itself moves the bars
  bool DragPending = false;
  int DragStartValue = 0;
  int LastHValue = 50;
  int LastVValue = 0;
  bool ViewChanged = false;

  // The preset items checked at the last redraw.
  int CheckedDB = 9;
  int CheckedFB = 9;

  // The remembered point (CenterX, CenterY) about which zooms and presets are centred:
  // set by a selection; the view's centre until one is made.
  void SetCenter(float x, float y);
  float CenterX() const { return centerSet_ ? centerX_ : Scale.CenterX(); }
  float CenterY() const { return centerSet_ ? centerY_ : Scale.CenterY(); }

  void SetPrevious() { PreviousView = Scale; }
  ViewOutcome RestorePrevious();

  // The band of a new capture. Returns true when it differs from the band before.
  bool SetBand(float dataLeft, float dataRight, float freqScale);
  // The vertical fit of the latest trace (top and span in dB), for the full view.
  void SetFullVertical(float topDB, float spanDB);
  ViewScale FullView() const;
  // Shows the full view (first capture, a new band) without touching the previous view.
  void ShowFullView() { Scale = FullView(); }
  // Fit View: remembers the view, then shows the full view.
  ViewOutcome FitView();

  ViewOutcome ApplyDBPreset(int index);    // mnuViewDBB_Click
  ViewOutcome ApplySpanPreset(int index);  // mnuViewFB_Click
  ViewOutcome ZoomIn();                    // Page Up: about (CenterX, CenterY)
  ViewOutcome ZoomOut();                   // Page Down
  // A zoom about a given point; a refused zoom out restores the view when `resetOnLimit`
  // is false and shows the full view when it is true.
  ViewOutcome ZoomInAbout(float x, float y);
  ViewOutcome ZoomOutAbout(float x, float y, bool resetOnLimit);
  // Cursor positions in plot units (frequency, -dB).
  ViewOutcome ZoomToFitCursors(float x1, float y1, float x2, float y2);
  // The band dragged with the mouse becomes the view (corners in any order). A band
  // without width is ignored, one without height keeps the levels, and one narrower
  // than the zoom-in limit is refused with its notice.
  ViewOutcome ZoomToBand(float x1, float y1, float x2, float y2);
  // Remembers the view and centres it on (x, y): a pan click, a middle click.
  ViewOutcome CenterView(float x, float y);
  // True when (x, y) lies in the view, edges included.
  bool InRange(float x, float y) const;
  // A selected point kept in view: outside it, the view is remembered and centred on it.
  ViewOutcome KeepInView(float x, float y);
  ViewOutcome PanView(int keyCode);
  // An arrow key: the remembered point moves one pan unit, then the view pans.
  ViewOutcome ArrowKey(int keyCode);

  // Places both thumbs from the view.
  void SetScrollBars();
  // The thumb is being dragged.
  void HScrollScroll();
  void VScrollScroll();
  // The bar's value changed to `value` (a drag ended, or an arrow or track click).
  ViewOutcome HScrollChange(int value, ScrollAction action);
  ViewOutcome VScrollChange(int value, ScrollAction action);
  // After a re-fit of the vertical window: the bar's new limits.
  void SetVScrollRange(int min, int max);

  // Run at the start of each redraw: scroll bars, preset check marks and pan units.
  void PrepareRedraw();

 private:
  void CenterOn(float x, float y);
  bool centerSet_ = false;
  float centerX_ = 0.0f;
  float centerY_ = 0.0f;
};

// The preset whose extent is the largest not above `extent` (a small relative tolerance
// absorbs rounding); 0 when even the smallest is larger.
int CheckedPreset(const std::array<float, kPresetCount>& extents, float extent);

}  // namespace tavrix
