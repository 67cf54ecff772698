#include "monitor/unit_monitor.h"

#include <chrono>

#include "dsp/capture_block.h"

namespace tavrix::monitor {

namespace {

constexpr double kHzPerMHz = 1e6;

int64_t NowMs() {
  return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::system_clock::now().time_since_epoch())
      .count();
}

const char* ReasonOf(TickStep step) {
  switch (step) {
    case TickStep::Connect:
      return kFailConnect;
    case TickStep::Request:
      return kFailRequest;
    case TickStep::Fetch:
      return kFailRead;
    case TickStep::None:
      break;
  }
  return kFailShort;  // the read was opened and gave nothing
}

}  // namespace

UnitMonitor::UnitMonitor(UnitConfig config, UnitServices services, int startDelayMs)
    : config_(std::move(config)),
      services_(std::move(services)),
      notices_("unit " + QuotedName(config_.Name) + ": ", services_.log) {
  figures_.Name = config_.Name;
  figures_.Address = config_.Address;
  figures_.IntervalSeconds = config_.IntervalSeconds;
  SetBands(config_.Bands);
  CycleTiming timing;
  timing.pollMs = static_cast<int>(config_.IntervalSeconds * 1000 + 0.5);
  timing.connectionMs = startDelayMs;
  timing.requestWaitMs = services_.requestWaitMs;
  timing.releaseWaitMs = services_.releaseWaitMs;
  timing.unattended = true;
  FtpLimits limits = services_.limits;
  limits.releasePauseMs = 0;  // the strand pauses instead, holding no thread
  const ModemInfo modem{config_.Name, config_.Address};
  cycle_ = std::make_unique<AcquisitionCycle>(
      notices_, [modem] { return std::optional<ModemInfo>(modem); },
      [this](const std::string& block) { return OnBlock(block); }, timing, limits, services_.pool->NewStrand());
  connect(cycle_.get(), &AcquisitionCycle::pollMissed, this, [this] { ++figures_.Missed; });
  connect(cycle_.get(), &AcquisitionCycle::tickFinished, this, &UnitMonitor::OnTickFinished);
  cycle_->Start();
}

UnitMonitor::~UnitMonitor() = default;

void UnitMonitor::Log(const std::string& text) const {
  if (services_.log) services_.log("unit " + QuotedName(config_.Name) + ": " + text);
}

void UnitMonitor::SetBands(const std::vector<BandConfig>& bands) {
  for (const BandConfig& old : config_.Bands) alarms_.Forget(old.Name);
  config_.Bands = bands;
  figures_.Bands.clear();
  for (const BandConfig& band : bands) figures_.Bands.emplace_back().Name = band.Name;
}

uint16_t UnitMonitor::OnBlock(const std::string& block) {
  // A block cut short would be measured over filler bytes: it is counted, not measured.
  shortBlock_ = block.size() < static_cast<size_t>(kNominalBlockLength);
  if (shortBlock_) return 0;
  const int64_t timeMs = NowMs();
  ParseBlock(block, spectrum_.Capture);
  UpdateSpectrum(spectrum_, window_, true);
  Measure(timeMs);
  if (services_.recorder != nullptr)
    services_.recorder->Append({config_.Name, config_.Address, timeMs, block});
  return spectrum_.Capture.LeadWord;
}

void UnitMonitor::Measure(int64_t timeMs) {
  const CaptureFields& capture = spectrum_.Capture;
  figures_.CenterHz = capture.CenterFreq * kHzPerMHz;
  figures_.SampleRateHz = capture.SampleRate * kHzPerMHz;
  figures_.LastCaptureMs = timeMs;
  const MeasuredTrace trace(spectrum_.Traces, kCurrentTrace, capture.FreqScale);
  const BandMHz shown = ShownBand(capture.FreqLow, capture.FreqHigh, capture.FreqScale);
  for (size_t b = 0; b < config_.Bands.size(); ++b) {
    const BandConfig& band = config_.Bands[b];
    BandFigures& out = figures_.Bands[b];
    std::string problem = BandProblem(trace, band.Band, shown, "band");
    if (problem.empty() && band.Noise) problem = BandProblem(trace, *band.Noise, shown, "noise band");
    if (!problem.empty()) {
      if (problem != out.Problem) Log("band " + QuotedName(band.Name) + " cannot be measured: " + problem);
      out = BandFigures();
      out.Name = band.Name;
      out.Problem = problem;
      alarms_.Forget(band.Name);
      continue;
    }
    const CarrierFigures carrier = *MeasureCarrier(trace, band.Band);
    out.Measured = true;
    out.Problem.clear();
    out.ChannelPowerDb = carrier.ChannelPowerDb;
    out.PeakLevelDb = carrier.Peak.LevelDb;
    out.OccupiedBandwidthHz = carrier.OccupiedBandwidthMHz() * kHzPerMHz;
    out.CN.reset();
    if (band.Noise)
      if (const std::optional<double> density = MeanNoiseDensity(trace, {*band.Noise}))
        out.CN = CarrierToNoiseOf(carrier, *density);
    for (const AlarmChange& change : alarms_.Check(band.Name, band.Limits, {carrier.ChannelPowerDb, out.CN})) {
      std::string line = EventLogLine({std::chrono::system_clock::time_point(std::chrono::milliseconds(timeMs)),
                                       config_.Name, change});
      while (!line.empty() && (line.back() == '\n' || line.back() == '\r')) line.pop_back();
      // One event, one log line, whatever the unit's name holds.
      for (size_t at = line.find_first_of("\r\n"); at != std::string::npos; at = line.find_first_of("\r\n", at))
        line.replace(at, 1, line[at] == '\n' ? "\\n" : "\\r");
      if (services_.log) services_.log("alarm " + line);
    }
    out.PowerAlarm.reset();
    out.CnAlarm.reset();
    if (band.Limits.ChannelPowerDb) out.PowerAlarm = alarms_.InAlarm(band.Name, LimitedQuantity::ChannelPower);
    if (band.Limits.CarrierToNoiseDb) out.CnAlarm = alarms_.InAlarm(band.Name, LimitedQuantity::CarrierToNoise);
  }
}

void UnitMonitor::OnTickFinished() {
  const TickReport& tick = cycle_->LastTick();
  if (services_.durations != nullptr)
    services_.durations->Add(std::chrono::duration<double>(std::chrono::steady_clock::now() - tick.Started).count());
  const bool whole = tick.Captured && !shortBlock_;
  if (whole) {
    ++figures_.Captures;
    figures_.LastError.clear();
    if (!wasUp_) Log("up: capture read");
  } else {
    const char* reason = tick.Captured ? kFailShort : ReasonOf(tick.Failed);
    ++figures_.Failures[reason];
    std::string why = tick.Captured || tick.Failed == TickStep::None
                          ? "fewer bytes than a capture arrived" + (tick.Shortfall.empty() ? "" : " (" + tick.Shortfall + ")")
                          : tick.Why;
    figures_.LastError = std::string(reason) + ": " + why;
    if (wasUp_) Log("down: " + figures_.LastError);
  }
  figures_.Up = whole;
  wasUp_ = whole;
  shortBlock_ = false;
  emit pollFinished();
}

}  // namespace tavrix::monitor
