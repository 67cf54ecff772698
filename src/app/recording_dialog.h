#pragma once
#include <QDialog>

#include "store/viewer_settings.h"

class QCheckBox;
class QDoubleSpinBox;
class QLabel;
class QLineEdit;

namespace tavrix {

// Options > "Recording...": whether every capture shown is recorded, the folder of the
// recordings (empty for the default, shown greyed) and the limit over all of them.
class RecordingDialog : public QDialog {
  Q_OBJECT

 public:
  // `defaultFolder` is the folder an empty folder means; `usage` says what the recordings
  // hold now.
  RecordingDialog(const HistorySettings& settings, const QString& defaultFolder, const QString& usage,
                  QWidget* parent = nullptr);
  // The settings as edited (the panels' switches as they were given).
  HistorySettings Edited() const;

 private:
  HistorySettings settings_;
  QCheckBox* enabled_ = nullptr;
  QLineEdit* folder_ = nullptr;
  QDoubleSpinBox* limit_ = nullptr;
};

}  // namespace tavrix
