// The modem directory without its dialogs: the address check, storing and removing
// entries with their questions, the recent list, and the directory's round trip
// through the settings store with the repairs made at load and save.
#include <QTemporaryDir>
#include <QtTest>
#include <memory>
#include <random>

#include "link/recording_notices.h"
#include "store/address_check.h"
#include "store/modem_directory.h"
#include "store/modem_editing.h"
#include "store/settings_store.h"

using namespace tavrix;

namespace {

// Answers an OK or Cancel question as it answers Yes or No.
class ScriptedNotices : public testing::RecordingNotices {
 public:
  MessageAnswer Ask(const std::string& text, const std::string& title, MessageButtons buttons,
                    MessageIcon icon) override {
    const MessageAnswer said = RecordingNotices::Ask(text, title, buttons, icon);
    if (buttons != MessageButtons::OkCancel) return said;
    return answer == MessageAnswer::Yes ? MessageAnswer::Ok : MessageAnswer::Cancel;
  }
};

const QDateTime kBase(QDate(2024, 3, 1), QTime(12, 0));
const QDateTime kNow = kBase.addDays(1);
// StoreModem on the entries A, B, C ("start"): the boxes, the answer to a question, the
// directory after, the title of the one box shown and the box the focus goes back to.
struct StoreCase {
  const char* tag;
  std::string edited, name, address;
  bool agree;
  const char *after, *title;
  ModemBox focus;
  std::string removed = "";
};
const QString kStart = "A=1#1; B=2#2; C=3#3";
const std::string kNew = kNewModemMarker;
const StoreCase kStoreCases[] = {
    {"new, boxes trimmed", kNew, " D ", " 10.0.0.4:21 ", true, "start; D=10.0.0.4:21#4+*", "", ModemBox::None},
    {"blank name", kNew, "  ", "1.2.3.4", true, "start", "Unnamed Modem", ModemBox::Name},
    {"marker as a name", kNew, kNew, "1.2.3.4", true, "start", "Unnamed Modem", ModemBox::Name},
    {"blank address", kNew, "D", " ", true, "start", "Missing IP Address", ModemBox::Address},
    {"address refused", "B", "B", "10.0.0.256", true, "start", "Invalid IP Address", ModemBox::Address},
    {"new, name taken, Cancel", kNew, "b", "9.9.9.9", false, "start", "OK to Overwrite", ModemBox::Name},
    {"new, name taken, OK", kNew, "b", "9.9.9.9", true, "A=1#1; b=9.9.9.9#2+*; C=3#3", "OK to Overwrite",
     ModemBox::None},
    {"address edited in place", "B", "B", "9.9.9.9", true, "A=1#1; B=9.9.9.9#2; C=3#3", "", ModemBox::None},
    {"renamed in place", "B", "Bee", "2.2.2.2", true, "A=1#1; Bee=2.2.2.2#2; C=3#3", "", ModemBox::None},
    {"renamed by case", "B", "b", "2.2.2.2", true, "A=1#1; b=2.2.2.2#2; C=3#3", "", ModemBox::None},
    {"renamed onto another, Cancel", "A", "c", "9.9.9.9", false, "start", "OK to Overwrite", ModemBox::Name},
    {"renamed onto another, OK", "A", "c", "9.9.9.9", true, "B=2#1; c=9.9.9.9#2+*", "OK to Overwrite", ModemBox::None,
     "A"},
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
    const std::string nines(40, '9'), eights(30, '8');
    const struct {
      std::string text;
      const char* refusal;  // nothing, or the message
    } cases[] = {
        {"0.0.0.0", nullptr},
        {" 7.x. 0.255", nullptr},  // blanks, and a section without digits counts as 0
        {"10.0.0.1:2121", nullptr},
        {"10.0.0.1:65535", nullptr},
        {"192.168.0.256", kAddressOutOfRange},
        {"1.2.3." + nines, kAddressOutOfRange},
        {"192.168.0", kAddressSectionCount},
        {"1.2.3.4.5", kAddressSectionCount},
        {"1.300", kAddressOutOfRange},  // out of range wins over the count
        {"10.0.0.1:", kAddressOutOfRange},
        {"10.0.0.1:0", kAddressOutOfRange},
        {"10.0.0.1:65536", kAddressOutOfRange},
        {"10.0.0.1:12ab", kAddressOutOfRange},
        {"10.0.0.1:" + eights, kAddressOutOfRange},
        {"1.2.3:80", kAddressSectionCount},
        {"1.2.3:0", kAddressOutOfRange},  // and so does a bad port
    };
    for (const auto& c : cases) {
      const std::optional<AddressRefusal> got = CheckModemAddress(c.text);
      const std::string said = got ? std::string(got->Title) + ": " + got->Text : "";
      QVERIFY2(said == (c.refusal ? std::string("Invalid IP Address: ") + c.refusal : ""), c.text.c_str());
    }
    // Any text at all is answered.
    std::mt19937 random(7);
    const std::string alphabet = "0123456789.: \tx";
    std::string text;
    for (int i = 0; i < 20000; ++i, text.clear()) {
      for (size_t length = random() % 40; text.size() < length;) text += alphabet[random() % alphabet.size()];
      CheckModemAddress(text);
    }
  }

  void storeModem_data() {
    QTest::addColumn<int>("row");
    for (size_t i = 0; i < std::size(kStoreCases); ++i) QTest::newRow(kStoreCases[i].tag) << int(i);
  }
  void storeModem() {
    QFETCH(int, row);
    const StoreCase& c = kStoreCases[row];
    static const QMap<QString, QString> texts = {
        {"Unnamed Modem", "You cannot add a modem without a name!"},
        {"Missing IP Address", "You cannot add a modem without an IP address!"},
        {"Invalid IP Address", kAddressOutOfRange},
        {"OK to Overwrite", "A modem already exists with this name!  Is it okay to overwrite the previous modem?"}};
    Modems modems = Directory("ABC");
    ScriptedNotices notices;
    notices.answer = c.agree ? MessageAnswer::Yes : MessageAnswer::No;
    const StoreOutcome outcome = StoreModem(modems, c.edited, c.name, c.address, kNow, notices);
    QCOMPARE(Describe(modems), QString(c.after).replace("start", kStart));
    QCOMPARE(outcome.Stored, c.focus == ModemBox::None);
    QVERIFY(outcome.Focus == c.focus);
    QCOMPARE(outcome.RemovedName, c.removed);
    if (outcome.Stored) QCOMPARE(QString::fromStdString(outcome.StoredName), QString::fromStdString(c.name).trimmed());
    const QString title = c.title;
    QCOMPARE(notices.boxes.size(), title.isEmpty() ? size_t(0) : size_t(1));
    if (title.isEmpty()) return;
    QCOMPARE(QString::fromStdString(notices.boxes[0].text), texts[title]);
    QCOMPARE(QString::fromStdString(notices.boxes[0].title), title);
    QVERIFY(notices.boxes[0].buttons == (title == "OK to Overwrite" ? MessageButtons::OkCancel : MessageButtons::Ok));
    QVERIFY(notices.boxes[0].icon == MessageIcon::Exclamation);
  }

  void removeModem_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("yes");
    QTest::addColumn<QString>("after");
    QTest::newRow("second of four") << "B" << true << "A=1#1; C=3#2; D=4#3";
    QTest::newRow("first of four") << "a" << true << "B=2#1; C=3#2; D=4#3";
    QTest::newRow("answered No") << "B" << false << "A=1#1; B=2#2; C=3#3; D=4#4";
  }
  void removeModem() {
    QFETCH(QString, name);
    QFETCH(bool, yes);
    QFETCH(QString, after);
    Modems modems = Directory("ABCD");
    ScriptedNotices notices;
    notices.answer = yes ? MessageAnswer::Yes : MessageAnswer::No;
    QCOMPARE(RemoveModem(modems, name.toStdString(), notices), yes);
    QCOMPARE(Describe(modems), after);
    QCOMPARE(modems.Exists(name.toStdString()), !yes);  // an unknown name is simply not there
    QCOMPARE(notices.boxes.size(), size_t(1));
    QCOMPARE(notices.boxes[0].text, "Are you sure you wish to remove " + name.toUpper().toStdString() + "?");
    QVERIFY(notices.boxes[0].title == "OK to Remove" && notices.boxes[0].buttons == MessageButtons::YesNo &&
            notices.boxes[0].icon == MessageIcon::Exclamation);
  }

  void recentList_data() {
    QTest::addColumn<QList<int>>("minutes");  // each entry's last communication after kBase; -1: never
    QTest::addColumn<QList<int>>("recent");   // places 1..10
    QTest::newRow("twelve: the ten newest, oldest first")
        << QList<int>{5, 3, 12, 1, 7, 9, 2, 11, 4, 10, 8, 6} << QList<int>{2, 9, 1, 12, 5, 11, 6, 10, 8, 3};
    QTest::newRow("equal times: the higher number newer")
        << QList<int>{0, 0, 0} << QList<int>{1, 2, 3, 0, 0, 0, 0, 0, 0, 0};
    QTest::newRow("never heard from is oldest") << QList<int>{-1, 0, -1} << QList<int>{1, 3, 2, 0, 0, 0, 0, 0, 0, 0};
    QTest::newRow("empty") << QList<int>{} << QList<int>(10, 0);
  }
  void recentList() {
    QFETCH(QList<int>, minutes);
    QFETCH(QList<int>, recent);
    Modems modems;
    for (int n = 1; n <= minutes.size(); ++n) {
      const int m = minutes[n - 1];
      modems.Add(0, n, m < 0 ? OldestTime() : kBase.addSecs(60 * m), false, "1.1.1.1", QString("U%1").arg(n).toStdString());
    }
    modems.SetRecent();
    QList<int> got;
    for (int place = 1; place <= kRecentPlaces; ++place) got << modems.GetRecent(place);
    QCOMPARE(got, recent);
    QCOMPARE(modems.GetRecent(0) + modems.GetRecent(kRecentPlaces + 1), 0);
    for (const Modem& m : modems) QCOMPARE(m.Recent, int(recent.indexOf(m.Index) + 1));
  }

  void loadRepairsTheStoredDirectory_data() {
    QTest::addColumn<QString>("count");
    QTest::addColumn<QString>("loaded");
    QTest::newRow("nameless and repeated names skipped") << "5" << "A=1#1; D=4#2; E=5#3";
    QTest::newRow("count below the entries") << "2" << "A=1#1";
    QTest::newRow("unreadable count") << "many" << "";
    QTest::newRow("negative count") << "-3" << "";
    QTest::newRow("huge count") << "2000000000" << "A=1#1; D=4#2; E=5#3";
  }
  void loadRepairsTheStoredDirectory() {
    QFETCH(QString, count);
    QFETCH(QString, loaded);
    QTemporaryDir folder;
    SettingsStore store(folder.filePath("settings.ini"));
    store.SaveSetting("Tavrix Modems", "ModemCount", count.toStdString());
    const char* names[] = {"A", "", "a", "D", "E"};
    for (int n = 1; n <= 5; ++n) {
      const std::string section = "Tavrix Modems\\Modem" + std::to_string(n);
      store.SaveSetting(section, "ModemName", names[n - 1]);
      store.SaveSetting(section, "IP_Address", std::to_string(n));
      store.SaveSetting(section, "LastCommunication", n == 4 ? "junk" : "2024-03-01T12:00:00");
    }
    const StoredDirectory stored = LoadModems(store);
    QCOMPARE(Describe(stored.Entries), loaded);
    if (const Modem* d = stored.Entries.Item("D")) QCOMPARE(d->LastComm, OldestTime());
    if (const Modem* a = stored.Entries.Item("A")) QCOMPARE(a->LastComm, kBase);
  }

  void saveAndLoadAgain() {
    QTemporaryDir folder;
    const QString file = folder.filePath("settings.ini");
    Modems modems = Directory("ABCDE");
    modems.Item("C")->LastComm = OldestTime();
    modems.Item("E")->LastComm = kNow;
    SaveModems(*std::make_unique<SettingsStore>(file), modems, "B");
    const StoredDirectory first = LoadModems(SettingsStore(file));
    QVERIFY(Describe(first.Entries) == Describe(modems) && first.LastModem == "B");
    for (const char* gone : {"B", "D", "A"}) RemoveAndRenumber(modems, gone);
    SettingsStore store(file);
    store.SaveSetting("Tavrix Modems\\Modem5", "Note", "x");  // a group above the count goes whole
    SaveModems(store, modems, "");
    QCOMPARE(store.Subsections("Tavrix Modems"), (std::vector<std::string>{"Modem1", "Modem2"}));
    const StoredDirectory stored = LoadModems(SettingsStore(file));
    QCOMPARE(Describe(stored.Entries), "C=3#1; E=5#2*");
    QCOMPARE(stored.Entries.Item("C")->LastComm, OldestTime());
    QCOMPARE(stored.LastModem, "");
    QCOMPARE(stored.Entries.GetRecent(2), 2);
  }
};

std::unique_ptr<QObject> NewModemsTest() { return std::make_unique<ModemsTest>(); }

#include "test_modems.moc"
