#include "app/platform.h"

#include <QProcess>
#include <QtGlobal>

#if defined(__linux__)
#include <signal.h>
#include <sys/prctl.h>
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

}  // namespace tavrix
