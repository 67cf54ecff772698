#pragma once
#include <QWidget>

#include <cstdint>

class QComboBox;
class QLabel;
class QSlider;
class QToolButton;

namespace tavrix {

// What the replay bar shows.
struct ReplayBarState {
  int64_t FirstMs = 0, LastMs = 0;  // the recording's first and last captures
  int64_t ShownMs = 0;              // the capture shown
  size_t Index = 0, Count = 0;      // its number (from 0) of all
  bool Playing = false;
  int Speed = 1;
  QString Reading;  // how far the first pass over the recording has come, while it runs
};

// The replay bar under the plot: play and pause, a step back and forward one capture, a
// time slider from the recording's first capture to its last, the speed, and the way back
// to the live unit. It shows what it is given and says what was asked.
class ReplayBar : public QWidget {
  Q_OBJECT

 public:
  explicit ReplayBar(QWidget* parent = nullptr);
  void Show(const ReplayBarState& state);
  QSlider* Slider() const { return slider_; }

 signals:
  void playClicked();
  void stepClicked(int captures);
  void seekRequested(int64_t timeMs);
  void speedChosen(int speed);
  void leaveClicked();

 private:
  int64_t firstMs_ = 0;
  QToolButton* play_ = nullptr;
  QToolButton* back_ = nullptr;
  QToolButton* forward_ = nullptr;
  QLabel* first_ = nullptr;
  QSlider* slider_ = nullptr;
  QLabel* last_ = nullptr;
  QComboBox* speed_ = nullptr;
  QLabel* where_ = nullptr;
};

// "2026-11-25 06:00:03 UTC": a capture's time as the window shows it; with milliseconds
// when asked.
QString CaptureTimeText(int64_t timeMs, bool milliseconds = false);

}  // namespace tavrix
