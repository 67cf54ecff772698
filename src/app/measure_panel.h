#pragma once
#include <QWidget>

#include <array>
#include <string>
#include <vector>

#include "measure/band_watch.h"

class QAction;
class QCheckBox;
class QDoubleSpinBox;
class QLabel;
class QPushButton;

namespace tavrix {

// The measurement panel: the figures of the band between the cursors as read-outs, the
// noise band with the command that marks it and a button that clears it, the optional
// lower limits and the average. It shows what it is given and says what was edited.
class MeasurePanel : public QWidget {
  Q_OBJECT

 public:
  // `markNoiseBand` is the command that marks the noise band on the plot.
  MeasurePanel(QAction* markNoiseBand, QWidget* parent);

  // The figures (name and value, a line each), the noise band's text and the options.
  void Show(const std::vector<FigureLine>& lines, const QString& noiseBand, const WatchOptions& options);
  // The value shown beside a figure's name; empty when it is not shown.
  QString Figure(const QString& name) const;
  // As wide as its longest figures, whatever it shows now, so the plot beside it stays put.
  QSize sizeHint() const override;

 signals:
  void limitsEdited(const BandLimits& limits);
  void averageEdited(bool on);
  void noiseBandCleared();

 private:
  void EmitLimits();

  static constexpr int kRows = 11;
  std::array<QLabel*, kRows> names_{};
  std::array<QLabel*, kRows> values_{};
  QLabel* noiseBand_ = nullptr;
  QPushButton* clearNoise_ = nullptr;
  QCheckBox* powerOn_ = nullptr;
  QDoubleSpinBox* power_ = nullptr;
  QCheckBox* cnOn_ = nullptr;
  QDoubleSpinBox* cn_ = nullptr;
  QCheckBox* average_ = nullptr;
};

}  // namespace tavrix
