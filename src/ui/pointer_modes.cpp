#include "ui/pointer_modes.h"

#include <algorithm>

namespace tavrix {

void PointerModes::ModeButtonClick(int mode) {
  Mode = Mode == mode ? kSelectMode : mode;
}

void PointerModes::Select() {
  Mode = kSelectMode;
  PlacingThreshold = false;
  PlacingCursor = 0;
}

bool PointerModes::EndEnabled() const {
  for (const ModeCommand& c : kModeCommands)
    if (Pressed(c.Mode)) return true;
  return false;
}

PointerImage PointerModes::Image() const {
  switch (Mode) {
    case kZoomWindowMode: return PointerImage::ZoomWindow;
    case kZoomInMode: return PointerImage::ZoomIn;
    case kZoomOutMode: return PointerImage::ZoomOut;
    case kPanMode: return PointerImage::Pan;
    case kNoiseBandMode: return PointerImage::NoiseBand;
    default: break;
  }
  if (PlacingThreshold) return PointerImage::PlaceThreshold;
  if (PlacingCursor == 1) return PointerImage::PlaceCursor1;
  if (PlacingCursor == 2) return PointerImage::PlaceCursor2;
  return PointerImage::Cross;
}

MouseOutcome PlotMouse::Press(int button, float x, float y) {
  MouseOutcome out;
  lastButton_ = button;
  pressX_ = x;
  pressY_ = y;
  if (button == kLeftButton && modes_.Mode == kSelectMode) out.SelectPress = true;
  // A left drag in Zoom Window mode or while marking the noise band, or a middle drag in
  // any mode, draws a band.
  const bool dragsBand = modes_.Mode == kZoomWindowMode || modes_.Mode == kNoiseBandMode;
  if ((button == kLeftButton && dragsBand) || button == kMiddleButton) band_ = {x, y, x, y};
  return out;
}

bool PlotMouse::Move(float x, float y) {
  if (!band_.Active()) return false;
  band_.X2 = x;
  band_.Y2 = y;
  return true;
}

MouseOutcome PlotMouse::Release(int button, float x, float y) {
  MouseOutcome out;
  if (band_.Active()) {
    band_.X2 = x;
    band_.Y2 = y;
    if (button == kMiddleButton) {
      // A middle drag zooms from any mode and returns to it at the click that follows.
      if (modes_.Mode != kMiddleDragMode) modes_.SavedMode = modes_.Mode;
      if (x != pressX_ && y != pressY_) modes_.Mode = kMiddleDragMode;
    }
    if (modes_.Mode == kZoomWindowMode || modes_.Mode == kMiddleDragMode)
      out.View = view_.ZoomToBand(band_.X1, band_.Y1, band_.X2, band_.Y2);
    // A noise band takes the dragged frequencies; a band without width marks nothing.
    if (modes_.Mode == kNoiseBandMode && band_.X1 != band_.X2) {
      out.NoiseBand = std::minmax(band_.X1, band_.X2);
      modes_.EndMode();
    }
    band_ = {};
    out.ModesChanged = true;
  }
  const MouseOutcome click = Click();
  if (click.View.Redraw || !click.View.Notice.empty()) out.View = click.View;
  out.ModesChanged = out.ModesChanged || click.ModesChanged;
  return out;
}

MouseOutcome PlotMouse::Click() {
  MouseOutcome out;
  const int mode = modes_.Mode;
  if (lastButton_ == kLeftButton) {
    if (mode == kPanMode) out.View = view_.CenterView(pressX_, pressY_);
    if (mode == kZoomOutMode) out.View = view_.ZoomOutAbout(pressX_, pressY_, true);
    if (mode == kZoomInMode) out.View = view_.ZoomInAbout(pressX_, pressY_);
  } else if (lastButton_ == kRightButton) {
    if (mode != kSelectMode) {
      modes_.EndMode();
      out.ModesChanged = true;
    }
  } else if (lastButton_ == kMiddleButton && mode != kMiddleDragMode) {
    out.View = view_.CenterView(pressX_, pressY_);  // a middle click without a drag
  }
  if (modes_.Mode == kMiddleDragMode) {
    modes_.Mode = modes_.SavedMode;
    out.ModesChanged = true;
  }
  lastButton_ = 0;
  return out;
}

}  // namespace tavrix
