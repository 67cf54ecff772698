#pragma once

namespace tavrix {

// The plot's own mouse-pointer images and where each one acts. Hot spots are in the
// 32-unit design grid of the images and scale with the image (halve them at 16 px).
struct PointerImageRow {
  const char* Resource;
  int HotX;
  int HotY;
};

// Dragging a zoom window: the small crosshair at the upper left.
inline constexpr PointerImageRow kPointerZoomWindow{":/icons/PointerZoomWindow", 6, 6};
// Zooming in and out: the centre of the magnifier's lens.
inline constexpr PointerImageRow kPointerZoomIn{":/icons/PointerZoomIn", 13, 13};
inline constexpr PointerImageRow kPointerZoomOut{":/icons/PointerZoomOut", 13, 13};
// Panning: the centre of the four-way arrow.
inline constexpr PointerImageRow kPointerPan{":/icons/PointerPan", 15, 15};
// Placing a cursor or the peak threshold: the centre of the fine crosshair.
inline constexpr PointerImageRow kPointerCursor1{":/icons/PointerCursor1", 15, 15};
inline constexpr PointerImageRow kPointerCursor2{":/icons/PointerCursor2", 15, 15};
inline constexpr PointerImageRow kPointerThreshold{":/icons/PointerThreshold", 15, 15};
// Marking the noise band: the small crosshair at the upper left, as for a zoom window.
inline constexpr PointerImageRow kPointerNoiseBand{":/icons/PointerNoiseBand", 6, 6};

}  // namespace tavrix
