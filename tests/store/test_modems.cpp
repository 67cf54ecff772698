// The modem directory without its dialogs: the address check, storing and removing entries
// with their questions, the recent list, and the round trip through the settings store.
#include <QtTest>

#include <memory>
#include <random>

#include "link/recording_notices.h"
#include "store/address_check.h"
#include "store/modem_directory.h"
#include "store/modem_editing.h"
#include "store/settings_store.h"
#include "test_support.h"

using namespace tavrix;

namespace {

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

class ModemsTest : public QObject {
  Q_OBJECT

 private slots:
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

std::unique_ptr<QObject> NewSettingsTest();
TAVRIX_TEST_MAIN(QCoreApplication, NewSettingsTest, testing::Make<ModemsTest>)

#include "test_modems.moc"
