#pragma once

namespace tavrix {

// The plot's own mouse-pointer images and where each one acts. Hot spots are in the
// 32-unit design grid of the images and scale with the image (halve them at 16 px).
struct PointerImageSpec {
  const char* Resource;
  int HotX;
  int HotY;
};

// Dragging a zoom window: the small crosshair at the upper left.
inline constexpr PointerImageSpec kPointerZoomWindow{":/icons/PointerZoomWindow", 6, 6};
// Zooming in and out: the centre of the magnifier's lens.
inline constexpr PointerImageSpec kPointerZoomIn{":/icons/PointerZoomIn", 13, 13};
inline constexpr PointerImageSpec kPointerZoomOut{":/icons/PointerZoomOut", 13, 13};
// Panning: the centre of the four-way arrow.
inline constexpr PointerImageSpec kPointerPan{":/icons/PointerPan", 15, 15};
// Placing a cursor or the peak threshold: the centre of the fine crosshair.
inline constexpr PointerImageSpec kPointerCursor1{":/icons/PointerCursor1", 15, 15};
inline constexpr PointerImageSpec kPointerCursor2{":/icons/PointerCursor2", 15, 15};
inline constexpr PointerImageSpec kPointerThreshold{":/icons/PointerThreshold", 15, 15};

}  // namespace tavrix
