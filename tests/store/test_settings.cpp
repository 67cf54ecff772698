// The settings store, the text forms of its values and the viewer's settings table, all in
// a German locale, which must change nothing that is written or read.
#include <QDir>
#include <QFile>
#include <QLocale>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

#include <cerrno>
#include <clocale>
#include <cstring>
#include <limits>
#include <memory>

#include "store/settings_store.h"
#include "store/settings_text.h"
#include "store/viewer_settings.h"

using namespace tavrix;

namespace {

const std::string kHome = "/home/operator";

// Every stored field as text, numbers exact to the last bit, so that two settings compare key by key.
QStringList Fields(const ViewerSettings& s) {
  QStringList f = {QString::number(s.Window.State), QString::number(s.CurrentPalette),
                   QString::fromStdString(s.LastPath), QString::number(s.PointMoves)};
  for (double v : {s.Window.Left, s.Window.Top, s.Window.Width, s.Window.Height, double{s.Cursors[0].X},
                   double{s.Cursors[0].Y}, double{s.Cursors[1].X}, double{s.Cursors[1].Y}, double{s.PeakThreshold}})
    f << QString::number(v, 'g', 17);
  for (bool v : {s.SnapToPoint, s.WindowSpectrum, s.StopUpdates, s.SelectionPanelOn, s.CursorDisplay, s.CurrentTrace,
                 s.PeakHold, s.VideoAverage, s.LastTrace})
    f << (v ? "T" : "F");
  for (const Palette& palette : s.Palettes)
    for (const PaletteKey& key : kPaletteKeys) f << QString::number(palette[key.Field]);
  return f;
}

ViewerSettings Defaults() { ViewerSettings s; s.LastPath = kHome; return s; }

// A value other than the default in every stored field.
ViewerSettings NonDefaults() {
  ViewerSettings s;
  s.Window = {kWindowMaximized, -1234.5, static_cast<float>(1.0 / 3), 20000.25f, 1e-3f};
  for (int p = 0; p < 2; ++p)
    for (const PaletteKey& key : kPaletteKeys)
      s.Palettes[p][key.Field] = (kDefaultPalettes[p][key.Field] + 0x123457) & 0xFFFFFF;
  s.CurrentPalette = kPrintingPalette;
  s.LastPath = "/data/caps, \"2024\"; a\\b/Übersicht";
  s.SnapToPoint = s.WindowSpectrum = s.StopUpdates = s.SelectionPanelOn = s.CurrentTrace = false;
  s.CursorDisplay = s.PeakHold = s.VideoAverage = s.LastTrace = true;
  s.Cursors = {{{0.1f, std::numeric_limits<float>::denorm_min()}, {123456.789f, -0.0f}}};
  s.PointMoves = 0, s.PeakThreshold = -124.999f;
  return s;
}

template <typename T>
QString Shown(const std::optional<T>& value) {
  if (!value) return "-";
  if constexpr (std::is_floating_point_v<T>) return QString::number(*value, 'g', 9);
  return QString::number(*value);
}

}  // namespace

class SettingsTest : public QObject {
  Q_OBJECT

 private:
  QTemporaryDir dir_;
  QString Path() const { return dir_.filePath("Tavrix Spectrum Analyzer.conf"); }

 private slots:
  void initTestCase() { QLocale::setDefault(QLocale(QLocale::German)), std::setlocale(LC_ALL, "de_DE.UTF-8"); }
  void cleanupTestCase() { std::setlocale(LC_ALL, "C"), QLocale::setDefault(QLocale::c()); }
  void init() { QFile::remove(Path()), QFile::remove(Path() + ".bad"); }

  // Every field read back, written as the store goes; then a minimised window comes back normal and an
  // empty value as its default. The modem section is left as it was.
  void savedValuesReadBack() {
    const QStringList defaults = Fields(Defaults()), wanted = Fields(NonDefaults());
    for (qsizetype i = 0; i < wanted.size(); ++i) QVERIFY2(wanted[i] != defaults[i], qPrintable(wanted[i]));
    ViewerSettings saved = NonDefaults(), expected = saved;
    SettingsStore(Path()).SaveSetting("Tavrix Modems", "LastModem", "Unit 1");
    for (int round = 0; round < 2; ++round) {
      SaveViewerSettings(*std::make_unique<SettingsStore>(Path()), saved);
      SettingsStore store(Path());
      QVERIFY(store.SetAsideFile().isEmpty());  // quotes, ";" and "\\" in a value are no damage
      QCOMPARE(Fields(LoadViewerSettings(store, kHome)), Fields(expected));
      QCOMPARE(store.GetSetting("Tavrix Modems", "LastModem", ""), "Unit 1");
      saved.Window.State = kWindowMinimized, expected.Window.State = kWindowNormal;
      saved.LastPath.clear(), expected.LastPath = kHome;
    }
  }

  // Deleting a value leaves a subsection of the same name, and the other way round; an empty value reads as missing.
  void subsectionsAndDeletes() {
    const std::string modems = "Tavrix Modems", second = modems + "\\Modem2";
    SettingsStore store(Path());
    store.SaveSetting(modems + "\\Modem1", "ModemName", "Modem1");
    store.SaveSetting(second, "ModemName", "Modem2");
    store.SaveSetting(second, "IP_Address", "10.0.0.2");
    store.SaveSetting(modems, "Modem1", "kept");
    store.SaveSetting(modems, "LastModem", "");
    QCOMPARE(store.Subsections(modems), (std::vector<std::string>{"Modem1", "Modem2"}));
    store.DeleteKey(modems, "Modem1");
    store.DeleteSetting(second, "ModemName");
    store.DeleteSetting(modems, "Modem2");
    QVERIFY(store.Sync());
    SettingsStore again(Path());
    QCOMPARE(again.Subsections(modems), std::vector<std::string>{"Modem2"});
    QCOMPARE(again.GetSetting(second, "ModemName", "gone") + " " + again.GetSetting(second, "IP_Address", "") + " " +
                 again.GetSetting(modems, "Modem1", "") + " " + again.GetSetting(modems, "LastModem", "none"),
             "gone 10.0.0.2 kept none");
  }

  // What ReadBoolean, ReadInteger, ReadLong and ReadSingle give, "-" for nothing; halves round to even.
  void textReaders() {
    const std::pair<const char*, const char*> rows[] = {
        {"true", "1 - - -"}, {"FALSE", "0 - - -"}, {"yes", "- - - -"}, {"0", "0 0 0 0"}, {"-1", "1 -1 -1 -1"},
        {" 12\t", "1 12 12 12"}, {"+7", "1 7 7 7"}, {"1e3", "1 1000 1000 1000"}, {"3.6", "1 4 4 3.5999999"},
        {"2.5", "1 2 2 2.5"}, {"-3.5", "1 -4 -4 -3.5"}, {"-32769", "1 - -32769 -32769"},
        {"32767.5", "1 - 32768 32767.5"}, {"70000", "1 - 70000 70000"}, {"2147483648", "1 - - 2.14748365e+09"},
        {"1e39", "1 - - -"}, {"nan", "- - - -"}, {"inf", "- - - -"}, {"", "- - - -"}, {"12abc", "- - - -"},
        {"1,5", "- - - -"}};
    for (const auto& [text, readings] : rows)
      QCOMPARE(QStringList({Shown(ReadBoolean(text)), Shown(ReadInteger(text)), Shown(ReadLong(text)),
                            Shown(ReadSingle(text))}).join(' ') + " for '" + text + "'",
               QString(readings) + " for '" + text + "'");
  }

  // Written texts, and singles (9 significant digits) read back to the same bits.
  void textsRoundTrip() {
    using F = std::numeric_limits<float>;
    for (float v : {0.1f, 1.0f / 3, F::max(), F::lowest(), F::min(), F::denorm_min(), 1e30f}) {
      const std::optional<float> back = ReadSingle(SingleText(v));
      QVERIFY2(back && *back == v, SingleText(v).c_str());
    }
    const QDateTime when(QDate(2024, 2, 29), QTime(23, 59, 58, 999));
    QCOMPARE(SingleText(-1234.5f) + " " + SingleText(1.0f / 3) + " " + BooleanText(true) + " " + DateText(when),
             "-1234.5 0.333333343 True 2024-02-29T23:59:58");
    QCOMPARE(ReadBoolean(BooleanText(false)), std::optional<bool>(false));
    QCOMPARE(ReadDate(DateText(when)), std::optional<QDateTime>(when.addMSecs(-999)));
    QCOMPARE(ReadDate("29.02.2024"), std::nullopt);
  }

  // No file, an empty one and hand-damaged ones, none with the palette sections: the readable
  // values stay (WindowTop 5, SnapToPoint False), the others take their defaults, and the
  // store writes a clean file afterwards. `left` NaN: nothing to keep, every default.
  void damagedFiles() {
    const QByteArray window = "[WindowState]\nWindowTop=5\n", config = "[Configuration]\nSnapToPoint=False\n";
    QByteArray junk;
    for (uint32_t i = 0, x = 12345; i < 3000; ++i) junk.append(static_cast<char>((x = x * 1103515245 + 12345) >> 24));
    const struct { QByteArray content; bool setAside; double left; } rows[] = {  // content null: no file
        {QByteArray(), false, qQNaN()},  // first start
        {QByteArray(""), false, qQNaN()},  // empty file
        {window + "WindowState=7\nWindowLeft=abc\nWindowWidth=-5\nWindowHeight=nan\n" + config +  // unreadable values
             "CurrentPalette=2\nStopUpdates=maybe\nCursor1X=12abc\nPointMoves=x\nPeakThreshold=200\n"
             "ColorPalette0\\BackGroundColor=16777216\nColorPalette1\\SpectrumColor=-5\n",
         false, 0.0},
        {window + "WindowLeft=1e30\nWindowWidth=1e39\n" + config, false, double{1e30f}},  // huge geometry
        {window + "WindowLeft=5\xff\xfe\n" + config, false, 0.0},  // invalid UTF-8
        {window + QByteArray("\0\0\x01junk\0\n", 9) + config, true, 0.0},  // NUL bytes
        {window + QByteArray("\0\nStray=\"open\n", 14) + config, true, 0.0},  // open quote
        {window + junk + "\n" + config, true, 0.0},  // binary garbage
        {window + "[Configuration\nSnapToPoint=False\n", true, 0.0},  // broken section line
        {window + "[\nWindowLeft=3\nWindowTop=4\n" + config, true, 0.0},  // section line naming nothing
        {window + "Stray=\"open\n" + config, true, 0.0},  // unclosed quote
        {window + "; a \"remark that never closes\n" + config, false, 0.0},  // quote in a comment
        {"Stray=1\n" + window + "WindowLeft=@Invalid()\nStray=2\n[Junk]\nX=@Invalid()\n" + config, false,
         0.0},  // keys outside the table
        {QByteArray(4096, '\0'), true, qQNaN()},  // zeroed file
    };
    for (const auto& [content, setAside, left] : rows) {
      init();
      const QString bad = Path() + ".bad";
      for (const auto& [name, bytes] : {std::pair{Path(), content}, std::pair{bad, QByteArray("older")}}) {
        QFile file(name);
        if (!bytes.isNull()) QVERIFY(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
      }
      SettingsStore store(Path());
      QCOMPARE(store.SetAsideFile(), setAside ? bad : QString());
      QFile badFile(bad);
      QVERIFY(badFile.open(QIODevice::ReadOnly));
      QCOMPARE(badFile.readAll(), setAside ? content : QByteArray("older"));

      ViewerSettings expected = Defaults();
      if (!qIsNaN(left)) expected.Window = {kWindowNormal, left, 5, 11910, 5760}, expected.SnapToPoint = false;
      const ViewerSettings loaded = LoadViewerSettings(store, kHome);
      QCOMPARE(Fields(loaded), Fields(expected));
      SaveViewerSettings(store, loaded);
      QVERIFY(store.Sync());
      // Written back: the keys a clean file holds and nothing else, every one with a value.
      const QString clean = dir_.filePath("clean.conf");
      SaveViewerSettings(*std::make_unique<SettingsStore>(clean), Defaults());
      QCOMPARE(QSettings(Path(), QSettings::IniFormat).allKeys(), QSettings(clean, QSettings::IniFormat).allKeys());
      QFile written(Path());
      QVERIFY(written.open(QIODevice::ReadOnly) && !written.readAll().contains("@Invalid"));
      SettingsStore again(Path());
      QVERIFY(again.SetAsideFile().isEmpty());
      QCOMPARE(Fields(LoadViewerSettings(again, kHome)), Fields(expected));
    }
  }

  // A write that fails says why in the system's words and keeps the values; once the
  // cause is gone the next write works and says nothing.
  void failedWriteSaysWhy() {
    QTemporaryDir folder;
    const QString notAFolder = folder.filePath("home");
    QFile blocker(notAFolder);
    QVERIFY(blocker.open(QIODevice::WriteOnly));
    blocker.close();
    SettingsStore store(notAFolder + "/settings.conf");
    store.SaveSetting("Configuration", "LastPath", "/data");
    QVERIFY(!store.Sync());
    QVERIFY2(store.WriteError().contains(notAFolder) &&
                 store.WriteError().endsWith(": " + QString::fromLocal8Bit(std::strerror(ENOTDIR)) + "."),
             qPrintable(store.WriteError()));
    QVERIFY(QFile::remove(notAFolder) && QDir().mkdir(notAFolder));
    QVERIFY(store.Sync());
    QVERIFY(store.WriteError().isEmpty());
    QCOMPARE(SettingsStore(notAFolder + "/settings.conf").GetSetting("Configuration", "LastPath", ""), "/data");
  }
};

std::unique_ptr<QObject> NewSettingsTest() { return std::make_unique<SettingsTest>(); }

#include "test_settings.moc"
