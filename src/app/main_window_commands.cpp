// The main window's menus and toolbars, built from the command tables, and the
// dispatch of their commands.
#include <QAction>
#include <QComboBox>
#include <QIcon>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QSignalBlocker>
#include <QToolBar>
#include <QToolButton>

#include "app/command_table.h"
#include "app/entry_box.h"
#include "app/main_window.h"
#include "app/project_icons.h"

namespace tavrix {

namespace {

QIcon Image(const char* name) { return ProjectIcon(name); }

// Which trace each trace switch and its button stand for.
int TraceOfButton(const QString& key) {
  for (const TraceSwitch& s : kTraceSwitches)
    if (key == s.ButtonKey) return s.Trace;
  return -1;
}

int ModeOfButton(const QString& key) {
  for (const ModeCommand& c : kModeCommands)
    if (key == c.ButtonKey) return c.Mode;
  return kSelectMode;
}

std::optional<PointMove> MoveOfButton(const QString& key) {
  static const std::array<std::pair<const char*, PointMove>, 5> kMoves = {{{"FirstPoint", PointMove::First},
                                                                          {"NextPoint", PointMove::Next},
                                                                          {"PreviousPoint", PointMove::Previous},
                                                                          {"LastPoint", PointMove::Last},
                                                                          {"CurPoint", PointMove::LastSelected}}};
  for (const auto& [name, move] : kMoves)
    if (key == name) return move;
  return std::nullopt;
}

}  // namespace

QAction* frmMain::Button(const QString& key) const {
  const auto it = buttons_.find(key);
  return it == buttons_.end() ? nullptr : it->second;
}

QAction* frmMain::MenuEntry(const QString& name) const {
  const auto it = entries_.find(name);
  return it == entries_.end() ? nullptr : it->second;
}

QMenu* frmMain::DropDown(const QString& key) const {
  const auto it = dropDowns_.find(key);
  return it == dropDowns_.end() ? nullptr : it->second;
}

void frmMain::BuildCommands() {
  BuildMainToolbar();
  BuildMenus();
  EnableCommands();
  ShowMoveMode(true);  // moves go by peak points until the operator chooses otherwise
}

QToolButton* frmMain::DropDownButton(QAction* face, const QString& key, QMenu* entries) {
  auto* button = new QToolButton(tbMain_);
  button->setDefaultAction(face);
  button->setMenu(entries);
  button->setPopupMode(QToolButton::MenuButtonPopup);
  button->setAutoRaise(true);
  button->setObjectName(key);
  dropDowns_[key] = entries;
  return button;
}

void frmMain::BuildMainToolbar() {
  tbMain_ = addToolBar("Main");
  tbMain_->setObjectName("tbMain");
  tbMain_->setIconSize(QSize(16, 16));
  tbMain_->setMovable(false);
  tbMain_->setFloatable(false);

  auto dropDownEntries = [this](const QString& button, const auto& table) {
    auto* menu = new QMenu(this);
    menu->setToolTipsVisible(true);
    for (const DropDownEntry& e : table) {
      QAction* entry = menu->addAction(e.Text);
      entry->setObjectName(e.Key);
      // The presets are the View menu's own commands, with the same check marks.
      entry->setCheckable(button != "Export");
      const QString key = e.Key;
      connect(entry, &QAction::triggered, this, [this, button, key] { tbMain_ButtonMenuClick(button, key); });
    }
    return menu;
  };

  for (const ToolButtonRow& button : kMainButtons) {
    const QString key = button.Key;
    if (button.Style == ButtonStyle::Holder) {
      comboPeakPoint_ = new QComboBox(tbMain_);
      comboPeakPoint_->setObjectName("comboPeakPoint");
      comboPeakPoint_->addItems({"All Points", "Peak Points"});
      comboPeakPoint_->setToolTip("Select Move Type");
      comboPeakPoint_->setFocusPolicy(Qt::ClickFocus);
      connect(comboPeakPoint_, &QComboBox::activated, this, &frmMain::comboPeakPoint_Click);
      buttons_[key] = tbMain_->addWidget(comboPeakPoint_);
      continue;
    }
    auto* action = new QAction(Image(button.Image), button.ToolTip, this);
    action->setObjectName(key);
    action->setToolTip(button.ToolTip);
    action->setCheckable(button.Style == ButtonStyle::Toggle);
    buttons_[key] = action;
    if (button.Style == ButtonStyle::Indicator) {
      // A picture of the acquisition state; it takes no clicks.
      auto* lamp = new QToolButton(tbMain_);
      lamp->setDefaultAction(action);
      lamp->setAutoRaise(true);
      lamp->setAttribute(Qt::WA_TransparentForMouseEvents);
      tbMain_->addWidget(lamp);
    } else {
      connect(action, &QAction::triggered, this, [this, key] { tbMain_ButtonClick(key); });
      if (button.Style == ButtonStyle::DropDown) {
        QMenu* entries = key == "Export"     ? dropDownEntries(key, kExportEntries)
                         : key == "dBperDiv" ? dropDownEntries(key, kDBperDivEntries)
                                             : dropDownEntries(key, kFSpanEntries);
        if (key == "Export") {
          // The peak hold and video average exports belong to the File menu alone: shown,
          // but visibly not offered here.
          for (QAction* entry : entries->actions().mid(kActingExports)) {
            entry->setEnabled(false);
            entry->setToolTip("Use File > Export Data Set for this data set");
          }
        }
        tbMain_->addWidget(DropDownButton(action, key, entries));
      } else {
        tbMain_->addAction(action);
      }
    }
    if (key == "PeakThreshold") {
      txtThreshold_ = NewThresholdBox(tbMain_);
      txtThreshold_->setFixedWidth(txtThreshold_->fontMetrics().horizontalAdvance("-125.000dB") + 12);
      tbMain_->addWidget(txtThreshold_);
    }
    if (button.GroupEnd) tbMain_->addSeparator();
  }
}

void frmMain::BuildCursorToolbar(QToolBar* bar) {
  tbCursors_ = bar;
  bar->setObjectName("tbCursors");
  bar->setIconSize(QSize(16, 16));
  for (const ToolButtonRow& button : kCursorButtons) {
    auto* action = bar->addAction(Image(button.Image), button.ToolTip);
    action->setObjectName(button.Key);
    action->setCheckable(button.Style == ButtonStyle::Toggle);
    buttons_[button.Key] = action;
    const QString key = button.Key;
    connect(action, &QAction::triggered, this, [this, key] { tbMain_ButtonClick(key); });
  }
  bar->setMinimumWidth(bar->sizeHint().width());  // all three buttons, never the overflow arrow
}

QAction* frmMain::AddEntry(QMenu* menu, const MenuEntryRow& entry) {
  if (entry.Name == nullptr) {
    menu->addSeparator();
    return nullptr;
  }
  QAction* action = entry.ButtonKey != nullptr ? Button(entry.ButtonKey) : nullptr;
  if (action != nullptr) {
    action->setText(entry.Caption);  // the button keeps its tool tip
  } else {
    action = new QAction(entry.Caption, this);
    action->setObjectName(entry.Name);
    action->setCheckable(entry.Checkable);
  }
  menu->addAction(action);
  entries_[entry.Name] = action;
  return action;
}

void frmMain::BuildMenus() {
  auto addAll = [this](QMenu* menu, const auto& table) {
    for (const MenuEntryRow& entry : table) AddEntry(menu, entry);
  };

  QMenu* file = menuBar()->addMenu("&File");
  QMenu* exports = file->addMenu("&Export Data Set");
  exports->setObjectName("mnuFileExport");
  for (const DataSetInfo& info : kDataSets) {
    QAction* entry = exports->addAction(info.Caption);
    entry->setObjectName(info.Command);
    entries_[info.Command] = entry;
    const DataSet set = info.Set;
    connect(entry, &QAction::triggered, this, [this, set] { ExportDataSet(set); });
  }
  addAll(file, kFileMenuTail);
  connect(MenuEntry("mnuFileExit"), &QAction::triggered, this, &QWidget::close);

  QMenu* view = menuBar()->addMenu("&View");
  view->setObjectName("mnuView");
  viewMenu_ = view;
  addAll(view, kViewMenuModes);
  view->addSeparator();
  QMenu* db = view->addMenu("dB per Di&vision");
  QMenu* span = view->addMenu("Frequency Sp&an");
  for (int i = 0; i < kPresetCount; ++i) {
    dbItems_[static_cast<size_t>(i)] = db->addAction(kDBCaptions[static_cast<size_t>(i)]);
    spanItems_[static_cast<size_t>(i)] = span->addAction(kSpanCaptions[static_cast<size_t>(i)]);
    for (QAction* item : {dbItems_[static_cast<size_t>(i)], spanItems_[static_cast<size_t>(i)]}) item->setCheckable(true);
    dbItems_[static_cast<size_t>(i)]->setObjectName(QString("mnuViewDBB%1").arg(i));
    spanItems_[static_cast<size_t>(i)]->setObjectName(QString("mnuViewFB%1").arg(i));
    connect(dbItems_[static_cast<size_t>(i)], &QAction::triggered, this, [this, i] { mnuViewDBB_Click(i); });
    connect(spanItems_[static_cast<size_t>(i)], &QAction::triggered, this, [this, i] { mnuViewFB_Click(i); });
  }
  addAll(view, kViewMenuPoints);
  connect(MenuEntry("mnuViewConstellation"), &QAction::toggled, this, [this] { UpdateView(); });
  connect(MenuEntry("mnuViewEnd"), &QAction::triggered, this, [this] {
    modes_.EndMode();
    ShowModes();
  });
  connect(MenuEntry("mnuViewPeakPoint"), &QAction::triggered, this, &frmMain::mnuViewPeakPoint_Click);
  connect(MenuEntry("mnuViewCursor0"), &QAction::triggered, this, [this] { mnuViewCursor_Click(0); });
  connect(MenuEntry("mnuViewCursor1"), &QAction::triggered, this, [this] { mnuViewCursor_Click(1); });
  connect(MenuEntry("mnuViewCursors"), &QAction::triggered, this, &frmMain::mnuViewCursors_Click);

  QMenu* tools = menuBar()->addMenu("&Tools");
  for (const TraceSwitch& s : kTraceSwitches) AddEntry(tools, {s.Command, s.Caption, s.ButtonKey, true});

  QMenu* options = menuBar()->addMenu("&Options");
  addAll(options, kOptionsPalettes);
  for (int palette = 0; palette < 2; ++palette) {
    QMenu* colors = options->addMenu(kPaletteSubmenus[palette]);
    for (const ColorEntryRow& c : kColorEntries) {
      const char* caption = palette == 1 && c.PrintingCaption != nullptr ? c.PrintingCaption : c.Caption;
      QAction* entry = colors->addAction(caption);
      const QString name = QString(c.Name) + QString::number(palette);
      entry->setObjectName(name);
      entries_[name] = entry;
    }
  }
  addAll(options, kOptionsChecks);
  // The palette entries are checked by the palette command, the options by the settings.

  QMenu* comm = menuBar()->addMenu("&Communications");
  addAll(comm, kCommMenu);
  stopGoMenu_ = MenuEntry("mnuCommStopGo");
  connect(stopGoMenu_, &QAction::triggered, this, &frmMain::mnuCommStopGo_Click);
  for (int i = 0; i < kRecentModems; ++i) {
    QAction* recent = comm->addAction(i == 0 ? kNoRecentModem : "");
    const QString name = QString("mnuCommSel%1").arg(i);
    recent->setObjectName(name);
    recent->setEnabled(false);
    recent->setVisible(i == 0);
    entries_[name] = recent;
  }

  QMenu* help = menuBar()->addMenu("&Help");
  addAll(help, kHelpMenu);
}

void frmMain::ShowMoveMode(bool byPeaks) {
  const QSignalBlocker quiet(comboPeakPoint_);
  comboPeakPoint_->setCurrentIndex(byPeaks ? 1 : 0);
  for (const MoveCommandRow& m : kMoveCommands) {
    Button(m.ButtonKey)->setToolTip(byPeaks ? m.PeakToolTip : m.PointToolTip);
    MenuEntry(m.Entry)->setText(byPeaks ? m.PeakCaption : m.PointCaption);
  }
  MenuEntry("mnuViewPeakPoint")->setText(byPeaks ? kMoveByAllPoints : kMoveByPeakPoints);
}

void frmMain::EnableCommands() {
  Button("ZoomCursors")->setEnabled(false);
  MenuEntry("mnuViewEnd")->setEnabled(false);
}

void frmMain::tbMain_ButtonClick(const QString& key) {
  if (const int trace = TraceOfButton(key); trace >= 0) {
    SwitchTraceCommand(trace);
  } else if (key == "Export") {
    tbMain_ButtonMenuClick(key, kExportEntries[static_cast<size_t>(exportKind_)].Key);
  } else if (key == "StopGo") {
    cycle_->StopGo_Click();
    ShowAcquisitionDisplay();
  } else if (key == "SingleStep") {
    cycle_->SingleStep_Click();
  } else if (key == "dBperDiv" || key == "FSpan") {
    if (key == "dBperDiv")
      mnuViewDBB_Click(live_.View.DBIndex);
    else
      mnuViewFB_Click(live_.View.SpanIndex);
    MoveCursor(live_.View.CenterX(), live_.View.CenterY());
  } else if (const int mode = ModeOfButton(key); mode != kSelectMode) {
    modes_.ModeButtonClick(mode);
    ShowModes();
  } else if (key == "Select") {
    modes_.Select();
    ShowModes();
  } else if (const auto move = MoveOfButton(key)) {
    MovePoint(*move);
  } else if (key == "PeakThreshold") {
    modes_.PlacingThreshold = true;
    ShowModes();
  } else if (key == "CursorOne" || key == "CursorTwo") {
    mnuViewCursor_Click(key == "CursorOne" ? 0 : 1);
  } else if (key == "CursorDelta") {
    mnuViewCursors_Click();
  } else if (key == "ZoomFitView") {
    modes_.Select();
    ShowModes();
    ApplyViewOutcome(live_.View.FitView());
  } else if (key == "Previous") {
    ApplyViewOutcome(live_.View.RestorePrevious());
  } else if (key == "ZoomCursors") {
    if (cursorDisplay_ && cursors_[0].Placed() && cursors_[1].Placed())
      ApplyViewOutcome(live_.View.ZoomToFitCursors(cursors_[0].X, cursors_[0].Y, cursors_[1].X, cursors_[1].Y));
  }
}

void frmMain::tbMain_ButtonMenuClick(const QString& buttonKey, const QString& entryKey) {
  const std::string key = entryKey.toStdString();
  if (buttonKey == "Export") {
    // Only the first three act; the peak hold and video average entries are the File
    // menu's alone.
    static constexpr std::array<DataSet, kActingExports> kActing = {DataSet::Raw, DataSet::Transformed,
                                                                      DataSet::Scaled};
    for (size_t i = 0; i < kActing.size(); ++i) {
      if (key == kExportEntries[i].Key) {
        exportKind_ = static_cast<int>(i);
        ExportDataSet(kActing[i]);
      }
    }
  } else if (buttonKey == "dBperDiv") {
    if (const int index = DropDownIndex(key, "dBB0", "dBB9"); index >= 0) mnuViewDBB_Click(index);
    MoveCursor(live_.View.CenterX(), live_.View.CenterY());
  } else if (buttonKey == "FSpan") {
    if (const int index = DropDownIndex(key, "FB0", "FB9"); index >= 0) mnuViewFB_Click(index);
    MoveCursor(live_.View.CenterX(), live_.View.CenterY());
  }
}

void frmMain::SwitchTraceCommand(int trace) {
  const bool on = SwitchTrace(live_.State.Traces, selection_, trace);
  for (const TraceSwitch& s : kTraceSwitches)
    if (s.Trace == trace) Button(s.ButtonKey)->setChecked(on);
  KeepActiveTraceVisible();
  UpdateView();
}

}  // namespace tavrix
