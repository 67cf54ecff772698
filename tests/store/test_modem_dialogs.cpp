// The modem dialogs driven offscreen over a real directory, with scripted answers.
#include <QApplication>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QPushButton>
#include <QTimer>

#include "link/recording_notices.h"
#include "store/modem_properties_dialog.h"
#include "store/modem_select_dialog.h"
#include "test_support.h"

using namespace tavrix;

namespace {

const QDateTime kHeard(QDate(2024, 3, 1), QTime(6, 7, 8));
constexpr MessageAnswer kOk = MessageAnswer::Ok, kCancel = MessageAnswer::Cancel, kYes = MessageAnswer::Yes,
                        kNo = MessageAnswer::No;

// Logs each question's title in `said`, where the tests log what the dialogs do besides.
struct ScriptedNotices : testing::RecordingNotices {
  QStringList said;
  MessageAnswer Ask(const std::string& text, const std::string& title, MessageButtons b, MessageIcon i) override {
    return said << QString::fromStdString(title), RecordingNotices::Ask(text, title, b, i);
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

}  // namespace

class ModemDialogsTest : public QObject {
  Q_OBJECT

 private slots:
  // The boxes: name, address, status and last communication; the marker of a new entry is never shown.
  void propertiesFill() {
    const struct { QString edited; bool connected; QStringList boxes; } rows[] = {
        {kNewModemMarker, false, {"", "", "Not Connected", ""}},
        {"Alpha", true, {"Alpha", "10.0.0.1", "Connected", "2024-03-01 06:07:08"}},
        {"Beta", false, {"Beta", "10.0.0.2", "Not Connected", ""}}};
    for (const auto& [edited, connected, wanted] : rows) {
      Modems modems = Directory({"Alpha", "Beta"});
      ScriptedNotices notices;
      frmModem dialog(modems, edited.toStdString(), connected, notices);
      QStringList boxes;
      for (const QLineEdit* box : {dialog.txtModemName, dialog.txtIPA, dialog.txtStatus, dialog.txtLastComm})
        boxes << box->text();
      QCOMPARE(boxes, wanted);
      QCOMPARE(dialog.windowTitle() + " " + dialog.txtIPA->placeholderText(), "Tarvix Modem Properties 255.255.255.255");
    }
  }

  // A refusal keeps the dialog open, is asked once and puts the focus in the box at fault; leaving the address
  // box checks it, except towards Cancel or with nothing typed. The focus starts in the address box.
  void propertiesRefusals() {
    const QString refused = "192.168.0.256";
    const struct { QString action, name, address, said, focus; } rows[] = {  // action: "ok" or the box focused
        {"ok", "", refused, "Unnamed Modem", "txtModemName"},
        {"ok", "Gamma", " ", "Missing IP Address", "txtIPA"},
        {"ok", "Gamma", refused, "Invalid IP Address", "txtIPA"},
        {"ok", "alpha", "1.1.1.1", "OK to Overwrite", ""},  // answered Cancel; the focus not checked
        {"txtModemName", "", refused, "Invalid IP Address", "txtIPA"},
        {"cmdCancel", "", refused, "", "cmdCancel"},
        {"txtModemName", "", "", "", "txtModemName"},
        {"txtModemName", "", "0.0.0.0:21", "", "txtModemName"}};
    for (const auto& [action, name, address, said, focus] : rows) {
      Modems modems = Directory({"Alpha", "Beta"});
      const QStringList before = Contents(modems);
      ScriptedNotices notices;
      notices.answer = kCancel;
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
      QCOMPARE(notices.said.join("; "), said);
      if (!focus.isEmpty()) QCOMPARE(QApplication::focusWidget()->objectName(), focus);
      QCOMPARE(Contents(modems), before);
    }
  }

  // A command on Beta of Alpha, Beta, Gamma: what is asked and reported, in order, and the list after with its
  // selection. The properties hook logs whom it edits and stores `name` as OK would.
  void managerCommands() {
    // command: "add", "dclick" for Properties, "remove", "ok", "cancel"; name: typed into the properties, and
    // the selection after.
    const struct { QString command; MessageAnswer answer; QString name, said, list; } rows[] = {
        {"add", kOk, "Zeta", "edit <$$New Modem$$>; changed", "Alpha Beta Gamma Zeta"},
        {"dclick", kOk, "Zeta", "edit Beta; renamed Beta Zeta; changed", "Alpha Zeta Gamma"},
        {"dclick", kOk, "Beta", "edit Beta; changed", "Alpha Beta Gamma"},
        {"dclick", kOk, "Gamma", "edit Beta; OK to Overwrite; renamed Beta Gamma; removed Beta; changed",
         "Alpha Gamma"},
        {"remove", kYes, "Gamma", "OK to Remove; removed Beta; changed", "Alpha Gamma"},
        {"remove", kNo, "Beta", "OK to Remove", "Alpha Beta Gamma"},
        {"ok", kOk, "Beta", "accepted Beta", "Alpha Beta Gamma"},
        {"cancel", kOk, "Alpha", "rejected nothing", "Alpha Beta Gamma"}};
    for (const auto& [command, answer, name, said, wanted] : rows) {
      Modems modems = Directory({"Alpha", "Beta", "Gamma"});
      ScriptedNotices notices;
      notices.answer = answer;
      auto store = [&](const std::string& edited) {
        notices.said << "edit " + QString::fromStdString(edited);
        return StoreModem(modems, edited, name.toStdString(), "1.2.3.4", kHeard, notices);
      };
      frmModemSelect dialog(modems, notices, {nullptr, store});
      connect(&dialog, &frmModemSelect::modemRenamed,
              [&](const QString& from, const QString& to) { notices.said << "renamed " + from + " " + to; });
      connect(&dialog, &frmModemSelect::modemRemoved, [&](const QString& gone) { notices.said << "removed " + gone; });
      connect(&dialog, &frmModemSelect::directoryChanged, [&] { notices.said << "changed"; });
      connect(&dialog, &QDialog::finished, [&](int result) {
        notices.said << (result == QDialog::Accepted ? "accepted " : "rejected ") +
                            QString::fromStdString(dialog.Chosen().value_or("nothing"));
      });
      dialog.show();
      QVERIFY(QTest::qWaitForWindowExposed(&dialog));
      if (command == "add" || command == "cancel") {
        (command == "add" ? dialog.cmdAdd : dialog.cmdCancel)->click();
      } else if (command != "dclick") {
        dialog.listModems->setCurrentRow(1);
        (command == "ok" ? dialog.cmdOK : dialog.cmdRemove)->click();
      } else {
        const QRect item = dialog.listModems->visualItemRect(dialog.listModems->item(1));
        const QPoint at = dialog.listModems->viewport()->mapTo(&dialog, item.center());
        QTest::mouseDClick(dialog.windowHandle(), Qt::LeftButton, {}, at);
      }
      QCOMPARE(notices.said.join("; "), said);
      QStringList list;
      for (int i = 0; i < dialog.listModems->count(); ++i) list << dialog.listModems->item(i)->text();
      QCOMPARE(list.join(" "), wanted);
      QCOMPARE(dialog.listModems->currentItem()->text(), name);
    }
  }

  // Remove, Properties and OK do nothing without a selection, in a list with entries or
  // without; the captions, and the Edit menu popping up on a right click in the list.
  void managerWithoutSelectionCaptionsAndMenu() {
    for (const QStringList& names : {QStringList{"Alpha", "Beta"}, QStringList{}}) {
      Modems modems = Directory(names);
      ScriptedNotices notices;
      const auto none = [&](const std::string&) { notices.said << "Properties"; return StoreOutcome{}; };
      frmModemSelect dialog(modems, notices, {nullptr, none});
      dialog.listModems->clearSelection();
      dialog.cmdRemove_Click(), dialog.cmdProps_Click(), dialog.cmdOK_Click();
      QVERIFY(notices.said.isEmpty() && !dialog.Chosen() && dialog.result() != QDialog::Accepted);
      QCOMPARE(modems.Count(), int(names.size()));
      QStringList captions = {dialog.windowTitle(), dialog.mnuEdit->title()};
      for (const QAction* action : dialog.mnuEdit->actions())
        if (!action->isSeparator()) captions << action->text();
      for (const QPushButton* b : {dialog.cmdOK, dialog.cmdCancel, dialog.cmdAdd, dialog.cmdRemove, dialog.cmdProps})
        captions << b->text();
      QCOMPARE(captions.join("|"), "Select Modem|&Edit|&Add New Modem|&Remove Modem|&Edit Modem Properties|&Done|"
                                   "OK|Cancel|Add Modem|Remove Modem|Properties");
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
  }
};

TAVRIX_TEST_MAIN(QApplication, testing::Make<ModemDialogsTest>)

#include "test_modem_dialogs.moc"
