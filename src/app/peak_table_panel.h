#pragma once
#include <QString>
#include <QWidget>

class QSpinBox;
class QTableWidget;

namespace tavrix {

// The peak table: the peak walk of the active trace as the peaks command prints it (point,
// frequency, level and, with a noise band, the level above the noise), a row a point. A
// click on a row asks for its point; "Copy as CSV" (context menu, Ctrl+C) copies the table
// as that command prints it.
class PeakTablePanel : public QWidget {
  Q_OBJECT

 public:
  explicit PeakTablePanel(QWidget* parent);

  // The table as CSV text: a header line, then a line a row.
  void Show(const QString& csv);
  const QString& Csv() const { return csv_; }
  // How many points the walk lists at most.
  int Count() const;
  QTableWidget* Table() const { return table_; }

 signals:
  void pointClicked(int point);
  void countChanged();

 private:
  void CopyCsv() const;

  QTableWidget* table_ = nullptr;
  QSpinBox* count_ = nullptr;
  QString csv_;
};

}  // namespace tavrix
