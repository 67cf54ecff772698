// The real window and what it keeps: a first start on an empty settings folder, every
// setting back after a restart, a damaged settings file, the palettes on the plot, the
// view on the clipboard, in files and on paper, and units added and chosen against the
// simulated unit with the title, the recent menu and the acquisition following.
#include <QAction>
#include <QClipboard>
#include <QFileSystemWatcher>
#include <QMimeData>
#include <QPrinter>
#include <QTemporaryDir>

#include "app/entry_box.h"
#include "app/plot_widget.h"
#include "app/version.h"
#include "link/simulator_process.h"
#include "store/settings_store.h"
#include "window_harness.h"

using namespace tavrix;
using namespace tavrix::testing;

namespace {

using Viewer = WindowHarness;

ViewerSettings Written(const QString& file) { return LoadViewerSettings(SettingsStore(file), QDir::homePath().toStdString()); }

}  // namespace

class SettingsWindowTest : public QObject {
  Q_OBJECT

 private slots:
  void firstStartTakesEveryDefault() {
    QTemporaryDir folder;
    Viewer v(folder.filePath("settings.conf"));
    const ViewerSettings defaults = LoadViewerSettings(v.w->Store(), QDir::homePath().toStdString());
    ViewerSettings now = v.w->CurrentSettings();
    // A comfortable first window: three quarters of the screen's area (here the minimum
    // width bounds it), centred.
    const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
    const QRect place(v.w->pos(), v.w->size());
    QVERIFY(place.width() >= v.w->MinimumPixels().width());
    QVERIFY(std::abs(place.height() - screen.height() * 0.866) <= 1);
    QVERIFY((place.center() - screen.center()).manhattanLength() <= 2);
    now.Window = defaults.Window;  // the place is compared above
    QVERIFY(now == defaults);
    QCOMPARE(v.w->windowTitle(), QString("Tavrix Spectrum Analyzer - Version ") + kVersion);
    QAction* recent = v.w->MenuEntry("mnuCommSel0");
    QVERIFY(recent->isVisible() && !recent->isEnabled());
    QCOMPARE(recent->text(), QString("<No Recent Modem Monitored>"));
    QVERIFY(v.w->Cycle().Stopped() && !v.w->Cycle().Connecting());
  }

  void everySettingComesBackAfterARestart() {
    QTemporaryDir folder;
    const QString file = folder.filePath("settings.conf");
    ViewerSettings before;
    {
      Viewer v(file);
      frmMain& w = *v.w;
      w.show();
      QVERIFY(QTest::qWaitForWindowExposed(&w));
      // Within the off-screen platform's 800x600 screen, which bounds a restored size.
      w.resize(w.MinimumPixels() + QSize(5, 77));
      w.move(3, 17);
      v.color = QColor(12, 34, 56);
      w.PickColor(1, kPeakHoldColor);
      w.PickColor(0, kBackgroundColor);
      w.mnuOptionsPalette_Click(1);
      for (const char* option : {"mnuOptionsSnap", "mnuOptionsWindow", "mnuOptionsPanel"}) w.MenuEntry(option)->trigger();
      for (const char* trace : {"CurrentTrace", "PeakHold", "LastTrace"}) w.tbMain_ButtonClick(trace);
      w.ShowCaptureBlock(ReadBytes("blocks/noise_seed1234.bin"));
      w.mnuViewCursor_Click(0);
      w.SelectPress(w.Live().View.CenterX(), -12.5f);
      w.comboPeakPoint_Click(0);
      w.Entry("txtThreshold")->setText("-42.5");
      QTest::keyClick(w.Entry("txtThreshold"), Qt::Key_Return);
      before = w.CurrentSettings();
      QCOMPARE(before.Palettes[1][kPeakHoldColor], MakeColorRef(12, 34, 56));
      QVERIFY(before.Cursors[0].Placed() && before.CursorDisplay && before.PeakThreshold == -42.5f);
      QVERIFY(!before.CurrentTrace && before.PeakHold && before.LastTrace && before.PointMoves == 0);
      // Were the viewer to crash now, the changes are already on the disk.
      QTRY_VERIFY_WITH_TIMEOUT(Written(file) == before, kWaitMs);
      w.close();
    }
    Viewer again(file);
    QVERIFY(again.w->CurrentSettings() == before);
    QCOMPARE(again.w->MenuEntry("mnuOptionsPalette1")->isChecked(), true);
    QCOMPARE(again.w->Button("PeakHold")->isChecked(), true);
    QCOMPARE(again.w->Entry("txtThreshold")->text(), QString("-42.500dB"));
  }

  // Damaged files: every good value and unit survives a start and a close, far-off or huge
  // geometry ends on the screen, what was repaired is told, and nothing invalid is written
  // back. Each row also holds a palette with one good colour and one out of range.
  void damagedFilesKeepWhatCanBeRead_data() {
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<bool>("setAside");
    QTest::addColumn<QString>("told");
    QTest::addColumn<int>("units");
    const QByteArray good = "PeakThreshold=-30\nVideoAverage=True\n";
    const QByteArray units = "Modem1\\ModemName=Rack A\nModem1\\IP_Address=127.0.0.1:1\n"
                             "Modem2\\ModemName=Rack B\nModem2\\IP_Address=10.1.1.2\n";
    QTest::newRow("values of the wrong kind and bytes that are no text")
        << "[WindowState]\nWindowWidth=wide\nWindowHeight=1e30\nWindowLeft=-9e29\n[Configuration]\n" + good +
               "CurrentPalette=7\nPeakHold=maybe\n[Tavrix%20Modems]\nModemCount=many\n" +
               QByteArray("\x00\xff\xfe garbage \x01\x02\n", 16)
        << true << "settings.conf.bad" << 0;
    QTest::newRow("a section line naming nothing")
        << "[Configuration]\n" + good + "[\nWindowLeft=12\nWindowTop=x\n[Tavrix%20Modems]\nModemCount=2\n" + units << true
        << "settings.conf.bad" << 2;
    QTest::newRow("a negative unit count") << "[Configuration]\n" + good + "[Tavrix%20Modems]\nModemCount=-5\n" + units
                                           << false << "repaired" << 2;
    QTest::newRow("a quote that never closes")
        << "[Configuration]\nLastPath=\"/tmp/unterminated\n" + good + "[Tavrix%20Modems]\nModemCount=2\n" + units << true
        << "settings.conf.bad" << 2;
  }
  void damagedFilesKeepWhatCanBeRead() {
    QFETCH(QByteArray, content);
    QFETCH(bool, setAside);
    QFETCH(QString, told);
    QFETCH(int, units);
    QTemporaryDir folder;
    const QString file = folder.filePath("settings.conf");
    content.prepend("[Configuration/ColorPalette0]\nBackGroundColor=16777216\nSpectrumColor=255\n");
    QFile damaged(file);
    QVERIFY(damaged.open(QIODevice::WriteOnly) && damaged.write(content) == content.size());
    damaged.close();
    ViewerSettings s;
    {
      Viewer v(file);
      s = v.w->CurrentSettings();
      QVERIFY(s.PeakThreshold == -30.0f && s.VideoAverage && !s.PeakHold && s.CurrentPalette == 0);
      QCOMPARE(s.Palettes[0][kBackgroundColor], kDefaultPalettes[0][kBackgroundColor]);
      QCOMPARE(s.Palettes[0][kSpectrumColor], ColorRef{255});
      QCOMPARE(v.w->Directory().Count(), units);
      const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
      QVERIFY(screen.intersects(v.w->geometry()) && v.w->height() <= screen.height());
      QVERIFY(v.w->width() >= v.w->MinimumPixels().width());
      QTRY_VERIFY(v.Asked("Tavrix Spectrum Analyzer"));
      QVERIFY(QString::fromStdString(v.questions.back().Text).contains(told));
      v.w->close();
    }
    QCOMPARE(QFile::exists(file + ".bad"), setAside);
    QVERIFY(Written(file) == s);
    QFile written(file);
    QVERIFY(written.open(QIODevice::ReadOnly));
    const QByteArray text = written.readAll();
    QVERIFY(!text.contains("@Invalid") && !text.contains("unterminated\n"));
    Viewer again(file);
    QCOMPARE(again.w->Directory().Count(), units);
    QVERIFY(units == 0 || again.w->Directory().Item("Rack B")->IP_Address == "10.1.1.2");
  }

  void palettesAndTheViewOnClipboardFilesAndPaper() {
    QTemporaryDir folder;
    Viewer v(folder.filePath("settings.conf"));
    frmMain& w = *v.w;
    w.ShowCaptureBlock(ReadBytes("blocks/noise_seed1234.bin"));
    for (const char* name : {"view.png", "view.svg"}) {
      v.chosen = folder.filePath(name);
      w.mnuFileSaveView_Click();
      QFile saved(*v.chosen);
      QVERIFY(saved.open(QIODevice::ReadOnly));
      const QByteArray head = saved.read(200);
      QVERIFY(QString(name).endsWith("png") ? head.startsWith("\x89PNG") : head.contains("<svg"));
    }
    // The printing palette: a white page around the traces.
    QCOMPARE(QImage(folder.filePath("view.png")).pixelColor(1, 1), QColor(Qt::white));
    // A folder that is not there: one message, nothing written.
    v.chosen = folder.filePath("missing/view.png");
    w.mnuFileSaveView_Click();
    QCOMPARE(v.questions.size(), size_t{1});
    QVERIFY(!QFile::exists(*v.chosen));

    QPrinter printer(QPrinter::HighResolution);
    printer.setOutputFormat(QPrinter::PdfFormat);
    printer.setOutputFileName(folder.filePath("page.pdf"));
    w.PrintView(printer);
    QFile pdf(folder.filePath("page.pdf"));
    QVERIFY(pdf.open(QIODevice::ReadOnly) && pdf.read(5) == "%PDF-" && pdf.size() > 2000);

    // Only a palette on the screen redraws it.
    const QImage shown = w.Plot()->Frame();
    v.color = QColor(200, 0, 0);
    w.PickColor(1, kBackgroundColor);  // the printing palette is not on the screen
    QCOMPARE(w.Plot()->Frame(), shown);
    v.color.reset();  // cancelled
    w.PickColor(0, kBackgroundColor);
    QCOMPARE(w.Palettes()[0][kBackgroundColor], kDefaultPalettes[0][kBackgroundColor]);
    v.color = QColor(0, 0, 90);
    w.PickColor(0, kBackgroundColor);
    QCOMPARE(w.Plot()->Frame().pixelColor(2, 2), QColor(0, 0, 90));
    QCOMPARE(v.colorTitles, QStringList(3, "Select Analyzer Background Color"));
    v.color = QColor(1, 2, 3);
    w.PickColor(0, kThresholdColor);
    QCOMPARE(v.colorTitles.last(), QString("Select Minumum Peak Threshold Color"));

    QApplication::clipboard()->setText("held before");
    w.mnuViewCopy_Click();
    const QMimeData* held = QApplication::clipboard()->mimeData();
    QVERIFY(held->hasImage() && !held->hasText());
    QCOMPARE(qvariant_cast<QImage>(held->imageData()).size(), w.Plot()->Frame().size());
  }

  void unitsAddedAndChosenAreFollowed() {
    SimulatorProcess sim;
    QVERIFY(sim.Started());
    QTemporaryDir folder;
    const QString file = folder.filePath("settings.conf");
    {
      Viewer v(file);
      frmMain& w = *v.w;
      v.name = "Rack 1";
      v.address = sim.Address();
      w.mnuCommAdd_Click();  // none was current: the new unit is chosen and connected
      QVERIFY(v.WaitConnected());
      QCOMPARE(w.windowTitle(), QString("Tavrix Spectrum Analyzer [Connected to Rack 1] - Version ") + kVersion);
      QVERIFY(w.Directory().Item("Rack 1")->LastComm.secsTo(QDateTime::currentDateTime()) < 5);
      w.tbMain_ButtonClick("PeakHold");
      QVERIFY(v.Capture());
      QTest::qWait(1100);  // Rack 2, added next, is heard from later than Rack 1
      v.name = "Rack 2";
      v.address = "127.0.0.1:1";
      w.mnuCommAdd_Click();  // another is current: this one waits in the directory
      QCOMPARE(w.CurrentModemName(), std::string("Rack 1"));
      w.ChooseModem("Rack 2");
      QVERIFY(!v.WaitConnected());
      QVERIFY(v.Asked("Cannot Connect To Server"));
      // Nothing of Rack 1 is left under Rack 2's name.
      QVERIFY(!w.Live().State.Traces.DataValid && w.Live().State.Traces.PeakHoldCount == 0);
      QVERIFY(w.Panels()->Text("CenterFreq").isEmpty() && w.Panels()->Text("CurPoint").isEmpty());
      QCOMPARE(w.Button("PeakHold")->toolTip(), QString("Peak Hold Trace"));
      QVERIFY(w.Button("PeakHold")->isChecked());
      QCOMPARE(w.windowTitle(), QString("Tavrix Spectrum Analyzer [Connected to Rack 2] - Version ") + kVersion);
      // The recent menu: the newest at the top (a new entry counts as heard from now);
      // back to the first unit from there.
      QCOMPARE(w.MenuEntry("mnuCommSel0")->text(), QString("Rack 2"));
      QCOMPARE(w.MenuEntry("mnuCommSel1")->text(), QString("Rack 1"));
      QVERIFY(!w.MenuEntry("mnuCommSel2")->isVisible());
      w.mnuCommSel_Click(1);
      QVERIFY(v.WaitConnected());
      QCOMPARE(w.CurrentModemName(), std::string("Rack 1"));
      w.close();
    }
    Viewer again(file);
    QCOMPARE(again.w->Directory().Count(), 2);
    QCOMPARE(again.w->CurrentModemName(), std::string("Rack 1"));
    QVERIFY(again.WaitConnected());  // the unit used last, by timerConnection
    QVERIFY(!again.w->Cycle().Stopped());  // updates were running at the close, and run again
  }

  // A unit that keeps answering: its time of last connection is written once at the
  // first connection, then only after the interval (and at close).
  void aUnitThatKeepsAnsweringIsNotWrittenAtEveryPoll_data() {
    QTest::addColumn<int>("intervalMs");
    QTest::addColumn<bool>("rewritten");
    QTest::newRow("the ten-minute interval") << 600000 << false;
    QTest::newRow("no interval") << 0 << true;
  }
  void aUnitThatKeepsAnsweringIsNotWrittenAtEveryPoll() {
    QFETCH(int, intervalMs);
    QFETCH(bool, rewritten);
    SimulatorProcess sim;
    QVERIFY(sim.Started());
    QTemporaryDir folder;
    const QString file = folder.filePath("settings.conf");
    Viewer v(file, Viewer::Polls::ByTest, [&](MainWindowOptions& o) { o.LastCommWriteMs = intervalMs; });
    v.name = "Rack 1";
    v.address = sim.Address();
    v.w->mnuCommAdd_Click();
    QVERIFY(v.WaitConnected());
    QTRY_VERIFY_WITH_TIMEOUT(QFile(file).exists() && LoadModems(SettingsStore(file)).Entries.Count() == 1, kWaitMs);
    QTest::qWait(2500);  // the settings keeper has stored the running updates
    QFileSystemWatcher watcher({folder.path()});
    QSignalSpy writes(&watcher, &QFileSystemWatcher::directoryChanged);
    for (int i = 0; i < 3; ++i) {
      QTest::qWait(intervalMs == 0 ? 1100 : 0);  // the stored time has whole seconds
      QVERIFY(v.Capture());
    }
    QTest::qWait(300);
    QCOMPARE(writes.size() > 0, rewritten);
    const QDateTime heard = v.w->Directory().Item("Rack 1")->LastComm;
    v.w->close();  // the close writes the latest time whatever the interval
    QCOMPARE(LoadModems(SettingsStore(file)).Entries.Item("Rack 1")->LastComm.toSecsSinceEpoch(), heard.toSecsSinceEpoch());
  }
};

std::unique_ptr<QObject> NewSettingsWindowTest() { return std::make_unique<SettingsWindowTest>(); }

#include "test_settings_window.moc"
