// The preset captions the user guide and the README quote are the ones the window shows:
// the span captions a capture's band gives, the captions before any capture, and the
// dB-per-division captions of the View menu and of the toolbar's drop-down.
#include <QFile>
#include <QRegularExpression>
#include <QString>
#include <QTest>

#include <string>

#include "app/command_table.h"
#include "link/capture_block.h"

namespace tavrix {
namespace {

// A document with its runs of blanks and line breaks made single blanks, so that a
// quoted phrase may wrap anywhere.
QString Document(const char* relative) {
  QFile file(QStringLiteral(TAVRIX_SOURCE_DIR "/") + QString::fromLatin1(relative));
  if (!file.open(QIODevice::ReadOnly)) return {};
  return QString::fromUtf8(file.readAll()).replace(QRegularExpression(QStringLiteral("\\s+")), QStringLiteral(" "));
}

// A capture block of nominal length whose header gives the rate exponent; the centre
// frequency does not choose the scale, only the band the rate spans.
std::string BlockWithRate(int rateExponent) {
  std::string block(kNominalBlockLength, '\0');
  block[2] = 0x00;  // 70 MHz, in kHz: 0x00011170
  block[3] = 0x01;
  block[4] = 0x11;
  block[5] = 0x70;
  block[6] = static_cast<char>(rateExponent >> 8);
  block[7] = static_cast<char>(rateExponent & 0xFF);
  return block;
}

// "0.0020MHz Span" -> "0.0020"; "0.0&2MHz Span" -> "0.02MHz".
QString Number(const std::string& caption) {
  return QString::fromStdString(caption.substr(0, caption.find("MHz")));
}
// A caption as the menu shows it, up to `cut` when one is given.
QString WithoutAccelerator(const char* caption, const char* cut = nullptr) {
  QString text = QString::fromLatin1(caption).remove(QLatin1Char('&'));
  return cut == nullptr ? text : text.left(text.indexOf(QLatin1String(cut)));
}

}  // namespace

class GuideCaptions : public QObject {
  Q_OBJECT

 private slots:
  void quotedCaptions_data() {
    QTest::addColumn<QString>("document");
    QTest::addColumn<QString>("phrase");

    // The demo unit samples 62.5 MHz (rate exponent 3): a 37.5 MHz band, scale 10.
    const CaptureFields demo = ParseBlock(BlockWithRate(3));
    const auto& c = demo.SpanCaptions;
    const QString demoRange = Number(c[0]) + " to " + Number(c[9]) + " MHz";
    QTest::newRow("guide: View table, demo unit")
        << "docs/user-guide.md"
        << Number(c[0]) + "MHz ... " + QString::fromStdString(c[9]) + " (the demo unit)";
    QTest::newRow("guide: demo band") << "docs/user-guide.md" << demoRange + " for a band of 10 to 100 MHz";
    QTest::newRow("README: demo band") << "README.md" << demoRange + " on the demo unit's";
    QTest::newRow("guide: a demo preset's width")
        << "docs/user-guide.md"
        << "\"" + QString::fromStdString(c[6]) + "\" on the demo unit shows " +
               Number(c[6]).remove(QRegularExpression(QStringLiteral("0+$"))) + " MHz";

    // A band of 100 MHz and more (rate exponent 1: 150 MHz), and of 1 to 10 MHz (6: 4.7 MHz).
    for (const auto& [rate, band] : {std::pair{1, "for a band of 100 MHz and more"},
                                     std::pair{6, "for a band of 1 to 10 MHz"}}) {
      const CaptureFields f = ParseBlock(BlockWithRate(rate));
      QTest::newRow(qPrintable(QString("guide: rate exponent %1").arg(rate)))
          << "docs/user-guide.md"
          << Number(f.SpanCaptions[0]) + " to " + Number(f.SpanCaptions[9]) + " MHz " + band;
    }

    // Before the first capture the menu shows its own captions.
    QTest::newRow("guide: before a capture")
        << "docs/user-guide.md"
        << "the captions read " + WithoutAccelerator(kSpanCaptions[0], " Span") + " to " +
               WithoutAccelerator(kSpanCaptions[9], " Span");

    // The level presets: the View menu's captions, the drop-down's without "dB".
    QTest::newRow("guide: dB per division")
        << "docs/user-guide.md"
        << "dB per Division > " + WithoutAccelerator(kDBCaptions[0], " per") + " ... " +
               WithoutAccelerator(kDBCaptions[9]) + " | Zoom by dB per Division (" +
               WithoutAccelerator(kDBperDivEntries[0].Text, " per") + " ... " +
               WithoutAccelerator(kDBperDivEntries[9].Text) + ")";
  }

  void quotedCaptions() {
    QFETCH(QString, document);
    QFETCH(QString, phrase);
    const QString text = Document(qPrintable(document));
    QVERIFY2(!text.isEmpty(), qPrintable(document + " could not be read"));
    QVERIFY2(text.contains(phrase), qPrintable(document + " should say: " + phrase));
  }
};

}  // namespace tavrix

QTEST_APPLESS_MAIN(tavrix::GuideCaptions)
#include "test_guide_captions.moc"
