// The history panels' models: where seeks, steps and the play clock land in a replay; the
// alarm periods and the zoomed time span of the level strips; the rows made from recordings
// on a thread of their own; the waterfall drawn from an older row.
#include <QTemporaryDir>
#include <QtTest>

#include <cmath>
#include <thread>

#include "app/export_command.h"
#include "history/history_fill.h"
#include "history/recording_writer.h"
#include "history/replay_player.h"
#include "history/waterfall_image.h"
#include "test_support.h"

using namespace tavrix;
using namespace tavrix::history;
using namespace tavrix::testing;

namespace {

// Captures 3 s apart with a ten-minute gap after the fourth.
const std::vector<int64_t> kTimes = {0, 3000, 6000, 9000, 609'000, 612'000};

// Takes what a fill makes until it is finished.
FillBatch TakeAll(HistoryFill& fill) {
  FillBatch all;
  for (bool finished = false; !finished;) {
    FillBatch batch = fill.Take();
    for (WaterfallRow& row : batch.Rows) all.Rows.push_back(std::move(row));
    all.RowCaptures.insert(all.RowCaptures.end(), batch.RowCaptures.begin(), batch.RowCaptures.end());
    all.Points.insert(all.Points.end(), batch.Points.begin(), batch.Points.end());
    all.Total = batch.Total;
    finished = batch.Finished;
    if (!finished) std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return all;
}

}  // namespace

class HistoryPanelsTest : public QObject {
  Q_OBJECT

 private slots:
  // Seeks and steps clamp to the recording; the clock plays at its speed, a long gap as one
  // usual interval, and stops at the last capture; playing from the last starts again.
  void replayLandsOnTheRightCapture() {
    ReplayPlayer player;
    player.Open(kTimes);
    for (const auto& [time, index] : {std::pair<int64_t, size_t>{-5, 0}, {3000, 1}, {5999, 1}, {609'000, 4}, {1'000'000, 5}})
      QCOMPARE(player.CaptureAt(time), index);
    const struct {
      const char* tag;
      size_t from;
      int step, speed;
      std::vector<int64_t> elapsed;
      size_t index;
      bool playing;
    } rows[] = {
        {"step back from the first", 0, -1, 1, {}, 0, false},
        {"step past the last", 2, 100, 1, {}, 5, false},
        {"1x, short of the next", 0, 0, 1, {2999}, 0, true},
        {"1x, at the next", 0, 0, 1, {1000, 2000}, 1, true},
        {"100x, two captures", 0, 0, 100, {60}, 2, true},
        {"gap, short of one interval", 3, 0, 100, {29}, 3, true},
        {"gap, played as one interval", 3, 0, 100, {30}, 4, true},
        {"1000x, to the end", 0, 0, 1000, {1000}, 5, false},
        {"from the last, again from the first", 5, 0, 1, {0}, 0, true},
    };
    for (const auto& r : rows) {
      player.SetIndex(r.from);
      player.Step(r.step);
      player.SetSpeed(r.speed);
      player.SetPlaying(!r.elapsed.empty());
      for (const int64_t ms : r.elapsed) player.Advance(ms);
      QVERIFY2(player.Index() == r.index && player.Playing() == r.playing, r.tag);
      QVERIFY2(player.Time() == kTimes[r.index], r.tag);
      player.SetPlaying(false);
    }
  }

  // Below the limit from the first capture under it to the next that is not; C/N below the
  // noise is under any limit; a capture without the figure ends a period.
  void alarmPeriods() {
    const float nan = std::nanf(""), below = -HUGE_VALF;
    const struct {
      const char* tag;
      std::vector<float> values;  // a capture a second
      std::vector<TimeRange> periods;
    } rows[] = {
        {"none", {12, 11, 10}, {}},
        {"ended by a capture above", {12, 9, 8, 11}, {{1000, 3000}}},
        {"lasting to the last", {12, 9, 8}, {{1000, 2000}}},
        {"ended by a capture without the figure", {9, nan, 9, below}, {{0, 1000}, {2000, 3000}}},
    };
    for (const auto& r : rows) {
      std::deque<StripPoint> points;
      for (const float v : r.values) points.push_back({int64_t(points.size()) * 1000, v, v});
      for (const int figure : {kChannelPowerStrip, kCarrierToNoiseStrip})
        QVERIFY2(AlarmPeriods(points, figure, 10) == r.periods, r.tag);
    }
  }

  // Zooming keeps the time under the pointer, never goes under the shortest span, and a
  // span that reaches the whole follows the whole again; panning stays within the whole.
  void timeSpanZoomsAndPans() {
    TimeSpan span;
    span.SetWhole(0, 600'000);
    span.Zoom(300'000, 0.5);
    QCOMPARE(span.Shown(), (TimeRange{150'000, 450'000}));
    span.Pan(-1'000'000);
    QCOMPARE(span.Shown(), (TimeRange{0, 300'000}));
    span.Zoom(0, 0.001);
    QCOMPARE(span.Shown(), (TimeRange{0, TimeSpan::kShortestSpanMs}));
    span.SetWhole(0, 900'000);  // a recording growing while zoomed keeps the span
    QCOMPARE(span.Shown(), (TimeRange{0, TimeSpan::kShortestSpanMs}));
    span.Zoom(0, 1000);
    QVERIFY(!span.Zoomed());
    QCOMPARE(span.Shown(), (TimeRange{0, 900'000}));
  }

  // The rows of two recording files, and those of a replay's first pass, are each capture's
  // current trace, in order, from the captures in the times asked for.
  void rowsFilledFromRecordings() {
    QTemporaryDir dir;
    std::vector<std::string> blocks, files;
    for (const char* name : {"all_00", "all_80", "center_000F4240", "noise_seed1234", "tone_bin0005", "rate_exp_0003"})
    blocks.push_back(ReadBytes(QString("blocks/%1.bin").arg(name)));
    for (int f = 0; f < 2; ++f) {
      files.push_back(dir.filePath(QString("%1.tavrec").arg(f)).toStdString());
      RecordingWriter writer;
      QCOMPARE(writer.Open(files.back(), {"unit", "10.0.0.1"}), std::string());
      for (size_t i = 0; i < 3; ++i) QCOMPARE(writer.Append(int64_t(f * 3 + i) * 3000, blocks[f * 3 + i]), std::string());
    }
    const auto rowOf = [&](size_t i) {
      return MakeWaterfallRow(ProcessBlocks({blocks[i]}, true, false, false).State.Traces, int64_t(i) * 3000);
    };
    HistoryFill fill;
    fill.Start(files, {true, true, StripBand{{}, {}}, 3000, 15'000});
    const FillBatch fromFiles = TakeAll(fill);
    QCOMPARE(fromFiles.Total, size_t(6));
    QCOMPARE(fromFiles.Rows.size(), size_t(4));
    QCOMPARE(fromFiles.Points.size(), size_t(4));
    QCOMPARE(fromFiles.RowCaptures, (std::vector<size_t>{1, 2, 0, 1}));
    for (size_t r = 0; r < 4; ++r) {
      QCOMPARE(fromFiles.Rows[r].TimeMs, rowOf(r + 1).TimeMs);
      QVERIFY2(fromFiles.Rows[r].Levels == rowOf(r + 1).Levels, qPrintable(QString::number(r)));
    }

    auto timeline = std::make_shared<ReplayTimeline>();
    QCOMPARE(timeline->Open(files[0]), std::string());
    fill.Start(timeline, {});
    const FillBatch firstPass = TakeAll(fill);
    QCOMPARE(firstPass.Rows.size(), size_t(3));
    QCOMPARE(fill.Reached(), size_t(3));
    for (size_t r = 0; r < 3; ++r) QVERIFY2(firstPass.Rows[r].Levels == rowOf(r).Levels, qPrintable(QString::number(r)));
  }

  // Drawn from an older row, the picture and its labels are those of the rows without the
  // newer ones.
  void drawnFromAnOlderRow() {
    WaterfallRows rows;
    for (int n = 0; n < 60; ++n) {
      WaterfallRow row{1'764'050'400'000 + n * 3000, 100, 1, std::vector<uint8_t>(kPointCount, uint8_t(n))};
      rows.Add(row);
    }
    std::array<uint32_t, kWaterfallLevels> grey{};
    for (uint32_t q = 0; q < grey.size(); ++q) grey[q] = 0xFF000000u | q << 16 | q << 8 | q;
    for (const size_t fromAge : {size_t(0), size_t(7), size_t(59), size_t(60), size_t(70)}) {
      WaterfallRows older;
      for (size_t age = rows.Count(); age-- > fromAge;) older.Add(rows.Newest(age));
      WaterfallImage from, plain;
      for (WaterfallImage* image : {&from, &plain}) {
        image->SetColors(grey, 0xFF0000FFu);
        image->SetGeometry(QSize(32, 40), 1);
        image->SetView(100, kPointCount);
      }
      from.Rebuild(rows, fromAge);
      plain.Rebuild(older);
      QVERIFY2(from.Picture() == plain.Picture(), qPrintable(QString::number(fromAge)));
      const auto labels = TimeLabels(rows, 40, 10, fromAge), wanted = TimeLabels(older, 40, 10);
      QCOMPARE(labels.size(), wanted.size());
      for (size_t i = 0; i < labels.size(); ++i)
        QVERIFY(labels[i].Row == wanted[i].Row && labels[i].Text == wanted[i].Text);
    }
  }
};

std::unique_ptr<QObject> NewHistoryPanelsTest() { return std::make_unique<HistoryPanelsTest>(); }

#include "test_history_panels.moc"
