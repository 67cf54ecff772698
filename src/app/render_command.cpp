#include "app/render_command.h"

#include <QBuffer>
#include <QGuiApplication>
#include <QImage>

#include <charconv>
#include <cmath>
#include <memory>
#include <ostream>
#include <string_view>

#include "app/export_command.h"
#include "app/option_reader.h"
#include "app/platform.h"
#include "common/file_io.h"
#include "history/waterfall_image.h"
#include "view/plot_renderer.h"

namespace tavrix {

namespace {

constexpr int kMinSide = 160;
constexpr int kMaxSide = 8192;

// Drawing text needs a GUI application; a command run from a shell gets one on the
// off-screen platform, so no display is needed.
void EnsureGuiApplication() {
  if (QGuiApplication::instance() != nullptr) return;
  qputenv("QT_QPA_PLATFORM", "offscreen");
  EnsureRuntimeFolder();
  static int argc = 1;
  static char name[] = "tavrix-spectrum";
  static char* argv[] = {name, nullptr};
  static std::unique_ptr<QGuiApplication> app = std::make_unique<QGuiApplication>(argc, argv);
}

std::string ParseChoice(OptionReader& reader, int& value, int first, int second) {
  std::string text;
  if (auto e = reader.TakeValue(text); !e.empty()) return e;
  const std::string a = std::to_string(first), b = std::to_string(second);
  if (text != a && text != b) return reader.Name() + " must be " + a + " or " + b + ", not \"" + text + "\"";
  value = std::stoi(text);
  return {};
}

// "auto", or "LOW:HIGH" in dB.
std::string ParseLevelsOption(OptionReader& reader, RenderOptions& options) {
  std::string text;
  if (auto e = reader.TakeValue(text); !e.empty()) return e;
  const size_t colon = text.find(':');
  history::LevelLimits& given = options.GivenLevels;
  if (text == "auto") {
    options.LevelsFrom = RenderOptions::Levels::Automatic;
  } else if (colon != std::string::npos && ReadNumber(text.substr(0, colon), given.Low) &&
             ReadNumber(text.substr(colon + 1), given.High) && std::isfinite(given.Low) && std::isfinite(given.High) &&
             given.Low < given.High) {
    options.LevelsFrom = RenderOptions::Levels::Given;
  } else {
    return "--levels must be auto or two levels in dB as LOW:HIGH, the lower first, not \"" + text + "\"";
  }
  return {};
}

// Writes the picture as PNG (replacing the file once complete) and says where it went,
// or why not. Returns the exit status.
int WritePng(const QImage& image, const std::string& file, const char* what, std::ostream& out, std::ostream& err) {
  QByteArray png;
  QBuffer buffer(&png);
  buffer.open(QIODevice::WriteOnly);
  if (!image.save(&buffer, "PNG")) {
    err << "tavrix-spectrum: the picture could not be encoded as PNG\n";
    return 1;
  }
  const std::string error = WriteFileAtomically(file, std::string_view(png.constData(), static_cast<size_t>(png.size())));
  if (!error.empty()) {
    err << "tavrix-spectrum: could not write the picture " << file << ": " << error << ".\n";
    return 1;
  }
  out << "Wrote a " << image.width() << "x" << image.height() << " picture of " << what << " to " << ShownPath(file)
      << "\n";
  return 0;
}

int RenderWaterfallPng(const RenderOptions& options, std::ostream& out, std::ostream& err) {
  // No more rows than the picture has lines are kept.
  history::WaterfallRows rows((static_cast<size_t>(options.Height) + 1) * (sizeof(history::WaterfallRow) + kPointCount));
  LiveSpectrum live;
  const std::string error =
      ProcessBlockFiles(options.Blocks, live, err, [&rows](const LiveSpectrum& l, std::optional<int64_t> timeMs) {
        if (!timeMs) return std::string("--waterfall draws the captures of recordings, and a capture block has no time");
        rows.Add(history::MakeWaterfallRow(l.State.Traces, *timeMs));
        return std::string();
      });
  if (!error.empty()) {
    err << "tavrix-spectrum: " << error << "\n";
    return 1;
  }
  EnsureGuiApplication();
  const PlotScene plot = live.Scene();
  history::WaterfallScene scene;
  scene.Rows = &rows;
  scene.View = plot.View;
  scene.FreqScale = plot.FreqScale;
  scene.CheckedDB = plot.CheckedDB;
  scene.Colors = kDefaultPalettes[static_cast<size_t>(options.Palette)];
  scene.Map = options.Map;
  // As the plot shows levels after the last capture, unless told otherwise.
  scene.Limits = {-double(plot.View.ScaleTop) - plot.View.ScaleHeight, -double(plot.View.ScaleTop)};
  if (options.LevelsFrom == RenderOptions::Levels::Automatic) scene.Limits = history::AutomaticLimits(rows, rows.Count());
  if (options.LevelsFrom == RenderOptions::Levels::Given) scene.Limits = options.GivenLevels;
  const QImage image = history::RenderWaterfall(scene, QSize(options.Width, options.Height), options.Scale);
  return WritePng(image, options.Png, "the waterfall", out, err);
}

}  // namespace

std::string ParsePngOption(OptionReader& reader, std::string& file) {
  if (auto e = reader.TakeValue(file); !e.empty()) return e;
  return file.empty() ? "--png needs a file name" : std::string();
}

std::string ParseSizeOption(OptionReader& reader, int& width, int& height) {
  std::string text;
  if (auto e = reader.TakeValue(text); !e.empty()) return e;
  // WIDTHxHEIGHT: digits, an "x", digits, and nothing else.
  const size_t x = text.find('x');
  const std::string_view w = std::string_view(text).substr(0, x);
  const std::string_view h = x == std::string::npos ? std::string_view() : std::string_view(text).substr(x + 1);
  int wide = 0, high = 0;
  const auto [wEnd, wError] = std::from_chars(w.data(), w.data() + w.size(), wide);
  const auto [hEnd, hError] = std::from_chars(h.data(), h.data() + h.size(), high);
  if (wError == std::errc() && hError == std::errc() && wEnd == w.data() + w.size() && hEnd == h.data() + h.size() &&
      wide >= kMinSide && wide <= kMaxSide && high >= kMinSide && high <= kMaxSide) {
    width = wide;
    height = high;
    return {};
  }
  return "--size must be WIDTHxHEIGHT, each " + std::to_string(kMinSide) + " to " + std::to_string(kMaxSide) +
         ", not \"" + text + "\"";
}

std::string ParseRenderOptions(const std::vector<std::string>& args, RenderOptions& options) {
  std::string waterfallOnly;  // an option that only the waterfall takes
  OptionReader reader(args);
  while (reader.Next()) {
    const std::string& name = reader.Name();
    std::string problem;
    if (TakeBlockProcessingWord(reader, options.Blocks, problem)) {
      // a block file, or how the blocks are processed
    } else if (name == "--png") {
      problem = ParsePngOption(reader, options.Png);
    } else if (name == "--size") {
      problem = ParseSizeOption(reader, options.Width, options.Height);
    } else if (name == "--scale") {
      problem = ParseChoice(reader, options.Scale, 1, 2);
    } else if (name == "--palette") {
      problem = ParseChoice(reader, options.Palette, 0, 1);
    } else if (name == "--waterfall" && !reader.HasInlineValue()) {
      options.Waterfall = true;
    } else if (name == "--levels") {
      problem = ParseLevelsOption(reader, options);
      waterfallOnly = name;
    } else if (name == "--color-map") {
      std::string map;
      problem = reader.TakeValue(map);
      if (problem.empty() && map != "perceptual" && map != "palette")
        problem = "--color-map must be perceptual or palette, not \"" + map + "\"";
      options.Map = map == "palette" ? history::ColorMap::Palette : history::ColorMap::Perceptual;
      waterfallOnly = name;
    } else {
      problem = "unknown option " + reader.Word();
    }
    if (!problem.empty()) return problem;
  }
  if (options.Png.empty()) return "--png FILE is required";
  if (!waterfallOnly.empty() && !options.Waterfall) return waterfallOnly + " is for --waterfall";
  if (options.Blocks.BlockFiles.empty()) return "at least one capture block file or recording is required";
  return {};
}

int WritePlotPng(const LiveSpectrum& live, const std::string& file, int width, int height, int scale, int palette,
                 std::ostream& out, std::ostream& err) {
  EnsureGuiApplication();
  PlotScene scene = live.Scene();
  scene.Colors = kDefaultPalettes[static_cast<size_t>(palette)];
  return WritePng(RenderPlot(scene, QSize(width, height), scale), file, "the spectrum", out, err);
}

int RunRender(const RenderOptions& options, std::ostream& out, std::ostream& err) {
  if (options.Waterfall) return RenderWaterfallPng(options, out, err);
  LiveSpectrum live;
  if (const std::string error = ProcessBlockFiles(options.Blocks, live, err); !error.empty()) {
    err << "tavrix-spectrum: " << error << "\n";
    return 1;
  }
  return WritePlotPng(live, options.Png, options.Width, options.Height, options.Scale, options.Palette, out, err);
}

}  // namespace tavrix
