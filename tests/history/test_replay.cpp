// Replay: the state before any capture of a recording, reached by any path of seeks, is the
// state the export command reaches over the same blocks; damaged records are passed over.
#include <QTemporaryDir>
#include <QtTest>

#include <random>
#include <thread>

#include "app/export_command.h"
#include "history/recording_writer.h"
#include "history/replay_timeline.h"
#include "test_support.h"

using namespace tavrix;
using namespace tavrix::history;
using namespace tavrix::testing;

namespace {

// Captures that differ from each other: the noise fixture with its samples stirred.
std::vector<std::string> Captures(size_t count) {
  const std::string base = ReadBytes("blocks/noise_seed1234.bin");
  std::mt19937 random(11);
  std::vector<std::string> blocks;
  for (size_t i = 0; i < count; ++i) {
    std::string block = base;
    for (size_t k = 30; k + 2 < block.size(); k += 1 + random() % 7) block[k] = static_cast<char>(random());
    blocks.push_back(block);
  }
  return blocks;
}

bool SameTraces(const SpectrumState& a, const SpectrumState& b) {
  auto same = [](const auto& x, const auto& y) {
    for (size_t i = 0; i < x.size(); ++i)
      for (int t = 0; t < kTraceCount; ++t)
        if (x[i][t] != y[i][t]) return false;
    return true;
  };
  return same(a.Traces.AmpPoints, b.Traces.AmpPoints) && same(a.Traces.FreqPoints, b.Traces.FreqPoints) &&
         a.Traces.PeakHoldCount == b.Traces.PeakHoldCount && a.Traces.VideoAverageCount == b.Traces.VideoAverageCount;
}

}  // namespace

class ReplayTest : public QObject {
  Q_OBJECT

 private slots:
  void seeksReachTheStateOfTheCapturesBefore() {
    QTemporaryDir dir;
    const std::string path = dir.filePath("r.tavrec").toStdString();
    const auto blocks = Captures(3 * kCheckpointEvery + 5);
    RecordingWriter writer;
    QCOMPARE(writer.Open(path, {"unit", "10.0.0.1"}), std::string());
    for (size_t i = 0; i < blocks.size(); ++i) QCOMPARE(writer.Append(int64_t(i) * 3000, blocks[i]), std::string());

    ReplayTimeline timeline;
    QCOMPARE(timeline.Open(path), std::string());
    QCOMPARE(timeline.Count(), blocks.size());
    // A first pass on another thread while seeks run here, as the window does it.
    size_t visited = 0;
    std::jthread pass([&] {  // joined however the checks below end
      timeline.Scan(0, blocks.size(), false, [&](size_t, int64_t, const LiveSpectrum&) { return ++visited, true; });
    });
    const size_t K = kCheckpointEvery;
    for (const size_t index : {size_t(0), size_t(1), K - 1, K, K + 1, 3 * K + 4, size_t(2), 2 * K + 3, 2 * K,
                               blocks.size(), size_t(5)}) {
      const LiveSpectrum reference = ProcessBlocks({blocks.begin(), blocks.begin() + index}, false, true, true);
      QVERIFY2(SameTraces(timeline.StateBefore(index, false), reference.State), std::to_string(index).c_str());
    }
    pass.join();
    QCOMPARE(visited, blocks.size());
    // The window switch changes every trace: the checkpoints start again with it.
    const LiveSpectrum windowed = ProcessBlocks({blocks.begin(), blocks.begin() + K + 2}, true, true, true);
    QVERIFY(SameTraces(timeline.StateBefore(K + 2, true), windowed.State));
    QVERIFY(!SameTraces(timeline.StateBefore(K + 2, false), windowed.State));
  }

  void damagedAndEmptyCapturesArePassedOver() {
    QTemporaryDir dir;
    const std::string path = dir.filePath("d.tavrec").toStdString();
    const auto blocks = Captures(6);
    RecordingWriter writer;
    QCOMPARE(writer.Open(path, {"unit", "10.0.0.1"}), std::string());
    for (size_t i = 0; i < blocks.size(); ++i) {
      QCOMPARE(writer.Append(int64_t(i), blocks[i]), std::string());
      if (i == 1) QCOMPARE(writer.Append(100, std::string()), std::string());
    }
    writer.Close();
    // Damage the payload of the fourth record (blocks[2]).
    std::string bytes = ReadWholeFile(path);
    RecordingReader reader;
    QCOMPARE(reader.Open(path), std::string());
    const auto& entry = reader.Entry(3);
    bytes[entry.Offset + kRecordHeaderBytes + entry.PayloadBytes / 2] ^= 0x10;
    QFile file(QString::fromStdString(path));
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(bytes.data(), qint64(bytes.size()));
    file.close();

    ReplayTimeline timeline;
    QCOMPARE(timeline.Open(path), std::string());
    QCOMPARE(timeline.Count(), size_t(7));
    std::string block;
    QVERIFY(!timeline.Block(3, block));
    const LiveSpectrum reference = ProcessBlocks({blocks[0], blocks[1], blocks[3], blocks[4]}, false, true, true);
    QVERIFY(SameTraces(timeline.StateBefore(6, false), reference.State));
    std::vector<size_t> visited;
    std::vector<int64_t> times;
    timeline.Scan(0, 7, false, [&](size_t index, int64_t timeMs, const LiveSpectrum&) {
      return visited.push_back(index), times.push_back(timeMs), true;
    });
    QCOMPARE(visited, (std::vector<size_t>{0, 1, 4, 5, 6}));
    QCOMPARE(times, (std::vector<int64_t>{0, 1, 3, 4, 5}));
  }
};

std::unique_ptr<QObject> NewReplayTest() { return std::make_unique<ReplayTest>(); }

#include "test_replay.moc"
