// One acquisition (capture request, read and the connection for the next poll, as one
// tick of the cycle runs them through the link thread) against one bare retrieval of
// the block with the same client, both against the simulated unit on loopback. The
// 200 ms waits are set to zero: what is measured is the work, not the pauses.
#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

#include <cstdio>
#include <memory>
#include <optional>

#include "link/acquisition_cycle.h"
#include "link/link_side.h"
#include "ratio_reporter.h"
#include "simulator_process.h"

using namespace tavrix;

namespace {

class SilentNotices : public Notices {
 public:
  void ShowStatus(const std::string&, bool) override {}
  MessageAnswer Ask(const std::string&, const std::string&, MessageButtons, MessageIcon) override {
    return MessageAnswer::Yes;
  }
};

testing::SimulatorProcess* simulator = nullptr;

FtpLimits NoPauses() {
  FtpLimits limits;
  limits.releasePauseMs = 0;
  return limits;
}

void BM_BareRetrieval(benchmark::State& st) {
  SilentNotices notices;
  size_t bytes = 0;
  for (auto _ : st) {
    LinkSide link(&notices, NoPauses());
    if (!link.Connect(simulator->Address())) st.SkipWithError("no connection to the simulator");
    bytes += link.Fetch().block.size();
    link.Release();
  }
  st.counters["bytes"] = static_cast<double>(bytes) / static_cast<double>(st.iterations());
}
BENCHMARK(BM_BareRetrieval)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_Acquisition(benchmark::State& st) {
  SilentNotices notices;
  CycleTiming timing;
  timing.pollMs = 600000;
  timing.requestWaitMs = 0;
  size_t blocks = 0;
  const std::string address = simulator->Address();
  AcquisitionCycle cycle(
      notices, [address] { return std::optional<ModemInfo>(ModemInfo{"Sim", address}); },
      [&blocks](const std::string&) {
        ++blocks;
        return uint16_t(0);
      },
      timing, NoPauses());
  QEventLoop loop;
  QObject::connect(&cycle, &AcquisitionCycle::connectFinished, &loop, &QEventLoop::quit);
  cycle.timerConnection_Timer();
  loop.exec();
  QObject::disconnect(&cycle, nullptr, &loop, nullptr);
  QObject::connect(&cycle, &AcquisitionCycle::tickFinished, &loop, &QEventLoop::quit);
  for (auto _ : st) {
    cycle.timerPoll_Timer();
    loop.exec();
  }
  if (blocks != static_cast<size_t>(st.iterations())) st.SkipWithError("a poll read no block");
}
BENCHMARK(BM_Acquisition)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

int main(int argc, char** argv) {
  QCoreApplication app(argc, argv);
  // The unit's own capture synthesis (milliseconds of Python per capture) is not the
  // client's work: a pool of captures made at start takes it out of the measurement.
  testing::SimulatorProcess sim({"--capture-pool", "8"});
  if (!sim.Started()) {
    std::fprintf(stderr, "bench_acquisition: the simulator did not start: %s\n", qPrintable(sim.ErrorText()));
    return 1;
  }
  simulator = &sim;
  return bench::RunAndPrintRatios(argc, argv,
                                  {{"one acquisition / one bare retrieval", "BM_Acquisition", "BM_BareRetrieval", 4.0}});
}
