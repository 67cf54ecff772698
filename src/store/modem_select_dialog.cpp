#include "store/modem_select_dialog.h"
#include "store/dialog_flags.h"

#include <QAction>
#include <QHBoxLayout>
#include <QListWidget>
#include <QMenu>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>

#include "store/modem_properties_dialog.h"

namespace tavrix {

namespace {

constexpr int kListChars = 28;
constexpr int kListRows = 10;

// The entry's name exactly as the directory keeps it, whatever the item shows.
std::string ItemName(const QListWidgetItem* item) {
  const QByteArray bytes = item->data(Qt::UserRole).toByteArray();
  return std::string(bytes.constData(), static_cast<size_t>(bytes.size()));
}

QPushButton* NewButton(const char* name, const char* caption, QWidget* parent) {
  auto* button = new QPushButton(caption, parent);
  button->setObjectName(name);
  button->setAutoDefault(false);
  return button;
}

QAction* NewAction(const char* name, const char* caption, QMenu* menu) {
  QAction* action = menu->addAction(caption);
  action->setObjectName(name);
  return action;
}

}  // namespace

frmModemSelect::frmModemSelect(Modems& modems, Notices& notices, ModemSelectHooks hooks, QWidget* parent)
    : QDialog(parent, kDialogFrameFlags), modems_(modems), notices_(notices), hooks_(std::move(hooks)) {
  setObjectName("frmModemSelect");
  setWindowTitle("Select Modem");
  if (!hooks_.IsConnected) hooks_.IsConnected = [](const std::string&) { return false; };
  if (!hooks_.EditProperties) {
    hooks_.EditProperties = [this](const std::string& editedName) {
      const bool connected = editedName != kNewModemMarker && hooks_.IsConnected(editedName);
      frmModem dialog(modems_, editedName, connected, notices_, this);
      dialog.exec();
      return dialog.Outcome();
    };
  }

  listModems = new QListWidget(this);
  listModems->setObjectName("listModems");
  listModems->setSelectionMode(QAbstractItemView::SingleSelection);
  listModems->setFixedSize(listModems->fontMetrics().averageCharWidth() * kListChars,
                           listModems->fontMetrics().height() * kListRows);
  listModems->setContextMenuPolicy(Qt::CustomContextMenu);

  cmdAdd = NewButton("cmdAdd", "Add Modem", this);
  cmdRemove = NewButton("cmdRemove", "Remove Modem", this);
  cmdProps = NewButton("cmdProps", "Properties", this);
  cmdOK = NewButton("cmdOK", "OK", this);
  cmdCancel = NewButton("cmdCancel", "Cancel", this);
  cmdOK->setDefault(true);
  auto* buttons = new QVBoxLayout;
  int width = 0;
  for (QPushButton* button : {cmdOK, cmdCancel, cmdAdd, cmdRemove, cmdProps})
    width = std::max(width, button->sizeHint().width());
  for (QPushButton* button : {cmdOK, cmdCancel, cmdAdd, cmdRemove, cmdProps}) button->setFixedWidth(width);
  buttons->addWidget(cmdOK);
  buttons->addWidget(cmdCancel);
  buttons->addSpacing(12);
  buttons->addWidget(cmdAdd);
  buttons->addWidget(cmdRemove);
  buttons->addWidget(cmdProps);
  buttons->addStretch(1);

  auto* layout = new QHBoxLayout(this);
  layout->addWidget(listModems);
  layout->addSpacing(4);
  layout->addLayout(buttons);
  layout->setSizeConstraint(QLayout::SetFixedSize);

  mnuEdit = new QMenu("&Edit", this);
  mnuEdit->setObjectName("mnuEdit");
  mnuEditAdd = NewAction("mnuEditAdd", "&Add New Modem", mnuEdit);
  mnuEditRemove = NewAction("mnuEditRemove", "&Remove Modem", mnuEdit);
  mnuEditProps = NewAction("mnuEditProps", "&Edit Modem Properties", mnuEdit);
  mnuEdit->addSeparator();
  // Done only closes the menu, as any entry does; the dialog stays for OK or Cancel.
  mnuEditDone = NewAction("mnuEditDone", "&Done", mnuEdit);

  connect(cmdAdd, &QPushButton::clicked, this, &frmModemSelect::cmdAdd_Click);
  connect(cmdRemove, &QPushButton::clicked, this, &frmModemSelect::cmdRemove_Click);
  connect(cmdProps, &QPushButton::clicked, this, &frmModemSelect::cmdProps_Click);
  connect(cmdOK, &QPushButton::clicked, this, &frmModemSelect::cmdOK_Click);
  connect(cmdCancel, &QPushButton::clicked, this, &frmModemSelect::reject);
  connect(mnuEditAdd, &QAction::triggered, this, &frmModemSelect::cmdAdd_Click);
  connect(mnuEditRemove, &QAction::triggered, this, &frmModemSelect::cmdRemove_Click);
  connect(mnuEditProps, &QAction::triggered, this, &frmModemSelect::cmdProps_Click);
  connect(listModems, &QListWidget::itemDoubleClicked, this, &frmModemSelect::cmdProps_Click);
  connect(listModems, &QListWidget::itemSelectionChanged, this, &frmModemSelect::EnableCommands);
  connect(listModems, &QWidget::customContextMenuRequested, this,
          [this](const QPoint& at) { mnuEdit->exec(listModems->viewport()->mapToGlobal(at)); });

  FillList({});
  listModems->setFocus(Qt::OtherFocusReason);
}

void frmModemSelect::FillList(const std::string& select) {
  listModems->clear();
  int selected = 0;
  for (const Modem& modem : modems_) {
    auto* item = new QListWidgetItem(QString::fromStdString(modem.Name), listModems);
    item->setData(Qt::UserRole, QByteArray(modem.Name.data(), static_cast<qsizetype>(modem.Name.size())));
    if (!select.empty() && modem.Name == select) selected = listModems->count() - 1;
  }
  if (listModems->count() > 0) listModems->setCurrentRow(selected);
  EnableCommands();
}

std::optional<std::string> frmModemSelect::SelectedName() const {
  const QList<QListWidgetItem*> items = listModems->selectedItems();
  if (items.isEmpty()) return std::nullopt;
  return ItemName(items.front());
}

void frmModemSelect::EnableCommands() {
  const bool selected = SelectedName().has_value();
  for (QPushButton* button : {cmdRemove, cmdProps, cmdOK}) button->setEnabled(selected);
  for (QAction* action : {mnuEditRemove, mnuEditProps}) action->setEnabled(selected);
}

void frmModemSelect::cmdAdd_Click() { TakeEdit(kNewModemMarker, hooks_.EditProperties(kNewModemMarker)); }

void frmModemSelect::cmdProps_Click() {
  const std::optional<std::string> name = SelectedName();
  if (name) TakeEdit(*name, hooks_.EditProperties(*name));
}

void frmModemSelect::TakeEdit(const std::string& editedName, const StoreOutcome& outcome) {
  if (!outcome.Stored) return;
  if (editedName != kNewModemMarker && outcome.StoredName != editedName)
    emit modemRenamed(QString::fromStdString(editedName), QString::fromStdString(outcome.StoredName));
  // Renamed onto another entry: that one took the values and the edited one is gone.
  if (!outcome.RemovedName.empty()) emit modemRemoved(QString::fromStdString(outcome.RemovedName));
  FillList(outcome.StoredName);
  emit directoryChanged();
}

void frmModemSelect::cmdRemove_Click() {
  const std::optional<std::string> name = SelectedName();
  if (!name) return;
  const int position = listModems->row(listModems->selectedItems().front()) + 1;
  if (!RemoveModem(modems_, *name, notices_)) return;
  // The neighbour below takes the selection, or the one above when the last went.
  const Modem* next = modems_.Item(std::min(position, modems_.Count()));
  FillList(next != nullptr ? next->Name : std::string());
  emit modemRemoved(QString::fromStdString(*name));
  emit directoryChanged();
}

void frmModemSelect::cmdOK_Click() {
  const std::optional<std::string> name = SelectedName();
  if (!name) return;
  chosen_ = name;
  accept();
}

}  // namespace tavrix
