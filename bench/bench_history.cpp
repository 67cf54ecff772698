// Capture history against one whole spectrum update (or its own floor), in one run:
// - one capture handed to the recorder (the caller's cost, what the window pays) and one
//   record written whole by the writer (compressed, written and flushed);
// - a 12,000-capture recording read end to end (index, decompression, 12,000 updates)
//   against a plain read of the same file plus the same 12,000 updates;
// - a seek to a random capture of that recording after its first pass (the capture shown
//   with every trace rebuilt), against one update and under 100 ms;
// - one waterfall row added to a 1920x1080 picture and the picture painted, against one
//   QPainter::drawImage of the same picture.
#include <QGuiApplication>
#include <QPainter>
#include <QTemporaryDir>

#include <chrono>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "history/recorder.h"
#include "history/replay_timeline.h"
#include "history/waterfall_image.h"
#include "ratio_reporter.h"
#include "whole_update.h"

namespace {

using namespace tavrix;
using namespace tavrix::history;

constexpr size_t kCaptures = 12'000;
const QSize k1080p(1920, 1080);

std::string ReadCapture(int n) {
  QFile file(QStringLiteral(TAVRIX_SOURCE_DIR "/bench/data/capture_%1.bin").arg(n));
  if (!file.open(QIODevice::ReadOnly)) qFatal("missing bench/data/capture_%d.bin", n);
  return file.readAll().toStdString();
}

// The simulated unit's captures, in turn.
const std::vector<std::string>& Blocks() {
  static const std::vector<std::string> blocks = {ReadCapture(1), ReadCapture(2), ReadCapture(3), ReadCapture(4)};
  return blocks;
}

// The update every benchmark here runs: the block parsed, then the whole update.
void Update(SpectrumState& state, VerticalWindow& vertical, std::string_view block) {
  ParseBlock(block, state.Capture);
  UpdateReport report = UpdateSpectrum(state, vertical, true);
  benchmark::DoNotOptimize(report);
}

SpectrumState FreshState() {
  SpectrumState state;
  state.Traces.TraceVisible = {true, true, true, true};
  return state;
}

QTemporaryDir& Folder() {
  static QTemporaryDir folder;
  return folder;
}

// A recording of 12,000 captures a few seconds apart, made once.
const std::string& Recording() {
  static const std::string path = [] {
    const std::string p = Folder().filePath("12000.tavrec").toStdString();
    RecordingWriter writer;
    if (!writer.Open(p, {"bench", "127.0.0.1"}).empty()) qFatal("cannot write the recording");
    for (size_t i = 0; i < kCaptures; ++i) writer.Append(int64_t(i) * 3000, Blocks()[i % Blocks().size()]);
    return p;
  }();
  return path;
}

void BM_WholeUpdate(benchmark::State& st) { bench::WholeUpdates(st); }
BENCHMARK(BM_WholeUpdate);

// What the caller pays: the capture handed over; the writing waits outside the timing.
void BM_RecorderAppend(benchmark::State& st) {
  Recorder recorder({true, Folder().filePath("recorder").toStdString(), uint64_t{1} << 40});
  int64_t time = 1'764'000'000'000;
  for (auto _ : st) {
    time += 3000;
    Capture capture{"bench", "127.0.0.1", time, Blocks()[size_t(time / 3000) % Blocks().size()]};
    const auto start = std::chrono::steady_clock::now();
    recorder.Append(std::move(capture));
    st.SetIterationTime(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    recorder.Flush();
  }
  if (!recorder.Recording()) st.SkipWithError(recorder.TakeFailure().c_str());
}
BENCHMARK(BM_RecorderAppend)->UseManualTime()->Iterations(20000);  // about 130 MB written

// The writer's whole cost of one record: compressed, written and flushed.
void BM_WriterAppend(benchmark::State& st) {
  const std::string path = Folder().filePath("writer.tavrec").toStdString();
  RecordingWriter writer;
  writer.Open(path, {"bench", "127.0.0.1"});
  int64_t n = 0;
  for (auto _ : st) {
    ++n;
    if (!writer.Append(n * 3000, Blocks()[size_t(n) % Blocks().size()]).empty()) st.SkipWithError("append failed");
    if (n % 4096 == 0) {  // the file is started again now and then, outside the timing
      st.PauseTiming();
      writer.Close();
      std::remove(path.c_str());
      writer.Open(path, {"bench", "127.0.0.1"});
      st.ResumeTiming();
    }
  }
}
BENCHMARK(BM_WriterAppend);

void BM_ReadRecording12000(benchmark::State& st) {
  const std::string& path = Recording();
  for (auto _ : st) {
    RecordingReader reader;
    if (!reader.Open(path).empty() || reader.Count() != kCaptures) st.SkipWithError("cannot read the recording");
    SpectrumState state = FreshState();
    VerticalWindow vertical;
    std::string block;
    for (size_t i = 0; i < reader.Count(); ++i)
      if (reader.Block(i, block)) Update(state, vertical, block);
  }
}
BENCHMARK(BM_ReadRecording12000)->Unit(benchmark::kMillisecond);

// The floor: the same file's bytes read plainly, and the same 12,000 updates.
void BM_PlainRead12000(benchmark::State& st) {
  const std::string& path = Recording();
  std::vector<char> chunk(1 << 20);
  for (auto _ : st) {
    std::FILE* file = std::fopen(path.c_str(), "rb");
    size_t bytes = 0;
    for (size_t n; (n = std::fread(chunk.data(), 1, chunk.size(), file)) > 0;) bytes += n;
    std::fclose(file);
    benchmark::DoNotOptimize(bytes);
    SpectrumState state = FreshState();
    VerticalWindow vertical;
    for (size_t i = 0; i < kCaptures; ++i) Update(state, vertical, Blocks()[i % Blocks().size()]);
  }
}
BENCHMARK(BM_PlainRead12000)->Unit(benchmark::kMillisecond);

// A capture shown from anywhere: the state before it rebuilt from the nearest checkpoint,
// then the capture itself processed.
void BM_SeekAfterFirstPass(benchmark::State& st) {
  static ReplayTimeline timeline;
  static const bool passed = [] {
    timeline.Open(Recording());
    timeline.Scan(0, timeline.Count(), true, [](size_t, int64_t, const LiveSpectrum&) { return true; });
    return true;
  }();
  benchmark::DoNotOptimize(passed);
  std::mt19937 random(5);
  std::string block;
  for (auto _ : st) {
    const size_t index = random() % timeline.Count();
    LiveSpectrum live;
    live.State = timeline.StateBefore(index, true);
    if (timeline.Block(index, block)) live.ProcessBlock(block, true);
    benchmark::DoNotOptimize(live.State.Traces.AmpPoints.data());
  }
}
BENCHMARK(BM_SeekAfterFirstPass)->Unit(benchmark::kMillisecond);

// A waterfall of 1080 rows of the simulated captures, full width.
struct Waterfall {
  WaterfallRows rows;
  WaterfallImage image;
  QImage target{k1080p, QImage::Format_ARGB32_Premultiplied};
  Waterfall() {
    SpectrumState state = FreshState();
    VerticalWindow vertical;
    for (int i = 0; i < k1080p.height(); ++i) {
      Update(state, vertical, Blocks()[size_t(i) % Blocks().size()]);
      rows.Add(MakeWaterfallRow(state.Traces, i * 3000));
    }
    image.SetColors(LevelColors({20, 80}, ColorMap::Perceptual, kDefaultPalettes[0]), 0xFF000000u);
    image.SetGeometry(k1080p, 1);
    const WaterfallRow& row = rows.Newest(0);
    image.SetView(row.FirstFrequency, row.FrequencyStep * (kPointCount - 1));
    image.Rebuild(rows);
  }
};

void BM_WaterfallRowAndPaint1080p(benchmark::State& st) {
  Waterfall w;
  size_t n = 0;
  for (auto _ : st) {
    w.image.AddRow(w.rows.Newest(n++ % w.rows.Count()));
    QPainter painter(&w.target);
    w.image.Paint(painter, QPointF(0, 0));
  }
}
BENCHMARK(BM_WaterfallRowAndPaint1080p)->Unit(benchmark::kMillisecond);

void BM_DrawImage1080p(benchmark::State& st) {
  Waterfall w;
  const QImage picture = w.image.Picture();
  for (auto _ : st) {
    QPainter painter(&w.target);
    painter.drawImage(QPointF(0, 0), picture);
  }
}
BENCHMARK(BM_DrawImage1080p)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  QGuiApplication app(argc, argv);
  return bench::RunAndPrintRatios(
      argc, argv,
      {{"one capture handed to the recorder / one spectrum update", "BM_RecorderAppend", "BM_WholeUpdate", 0.02},
       {"one record written whole (compressed, written, flushed) / one spectrum update", "BM_WriterAppend",
        "BM_WholeUpdate", 0},
       {"a seek to a random capture of 12,000 after the first pass / one spectrum update", "BM_SeekAfterFirstPass",
        "BM_WholeUpdate", 0, 100},
       {"12,000 captures read from a recording and updated / a plain read of the file and 12,000 updates",
        "BM_ReadRecording12000", "BM_PlainRead12000", 2},
       {"one waterfall row added and the 1920x1080 picture painted / one drawImage of it",
        "BM_WaterfallRowAndPaint1080p", "BM_DrawImage1080p", 1.5, 4}});
}
