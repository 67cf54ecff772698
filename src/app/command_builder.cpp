#include "app/command_builder.h"

#include <QAction>
#include <QComboBox>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QSignalBlocker>
#include <QToolBar>
#include <QToolButton>

#include <span>

#include "app/project_icons.h"
#include "app/window_text.h"

namespace tavrix {

namespace {

constexpr size_t Place(Command c) { return static_cast<size_t>(c); }

// The drop-down buttons, in the order of CommandSet's drop-downs.
constexpr std::array<Command, 3> kDropDownButtons = {Command::Export, Command::DBperDiv, Command::FSpan};

// A drop-down button's entries.
std::span<const DropDownEntry> EntriesOf(Command button) {
  if (button == Command::Export) return kExportEntries;
  return button == Command::DBperDiv ? std::span<const DropDownEntry>(kDBperDivEntries) : kFSpanEntries;
}

}  // namespace

QAction* CommandSet::Action(Command command, int index) const {
  const std::vector<QAction*>& family = actions_[Place(command)];
  return index >= 0 && index < static_cast<int>(family.size()) ? family[static_cast<size_t>(index)] : nullptr;
}

QMenu* CommandSet::DropDown(Command button) const {
  for (size_t i = 0; i < kDropDownButtons.size(); ++i)
    if (kDropDownButtons[i] == button) return dropDowns_[i];
  return nullptr;
}

void CommandSet::Check(Command command, bool on, int index) const {
  if (QAction* action = Action(command, index)) action->setChecked(on);
}

void CommandSet::Enable(Command command, bool on, int index) const {
  if (QAction* action = Action(command, index)) action->setEnabled(on);
}

QAction* CommandSet::NewAction(QWidget* owner, Command command, int index, const QString& text) {
  auto* action = new QAction(text, owner);
  std::vector<QAction*>& family = actions_[Place(command)];
  if (family.size() <= static_cast<size_t>(index)) family.resize(static_cast<size_t>(index) + 1, nullptr);
  family[static_cast<size_t>(index)] = action;
  QObject::connect(action, &QAction::triggered, owner, [this, command, index] { handlers_.Run(command, index); });
  return action;
}

QAction* CommandSet::NewButton(QWidget* owner, const CommandRow& row) {
  QAction* action = NewAction(owner, row.Id, 0, row.ToolTip);
  action->setIcon(ProjectIcon(row.Image));
  action->setObjectName(row.Key);
  action->setToolTip(row.ToolTip);
  action->setCheckable(row.Style == ButtonStyle::Toggle);
  return action;
}

void CommandSet::Build(QMainWindow* window, QToolBar* cursorBar, QWidget* thresholdBox, CommandHandlers handlers) {
  handlers_ = std::move(handlers);
  BuildMainToolbar(window, thresholdBox);
  for (size_t c = Place(kFirstCursorButton); c < Place(kFirstMenuEntry); ++c)
    cursorBar->addAction(NewButton(cursorBar, kCommands[c]));
  cursorBar->setMinimumWidth(cursorBar->sizeHint().width());  // all three buttons, never the overflow arrow
  BuildMenus(window);
}

void CommandSet::BuildMainToolbar(QMainWindow* window, QWidget* thresholdBox) {
  QToolBar* bar = window->addToolBar("Main");
  bar->setObjectName("tbMain");
  bar->setIconSize(QSize(16, 16));
  bar->setMovable(false);
  bar->setFloatable(false);
  for (size_t c = 0; c < Place(kFirstCursorButton); ++c) {
    const CommandRow& row = kCommands[c];
    if (row.Style == ButtonStyle::Holder) {
      comboPeakPoint_ = new QComboBox(bar);
      comboPeakPoint_->setObjectName("comboPeakPoint");
      comboPeakPoint_->addItems({"All Points", "Peak Points"});
      comboPeakPoint_->setToolTip(row.ToolTip);
      comboPeakPoint_->setFocusPolicy(Qt::ClickFocus);
      QObject::connect(comboPeakPoint_, &QComboBox::activated, window,
                       [this, id = row.Id](int index) { handlers_.Run(id, index); });
      actions_[c] = {bar->addWidget(comboPeakPoint_)};
      actions_[c][0]->setObjectName(row.Key);
      continue;
    }
    QAction* action = NewButton(window, row);
    if (row.Style == ButtonStyle::Indicator) {
      // A picture of the acquisition state; it takes no clicks.
      auto* lamp = new QToolButton(bar);
      lamp->setDefaultAction(action);
      lamp->setAutoRaise(true);
      lamp->setAttribute(Qt::WA_TransparentForMouseEvents);
      bar->addWidget(lamp);
    } else if (row.Style == ButtonStyle::DropDown) {
      auto* entries = new QMenu(window);
      entries->setToolTipsVisible(true);
      const std::span<const DropDownEntry> table = EntriesOf(row.Id);
      for (size_t i = 0; i < table.size(); ++i) {
        QAction* entry = entries->addAction(table[i].Text);
        entry->setObjectName(table[i].Key);
        // The presets are the View menu's own commands, with the same check marks. The peak
        // hold and video average exports belong to the File menu alone: shown, but visibly
        // not offered here.
        entry->setCheckable(row.Id != Command::Export);
        if (row.Id == Command::Export && i >= static_cast<size_t>(kActingExports)) {
          entry->setEnabled(false);
          entry->setToolTip("Use File > Export Data Set for this data set");
        }
        QObject::connect(entry, &QAction::triggered, window,
                         [this, id = row.Id, i] { handlers_.RunDropDown(id, static_cast<int>(i)); });
      }
      for (size_t d = 0; d < kDropDownButtons.size(); ++d)
        if (kDropDownButtons[d] == row.Id) dropDowns_[d] = entries;
      auto* button = new QToolButton(bar);
      button->setDefaultAction(action);
      button->setMenu(entries);
      button->setPopupMode(QToolButton::MenuButtonPopup);
      button->setAutoRaise(true);
      button->setObjectName(row.Key);
      bar->addWidget(button);
    } else {
      bar->addAction(action);
    }
    if (row.Id == Command::PeakThreshold) {
      thresholdBox->setFixedWidth(thresholdBox->fontMetrics().horizontalAdvance("-125.000dB") + 12);
      bar->addWidget(thresholdBox);
    }
    if (row.GroupEnd) bar->addSeparator();
  }
}

void CommandSet::AddEntries(QMenu* menu, std::span<const MenuRow> rows) {
  for (const MenuRow& row : rows) {
    if (row.Caption == nullptr) {
      menu->addSeparator();
      continue;
    }
    QAction* action = Action(row.Id);
    if (action != nullptr) {
      action->setText(row.Caption);  // a button's action: the button keeps its tool tip
    } else {
      action = NewAction(menu->window(), row.Id, 0, row.Caption);
      action->setObjectName(RowOf(row.Id).Key);
      action->setCheckable(RowOf(row.Id).Checkable);
    }
    menu->addAction(action);
  }
}

void CommandSet::BuildMenus(QMainWindow* window) {
  // A family's entry: its object name, caption and check mark.
  const auto familyEntry = [this, window](QMenu* menu, Command family, int index, const QString& name,
                                          const QString& caption, bool checkable) {
    QAction* entry = NewAction(window, family, index, caption);
    entry->setObjectName(name);
    entry->setCheckable(checkable);
    menu->addAction(entry);
    return entry;
  };

  QMenu* file = window->menuBar()->addMenu("&File");
  QMenu* exports = file->addMenu("&Export Data Set");
  exports->setObjectName("mnuFileExport");
  for (const DataSetInfo& info : kDataSets)
    familyEntry(exports, Command::FileExport, static_cast<int>(info.Set), info.Command, info.Caption, false);
  AddEntries(file, kFileMenuTail);

  viewMenu_ = window->menuBar()->addMenu("&View");
  viewMenu_->setObjectName("mnuView");
  AddEntries(viewMenu_, kViewMenuModes);
  viewMenu_->addSeparator();
  QMenu* db = viewMenu_->addMenu("dB per Di&vision");
  QMenu* span = viewMenu_->addMenu("Frequency Sp&an");
  for (int i = 0; i < kPresetCount; ++i) {
    familyEntry(db, Command::ViewDBB, i, QString("mnuViewDBB%1").arg(i), kDBCaptions[static_cast<size_t>(i)], true);
    familyEntry(span, Command::ViewFB, i, QString("mnuViewFB%1").arg(i), kSpanCaptions[static_cast<size_t>(i)], true);
  }
  AddEntries(viewMenu_, kViewMenuPoints);
  for (int i = 0; i < 2; ++i)
    familyEntry(viewMenu_, Command::ViewCursor, i, QString("mnuViewCursor%1").arg(i), kCursorEntryCaptions[i], true);
  AddEntries(viewMenu_, kViewMenuTail);

  QMenu* tools = window->menuBar()->addMenu("&Tools");
  for (const TraceSwitch& s : kTraceSwitches)
    for (const TraceCommandRow& t : kTraceCommands)
      if (t.Trace == s.Trace) AddEntries(tools, std::array{MenuRow{t.Id, s.Caption}});

  QMenu* options = window->menuBar()->addMenu("&Options");
  for (int p = 0; p < 2; ++p)
    familyEntry(options, Command::OptionsPalette, p, QString("mnuOptionsPalette%1").arg(p), kPaletteEntryCaptions[p],
                true);
  for (int p = 0; p < 2; ++p) {
    QMenu* colors = options->addMenu(kPaletteSubmenus[p]);
    for (const ColorEntryRow& c : kColorEntries)
      familyEntry(colors, p == 0 ? Command::ViewerColor : Command::PrinterColor, c.Field,
                  QString(c.Name) + QString::number(p),
                  p == 1 && c.PrintingCaption != nullptr ? c.PrintingCaption : c.Caption, false);
  }
  QMenu* waterfall = options->addMenu(kWaterfallColorsSubmenu);
  for (int i = 0; i < 4; ++i) {
    if (i == kPlotLevels) waterfall->addSeparator();
    familyEntry(waterfall, Command::WaterfallColors, i, QString("mnuWaterfallColors%1").arg(i),
                kWaterfallColorCaptions[i], true);
  }
  AddEntries(options, kOptionsChecks);

  QMenu* comm = window->menuBar()->addMenu("&Communications");
  AddEntries(comm, kCommMenu);
  for (int i = 0; i < kRecentModems; ++i) {
    QAction* recent =
        familyEntry(comm, Command::CommSel, i, QString("mnuCommSel%1").arg(i), i == 0 ? kNoRecentModem : "", false);
    recent->setEnabled(false);
    recent->setVisible(i == 0);
  }
  QMenu* history = window->menuBar()->addMenu("Histor&y");
  history->setObjectName("mnuHistory");
  AddEntries(history, kHistoryMenuHead);
  QMenu* days = history->addMenu(kHistoryDaysSubmenu);
  for (int i = 0; i < kHistoryDays; ++i) {
    QAction* day = familyEntry(days, Command::HistoryDay, i, QString("mnuHistoryDay%1").arg(i),
                               i == 0 ? kNoRecordings : "", false);
    day->setEnabled(false);
    day->setVisible(i == 0);
  }
  AddEntries(history, kHistoryMenuTail);

  AddEntries(window->menuBar()->addMenu("&Help"), kHelpMenu);
}

void CommandSet::ShowMoveType(bool byPeaks) const {
  const QSignalBlocker quiet(comboPeakPoint_);
  comboPeakPoint_->setCurrentIndex(byPeaks ? 1 : 0);
  for (const MoveCommandRow& m : kMoveCommands) {
    QAction* action = Action(m.Id);
    action->setToolTip(byPeaks ? m.PeakToolTip : m.PointToolTip);
    action->setText(byPeaks ? m.PeakCaption : m.PointCaption);
  }
  Action(Command::ViewPeakPoint)->setText(byPeaks ? kMoveByAllPoints : kMoveByPeakPoints);
}

void CommandSet::CheckPresets(int dbIndex, int spanIndex) const {
  const QList<QAction*> dbEntries = DropDown(Command::DBperDiv)->actions();
  const QList<QAction*> spanEntries = DropDown(Command::FSpan)->actions();
  for (int i = 0; i < kPresetCount; ++i) {
    for (QAction* a : {Action(Command::ViewDBB, i), dbEntries[i]}) a->setChecked(i == dbIndex);
    for (QAction* a : {Action(Command::ViewFB, i), spanEntries[i]}) a->setChecked(i == spanIndex);
  }
}

void CommandSet::ShowSpanCaptions(const std::array<std::string, kPresetCount>* captions) const {
  const QList<QAction*> entries = DropDown(Command::FSpan)->actions();
  for (size_t i = 0; i < kPresetCount; ++i) {
    Action(Command::ViewFB, static_cast<int>(i))->setText(captions ? Text((*captions)[i]) : kSpanCaptions[i]);
    entries[static_cast<qsizetype>(i)]->setText(captions ? Text((*captions)[i]) : kFSpanEntries[i].Text);
  }
}

}  // namespace tavrix
