// The modem dialogs driven offscreen over a real directory, with scripted answers.
#include <QApplication>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QPushButton>
#include <QSignalSpy>
#include <QTimer>

#include "link/recording_notices.h"
#include "store/modem_properties_dialog.h"
#include "store/modem_select_dialog.h"
#include "test_support.h"

using namespace tavrix;

namespace {

const QDateTime kHeard(QDate(2024, 3, 1), QTime(6, 7, 8));

// Answers "OK to Overwrite" as told; everything else as the recording stand-in does.
struct ScriptedNotices : testing::RecordingNotices {
  MessageAnswer overwrite = MessageAnswer::Ok;
  MessageAnswer Ask(const std::string& text, const std::string& title, MessageButtons buttons,
                    MessageIcon icon) override {
    const MessageAnswer answer = RecordingNotices::Ask(text, title, buttons, icon);
    return buttons == MessageButtons::OkCancel ? overwrite : answer;
  }
};

// Alpha heard from at kHeard, the others never; addresses 10.0.0.<number>.
Modems Directory(const QStringList& names) {
  Modems modems;
  for (int i = 0; i < names.size(); ++i)
    modems.Add(0, i + 1, i == 0 ? kHeard : OldestTime(), false, "10.0.0." + std::to_string(i + 1),
               names[i].toStdString());
  return modems;
}

// Names, numbers and addresses in directory order.
QStringList Contents(const Modems& modems) {
  QStringList lines;
  for (const Modem& m : modems)
    lines << QStringLiteral("%1 %2 %3").arg(m.Index).arg(QString::fromStdString(m.Name), m.IP_Address.c_str());
  return lines;
}

QStringList ListTexts(const QListWidget* list) {
  QStringList texts;
  for (int i = 0; i < list->count(); ++i) texts << list->item(i)->text();
  return texts;
}

}  // namespace

class ModemDialogsTest : public QObject {
  Q_OBJECT

 private slots:
  void propertiesFill_data() {
    QTest::addColumn<QString>("edited");
    QTest::addColumn<bool>("connected");
    QTest::addColumn<QStringList>("boxes");  // name, address, status, last communication
    QTest::newRow("new") << kNewModemMarker << false << QStringList{"", "", "Not Connected", ""};
    QTest::newRow("connected") << "Alpha" << true
                               << QStringList{"Alpha", "10.0.0.1", "Connected", "2024-03-01 06:07:08"};
    QTest::newRow("never heard from") << "Beta" << false << QStringList{"Beta", "10.0.0.2", "Not Connected", ""};
  }
  void propertiesFill() {
    QFETCH(QString, edited);
    QFETCH(bool, connected);
    QFETCH(QStringList, boxes);
    Modems modems = Directory({"Alpha", "Beta"});
    ScriptedNotices notices;
    frmModem dialog(modems, edited.toStdString(), connected, notices);
    const QList<QLineEdit*> shown = {dialog.txtModemName, dialog.txtIPA, dialog.txtStatus, dialog.txtLastComm};
    for (int i = 0; i < shown.size(); ++i) QCOMPARE(shown[i]->text(), boxes[i]);
    QCOMPARE(dialog.txtIPA->placeholderText(), "255.255.255.255");
  }

  // A refusal keeps the dialog open, is asked once and puts the focus in the box at fault; leaving the address
  // box checks it, except towards Cancel or with nothing typed. The focus starts in the address box.
  void propertiesRefusals_data() {
    QTest::addColumn<QString>("action");  // "ok", or the box the focus moves to
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("address");
    QTest::addColumn<QString>("title");   // empty: nothing asked
    QTest::addColumn<QString>("focus");   // empty: not checked
    QTest::newRow("no name") << "ok" << "" << "192.168.0.256" << "Unnamed Modem" << "txtModemName";
    QTest::newRow("no address") << "ok" << "Gamma" << " " << "Missing IP Address" << "txtIPA";
    QTest::newRow("OK, out of range") << "ok" << "Gamma" << "192.168.0.256" << "Invalid IP Address" << "txtIPA";
    QTest::newRow("name taken, Cancel") << "ok" << "alpha" << "1.1.1.1" << "OK to Overwrite" << "";
    QTest::newRow("left, out of range") << "txtModemName" << "" << "192.168.0.256" << "Invalid IP Address" << "txtIPA";
    QTest::newRow("towards Cancel") << "cmdCancel" << "" << "192.168.0.256" << "" << "cmdCancel";
    QTest::newRow("left empty") << "txtModemName" << "" << "" << "" << "txtModemName";
    QTest::newRow("left with port") << "txtModemName" << "" << "0.0.0.0:21" << "" << "txtModemName";
  }
  void propertiesRefusals() {
    QFETCH(QString, action);
    QFETCH(QString, name);
    QFETCH(QString, address);
    QFETCH(QString, title);
    QFETCH(QString, focus);
    Modems modems = Directory({"Alpha", "Beta"});
    const QStringList before = Contents(modems);
    ScriptedNotices notices;
    notices.overwrite = MessageAnswer::Cancel;
    frmModem dialog(modems, kNewModemMarker, false, notices);
    dialog.show();
    QVERIFY(QTest::qWaitForWindowActive(&dialog));
    dialog.txtModemName->setText(name);
    dialog.txtIPA->setText(address);
    dialog.txtIPA->setFocus();
    if (action == "ok")
      dialog.cmdOK->click();
    else
      dialog.findChild<QWidget*>(action)->setFocus(Qt::TabFocusReason);
    QTest::qWait(20);
    QVERIFY(dialog.isVisible() && !dialog.Outcome().Stored);
    QCOMPARE(notices.boxes.size(), size_t(title.isEmpty() ? 0 : 1));
    if (!title.isEmpty()) QCOMPARE(QString::fromStdString(notices.boxes.back().title), title);
    if (!focus.isEmpty()) QCOMPARE(QApplication::focusWidget()->objectName(), focus);
    QCOMPARE(Contents(modems), before);
  }

  void managerRemove_data() {
    QTest::addColumn<MessageAnswer>("answer");
    QTest::addColumn<QStringList>("left");
    QTest::newRow("Yes") << MessageAnswer::Yes
                         << QStringList{"1 Alpha 10.0.0.1", "2 Gamma 10.0.0.3", "3 Delta 10.0.0.4"};
    QTest::newRow("No") << MessageAnswer::No
                        << QStringList{"1 Alpha 10.0.0.1", "2 Beta 10.0.0.2", "3 Gamma 10.0.0.3", "4 Delta 10.0.0.4"};
  }
  void managerRemove() {
    QFETCH(MessageAnswer, answer);
    QFETCH(QStringList, left);
    Modems modems = Directory({"Alpha", "Beta", "Gamma", "Delta"});
    ScriptedNotices notices;
    notices.answer = answer;
    frmModemSelect dialog(modems, notices, {});
    QCOMPARE(ListTexts(dialog.listModems), QStringList({"Alpha", "Beta", "Gamma", "Delta"}));
    QSignalSpy removed(&dialog, &frmModemSelect::modemRemoved);
    QSignalSpy changed(&dialog, &frmModemSelect::directoryChanged);
    dialog.listModems->setCurrentRow(1);
    dialog.cmdRemove->click();
    QCOMPARE(QString::fromStdString(notices.boxes.back().title), "OK to Remove");
    QCOMPARE(Contents(modems), left);
    QCOMPARE(dialog.listModems->count(), left.size());
    QCOMPARE(changed.count(), answer == MessageAnswer::Yes ? 1 : 0);
    if (answer == MessageAnswer::Yes) QCOMPARE(removed.value(0).value(0).toString(), "Beta");
    QVERIFY(dialog.listModems->currentItem() != nullptr);
  }

  // Remove, Properties and OK need a selection; OK chooses it, Cancel chooses nothing.
  void managerChoosing() {
    for (const QStringList& names : {QStringList{"Alpha", "Beta"}, QStringList{}}) {
      Modems modems = Directory(names);
      ScriptedNotices notices;
      int edits = 0;
      frmModemSelect dialog(modems, notices, {nullptr, [&](const std::string&) {
                                                ++edits;
                                                return StoreOutcome{};
                                              }});
      dialog.listModems->clearSelection();
      dialog.cmdRemove_Click();
      dialog.cmdProps_Click();
      dialog.cmdOK_Click();
      QVERIFY(notices.boxes.empty() && edits == 0 && !dialog.Chosen() && dialog.result() != QDialog::Accepted);
      QCOMPARE(modems.Count(), int(names.size()));
    }
    Modems modems = Directory({"Alpha", "Beta", "Gamma"});
    ScriptedNotices notices;
    frmModemSelect chosen(modems, notices, {}), cancelled(modems, notices, {});
    chosen.listModems->setCurrentRow(2);
    chosen.cmdOK->click();
    QCOMPARE(QString::fromStdString(chosen.Chosen().value_or("")), "Gamma");
    QCOMPARE(chosen.result(), int(QDialog::Accepted));
    cancelled.cmdCancel->click();
    QVERIFY(!cancelled.Chosen() && cancelled.result() == QDialog::Rejected);
  }

  // What the properties dialog stored comes back as signals and a new list (the hook stores as OK would).
  void managerEdits_data() {
    QTest::addColumn<bool>("add");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QStringList>("renamed");
    QTest::addColumn<QString>("removed");
    QTest::addColumn<QStringList>("list");
    QTest::newRow("rename") << false << "Zeta" << QStringList{"Beta", "Zeta"} << ""
                            << QStringList{"Alpha", "Zeta", "Gamma"};
    QTest::newRow("new address") << false << "Beta" << QStringList{} << "" << QStringList{"Alpha", "Beta", "Gamma"};
    QTest::newRow("onto another") << false << "Gamma" << QStringList{"Beta", "Gamma"} << "Beta"
                                  << QStringList{"Alpha", "Gamma"};
    QTest::newRow("add") << true << "Zeta" << QStringList{} << "" << QStringList{"Alpha", "Beta", "Gamma", "Zeta"};
  }
  void managerEdits() {
    QFETCH(bool, add);
    QFETCH(QString, name);
    QFETCH(QStringList, renamed);
    QFETCH(QString, removed);
    QFETCH(QStringList, list);
    Modems modems = Directory({"Alpha", "Beta", "Gamma"});
    ScriptedNotices notices;
    std::string edited;
    auto store = [&](const std::string& editedName) {
      edited = editedName;
      return StoreModem(modems, editedName, name.toStdString(), "1.2.3.4", kHeard, notices);
    };
    frmModemSelect dialog(modems, notices, {nullptr, store});
    QSignalSpy renames(&dialog, &frmModemSelect::modemRenamed);
    QSignalSpy removals(&dialog, &frmModemSelect::modemRemoved);
    QSignalSpy changes(&dialog, &frmModemSelect::directoryChanged);
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));
    if (add) {
      dialog.cmdAdd->click();
    } else {  // Properties by a double click on Beta
      const QRect item = dialog.listModems->visualItemRect(dialog.listModems->item(1));
      const QPoint at = dialog.listModems->viewport()->mapTo(&dialog, item.center());
      QTest::mouseDClick(dialog.windowHandle(), Qt::LeftButton, {}, at);
    }
    QCOMPARE(QString::fromStdString(edited), add ? kNewModemMarker : "Beta");
    QCOMPARE(renames.isEmpty() ? QStringList{} : QStringList({renames[0][0].toString(), renames[0][1].toString()}),
             renamed);
    QCOMPARE(removals.isEmpty() ? QString() : removals[0][0].toString(), removed);
    QCOMPARE(changes.count(), 1);
    QCOMPARE(ListTexts(dialog.listModems), list);
    QCOMPARE(dialog.listModems->currentItem()->text(), name);
  }

  void managerMenu() {
    Modems modems = Directory({"Alpha"});
    ScriptedNotices notices;
    frmModemSelect dialog(modems, notices, {});
    QCOMPARE(dialog.mnuEdit->title(), "&Edit");
    QStringList captions;
    for (const QAction* action : dialog.mnuEdit->actions())
      if (!action->isSeparator()) captions << action->text();
    QCOMPARE(captions, QStringList({"&Add New Modem", "&Remove Modem", "&Edit Modem Properties", "&Done"}));
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));
    bool shown = false;
    QTimer::singleShot(50, &dialog, [&] {
      shown = QApplication::activePopupWidget() == dialog.mnuEdit;
      dialog.mnuEdit->close();
    });
    // Through the window, as the platform delivers it, so that the press becomes a context menu request.
    QTest::mousePress(dialog.windowHandle(), Qt::RightButton, {}, dialog.listModems->mapTo(&dialog, QPoint(8, 8)));
    QVERIFY(shown);
  }
};

int main(int argc, char** argv) {
  ModemDialogsTest dialogs;
  return testing::RunTestObjects<QApplication>(argc, argv, {&dialogs});
}

#include "test_modem_dialogs.moc"
