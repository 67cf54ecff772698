#include "app/platform.h"

#include <QProcess>
#include <QtGlobal>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <thread>

#if defined(__linux__)
#include <QSocketNotifier>
#include <cerrno>
#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace tavrix {

void EndWithThisProcess(QProcess& child) {
#if defined(__linux__)
  child.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGTERM); });
#else
  (void)child;
#endif
}

void EnsureRuntimeFolder() {
#if defined(__linux__)
  if (!qEnvironmentVariableIsEmpty("XDG_RUNTIME_DIR")) return;
  const QByteArray folder = "/tmp/runtime-" + QByteArray::number(::getuid());
  ::mkdir(folder.constData(), 0700);
  struct stat info {};
  if (::stat(folder.constData(), &info) == 0 && info.st_uid == ::getuid() && (info.st_mode & 0077) == 0)
    qputenv("XDG_RUNTIME_DIR", folder);
#endif
}

bool DisplayAvailable() {
#if defined(Q_OS_UNIX) && !defined(Q_OS_MACOS)
  return !qEnvironmentVariableIsEmpty("DISPLAY") || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") ||
         qEnvironmentVariable("QT_QPA_PLATFORM") == "offscreen";
#else
  return true;
#endif
}

namespace {

std::atomic<bool> stopRequested{false};

extern "C" void NoteStopRequest(int signal) {
  stopRequested.store(true);
  // The next one is the system's: a second Ctrl+C ends a process that does not stop.
  std::signal(signal, SIG_DFL);
}

constexpr int kStopSignals[] = {SIGINT, SIGTERM};
// How often a wait looks at the flag: a stop is noticed within this.
constexpr int64_t kWaitSliceMs = 20;

}  // namespace

StopRequests::StopRequests() {
  stopRequested.store(false);
  for (const int signal : kStopSignals) std::signal(signal, NoteStopRequest);
}

StopRequests::~StopRequests() {
  for (const int signal : kStopSignals) std::signal(signal, SIG_DFL);
}

bool StopRequests::Requested() const { return stopRequested.load(); }

const std::atomic<bool>* StopRequests::Flag() const { return &stopRequested; }

bool StopRequests::Wait(int64_t ms) const {
  const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
  while (!Requested()) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
    if (left.count() <= 0) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(std::min<int64_t>(left.count(), kWaitSliceMs)));
  }
  return false;
}

}  // namespace tavrix

#if defined(__linux__)
namespace {

int daemonSignalPipe[2] = {-1, -1};

extern "C" void ForwardDaemonSignal(int signal) {
  const int saved = errno;
  const char byte = static_cast<char>(signal);
  [[maybe_unused]] const ssize_t written = ::write(daemonSignalPipe[1], &byte, 1);
  errno = saved;
}

}  // namespace
#endif

namespace tavrix {

bool WatchDaemonSignals(QObject* context, std::function<void(DaemonSignal)> handler) {
#if defined(__linux__)
  if (daemonSignalPipe[0] < 0 && ::pipe2(daemonSignalPipe, O_CLOEXEC | O_NONBLOCK) != 0) return false;
  auto* notifier = new QSocketNotifier(daemonSignalPipe[0], QSocketNotifier::Read, context);
  QObject::connect(notifier, &QSocketNotifier::activated, context, [handler = std::move(handler)] {
    char bytes[16];
    ssize_t n = 0;
    while ((n = ::read(daemonSignalPipe[0], bytes, sizeof bytes)) > 0)
      for (ssize_t i = 0; i < n; ++i) handler(bytes[i] == SIGHUP ? DaemonSignal::Reload : DaemonSignal::Terminate);
  });
  struct sigaction action {};
  action.sa_handler = ForwardDaemonSignal;
  sigemptyset(&action.sa_mask);
  action.sa_flags = SA_RESTART;
  for (const int signal : {SIGHUP, SIGTERM, SIGINT}) ::sigaction(signal, &action, nullptr);
  return true;
#else
  (void)context;
  (void)handler;
  return false;
#endif
}

void RaiseOpenFileLimit() {
#if defined(__linux__)
  struct rlimit limit {};
  if (::getrlimit(RLIMIT_NOFILE, &limit) == 0 && limit.rlim_cur < limit.rlim_max) {
    limit.rlim_cur = limit.rlim_max;
    ::setrlimit(RLIMIT_NOFILE, &limit);
  }
#endif
}

}  // namespace tavrix
