#include "app/render_command.h"

#include <QBuffer>
#include <QGuiApplication>
#include <QImage>

#include <memory>
#include <ostream>
#include <regex>

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
  static const std::regex kSize("([0-9]{1,5})x([0-9]{1,5})");
  std::smatch m;
  if (std::regex_match(text, m, kSize)) {
    const int w = std::stoi(m[1]), h = std::stoi(m[2]);
    if (w >= kMinSide && w <= kMaxSide && h >= kMinSide && h <= kMaxSide) {
      width = w;
      height = h;
      return {};
    }
  }
  return "--size must be WIDTHxHEIGHT, each " + std::to_string(kMinSide) + " to " + std::to_string(kMaxSide) +
         ", not \"" + text + "\"";
}

std::string ParseRenderOptions(const std::vector<std::string>& args, RenderOptions& options) {
  OptionReader reader(args);
  while (reader.Next()) {
    const std::string& name = reader.Name();
    std::string problem;
    if (!reader.IsOption()) {
      options.BlockFiles.push_back(reader.Word());
    } else if (name == "--png") {
      problem = ParsePngOption(reader, options.Png);
    } else if (name == "--size") {
      problem = ParseSizeOption(reader, options.Width, options.Height);
    } else if (name == "--scale") {
      problem = ParseChoice(reader, options.Scale, 1, 2);
    } else if (name == "--palette") {
      problem = ParseChoice(reader, options.Palette, 0, 1);
    } else if (name == "--window") {
      problem = ParseWindowOption(reader, options.WindowSpectrum);
    } else if ((name == "--peak-hold" || name == "--video-average") && !reader.HasInlineValue()) {
      (name == "--peak-hold" ? options.PeakHold : options.VideoAverage) = true;
    } else {
      problem = "unknown option " + reader.Word();
    }
    if (!problem.empty()) return problem;
  }
  if (options.Png.empty()) return "--png FILE is required";
  if (options.BlockFiles.empty()) return "at least one capture block file is required";
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
  std::vector<std::string> blocks;
  if (const std::string error = ReadBlockFiles(options.BlockFiles, blocks); !error.empty()) {
    err << "tavrix-spectrum: " << error << "\n";
    return 1;
  }
  const LiveSpectrum live = ProcessBlocks(blocks, options.WindowSpectrum, options.PeakHold, options.VideoAverage);
  return WritePlotPng(live, options.Png, options.Width, options.Height, options.Scale, options.Palette, out, err);
}

}  // namespace tavrix
