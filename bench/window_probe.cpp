// Measures the real window the way an operator runs it, for scripts/soak.sh and
// scripts/startup.sh (not a test: it asserts nothing and only prints figures).
//
//   window_probe startup         the time from the process's start to the first painted
//                                frame of the window, on a fresh settings folder
//   window_probe soak N [MS]     N acquisitions from the simulated unit with the poll
//                                interval compressed to MS (default 20), the window open,
//                                peak hold and video average on; prints the resident size
//                                after the 10th acquisition and at the end
//
// The window runs on the platform Qt is given (offscreen in the scripts).
#include <QApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTimer>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#if defined(__linux__)
#include <time.h>
#include <unistd.h>
#endif

#include "app/main_window.h"
#include "app/plot_widget.h"
#include "link/simulator_process.h"
#include "store/settings_store.h"

using namespace tavrix;

namespace {

// Milliseconds since this process was created, as the system counts it.
double MillisecondsSinceStart() {
#if defined(__linux__)
  std::ifstream stat("/proc/self/stat");
  std::string text((std::istreambuf_iterator<char>(stat)), std::istreambuf_iterator<char>());
  // Field 22, counted after the command name's closing parenthesis (field 2).
  size_t at = text.rfind(')');
  for (int field = 2; field < 22 && at != std::string::npos; ++field) at = text.find(' ', at + 1);
  const double startTicks = at == std::string::npos ? 0 : std::strtod(text.c_str() + at + 1, nullptr);
  timespec now{};
  clock_gettime(CLOCK_BOOTTIME, &now);
  const double nowMs = static_cast<double>(now.tv_sec) * 1000.0 + static_cast<double>(now.tv_nsec) / 1e6;
  return nowMs - startTicks * 1000.0 / static_cast<double>(sysconf(_SC_CLK_TCK));
#else
  return -1;
#endif
}

long ResidentKiB() {
#if defined(__linux__)
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line))
    if (line.rfind("VmRSS:", 0) == 0) return std::strtol(line.c_str() + 6, nullptr, 10);
#endif
  return -1;
}

// Runs the event loop until `done` holds or `seconds` pass; false on the time-out.
template <typename Done>
bool RunUntil(Done done, int seconds) {
  QElapsedTimer clock;
  clock.start();
  while (!done()) {
    if (clock.elapsed() > seconds * 1000) return false;
    QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
  }
  return true;
}

int Startup(const QString& settingsFile) {
  MainWindowOptions options;
  options.SettingsFile = settingsFile;
  frmMain window(options);
  bool painted = false;
  double firstFrameMs = 0;
  struct FirstPaint : QObject {
    std::function<void()> seen;
    bool eventFilter(QObject*, QEvent* event) override {
      if (event->type() == QEvent::Paint && seen) {
        // Measured once the paint has been handled and the loop is free again.
        QTimer::singleShot(0, seen);
        seen = nullptr;
      }
      return false;
    }
  } filter;
  filter.seen = [&] {
    firstFrameMs = MillisecondsSinceStart();
    painted = true;
  };
  window.Plot()->installEventFilter(&filter);
  window.show();
  if (!RunUntil([&] { return painted; }, 30)) {
    std::fprintf(stderr, "window_probe: the window never painted\n");
    return 1;
  }
  std::printf("first frame %.0f ms after the process started, resident %ld KiB\n", firstFrameMs, ResidentKiB());
  return 0;
}

int Soak(const QString& settingsFile, int acquisitions, int pollMs) {
  testing::SimulatorProcess sim({"--capture-pool", "16"});
  if (!sim.Started()) {
    std::fprintf(stderr, "window_probe: the simulated unit did not start: %s\n", qPrintable(sim.ErrorText()));
    return 1;
  }
  {
    SettingsStore store(settingsFile);
    Modems modems;
    modems.Add(0, 1, OldestTime(), false, sim.Address(), "Soak");
    SaveModems(store, modems, "Soak");
    store.SaveSetting("Configuration", "StopUpdates", "False");
    store.SaveSetting("Configuration", "PeakHold", "True");
    store.SaveSetting("Configuration", "VideoAverage", "True");
    store.Sync();
  }
  MainWindowOptions options;
  options.SettingsFile = settingsFile;
  options.Timing = {.pollMs = pollMs, .connectionMs = 10, .statusMs = 5000, .requestWaitMs = 5};
  options.Limits.releasePauseMs = 0;
  options.Answerer = [](const Question& q) {
    std::fprintf(stderr, "window_probe: asked \"%s\"\n", q.Text.c_str());
    return MessageAnswer::Yes;
  };
  long afterTenth = 0, atEnd = 0;
  int shown = 0;
  {
    frmMain window(options);
    QObject::connect(&window, &frmMain::captureShown, [&] {
      if (++shown == 10) afterTenth = ResidentKiB();
      if (shown == acquisitions) window.Cycle().StopGo_Click();
    });
    window.show();
    const bool finished = RunUntil([&] { return shown >= acquisitions && !window.Cycle().TickInProgress(); },
                                   60 + acquisitions);
    atEnd = ResidentKiB();
    window.close();
    if (!finished) {
      std::fprintf(stderr, "window_probe: only %d of %d acquisitions arrived\n", shown, acquisitions);
      return 1;
    }
  }
  std::printf("acquisitions %d, resident after 10th %ld KiB, at end %ld KiB, growth %ld KiB\n", shown, afterTenth, atEnd,
              atEnd - afterTenth);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  QTemporaryDir folder;
  const QString settings = folder.filePath("settings.conf");
  const std::string mode = argc > 1 ? argv[1] : "";
  if (mode == "startup") return Startup(settings);
  if (mode == "soak" && argc > 2) return Soak(settings, std::atoi(argv[2]), argc > 3 ? std::atoi(argv[3]) : 20);
  std::fprintf(stderr, "usage: window_probe startup | soak N [POLL_MS]\n");
  return 2;
}
