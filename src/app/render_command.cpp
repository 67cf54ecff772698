#include "app/render_command.h"

#include <QBuffer>
#include <QGuiApplication>
#include <QImage>

#include <charconv>
#include <memory>
#include <ostream>
#include <string_view>

#include "app/export_command.h"
#include "app/option_reader.h"
#include "app/platform.h"
#include "common/file_io.h"
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
    } else {
      problem = "unknown option " + reader.Word();
    }
    if (!problem.empty()) return problem;
  }
  if (options.Png.empty()) return "--png FILE is required";
  if (options.Blocks.BlockFiles.empty()) return "at least one capture block file is required";
  return {};
}

int WritePlotPng(const LiveSpectrum& live, const std::string& file, int width, int height, int scale, int palette,
                 std::ostream& out, std::ostream& err) {
  EnsureGuiApplication();
  PlotScene scene = live.Scene();
  scene.Colors = kDefaultPalettes[static_cast<size_t>(palette)];
  const QImage image = RenderPlot(scene, QSize(width, height), scale);
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
  out << "Wrote a " << image.width() << "x" << image.height() << " picture of the spectrum to " << ShownPath(file)
      << "\n";
  return 0;
}

int RunRender(const RenderOptions& options, std::ostream& out, std::ostream& err) {
  LiveSpectrum live;
  if (const std::string error = ProcessBlockFiles(options.Blocks, live); !error.empty()) {
    err << "tavrix-spectrum: " << error << "\n";
    return 1;
  }
  return WritePlotPng(live, options.Png, options.Width, options.Height, options.Scale, options.Palette, out, err);
}

}  // namespace tavrix
