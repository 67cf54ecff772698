#pragma once
#include <QString>
#include <QWidget>

#include <array>

#include "view/window_layout.h"

class QLabel;
class QProgressBar;

namespace tavrix {

// A tool tip that shows `text` exactly, whatever markup it seems to hold.
QString PlainToolTip(const QString& text);

// sbStatus's panels, addressed by key ("Status", "CenterFreq", ...), each a text with an
// optional picture, sharing the bar's width; and pbStatus at the end.
class StatusPanels : public QWidget {
  Q_OBJECT

 public:
  explicit StatusPanels(QWidget* parent = nullptr);

  void SetText(const char* key, const QString& text);
  QString Text(const char* key) const;
  // A picture from the icon resources by name; an empty name shows none.
  void SetPicture(const char* key, const QString& imageName);
  QString Picture(const char* key) const;
  QWidget* Panel(const char* key) const;
  QProgressBar* ProgressBar() const { return progress_; }
  QSize sizeHint() const override;
  QSize minimumSizeHint() const override;

 signals:
  void panelClicked(const QString& key);
  void panelDoubleClicked(const QString& key);

 protected:
  void resizeEvent(QResizeEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  struct PanelParts {
    QWidget* frame = nullptr;
    QLabel* picture = nullptr;
    QLabel* text = nullptr;
    QString pictureName;
  };
  int IndexOf(const char* key) const;
  void ShareWidth();

  std::array<PanelParts, kStatusPanelKeys.size()> panels_;
  QProgressBar* progress_ = nullptr;
};

}  // namespace tavrix
