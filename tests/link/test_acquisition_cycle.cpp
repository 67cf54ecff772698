// The acquisition cycle against the simulated unit: a normal poll, a unit that gives no
// size, an empty read, a lost connection with both answers, refused connections, single
// step, stop and start, Ctrl+S during a connection attempt, and an event loop that keeps
// running while the unit stalls.
#include <QSignalSpy>
#include <QtTest>

#include <memory>
#include <vector>

#include "link/acquisition_cycle.h"
#include "link/capture_block.h"
#include "link/loopback_peers.h"
#include "link/simulator_process.h"
#include "test_support.h"

using namespace tavrix;
using namespace tavrix::testing;

namespace {

constexpr int kWaitMs = 15000;  // an upper bound for one step chain, never reached when all is well

// Records what the operator would see and answers questions from a script.
class RecordingNotices : public Notices {
 public:
  void ShowStatus(const std::string& text, bool) override { statuses.push_back(text); }
  MessageAnswer Ask(const std::string& text, const std::string& title, MessageButtons buttons,
                    MessageIcon icon) override {
    boxes.push_back({text, title, buttons, icon});
    return buttons == MessageButtons::YesNo ? answer : MessageAnswer::Ok;
  }
  bool SawStatus(const std::string& text) const {
    return std::find(statuses.begin(), statuses.end(), text) != statuses.end();
  }
  struct Box {
    std::string text, title;
    MessageButtons buttons;
    MessageIcon icon;
  };
  std::vector<std::string> statuses;
  std::vector<Box> boxes;
  MessageAnswer answer = MessageAnswer::Yes;
};

// A cycle wired to a recorder, talking to one unit named "Sim".
struct Harness {
  explicit Harness(const std::string& address, CycleTiming timing = FastTiming()) {
    FtpLimits limits;
    limits.connectTimeoutMs = 2000;
    limits.transferTimeoutMs = 4000;
    limits.stallTimeoutMs = 2000;
    limits.releasePauseMs = 0;
    cycle = std::make_unique<AcquisitionCycle>(
        notices, [address] { return std::optional<ModemInfo>(ModemInfo{"Sim", address}); },
        [this](const std::string& block) {
          blocks.push_back(block);
          return static_cast<uint16_t>(block.size() >= 2 ? (uint8_t(block[0]) << 8) | uint8_t(block[1]) : 0);
        },
        timing, limits);
  }
  static CycleTiming FastTiming() {
    CycleTiming t;
    t.pollMs = 600000;  // the tests drive the poll themselves
    t.connectionMs = 0;
    t.requestWaitMs = 20;
    return t;
  }
  // The first connection, as at start-up.
  bool ConnectFirst() {
    QSignalSpy done(cycle.get(), &AcquisitionCycle::connectFinished);
    cycle->timerConnection_Timer();
    return done.wait(kWaitMs) && done.first().first().toBool();
  }
  bool Poll() {
    QSignalSpy done(cycle.get(), &AcquisitionCycle::tickFinished);
    cycle->timerPoll_Timer();
    return done.wait(kWaitMs);
  }
  RecordingNotices notices;
  std::vector<std::string> blocks;
  std::unique_ptr<AcquisitionCycle> cycle;
};

}  // namespace

class AcquisitionCycleTest : public QObject {
  Q_OBJECT

 private slots:
  void normalPollUsesThreeConnectionsOneRequestOneRead() {
    SimulatorProcess sim;
    QVERIFY(sim.Started());
    Harness h(sim.Address());
    QVERIFY(h.ConnectFirst());
    QVERIFY(h.notices.SawStatus("Successful network access..."));
    QVERIFY(h.notices.SawStatus("Attempting connection to Sim (<Ctrl>S to Abort)..."));
    QVERIFY(h.notices.SawStatus("Successful connection established to Sim..."));
    QVERIFY(h.cycle->PollEnabled());
    QCOMPARE(h.cycle->Display().StopGoCaption, std::string("&Stop Data Set Updates"));
    QVERIFY(!h.cycle->Stopped());

    QVERIFY(h.Poll());
    QCOMPARE(sim.Count("CONNECT"), 3);  // the one from start-up, the read, and one left open
    QCOMPARE(sim.Count("STOR capt_spec:"), 1);
    QCOMPARE(sim.Count("RETR spectrum:"), 1);
    QCOMPARE(h.blocks.size(), size_t(1));
    QCOMPARE(h.blocks[0].size(), size_t(kNominalBlockLength));
    QCOMPARE(h.blocks[0], sim.ServedBlock(1));  // byte for byte as served
    QCOMPARE(h.cycle->State().RawBlock, h.blocks[0]);
    QCOMPARE(h.cycle->State().LastReadRequest, kNominalBlockLength);
    QVERIFY(!h.cycle->State().RequestBusy && !h.cycle->State().FetchBusy);
    QVERIFY(h.cycle->PollEnabled());
    QVERIFY(h.notices.boxes.empty());

    QVERIFY(h.Poll());
    QCOMPARE(sim.Count("STOR capt_spec:"), 2);
    QCOMPARE(h.blocks.size(), size_t(2));
    QVERIFY(h.blocks[0] != h.blocks[1]);  // each request takes a new capture
  }

  void unitWithoutSizeIsReadAsANominalBlock() {
    SimulatorProcess sim({"--no-size"});
    QVERIFY(sim.Started());
    Harness h(sim.Address());
    QVERIFY(h.ConnectFirst());
    QVERIFY(h.Poll());
    QCOMPARE(h.cycle->State().LastReadRequest, kNominalBlockLength);
    QCOMPARE(h.blocks.size(), size_t(1));
    QCOMPARE(h.blocks[0].size(), size_t(kNominalBlockLength));
  }

  void emptyReadIsAProcessedFetchWithoutUpdate() {
    SimulatorProcess sim({"--short-block", "0"});
    QVERIFY(sim.Started());
    Harness h(sim.Address());
    QVERIFY(h.ConnectFirst());
    QVERIFY(h.Poll());
    QVERIFY(h.blocks.empty());
    QCOMPARE(sim.Count("RETR spectrum:"), 1);
    QCOMPARE(sim.Count("CONNECT"), 3);  // the fetch counted: the connection for the next tick was made
    QVERIFY(h.notices.boxes.empty());
  }

  void lostConnectionAnsweredNoStopsUpdates() {
    SimulatorProcess sim({"--refuse-after", "1"});
    QVERIFY(sim.Started());
    Harness h(sim.Address());
    h.notices.answer = MessageAnswer::No;
    QVERIFY(h.ConnectFirst());
    QVERIFY(h.Poll());
    // The refused reconnection says nothing (the unit was reached before); the read then
    // finds no connection and asks.
    QCOMPARE(h.notices.boxes.size(), size_t(1));
    const auto& box = h.notices.boxes[0];
    QCOMPARE(box.text, "The connection to the Tavrix modem [Sim] at IP address " + sim.Address() +
                           " has been lost!  Do you wish to re-establish communications?");
    QCOMPARE(box.title, std::string("Server Connection Lost"));
    QVERIFY(box.buttons == MessageButtons::YesNo);
    QVERIFY(box.icon == MessageIcon::Critical);
    QVERIFY(h.notices.SawStatus("Communications have been aborted!"));
    QVERIFY(h.cycle->StatusTimerEnabled());
    QVERIFY(h.cycle->Stopped());
    QVERIFY(!h.cycle->Connected());
    QVERIFY(!h.cycle->PollEnabled());
    QVERIFY(h.cycle->Display().StopGoPressed);
    QCOMPARE(h.cycle->Display().StopGoCaption, std::string("&Start Data Set Updates"));
    QVERIFY(h.cycle->State().LostShown);
    QVERIFY(h.blocks.empty());

    h.cycle->timerStatus_Timer();
    QCOMPARE(h.notices.statuses.back(), std::string());
  }

  void lostConnectionAnsweredYesKeepsPolling() {
    SimulatorProcess sim({"--refuse-after", "1"});
    QVERIFY(sim.Started());
    Harness h(sim.Address());
    h.notices.answer = MessageAnswer::Yes;
    QVERIFY(h.ConnectFirst());
    QVERIFY(h.Poll());
    QCOMPARE(h.notices.boxes.size(), size_t(1));
    QCOMPARE(h.notices.boxes[0].title, std::string("Server Connection Lost"));
    QVERIFY(h.cycle->Connected());
    QVERIFY(!h.cycle->Stopped());
    QVERIFY(h.cycle->PollEnabled());
    QVERIFY(h.cycle->State().LostShown);
    QVERIFY(!h.notices.SawStatus("Communications have been aborted!"));
  }

  void refusedFirstConnectionSaysSo() {
    SimulatorProcess sim({"--refuse-after", "0"});
    QVERIFY(sim.Started());
    Harness h(sim.Address());
    QVERIFY(!h.ConnectFirst());
    QCOMPARE(h.notices.boxes.size(), size_t(1));
    QCOMPARE(h.notices.boxes[0].text, "A connection to the Tavrix modem [Sim] at IP address " + sim.Address() +
                                          " could not be established!");
    QCOMPARE(h.notices.boxes[0].title, std::string("Cannot Connect To Server"));
    QVERIFY(h.notices.boxes[0].icon == MessageIcon::Critical);
    QVERIFY(!h.cycle->PollEnabled());
    QVERIFY(!h.cycle->Display().StopGoPressed);
    QCOMPARE(h.cycle->Display().StopGoCaption, std::string("&Start Data Set Updates"));
    QCOMPARE(h.cycle->Display().StatusPicture, int(kImageRed));
    QVERIFY(!h.cycle->Display().BusyPointer);
  }

  void nothingListeningIsReportedToo() {
    Harness h("127.0.0.1:" + std::to_string(FreePort()));
    QVERIFY(!h.ConnectFirst());
    QCOMPARE(h.notices.boxes.size(), size_t(1));
    QCOMPARE(h.notices.boxes[0].title, std::string("Cannot Connect To Server"));
  }

  void singleStepTakesExactlyOneCapture() {
    SimulatorProcess sim;
    QVERIFY(sim.Started());
    Harness h(sim.Address());
    QVERIFY(h.cycle->Stopped());
    QSignalSpy ticks(h.cycle.get(), &AcquisitionCycle::tickFinished);
    h.cycle->SingleStep_Click();
    QVERIFY(ticks.wait(kWaitMs));
    QCOMPARE(sim.Count("STOR capt_spec:"), 1);
    QCOMPARE(sim.Count("RETR spectrum:"), 1);
    QCOMPARE(h.blocks.size(), size_t(1));
    QVERIFY(!h.cycle->PollEnabled());
    QVERIFY(h.cycle->Stopped());
    QVERIFY(!h.cycle->TickInProgress());
    QVERIFY(h.notices.SawStatus("Successful connection established to Sim..."));
  }

  void stopAndStartTexts() {
    SimulatorProcess sim;
    QVERIFY(sim.Started());
    Harness h(sim.Address());
    QVERIFY(h.ConnectFirst());
    h.cycle->StopGo_Click();
    QVERIFY(h.cycle->Stopped());
    QVERIFY(!h.cycle->PollEnabled());
    QVERIFY(h.cycle->Display().StopGoPressed);
    QCOMPARE(h.cycle->Display().StopGoImage, int(kImageRed));
    QCOMPARE(h.cycle->Display().StopGoCaption, std::string("&Start Data Set Updates"));
    QVERIFY(h.cycle->Display().SingleStepEnabled);
    QCOMPARE(h.notices.statuses.back(), std::string("Tavrix communication has been halted!"));

    QSignalSpy connected(h.cycle.get(), &AcquisitionCycle::connectFinished);
    h.cycle->StopGo_Click();
    QVERIFY(connected.wait(kWaitMs));
    QVERIFY(!h.cycle->Stopped());
    QVERIFY(h.cycle->PollEnabled());
    QVERIFY(!h.cycle->Display().StopGoPressed);
    QCOMPARE(h.cycle->Display().StopGoCaption, std::string("&Stop Data Set UpdatesS"));
    QCOMPARE(h.notices.statuses.back(), std::string("Tavrix communication has been resumed!"));
  }

  void ctrlSAbortsAConnectionAttempt() {
    MuteListener peer;
    Harness h("127.0.0.1:" + std::to_string(peer.Port()));
    QSignalSpy done(h.cycle.get(), &AcquisitionCycle::connectFinished);
    h.cycle->timerConnection_Timer();
    QTRY_VERIFY_WITH_TIMEOUT(h.notices.SawStatus("Attempting connection to Sim (<Ctrl>S to Abort)..."), kWaitMs);
    h.cycle->AbortConnection();
    QVERIFY(done.wait(kWaitMs));
    QVERIFY(!done.first().first().toBool());
    QVERIFY(h.notices.boxes.empty());
    QVERIFY(h.cycle->Stopped());
    QVERIFY(!h.cycle->PollEnabled());
    QCOMPARE(h.cycle->Display().StopGoCaption, std::string("&Start Data Set Updates"));
    QCOMPARE(h.notices.statuses.back(), std::string("Tavrix communication has been halted!"));
  }

  void stallingUnitNeitherBlocksTheWindowNorOutlivesAStop() {
    SimulatorProcess sim({"--stall-transfer", "2"});
    QVERIFY(sim.Started());
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
    QVERIFY(h.cycle->Stopped());
    QVERIFY(!h.cycle->PollEnabled());
    QCOMPARE(sim.Count("STOR capt_spec:"), 1);
    QCOMPARE(sim.Count("CONNECT"), 2);
  }
};

std::unique_ptr<QObject> NewAcquisitionCycleTest() { return std::make_unique<AcquisitionCycleTest>(); }

#include "test_acquisition_cycle.moc"
