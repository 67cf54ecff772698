#include "app/status_panels.h"

#include <QFontMetrics>
#include <QFrame>
#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QMouseEvent>
#include <QProgressBar>

#include <algorithm>
#include <cstring>

#include "app/project_icons.h"

namespace tavrix {

namespace {

constexpr int kPictureSize = 16;
constexpr int kProgressWidth = 80;
// The longest text each panel shows, by which its width is measured ("Status" takes the rest).
constexpr std::array<const char*, kStatusPanelKeys.size()> kWidestText = {
    "", "538976.28800KHz", "250.0000KHz", "Video Average", "2048", "4294967.29500000MHz", "-125.000dB", ""};
constexpr std::array<const char*, kStatusPanelKeys.size()> kToolTips = {
    "Status", "Centre frequency", "Sample rate", "Trace of the selected point", "Selected point",
    "Frequency of the selected point", "Amplitude of the selected point", "Cursor"};

}  // namespace

QString PlainToolTip(const QString& text) {
  // Qt takes a tool tip that looks like markup for rich text, and a unit's name or reply
  // may look like markup: escaped inside a paragraph of its own it is shown as it stands.
  return "<p style='white-space:pre'>" + text.toHtmlEscaped() + "</p>";
}

StatusPanels::StatusPanels(QWidget* parent) : QWidget(parent) {
  setObjectName("sbStatus");
  // The panels are placed by hand at each resize, so that together they always fill the
  // bar: a layout would make their summed widths the bar's minimum and a narrower window
  // would push the panels on the right out of sight.
  for (size_t i = 0; i < panels_.size(); ++i) {
    PanelParts& p = panels_[i];
    auto* frame = new QFrame(this);
    frame->setObjectName(kStatusPanelKeys[i]);
    frame->setFrameStyle(QFrame::StyledPanel | QFrame::Sunken);
    frame->setToolTip(kToolTips[i]);
    auto* inner = new QHBoxLayout(frame);
    inner->setSizeConstraint(QLayout::SetNoConstraint);  // a narrow bar may clip the text
    inner->setContentsMargins(3, 1, 3, 1);
    inner->setSpacing(3);
    p.picture = new QLabel(frame);
    p.picture->setFixedSize(kPictureSize, kPictureSize);
    p.picture->hide();
    p.text = new QLabel(frame);
    p.text->setTextFormat(Qt::PlainText);
    p.text->setMinimumWidth(0);
    inner->addWidget(p.picture);
    inner->addWidget(p.text, 1);
    p.frame = frame;
    frame->installEventFilter(this);
  }
  progress_ = new QProgressBar(this);
  progress_->setObjectName("pbStatus");
  progress_->setRange(0, 100);
  progress_->setValue(0);
  progress_->setTextVisible(false);
  progress_->setFixedWidth(kProgressWidth);
}

QSize StatusPanels::sizeHint() const {
  int height = progress_->sizeHint().height();
  for (const PanelParts& p : panels_) height = std::max(height, p.frame->sizeHint().height());
  return {kProgressWidth, height};
}

QSize StatusPanels::minimumSizeHint() const { return {0, sizeHint().height()}; }

int StatusPanels::IndexOf(const char* key) const {
  for (size_t i = 0; i < kStatusPanelKeys.size(); ++i)
    if (std::strcmp(kStatusPanelKeys[i], key) == 0) return static_cast<int>(i);
  return -1;
}

void StatusPanels::SetText(const char* key, const QString& text) {
  const int i = IndexOf(key);
  if (i < 0) return;
  panels_[static_cast<size_t>(i)].text->setText(text);
  if (i == 0) panels_[0].frame->setToolTip(text.isEmpty() ? QString("Status") : PlainToolTip(text));
}

QString StatusPanels::Text(const char* key) const {
  const int i = IndexOf(key);
  return i < 0 ? QString() : panels_[static_cast<size_t>(i)].text->text();
}

void StatusPanels::SetPicture(const char* key, const QString& imageName) {
  const int i = IndexOf(key);
  if (i < 0) return;
  PanelParts& p = panels_[static_cast<size_t>(i)];
  if (p.pictureName == imageName) return;
  p.pictureName = imageName;
  if (imageName.isEmpty()) {
    p.picture->hide();
    return;
  }
  p.picture->setPixmap(ProjectIcon(imageName).pixmap(kPictureSize, kPictureSize));
  p.picture->show();
}

QString StatusPanels::Picture(const char* key) const {
  const int i = IndexOf(key);
  return i < 0 ? QString() : panels_[static_cast<size_t>(i)].pictureName;
}

QWidget* StatusPanels::Panel(const char* key) const {
  const int i = IndexOf(key);
  return i < 0 ? nullptr : panels_[static_cast<size_t>(i)].frame;
}

bool StatusPanels::eventFilter(QObject* watched, QEvent* event) {
  const bool click = event->type() == QEvent::MouseButtonPress, twice = event->type() == QEvent::MouseButtonDblClick;
  if ((click || twice) && static_cast<QMouseEvent*>(event)->button() == Qt::LeftButton) {
    const QString key = watched->objectName();
    if (click) emit panelClicked(key);
    if (twice) emit panelDoubleClicked(key);
    return true;
  }
  return QWidget::eventFilter(watched, event);
}

void StatusPanels::resizeEvent(QResizeEvent* event) {
  QWidget::resizeEvent(event);
  ShareWidth();
}

void StatusPanels::ShareWidth() {
  const QFontMetrics fm(font());
  std::array<int, kStatusPanelKeys.size()> wanted{};
  for (size_t i = 0; i < wanted.size(); ++i)
    wanted[i] = fm.horizontalAdvance(kWidestText[i]) + 12 + (i == 3 ? kPictureSize + 3 : 0);
  wanted[7] = fm.horizontalAdvance("0000000000");
  const int total = width() - kProgressWidth;
  const auto widths = StatusPanelWidths(std::max(0, total), wanted, fm.horizontalAdvance('0') * 24);
  int x = 0;
  for (size_t i = 0; i < panels_.size(); ++i) {
    panels_[i].frame->setGeometry(x, 0, widths[i], height());
    x += widths[i];
  }
  progress_->setGeometry(x, 0, std::min(kProgressWidth, std::max(0, width() - x)), height());
}

}  // namespace tavrix
