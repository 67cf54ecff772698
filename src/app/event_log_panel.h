#pragma once
#include <QWidget>

#include <string>

class QLabel;
class QTableWidget;

namespace tavrix {

// The event log as a panel: the alarm changes of this session as the log file has them
// (time, unit, band, quantity, value, limit, state), newest last, and where the file is.
class EventLogPanel : public QWidget {
  Q_OBJECT

 public:
  EventLogPanel(const QString& filePath, QWidget* parent);
  // One line as written to the file.
  void Add(const std::string& csvLine);
  QTableWidget* Table() const { return table_; }
  // A few lines high: the log is looked at now and then, the plot all the time.
  QSize sizeHint() const override;

 private:
  QTableWidget* table_ = nullptr;
};

}  // namespace tavrix
