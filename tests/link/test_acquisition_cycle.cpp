// The acquisition cycle against the simulated unit: the first connection, one poll or single
// step with each fault, stop and start, and a stalled unit. The controls agree with the state.
#include <QSignalSpy>
#include <QtTest>

#include <memory>
#include <optional>
#include <tuple>
#include <vector>

#include "dsp/capture_block.h"
#include "link/acquisition_cycle.h"
#include "link/loopback_peers.h"
#include "link/recording_notices.h"
#include "link/simulator_process.h"
#include "test_support.h"

using namespace tavrix;
using namespace tavrix::testing;

namespace {

constexpr int kWaitMs = 15000;  // an upper bound for one step chain, never reached when all is well
const std::string kAttempting = "Attempting connection to Sim (<Ctrl>S to Abort)...";

// A cycle wired to a recorder, talking to the unit "Sim" at `address` (none when empty).
struct Harness {
  explicit Harness(const std::string& address) {
    if (!address.empty()) modem = ModemInfo{"Sim", address};
    const CycleTiming timing{.pollMs = 600000, .connectionMs = 0, .requestWaitMs = 20};  // polls are driven here
    const FtpLimits limits{.connectTimeoutMs = 2000, .transferTimeoutMs = 4000, .stallTimeoutMs = 2000,
                           .releasePauseMs = 0};
    auto keep = [this](const std::string& block) { blocks.push_back(block); return uint16_t(0); };
    cycle = std::make_unique<AcquisitionCycle>(notices, [this] { return modem; }, keep, timing, limits);
  }
  // Runs one step chain to its end: the connection's result, or true for a tick.
  template <typename Signal>
  bool Run(void (AcquisitionCycle::*start)(), Signal finished) {
    QSignalSpy done(cycle.get(), finished);
    (cycle.get()->*start)();
    return done.wait(kWaitMs) && (done.first().isEmpty() || done.first().first().toBool());
  }
  bool ConnectFirst() { return Run(&AcquisitionCycle::timerConnection_Timer, &AcquisitionCycle::connectFinished); }
  bool Poll() { return Run(&AcquisitionCycle::timerPoll_Timer, &AcquisitionCycle::tickFinished); }
  // Updates run or are stopped, and every control says the same.
  void CheckRunning(bool running, const char* runningCaption = kStopCaption) const {
    QCOMPARE(cycle->Stopped(), !running);
    QCOMPARE(cycle->PollEnabled(), running);
    QCOMPARE(cycle->Display().StopGoCaption, std::string(running ? runningCaption : kStartCaption));
    QCOMPARE(cycle->Display().SingleStepEnabled, !running && modem.has_value());
  }
  std::optional<ModemInfo> modem;
  RecordingNotices notices;
  std::vector<std::string> blocks;
  std::unique_ptr<AcquisitionCycle> cycle;
};

}  // namespace

class AcquisitionCycleTest : public QObject {
  Q_OBJECT

 private slots:
  void firstConnection_data() {
    QTest::addColumn<QString>("unit");  // "sim", "refusing", "mute", "nothing" listening, or "none" current
    QTest::addColumn<bool>("ctrlS");    // pressed while the connection is attempted
    QTest::addColumn<QString>("status");  // the last one; empty after "Cannot Connect To Server"
    QTest::newRow("reached") << "sim" << false << "Successful connection established to Sim...";
    QTest::newRow("refused") << "refusing" << false << "";
    QTest::newRow("nothing listening") << "nothing" << false << "";
    QTest::newRow("Ctrl+S") << "mute" << true << "Tavrix communication has been halted!";
    QTest::newRow("no unit current") << "none" << false << "Successful network access...";
  }

  void firstConnection() {
    QFETCH(QString, unit);
    QFETCH(bool, ctrlS);
    QFETCH(QString, status);
    START_SIMULATOR(sim, unit == "refusing" ? QStringList{"--refuse-after", "0"} : QStringList{});
    MuteListener mute;
    const int port = unit == "mute" ? mute.Port() : unit == "nothing" ? FreePort() : sim.Port();
    const std::string address = unit == "none" ? "" : "127.0.0.1:" + std::to_string(port);
    Harness h(address);
    QSignalSpy done(h.cycle.get(), &AcquisitionCycle::connectFinished);
    h.cycle->timerConnection_Timer();
    if (ctrlS) {
      QTRY_VERIFY_WITH_TIMEOUT(h.notices.SawStatus(kAttempting), kWaitMs);
      h.cycle->AbortConnection();
    }
    QVERIFY(done.wait(kWaitMs));
    const bool connected = unit == "sim";
    QCOMPARE(done.first().first().toBool(), connected);
    h.CheckRunning(connected);
    QCOMPARE(h.cycle->Connected(), connected);
    QCOMPARE(h.cycle->Display().StatusPicture, int(connected ? kImageGreen : kImageRed));
    QCOMPARE(h.cycle->Display().StopGoPressed, ctrlS);
    QVERIFY(!h.cycle->Display().BusyPointer && !h.cycle->Display().ConnectingProgress);
    QVERIFY(h.notices.SawStatus("Successful network access..."));
    QCOMPARE(h.notices.SawStatus(kAttempting), !address.empty());
    QCOMPARE(h.cycle->StatusTimerEnabled(), ctrlS);
    const bool refused = unit == "refusing" || unit == "nothing";
    QCOMPARE(h.notices.Shown(MessageButtons::Ok, MessageIcon::Critical),
             refused ? "Cannot Connect To Server|A connection to the Tavrix modem [Sim] at IP address " + address +
                           " could not be established!"
                     : "");
    QCOMPARE(QString::fromStdString(h.notices.statuses.back()), status);
    // With no unit current, the commands have nothing to act on.
    if (address.empty()) {
      h.cycle->StopGo_Click();
      h.cycle->SingleStep_Click();
      QVERIFY(!h.cycle->Connecting() && !h.cycle->TickInProgress());
      QCOMPARE(QString::fromStdString(h.notices.statuses.back()), status);
    }
  }

  void onePoll_data() {
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QString>("how");  // "poll", "step" from stopped, or "No" to the connection-lost question
    QTest::addColumn<int>("blocks");   // processed, each read with a request for the nominal length
    const QStringList lost{"--refuse-after", "1"};
    using Row = std::tuple<const char*, QStringList, QString, int>;
    for (const auto& [name, options, how, blocks] : std::initializer_list<Row>{
             {"whole block", {}, "poll", 1}, {"no size", {"--no-size"}, "poll", 1},
             {"empty read", {"--short-block", "0"}, "poll", 0}, {"lost, Yes", lost, "poll", 0},
             {"lost, No", lost, "No", 0}, {"single step", {}, "step", 1},
             {"capture refused", {"--reject-capture"}, "poll", 0},
             {"short of its size", {"--short-block", "4000", "--size-says", "8224"}, "poll", 1}})
      QTest::newRow(name) << options << how << blocks;
  }

  void onePoll() {
    QFETCH(QStringList, options);
    QFETCH(QString, how);
    QFETCH(int, blocks);
    const bool step = how == "step", yes = how != "No";
    START_SIMULATOR(sim, options);
    Harness h(sim.Address());
    h.notices.answer = yes ? MessageAnswer::Yes : MessageAnswer::No;
    if (step)
      QVERIFY(h.Run(&AcquisitionCycle::SingleStep_Click, &AcquisitionCycle::tickFinished));
    else
      QVERIFY(h.ConnectFirst() && h.Poll());
    // A lost unit refuses the read's connection: the read finds none and asks. A refused
    // request reads nothing; the unit still answers, so its connection is kept.
    const bool lost = options.contains("--refuse-after");
    const bool refused = options.contains("--reject-capture");
    QCOMPARE(sim.Count("STOR capt_spec:"), 1);
    QCOMPARE(sim.Count("RETR spectrum:"), lost || refused ? 0 : 1);
    QCOMPARE(sim.Count("CONNECT"), lost ? 1 : refused ? 2 : 3);  // the first, the read's, and one for the next tick
    QCOMPARE(h.blocks.size(), size_t(blocks));
    if (blocks > 0) {
      QCOMPARE(h.blocks[0], sim.ServedBlock(1));  // byte for byte as served
      QCOMPARE(h.cycle->State().RawBlock, h.blocks[0]);
    }
    QCOMPARE(h.cycle->State().LastReadRequest, blocks > 0 ? kNominalBlockLength : 0);
    // What arrived is shown all the same, and the operator told it was not all.
    QCOMPARE(h.notices.SawStatus("Short capture received (4000 of 8224 bytes)"), options.contains("--size-says"));
    QVERIFY(!h.cycle->State().RequestBusy && !h.cycle->State().FetchBusy && !h.cycle->TickInProgress());
    // "Yes" keeps the poll going, each tick trying the unit until it answers.
    h.CheckRunning(!step && (!lost || yes));
    QCOMPARE(h.cycle->Reconnecting(), lost && yes);
    QCOMPARE(h.cycle->Connected(), yes);
    QCOMPARE(h.cycle->LostShown(), lost);
    QCOMPARE(h.notices.SawStatus("Communications have been aborted!"), !yes);
    QCOMPARE(h.cycle->StatusTimerEnabled(), !yes || options.contains("--size-says"));
    // The refused reconnection says nothing more.
    QCOMPARE(h.notices.Shown(MessageButtons::YesNo, MessageIcon::Critical),
             lost ? "Server Connection Lost|The connection to the Tavrix modem [Sim] at IP address " + sim.Address() +
                        " has been lost!  Do you wish to re-establish communications?"
                  : "");
    if (lost || step || refused) return;
    // The connection left open carries the next tick, which takes a new capture.
    QVERIFY(h.Poll());
    QCOMPARE(sim.Count("STOR capt_spec:"), 2);
    QCOMPARE(h.blocks.size(), size_t(2 * blocks));
    if (blocks > 0) QVERIFY(h.blocks[0] != h.blocks[1]);
    h.CheckRunning(true);
  }

  void unitGoneBetweenPollsIsAskedAboutAndWaitedFor() {
    START_SIMULATOR(sim);
    Harness h(sim.Address());
    QVERIFY(h.ConnectFirst() && h.Poll());
    sim.Kill();
    QVERIFY(h.Poll());
    QVERIFY(!h.notices.boxes.empty() && h.notices.boxes[0].title == "Server Connection Lost");
    // "Yes": the poll goes on, each tick trying the unit, without asking again.
    h.CheckRunning(true);
    QVERIFY(h.Poll());
    QCOMPARE(h.cycle->Display().StatusPicture, int(kImageYellow));
    QVERIFY(h.cycle->Reconnecting() && h.notices.boxes.size() == 1);
    QVERIFY(sim.Restart());
    QVERIFY(h.Poll() && h.Poll());
    QVERIFY(!h.cycle->Reconnecting() && !h.cycle->LostShown());
    QCOMPARE(h.cycle->Display().StatusPicture, int(kImageGreen));
    QCOMPARE(h.blocks.size(), size_t(2));
    h.CheckRunning(true);
  }

  void stopAndStart_data() {
    QTest::addColumn<bool>("resumes");
    QTest::newRow("resumed") << true;
    QTest::newRow("resume refused") << false;
  }

  void stopAndStart() {
    QFETCH(bool, resumes);
    START_SIMULATOR(sim, resumes ? QStringList{} : QStringList{"--refuse-after", "1"});
    Harness h(sim.Address());
    QVERIFY(h.ConnectFirst());
    h.cycle->StopGo_Click();
    h.CheckRunning(false);
    QVERIFY(h.cycle->Display().StopGoPressed && h.cycle->StatusTimerEnabled());
    QCOMPARE(h.cycle->Display().StopGoImage, int(kImageRed));
    QCOMPARE(h.notices.statuses.back(), std::string("Tavrix communication has been halted!"));
    h.cycle->timerStatus_Timer();
    QCOMPARE(h.notices.statuses.back(), std::string());

    QSignalSpy connected(h.cycle.get(), &AcquisitionCycle::connectFinished);
    h.cycle->StopGo_Click();
    QVERIFY(connected.wait(kWaitMs));
    QCOMPARE(connected.first().first().toBool(), resumes);
    h.CheckRunning(resumes, kResumedStopCaption);  // a refused resume leaves the start caption
    QVERIFY(!h.cycle->Display().StopGoPressed);
    QCOMPARE(h.cycle->Display().StopGoImage, int(resumes ? kImageGreen : kImageRed));
    QCOMPARE(h.cycle->Display().StatusPicture, int(resumes ? kImageGreen : kImageRed));
    QCOMPARE(h.notices.SawStatus("Tavrix communication has been resumed!"), resumes);
    QCOMPARE(h.cycle->StatusTimerEnabled(), resumes);
    QVERIFY(h.notices.boxes.empty());  // the unit was reached before

    // The unit is no longer current: there is nothing to step.
    h.modem.reset();
    h.cycle->CurrentModemChanged();
    QVERIFY(!h.cycle->Display().SingleStepEnabled);
  }

  void stallingUnitNeitherBlocksTheWindowNorOutlivesAStop() {
    START_SIMULATOR(sim, "--stall-transfer", "2");
    Harness h(sim.Address());
    QVERIFY(h.ConnectFirst());
    QSignalSpy done(h.cycle.get(), &AcquisitionCycle::tickFinished);
    h.cycle->timerPoll_Timer();
    QTRY_VERIFY_WITH_TIMEOUT(h.cycle->State().FetchBusy, kWaitMs);
    // Events posted now are handled while the read is still waiting on the unit.
    int handledDuringRead = 0;
    for (int i = 0; i < 5; ++i)
      QTimer::singleShot(0, h.cycle.get(), [&] { handledDuringRead += h.cycle->State().FetchBusy ? 1 : 0; });
    h.cycle->timerPoll_Timer();  // a tick that arrives meanwhile does nothing
    QTRY_COMPARE_WITH_TIMEOUT(handledDuringRead, 5, kWaitMs);
    QVERIFY(h.cycle->State().FetchBusy);
    // Stopped during the read: the tick ends without a connection for a next one.
    h.cycle->StopGo_Click();
    QVERIFY(done.wait(kWaitMs));
    QCOMPARE(done.size(), 1);
    h.CheckRunning(false);
    QCOMPARE(sim.Count("STOR capt_spec:"), 1);
    QCOMPARE(sim.Count("CONNECT"), 2);
  }
};

std::unique_ptr<QObject> NewAcquisitionCycleTest() { return std::make_unique<AcquisitionCycleTest>(); }

#include "test_acquisition_cycle.moc"
