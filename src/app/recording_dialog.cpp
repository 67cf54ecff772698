#include "app/recording_dialog.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QDoubleSpinBox>
#include <QFileDialog>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

#include <cmath>

#include "app/window_text.h"

namespace tavrix {

RecordingDialog::RecordingDialog(const HistorySettings& settings, const QString& defaultFolder, const QString& usage,
                                 QWidget* parent)
    : QDialog(parent), settings_(settings) {
  setObjectName("recordingDialog");
  setWindowTitle("Recording");
  auto* form = new QFormLayout(this);
  enabled_ = new QCheckBox("&Record every capture shown", this);
  enabled_->setObjectName("recordingOn");
  enabled_->setChecked(settings.Recording);
  form->addRow(enabled_);

  folder_ = new QLineEdit(Text(settings.RecordingFolder), this);
  folder_->setObjectName("recordingFolder");
  folder_->setPlaceholderText(defaultFolder);
  folder_->setMinimumWidth(folder_->fontMetrics().horizontalAdvance(defaultFolder) + 24);
  auto* browse = new QPushButton("&Browse...", this);
  connect(browse, &QPushButton::clicked, this, [this, defaultFolder] {
    const QString from = folder_->text().isEmpty() ? defaultFolder : folder_->text();
    const QString chosen = QFileDialog::getExistingDirectory(this, "Folder of the Recordings", from);
    if (!chosen.isEmpty()) folder_->setText(chosen);
  });
  auto* row = new QHBoxLayout;
  row->addWidget(folder_, 1);
  row->addWidget(browse);
  form->addRow("&Folder:", row);

  limit_ = new QDoubleSpinBox(this);
  limit_->setObjectName("recordingLimit");
  limit_->setDecimals(1);
  limit_->setRange(0.1, 1024 * 1024);
  limit_->setSuffix(" GiB");
  limit_->setValue(settings.RecordingLimitMiB / 1024.0);
  limit_->setToolTip("The oldest days of all units are removed to stay within it");
  form->addRow("&Limit over all units:", limit_);
  auto* held = new QLabel(usage, this);
  held->setObjectName("recordingUsage");
  form->addRow("Now held:", held);

  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
  connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  form->addRow(buttons);
}

HistorySettings RecordingDialog::Edited() const {
  HistorySettings edited = settings_;
  edited.Recording = enabled_->isChecked();
  edited.RecordingFolder = folder_->text().trimmed().toStdString();
  edited.RecordingLimitMiB = static_cast<int32_t>(std::lround(limit_->value() * 1024));
  return edited;
}

}  // namespace tavrix
