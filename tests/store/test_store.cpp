// The settings store, the text forms of its values and the viewer's settings table; the
// modem directory without its dialogs: the address check, storing and removing entries with
// their questions, the recent list, and the round trip through the settings store. All in a
// German locale, which must change nothing that is written or read.
#include <QtTest>  // with the whole of Qt Core

#include <cerrno>
#include <clocale>
#include <cstring>
#include <limits>
#include <memory>
#include <random>

#include "link/recording_notices.h"
#include "store/address_check.h"
#include "store/modem_directory.h"
#include "store/modem_editing.h"
#include "store/settings_store.h"
#include "store/settings_text.h"
#include "store/viewer_settings.h"
#include "test_support.h"

using namespace tavrix;

namespace {

const std::string kHome = "/home/operator";

// The measurement keys as text: noise band, limits ("-" when not set), then the switches.
QString Measurement(const MeasureSettings& m) {
  const auto number = [](std::optional<double> v) { return v ? QString::number(*v, 'g', 17) : QString("-"); };
  return QStringList({m.NoiseBand ? number((*m.NoiseBand)[0]) + ".." + number((*m.NoiseBand)[1]) : "-",
                      number(m.ChannelPowerLimit), number(m.CarrierToNoiseLimit),
                      QString("%1%2%3%4").arg(m.Average).arg(m.MeasurePanel).arg(m.PeakTable).arg(m.EventLog)})
      .join(' ');
}

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
  f << Measurement(s.Measure);
  const HistorySettings& h = s.History;
  f << QString::fromStdString(h.RecordingFolder) << QString::number(h.RecordingLimitMiB);
  for (bool v : {h.Recording, h.Waterfall, h.LevelStrips, h.PaletteColorMap, h.AutomaticLevels}) f << (v ? "T" : "F");
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
  s.Measure = {std::array<double, 2>{66.25, 67.3125}, -999.5, 17.25, true, true, true, true};
  s.History = {false, "/data/rec; \"x\"", 1, true, true, true, true};
  return s;
}

template <typename T>
QString Shown(const std::optional<T>& value) {
  if (!value) return "-";
  if constexpr (std::is_floating_point_v<T>) return QString::number(*value, 'g', 9);
  return QString::number(*value);
}

const QDateTime kBase(QDate(2024, 3, 1), QTime(12, 0));
const QDateTime kNow = kBase.addDays(1);
const std::string kNew = kNewModemMarker;
constexpr MessageAnswer kOk = MessageAnswer::Ok, kCancel = MessageAnswer::Cancel, kYes = MessageAnswer::Yes,
                        kNo = MessageAnswer::No;

// An edit of the entries A, B, C, D ("start"): StoreModem with the boxes, or RemoveModem of
// `name` when there is no address; the answer to the question, the directory after, the title
// of the one box shown, the box the focus goes back to and the entry removed by the edit.
struct EditCase {
  const char* tag;
  std::string edited, name;
  const char* address;
  MessageAnswer answer;
  const char *after, *title;
  ModemBox focus = ModemBox::None;
  std::string removed = "";
};
const EditCase kEdits[] = {
    {"new, boxes trimmed", kNew, " E ", " 10.0.0.4:21 ", kOk, "start; E=10.0.0.4:21#5+*", ""},
    {"blank name", kNew, "  ", "1.2.3.4", kOk, "start", "Unnamed Modem", ModemBox::Name},
    {"marker as a name", kNew, kNew, "1.2.3.4", kOk, "start", "Unnamed Modem", ModemBox::Name},
    {"blank address", kNew, "E", " ", kOk, "start", "Missing IP Address", ModemBox::Address},
    {"address refused", "B", "B", "10.0.0.256", kOk, "start", "Invalid IP Address", ModemBox::Address},
    {"new, name taken, Cancel", kNew, "b", "9.9.9.9", kCancel, "start", "OK to Overwrite", ModemBox::Name},
    {"new, name taken, OK", kNew, "b", "9.9.9.9", kOk, "A=1#1; b=9.9.9.9#2+*; C=3#3; D=4#4", "OK to Overwrite"},
    {"address edited in place", "B", "B", "9.9.9.9", kOk, "A=1#1; B=9.9.9.9#2; C=3#3; D=4#4", ""},
    {"renamed in place", "B", "Bee", "2.2.2.2", kOk, "A=1#1; Bee=2.2.2.2#2; C=3#3; D=4#4", ""},
    {"renamed by case", "B", "b", "2.2.2.2", kOk, "A=1#1; b=2.2.2.2#2; C=3#3; D=4#4", ""},
    {"renamed onto another, Cancel", "A", "c", "9.9.9.9", kCancel, "start", "OK to Overwrite", ModemBox::Name},
    {"renamed onto another, OK", "A", "c", "9.9.9.9", kOk, "B=2#1; c=9.9.9.9#2+*; D=4#3", "OK to Overwrite",
     ModemBox::None, "A"},
    {"remove second of four", "", "B", nullptr, kYes, "A=1#1; C=3#2; D=4#3", "OK to Remove"},
    {"remove first of four", "", "a", nullptr, kYes, "B=2#1; C=3#2; D=4#3", "OK to Remove"},
    {"remove answered No", "", "B", nullptr, kNo, "start", "OK to Remove"},
};

// Entries named by the letters, numbered in order, with addresses "1", "2"..., heard from at kBase.
Modems Directory(const QString& letters) {
  Modems modems;
  for (int n = 1; n <= letters.size(); ++n)
    modems.Add(0, n, kBase, false, std::to_string(n), QString(letters[n - 1]).toStdString());
  return modems;
}

// Name=address#Index, "+" when present, "*" when heard from now.
QString Describe(const Modems& modems) {
  QStringList entries;
  for (const Modem& m : modems)
    entries << QString::asprintf("%s=%s#%d%s%s", m.Name.c_str(), m.IP_Address.c_str(), m.Index, m.IsThere ? "+" : "",
                                 m.LastComm == kNow ? "*" : "");
  return entries.join("; ");
}

}  // namespace

class StoreTest : public QObject {
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

  // The measurement's numbers as stored by hand or damaged: a noise band needs both edges,
  // the lower first; a limit within 1000 dB. What cannot be read is not set.
  void measurementKeysReadRobustly() {
    const struct { const char *low, *high, *power, *cn, *read; } rows[] = {
        {"66.5", "67", "-12.5", " 20 ", "66.5..67 -12.5 20 0000"},
        {"67", "66.5", "1000.5", "nan", "- - - 0000"},       // reversed; out of range; not a number
        {"66.5", "", "1e3", "17,5", "- 1000 - 0000"},      // one edge; a comma is not a decimal point
        {"66.5", "66.5", "", "inf", "- - - 0000"},         // no width
    };
    for (const auto& r : rows) {
      SettingsStore store(Path());
      for (const auto& [key, text] : {std::pair{"NoiseBandLow", r.low}, {"NoiseBandHigh", r.high},
                                      {"ChannelPowerLimit", r.power}, {"CNLimit", r.cn}})
        store.SaveSetting("Measurement", key, text);
      QCOMPARE(Measurement(LoadViewerSettings(store, kHome).Measure), QString(r.read));
    }
    // A recording limit under 1 MiB keeps the default.
    for (const char* limit : {"0", "-5"}) {
      SettingsStore store(Path());
      store.SaveSetting("History", "RecordingLimitMiB", limit);
      QCOMPARE(LoadViewerSettings(store, kHome).History.RecordingLimitMiB, Defaults().History.RecordingLimitMiB);
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

  void addressCheck() {
    const char *ok = nullptr, *range = kAddressOutOfRange, *count = kAddressSectionCount, *v6 = kAddressIpv6Invalid,
               *brackets = kAddressIpv6Brackets;
    const std::string nines(40, '9'), eights(30, '8');
    const std::pair<std::string, const char*> cases[] = {
        {"0.0.0.0", ok}, {" 7.x. 0.255", ok},  // blanks, and a section without digits counts as 0
        {"10.0.0.1:2121", ok}, {"10.0.0.1:65535", ok}, {"192.168.0.256", range}, {"1.2.3." + nines, range},
        {"192.168.0", count}, {"1.2.3.4.5", count}, {"1.2.3:80", count},
        {"1.300", range}, {"1.2.3:0", range},  // out of range, of a section or the port, wins over the count
        {"10.0.0.1:", range}, {"10.0.0.1:0", range}, {"10.0.0.1:65536", range}, {"10.0.0.1:12ab", range},
        {"10.0.0.1:" + eights, range},
        // IPv6 in brackets, with the port rule of a dotted address
        {"[::1]", ok}, {"[fe80::1]:2121", ok}, {"[::ffff:10.0.0.1]:65535", ok}, {"[2001:db8::a:b:c:d:e]", ok},
        {"[::1]:", range}, {"[::1]:0", range}, {"[::1]:65536", range}, {"[::1]:" + eights, range},
        {"[::1", v6}, {"[]", v6}, {"[::g]", v6}, {"[1:2:3:4:5:6:7:8:9]", v6}, {"[10.0.0.1]", v6}, {"[::1]21", v6},
        {"[::1]]", v6}, {"[[::1]]", v6}, {"::1", brackets}, {"fe80::1", brackets}, {"::1:21", brackets},
        {"1::2.3.4:21", range}};  // not an IPv6 address: read as a dotted one
    for (const auto& [text, refusal] : cases) {
      const std::optional<AddressRefusal> got = CheckModemAddress(text);
      const std::string said = got ? std::string(got->Title) + ": " + got->Text : "";
      QVERIFY2(said == (refusal ? std::string("Invalid IP Address: ") + refusal : ""), text.c_str());
    }
    std::mt19937 random(7);  // any text at all is answered
    for (int i = 0; i < 20000; ++i) {
      std::string text(random() % 40, ' ');
      for (char& c : text) c = "0123456789.: \tx[]af"[random() % 19];
      CheckModemAddress(text);
    }
  }

  void edits_data() {
    QTest::addColumn<int>("row");
    for (size_t i = 0; i < std::size(kEdits); ++i) QTest::newRow(kEdits[i].tag) << int(i);
  }
  void edits() {
    QFETCH(int, row);
    const EditCase& c = kEdits[row];
    using B = MessageButtons;
    static const QMap<QString, std::pair<QString, B>> boxes = {
        {"Unnamed Modem", {"You cannot add a modem without a name!", B::Ok}},
        {"Missing IP Address", {"You cannot add a modem without an IP address!", B::Ok}},
        {"Invalid IP Address", {kAddressOutOfRange, B::Ok}},
        {"OK to Overwrite",
         {"A modem already exists with this name!  Is it okay to overwrite the previous modem?", B::OkCancel}},
        {"OK to Remove", {"Are you sure you wish to remove %1?", B::YesNo}}};
    Modems modems = Directory("ABCD");
    testing::RecordingNotices notices;
    notices.answer = c.answer;
    const bool changes = QString(c.after) != "start";
    if (c.address) {
      const StoreOutcome outcome = StoreModem(modems, c.edited, c.name, c.address, kNow, notices);
      QCOMPARE(outcome.Stored, changes);
      QVERIFY(outcome.Focus == c.focus);
      QCOMPARE(outcome.RemovedName, c.removed);
      QCOMPARE(outcome.StoredName, changes ? QString::fromStdString(c.name).trimmed().toStdString() : "");
    } else {
      QCOMPARE(RemoveModem(modems, c.name, notices), changes);
      QCOMPARE(modems.Exists(c.name), !changes);  // an unknown name is simply not there
    }
    QCOMPARE(Describe(modems), QString(c.after).replace("start", "A=1#1; B=2#2; C=3#3; D=4#4"));
    const QString title = c.title;
    QCOMPARE(notices.boxes.size(), title.isEmpty() ? size_t(0) : size_t(1));
    if (title.isEmpty()) return;
    const auto& box = notices.boxes[0];
    const auto& [text, buttons] = boxes[title];
    QCOMPARE(QString::fromStdString(box.title), title);
    QCOMPARE(QString::fromStdString(box.text), c.address ? text : text.arg(QString::fromStdString(c.name).toUpper()));
    QVERIFY(box.buttons == buttons && box.icon == MessageIcon::Exclamation);
  }

  // Each entry's last communication in minutes after kBase (-1: never), and places 1..10 of the recent list.
  void recentList() {
    const std::pair<QList<int>, QList<int>> cases[] = {
        {{5, 3, 12, 1, 7, 9, 2, 11, 4, 10, 8, 6}, {2, 9, 1, 12, 5, 11, 6, 10, 8, 3}},  // the ten newest, oldest first
        {{0, 0, 0}, {1, 2, 3}},                                                        // equal: the higher number newer
        {{-1, 0, -1}, {1, 3, 2}},                                                      // never heard from is oldest
        {{}, {}}};
    for (auto [minutes, recent] : cases) {
      Modems modems;
      for (int n = 1; n <= minutes.size(); ++n) {
        const int m = minutes[n - 1];
        modems.Add(0, n, m < 0 ? OldestTime() : kBase.addSecs(60 * m), false, "1.1.1.1", std::to_string(n));
      }
      modems.SetRecent();
      recent.resize(kRecentPlaces);  // the places after the last entry are empty
      QList<int> got;
      for (int place = 0; place <= kRecentPlaces + 1; ++place) got << modems.GetRecent(place);
      QCOMPARE(got, QList<int>{0} + recent + QList<int>{0});  // so are places 0 and 11
      for (const Modem& m : modems) QCOMPARE(m.Recent, int(recent.indexOf(m.Index) + 1));
    }
  }

  // Entries stored as A, (nameless), a, D (last communication unreadable), E, under each ModemCount;
  // a count that cannot be read is taken from the groups stored, up to the first gap, and said.
  void loadRepairsTheStoredDirectory() {
    QTemporaryDir folder;
    SettingsStore store(folder.filePath("settings.ini"));
    const char* names[] = {"A", "", "a", "D", "E"};
    for (int n = 1; n <= 5; ++n) {
      const std::string section = "Tavrix Modems\\Modem" + std::to_string(n);
      store.SaveSetting(section, "ModemName", names[n - 1]);
      store.SaveSetting(section, "IP_Address", std::to_string(n));
      store.SaveSetting(section, "LastCommunication", n == 4 ? "junk" : "2024-03-01T12:00:00");
    }
    store.SaveSetting("Tavrix Modems", "ModemCount", "5");
    const StoredDirectory first = LoadModems(store);
    QVERIFY(first.Entries.Item("A")->LastComm == kBase && first.Entries.Item("D")->LastComm == OldestTime());
    const QString all = "A=1#1; D=4#2; E=5#3";
    const std::pair<const char*, QString> cases[] = {
        {"5", all}, {"2", "A=1#1"}, {"0", ""}, {"2000000000", all}, {"", all + "!"}, {"many", all + "!"},
        {"-3", all + "!"}, {"gap", "A=1#1!"}};
    for (const auto& [count, loaded] : cases) {
      if (QString(count) == "gap") store.DeleteKey("Tavrix Modems", "Modem3");
      store.SaveSetting("Tavrix Modems", "ModemCount", count);
      const StoredDirectory stored = LoadModems(store);
      const QString repaired = QString::fromStdString(stored.CountRepairNotice);
      QVERIFY2(Describe(stored.Entries) + (repaired.isEmpty() ? "" : "!") == loaded, count);
      if (!repaired.isEmpty()) QVERIFY2(repaired.contains(QString(" %1 unit").arg(stored.Entries.Count())), count);
    }
    SettingsStore empty(folder.filePath("empty.ini"));  // a first start has nothing to repair
    QVERIFY(LoadModems(empty).CountRepairNotice.empty());
  }

  // A damaged file keeps every unit that can be read on its own through a load and a save;
  // the file is set aside when its text runs on, and what is written back reads cleanly.
  void damagedDirectoryKept() {
    const QByteArray units = "Modem1\\ModemName=U1\nModem1\\IP_Address=10.0.0.1\n"
                             "Modem2\\ModemName=U2\nModem2\\IP_Address=10.0.0.2\n";
    const QString both = "U1=10.0.0.1#1; U2=10.0.0.2#2";
    const struct { QByteArray content; bool setAside; QString kept; } rows[] = {
        {"[Tavrix%20Modems]\nModemCount=-5\nLastModem=U2\n" + units, false, both},  // negative count
        {"[Tavrix Modems]\nModemCount=two\nLastModem=U2\n" + units, false, both},    // unreadable count
        {"[Configuration]\nLastPath=\"/tmp/unterminated\n[Tavrix%20Modems]\nModemCount=2\nLastModem=U2\n" + units,
         true, both},  // an unclosed quote before the directory
        {"[Tavrix%20Modems]\nModemCount=2\nLastModem=U2\n" + QByteArray(units).replace("=U1", "=\"U1"), true,
         "U2=10.0.0.2#1"}};  // an unclosed quote in a unit
    for (const auto& [content, setAside, kept] : rows) {
      QTemporaryDir folder;
      const QString file = folder.filePath("settings.ini");
      QFile written(file);
      QVERIFY(written.open(QIODevice::WriteOnly) && written.write(content) == content.size());
      written.close();
      for (int round = 0; round < 2; ++round) {
        SettingsStore store(file);
        QCOMPARE(!store.SetAsideFile().isEmpty(), round == 0 && setAside);
        const StoredDirectory stored = LoadModems(store);
        QCOMPARE(Describe(stored.Entries), kept);
        QCOMPARE(stored.LastModem, "U2");
        QVERIFY(SaveModems(store, stored.Entries, stored.LastModem));
        QCOMPARE(store.GetSetting("Tavrix Modems", "ModemCount", ""), std::to_string(stored.Entries.Count()));
      }
      QCOMPARE(QFile::exists(file + ".bad"), setAside);
    }
  }

  void saveAndLoadAgain() {
    QTemporaryDir folder;
    const QString file = folder.filePath("settings.ini");
    Modems modems = Directory("ABCDE");
    modems.Item("C")->LastComm = OldestTime();
    modems.Item("E")->LastComm = kNow;
    SaveModems(*std::make_unique<SettingsStore>(file), modems, "B");  // written as the store goes
    const StoredDirectory first = LoadModems(SettingsStore(file));
    QVERIFY(Describe(first.Entries) == Describe(modems) && first.LastModem == "B");
    for (const char* gone : {"B", "D", "A"}) RemoveAndRenumber(modems, gone);
    SettingsStore store(file);
    store.SaveSetting("Tavrix Modems\\Modem5", "Note", "x");  // a group above the count goes whole
    SaveModems(store, modems, "");
    QCOMPARE(store.Subsections("Tavrix Modems"), (std::vector<std::string>{"Modem1", "Modem2"}));
    const StoredDirectory stored = LoadModems(SettingsStore(file));
    QCOMPARE(Describe(stored.Entries), "C=3#1; E=5#2*");
    QVERIFY(stored.LastModem.empty());
    QVERIFY(stored.Entries.Item("C")->LastComm == OldestTime() && stored.Entries.GetRecent(2) == 2);
  }
};

TAVRIX_TEST_MAIN(QCoreApplication, testing::Make<StoreTest>)

#include "test_store.moc"
