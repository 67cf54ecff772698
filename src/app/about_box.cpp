#include "app/about_box.h"
#include "store/dialog_flags.h"

#include <QClipboard>
#include <QFont>
#include <QFontDatabase>
#include <QFrame>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScreen>
#include <QSysInfo>
#include <QVBoxLayout>
#include <QtGlobal>

#include "app/version.h"

namespace tavrix {

namespace {

constexpr int kIconSize = 64;
constexpr int kTextWidth = 360;

// A push button with its object name and caption; the default one answers Enter, the
// others never take it over.
QPushButton* NewPushButton(QWidget* parent, const char* name, const char* caption, bool isDefault) {
  auto* button = new QPushButton(caption, parent);
  button->setObjectName(name);
  if (isDefault)
    button->setDefault(true);
  else
    button->setAutoDefault(false);
  return button;
}

constexpr const char* kDescription =
    "A live spectrum analyzer display for Tavrix satellite demodulators. Every three seconds it asks the "
    "unit for a fresh capture of its receive path over the network, transforms it and shows the current "
    "and previous traces with a video average and a peak hold, two measurement cursors, a peak search "
    "from level to level and the export of every data set to text files.";

constexpr const char* kDisclaimer =
    "This program is provided as is, without warranty of any kind. It is a monitoring aid: its levels and "
    "frequencies come from the demodulator's own capture, and it does not replace calibrated test equipment "
    "for acceptance or compliance measurements.";

QLabel* NewText(const QString& text, QWidget* parent) {
  auto* label = new QLabel(text, parent);
  label->setTextFormat(Qt::PlainText);
  label->setWordWrap(true);
  label->setFixedWidth(kTextWidth);
  return label;
}

}  // namespace

QString SystemInformationText() {
  QStringList lines;
  lines << QStringLiteral("Tavrix Spectrum Analyzer, version %1").arg(kVersion);
  lines << QStringLiteral("Qt: %1 at run time, built with %2").arg(qVersion(), QT_VERSION_STR);
  lines << QStringLiteral("Operating system: %1").arg(QSysInfo::prettyProductName());
  lines << QStringLiteral("Kernel: %1 %2").arg(QSysInfo::kernelType(), QSysInfo::kernelVersion());
  lines << QStringLiteral("CPU architecture: %1 (built for %2)")
               .arg(QSysInfo::currentCpuArchitecture(), QSysInfo::buildCpuArchitecture());
  lines << QStringLiteral("Platform plugin: %1").arg(QGuiApplication::platformName());
  const QList<QScreen*> screens = QGuiApplication::screens();
  lines << QStringLiteral("Screens: %1").arg(screens.size());
  for (const QScreen* screen : screens) {
    const QRect area = screen->geometry();
    lines << QStringLiteral("  %1: %2 x %3 at (%4, %5), %6 dpi, device pixel ratio %7%8")
                 .arg(screen->name().isEmpty() ? QStringLiteral("(unnamed)") : screen->name())
                 .arg(area.width())
                 .arg(area.height())
                 .arg(area.x())
                 .arg(area.y())
                 .arg(screen->logicalDotsPerInch(), 0, 'f', 0)
                 .arg(screen->devicePixelRatio(), 0, 'g', 3)
                 .arg(screen == QGuiApplication::primaryScreen() ? QStringLiteral(" (primary)") : QString());
  }
  return lines.join('\n') + '\n';
}

frmAbout::frmAbout(QWidget* parent) : QDialog(parent, kDialogFrameFlags) {
  setObjectName("frmAbout");
  setWindowTitle("About Tavrix Spectrum Analyzer");

  auto* icon = new QLabel(this);
  icon->setObjectName("picIcon");
  icon->setPixmap(QIcon(":/icons/tavrix-spectrum").pixmap(QSize(kIconSize, kIconSize), devicePixelRatioF()));
  icon->setAlignment(Qt::AlignTop | Qt::AlignHCenter);

  auto* title = NewText("Tavrix Spectrum Analyzer", this);
  title->setObjectName("lblTitle");
  QFont titleFont = title->font();
  titleFont.setPointSizeF(titleFont.pointSizeF() * 1.5);
  titleFont.setBold(true);
  title->setFont(titleFont);
  auto* version = NewText(QStringLiteral("Version %1").arg(kVersion), this);
  version->setObjectName("lblVersion");
  auto* description = NewText(kDescription, this);
  description->setObjectName("lblDescription");
  auto* rule = new QFrame(this);
  rule->setFrameShape(QFrame::HLine);
  rule->setFrameShadow(QFrame::Sunken);
  auto* disclaimer = NewText(kDisclaimer, this);
  disclaimer->setObjectName("lblDisclaimer");
  QFont smaller = disclaimer->font();
  smaller.setPointSizeF(smaller.pointSizeF() * 0.9);
  disclaimer->setFont(smaller);

  auto* texts = new QVBoxLayout;
  texts->addWidget(title);
  texts->addWidget(version);
  texts->addSpacing(8);
  texts->addWidget(description);
  texts->addSpacing(8);
  texts->addWidget(rule);
  texts->addWidget(disclaimer);

  auto* ok = NewPushButton(this, "cmdOK", "OK", true);
  auto* sysInfo = NewPushButton(this, "cmdSysInfo", "System Info...", false);
  connect(ok, &QPushButton::clicked, this, &frmAbout::accept);
  connect(sysInfo, &QPushButton::clicked, this, &frmAbout::cmdSysInfo_Click);
  auto* buttons = new QHBoxLayout;
  buttons->addStretch(1);
  buttons->addWidget(sysInfo);
  buttons->addWidget(ok);

  auto* top = new QHBoxLayout;
  top->setSpacing(16);
  top->addWidget(icon, 0, Qt::AlignTop);
  top->addLayout(texts);
  auto* layout = new QVBoxLayout(this);
  layout->addLayout(top);
  layout->addSpacing(8);
  layout->addLayout(buttons);
  layout->setSizeConstraint(QLayout::SetFixedSize);
  ok->setFocus(Qt::OtherFocusReason);
}

void frmAbout::cmdSysInfo_Click() {
  QDialog dialog(this, kDialogFrameFlags | Qt::WindowMaximizeButtonHint);
  dialog.setObjectName("frmSysInfo");
  dialog.setWindowTitle("System Information");
  const QString text = SystemInformationText();
  auto* view = new QPlainTextEdit(text, &dialog);
  view->setObjectName("txtSysInfo");
  view->setReadOnly(true);
  view->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
  view->setLineWrapMode(QPlainTextEdit::NoWrap);
  view->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
  view->setMinimumSize(view->fontMetrics().averageCharWidth() * 84, view->fontMetrics().height() * 14);

  auto* copy = NewPushButton(&dialog, "cmdCopy", "Copy", false);
  auto* close = NewPushButton(&dialog, "cmdClose", "Close", true);
  connect(copy, &QPushButton::clicked, &dialog, [text] { QGuiApplication::clipboard()->setText(text); });
  connect(close, &QPushButton::clicked, &dialog, &QDialog::accept);
  auto* buttons = new QHBoxLayout;
  buttons->addStretch(1);
  buttons->addWidget(copy);
  buttons->addWidget(close);
  auto* layout = new QVBoxLayout(&dialog);
  layout->addWidget(view);
  layout->addLayout(buttons);
  close->setFocus(Qt::OtherFocusReason);
  dialog.exec();
}

}  // namespace tavrix
