#pragma once
#include <iosfwd>
#include <string>
#include <vector>

#include "app/export_command.h"
#include "history/waterfall_rows.h"
#include "view/live_spectrum.h"

namespace tavrix {

inline constexpr int kDefaultRenderWidth = 1280;
inline constexpr int kDefaultRenderHeight = 720;

struct RenderOptions {
  std::string Png;
  int Width = kDefaultRenderWidth;  // logical pixels; the picture has Scale times as many
  int Height = kDefaultRenderHeight;
  int Scale = 1;
  int Palette = 0;  // 0 viewing, 1 printing
  BlockProcessing Blocks;
  // The waterfall of the captures instead of the plot of the last one.
  bool Waterfall = false;
  enum class Levels { Plot, Automatic, Given } LevelsFrom = Levels::Plot;  // the colours' limits
  history::LevelLimits GivenLevels;
  history::ColorMap Map = history::ColorMap::Perceptual;
};

std::string ParseRenderOptions(const std::vector<std::string>& args, RenderOptions& options);

// Processes the blocks as export does, then draws the plot as the viewer shows it after
// the last capture into a PNG file; or, with Waterfall, the captures' rows newest at the
// top, as many as fit. Same input, same bytes.
int RunRender(const RenderOptions& options, std::ostream& out, std::ostream& err);

// The values of --png and --size; an empty text, or what is wrong.
class OptionReader;
std::string ParsePngOption(OptionReader& reader, std::string& file);
std::string ParseSizeOption(OptionReader& reader, int& width, int& height);

// Draws the live spectrum into a PNG file (replaced once complete) and says where it
// went, or why not. Returns the exit status.
int WritePlotPng(const LiveSpectrum& live, const std::string& file, int width, int height, int scale, int palette,
                 std::ostream& out, std::ostream& err);

}  // namespace tavrix
