// The real window and what it keeps: a first start, every setting back after a restart,
// damaged settings files, the palettes, the view on the clipboard, in files and on paper,
// and units added and chosen with the title, the recent menu and the acquisition following.
#include <QClipboard>
#include <QFileSystemWatcher>
#include <QMimeData>
#include <QPrinter>

#include "app/version.h"
#include "window_harness.h"

using namespace tavrix;
using namespace tavrix::testing;

namespace {

using Viewer = WindowHarness;

ViewerSettings Written(const QString& file) { return LoadViewerSettings(SettingsStore(file), QDir::homePath().toStdString()); }

// Each damaged file also holds a palette with one good colour and one out of range; the kinds
// of damage a file can have are the settings store's tests'.
struct DamagedRow { const char* name; QByteArray content; bool setAside; QString told; int units; };
const QByteArray kGood = "PeakThreshold=-30\nVideoAverage=True\n";
const QByteArray kUnits = "[Tavrix%20Modems]\nModemCount=2\nModem1\\ModemName=Rack A\nModem1\\IP_Address=127.0.0.1:1\n"
                          "Modem2\\ModemName=Rack B\nModem2\\IP_Address=10.1.1.2\n";
const DamagedRow kDamagedRows[] = {
    {"values of the wrong kind and bytes that are no text",
     "[WindowState]\nWindowWidth=wide\nWindowHeight=1e30\nWindowLeft=-9e29\n[Configuration]\n" + kGood +
         "CurrentPalette=7\nPeakHold=maybe\n[Tavrix%20Modems]\nModemCount=many\n" +
         QByteArray("\x00\xff\xfe garbage \x01\x02\n", 16),
     true, "settings.conf.bad", 0},
    {"a section line naming nothing", "[Configuration]\n" + kGood + "[\nWindowLeft=12\nWindowTop=x\n" + kUnits, true,
     "settings.conf.bad", 2},
    {"a negative unit count", "[Configuration]\n" + kGood + QByteArray(kUnits).replace("Count=2", "Count=-5"), false,
     "repaired", 2}};

}  // namespace

class SettingsWindowTest : public QObject {
  Q_OBJECT
  std::optional<QTemporaryDir> folder;  // a fresh settings folder for each test
  QString file;

 private slots:
  void init() { file = folder.emplace().filePath("settings.conf"); }
  void firstStartTakesEveryDefault() {
    Viewer v(file);
    const ViewerSettings defaults = LoadViewerSettings(v.w->Store(), QDir::homePath().toStdString());
    ViewerSettings now = v.w->CurrentSettings();
    // Three quarters of the screen's area (here the minimum width bounds it), centred.
    const QRect screen = QGuiApplication::primaryScreen()->availableGeometry(), place(v.w->pos(), v.w->size());
    QVERIFY(std::abs(place.height() - screen.height() * 0.866) <= 1 &&
            (place.center() - screen.center()).manhattanLength() <= 2);
    now.Window = defaults.Window;
    QVERIFY(now == defaults);
    QCOMPARE(v.w->windowTitle(), QString("Tavrix Spectrum Analyzer - Version ") + kVersion);
    QAction* recent = v.w->MenuEntry("mnuCommSel0");
    QVERIFY(recent->isVisible() && !recent->isEnabled() && recent->text() == "<No Recent Modem Monitored>");
    QVERIFY(v.w->Cycle().Stopped() && !v.w->Cycle().Connecting());
  }

  void everySettingComesBackAfterARestart() {
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
      QTRY_VERIFY_WITH_TIMEOUT(Written(file) == before, kWaitMs);  // on the disk before any close
      w.close();
    }
    Viewer again(file);
    QVERIFY(again.w->CurrentSettings() == before);
    QVERIFY(again.w->MenuEntry("mnuOptionsPalette1")->isChecked() && again.w->Button("PeakHold")->isChecked());
    QCOMPARE(again.w->Entry("txtThreshold")->text(), QString("-42.500dB"));
  }

  // Damaged files: every good value and unit survives a start and a close, far-off or huge
  // geometry ends on the screen, what was repaired is told, and nothing invalid is written back.
  void damagedFilesKeepWhatCanBeRead_data() { AddRows(kDamagedRows); }
  void damagedFilesKeepWhatCanBeRead() {
    const auto& [name, damage, setAside, told, units] = Row(kDamagedRows);
    const QByteArray content = "[Configuration/ColorPalette0]\nBackGroundColor=16777216\nSpectrumColor=255\n" + damage;
    QCOMPARE(WriteFileAtomically(file.toStdString(), content.toStdString()), "");
    ViewerSettings s;
    {
      Viewer v(file);
      s = v.w->CurrentSettings();
      QVERIFY(s.PeakThreshold == -30.0f && s.VideoAverage && !s.PeakHold && s.CurrentPalette == 0);
      QCOMPARE(s.Palettes[0][kBackgroundColor], kDefaultPalettes[0][kBackgroundColor]);
      QCOMPARE(s.Palettes[0][kSpectrumColor], ColorRef{255});
      QCOMPARE(v.w->Directory().Count(), units);
      const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
      QVERIFY(screen.intersects(v.w->geometry()) && v.w->height() <= screen.height() &&
              v.w->width() >= v.w->MinimumPixels().width());
      QTRY_VERIFY(v.Asked("Tavrix Spectrum Analyzer"));
      QVERIFY(QString::fromStdString(v.questions.back().Text).contains(told));
      v.w->close();
    }
    QCOMPARE(QFile::exists(file + ".bad"), setAside);
    QVERIFY(Written(file) == s);
    const QByteArray text = QByteArray::fromStdString(ReadWholeFile(file.toStdString()));
    QVERIFY(!text.isEmpty() && !text.contains("@Invalid"));
    Viewer again(file);
    QCOMPARE(again.w->Directory().Count(), units);
    QVERIFY(units == 0 || again.w->Directory().Item("Rack B")->IP_Address == "10.1.1.2");
  }

  void palettesAndTheViewOnClipboardFilesAndPaper() {
    Viewer v(file);
    frmMain& w = *v.w;
    w.ShowCaptureBlock(ReadBytes("blocks/noise_seed1234.bin"));
    for (const char* name : {"view.png", "view.svg"}) {
      v.chosen = folder->filePath(name);
      w.mnuFileSaveView_Click();
      const std::string head = ReadWholeFile(v.chosen->toStdString()).substr(0, 200);
      QVERIFY(QString(name).endsWith("png") ? head.starts_with("\x89PNG") : head.find("<svg") != std::string::npos);
    }
    QCOMPARE(QImage(folder->filePath("view.png")).pixelColor(1, 1), QColor(Qt::white));  // the printing palette
    // A folder that is not there: one message, nothing written.
    v.chosen = folder->filePath("missing/view.png");
    w.mnuFileSaveView_Click();
    QVERIFY(v.questions.size() == 1 && !QFile::exists(*v.chosen));

    QPrinter printer(QPrinter::HighResolution);
    printer.setOutputFormat(QPrinter::PdfFormat);
    printer.setOutputFileName(folder->filePath("page.pdf"));
    w.PrintView(printer);
    const std::string pdf = ReadWholeFile(folder->filePath("page.pdf").toStdString());
    QVERIFY(pdf.starts_with("%PDF-") && pdf.size() > 2000);

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

    QApplication::clipboard()->setText("held before");
    w.mnuViewCopy_Click();
    const QMimeData* held = QApplication::clipboard()->mimeData();
    QVERIFY(held->hasImage() && !held->hasText());
    QCOMPARE(qvariant_cast<QImage>(held->imageData()).size(), w.Plot()->Frame().size());
  }

  void unitsAddedAndChosenAreFollowed() {
    SimulatorProcess sim;
    QVERIFY(sim.Started());
    {
      Viewer v(file);
      frmMain& w = *v.w;
      v.name = "Rack 1", v.address = sim.Address();
      w.mnuCommAdd_Click();  // none was current: the new unit is chosen and connected
      QVERIFY(v.WaitConnected());
      QCOMPARE(w.windowTitle(), QString("Tavrix Spectrum Analyzer [Connected to Rack 1] - Version ") + kVersion);
      QVERIFY(w.Directory().Item("Rack 1")->LastComm.secsTo(QDateTime::currentDateTime()) < 5);
      w.tbMain_ButtonClick("PeakHold");
      QVERIFY(v.Capture());
      QTest::qWait(1100);  // Rack 2, added next, is heard from later than Rack 1
      v.name = "Rack 2", v.address = "127.0.0.1:1";
      w.mnuCommAdd_Click();  // another is current: this one waits in the directory
      QCOMPARE(w.CurrentModemName(), std::string("Rack 1"));
      w.ChooseModem("Rack 2");
      QVERIFY(!v.WaitConnected() && v.Asked("Cannot Connect To Server"));
      // Nothing of Rack 1 is left under Rack 2's name.
      QVERIFY(!w.Live().State.Traces.DataValid && w.Live().State.Traces.PeakHoldCount == 0);
      QVERIFY(w.Panels()->Text("CenterFreq").isEmpty() && w.Panels()->Text("CurPoint").isEmpty());
      QVERIFY(w.Button("PeakHold")->toolTip() == "Peak Hold Trace" && w.Button("PeakHold")->isChecked());
      QCOMPARE(w.windowTitle(), QString("Tavrix Spectrum Analyzer [Connected to Rack 2] - Version ") + kVersion);
      // The recent menu, the newest (a new entry is heard from now) at the top; back to Rack 1 from there.
      QCOMPARE(w.MenuEntry("mnuCommSel0")->text() + ", " + w.MenuEntry("mnuCommSel1")->text(), "Rack 2, Rack 1");
      QVERIFY(!w.MenuEntry("mnuCommSel2")->isVisible());
      w.mnuCommSel_Click(1);
      QVERIFY(v.WaitConnected() && w.CurrentModemName() == "Rack 1");
      w.close();
    }
    Viewer again(file);
    QVERIFY(again.w->Directory().Count() == 2 && again.w->CurrentModemName() == "Rack 1");
    // The unit used last, by timerConnection, with updates running as they were at the close.
    QVERIFY(again.WaitConnected() && !again.w->Cycle().Stopped());
  }

  // A unit that keeps answering: its time of last connection is written once at the
  // first connection, then only after the interval (and at close).
  void aUnitThatKeepsAnsweringIsNotWrittenAtEveryPoll_data() {
    QTest::addColumn<int>("intervalMs");
    QTest::newRow("the ten-minute interval") << 600000;
    QTest::newRow("no interval") << 0;
  }
  void aUnitThatKeepsAnsweringIsNotWrittenAtEveryPoll() {
    QFETCH(int, intervalMs);
    SimulatorProcess sim;
    QVERIFY(sim.Started());
    Viewer v(file, Viewer::Polls::ByTest, [&](MainWindowOptions& o) { o.LastCommWriteMs = intervalMs; });
    v.name = "Rack 1", v.address = sim.Address();
    v.w->mnuCommAdd_Click();
    QVERIFY(v.WaitConnected());
    QTRY_VERIFY_WITH_TIMEOUT(QFile(file).exists() && LoadModems(SettingsStore(file)).Entries.Count() == 1, kWaitMs);
    QTest::qWait(2500);  // the settings keeper has stored the running updates
    QFileSystemWatcher watcher({folder->path()});
    QSignalSpy writes(&watcher, &QFileSystemWatcher::directoryChanged);
    for (int i = 0; i < 3; ++i) {
      QTest::qWait(intervalMs == 0 ? 1100 : 0);  // the stored time has whole seconds
      QVERIFY(v.Capture());
    }
    QTest::qWait(300);
    QCOMPARE(writes.size() > 0, intervalMs == 0);
    const QDateTime heard = v.w->Directory().Item("Rack 1")->LastComm;
    v.w->close();  // the close writes the latest time whatever the interval
    QCOMPARE(LoadModems(SettingsStore(file)).Entries.Item("Rack 1")->LastComm.toSecsSinceEpoch(), heard.toSecsSinceEpoch());
  }
};

std::unique_ptr<QObject> NewSettingsWindowTest() { return std::make_unique<SettingsWindowTest>(); }

#include "test_settings_window.moc"
