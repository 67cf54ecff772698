#pragma once
// Loopback peers: a port that accepts and never answers, and one where nothing listens.
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace tavrix::testing {

// Never accepts: the kernel completes the connection, and then nothing ever answers.
class MuteListener {
 public:
  MuteListener() {
    fd_ = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (fd_ < 0 || ::bind(fd_, reinterpret_cast<sockaddr*>(&address), length) != 0 || ::listen(fd_, 4) != 0 ||
        ::getsockname(fd_, reinterpret_cast<sockaddr*>(&address), &length) != 0)
      return;
    port_ = ntohs(address.sin_port);
  }
  ~MuteListener() {
    if (fd_ >= 0) ::close(fd_);
  }
  MuteListener(const MuteListener&) = delete;
  MuteListener& operator=(const MuteListener&) = delete;
  int Port() const { return port_; }

 private:
  int fd_ = -1;
  int port_ = 0;
};

// A port on which nothing listens (it was free a moment ago).
inline int FreePort() { return MuteListener().Port(); }

}  // namespace tavrix::testing
