#include "view/view_window.h"

#include <algorithm>
#include <cmath>

namespace tavrix {

namespace {

// The factor a zoom in applies; the factor it records is 0.667. Both are kept.
constexpr double kZoomInApplied = 0.6667;
constexpr float kZoomInRecorded = 0.667f;
constexpr double kZoomOut = 1.75;
constexpr float kPanSteps = 10;        // one pan moves ten pan units: 1% of the view
constexpr double kCheckTolerance = 1e-4;

// Whole scroll units as the bars count them: the nearest integer, halves to even, kept
// within what a 16-bit bar holds.
int ScrollUnits(double value) {
  const double clamped = std::clamp(value, -32768.0, 32767.0);
  return static_cast<int>(std::nearbyint(clamped));
}

// Grows `factor` by 0.1 until difference x factor reaches `floor`; the count of steps is
// found at once, so a tiny difference never spins.
double GrowFactor(double difference, double factor, double floor) {
  if (difference * factor < floor) {
    const double steps = std::ceil((floor / difference - factor) / 0.1) - 1;
    if (steps > 0) factor += steps * 0.1;
    while (difference * factor < floor) factor += 0.1;
  }
  return factor;
}

}  // namespace

int CheckedPreset(const std::array<float, kPresetCount>& extents, float extent) {
  const double limit = static_cast<double>(extent) * (1 + kCheckTolerance);
  int checked = 0;
  for (int i = 0; i < kPresetCount; ++i)
    if (extents[i] <= limit) checked = i;
  return checked;
}

ViewWindow::ViewWindow() {
  Scale = FullView();
  SetPrevious();
  PrepareRedraw();
  LastHValue = HScroll.Value;
  LastVValue = VScroll.Value;
}

void ViewWindow::SetCenter(float x, float y) {
  centerSet_ = true;
  centerX_ = x;
  centerY_ = y;
}

ViewOutcome ViewWindow::RestorePrevious() {
  Scale = PreviousView;
  return {true, {}};
}

bool ViewWindow::SetBand(float dataLeft, float dataRight, float freqScale) {
  const bool changed = dataLeft != DataLeft || dataRight != DataRight || freqScale != FreqScale;
  DataLeft = dataLeft;
  DataRight = dataRight;
  FreqScale = freqScale;
  return changed;
}

void ViewWindow::SetFullVertical(float topDB, float spanDB) {
  FullTop = -topDB;
  FullHeight = spanDB;
}

ViewScale ViewWindow::FullView() const {
  ViewScale full;
  full.ScaleTop = FullTop;
  full.ScaleHeight = FullHeight;
  if (DataRight > DataLeft) {
    full.ScaleLeft = DataLeft;
    full.ScaleWidth = DataRight - DataLeft;
  } else {
    // No band yet, or one too narrow for single precision: the widest span preset about it.
    full.ScaleWidth = kSpanWidths[kPresetCount - 1] / FreqScale;
    full.ScaleLeft = DataLeft - full.ScaleWidth / 2;
  }
  return full;
}

ViewOutcome ViewWindow::FitView() {
  SetPrevious();
  ShowFullView();
  return {true, {}};
}

void ViewWindow::CenterOn(float x, float y) {
  Scale.ScaleLeft = x - Scale.ScaleWidth / 2;
  Scale.ScaleTop = y - Scale.ScaleHeight / 2;
}

ViewOutcome ViewWindow::ApplyDBPreset(int index) {
  SetPrevious();
  const float divisor = index >= 0 && index <= 8 ? kDBDivisors[index] : 2.0f;
  Scale.ScaleHeight = AmpRange / divisor;
  Scale.ScaleTop = CenterY() - Scale.ScaleHeight / 2;
  DBIndex = index;
  return {true, {}};
}

ViewOutcome ViewWindow::ApplySpanPreset(int index) {
  SetPrevious();
  const float width = index >= 0 && index <= 8 ? kSpanWidths[index] : 250.0f;
  Scale.ScaleWidth = width / FreqScale;
  Scale.ScaleLeft = CenterX() - Scale.ScaleWidth / 2;
  SpanIndex = index;
  return {true, {}};
}

ViewOutcome ViewWindow::ZoomIn() {
  ZoomFactor = kZoomInRecorded;
  if (Scale.ScaleWidth * kZoomInApplied <= ZoomMinWidth) return {false, kZoomInLimitText};
  return ZoomInAbout(CenterX(), CenterY());
}

ViewOutcome ViewWindow::ZoomOut() { return ZoomOutAbout(CenterX(), CenterY(), false); }

ViewOutcome ViewWindow::ZoomInAbout(float x, float y) {
  SetPrevious();
  ZoomFactor = kZoomInRecorded;
  if (Scale.ScaleWidth * kZoomInApplied <= ZoomMinWidth) return {false, kZoomInLimitText};
  Scale.ScaleWidth = static_cast<float>(Scale.ScaleWidth * kZoomInApplied);
  Scale.ScaleHeight = static_cast<float>(Scale.ScaleHeight * kZoomInApplied);
  CenterOn(x, y);
  return {true, {}};
}

ViewOutcome ViewWindow::ZoomOutAbout(float x, float y, bool resetOnLimit) {
  SetPrevious();
  ZoomFactor = static_cast<float>(kZoomOut);
  // Zoom out is limited by the height (zoom in by the width): asymmetric on purpose.
  if (4.0 * AmpRange < Scale.ScaleHeight * kZoomOut) {
    Scale = resetOnLimit ? FullView() : PreviousView;
    return {resetOnLimit, kZoomOutLimitText};
  }
  Scale.ScaleWidth = static_cast<float>(Scale.ScaleWidth * kZoomOut);
  Scale.ScaleHeight = static_cast<float>(Scale.ScaleHeight * kZoomOut);
  CenterOn(x, y);
  return {true, {}};
}

ViewOutcome ViewWindow::ZoomToFitCursors(float x1, float y1, float x2, float y2) {
  SetPrevious();
  // Levels: at least 20 dB, from 1.1 times the cursors' difference upwards.
  const double dy = std::fabs(static_cast<double>(y1) - y2);
  if (dy > 0) Scale.ScaleHeight = static_cast<float>(dy * GrowFactor(dy, 1.1, 20.0));
  Scale.ScaleTop = static_cast<float>((static_cast<double>(y1) + y2) / 2 - Scale.ScaleHeight / 2.0);
  // Frequencies: at least one scaled unit, from 1.5 times the difference upwards.
  const double dx = std::fabs(static_cast<double>(x1) - x2);
  if (dx > 0) Scale.ScaleWidth = static_cast<float>(dx * GrowFactor(dx, 1.5, 1.0));
  Scale.ScaleLeft = static_cast<float>((static_cast<double>(x1) + x2) / 2 - Scale.ScaleWidth / 2.0);
  return {true, {}};
}

ViewOutcome ViewWindow::ZoomToBand(float x1, float y1, float x2, float y2) {
  const float left = std::min(x1, x2), width = std::fabs(x2 - x1);
  const float top = std::min(y1, y2), height = std::fabs(y2 - y1);
  if (width == 0) return {};
  if (width <= ZoomMinWidth) return {false, kZoomInLimitText};
  SetPrevious();
  Scale.ScaleLeft = left;
  Scale.ScaleWidth = width;
  if (height > 0) {
    Scale.ScaleTop = top;
    Scale.ScaleHeight = height;
  }
  return {true, {}};
}

ViewOutcome ViewWindow::CenterView(float x, float y) {
  SetPrevious();
  CenterOn(x, y);
  return {true, {}};
}

bool ViewWindow::InRange(float x, float y) const {
  return x >= Scale.ScaleLeft && x <= Scale.ScaleLeft + Scale.ScaleWidth && y >= Scale.ScaleTop &&
         y <= Scale.ScaleTop + Scale.ScaleHeight;
}

ViewOutcome ViewWindow::KeepInView(float x, float y) {
  if (InRange(x, y)) return {};
  return CenterView(x, y);
}

ViewOutcome ViewWindow::PanView(int keyCode) {
  SetPrevious();
  switch (keyCode) {
    case kKeyLeft: Scale.ScaleLeft -= kPanSteps * PixelStepX; break;
    case kKeyRight: Scale.ScaleLeft += kPanSteps * PixelStepX; break;
    case kKeyUp: Scale.ScaleTop -= kPanSteps * PixelStepY; break;
    case kKeyDown: Scale.ScaleTop += kPanSteps * PixelStepY; break;
    default: break;  // nothing moves, but the plot is still redrawn
  }
  return {true, {}};
}

ViewOutcome ViewWindow::ArrowKey(int keyCode) {
  float x = CenterX(), y = CenterY();
  switch (keyCode) {
    case kKeyLeft: x -= PixelStepX; break;
    case kKeyRight: x += PixelStepX; break;
    case kKeyUp: y -= PixelStepY; break;
    case kKeyDown: y += PixelStepY; break;
    default: return {};
  }
  SetCenter(x, y);
  return PanView(keyCode);
}

void ViewWindow::SetScrollBars() {
  ScrollBusy = true;
  const double span = static_cast<double>(DataRight) - DataLeft;
  if (span > 0 && (Scale.ScaleWidth != DataRight - DataLeft || Scale.ScaleLeft != DataLeft)) {
    const double percent = (static_cast<double>(Scale.CenterX()) - DataLeft) / span * 100;
    HScroll.Value = std::clamp(ScrollUnits(percent), HScroll.Min, HScroll.Max);
  } else {
    HScroll.Value = 50;
  }
  // The bar counts whole dB in plot units (-dB), so "above" is towards Min.
  const float center = Scale.CenterY();
  if (center > VScroll.Max)
    VScroll.Value = VScroll.Max;
  else if (center < VScroll.Min)
    VScroll.Value = VScroll.Min;
  else
    VScroll.Value = ScrollUnits(center);
  ScrollBusy = false;
}

void ViewWindow::HScrollScroll() {
  if (DragPending) return;
  DragPending = true;
  DragStartValue = HScroll.Value;
}

void ViewWindow::VScrollScroll() {
  if (DragPending) return;
  DragPending = true;
  DragStartValue = VScroll.Value;
}

namespace {

int ArrowsFor(const ScrollBarModel& bar) {
  if (bar.Min == bar.Max) return kNoArrow;
  if (bar.Value == bar.Max) return kOnlyLowArrow;
  if (bar.Value == bar.Min) return kOnlyHighArrow;
  return kBothArrows;
}

// An arrow (or track, or wheel) step towards an end the bar already stands at is
// disabled: it moves nothing, so the view cannot be panned past the bar's range.
bool ArrowEnabled(int arrows, ScrollAction action) {
  if (action == ScrollAction::Increase) return arrows == kBothArrows || arrows == kOnlyHighArrow;
  if (action == ScrollAction::Decrease) return arrows == kBothArrows || arrows == kOnlyLowArrow;
  return true;
}

}  // namespace

ViewOutcome ViewWindow::HScrollChange(int value, ScrollAction action) {
  if (ScrollBusy) return {};
  if (!DragPending && !ArrowEnabled(HScroll.Arrows, action)) return {};
  ViewChanged = true;
  HScroll.Value = value;
  if (DragPending) {
    DragPending = false;
    SetPrevious();
    // A drag counts 1% of the visible width per unit, while the thumb is placed by the
    // percentage of the whole band: two scales, kept as operators know them.
    Scale.ScaleLeft -= static_cast<float>((DragStartValue - value) / 100.0 * Scale.ScaleWidth);
    return {true, {}};
  }
  HScroll.Arrows = ArrowsFor(HScroll);
  LastHValue = value;
  return PanView(action == ScrollAction::Increase ? kKeyRight : kKeyLeft);
}

ViewOutcome ViewWindow::VScrollChange(int value, ScrollAction action) {
  if (ScrollBusy) return {};
  if (!DragPending && !ArrowEnabled(VScroll.Arrows, action)) return {};
  ViewChanged = true;
  VScroll.Value = value;
  if (DragPending) {
    DragPending = false;
    SetPrevious();
    Scale.ScaleTop -= static_cast<float>(DragStartValue - value);
    return {true, {}};
  }
  VScroll.Arrows = ArrowsFor(VScroll);
  LastVValue = value;
  return PanView(action == ScrollAction::Decrease ? kKeyUp : kKeyDown);
}

void ViewWindow::SetVScrollRange(int min, int max) {
  VScroll.Min = min;
  VScroll.Max = max;
}

void ViewWindow::PrepareRedraw() {
  SetScrollBars();
  HScroll.Arrows = ArrowsFor(HScroll);
  VScroll.Arrows = ArrowsFor(VScroll);
  std::array<float, kPresetCount> widths{}, heights{};
  for (int i = 0; i < kPresetCount; ++i) {
    widths[i] = kSpanWidths[i] / FreqScale;
    heights[i] = AmpRange / kDBDivisors[i];
  }
  CheckedFB = CheckedPreset(widths, Scale.ScaleWidth);
  CheckedDB = CheckedPreset(heights, Scale.ScaleHeight);
  PixelStepX = Scale.ScaleWidth / 1000;
  PixelStepY = Scale.ScaleHeight / 1000;
}

}  // namespace tavrix
