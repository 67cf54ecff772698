// Figures of recordings (not a test: it asserts nothing and only prints figures).
//
//   recording_probe size [N]     records N captures (default 200) of the simulated unit with
//                                the record command's own loop, then prints the bytes a
//                                capture takes, what a day at one capture every 3 s comes to,
//                                and the bound the samples' order-0 entropy puts on any
//                                coder that takes the sample bytes one at a time
//   recording_probe memory [N]   writes a recording of N captures (default 12,000), opens
//                                it for replay, makes its first pass holding a waterfall row
//                                of every capture, and prints the resident size
#include <QCoreApplication>
#include <QTemporaryDir>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>

#include "app/record_command.h"
#include "history/recording_writer.h"
#include "history/replay_timeline.h"
#include "history/waterfall_rows.h"
#include "link/simulator_process.h"

using namespace tavrix;
using namespace tavrix::history;

namespace {

constexpr double kCapturesADay = 86'400 / 3.0;

long ResidentKiB() {
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line))
    if (line.rfind("VmRSS:", 0) == 0) return std::strtol(line.c_str() + 6, nullptr, 10);
  return -1;
}

int Size(int count) {
  testing::SimulatorProcess sim({"--capture-pool", "64"});
  if (!sim.Started()) {
    std::fprintf(stderr, "the simulated unit did not start: %s\n", qPrintable(sim.ErrorText()));
    return 1;
  }
  QTemporaryDir folder;
  RecordOptions options;
  options.Modem = options.Name = sim.Address();
  options.OutFile = folder.filePath("size.tavrec").toStdString();
  options.EveryMs = 100;
  options.Count = count;
  options.RequestWaitMs = 0;
  options.Limits.releasePauseMs = 0;
  std::ostringstream out, err;
  if (RunRecord(options, out, err) != 0) {
    std::fprintf(stderr, "%s", err.str().c_str());
    return 1;
  }
  RecordingReader reader;
  reader.Open(options.OutFile);
  std::array<double, 256> counts{};
  double raw = 0, samples = 0;
  std::string block;
  for (size_t i = 0; i < reader.Count(); ++i) {
    if (!reader.Block(i, block)) continue;
    raw += double(block.size());
    for (size_t k = 30; k + 2 < block.size(); ++k, ++samples) ++counts[static_cast<unsigned char>(block[k])];
  }
  double entropy = 0;  // bits a sample byte
  for (const double c : counts)
    if (c > 0) entropy -= c / samples * std::log2(c / samples);
  const double captures = double(reader.Count());
  const double perCapture = double(reader.WholeBytes()) / captures;
  const double boundPerCapture = raw / captures - samples / captures * (1 - entropy / 8) + kRecordHeaderBytes;
  std::printf("captures %zu, raw %.0f bytes a capture, recorded %.0f bytes a capture (%.3f of raw)\n", reader.Count(),
              raw / captures, perCapture, perCapture / (raw / captures));
  std::printf("order-0 entropy of the sample bytes %.3f bits of 8: at best %.0f bytes a capture\n", entropy,
              boundPerCapture);
  std::printf("a day at one capture every 3 s: %.1f MB recorded, %.1f MB at that bound, %.1f MB raw\n",
              perCapture * kCapturesADay / 1e6, boundPerCapture * kCapturesADay / 1e6, raw / captures * kCapturesADay / 1e6);
  return 0;
}

std::string ReadCapture(int n) {
  QFile file(QStringLiteral(TAVRIX_SOURCE_DIR "/bench/data/capture_%1.bin").arg(n));
  if (!file.open(QIODevice::ReadOnly)) qFatal("missing bench/data/capture_%d.bin", n);
  return file.readAll().toStdString();
}

int Memory(size_t count) {
  QTemporaryDir folder;
  const std::string path = folder.filePath("memory.tavrec").toStdString();
  {
    const std::string blocks[] = {ReadCapture(1), ReadCapture(2), ReadCapture(3), ReadCapture(4)};
    RecordingWriter writer;
    writer.Open(path, {"probe", "127.0.0.1"});
    for (size_t i = 0; i < count; ++i) writer.Append(int64_t(i) * 3000, blocks[i % 4]);
  }
  const long before = ResidentKiB();
  ReplayTimeline timeline;
  timeline.Open(path);
  WaterfallRows rows;
  timeline.Scan(0, timeline.Count(), true, [&](size_t, int64_t timeMs, const LiveSpectrum& live) {
    rows.Add(MakeWaterfallRow(live.State.Traces, timeMs));
    return true;
  });
  const long after = ResidentKiB();
  std::printf("captures %zu, waterfall rows held %zu (at most %zu)\n", timeline.Count(), rows.Count(), rows.Capacity());
  std::printf("resident before opening %.1f MiB, with the recording open, its first pass made and its rows held "
              "%.1f MiB (target under 200 MiB: %s)\n",
              before / 1024.0, after / 1024.0, after < 200 * 1024 ? "met" : "MISSED");
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  QCoreApplication app(argc, argv);
  const std::string mode = argc > 1 ? argv[1] : "";
  const long n = argc > 2 ? std::strtol(argv[2], nullptr, 10) : 0;
  if (mode == "size") return Size(n > 0 ? int(n) : 200);
  if (mode == "memory") return Memory(n > 0 ? size_t(n) : 12'000);
  std::fprintf(stderr, "usage: recording_probe size [N] | memory [N]\n");
  return 2;
}
