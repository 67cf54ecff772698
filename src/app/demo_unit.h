#pragma once
#include <QObject>
#include <QProcess>
#include <QString>
#include <QTimer>

namespace tavrix {

// The simulated demodulator behind --demo: the project's simulator started as a child
// process on a free loopback port. The child ends with the viewer, a crash included: it
// stops when its standard input, held by the viewer, closes.
class DemoUnit : public QObject {
  Q_OBJECT

 public:
  explicit DemoUnit(QObject* parent = nullptr);
  ~DemoUnit() override;

  // Starts the simulator; ready() or failed() follows.
  void Start();
  QString Address() const { return address_; }

  // Where the simulator is looked for: beside an installed program, then in the source tree.
  static QString FindScript();

 signals:
  void ready(const QString& address);
  void failed(const QString& message);

 private:
  void OnOutput();
  void Fail(const QString& message);

  QProcess process_;
  QTimer deadline_;
  QByteArray output_;
  QString address_;
  bool done_ = false;
};

}  // namespace tavrix
