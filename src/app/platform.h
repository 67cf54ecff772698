#pragma once
// The few things the program does differently on each operating system.
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

}  // namespace tavrix
