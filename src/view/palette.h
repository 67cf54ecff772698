#pragma once
#include <array>
#include <cstdint>

namespace tavrix {

// A stored colour: red in the low byte, then green, then blue (0x00BBGGRR).
using ColorRef = uint32_t;

// The nine colours of one palette, by position.
enum PaletteField : int {
  kBackgroundColor = 0,
  kSpectrumColor = 1,   // current trace and constellation points
  kLegendColor = 2,     // tick marks and labels
  kGridLinesColor = 3,
  kSpareColor = 4,      // kept in the palette, never drawn
  kThresholdColor = 5,
  kPeakHoldColor = 6,
  kVideoAverageColor = 7,
  kPreviousColor = 8,
};
inline constexpr int kPaletteColors = 9;
using Palette = std::array<ColorRef, kPaletteColors>;

inline constexpr int kViewingPalette = 0;
inline constexpr int kPrintingPalette = 1;

// The colours a new installation starts with: bright traces on black for the screen,
// dark traces on white for paper. The four trace colours stay apart for colour-blind
// eyes, and the current trace is the brightest on screen.
inline constexpr std::array<Palette, 2> kDefaultPalettes = {{
    {0x000000, 0x42E4F0, 0xC8C8C8, 0x5A5A5A, 0x808080, 0x005ED5, 0xA779CC, 0x96C800, 0xE9B456},
    {0xFFFFFF, 0x000000, 0x000000, 0xA0A0A0, 0x808080, 0x005ED5, 0x803AB0, 0x739E00, 0xFF0000},
}};

constexpr int RedOf(ColorRef c) { return static_cast<int>(c & 0xFF); }
constexpr int GreenOf(ColorRef c) { return static_cast<int>((c >> 8) & 0xFF); }
constexpr int BlueOf(ColorRef c) { return static_cast<int>((c >> 16) & 0xFF); }
constexpr ColorRef MakeColorRef(int red, int green, int blue) {
  return static_cast<ColorRef>((red & 0xFF) | ((green & 0xFF) << 8) | ((blue & 0xFF) << 16));
}

}  // namespace tavrix
