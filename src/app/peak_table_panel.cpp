#include "app/peak_table_panel.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QSpinBox>
#include <QTableWidget>
#include <QVBoxLayout>

#include "measure/event_log_file.h"

namespace tavrix {

namespace {

constexpr int kDefaultCount = 10;  // as the peaks command lists by default

// A column's heading with its unit.
QString Heading(const std::string& field) {
  if (field == "Frequency") return "Frequency (MHz)";
  if (field == "Level") return "Level (dB)";
  if (field == "AboveNoise") return "Above noise (dB)";
  return QString::fromStdString(field);
}

}  // namespace

PeakTablePanel::PeakTablePanel(QWidget* parent) : QWidget(parent) {
  setObjectName("peakTablePanel");
  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(4, 4, 4, 4);
  auto* top = new QHBoxLayout;
  top->addWidget(new QLabel("Peaks at or above the minimum peak threshold, at most", this));
  count_ = new QSpinBox(this);
  count_->setObjectName("peakCount");
  count_->setRange(1, 100);
  count_->setValue(kDefaultCount);
  top->addWidget(count_);
  top->addStretch(1);
  column->addLayout(top);
  connect(count_, &QSpinBox::valueChanged, this, &PeakTablePanel::countChanged);

  table_ = new QTableWidget(this);
  table_->setObjectName("peakTable");
  table_->setEditTriggers(QAbstractItemView::NoEditTriggers);
  table_->setSelectionBehavior(QAbstractItemView::SelectRows);
  table_->setSelectionMode(QAbstractItemView::SingleSelection);
  table_->verticalHeader()->hide();
  table_->verticalHeader()->setDefaultSectionSize(fontMetrics().lineSpacing() + 6);
  table_->horizontalHeader()->setStretchLastSection(true);
  table_->setContextMenuPolicy(Qt::ActionsContextMenu);
  auto* copy = new QAction("Copy as CSV", table_);
  copy->setObjectName("copyPeakTable");
  copy->setShortcut(QKeySequence::Copy);
  copy->setShortcutContext(Qt::WidgetShortcut);
  table_->addAction(copy);
  connect(copy, &QAction::triggered, this, &PeakTablePanel::CopyCsv);
  connect(table_, &QTableWidget::cellClicked, this,
          [this](int row, int) { emit pointClicked(table_->item(row, 0)->text().toInt()); });
  column->addWidget(table_, 1);
}

int PeakTablePanel::Count() const { return count_->value(); }

void PeakTablePanel::Show(const QString& csv) {
  if (csv == csv_) return;  // the same table: the row picked and the scroll stay
  csv_ = csv;
  const QStringList lines = csv.split('\n', Qt::SkipEmptyParts);
  table_->clear();
  table_->setRowCount(std::max<int>(0, static_cast<int>(lines.size()) - 1));
  for (qsizetype l = 0; l < lines.size(); ++l) {
    const std::vector<std::string> fields = CsvFields(lines[l].toStdString());
    if (l == 0) {
      table_->setColumnCount(static_cast<int>(fields.size()));
      QStringList headers;
      for (const std::string& f : fields) headers << Heading(f);
      table_->setHorizontalHeaderLabels(headers);
      continue;
    }
    for (size_t c = 0; c < fields.size(); ++c) {
      auto* item = new QTableWidgetItem(QString::fromStdString(fields[c]));
      item->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
      table_->setItem(static_cast<int>(l - 1), static_cast<int>(c), item);
    }
  }
  table_->resizeColumnsToContents();
}

void PeakTablePanel::CopyCsv() const { QApplication::clipboard()->setText(csv_); }

}  // namespace tavrix
