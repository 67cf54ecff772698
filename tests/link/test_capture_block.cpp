// Capture block parsing: the fixture blocks field by field, and the block shapes a unit
// or a broken link can produce (short, empty, long, stale start, clamped exponent).
#include <QtTest>

#include <memory>
#include <string>

#include "link/capture_block.h"
#include "test_support.h"

using namespace tavrix;
using namespace tavrix::testing;

namespace {

// An 8224-byte block with the given header and every I and Q byte set.
std::string MakeBlock(uint32_t center, uint16_t rate, uint8_t iByte, uint8_t qByte) {
  std::string b(kNominalBlockLength, '\0');
  b[0] = 0x12;
  b[1] = 0x34;
  for (int k = 0; k < 4; ++k) b[2 + k] = static_cast<char>(center >> (24 - 8 * k));
  b[6] = static_cast<char>(rate >> 8);
  b[7] = static_cast<char>(rate);
  for (int k = 0; k < kSampleCount; ++k) {
    b[30 + k] = static_cast<char>(iByte);
    b[30 + kSampleCount + k] = static_cast<char>(qByte);
  }
  return b;
}

}  // namespace

class CaptureBlockTest : public QObject {
  Q_OBJECT

 private slots:
  void fixtureFields_data() {
    QTest::addColumn<QString>("name");
    for (const QString& name : FixtureBlockNames()) QTest::newRow(qPrintable(name)) << name;
  }

  void fixtureFields() {
    QFETCH(QString, name);
    const QJsonObject expected = ReadJson("expected/" + name + ".json")["parse"].toObject();
    const CaptureFields f = ParseBlock(ReadBytes("blocks/" + name + ".bin"));

    QCOMPARE(f.LeadWord, expected["LeadWord"].toInt());
    QCOMPARE(f.TrailerWord, expected["TrailerWord"].toInt());
    QCOMPARE(f.RateExponentRaw, expected["RateExponentRaw"].toInt());
    QCOMPARE(f.RateExponent, expected["RateExponent"].toInt());
    QCOMPARE(f.StaleRepair, expected["StaleRepair"].toBool());
    QCOMPARE(f.CenterFreq, expected["CenterFreq"].toDouble());
    QCOMPARE(f.RateDivisor, expected["RateDivisor"].toDouble());
    QCOMPARE(f.SampleRate, expected["SampleRate"].toDouble());
    QCOMPARE(f.FreqScale, static_cast<float>(expected["FreqScale"].toDouble()));
    QCOMPARE(QString::fromStdString(f.FreqFormat), expected["FreqFormat"].toString());
    QCOMPARE(f.FreqLow, static_cast<float>(expected["FreqLow"].toDouble()));
    QCOMPARE(f.FreqHigh, static_cast<float>(expected["FreqHigh"].toDouble()));
    QCOMPARE(f.BinStep, expected["BinStep"].toDouble());
    QCOMPARE(f.RateStep, expected["RateStep"].toDouble());

    const QJsonArray captions = expected["SpanCaptions"].toArray();
    QCOMPARE(captions.size(), kSpanChoices);
    for (int i = 0; i < kSpanChoices; ++i) QCOMPARE(QString::fromStdString(f.SpanCaptions[i]), captions[i].toString());

    const QJsonArray sampleI = expected["SampleI"].toArray();
    const QJsonArray sampleQ = expected["SampleQ"].toArray();
    QCOMPARE(sampleI.size(), kSampleCount);
    QCOMPARE(sampleQ.size(), kSampleCount);
    for (int k = 0; k < kSampleCount; ++k) {
      if (f.SampleI[k] != static_cast<float>(sampleI[k].toDouble()) ||
          f.SampleQ[k] != static_cast<float>(sampleQ[k].toDouble()))
        QFAIL(qPrintable(QString("sample %1 differs").arg(k + 1)));
    }
  }

  void sampleBytesDecodeWithTheHalfUnitOffset() {
    // The negative half is b - 255.5: never -128, never -0.
    QCOMPARE(SampleValue(0x00), 0.0f);
    QCOMPARE(SampleValue(0x7F), 127.0f);
    QCOMPARE(SampleValue(0x80), -127.5f);
    QCOMPARE(SampleValue(0xFF), -0.5f);
    for (int b = 128; b < 256; ++b) QVERIFY(SampleValue(static_cast<uint8_t>(b)) < 0);

    for (uint8_t byte : {uint8_t(0x00), uint8_t(0x7F), uint8_t(0x80), uint8_t(0xFF)}) {
      const CaptureFields f = ParseBlock(MakeBlock(70000, 3, byte, byte));
      for (int k = 0; k < kSampleCount; ++k) {
        QCOMPARE(f.SampleI[k], SampleValue(byte));
        QCOMPARE(f.SampleQ[k], SampleValue(byte));
      }
    }
  }

  void rateExponentSetsRateSpanAndFormat_data() {
    QTest::addColumn<int>("exponent");
    QTest::addColumn<double>("rate");
    QTest::addColumn<float>("scale");
    QTest::addColumn<QString>("format");
    QTest::addColumn<QString>("firstCaption");
    QTest::addColumn<QString>("lastCaption");
    QTest::newRow("0") << 0 << 500.0 << 1.0f << "##0.000MHz" << "0.0200MHz Span" << "25.0000MHz Span";
    QTest::newRow("3") << 3 << 62.5 << 10.0f << "##0.0000MHz" << "0.0020MHz Span" << "2.5000MHz Span";
    QTest::newRow("6") << 6 << 7.8125 << 100.0f << "##0.00000MHz" << "0.0002MHz Span" << "0.2500MHz Span";
    QTest::newRow("9") << 9 << 0.9765625 << 1000.0f << "##0.000000MHz" << "0.0000MHz Span" << "0.0250MHz Span";
    QTest::newRow("12") << 12 << 0.1220703125 << 10000.0f << "##0.0000000MHz" << "0.0000MHz Span"
                        << "0.0025MHz Span";
    QTest::newRow("13 clamps") << 13 << 0.1220703125 << 10000.0f << "##0.0000000MHz" << "0.0000MHz Span"
                               << "0.0025MHz Span";
    QTest::newRow("0xFFFF clamps") << 0xFFFF << 0.1220703125 << 10000.0f << "##0.0000000MHz"
                                   << "0.0000MHz Span" << "0.0025MHz Span";
  }

  void rateExponentSetsRateSpanAndFormat() {
    QFETCH(int, exponent);
    QFETCH(double, rate);
    QFETCH(float, scale);
    QFETCH(QString, format);
    QFETCH(QString, firstCaption);
    QFETCH(QString, lastCaption);
    const CaptureFields f = ParseBlock(MakeBlock(70000, static_cast<uint16_t>(exponent), 1, 2));
    QCOMPARE(f.SampleRate, rate);
    QCOMPARE(f.RateStep, rate / 2048);
    QCOMPARE(f.FreqScale, scale);
    QCOMPARE(QString::fromStdString(f.FreqFormat), format);
    QCOMPARE(QString::fromStdString(f.SpanCaptions[0]), firstCaption);
    QCOMPARE(QString::fromStdString(f.SpanCaptions[9]), lastCaption);
    // The band is the central 60 % of the sampled band, in scaled units.
    QCOMPARE(f.FreqLow, static_cast<float>(static_cast<float>(70.0 - 0.3 * rate) * scale));
    QCOMPARE(f.FreqHigh, static_cast<float>(static_cast<float>(70.0 + 0.3 * rate) * scale));
  }

  void centreFrequencyIsBigEndianThousandths() {
    QCOMPARE(ParseBlock(MakeBlock(1000000, 3, 1, 1)).CenterFreq, 1000.0);
    QCOMPARE(ParseBlock(MakeBlock(0xFFFFFFFFu, 3, 1, 1)).CenterFreq, 4294967.295);
    QCOMPARE(ParseBlock(MakeBlock(0x01020304u, 3, 1, 1)).CenterFreq, 16909060 / 1000.0);
  }

  void staleStartRepairNeedsTheRunInBothChannels() {
    std::string both = MakeBlock(70000, 3, 0x05, 0xF0);
    both[30 + 8] = 0x11;                 // I byte 9
    both[30 + kSampleCount + 8] = 0x22;  // Q byte 9
    CaptureFields f = ParseBlock(both);
    QVERIFY(f.StaleRepair);
    QCOMPARE(f.SampleI[6], 5.0f);
    QCOMPARE(f.SampleI[7], 17.0f);  // byte 8 took byte 9
    QCOMPARE(f.SampleQ[7], 34.0f);
    QCOMPARE(f.SampleQ[6], SampleValue(0xF0));

    std::string onlyI = both;
    onlyI[30 + kSampleCount + 3] = 0x33;  // Q has no run of eight
    f = ParseBlock(onlyI);
    QVERIFY(!f.StaleRepair);
    QCOMPARE(f.SampleI[7], 5.0f);
    QCOMPARE(f.SampleQ[7], SampleValue(0xF0));

    std::string runOfSeven = both;
    runOfSeven[30 + 7] = 0x06;  // I byte 8 breaks its run
    QVERIFY(!ParseBlock(runOfSeven).StaleRepair);
  }

  void shortAndEmptyBlocksReadMissingBytesAsSpaces() {
    const CaptureFields empty = ParseBlock(std::string());
    QCOMPARE(empty.LeadWord, 0x2020);
    QCOMPARE(empty.TrailerWord, 0x2020);
    QCOMPARE(empty.CenterFreq, 0x20202020 / 1000.0);
    QCOMPARE(empty.RateExponentRaw, 0x2020);
    QCOMPARE(empty.RateExponent, 12);
    for (int k = 0; k < kSampleCount; ++k) QVERIFY(empty.SampleI[k] == 32.0f && empty.SampleQ[k] == 32.0f);

    // A block that ends inside the I region: what it holds is used, the rest is 32.
    std::string partial = MakeBlock(70000, 3, 0x01, 0x02).substr(0, 30 + 100);
    const CaptureFields f = ParseBlock(partial);
    QCOMPARE(f.CenterFreq, 70.0);
    QCOMPARE(f.SampleI[99], 1.0f);
    QCOMPARE(f.SampleI[100], 32.0f);
    QCOMPARE(f.SampleQ[0], 32.0f);
    QCOMPARE(f.TrailerWord, 0x0101);  // its own last two bytes

    const CaptureFields one = ParseBlock(std::string(1, '\x7F'));
    QCOMPARE(one.LeadWord, 0x7F20);
    QCOMPARE(one.TrailerWord, 0x7F20);
  }

  void longBlockUsesItsStartAndItsLastTwoBytes() {
    std::string longer = MakeBlock(70000, 3, 0x03, 0x04) + std::string(5000, '\x09');
    longer[longer.size() - 2] = '\xAB';
    longer[longer.size() - 1] = '\xCD';
    const CaptureFields f = ParseBlock(longer);
    QCOMPARE(f.TrailerWord, 0xABCD);
    QCOMPARE(f.SampleQ[kSampleCount - 1], 4.0f);
    QCOMPARE(f.SampleI[0], 3.0f);
  }

  void reparsingReplacesEveryField() {
    CaptureFields f = ParseBlock(MakeBlock(70000, 0, 0x10, 0x10));
    ParseBlock(MakeBlock(1000000, 12, 0x20, 0x30), f);
    QCOMPARE(f.CenterFreq, 1000.0);
    QCOMPARE(f.FreqScale, 10000.0f);
    QCOMPARE(f.SampleQ[5], 48.0f);
    QCOMPARE(QString::fromStdString(f.SpanCaptions[9]), QString("0.0025MHz Span"));
  }
};

std::unique_ptr<QObject> NewCaptureBlockTest() { return std::make_unique<CaptureBlockTest>(); }

#include "test_capture_block.moc"
