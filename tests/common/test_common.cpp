// Number text (the exported values), picture formats (the status and caption texts)
// and the file helpers that keep an export from ever half-replacing a file.
#include <QDir>
#include <QTemporaryDir>
#include <QtTest>

#include <clocale>
#include <limits>
#include <cstdio>
#include <cstring>
#include <random>

#include "common/file_io.h"
#include "common/number_text.h"
#include "common/picture_format.h"
#include "test_support.h"

using namespace tavrix;
using namespace tavrix::testing;

namespace {

std::string PrintfText(float value) {
  if (value == 0) return "0";  // printf writes "-0" for negative zero; the exports do not
  char buf[64];
  std::snprintf(buf, sizeof buf, "%.7G", static_cast<double>(value));
  return buf;
}

std::string Text(float value) { return NumberText(value); }

}  // namespace

class NumberTextTest : public QObject {
  Q_OBJECT

 private slots:
  void initTestCase() { std::setlocale(LC_NUMERIC, "C"); }

  void examplesOfTheFileFormat_data() {
    QTest::addColumn<float>("value");
    QTest::addColumn<QString>("text");
    QTest::newRow("whole") << 700.0f << "700";
    QTest::newRow("seven digits") << 700.1526f << "700.1526";
    QTest::newRow("negative half") << -127.5f << "-127.5";
    QTest::newRow("third") << (1.0f / 3.0f) << "0.3333333";
    QTest::newRow("largest fixed") << 1234567.0f << "1234567";
    QTest::newRow("exponent above") << 12345678.0f << "1.234568E+07";
    QTest::newRow("smallest fixed") << 0.0001f << "0.0001";
    QTest::newRow("exponent below") << 0.00001f << "1E-05";
    QTest::newRow("rounds up to a power of ten") << 9999999.5f << "1E+07";
    QTest::newRow("zero") << 0.0f << "0";
    QTest::newRow("negative zero") << -0.0f << "0";
    QTest::newRow("half") << 0.5f << "0.5";
    QTest::newRow("minus half") << -0.5f << "-0.5";
    QTest::newRow("big") << 5389762560.0f << "5.389763E+09";
    QTest::newRow("largest float") << 3.4028235e38f << "3.402823E+38";
    QTest::newRow("subnormal") << 1.4e-45f << "1.401298E-45";
  }

  void examplesOfTheFileFormat() {
    QFETCH(float, value);
    QFETCH(QString, text);
    QCOMPARE(QString::fromStdString(Text(value)), text);
  }

  void agreesWithPrintfOnRandomValues() {
    // Every float bit pattern class: random bits, and values the instrument produces
    // (levels, frequencies, samples, transform outputs).
    std::mt19937 rng(20261122);
    std::uniform_real_distribution<double> level(0.0, 160.0);
    std::uniform_real_distribution<double> wide(-2e6, 2e6);
    for (int n = 0; n < 400000; ++n) {
      float value;
      switch (n % 4) {
        case 0: {
          uint32_t bits = rng();
          std::memcpy(&value, &bits, sizeof value);
          if (value != value) continue;  // NaN has no single text
          break;
        }
        case 1: value = static_cast<float>(level(rng)); break;
        case 2: value = static_cast<float>(wide(rng)); break;
        default: value = static_cast<float>(static_cast<int>(rng() % 2000001) - 1000000) / 8.0f; break;
      }
      const std::string ours = Text(value);
      const std::string theirs = PrintfText(value);
      if (ours != theirs)
        QFAIL(qPrintable(QString("%1: %2 instead of %3").arg(double(value), 0, 'a').arg(ours.c_str(), theirs.c_str())));
    }
  }

  void powersOfTenAndTheirNeighbours() {
    // The decimal exponent estimate is one off next to powers of ten.
    for (int e = -40; e <= 38; ++e) {
      const float p = std::pow(10.0f, static_cast<float>(e));
      for (float v : {p, std::nextafter(p, 0.0f), std::nextafter(p, std::numeric_limits<float>::infinity())}) {
        if (Text(v) != PrintfText(v))
          QFAIL(qPrintable(QString("%1: %2 instead of %3").arg(double(v)).arg(Text(v).c_str(), PrintfText(v).c_str())));
      }
    }
  }

  void integers() {
    char buf[kMaxNumberText];
    QCOMPARE(std::string(buf, AppendInteger(buf, 0)), std::string("0"));
    QCOMPARE(std::string(buf, AppendInteger(buf, 2048)), std::string("2048"));
    QCOMPARE(std::string(buf, AppendInteger(buf, -2147483647 - 1)), std::string("-2147483648"));
    QCOMPARE(std::string(buf, AppendInteger(buf, 2147483647)), std::string("2147483647"));
  }
};

class PictureFormatTest : public QObject {
  Q_OBJECT

 private slots:
  void pictures_data() {
    QTest::addColumn<double>("value");
    QTest::addColumn<QString>("picture");
    QTest::addColumn<QString>("text");
    QTest::newRow("centre panel") << 7.0 << "#0.00000KHz" << "7.00000KHz";
    QTest::newRow("wide centre") << 53897.6288 << "#0.00000KHz" << "53897.62880KHz";
    QTest::newRow("rate panel") << 0.3125 << "##0.0000KHz" << "0.3125KHz";
    QTest::newRow("tiny rate") << 0.0000061 << "##0.0000KHz" << "0.0000KHz";
    QTest::newRow("span caption") << 0.002 << "#0.0000MHz Span" << "0.0020MHz Span";
    QTest::newRow("wide caption") << 25.0 << "#0.0000MHz Span" << "25.0000MHz Span";
    QTest::newRow("frequency") << 1234.56789 << "##0.000MHz" << "1234.568MHz";
    QTest::newRow("level") << 63.114 << "###0.00dB" << "63.11dB";
    QTest::newRow("negative") << -12.345 << "###0.00dB" << "-12.35dB";
    QTest::newRow("negative rounding to zero") << -0.001 << "###0.00dB" << "0.00dB";
    QTest::newRow("carry") << 9.99999 << "#0.00KHz" << "10.00KHz";
  }

  void pictures() {
    QFETCH(double, value);
    QFETCH(QString, picture);
    QFETCH(QString, text);
    QCOMPARE(QString::fromStdString(FormatPicture(value, picture.toStdString())), text);
  }
};

class FileIoTest : public QObject {
  Q_OBJECT

 private slots:
  void writeReplacesCompletelyAndLeavesNoTemporaries() {
    QTemporaryDir dir;
    const std::string path = QDir(dir.path()).filePath("set.txt").toStdString();
    QCOMPARE(WriteFileAtomically(path, "first version, longer"), std::string());
    QCOMPARE(WriteFileAtomically(path, "second"), std::string());
    std::string data;
    QCOMPARE(ReadFileCapped(path, 1000, data), std::string());
    QCOMPARE(data, std::string("second"));
    QCOMPARE(QDir(dir.path()).entryList(QDir::Files), QStringList{"set.txt"});
  }

  void writeFailuresAreReportedAndTouchNothing() {
    QTemporaryDir dir;
    const std::string missingFolder = QDir(dir.path()).filePath("no/such/folder/set.txt").toStdString();
    QVERIFY(!WriteFileAtomically(missingFolder, "x").empty());
    QVERIFY(!WriteFileAtomically(dir.path().toStdString(), "x").empty());  // a folder
    QVERIFY(!WriteFileAtomically("", "x").empty());
    QCOMPARE(QDir(dir.path()).entryList(QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot), QStringList());
  }

  void readIsCappedAndExplainsFailures() {
    QTemporaryDir dir;
    const std::string path = QDir(dir.path()).filePath("block.bin").toStdString();
    QCOMPARE(WriteFileAtomically(path, std::string(100, 'a')), std::string());
    std::string data;
    QCOMPARE(ReadFileCapped(path, 100, data), std::string());
    QCOMPARE(data.size(), size_t(100));
    QVERIFY(ReadFileCapped(path, 99, data).find("larger") != std::string::npos);
    QVERIFY(data.empty());
    QVERIFY(!ReadFileCapped(path + ".missing", 100, data).empty());
    QVERIFY(!ReadFileCapped(dir.path().toStdString(), 100, data).empty());
  }
};

int main(int argc, char** argv) {
  NumberTextTest numbers;
  PictureFormatTest pictures;
  FileIoTest files;
  return RunTestObjects(argc, argv, {&numbers, &pictures, &files});
}

#include "test_common.moc"
