#pragma once
// The few things the program does differently on each operating system.
#include <atomic>
#include <cstdint>

#include <functional>

class QObject;
class QProcess;

namespace tavrix {

// Asks the system to end the child when this process ends, however it ends, where the
// system offers that (the child's own watch on its standard input covers the rest).
void EndWithThisProcess(QProcess& child);

// Where a session has no per-user runtime folder named (a shell as root, a service),
// names a private one, as Qt would pick it, so that Qt has no warning to print.
void EnsureRuntimeFolder();

// True when a graphical session is reachable (on X11 and Wayland systems: a display is named).
bool DisplayAvailable();

// While one lives, an interrupt (Ctrl+C) or a termination request (SIGTERM, a service
// stop) does not end the process: it is noted, and the work in progress ends at its next
// safe point. A second one ends the process as the system would. One at a time.
class StopRequests {
 public:
  StopRequests();
  ~StopRequests();
  StopRequests(const StopRequests&) = delete;
  StopRequests& operator=(const StopRequests&) = delete;

  bool Requested() const;
  // Set by a request: for a network wait that should end early (FtpLimits::abort).
  const std::atomic<bool>* Flag() const;
  // Waits `ms` milliseconds, or less when a stop is requested; false when one was.
  bool Wait(int64_t ms) const;
};

}  // namespace tavrix

namespace tavrix {

enum class DaemonSignal { Reload, Terminate };

// For a daemon: SIGHUP arrives as Reload, SIGTERM and SIGINT as Terminate, each delivered to
// `handler` on the thread of `context`, whose event loop runs it, never inside the signal
// handler (a pipe carries them across). False where the system has no such signals.
bool WatchDaemonSignals(QObject* context, std::function<void(DaemonSignal)> handler);

// Raises the soft limit of open files to the hard one: a daemon watching a rack holds a
// few connections and files for every unit.
void RaiseOpenFileLimit();

}  // namespace tavrix
