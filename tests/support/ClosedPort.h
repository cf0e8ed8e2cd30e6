// A port that refuses connections.
#pragma once

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdint>
#include <stdexcept>

namespace fieldpost::test {

/// A port of 127.0.0.1 that refuses connections. It is bound, so that no other program can use it, but nobody
/// listens.
class ClosedPort {
 public:
  ClosedPort() : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    if (::bind(socket_, reinterpret_cast<sockaddr*>(&address), size) != 0 ||
        ::getsockname(socket_, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
      throw std::runtime_error("cannot bind a port");
    }
    number_ = ntohs(address.sin_port);
  }
  ClosedPort(const ClosedPort&) = delete;
  ClosedPort& operator=(const ClosedPort&) = delete;
  ~ClosedPort() { ::close(socket_); }

  [[nodiscard]] std::int32_t Number() const { return number_; }

 private:
  int socket_;
  std::int32_t number_ = 0;
};

}  // namespace fieldpost::test
