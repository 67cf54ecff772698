// The preset captions the user guide and the README quote are the ones the window shows:
// the span captions a capture's band gives, those before any capture, and the
// dB-per-division captions of the View menu and of the toolbar's drop-down.
#include <QFile>
#include <QRegularExpression>
#include <QTest>

#include <array>
#include <string>

#include "app/command_table.h"
#include "dsp/capture_block.h"

namespace tavrix {
namespace {

const QString kGuide = "docs/user-guide.md";

// A document with its runs of white space made single blanks, so a quoted phrase may wrap anywhere.
QString Document(const QString& relative) {
  QFile file(QStringLiteral(TAVRIX_SOURCE_DIR "/") + relative);
  if (!file.open(QIODevice::ReadOnly)) return {};
  return QString::fromUtf8(file.readAll()).replace(QRegularExpression("\\s+"), " ");
}

// The span captions of a 70 MHz capture (0x00011170 kHz) at a rate exponent; only the band the
// rate spans chooses the scale.
std::array<std::string, kSpanChoices> Spans(int rateExponent) {
  std::string block(kNominalBlockLength, '\0');
  block.replace(2, 6, std::string{0x00, 0x01, 0x11, 0x70, char(rateExponent >> 8), char(rateExponent & 0xFF)});
  return ParseBlock(block).SpanCaptions;
}

// "0.0020MHz Span" -> "0.0020".
QString Number(const std::string& caption) { return QString::fromStdString(caption.substr(0, caption.find("MHz"))); }
// A menu caption without its accelerator, up to `cut` when one is given.
QString Shown(const char* caption, const char* cut = nullptr) {
  const QString text = QString::fromLatin1(caption).remove('&');
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
    const auto c = Spans(3);
    const QString demoRange = Number(c[0]) + " to " + Number(c[9]) + " MHz";
    QTest::newRow("guide: View table") << kGuide << Number(c[0]) + "MHz ... " + QString::fromStdString(c[9]) +
                                                        " (the demo unit)";
    QTest::newRow("guide: demo band") << kGuide << demoRange + " for a band of 10 to 100 MHz";
    QTest::newRow("README: demo band") << "README.md" << demoRange + " on the demo unit's";
    QTest::newRow("guide: a demo preset's width")
        << kGuide << "\"" + QString::fromStdString(c[6]) + "\" on the demo unit shows " +
                         Number(c[6]).remove(QRegularExpression("0+$")) + " MHz";
    // Rate exponent 1 samples 150 MHz, 6 samples 4.7 MHz.
    for (const auto& [rate, band] : {std::pair{1, "100 MHz and more"}, std::pair{6, "1 to 10 MHz"}}) {
      const auto f = Spans(rate);
      QTest::newRow(band) << kGuide << Number(f[0]) + " to " + Number(f[9]) + " MHz for a band of " + band;
    }
    QTest::newRow("guide: before a capture")
        << kGuide << "the captions read " + Shown(kSpanCaptions[0], " Span") + " to " + Shown(kSpanCaptions[9], " Span");
    // The View menu's level presets, and the drop-down's without "dB".
    QTest::newRow("guide: dB per division")
        << kGuide << "dB per Division > " + Shown(kDBCaptions[0], " per") + " ... " + Shown(kDBCaptions[9]) +
                         " | Zoom by dB per Division (" + Shown(kDBperDivEntries[0].Text, " per") + " ... " +
                         Shown(kDBperDivEntries[9].Text) + ")";
  }

  void quotedCaptions() {
    QFETCH(QString, document);
    QFETCH(QString, phrase);
    QVERIFY2(Document(document).contains(phrase), qPrintable(document + " should say: " + phrase));
  }
};

}  // namespace tavrix

QTEST_APPLESS_MAIN(tavrix::GuideCaptions)
#include "test_guide_captions.moc"
