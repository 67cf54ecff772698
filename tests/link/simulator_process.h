#pragma once
// A simulated demodulator for tests and benchmarks: tools/demod_sim.py started on a free
// loopback port, with its command log and the blocks it served in a temporary folder, and
// stopped when the object goes.
#include <QByteArray>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <QThread>

#include <string>

#ifndef TAVRIX_SOURCE_DIR
#error "TAVRIX_SOURCE_DIR must name the project's source folder"
#endif

namespace tavrix::testing {

class SimulatorProcess {
 public:
  // Starts the simulator with the given options (see tools/demod_sim.py --help) and waits
  // a few seconds at most for it to listen. Check Started() before use.
  explicit SimulatorProcess(const QStringList& options = {}) : options_(options) { Launch(0); }

  ~SimulatorProcess() { Stop(); }

  // The unit dies at once, as a unit that loses power does.
  void Kill() {
    process_.kill();
    process_.waitForFinished(kStopMs);
  }
  // The unit comes back on the same port with the same options; its log and its count of
  // served blocks start again.
  bool Restart() {
    Stop();
    const int port = port_;
    port_ = 0;
    Launch(port);
    return Started();
  }

  SimulatorProcess(const SimulatorProcess&) = delete;
  SimulatorProcess& operator=(const SimulatorProcess&) = delete;

  bool Started() const { return port_ > 0; }
  int Port() const { return port_; }
  // The unit's address as the viewer takes it: "127.0.0.1:<port>".
  std::string Address() const { return "127.0.0.1:" + std::to_string(port_); }

  // The command and event log so far, one entry a line ("CONNECT", "RETR spectrum:",
  // "SENT 8224 complete", ...; see tools/demod_sim.py).
  QStringList LogLines() const {
    QFile file(LogPath());
    if (!file.open(QIODevice::ReadOnly)) return {};
    return QString::fromUtf8(file.readAll()).split('\n', Qt::SkipEmptyParts);
  }
  // How many log lines are `entry` exactly, or start with it followed by a space when
  // `prefix` is set ("SENT" counts "SENT 8224 complete").
  int Count(const QString& entry, bool prefix = false) const {
    int n = 0;
    for (const QString& line : LogLines())
      if (line == entry || (prefix && line.startsWith(entry + ' '))) ++n;
    return n;
  }
  // Waits (a few seconds at most) until Count(entry, prefix) reaches `atLeast`; for events
  // the simulator logs after the client has moved on, such as DISCONNECT.
  bool WaitForCount(const QString& entry, int atLeast, bool prefix = false) const {
    const QDeadlineTimer deadline(kStartMs);
    while (Count(entry, prefix) < atLeast) {
      if (deadline.hasExpired()) return false;
      QThread::msleep(10);
    }
    return true;
  }

  // The n-th block the simulator served (1 for the first), byte for byte; empty if none.
  std::string ServedBlock(int n) const {
    QFile file(folder_.filePath(QString("block_%1.bin").arg(n, 4, 10, QChar('0'))));
    if (!file.open(QIODevice::ReadOnly)) return {};
    const QByteArray bytes = file.readAll();
    return std::string(bytes.constData(), static_cast<size_t>(bytes.size()));
  }

  // What the simulator wrote to stderr (empty unless something went wrong inside it).
  QString ErrorText() const {
    QFile file(folder_.filePath("stderr"));
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
  }

 private:
  static constexpr int kStartMs = 5000;
  static constexpr int kStopMs = 3000;

  QString LogPath() const { return folder_.filePath("log"); }

  void Launch(int port) {
    QStringList arguments{QStringLiteral(TAVRIX_SOURCE_DIR "/tools/demod_sim.py"),
                          "--port", QString::number(port), "--log", LogPath(), "--dump-dir", folder_.path()};
    arguments += options_;
    // The system Python has Debian's pyftpdlib; a "python3" found first on the PATH (pyenv,
    // venv) only passes the script on to it, at a cost of a few tenths of a second.
    process_.setProgram(QFile::exists("/usr/bin/python3") ? "/usr/bin/python3" : "python3");
    process_.setArguments(arguments);
    process_.setStandardErrorFile(folder_.filePath("stderr"), QIODevice::Append);
    process_.start();
    QByteArray line;
    const QDeadlineTimer deadline(kStartMs);
    while (!line.endsWith('\n') && !deadline.hasExpired() && process_.state() != QProcess::NotRunning) {
      if (process_.waitForReadyRead(static_cast<int>(deadline.remainingTime()))) line += process_.readLine();
    }
    if (line.startsWith("LISTENING ")) port_ = line.mid(10).trimmed().toInt();
  }

  void Stop() {
    if (process_.state() == QProcess::NotRunning) return;
    process_.terminate();
    if (!process_.waitForFinished(kStopMs)) {
      process_.kill();
      process_.waitForFinished(kStopMs);
    }
  }

  QStringList options_;
  QTemporaryDir folder_;
  QProcess process_;
  int port_ = 0;
};

}  // namespace tavrix::testing
