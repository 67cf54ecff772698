#include "view/window_layout.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace tavrix {

int TwipsToPixels(int twips, double dpi) { return static_cast<int>(std::ceil(PixelsOfTwips(twips, dpi) - 1e-9)); }

int StoredTwipsToPixels(double twips, double dpi) {
  constexpr double kFarPixels = 1e6;
  return static_cast<int>(std::lround(std::clamp(PixelsOfTwips(twips, dpi), -kFarPixels, kFarPixels)));
}

std::optional<SizeCorrection> CheckWindowSize(int width, int height, int minimumWidth, int minimumHeight) {
  const bool narrow = width < minimumWidth, low = height < minimumHeight;
  if (narrow && low)
    return SizeCorrection{"You cannot resize this window to this size!", "Invalid Window Width", minimumWidth,
                          minimumHeight};
  if (narrow)
    return SizeCorrection{"You cannot resize this window to this width!", "Invalid Window Width", minimumWidth, height};
  if (low)
    return SizeCorrection{"You cannot resize this window to this height!", "Invalid Window Height", width,
                          minimumHeight};
  return std::nullopt;
}

std::array<int, kStatusPanelKeys.size()> StatusPanelWidths(int total, const std::array<int, kStatusPanelKeys.size()>& wanted,
                                                           int statusMinimum) {
  std::array<int, kStatusPanelKeys.size()> widths = wanted;
  const int others = std::accumulate(wanted.begin() + 1, wanted.end(), 0);
  if (total >= others + statusMinimum) {
    widths[0] = total - others;
    return widths;
  }
  // Too narrow: everyone gives up the same share; rounding leftovers go to "Status".
  widths[0] = statusMinimum;
  const double scale = total > 0 ? static_cast<double>(total) / (others + statusMinimum) : 0.0;
  int used = 0;
  for (size_t i = 0; i < widths.size(); ++i) {
    widths[i] = static_cast<int>(widths[i] * scale);
    used += widths[i];
  }
  widths[0] += total - used;
  return widths;
}

ScreenRect FirstStartPlace(const ScreenRect& available, int minimumWidth, int minimumHeight) {
  const double side = std::sqrt(0.75);
  auto fit = [&](int room, int most, int least) {
    return std::max(least, std::min(most, static_cast<int>(std::lround(room * side))));
  };
  ScreenRect place;
  place.Width = fit(available.Width, kFirstStartMaxWidth, minimumWidth);
  place.Height = fit(available.Height, kFirstStartMaxHeight, minimumHeight);
  place.X = available.X + (available.Width - place.Width) / 2;
  place.Y = available.Y + (available.Height - place.Height) / 2;
  return place;
}

std::string WindowTitle(const std::optional<std::string>& modemName, const std::string& version) {
  std::string title = kProgramTitle;
  if (modemName) title += " [Connected to " + *modemName + "]";
  return title + " - Version " + version;
}

}  // namespace tavrix
