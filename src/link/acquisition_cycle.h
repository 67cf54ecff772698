#pragma once
#include <QObject>
#include <QTimer>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "common/notices.h"
#include "link/ftp_server.h"
#include "link/link_side.h"
#include "link/link_runner.h"

namespace tavrix {

// The unit the cycle talks to: its name in the directory and its address[:port].
struct ModemInfo {
  std::string Name;
  std::string Address;
};

// Status bar and toolbar images named by their place in the toolbar's image list.
enum StatusImage : int { kImageNone = 0, kImageGreen = 7, kImageYellow = 8, kImageRed = 9 };

inline constexpr const char* kStartCaption = "&Start Data Set Updates";
inline constexpr const char* kStopCaption = "&Stop Data Set Updates";
// The resume command has always written its caption with a trailing S.
inline constexpr const char* kResumedStopCaption = "&Stop Data Set UpdatesS";

// What the window shows of the cycle; the cycle is its one owner.
struct AcquisitionDisplay {
  bool StopGoPressed = true;                 // toolbar button "StopGo"
  int StopGoImage = kImageRed;
  std::string StopGoCaption = kStartCaption;  // menu entry mnuCommStopGo
  int StatusPicture = kImageNone;            // picture of the "Status" panel
  bool SingleStepEnabled = true;             // "SingleStep" and mnuCommSingleStep: stopped with a unit current
  bool BusyPointer = false;                  // hourglass while connecting, as Connecting() says
  bool ConnectingProgress = false;           // progress bar shown during the first connection
};

// The acquisition state kept between polls. The two busy flags stay apart: the step of a
// halted tick may still be running when the next tick's other step begins.
struct LinkState {
  bool RequestBusy = false;
  bool FetchBusy = false;
  std::string RawBlock;   // the last block read, exactly as read
  uint16_t LeadWord = 0;  // of the last parsed block
  int32_t LastReadRequest = 0;
};

// Where the cycle stands with the current unit: whether it was reached, and whether its
// loss was asked about. One value, so that no mix of them can arise that means nothing.
enum class UnitLink {
  Unreached,      // not reached since it was chosen: a failed connection is told in a box
  Reached,        // it answered: a failed connection is quiet, a loss is asked about
  LostAsked,      // reached, then lost and asked about: a further loss reconnects without asking
  Retrying,       // the same, and the operator wants it back: every tick tries it, the lamp yellow
  LostUnreached,  // lost and asked about, not reached since (the operator said No): failures are told again
};

struct CycleTiming {
  int pollMs = 3000;        // timerPoll
  int connectionMs = 500;   // timerConnection, one shot
  int statusMs = 5000;      // timerStatus, one shot
  int requestWaitMs = 200;  // between the capture request and the read
  // A pause after each release of the client that holds the unit's next step back without
  // holding a link thread; the viewer's client pauses itself instead (FtpLimits).
  int releaseWaitMs = 0;
  // No operator watches: polls keep a fixed rate, a poll that comes due while the one before
  // still runs is skipped and reported (pollMissed), and a unit that cannot be reached is
  // told once and then tried again at every poll instead of stopping the updates.
  bool unattended = false;
};

// The step of a tick that failed last, for the counters of an unattended cycle.
enum class TickStep { None, Connect, Request, Fetch };

// What the last tick came to.
struct TickReport {
  std::chrono::steady_clock::time_point Started;
  bool Captured = false;              // a non-empty block was read and handed on
  TickStep Failed = TickStep::None;   // the last step that failed, if any
  std::string Why;                    // the client's words for it ("connection refused")
  std::string Shortfall;              // how the block fell short of a whole capture, if it did
};

// Connects to the selected unit and, on every poll, requests a capture, reads it and
// hands it on. Network steps run on the link thread; their results come back here, on
// the UI thread, in the same order of steps, with the same busy flags and texts as a
// cycle that waited for each step. The UI thread never waits for the network.
class AcquisitionCycle : public QObject {
  Q_OBJECT

 public:
  using ModemLookup = std::function<std::optional<ModemInfo>()>;
  // Parses the block and runs the spectrum update; returns the block's lead word.
  using BlockSink = std::function<uint16_t(const std::string& block)>;

  // The network steps run on `link`, a link thread of the cycle's own when none is given.
  AcquisitionCycle(Notices& notices, ModemLookup currentModem, BlockSink processBlock, CycleTiming timing = {},
                   FtpLimits limits = {}, std::unique_ptr<LinkRunner> link = nullptr, QObject* parent = nullptr);
  ~AcquisitionCycle() override;

  // Start-up: arms timerConnection, whose single tick makes the first connection. With
  // `noPolling` (updates were stopped when the viewer last closed) it connects only.
  void Start(bool noPolling = false);
  // Another unit has been chosen: the tick and any connection under way are dropped, the
  // client released, and the new unit connected with polling. Its failure is told as a
  // first connection's is.
  void ChooseUnit();
  // The current unit has gone from the directory: updates stop and the client goes.
  void DropUnit();

  // Commands of the "StopGo" and "SingleStep" buttons and their menu entries.
  void StopGo_Click();
  void SingleStep_Click();
  // Ctrl+S: ends a connection attempt in progress; updates stay stopped.
  void AbortConnection();
  // The cycle is about to be destroyed: the network step under way ends at once, so that
  // many cycles can be let go together without waiting for each other's steps.
  void Abandon() {
    timerPoll_.stop();
    abortConnect_ = true;
  }
  // The window's current unit changed (chosen, removed): what the display offers follows.
  void CurrentModemChanged() { Changed(); }
  // (Re)starts timerStatus, which clears the "Status" notice when it runs out; the window's
  // own notices clear the same way.
  void StartStatusTimer() { timerStatus_.start(); }

  // Timer handlers, public so that a test can drive the cycle without waiting.
  void timerPoll_Timer();
  void timerConnection_Timer();
  void timerStatus_Timer();

  const AcquisitionDisplay& Display() const { return display_; }
  const LinkState& State() const { return state_; }
  const TickReport& LastTick() const { return tick_; }
  // The unit answered a connection and the operator has not given it up since.
  bool Connected() const {
    return unit_ == UnitLink::Reached || unit_ == UnitLink::LostAsked || unit_ == UnitLink::Retrying;
  }
  // Its loss was asked about and no connection has been confirmed since.
  bool LostShown() const { return unit_ != UnitLink::Unreached && unit_ != UnitLink::Reached; }
  bool Stopped() const { return stopped_; }
  bool PollEnabled() const { return timerPoll_.isActive(); }
  bool StatusTimerEnabled() const { return timerStatus_.isActive(); }
  bool TickInProgress() const { return runningTick_ != 0 && !Stale(runningTick_); }
  bool Connecting() const { return connecting_; }
  bool Reconnecting() const { return unit_ == UnitLink::Retrying; }

 signals:
  void displayChanged();
  void connectFinished(bool connected);
  void tickFinished();
  void blockProcessed();
  void pollMissed();  // unattended: a poll came due while the tick before it still ran

 private:
  using Then = std::function<void(bool connected)>;
  // A connection attempt is superseded when another unit is chosen while it runs.
  bool Superseded(uint64_t attempt) const { return attempt != connectGeneration_; }
  void Connect(bool showStatus, bool noPolling, uint64_t tick, Then then);
  void FinishConnect(bool connected, bool aborted, const ModemInfo& modem, bool showStatus, bool noPolling,
                     uint64_t tick, Then then);
  void RequestStep(std::function<void(bool)> then);
  void FetchStep(std::function<void(bool)> then);
  void FetchNotOpened(std::function<void(bool)> then);
  void RequestNotWritten(uint64_t tick);
  void KeepConnection(uint64_t tick);
  // The unit answers no connection: the question, or with it asked already, a new attempt.
  void LostConnection(std::function<void()> then);
  void ResumePolling();  // polling on again after the operator asked for the unit back
  void StartTick();
  void EndTick(uint64_t tick);
  bool Stale(uint64_t tick) const { return tick != 0 && tick != tickGeneration_; }
  void ShowStatus(const std::string& text) { notices_.ShowStatus(text, false); }
  void SetNotPolling();  // updates stopped: "StopGo" not pressed and the start caption
  void StopPolling();    // polling off, and the controls and pictures showing it
  void Halt();           // the operator's stop: also ends the tick under way
  void Changed();        // derives what depends on the state, then tells the window
  void ArmPoll();        // the poll timer on; an unattended one keeps its rate
  void Failed(TickStep step, const std::string& why);

  // Runs `work` on the link thread and `done` with its result back on this thread.
  template <typename Result>
  // `releases`: the work releases the client, so its answer waits for the release pause.
  void OnLink(std::function<Result(LinkSide&)> work, std::function<void(Result)> done, bool releases = false);
  void ReleaseClient();

  Notices& notices_;
  ModemLookup currentModem_;
  BlockSink processBlock_;
  CycleTiming timing_;
  QTimer timerPoll_, timerConnection_, timerStatus_;
  AcquisitionDisplay display_;
  LinkState state_;
  TickReport tick_;
  UnitLink unit_ = UnitLink::Unreached;
  // The operator's choice, apart from the unit: updates may be stopped with the unit in any state.
  bool stopped_ = true;
  // The tick under way is a single step; set before its connection, so before runningTick_.
  bool singleStep_ = false;
  uint64_t runningTick_ = 0;     // generation of the tick under way, 0 when none
  // A connection attempt may run beside a halted tick's step, so it is not a step of the tick.
  bool connecting_ = false;
  bool startNoPolling_ = false;  // how the first connection starts, not a state
  uint64_t connectGeneration_ = 0;  // a new unit makes the attempts under way superseded
  uint64_t tickGeneration_ = 0;  // a stop or a new tick makes the running tick's steps stale

  class ForwardingNotices;
  std::unique_ptr<ForwardingNotices> linkNotices_;
  std::atomic<bool> abortConnect_{false};
  std::unique_ptr<LinkSide> linkSide_;  // used on the link runner only
  std::unique_ptr<LinkRunner> link_;    // declared last: finished first
};

}  // namespace tavrix
