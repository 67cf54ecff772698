#include "app/measure_panel.h"

#include <QCheckBox>
#include <QDoubleSpinBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSignalBlocker>
#include <QToolButton>
#include <QVBoxLayout>

#include "app/window_text.h"

namespace tavrix {

namespace {

// A limit's check box and level: off, the level keeps its last value for the next time.
QDoubleSpinBox* NewLimitBox(QWidget* parent, const char* name, double initial) {
  auto* box = new QDoubleSpinBox(parent);
  box->setObjectName(name);
  box->setRange(-999.0, 999.0);
  box->setDecimals(1);
  box->setSingleStep(0.5);
  box->setSuffix(" dB");
  box->setValue(initial);
  box->setKeyboardTracking(false);  // a level typed counts once it is complete
  box->setToolTip("The alarm is raised at a capture whose figure is below this level");
  return box;
}

}  // namespace

MeasurePanel::MeasurePanel(QAction* markNoiseBand, QWidget* parent) : QWidget(parent) {
  setObjectName("measurePanel");
  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(6, 4, 6, 4);

  // The read-outs: names on the left, values in the legend's fixed-pitch face, as an
  // instrument's annotation reads.
  auto* figures = new QGridLayout;
  figures->setHorizontalSpacing(10);
  figures->setVerticalSpacing(2);
  QFont readout("Courier New");
  readout.setStyleHint(QFont::TypeWriter);
  readout.setBold(true);
  for (int i = 0; i < kRows; ++i) {
    names_[i] = new QLabel(this);
    values_[i] = new QLabel(this);
    values_[i]->setFont(readout);
    values_[i]->setTextFormat(Qt::PlainText);
    values_[i]->setTextInteractionFlags(Qt::TextSelectableByMouse);
    values_[i]->setWordWrap(true);
    figures->addWidget(names_[i], i, 0, Qt::AlignTop);
    figures->addWidget(values_[i], i, 1);
  }
  figures->setColumnStretch(1, 1);
  column->addLayout(figures);

  auto* noise = new QGroupBox("Noise band", this);
  auto* noiseRow = new QHBoxLayout(noise);
  noiseBand_ = new QLabel(noise);
  noiseBand_->setObjectName("noiseBandText");
  noiseBand_->setWordWrap(true);
  auto* mark = new QToolButton(noise);
  mark->setDefaultAction(markNoiseBand);
  mark->setToolButtonStyle(Qt::ToolButtonTextOnly);
  clearNoise_ = new QPushButton("Clear", noise);
  clearNoise_->setObjectName("clearNoiseBand");
  clearNoise_->setToolTip("Use the automatic noise estimate instead");
  noiseRow->addWidget(noiseBand_, 1);
  noiseRow->addWidget(mark);
  noiseRow->addWidget(clearNoise_);
  column->addWidget(noise);
  connect(clearNoise_, &QPushButton::clicked, this, &MeasurePanel::noiseBandCleared);

  auto* limits = new QGroupBox("Lower limits (alarm below)", this);
  auto* limitGrid = new QGridLayout(limits);
  powerOn_ = new QCheckBox("Channel power", limits);
  powerOn_->setObjectName("channelPowerLimitOn");
  power_ = NewLimitBox(limits, "channelPowerLimit", 60.0);
  cnOn_ = new QCheckBox("C/N", limits);
  cnOn_->setObjectName("cnLimitOn");
  cn_ = NewLimitBox(limits, "cnLimit", 10.0);
  limitGrid->addWidget(powerOn_, 0, 0);
  limitGrid->addWidget(power_, 0, 1);
  limitGrid->addWidget(cnOn_, 1, 0);
  limitGrid->addWidget(cn_, 1, 1);
  column->addWidget(limits);
  for (QCheckBox* on : {powerOn_, cnOn_}) connect(on, &QCheckBox::toggled, this, &MeasurePanel::EmitLimits);
  for (QDoubleSpinBox* level : {power_, cn_})
    connect(level, &QDoubleSpinBox::valueChanged, this, &MeasurePanel::EmitLimits);

  average_ = new QCheckBox(QString("Average in power, time constant %1 captures").arg(kAverageCaptures), this);
  average_->setObjectName("averageFigures");
  average_->setToolTip("Each capture weighs about a tenth; at one capture every 3 s, 30 s");
  column->addWidget(average_);
  connect(average_, &QCheckBox::toggled, this, &MeasurePanel::averageEdited);
  // No taller than its read-outs: the panels under it take the rest.
  setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Maximum);
}

void MeasurePanel::EmitLimits() {
  BandLimits limits;
  if (powerOn_->isChecked()) limits.ChannelPowerDb = power_->value();
  if (cnOn_->isChecked()) limits.CarrierToNoiseDb = cn_->value();
  emit limitsEdited(limits);
}

void MeasurePanel::Show(const std::vector<FigureLine>& lines, const QString& noiseBand, const WatchOptions& options) {
  for (size_t i = 0; i < static_cast<size_t>(kRows); ++i) {
    const bool shown = i < lines.size();
    names_[i]->setText(shown ? Text(lines[i].Name) : QString());
    values_[i]->setText(shown ? Text(lines[i].Value) : QString());
    names_[i]->setVisible(shown);
    values_[i]->setVisible(shown);
  }
  noiseBand_->setText(noiseBand);
  clearNoise_->setEnabled(options.Noise.has_value());
  // The options as the window holds them; showing them is no edit.
  const QSignalBlocker quiet[] = {QSignalBlocker(powerOn_), QSignalBlocker(power_), QSignalBlocker(cnOn_),
                                  QSignalBlocker(cn_), QSignalBlocker(average_)};
  const BandLimits& l = options.Limits;
  powerOn_->setChecked(l.ChannelPowerDb.has_value());
  cnOn_->setChecked(l.CarrierToNoiseDb.has_value());
  // A level being typed is left alone: a capture in the meantime must not undo the typing.
  if (l.ChannelPowerDb && !power_->hasFocus()) power_->setValue(*l.ChannelPowerDb);
  if (l.CarrierToNoiseDb && !cn_->hasFocus()) cn_->setValue(*l.CarrierToNoiseDb);
  average_->setChecked(options.Average);
}

QSize MeasurePanel::sizeHint() const {
  const int names = names_[0]->fontMetrics().horizontalAdvance("Occupied bandwidth");
  const int values = values_[0]->fontMetrics().horizontalAdvance("-125.000 dB at 4294.967295 MHz");
  return {names + values + 40, QWidget::sizeHint().height()};
}

QString MeasurePanel::Figure(const QString& name) const {
  for (size_t i = 0; i < static_cast<size_t>(kRows); ++i)
    if (!names_[i]->isHidden() && names_[i]->text() == name) return values_[i]->text();
  return {};
}

}  // namespace tavrix
