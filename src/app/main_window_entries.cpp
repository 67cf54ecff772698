// The main window's cursors and entry boxes: cursor placement and display, and the point,
// frequency, amplitude and threshold boxes.
#include <QApplication>
#include <QTimer>

#include <algorithm>

#include "app/entry_box.h"
#include "app/main_window.h"
#include "app/window_text.h"
#include "app/plot_widget.h"
#include "app/status_panels.h"
#include "view/selection_readout.h"

namespace tavrix {

EntryBox* frmMain::Entry(const QString& name) const {
  for (EntryBox* box : {txtPoint_, txtFreq_, txtAmp_, txtThreshold_})
    if (box != nullptr && box->objectName() == name) return box;
  return nullptr;
}

void frmMain::BuildEntryBoxes() {
  const auto selected = [this](auto value) {
    return [this, value] {
      const int t = selection_.SelectedTrace, p = selection_.SelectedPoint;
      return p >= 1 && t >= 0 ? value(static_cast<size_t>(p - 1), t) : QString();
    };
  };
  const CaptureFields& capture = live_.State.Capture;
  const TraceSet& traces = live_.State.Traces;

  EntryBox::Behaviour point;
  point.CharacterSet = 2;
  point.MaxLength = 4;
  point.Initial = [this] { return QString::number(selection_.SelectedPoint >= 1 ? selection_.SelectedPoint : 1); };
  point.Check = [](const std::string& text) { return CheckPointEntry(text); };
  point.Apply = [this](double value) { MoveToSpecificPoint(static_cast<int>(value)); };
  point.Escaped = [this] { RefreshSelectionPanels(); };
  point.Floating = true;

  EntryBox::Behaviour frequency = point;
  frequency.CharacterSet = 5;
  frequency.MaxLength = 16;
  frequency.Initial = selected([this, &capture, &traces](size_t i, int t) {
    return Text(FrequencyReadout(traces.FreqPoints[i][t], capture.FreqScale, capture.FreqFormat));
  });
  // Shown, compared and bounded in the "Frequency" panel's unit, over the active trace.
  frequency.Check = [this, &capture, &traces](const std::string& text) {
    const int t = std::max(display_.Navigation.ActiveTrace, 0);
    float low = traces.FreqPoints[0][t], high = low;
    for (const TracePoint& f : traces.FreqPoints) {
      low = std::min(low, f[t]);
      high = std::max(high, f[t]);
    }
    const double scale = capture.FreqScale;
    return CheckFrequencyEntry(text, low / scale, high / scale, capture.FreqFormat);
  };
  frequency.Apply = [this, &capture, &traces](double megahertz) {
    const int t = display_.Navigation.ActiveTrace;
    const TracePointRef p = NearestPoint(traces, megahertz * capture.FreqScale, 0, 1, 0, t);
    if (p.Point != 0) MoveToSpecificPoint(p.Point);
  };

  EntryBox::Behaviour amplitude = point;
  amplitude.CharacterSet = 1;
  amplitude.MaxLength = 8;
  amplitude.Initial = selected(
      [&traces](size_t i, int t) { return LevelText(traces.AmpPoints[i][t]); });
  amplitude.Check = [](const std::string& text) { return CheckAmplitudeEntry(text); };
  amplitude.Apply = [this, &traces](double level) {
    const TracePointRef p = NearestPoint(traces, 0, -level, 0, 1, display_.Navigation.ActiveTrace);
    if (p.Point != 0) MoveToSpecificPoint(p.Point);
  };

  txtPoint_ = new EntryBox(point, panels_);
  txtFreq_ = new EntryBox(frequency, panels_);
  txtAmp_ = new EntryBox(amplitude, panels_);
  txtPoint_->setObjectName("txtPoint");
  txtFreq_->setObjectName("txtFreq");
  txtAmp_->setObjectName("txtAmp");
  for (EntryBox* box : {txtPoint_, txtFreq_, txtAmp_, txtThreshold_}) {
    connect(box, &EntryBox::refused, this, [this](const QString& message) { Notice(message.toStdString()); });
    connect(box, &EntryBox::done, this, [this] { picSpectrum_->setFocus(Qt::OtherFocusReason); });
  }
  connect(panels_, &StatusPanels::panelClicked, this, [this](const QString& key) {
    // A click on "CurPoint" waits out the double-click interval: a second click goes to
    // the last selected point instead.
    if (key == "CurPoint")
      curPointClick_->start(QApplication::doubleClickInterval());
    else
      OpenEntryBox(key);
  });
  connect(panels_, &StatusPanels::panelDoubleClicked, this, [this](const QString& key) {
    if (key != "CurPoint") return;
    curPointClick_->stop();
    MovePoint(PointMove::LastSelected);
  });
  curPointClick_ = new QTimer(this);
  curPointClick_->setSingleShot(true);
  connect(curPointClick_, &QTimer::timeout, this, [this] { OpenEntryBox("CurPoint"); });
}

EntryBox* frmMain::NewThresholdBox(QWidget* parent) {
  EntryBox::Behaviour threshold;
  threshold.CharacterSet = 1;
  threshold.MaxLength = 8;
  threshold.Initial = [this] { return LevelText(display_.Navigation.Threshold); };
  threshold.Check = [](const std::string& text) { return CheckThresholdEntry(text); };
  threshold.Apply = [this](double level) {
    SetThreshold(static_cast<float>(level));
    UpdateView();
  };
  // Escape puts the threshold's own value back.
  threshold.Escaped = [this] { SetThreshold(display_.Navigation.Threshold); };
  auto* box = new EntryBox(threshold, parent);
  box->setObjectName("txtThreshold");
  box->setToolTip("Minimum Peak Threshold");
  box->setText(threshold.Initial());
  return box;
}

void frmMain::OpenEntryBox(const QString& panelKey) {
  EntryBox* box = panelKey == "CurPoint" ? txtPoint_ : panelKey == "Frequency" ? txtFreq_
                                                   : panelKey == "Amplitude" ? txtAmp_ : nullptr;
  if (box == nullptr) return;
  // The frequency and amplitude boxes need a selected point to start from.
  if (box != txtPoint_ && selection_.SelectedPoint == 0) return;
  box->OpenOver(panels_->Panel(panelKey.toUtf8().constData())->geometry());
}

void frmMain::MoveToSpecificPoint(int point) {
  if (!KeepActiveTraceVisible()) return;
  SelectPoint(display_.Navigation.ActiveTrace, point, true);
  const float x = live_.View.CenterX(), y = live_.View.CenterY();
  live_.View.KeepInView(x, y);
  UpdateView();
  ShowCoordinateReadout(x, y);
}

void frmMain::SetThreshold(float level) {
  display_.Navigation.Threshold = level;
  txtThreshold_->setText(LevelText(level));
}

void frmMain::mnuViewCursor_Click(int index) {
  modes_.PlacingCursor = index + 1;
  display_.CursorDisplay = true;
  ShowModes();
  UpdateView();
}

void frmMain::mnuViewCursors_Click() {
  display_.CursorDisplay = !display_.CursorDisplay;
  UpdateView();
}

}  // namespace tavrix
