#pragma once
#include <QWidget>

#include <array>
#include <string>

class QLineEdit;
class QToolBar;

namespace tavrix {

// The panel below the plot: tbCursors (its buttons are the command builder's) and the six
// read-only cursor read-outs txtCursor0..5 under the captions "Cursor 1", "Cursor 2" and
// "Delta".
class CursorPanel : public QWidget {
  Q_OBJECT

 public:
  explicit CursorPanel(QWidget* parent);
  QToolBar* Toolbar() const { return toolbar_; }
  // The read-outs' texts, in the order of CursorReadouts.
  void Show(const std::array<std::string, 6>& texts);
  QString Text(int readout) const;

 private:
  QToolBar* toolbar_ = nullptr;
  std::array<QLineEdit*, 6> txtCursor_{};
};

}  // namespace tavrix
