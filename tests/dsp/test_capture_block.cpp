// Capture blocks: the fixtures field by field, and the shapes a unit or a broken link can produce.
#include <QtTest>

#include <memory>
#include <string>

#include "dsp/capture_block.h"
#include "test_support.h"

using namespace tavrix;
using namespace tavrix::testing;

namespace {

// An 8224-byte block with the given header and every I and Q byte set.
QByteArray MakeBlock(uint32_t center, uint16_t rate, char iByte, char qByte) {
  QByteArray header(30, '\0');
  for (int k = 0; k < 4; ++k) header[2 + k] = static_cast<char>(center >> (24 - 8 * k));
  header[0] = 0x12, header[1] = 0x34, header[6] = static_cast<char>(rate >> 8), header[7] = static_cast<char>(rate);
  return header + QByteArray(kSampleCount, iByte) + QByteArray(kSampleCount, qByte) + QByteArray(2, '\0');
}

// Parsed into fields that held another block: nothing of the earlier one may survive.
CaptureFields Reparsed(const QByteArray& block) {
  CaptureFields f = ParseBlock(MakeBlock(1000000, 5, 0x7E, '\x81').toStdString());
  ParseBlock(std::string_view(block.constData(), static_cast<size_t>(block.size())), f);
  return f;
}

}  // namespace

class CaptureBlockTest : public QObject {
  Q_OBJECT

 private slots:
  void fixtureFields_data() {
    QTest::addColumn<QString>("name");
    for (const QString& name : FixtureBlockNames()) QTest::newRow(qPrintable(name)) << name;
  }

  // Every byte value is in the noise block: the samples check the 255.5 offset of the negative half.
  void fixtureFields() {
    QFETCH(QString, name);
    const QJsonObject e = ReadJson("expected/" + name + ".json")["parse"].toObject();
    const CaptureFields f = Reparsed(QByteArray::fromStdString(ReadBytes("blocks/" + name + ".bin")));
    QJsonArray captions, sampleI, sampleQ;
    for (const std::string& c : f.SpanCaptions) captions.append(QString::fromStdString(c));
    for (int k = 0; k < kSampleCount; ++k) sampleI.append(f.SampleI[k]), sampleQ.append(f.SampleQ[k]);
    const QJsonObject ours{
        {"LeadWord", f.LeadWord},   {"TrailerWord", f.TrailerWord}, {"RateExponentRaw", f.RateExponentRaw},
        {"RateExponent", f.RateExponent}, {"StaleRepair", f.StaleRepair}, {"CenterFreq", f.CenterFreq},
        {"RateDivisor", f.RateDivisor}, {"SampleRate", f.SampleRate}, {"FreqScale", f.FreqScale},
        {"FreqFormat", QString::fromStdString(f.FreqFormat)}, {"FreqLow", f.FreqLow}, {"FreqHigh", f.FreqHigh},
        {"BinStep", f.BinStep},     {"RateStep", f.RateStep},       {"SpanCaptions", captions},
        {"SampleI", sampleI},       {"SampleQ", sampleQ}};
    for (auto it = ours.begin(); it != ours.end(); ++it)
      QVERIFY2(*it == e[it.key()], qPrintable(it.key() + " is " + it->toVariant().toString()));
  }

  // The header (centre, trailer word, a repaired stale start), a telling sample and the last,
  // and what the rate exponent sets: rate, scale, format, the first and last span caption.
  void blockShapes_data() {
    QTest::addColumn<QByteArray>("block");
    QTest::addColumn<int>("at");
    QTest::addColumn<QString>("fields");
    QByteArray runOfSeven = MakeBlock(70000, 3, 0x05, '\xF0');
    runOfSeven[30 + 7] = 0x06;  // I byte 8 breaks the run; Q has eight
    // Missing bytes read as spaces, in the header words as in the samples.
    QTest::newRow("one byte") << QByteArray("\x7F") << 0
                              << "538976.288 7f20 stale (32,32) (32,32) 0.1220703125 x10000 ##0.0000000MHz";
    // The stale-start repair needs a run of eight in both channels.
    QTest::newRow("run of seven") << runOfSeven << 7 << "70.000 0000 (6,-15.5) (5,-15.5) 62.5 x10 ##0.0000MHz";
    // A longer block is read from its start; the trailer word is its own last two bytes.
    QTest::newRow("long, largest centre") << MakeBlock(0xFFFFFFFFu, 3, 3, 4) + QByteArray(5000, '\x09') + "\xAB\xCD"
                                          << 0 << "4294967.295 abcd stale (3,4) (3,4) 62.5 x10 ##0.0000MHz";
    for (const auto& [exponent, fields] :
         {std::pair(0, "500 x1 ##0.000MHz 0.0200MHz Span .. 25.0000MHz Span"),
          std::pair(6, "7.8125 x100 ##0.00000MHz 0.0002MHz Span .. 0.2500MHz Span"),
          std::pair(9, "0.9765625 x1000 ##0.000000MHz 0.0000MHz Span .. 0.0250MHz Span"),
          std::pair(13, "0.1220703125 x10000 ##0.0000000MHz 0.0000MHz Span .. 0.0025MHz Span")})  // clamped to 12
      QTest::newRow(qPrintable(QString("exponent %1").arg(exponent)))
          << MakeBlock(70000, static_cast<uint16_t>(exponent), 1, 2) << 0
          << QString("70.000 0000 stale (1,2) (1,2) ") + fields;
  }

  void blockShapes() {
    QFETCH(QByteArray, block);
    QFETCH(int, at);
    QFETCH(QString, fields);
    const CaptureFields f = Reparsed(block);
    const auto iq = [&](int k) { return QString("(%1,%2)").arg(f.SampleI[k]).arg(f.SampleQ[k]); };
    const QString ours = QString("%1 %2%3 %4 %5 %6 x%7 %8 %9 .. %10")
                             .arg(f.CenterFreq, 0, 'f', 3).arg(f.TrailerWord, 4, 16, QChar('0'))
                             .arg(f.StaleRepair ? " stale" : "", iq(at), iq(kSampleCount - 1))
                             .arg(f.SampleRate, 0, 'g', 12).arg(f.FreqScale)
                             .arg(QString::fromStdString(f.FreqFormat), QString::fromStdString(f.SpanCaptions[0]),
                                  QString::fromStdString(f.SpanCaptions[9]));
    QVERIFY2(ours.startsWith(fields), qPrintable(ours));
  }
};

std::unique_ptr<QObject> NewCaptureBlockTest() { return std::make_unique<CaptureBlockTest>(); }

#include "test_capture_block.moc"
