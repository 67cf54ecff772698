#pragma once
// A simulated demodulator: tools/demod_sim.py on a free loopback port, its command log and
// the blocks it served in a temporary folder; stopped with the object.
#include <QByteArray>
#include <QDeadlineTimer>
#include <QFile>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <QThread>

#include <string>
#include <utility>

namespace tavrix::testing {

class SimulatorProcess {
 public:
  // Started with the options of tools/demod_sim.py; check Started() before use.
  explicit SimulatorProcess(const QStringList& options = {}) : options_(options) { Launch(0); }
  ~SimulatorProcess() { Stop(); }

  // The unit dies at once, as a unit that loses power does.
  void Kill() { process_.kill(); process_.waitForFinished(kStopMs); }
  // Back on the same port with the same options; the log and the served blocks start again.
  bool Restart() {
    Stop();
    Launch(std::exchange(port_, 0));
    return Started();
  }

  bool Started() const { return port_ > 0; }
  int Port() const { return port_; }
  std::string Address() const { return "127.0.0.1:" + std::to_string(port_); }

  // The command and event log so far, one entry a line ("CONNECT", "SENT 8224 complete", ...).
  QStringList LogLines() const { return QString::fromUtf8(ReadFile("log")).split('\n', Qt::SkipEmptyParts); }
  // Log lines that are `entry`, or with `prefix` start with it and a space.
  int Count(const QString& entry, bool prefix = false) const {
    int n = 0;
    for (const QString& line : LogLines()) n += line == entry || (prefix && line.startsWith(entry + ' '));
    return n;
  }
  // For events logged after the client has moved on, such as DISCONNECT.
  bool WaitForCount(const QString& entry, int atLeast, bool prefix = false) const {
    const QDeadlineTimer deadline(kStartMs);
    while (Count(entry, prefix) < atLeast) {
      if (deadline.hasExpired()) return false;
      QThread::msleep(10);
    }
    return true;
  }
  // The n-th block served (1 for the first), byte for byte; empty if none.
  std::string ServedBlock(int n) const {
    return ReadFile(QString("block_%1.bin").arg(n, 4, 10, QChar('0'))).toStdString();
  }
  // Empty unless something went wrong inside the simulator.
  QString ErrorText() const { return QString::fromUtf8(ReadFile("stderr")); }

 private:
  static constexpr int kStartMs = 5000, kStopMs = 3000;

  QByteArray ReadFile(const QString& name) const {
    QFile file(folder_.filePath(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
  }

  void Launch(int port) {
    // Whichever Python the PATH gives; the simulator finds one with its FTP library itself.
    process_.setProgram("python3");
    process_.setArguments(QStringList{TAVRIX_SOURCE_DIR "/tools/demod_sim.py", "--port", QString::number(port), "--log",
                                      folder_.filePath("log"), "--dump-dir", folder_.path()} + options_);
    process_.setStandardErrorFile(folder_.filePath("stderr"), QIODevice::Append);
    process_.start();
    QByteArray line;
    const QDeadlineTimer deadline(kStartMs);
    while (!line.endsWith('\n') && !deadline.hasExpired() && process_.state() != QProcess::NotRunning)
      if (process_.waitForReadyRead(static_cast<int>(deadline.remainingTime()))) line += process_.readLine();
    if (line.startsWith("LISTENING ")) port_ = line.mid(10).trimmed().toInt();
  }

  void Stop() {
    process_.terminate();
    if (!process_.waitForFinished(kStopMs)) Kill();
  }

  QStringList options_;
  QTemporaryDir folder_;
  QProcess process_;
  int port_ = 0;
};

}  // namespace tavrix::testing

#define START_SIMULATOR(sim, ...)                                       \
  tavrix::testing::SimulatorProcess sim{QStringList{__VA_ARGS__}};      \
  QVERIFY2(sim.Started(), qPrintable("simulator did not start: " + sim.ErrorText()))
