// The measurement panels of the real window on the simulated unit: the figures between the
// cursors are the library's on the trace shown and follow each capture; a noise band dragged
// on the plot gives C/N; a C/N limit above the carrier's writes one alarm line and lowering it
// one clear line; the options come back after a restart; and the peak table lists what the
// peaks command prints for the same capture, a row click selecting its point as the moves do.
#include <QCheckBox>
#include <QDoubleSpinBox>
#include <QLabel>
#include <QTableWidget>

#include <sstream>

#include "app/command_line.h"
#include "app/event_log_panel.h"
#include "app/history_desk.h"
#include "app/measure_desk.h"
#include "app/measure_panel.h"
#include "app/peak_table_panel.h"
#include "history/recording_folder.h"
#include "window_harness.h"

using namespace tavrix;
using namespace tavrix::testing;

namespace {

// The window on a simulated unit, shown, after one capture.
struct MeasuringWindow : WindowHarness {
  MeasuringWindow(const QString& settings, const SimulatorProcess& sim) : WindowHarness(settings) {
    w->resize(1200, 720);
    w->show();
    QVERIFY(QTest::qWaitForWindowExposed(w.get()) && WaitConnected(sim.Address()) && Capture());
  }
  float Scale() const { return w->Live().State.Capture.FreqScale; }
  QPoint AtMHz(double mhz) const { return w->Plot()->ToPixel(mhz * Scale(), w->Live().View.Scale.CenterY()).toPoint(); }
  void PlaceCursor(int index, double mhz) const {
    w->Action(Command::ViewCursor, index)->trigger();
    QTest::mouseClick(w->Plot(), Qt::LeftButton, {}, AtMHz(mhz));
  }
  // Set Noise Band, then a drag across the plot from `low` to `high` MHz.
  void DragNoiseBand(double low, double high) const {
    w->Action(Command::ViewNoiseBand)->trigger();
    QTest::mousePress(w->Plot(), Qt::LeftButton, {}, AtMHz(low));
    QMouseEvent drag(QEvent::MouseMove, AtMHz(high), w->Plot()->mapToGlobal(AtMHz(high)), Qt::NoButton, Qt::LeftButton, {});
    QApplication::sendEvent(w->Plot(), &drag);
    QTest::mouseRelease(w->Plot(), Qt::LeftButton, {}, AtMHz(high));
  }
  MeasuredTrace Shown() const { return MeasuredTrace(w->Live().State.Traces, kCurrentTrace, Scale()); }
  QString Figure(const char* name) const { return w->Desk()->Panel()->Figure(name); }
  QStringList LogLines() const {
    return QString::fromStdString(ReadWholeFile(w->Desk()->LogFile().Path())).split('\n', Qt::SkipEmptyParts);
  }
};

QString Decibels(double db) { return QString::asprintf("%.3f dB", db); }

// The options as stored: numbers in single precision, so to four decimals here.
QString Described(const WatchOptions& o) {
  const auto number = [](std::optional<double> v) { return v ? QString::asprintf("%.4f", *v) : QString("-"); };
  return QStringList({number(o.Noise ? std::optional(o.Noise->Low) : std::nullopt),
                      number(o.Noise ? std::optional(o.Noise->High) : std::nullopt), number(o.Limits.ChannelPowerDb),
                      number(o.Limits.CarrierToNoiseDb), o.Average ? "average" : "latest"})
      .join(' ');
}

}  // namespace

class MeasureWindowTest : public QObject {
  Q_OBJECT

 private slots:
  void measuringBetweenTheCursors() {
    START_SIMULATOR(sim);
    QTemporaryDir dir;
    const QString settings = dir.filePath("settings.conf");
    QString kept;
    {
      MeasuringWindow h(settings, sim);
      QAction* measure = h.w->Action(Command::MeasureBand);
      QVERIFY(!measure->isEnabled() && measure->toolTip().contains("place both cursors"));
      h.PlaceCursor(1, 65.9);  // around the wide carrier, 56.02 to 65.78 MHz
      h.PlaceCursor(0, 55.9);
      QVERIFY(measure->isEnabled());
      measure->trigger();
      QVERIFY(h.w->Desk()->Panel()->isVisible() && h.w->Scene().MeasuredBand.has_value());
      const BandMHz band = *BandBetween(h.w->Display().Cursors[0], h.w->Display().Cursors[1], h.Scale());
      QVERIFY(band.Low < 56.02 && band.High > 65.78);
      // The library's figures on the trace shown, at this capture and the next.
      QString before;
      for (int capture = 0; capture < 2; ++capture) {
        const CarrierFigures f = *MeasureCarrier(h.Shown(), band);
        const double noise = *EstimateNoiseDensity(h.Shown(), band);
        QCOMPARE(h.Figure("Channel power"), Decibels(f.ChannelPowerDb));
        QCOMPARE(h.Figure("Centre"), QString::asprintf("%.6f MHz", f.CentreMHz));
        QCOMPARE(h.Figure("Occupied bandwidth"), QString::asprintf("%.6f MHz (99 %%)", f.OccupiedBandwidthMHz()));
        QCOMPARE(h.Figure("C/N"), Decibels(CarrierToNoiseOf(f, noise).Db) + " (estimated)");
        QVERIFY(h.Figure("Channel power") != before);
        before = h.Figure("Channel power");
        QVERIFY(capture == 1 || h.Capture());
      }

      // A noise band dragged beside the carrier: C/N over it, no longer estimated.
      h.DragNoiseBand(66.3, 67.3);
      const std::optional<BandMHz> noise = h.w->Display().Measure.Noise;
      QVERIFY(noise && std::fabs(noise->Low - 66.3) < 0.1 && std::fabs(noise->High - 67.3) < 0.1);
      QCOMPARE(h.w->Modes().Mode, int(kSelectMode));
      const double cn = CarrierToNoiseOf(*MeasureCarrier(h.Shown(), band), *MeanNoiseDensity(h.Shown(), {*noise})).Db;
      QCOMPARE(h.Figure("C/N"), Decibels(cn));

      // A C/N limit well above the carrier's: one alarm line at the next capture and no more
      // while it stays; lowered well below: one clear line.
      auto* limit = h.w->Desk()->Panel()->findChild<QDoubleSpinBox*>("cnLimit");
      limit->setValue(cn + 8);
      h.w->Desk()->Panel()->findChild<QCheckBox*>("cnLimitOn")->setChecked(true);
      QVERIFY(h.LogLines().isEmpty());
      for (int i = 0; i < 2; ++i) QVERIFY(h.Capture());
      const QLabel* alarm = h.w->Desk()->AlarmPanel();
      QVERIFY2(alarm->isVisible() && alarm->text().startsWith("ALARM") && alarm->text().contains("C/N"),
               qPrintable(alarm->text()));
      QCOMPARE(h.LogLines().size(), 2);  // the header and the alarm
      QVERIFY2(h.LogLines()[1].contains(",Sim,") && h.LogLines()[1].contains(",CN,") &&
                   h.LogLines()[1].endsWith(QString::asprintf(",%.3f,alarm", limit->value())),
               qPrintable(h.LogLines()[1]));
      // A level half typed survives the redraws of the captures; the level entered counts.
      limit->setFocus();
      limit->selectAll();
      QTest::keyClicks(limit, "4");
      QVERIFY(h.Capture());
      QCOMPARE(limit->text(), QString("4 dB"));
      limit->setValue(cn - 10);
      QVERIFY(h.Capture());
      QVERIFY(h.LogLines().size() == 3 && h.LogLines()[2].endsWith(QString::asprintf(",%.3f,clear", limit->value())));
      QCOMPARE(alarm->text(), QString("Limits met"));
      QCOMPARE(h.w->Desk()->EventLog()->Table()->rowCount(), 2);
      // A replayed capture meets the limits as well, shown in the panel, never in the file.
      limit->setValue(cn + 8);
      HistoryDesk& history = *h.w->History();
      history.Flush();
      const auto days = history::UnitRecordings(history.RecordingFolder().toStdString(), "Sim");
      QVERIFY(!days.empty() && history.OpenReplay(days.back().Path).empty());
      QCOMPARE(h.w->Desk()->EventLog()->Table()->rowCount(), 3);
      QCOMPARE(h.LogLines().size(), 3);
      history.LeaveReplay();
      limit->setValue(cn - 10);
      kept = Described(h.w->Display().Measure);
      QVERIFY(kept.startsWith("66.") && kept.endsWith(QString::asprintf(" %.4f latest", limit->value())));
      h.w->UnloadSettings();
    }
    // The bands, the limits and the panel come back.
    WindowHarness again(settings);
    QCOMPARE(Described(again.w->Display().Measure), kept);
    QVERIFY(again.w->Display().MeasurePanel);
  }

  void peakTableListsWhatPeaksPrints() {
    START_SIMULATOR(sim);
    QTemporaryDir dir;
    MeasuringWindow h(dir.filePath("settings.conf"), sim);
    h.w->Action(Command::ViewPeakTable)->trigger();
    const PeakTablePanel* panel = h.w->Desk()->PeakTable();
    const QString block = dir.filePath("block.bin");
    QCOMPARE(WriteFileAtomically(block.toStdString(), sim.ServedBlock(h.captures)), "");
    std::ostringstream out, err;
    QCOMPARE(RunCommandLine({"peaks", block.toStdString()}, out, err), 0);
    QCOMPARE(panel->Csv(), QString::fromStdString(out.str()));
    QTableWidget* table = panel->Table();
    QCOMPARE(table->rowCount(), 10);
    // A row selects its point as a move does: the next lower level is the next row.
    QTest::mouseClick(table->viewport(), Qt::LeftButton, {}, table->visualItemRect(table->item(3, 0)).center());
    QCOMPARE(h.w->CurrentSelection().SelectedPoint, table->item(3, 0)->text().toInt());
    QCOMPARE(h.Panel("CurPoint"), table->item(3, 0)->text());
    QCOMPARE(h.w->Display().Navigation.LastSelectedPoint, 0);  // as with a move, nothing remembered
    h.w->tbMain_ButtonClick(Command::PreviousPoint);
    QCOMPARE(h.w->CurrentSelection().SelectedPoint, table->item(4, 0)->text().toInt());
    // With a noise band, each level above its density.
    h.DragNoiseBand(66.3, 67.3);
    const double noise = PowerDb(*MeanNoiseDensity(h.Shown(), {*h.w->Display().Measure.Noise}));
    const double above = table->item(0, 2)->text().toDouble() - noise;  // to the level's printed digits
    QVERIFY2(std::fabs(table->item(0, 3)->text().toDouble() - above) < 0.002, qPrintable(table->item(0, 3)->text()));
  }
};

std::unique_ptr<QObject> NewMeasureWindowTest() { return std::make_unique<MeasureWindowTest>(); }

#include "test_measure_window.moc"
