#include "app/cursor_panel.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QToolBar>
#include <QVBoxLayout>

#include "app/window_text.h"
#include "view/window_layout.h"

namespace tavrix {

namespace {

constexpr std::array<const char*, 6> kCursorReadoutTips = {
    "Cursor 1 Frequency", "Cursor 1 Amplitude", "Cursor 2 Frequency",
    "Cursor 2 Amplitude", "Cursor Delta in Frequency", "Cursor Delta in dB"};
constexpr std::array<const char*, 3> kGroups = {"Cursor 1", "Cursor 2", "Delta"};

}  // namespace

CursorPanel::CursorPanel(QWidget* parent) : QWidget(parent) {
  setObjectName("readoutPanel");
  setFixedHeight(TwipsToPixels(kReadoutPanelTwips, DpiOr96(logicalDpiY())));
  auto* row = new QHBoxLayout(this);
  row->setContentsMargins(6, 2, 6, 2);
  row->setSpacing(10);
  toolbar_ = new QToolBar(this);
  toolbar_->setObjectName("tbCursors");
  toolbar_->setIconSize(QSize(16, 16));
  row->addWidget(toolbar_, 0, Qt::AlignVCenter);
  const int boxWidth = fontMetrics().horizontalAdvance("4294967.29500000MHz") + 10;
  for (size_t g = 0; g < kGroups.size(); ++g) {
    auto* group = new QVBoxLayout;
    group->setSpacing(1);
    auto* caption = new QLabel(kGroups[g], this);
    caption->setEnabled(false);  // a quiet caption above its two read-outs
    group->addWidget(caption);
    auto* boxes = new QHBoxLayout;
    boxes->setSpacing(3);
    for (size_t k = 0; k < 2; ++k) {
      const size_t i = 2 * g + k;
      auto* box = new QLineEdit(this);
      box->setObjectName(QString("txtCursor%1").arg(i));
      box->setReadOnly(true);
      box->setFocusPolicy(Qt::NoFocus);
      box->setToolTip(kCursorReadoutTips[i]);
      box->setFixedWidth(k == 0 ? boxWidth : boxWidth * 2 / 3);
      txtCursor_[i] = box;
      boxes->addWidget(box);
    }
    group->addLayout(boxes);
    row->addLayout(group);
  }
  row->addStretch(1);
}

void CursorPanel::Show(const std::array<std::string, 6>& texts) {
  for (size_t i = 0; i < texts.size(); ++i) txtCursor_[i]->setText(tavrix::Text(texts[i]));
}

QString CursorPanel::Text(int readout) const { return txtCursor_.at(static_cast<size_t>(readout))->text(); }

}  // namespace tavrix
