#include "link/acquisition_cycle.h"

#include <QMetaObject>

#include "link/link_thread.h"

namespace tavrix {

namespace {

const std::string kNoNetworkText = "A network connection could not be established!";

std::string CannotConnectText(const ModemInfo& m) {
  return "A connection to the Tavrix modem [" + m.Name + "] at IP address " + m.Address +
         " could not be established!";
}

// Two blanks before "Do", as the question has always read.
std::string LostText(const ModemInfo& m) {
  return "The connection to the Tavrix modem [" + m.Name + "] at IP address " + m.Address +
         " has been lost!" + "  Do you wish to re-establish communications?";
}

}  // namespace

// The client's own messages arise on the link thread; they are shown on the UI thread
// without making the link thread wait (they are all plain notices with an OK button).
class AcquisitionCycle::ForwardingNotices : public Notices {
 public:
  ForwardingNotices(AcquisitionCycle* cycle, Notices& target) : cycle_(cycle), target_(target) {}
  void ShowStatus(const std::string& text, bool beep) override {
    QMetaObject::invokeMethod(cycle_, [this, text, beep] { target_.ShowStatus(text, beep); }, Qt::QueuedConnection);
  }
  MessageAnswer Ask(const std::string& text, const std::string& title, MessageButtons buttons,
                    MessageIcon icon) override {
    QMetaObject::invokeMethod(
        cycle_, [this, text, title, buttons, icon] { target_.Ask(text, title, buttons, icon); }, Qt::QueuedConnection);
    return MessageAnswer::Ok;
  }

 private:
  AcquisitionCycle* cycle_;
  Notices& target_;
};

AcquisitionCycle::AcquisitionCycle(Notices& notices, ModemLookup currentModem, BlockSink processBlock,
                                   CycleTiming timing, FtpLimits limits, std::unique_ptr<LinkRunner> link,
                                   QObject* parent)
    : QObject(parent),
      notices_(notices),
      currentModem_(std::move(currentModem)),
      processBlock_(std::move(processBlock)),
      timing_(timing),
      linkNotices_(std::make_unique<ForwardingNotices>(this, notices)) {
  timerPoll_.setInterval(timing_.pollMs);
  timerConnection_.setInterval(timing_.connectionMs);
  timerConnection_.setSingleShot(true);
  timerStatus_.setInterval(timing_.statusMs);
  timerStatus_.setSingleShot(true);
  connect(&timerPoll_, &QTimer::timeout, this, &AcquisitionCycle::timerPoll_Timer);
  connect(&timerConnection_, &QTimer::timeout, this, &AcquisitionCycle::timerConnection_Timer);
  connect(&timerStatus_, &QTimer::timeout, this, &AcquisitionCycle::timerStatus_Timer);
  limits.abort = &abortConnect_;
  linkSide_ = std::make_unique<LinkSide>(linkNotices_.get(), limits);
  link_ = link ? std::move(link) : std::make_unique<LinkThread>();
}

AcquisitionCycle::~AcquisitionCycle() {
  // Leaving the window releases the client; an attempt in progress is cut short.
  abortConnect_ = true;
  LinkSide* side = linkSide_.get();
  link_->Post([side] { side->Release(); });
  link_->Finish();
}

template <typename Result>
void AcquisitionCycle::OnLink(std::function<Result(LinkSide&)> work, std::function<void(Result)> done,
                              bool releases) {
  LinkSide* side = linkSide_.get();
  if (!releases || timing_.releaseWaitMs <= 0) {
    link_->Post([this, side, work = std::move(work), done = std::move(done)] {
      Result result = work(*side);
      QMetaObject::invokeMethod(this, [done, result] { done(result); }, Qt::QueuedConnection);
    });
    return;
  }
  // Work that releases the client answers after the pause, as a client that pauses itself does.
  auto result = std::make_shared<Result>();
  link_->Post([side, result, work = std::move(work)] { *result = work(*side); });
  link_->Pause(timing_.releaseWaitMs);
  link_->Post([this, result, done = std::move(done)] {
    QMetaObject::invokeMethod(this, [done, result] { done(*result); }, Qt::QueuedConnection);
  });
}

void AcquisitionCycle::ReleaseClient() {
  LinkSide* side = linkSide_.get();
  link_->Post([side] { side->Release(); });
  link_->Pause(timing_.releaseWaitMs);
}

void AcquisitionCycle::ArmPoll() {
  if (timing_.unattended && timerPoll_.isActive()) return;
  timerPoll_.start();
}

void AcquisitionCycle::Failed(TickStep step, const std::string& why) {
  tick_.Failed = step;
  tick_.Why = why;
}

// Whatever shows the start caption also leaves updates stopped, so that the caption, the
// stopped flag, the poll timer and the single step always agree.
void AcquisitionCycle::SetNotPolling() {
  timerPoll_.stop();
  stopped_ = true;
  display_.StopGoPressed = false;
  display_.StopGoCaption = kStartCaption;
}

void AcquisitionCycle::Changed() {
  // A single step is offered exactly while updates are stopped and a unit is current.
  display_.SingleStepEnabled = stopped_ && currentModem_().has_value();
  display_.BusyPointer = connecting_;
  emit displayChanged();
}

void AcquisitionCycle::Start(bool noPolling) {
  startNoPolling_ = noPolling;
  Changed();
  timerConnection_.start();
}

void AcquisitionCycle::StopPolling() {
  timerPoll_.stop();
  stopped_ = true;
  display_.StopGoPressed = true;
  display_.StopGoImage = kImageRed;
  display_.StatusPicture = kImageRed;
  display_.StopGoCaption = kStartCaption;
}

void AcquisitionCycle::Halt() {
  ++tickGeneration_;  // the tick under way takes no further step
  if (unit_ == UnitLink::Retrying) unit_ = UnitLink::LostAsked;
  StopPolling();
  ShowStatus("Tavrix communication has been halted!");
  timerStatus_.start();
  Changed();
}

// ---- connect ---------------------------------------------------------------------

void AcquisitionCycle::Connect(bool showStatus, bool noPolling, uint64_t tick, Then then) {
  connecting_ = true;
  Changed();
  const uint64_t attempt = connectGeneration_;
  OnLink<bool>([](LinkSide& link) { return link.EnsureClient(); }, [=, this](bool internet) {
    if (Superseded(attempt)) return;  // another unit was chosen meanwhile: its own attempt reports
    if (!internet) {
      display_.StatusPicture = kImageRed;
      notices_.Ask(kNoNetworkText, "Cannot Connect", MessageButtons::Ok, MessageIcon::Critical);
      ShowStatus("");
      ReleaseClient();
      SetNotPolling();
      FinishConnect(false, false, {}, showStatus, noPolling, tick, then);
      return;
    }
    if (showStatus) ShowStatus("Successful network access...");
    const std::optional<ModemInfo> modem = currentModem_();
    if (!modem) {
      // No unit is selected: nothing to connect to, and nothing to report.
      display_.StatusPicture = kImageRed;
      ReleaseClient();
      SetNotPolling();
      FinishConnect(false, false, {}, showStatus, noPolling, tick, then);
      return;
    }
    if (showStatus) ShowStatus("Attempting connection to " + modem->Name + " (<Ctrl>S to Abort)...");
    abortConnect_ = false;
    const std::string address = modem->Address;
    struct Attempt {
      bool connected = false, aborted = false;
      std::string why;
    };
    OnLink<Attempt>(
        [address, this](LinkSide& link) {
          const bool connected = link.Connect(address);
          return Attempt{connected, !connected && abortConnect_.load(), link.LastError()};
        },
        [=, this](Attempt result) {
          if (Superseded(attempt)) return;
          if (!result.connected) Failed(TickStep::Connect, result.why);
          FinishConnect(result.connected, result.aborted, *modem, showStatus, noPolling, tick, then);
        });
  });
}

void AcquisitionCycle::FinishConnect(bool connected, bool aborted, const ModemInfo& modem, bool showStatus,
                                     bool noPolling, uint64_t tick, Then then) {
  const bool reachedUnit = !modem.Address.empty() || !modem.Name.empty();
  if (connected) {
    if (showStatus) ShowStatus("Successful connection established to " + modem.Name + "...");
    // The lamp is green only while updates run: a single step or a start with updates
    // stopped leaves it red, as the halted state it is.
    display_.StatusPicture = kImageRed;
    // The unit answers again: a later loss is asked about afresh.
    unit_ = UnitLink::Reached;
    // A poll that was stopped while this connection was under way leaves polling off.
    if (!noPolling && !Stale(tick)) {
      display_.StatusPicture = kImageGreen;
      ArmPoll();
      display_.StopGoPressed = false;
      display_.StopGoImage = kImageGreen;
      stopped_ = false;
      display_.StopGoCaption = kStopCaption;
    }
  } else if (aborted) {
    // The operator's Ctrl+S: no box, updates stay stopped.
    abortConnect_ = false;
    ReleaseClient();
    Halt();
  } else if (reachedUnit && unit_ == UnitLink::Retrying) {
    // The operator asked for the unit back: the poll goes on trying, the lamp yellow.
    display_.StatusPicture = kImageYellow;
    ShowStatus("");
    ReleaseClient();
  } else if (reachedUnit) {
    display_.StatusPicture = kImageRed;
    ShowStatus("");
    if (!Connected())
      notices_.Ask(CannotConnectText(modem), "Cannot Connect To Server", MessageButtons::Ok, MessageIcon::Critical);
    ReleaseClient();
    if (timing_.unattended) {
      // No one is there to start the updates again: the unit is tried at every poll.
      unit_ = UnitLink::Retrying;
      ResumePolling();
      if (!noPolling) ArmPoll();
    } else {
      SetNotPolling();
    }
  }
  connecting_ = false;
  Changed();
  emit connectFinished(connected);
  if (then) then(connected);
}

void AcquisitionCycle::ChooseUnit() {
  ++tickGeneration_;     // the tick under way belongs to the unit left behind
  ++connectGeneration_;  // and so does a connection attempt under way
  if (connecting_) abortConnect_ = true;
  runningTick_ = 0;
  singleStep_ = false;
  display_.ConnectingProgress = false;
  timerPoll_.stop();
  ReleaseClient();
  unit_ = UnitLink::Unreached;  // so that a unit that cannot be reached is told
  Connect(true, false, 0, {});
}

void AcquisitionCycle::DropUnit() {
  ++tickGeneration_;
  ++connectGeneration_;
  if (connecting_) abortConnect_ = true;
  runningTick_ = 0;
  singleStep_ = false;
  connecting_ = false;
  display_.ConnectingProgress = false;
  ReleaseClient();
  unit_ = UnitLink::Unreached;
  SetNotPolling();
  display_.StatusPicture = kImageNone;
  Changed();
}

void AcquisitionCycle::AbortConnection() {
  if (connecting_) abortConnect_ = true;
}

// ---- request and fetch -------------------------------------------------------------

void AcquisitionCycle::RequestStep(std::function<void(bool)> then) {
  if (state_.RequestBusy) {
    then(false);
    return;
  }
  state_.RequestBusy = true;
  using Written = std::pair<bool, std::string>;
  OnLink<Written>(
      [](LinkSide& link) {
        const bool written = link.Request();
        return Written{written, link.LastError()};
      },
      [this, then](Written result) {
        state_.RequestBusy = false;
        if (!result.first) Failed(TickStep::Request, result.second);
        then(result.first);
      },
      true);
}

void AcquisitionCycle::FetchStep(std::function<void(bool)> then) {
  if (state_.FetchBusy) {
    then(false);
    return;
  }
  state_.FetchBusy = true;
  const uint64_t attempt = connectGeneration_;
  using Fetched = std::pair<FetchOutcome, std::string>;
  OnLink<Fetched>([](LinkSide& link) {
    FetchOutcome outcome = link.Fetch();
    return Fetched{std::move(outcome), link.LastError()};
  }, [this, then, attempt](Fetched fetched) {
    FetchOutcome& outcome = fetched.first;
    if (Superseded(attempt)) {
      // Read from the unit left behind: neither shown nor taken for a lost connection.
      state_.FetchBusy = false;
      then(false);
      return;
    }
    if (!outcome.opened) {
      Failed(TickStep::Fetch, fetched.second);
      FetchNotOpened(then);
      return;
    }
    state_.LastReadRequest = outcome.requestedSize;
    // What arrived is shown as always; the operator is told that it was not all.
    if (const std::string shortfall = Shortfall(outcome); !shortfall.empty()) {
      tick_.Shortfall = shortfall;
      ShowStatus("Short capture received (" + shortfall + ")");
      timerStatus_.start();
    }
    // An empty read is no capture: nothing is parsed, but the fetch still counts.
    if (!outcome.block.empty()) {
      state_.RawBlock = std::move(outcome.block);
      tick_.Captured = true;
      state_.LeadWord = processBlock_(state_.RawBlock);
      emit blockProcessed();
    }
    ReleaseClient();
    state_.FetchBusy = false;
    then(true);
  });
}

void AcquisitionCycle::FetchNotOpened(std::function<void(bool)> then) {
  LostConnection([this, then] {
    OnLink<bool>([](LinkSide& link) { return link.IsConnected(); }, [this, then](bool isConnected) {
      // A unit that answers again is asked about afresh at its next loss.
      if (isConnected) unit_ = Connected() ? UnitLink::Reached : UnitLink::Unreached;
      state_.FetchBusy = false;
      then(false);
    });
  });
}

void AcquisitionCycle::LostConnection(std::function<void()> then) {
  display_.StatusPicture = kImageYellow;
  Changed();
  if (LostShown()) {
    // Asked once already: reconnect without asking again.
    Connect(true, false, 0, [then](bool) { then(); });
    return;
  }
  unit_ = Connected() ? UnitLink::LostAsked : UnitLink::LostUnreached;
  const std::optional<ModemInfo> modem = currentModem_();
  const MessageAnswer answer = notices_.Ask(LostText(modem.value_or(ModemInfo{})), "Server Connection Lost",
                                            MessageButtons::YesNo, MessageIcon::Critical);
  if (answer != MessageAnswer::Yes) {
    StopPolling();
    ShowStatus("Communications have been aborted!");
    timerStatus_.start();
    unit_ = UnitLink::LostUnreached;
    Changed();
  } else if (!singleStep_) {
    // Yes: the poll goes on, and each tick tries the unit again until it answers.
    unit_ = UnitLink::Retrying;
    ResumePolling();
  }
  ReleaseClient();
  then();
}

void AcquisitionCycle::ResumePolling() {
  stopped_ = false;
  display_.StopGoPressed = false;
  display_.StopGoImage = kImageGreen;
  display_.StopGoCaption = kStopCaption;
  display_.StatusPicture = kImageYellow;
  Changed();
}

// ---- the poll tick -----------------------------------------------------------------

void AcquisitionCycle::timerPoll_Timer() {
  if (!timing_.unattended) timerPoll_.stop();
  if (TickInProgress()) {
    // The tick under way re-arms the timer when it ends; an unattended timer runs on.
    if (timing_.unattended) emit pollMissed();
    return;
  }
  StartTick();
}

void AcquisitionCycle::StartTick() {
  const uint64_t tick = ++tickGeneration_;
  runningTick_ = tick;
  tick_ = TickReport{};
  tick_.Started = std::chrono::steady_clock::now();
  RequestStep([this, tick](bool written) {
    if (Stale(tick)) {
      EndTick(tick);
      return;
    }
    if (!written) {
      RequestNotWritten(tick);
      return;
    }
    QTimer::singleShot(timing_.requestWaitMs, this, [this, tick] {
      if (Stale(tick)) {
        EndTick(tick);
        return;
      }
      // Three connections per acquisition: request, read, and one left for the next tick.
      Connect(false, singleStep_, tick, [this, tick](bool) {
        if (Stale(tick)) {
          EndTick(tick);
          return;
        }
        FetchStep([this, tick](bool fetched) {
          if (!fetched || Stale(tick)) {
            EndTick(tick);
            return;
          }
          KeepConnection(tick);
        });
      });
    });
  });
}

// The request failed silently. A unit that still takes a connection refused it, and the
// connection is kept for the next tick; a unit that takes none is gone, which the operator
// is told as when a read finds it gone (otherwise a unit that died between two polls
// would never be reported).
void AcquisitionCycle::RequestNotWritten(uint64_t tick) {
  if (LostShown()) {
    LostConnection([this, tick] { EndTick(tick); });
    return;
  }
  KeepConnection(tick);
}

// The connection left open for the next tick; a unit that no longer takes one is lost.
void AcquisitionCycle::KeepConnection(uint64_t tick) {
  Connect(false, singleStep_, tick, [this, tick](bool connected) {
    if (connected || Stale(tick))
      EndTick(tick);
    else
      LostConnection([this, tick] { EndTick(tick); });
  });
}

void AcquisitionCycle::EndTick(uint64_t tick) {
  // A tick that was stopped while it ran leaves the newer state as it stands.
  if (!Stale(tick) && !singleStep_ && !stopped_) ArmPoll();
  if (runningTick_ == tick) {  // no newer tick has started: the single step is over
    runningTick_ = 0;
    singleStep_ = false;
  }
  emit tickFinished();
}

// ---- timers and commands --------------------------------------------------------------

void AcquisitionCycle::timerConnection_Timer() {
  timerConnection_.stop();
  display_.ConnectingProgress = true;
  Connect(true, startNoPolling_, 0, [this](bool) {
    display_.ConnectingProgress = false;
    Changed();
  });
}

void AcquisitionCycle::timerStatus_Timer() {
  timerStatus_.stop();
  ShowStatus("");
}

void AcquisitionCycle::StopGo_Click() {
  if (!currentModem_()) return;
  // A click while a connection is being made ends that attempt, as Ctrl+S does, and
  // updates stay stopped; it never starts a second attempt beside the first.
  if (connecting_) {
    AbortConnection();
    return;
  }
  if (!stopped_) {
    Halt();
    return;
  }
  // A resume whose connection failed leaves the start caption and updates stopped.
  Connect(true, false, 0, [this](bool connected) {
    if (!connected) return;
    display_.StopGoCaption = kResumedStopCaption;
    ShowStatus("Tavrix communication has been resumed!");
    timerStatus_.start();
    Changed();
  });
}

void AcquisitionCycle::SingleStep_Click() {
  if (!currentModem_() || TickInProgress() || connecting_) return;
  singleStep_ = true;
  Connect(true, true, 0, [this](bool) {
    timerPoll_.stop();
    StartTick();
  });
}

}  // namespace tavrix
