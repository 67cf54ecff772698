#include "app/demo_unit.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

#include "app/platform.h"

namespace tavrix {

namespace {

constexpr int kStartSeconds = 10;
const char* const kScriptName = "demod_sim.py";
const char* const kInstallHint = "apt-get install python3 python3-pyftpdlib";

// Python through the PATH, as a shell would find it.
QString FindPython() {
  const QString found = QStandardPaths::findExecutable("python3");
  return found.isEmpty() ? QStandardPaths::findExecutable("python") : found;
}

}  // namespace

DemoUnit::DemoUnit(QObject* parent) : QObject(parent) {
  deadline_.setSingleShot(true);
  deadline_.setInterval(kStartSeconds * 1000);
  connect(&deadline_, &QTimer::timeout, this,
          [this] { Fail(QString("The simulated demodulator did not start within %1 seconds.").arg(kStartSeconds)); });
  connect(&process_, &QProcess::readyReadStandardOutput, this, &DemoUnit::OnOutput);
  connect(&process_, &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
    if (error == QProcess::FailedToStart)
      Fail(QString("The simulated demodulator needs Python 3, which could not be started. Install it with: ") +
           kInstallHint);
  });
  connect(&process_, &QProcess::finished, this, [this] {
    QString reason = QString::fromUtf8(process_.readAllStandardError()).trimmed();
    if (reason.startsWith("demod_sim: ")) reason.remove(0, 11);
    if (reason.isEmpty()) reason = "it stopped without saying why";
    Fail("The simulated demodulator could not start: " + reason.section('\n', -1));
  });
}

DemoUnit::~DemoUnit() {
  if (process_.state() == QProcess::NotRunning) return;
  done_ = true;
  process_.closeWriteChannel();  // the simulator's cue to stop
  process_.terminate();
  if (!process_.waitForFinished(1000)) {
    process_.kill();
    process_.waitForFinished(1000);
  }
}

QString DemoUnit::FindScript() {
  const QDir programDir(QCoreApplication::applicationDirPath());
  // Installed: <prefix>/bin beside <prefix>/share; built: the build tree mirrors that.
  const QStringList candidates = {programDir.filePath("../share/tavrix-spectrum/" + QString(kScriptName)),
                                  programDir.filePath(kScriptName)};
  for (const QString& path : candidates)
    if (QFileInfo::exists(path)) return QFileInfo(path).canonicalFilePath();
  return {};
}

void DemoUnit::Start() {
  const QString script = FindScript();
  if (script.isEmpty()) {
    Fail(QString("The simulated demodulator (%1) was not found beside the program.").arg(kScriptName));
    return;
  }
  const QString python = FindPython();
  if (python.isEmpty()) {
    Fail(QString("The simulated demodulator needs Python 3, which was not found. Install it with: ") + kInstallHint);
    return;
  }
  process_.setProgram(python);
  // -B: no compiled modules left beside an installed script, which removing the package
  // would leave behind.
  process_.setArguments({"-B", script, "--port", "0", "--exit-with-parent", "--log", QProcess::nullDevice()});
  EndWithThisProcess(process_);
  deadline_.start();
  process_.start();
}

void DemoUnit::OnOutput() {
  output_ += process_.readAllStandardOutput();
  const qsizetype end = output_.indexOf('\n');
  if (done_ || end < 0) return;
  const QByteArray line = output_.left(end).trimmed();
  bool ok = false;
  const int port = line.startsWith("LISTENING ") ? line.mid(10).toInt(&ok) : 0;
  if (!ok || port <= 0) {
    Fail("The simulated demodulator said something unexpected: " + QString::fromUtf8(line));
    return;
  }
  done_ = true;
  deadline_.stop();
  address_ = QString("127.0.0.1:%1").arg(port);
  emit ready(address_);
}

void DemoUnit::Fail(const QString& message) {
  if (done_) return;
  done_ = true;
  deadline_.stop();
  emit failed(message);
}

}  // namespace tavrix
