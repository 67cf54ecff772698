#include "app/replay_bar.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSignalBlocker>
#include <QSlider>
#include <QStyle>
#include <QToolButton>

#include "history/recording_folder.h"
#include "history/replay_player.h"
#include "history/waterfall_rows.h"

namespace tavrix {

namespace {

// The slider counts tenths of a second from the first capture: a day is 864,000 steps.
constexpr int64_t kSliderStepMs = 100;

QToolButton* Button(QWidget* parent, const char* name, QStyle::StandardPixmap icon, const QString& tip) {
  auto* button = new QToolButton(parent);
  button->setObjectName(name);
  button->setIcon(parent->style()->standardIcon(icon));
  button->setToolTip(tip);
  button->setAutoRaise(true);
  return button;
}

}  // namespace

QString CaptureTimeText(int64_t timeMs, bool milliseconds) {
  QString text = QString::fromStdString(history::UtcDay(timeMs) + " " + history::ClockText(timeMs, true));
  if (milliseconds) text += QString(".%1").arg(((timeMs % 1000) + 1000) % 1000, 3, 10, QChar('0'));
  return text + " UTC";
}

ReplayBar::ReplayBar(QWidget* parent) : QWidget(parent) {
  setObjectName("replayBar");
  auto* row = new QHBoxLayout(this);
  row->setContentsMargins(4, 2, 4, 2);
  play_ = Button(this, "replayPlay", QStyle::SP_MediaPlay, "Play");
  back_ = Button(this, "replayBack", QStyle::SP_MediaSkipBackward, "One Capture Back");
  forward_ = Button(this, "replayForward", QStyle::SP_MediaSkipForward, "One Capture Forward");
  first_ = new QLabel(this);
  slider_ = new QSlider(Qt::Horizontal, this);
  slider_->setObjectName("replaySlider");
  slider_->setToolTip("Drag to the time to show");
  last_ = new QLabel(this);
  speed_ = new QComboBox(this);
  speed_->setObjectName("replaySpeed");
  speed_->setToolTip("Playing Speed");
  for (const int speed : history::kReplaySpeeds) speed_->addItem(QString("%1x").arg(speed), speed);
  where_ = new QLabel(this);
  where_->setObjectName("replayWhere");
  auto* leave = new QPushButton("Back to Live", this);
  leave->setObjectName("replayLeave");
  leave->setToolTip("Leave the replay and watch the unit again");
  for (QWidget* w : std::initializer_list<QWidget*>{play_, back_, forward_, first_}) row->addWidget(w);
  row->addWidget(slider_, 1);
  for (QWidget* w : std::initializer_list<QWidget*>{last_, speed_, where_, leave}) row->addWidget(w);

  connect(play_, &QToolButton::clicked, this, &ReplayBar::playClicked);
  connect(back_, &QToolButton::clicked, this, [this] { emit stepClicked(-1); });
  connect(forward_, &QToolButton::clicked, this, [this] { emit stepClicked(1); });
  connect(slider_, &QSlider::valueChanged, this,
          [this](int value) { emit seekRequested(firstMs_ + int64_t{value} * kSliderStepMs); });
  connect(speed_, &QComboBox::activated, this, [this](int index) { emit speedChosen(speed_->itemData(index).toInt()); });
  connect(leave, &QPushButton::clicked, this, &ReplayBar::leaveClicked);
}

void ReplayBar::Show(const ReplayBarState& s) {
  firstMs_ = s.FirstMs;
  {
    const QSignalBlocker quiet(slider_);
    slider_->setRange(0, static_cast<int>((s.LastMs - s.FirstMs) / kSliderStepMs));
    slider_->setPageStep(std::max(1, slider_->maximum() / 20));
    if (!slider_->isSliderDown()) slider_->setValue(static_cast<int>((s.ShownMs - s.FirstMs) / kSliderStepMs));
  }
  first_->setText(CaptureTimeText(s.FirstMs).chopped(4).mid(11));
  first_->setToolTip(CaptureTimeText(s.FirstMs, true));
  last_->setText(CaptureTimeText(s.LastMs).chopped(4).mid(11));
  last_->setToolTip(CaptureTimeText(s.LastMs, true));
  play_->setIcon(style()->standardIcon(s.Playing ? QStyle::SP_MediaPause : QStyle::SP_MediaPlay));
  play_->setToolTip(s.Playing ? "Pause" : "Play");
  back_->setEnabled(s.Index > 0);
  forward_->setEnabled(s.Index + 1 < s.Count);
  speed_->setCurrentIndex(speed_->findData(s.Speed));
  where_->setText(s.Reading.isEmpty() ? QString("%1 of %2").arg(s.Index + 1).arg(s.Count) : s.Reading);
}

}  // namespace tavrix
