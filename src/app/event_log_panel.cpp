#include "app/event_log_panel.h"

#include <QHeaderView>
#include <QLabel>
#include <QTableWidget>
#include <QVBoxLayout>

#include "measure/event_log_file.h"
#include "measure/limit_alarms.h"

namespace tavrix {

namespace {

// Lines kept on the panel; the file keeps them all.
constexpr int kMostRows = 1000;

}  // namespace

EventLogPanel::EventLogPanel(const QString& filePath, QWidget* parent) : QWidget(parent) {
  setObjectName("eventLogPanel");
  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(4, 4, 4, 4);
  auto* where = new QLabel("Written to " + filePath, this);
  where->setObjectName("eventLogFile");
  where->setTextInteractionFlags(Qt::TextSelectableByMouse);
  column->addWidget(where);
  table_ = new QTableWidget(this);
  table_->setObjectName("eventLog");
  table_->setEditTriggers(QAbstractItemView::NoEditTriggers);
  table_->setSelectionBehavior(QAbstractItemView::SelectRows);
  table_->verticalHeader()->hide();
  table_->verticalHeader()->setDefaultSectionSize(fontMetrics().lineSpacing() + 6);
  QStringList headers;
  for (const std::string& field : CsvFields(EventLogHeader())) headers << QString::fromStdString(field);
  table_->setColumnCount(static_cast<int>(headers.size()));
  table_->setHorizontalHeaderLabels(headers);
  table_->horizontalHeader()->setStretchLastSection(true);
  column->addWidget(table_, 1);
}

void EventLogPanel::Add(const std::string& csvLine) {
  if (table_->rowCount() >= kMostRows) table_->removeRow(0);
  const int row = table_->rowCount();
  table_->insertRow(row);
  const std::vector<std::string> fields = CsvFields(csvLine);
  for (size_t c = 0; c < fields.size(); ++c) {
    auto* item = new QTableWidgetItem(QString::fromStdString(fields[c]));
    // An alarm stands out as the alarm panel does.
    if (fields.back() == "alarm") item->setForeground(QColor(0xC0, 0x10, 0x10));
    table_->setItem(row, static_cast<int>(c), item);
  }
  table_->resizeColumnsToContents();
  table_->scrollToBottom();
}

QSize EventLogPanel::sizeHint() const {
  return {QWidget::sizeHint().width(), fontMetrics().lineSpacing() * 9};
}

}  // namespace tavrix
