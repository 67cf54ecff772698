// The acquisition cycle against the simulated unit: the first connection, one poll or single
// step with each fault, stop and start, and a stalled unit. Each case states every control.
#include <QtTest>

#include <atomic>
#include <memory>
#include <thread>
#include <optional>
#include <string>
#include <vector>

#include "dsp/capture_block.h"
#include "link/acquisition_cycle.h"
#include "link/link_pool.h"
#include "link/loopback_peers.h"
#include "link/recording_notices.h"
#include "link/simulator_process.h"
#include "test_support.h"

using namespace tavrix;
using namespace tavrix::testing;

namespace {

constexpr int kWaitMs = 15000;  // an upper bound for one step chain, never reached when all is well
const std::string kAttempting = "Attempting connection to Sim (<Ctrl>S to Abort)...";
const std::string kLost = "Server Connection Lost|The connection to the Tavrix modem [Sim] at IP address ";

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
  // Every control and flag of the cycle in a few words: the updates, the flags that are set,
  // the StopGo caption ("start", "stop", or "stopS" as resumed), its button's image and the lamp.
  QString Shown() const {
    const AcquisitionDisplay& d = cycle->Display();
    QString s = cycle->Stopped() ? "stopped" : "running";
    for (const auto& [on, word] : {std::pair{cycle->PollEnabled(), " polled"}, {d.StopGoPressed, " pressed"},
                                   {d.SingleStepEnabled, " step"}, {cycle->Connected(), " connected"},
                                   {cycle->LostShown(), " lost"}, {cycle->Reconnecting(), " retrying"},
                                   {cycle->StatusTimerEnabled(), " timer"}, {d.BusyPointer, " busy"},
                                   {d.ConnectingProgress, " progress"}})
      if (on) s += word;
    const auto image = [](int i) {
      return i == kImageGreen ? "green" : i == kImageYellow ? "yellow" : i == kImageRed ? "red" : "none";
    };
    const std::string& c = d.StopGoCaption;
    s += c == kStartCaption ? ", start" : c == kStopCaption ? ", stop" : c == kResumedStopCaption ? ", stopS" : ", ?";
    return s + ", button " + image(d.StopGoImage) + ", lamp " + image(d.StatusPicture);
  }
  std::optional<ModemInfo> modem;
  RecordingNotices notices;
  std::vector<std::string> blocks;
  std::unique_ptr<AcquisitionCycle> cycle;
};

const QString kPolling = "running polled connected, stop, button green, lamp green";

}  // namespace

class AcquisitionCycleTest : public QObject {
  Q_OBJECT

 private slots:
  // The unit: "sim", "refusing", "mute" (Ctrl+S pressed while the connection is attempted),
  // "nothing" listening or "none" current; the last status, empty after "Cannot Connect To Server".
  void firstConnection_data() {
    QTest::addColumn<QString>("unit");
    QTest::addColumn<QString>("status");
    QTest::addColumn<QString>("shown");
    const QString refused = "stopped step, start, button red, lamp red";
    QTest::newRow("reached") << "sim" << "Successful connection established to Sim..." << kPolling;
    QTest::newRow("refused") << "refusing" << "" << refused;
    QTest::newRow("nothing listening") << "nothing" << "" << refused;
    QTest::newRow("Ctrl+S") << "mute" << "Tavrix communication has been halted!"
                            << "stopped pressed step timer, start, button red, lamp red";
    QTest::newRow("no unit current") << "none" << "Successful network access..."
                                     << "stopped, start, button red, lamp red";
  }

  void firstConnection() {
    QFETCH(QString, unit);
    QFETCH(QString, status);
    QFETCH(QString, shown);
    START_SIMULATOR(sim, unit == "refusing" ? QStringList{"--refuse-after", "0"} : QStringList{});
    MuteListener mute;
    const int port = unit == "mute" ? mute.Port() : unit == "nothing" ? FreePort() : sim.Port();
    const std::string address = unit == "none" ? "" : "127.0.0.1:" + std::to_string(port);
    Harness h(address);
    QSignalSpy done(h.cycle.get(), &AcquisitionCycle::connectFinished);
    h.cycle->timerConnection_Timer();
    if (unit == "mute") {
      QTRY_VERIFY_WITH_TIMEOUT(h.notices.SawStatus(kAttempting), kWaitMs);
      h.cycle->AbortConnection();
    }
    QVERIFY(done.wait(kWaitMs));
    QCOMPARE(done.first().first().toBool(), unit == "sim");
    QCOMPARE(h.Shown(), shown);
    QVERIFY(h.notices.SawStatus("Successful network access..."));
    QCOMPARE(h.notices.SawStatus(kAttempting), !address.empty());
    QCOMPARE(h.notices.Shown(MessageButtons::Ok, MessageIcon::Critical),
             unit == "refusing" || unit == "nothing"
                 ? "Cannot Connect To Server|A connection to the Tavrix modem [Sim] at IP address " + address +
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

  // A lost unit refuses the read's connection: the read finds none and asks; "Yes" keeps the
  // poll going, each tick trying the unit until it answers. A refused request reads nothing;
  // the unit still answers, so its connection is kept. What arrives short is shown all the
  // same, and the operator told it was not all.
  void onePoll_data() {
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QString>("how");  // "poll", "step" from stopped, or "No" to the connection-lost question
    QTest::addColumn<int>("blocks");   // processed, each read with a request for the nominal length
    QTest::addColumn<QString>("shown");
    const QStringList lost{"--refuse-after", "1"};
    using Row = std::tuple<const char*, QStringList, QString, int, QString>;
    for (const auto& [name, options, how, blocks, shown] : std::initializer_list<Row>{
             {"whole block", {}, "poll", 1, kPolling}, {"no size", {"--no-size"}, "poll", 1, kPolling},
             {"empty read", {"--short-block", "0"}, "poll", 0, kPolling},
             {"lost, Yes", lost, "poll", 0, "running polled connected lost retrying, stop, button green, lamp yellow"},
             {"lost, No", lost, "No", 0, "stopped pressed step lost timer, start, button red, lamp red"},
             {"single step", {}, "step", 1, "stopped pressed step connected, start, button red, lamp red"},
             {"capture refused", {"--reject-capture"}, "poll", 0, kPolling},
             {"short of its size", {"--short-block", "4000", "--size-says", "8224"}, "poll", 1,
              "running polled connected timer, stop, button green, lamp green"}})
      QTest::newRow(name) << options << how << blocks << shown;
  }

  void onePoll() {
    QFETCH(QStringList, options);
    QFETCH(QString, how);
    QFETCH(int, blocks);
    QFETCH(QString, shown);
    START_SIMULATOR(sim, options);
    Harness h(sim.Address());
    h.notices.answer = how == "No" ? MessageAnswer::No : MessageAnswer::Yes;
    if (how == "step")
      QVERIFY(h.Run(&AcquisitionCycle::SingleStep_Click, &AcquisitionCycle::tickFinished));
    else
      QVERIFY(h.ConnectFirst() && h.Poll());
    const bool lost = options.contains("--refuse-after"), refused = options.contains("--reject-capture");
    // The first connection, the read's, and one for the next tick.
    QCOMPARE(QList<int>({sim.Count("STOR capt_spec:"), sim.Count("RETR spectrum:"), sim.Count("CONNECT")}),
             QList<int>({1, lost || refused ? 0 : 1, lost ? 1 : refused ? 2 : 3}));
    QCOMPARE(h.blocks.size(), size_t(blocks));
    if (blocks > 0) QVERIFY(h.blocks[0] == sim.ServedBlock(1) && h.cycle->State().RawBlock == h.blocks[0]);
    QCOMPARE(h.cycle->State().LastReadRequest, blocks > 0 ? kNominalBlockLength : 0);
    QCOMPARE(h.notices.SawStatus("Short capture received (4000 of 8224 bytes)"), options.contains("--size-says"));
    QVERIFY(!h.cycle->State().RequestBusy && !h.cycle->State().FetchBusy && !h.cycle->TickInProgress());
    QCOMPARE(h.Shown(), shown);
    QCOMPARE(h.notices.SawStatus("Communications have been aborted!"), how == "No");
    // The refused reconnection says nothing more.
    QCOMPARE(h.notices.Shown(MessageButtons::YesNo, MessageIcon::Critical),
             lost ? kLost + sim.Address() + " has been lost!  Do you wish to re-establish communications?" : "");
    if (lost || how == "step" || refused) return;
    // The connection left open carries the next tick, which takes a new capture.
    QVERIFY(h.Poll());
    QCOMPARE(sim.Count("STOR capt_spec:"), 2);
    QCOMPARE(h.blocks.size(), size_t(2 * blocks));
    if (blocks > 0) QVERIFY(h.blocks[0] != h.blocks[1]);
    QVERIFY(h.Shown().startsWith("running polled connected"));
  }

  void unitGoneBetweenPollsIsAskedAboutAndWaitedFor() {
    START_SIMULATOR(sim);
    Harness h(sim.Address());
    QVERIFY(h.ConnectFirst() && h.Poll());
    sim.Kill();
    // "Yes": the poll goes on, each tick trying the unit, without asking again.
    QVERIFY(h.Poll() && h.Poll());
    QCOMPARE(h.notices.Shown(MessageButtons::YesNo, MessageIcon::Critical),
             kLost + sim.Address() + " has been lost!  Do you wish to re-establish communications?");
    QCOMPARE(h.Shown(), "running polled connected lost retrying, stop, button green, lamp yellow");
    QVERIFY(sim.Restart());
    QVERIFY(h.Poll() && h.Poll());
    QCOMPARE(h.Shown(), kPolling);
    QCOMPARE(h.blocks.size(), size_t(2));
  }

  // Halted, then started again: by a unit that answers, and by one that no longer takes a
  // connection (no box: it was reached before). A unit no longer current cannot be stepped.
  void stopAndStart() {
    for (const bool resumes : {true, false}) {
      START_SIMULATOR(sim, resumes ? QStringList{} : QStringList{"--refuse-after", "1"});
      Harness h(sim.Address());
      QVERIFY(h.ConnectFirst());
      h.cycle->StopGo_Click();
      QCOMPARE(h.Shown(), "stopped pressed step connected timer, start, button red, lamp red");
      QCOMPARE(h.notices.statuses.back(), std::string("Tavrix communication has been halted!"));
      h.cycle->timerStatus_Timer();
      QCOMPARE(h.notices.statuses.back(), std::string());
      QSignalSpy connected(h.cycle.get(), &AcquisitionCycle::connectFinished);
      h.cycle->StopGo_Click();
      QVERIFY(connected.wait(kWaitMs) && connected.first().first().toBool() == resumes);
      QCOMPARE(h.Shown(), resumes ? "running polled connected timer, stopS, button green, lamp green"
                                  : "stopped step connected, start, button red, lamp red");
      QCOMPARE(h.notices.SawStatus("Tavrix communication has been resumed!"), resumes);
      QVERIFY(h.notices.boxes.empty());
      h.modem.reset();
      h.cycle->CurrentModemChanged();
      QVERIFY(!h.cycle->Display().SingleStepEnabled);
    }
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
    QVERIFY(h.Shown().startsWith("stopped pressed step connected"));
    QCOMPARE(QList<int>({sim.Count("STOR capt_spec:"), sim.Count("CONNECT")}), QList<int>({1, 2}));
  }

  // Many strands on a few threads: each strand's work in order and one item at a time, a
  // pause holding no thread, and a finished strand running nothing more.
  void poolStrandsKeepOrderAndPausesHoldNoThread() {
    LinkPool pool(3);
    std::atomic<int> overlaps{0};
    std::vector<std::vector<int>> seen(4);
    std::vector<std::atomic<int>> running(4);  // these outlive the strands, whose items use them
    std::atomic<int> done{0};
    {
      std::vector<std::unique_ptr<LinkRunner>> strands;
      for (int s = 0; s < 4; ++s) strands.push_back(pool.NewStrand());
      for (int i = 0; i < 40; ++i)
        for (int s = 0; s < 4; ++s)
          strands[static_cast<size_t>(s)]->Post([&, s, i] {
            if (running[static_cast<size_t>(s)]++ > 0) ++overlaps;
            seen[static_cast<size_t>(s)].push_back(i);
            std::this_thread::yield();
            --running[static_cast<size_t>(s)];
          });
      for (const auto& strand : strands) strand->Post([&] { ++done; });
      QTRY_COMPARE_WITH_TIMEOUT(done.load(), 4, kWaitMs);
    }  // each strand finishes here: nothing of it runs afterwards
    QCOMPARE(overlaps.load(), 0);
    for (const std::vector<int>& order : seen) QVERIFY(order.size() == 40 && std::ranges::is_sorted(order));

    LinkPool single(1);
    auto paused = single.NewStrand(), other = single.NewStrand();
    std::atomic<bool> afterPause{false}, otherRan{false};
    paused->Pause(3600 * 1000);
    paused->Post([&] { afterPause = true; });
    other->Post([&] { otherRan = true; });
    QTRY_VERIFY_WITH_TIMEOUT(otherRan.load(), kWaitMs);  // the one thread is free during the pause
    paused->Finish();
    QVERIFY(!afterPause);

    // A step that holds the one thread (a stalling unit) does not hold up another strand:
    // the pool grows by a thread, and by no more than its strands.
    std::atomic<bool> free{false}, beside{false};
    {
      auto holder = single.NewStrand();
      const auto unblock = qScopeGuard([&] { free = true; });
      holder->Post([&] { while (!free) std::this_thread::yield(); });
      other->Post([&] { beside = true; });
      QTRY_VERIFY_WITH_TIMEOUT(beside.load(), kWaitMs);
      QCOMPARE(single.Threads(), 2);
    }

    std::atomic<bool> started{false}, go{false}, dropped{false};
    other->Post([&] {
      started = true;
      while (!go) std::this_thread::yield();
    });
    other->Post([&] { dropped = true; });
    QTRY_VERIFY_WITH_TIMEOUT(started.load(), kWaitMs);
    std::thread release([&] {
      QThread::msleep(50);
      go = true;
    });
    other->Finish();  // waits for the item under way, drops the one behind it
    release.join();
    QVERIFY(!dropped);
  }

  // Unattended cycles on one pool: a unit that is not there is tried at every poll after one
  // box; a stalled one misses its polls while the healthy one beside it misses none.
  void unattendedCyclesOnAPool() {
    START_SIMULATOR(healthy);
    START_SIMULATOR(stalled, "--stall-transfer", "2.5");
    LinkPool pool(2);
    const CycleTiming timing{.pollMs = 1500, .connectionMs = 0, .requestWaitMs = 20, .releaseWaitMs = 20,
                             .unattended = true};
    const FtpLimits limits{.connectTimeoutMs = 2000, .transferTimeoutMs = 4000, .stallTimeoutMs = 2000,
                           .releasePauseMs = 0};
    struct Watched {
      RecordingNotices notices;
      std::unique_ptr<AcquisitionCycle> cycle;
      int blocks = 0, missed = 0, ticks = 0;
      TickReport last;
    };
    std::vector<std::unique_ptr<Watched>> units;
    for (const std::string& address : {healthy.Address(), stalled.Address(), "127.0.0.1:" + std::to_string(FreePort())}) {
      auto& w = *units.emplace_back(std::make_unique<Watched>());
      const ModemInfo modem{"Sim", address};
      w.cycle = std::make_unique<AcquisitionCycle>(
          w.notices, [modem] { return std::optional(modem); },
          [&w](const std::string&) { return uint16_t(++w.blocks); }, timing, limits, pool.NewStrand());
      connect(w.cycle.get(), &AcquisitionCycle::pollMissed, [&w] { ++w.missed; });
      connect(w.cycle.get(), &AcquisitionCycle::tickFinished, [&w] { ++w.ticks, w.last = w.cycle->LastTick(); });
      w.cycle->Start();
    }
    QTRY_VERIFY_WITH_TIMEOUT(units[1]->missed >= 2 && units[0]->ticks >= 5 && units[2]->ticks >= 3, 4 * kWaitMs);
    QCOMPARE(units[0]->missed, 0);
    QVERIFY(units[0]->blocks >= 5 && units[0]->last.Captured && units[0]->last.Failed == TickStep::None);
    QVERIFY(units[1]->blocks >= 1 && !units[1]->last.Shortfall.empty());
    QVERIFY(!units[2]->cycle->Stopped() && units[2]->cycle->PollEnabled());
    QVERIFY(units[2]->last.Failed == TickStep::Connect && units[2]->last.Why == "connection refused");
    QCOMPARE(units[2]->notices.boxes.size(), size_t(1));
  }
};

std::unique_ptr<QObject> NewFtpServerTest();
TAVRIX_TEST_MAIN(QCoreApplication, NewFtpServerTest, Make<AcquisitionCycleTest>)

#include "test_acquisition_cycle.moc"
