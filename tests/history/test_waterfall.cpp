// The waterfall: a capture's row holds its levels in frequency order; a row added to the
// ring gives the picture a full redraw gives; a column shows the highest of its points;
// the colour limits and the time axis's labels.
#include <QtTest>

#include "app/export_command.h"
#include "history/waterfall_image.h"
#include "view/plot_renderer.h"
#include "test_support.h"

using namespace tavrix;
using namespace tavrix::history;
using namespace tavrix::testing;

namespace {

// A row of flat `floor` with `carrier` at the given points, 1 MHz apart from 100 MHz.
WaterfallRow Row(int64_t timeMs, uint8_t floor = 20, std::vector<int> carrier = {}) {
  WaterfallRow row{timeMs, 100, 1, std::vector<uint8_t>(kPointCount, floor)};
  for (const int p : carrier) row.Levels[static_cast<size_t>(p)] = 200;
  return row;
}

std::array<uint32_t, kWaterfallLevels> Grey() {
  std::array<uint32_t, kWaterfallLevels> colors{};
  for (uint32_t q = 0; q < colors.size(); ++q) colors[q] = 0xFF000000u | q << 16 | q << 8 | q;
  return colors;
}

}  // namespace

class WaterfallTest : public QObject {
  Q_OBJECT

 private slots:
  void aRowHoldsTheLevelsInFrequencyOrder() {
    const LiveSpectrum live = ProcessBlocks({ReadBytes("blocks/tone_bin0005.bin"), ReadBytes("blocks/noise_seed1234.bin")},
                                            true, false, false);
    const TraceSet& t = live.State.Traces;
    const WaterfallRow row = MakeWaterfallRow(t, 42);
    QCOMPARE(row.Levels.size(), size_t(kPointCount));
    QVERIFY(row.FrequencyStep > 0);
    for (size_t k = 0; k < kPointCount; ++k) {
      const long at = std::lround((t.FreqPoints[k].Current - row.FirstFrequency) / row.FrequencyStep);
      QVERIFY2(at >= 0 && at < kPointCount, qPrintable(QString::number(k)));
      const double level = row.Levels[size_t(at)] * kWaterfallLevelStep;
      QVERIFY2(std::abs(level - t.AmpPoints[k].Current) <= kWaterfallLevelStep / 2 + 1e-6, qPrintable(QString::number(k)));
    }
    // The previous trace is another capture's.
    QVERIFY(MakeWaterfallRow(t, 42, kPreviousTrace).Levels != row.Levels);
  }

  void addingRowsGivesThePictureOfARedraw_data() {
    QTest::addColumn<QSize>("size");
    QTest::addColumn<double>("ratio");
    QTest::addColumn<int>("rowHeight");
    QTest::newRow("a line a row") << QSize(64, 40) << 1.0 << 1;
    QTest::newRow("ratio 2") << QSize(64, 40) << 2.0 << 1;
    QTest::newRow("rows cut by the bottom") << QSize(64, 41) << 1.0 << 3;
  }
  void addingRowsGivesThePictureOfARedraw() {
    QFETCH(QSize, size);
    QFETCH(double, ratio);
    QFETCH(int, rowHeight);
    WaterfallRows rows;
    WaterfallImage added, redrawn;
    for (WaterfallImage* image : {&added, &redrawn}) {
      image->SetColors(Grey(), 0xFF0000FFu);
      image->SetGeometry(size, ratio, rowHeight);
      image->SetView(100, kPointCount);
    }
    // More rows than are shown, so that the ring goes round; the band moves once.
    for (int n = 0; n < 3 * size.height(); ++n) {
      WaterfallRow row = Row(n, static_cast<uint8_t>(n), {n % kPointCount});
      if (n > size.height()) row.FirstFrequency = 90;
      rows.Add(row);
      added.AddRow(row);
    }
    redrawn.Rebuild(rows);
    QCOMPARE(added.Picture(), redrawn.Picture());
    const QImage picture = added.Picture();
    QCOMPARE(picture.size(), size * ratio);
    QCOMPARE(QColor(picture.pixel(picture.width() / 2, 0)).red(), (3 * size.height() - 1) % 256);  // the newest on top
  }

  void aColumnShowsTheHighestOfItsPoints_data() {
    QTest::addColumn<double>("left");
    QTest::addColumn<double>("width");
    QTest::addColumn<int>("blank");                // leading columns left in the background colour
    QTest::addColumn<QList<int>>("carrierColumns");  // of 16
    // 2048 points over 16 columns: 128 points each; a one-point carrier is never lost.
    QTest::newRow("whole band") << 100.0 << 2048.0 << 0 << QList<int>{0, 8};
    // Zoomed in on points 1020..1035: a point a column.
    QTest::newRow("zoomed in") << 1119.5 << 16.0 << 0 << QList<int>{4};
    // Half the view lies below the band: those columns stay blank.
    QTest::newRow("beyond the band") << 91.5 << 16.0 << 8 << QList<int>{8};
  }
  void aColumnShowsTheHighestOfItsPoints() {
    QFETCH(double, left);
    QFETCH(double, width);
    QFETCH(int, blank);
    QFETCH(QList<int>, carrierColumns);
    WaterfallImage image;
    image.SetColors(Grey(), 0xFF0000FFu);
    image.SetGeometry(QSize(16, 1), 1);
    image.SetView(left, width);
    image.AddRow(Row(0, 20, {0, 1024}));
    const QImage picture = image.Picture();
    for (int c = 0; c < 16; ++c) {
      const QRgb want = c < blank ? 0xFF0000FFu : Grey()[carrierColumns.contains(c) ? 200 : 20];
      QVERIFY2(picture.pixel(c, 0) == want, qPrintable(QString("column %1").arg(c)));
    }
  }

  void limitsAndColours() {
    WaterfallRows rows(10 * (sizeof(WaterfallRow) + kPointCount));
    QCOMPARE(rows.Capacity(), size_t(10));
    // A floor at 20 dB over most points and a carrier at 100 dB over a few.
    std::vector<int> carrier(60);
    std::iota(carrier.begin(), carrier.end(), 1000);
    for (int n = 0; n < 12; ++n) rows.Add(Row(n, 40, carrier));
    QCOMPARE(rows.Count(), size_t(10));
    QCOMPARE(rows.Newest(0).TimeMs, int64_t(11));
    const LevelLimits limits = AutomaticLimits(rows, 3);
    QCOMPARE(limits.Low, 20.0);
    QCOMPARE(limits.High, 100.0);
    // The ends of each map, and the perceptual map growing lighter all the way.
    const Palette palette = kDefaultPalettes[kViewingPalette];
    const auto mapped = LevelColors({10, 50}, ColorMap::Palette, palette);
    QCOMPARE(QColor(mapped[20]), ToColor(palette[kBackgroundColor]));
    QCOMPARE(QColor(mapped[100]), ToColor(palette[kSpectrumColor]));
    // Viridis runs from (68, 1, 84) to (253, 231, 37).
    const auto perceptual = LevelColors({0, 127.5}, ColorMap::Perceptual, palette);
    auto near = [](QRgb c, int r, int g, int b) { return std::abs(qRed(c) - r) + std::abs(qGreen(c) - g) + std::abs(qBlue(c) - b) <= 8; };
    QVERIFY(near(perceptual[0], 68, 1, 84) && near(perceptual[255], 253, 231, 37));
    for (size_t q = 8; q < perceptual.size(); q += 8)
      QVERIFY2(qGray(perceptual[q]) > qGray(perceptual[q - 8]), qPrintable(QString::number(q)));
  }

  void timeLabelsSitAtRoundTimes_data() {
    QTest::addColumn<int64_t>("everyMs");
    QTest::addColumn<int>("rows");
    QTest::addColumn<int>("gapAfter");        // a capture after which ten minutes pass; 0 for none
    QTest::addColumn<QStringList>("labels");  // "row:text", top down; the first capture at 06:00:00
    // At 3 s a row and labels at least 10 rows apart: every 30 s, with seconds.
    QTest::newRow("3 s captures") << int64_t(3000) << 40 << 0 << QStringList{"10:06:01:30", "20:06:01:00", "30:06:00:30"};
    // At a minute a row: every 10 minutes, without seconds.
    QTest::newRow("minute captures") << int64_t(60'000) << 30 << 0 << QStringList{"10:06:20", "20:06:10"};
    // A gap: labelled once, with the newest round time it holds; the label 5 rows below it is left out.
    QTest::newRow("gap") << int64_t(3000) << 200 << 85
                         << QStringList{"40:06:18", "80:06:16", "115:06:14", "160:06:02"};
  }
  void timeLabelsSitAtRoundTimes() {
    QFETCH(int64_t, everyMs);
    QFETCH(int, rows);
    QFETCH(int, gapAfter);
    QFETCH(QStringList, labels);
    WaterfallRows kept;
    for (int n = 0; n < rows; ++n)
      kept.Add(Row(1'764'050'400'000 + n * everyMs + (gapAfter > 0 && n >= gapAfter ? 600'000 : 0)));
    QStringList made;
    for (const TimeLabel& label : TimeLabels(kept, size_t(rows), 10))
      made << QString("%1:%2").arg(label.Row).arg(QString::fromStdString(label.Text));
    QCOMPARE(made, labels);
  }
};

std::unique_ptr<QObject> NewWaterfallTest() { return std::make_unique<WaterfallTest>(); }

#include "test_waterfall.moc"
