#pragma once
// Loopback peers: a port that accepts and never answers, and one where nothing listens.
#include <QHostAddress>
#include <QTcpServer>

namespace tavrix::testing {

// Never accepts: the system completes the connection, and then nothing ever answers.
class MuteListener {
 public:
  MuteListener() {
    if (!server_.listen(QHostAddress::LocalHost)) return;
    server_.pauseAccepting();  // connections wait in the system's queue, never taken
    port_ = server_.serverPort();
  }
  int Port() const { return port_; }

 private:
  QTcpServer server_;
  int port_ = 0;
};

// A port on which nothing listens (it was free a moment ago).
inline int FreePort() { return MuteListener().Port(); }

}  // namespace tavrix::testing
