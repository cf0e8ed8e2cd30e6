// A server whose replies a test prescribes.
#pragma once

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace fieldpost::test {

/// Accepts one connection on 127.0.0.1, sends the first reply at once and each further reply after a line of
/// the client, then reads in silence until the client closes the connection.
class ScriptedServer {
 public:
  explicit ScriptedServer(std::vector<std::string> replies) : replies_(std::move(replies)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    auto* const raw = reinterpret_cast<sockaddr*>(&address);
    if (::bind(listening_, raw, length) != 0 || ::listen(listening_, 1) != 0 ||
        ::getsockname(listening_, raw, &length) != 0) {
      throw std::runtime_error("no free port for the server");
    }
    port_ = ntohs(address.sin_port);
    thread_ = std::jthread([this] { Serve(); });
  }
  ScriptedServer(const ScriptedServer&) = delete;
  ScriptedServer& operator=(const ScriptedServer&) = delete;
  ~ScriptedServer() {
    ::shutdown(listening_, SHUT_RDWR);
    thread_.join();
    ::close(listening_);
  }

  [[nodiscard]] std::int32_t Port() const { return port_; }

 private:
  void Serve() const {
    const int client = ::accept(listening_, nullptr, nullptr);
    if (client < 0) return;
    for (const std::string& reply : replies_) {
      if (&reply != &replies_.front() && !ReadLine(client)) break;
      static_cast<void>(::send(client, reply.data(), reply.size(), MSG_NOSIGNAL));
    }
    while (ReadLine(client)) {
    }
    ::close(client);
  }

  static bool ReadLine(int client) {
    char c = '\0';
    while (c != '\n') {
      if (::recv(client, &c, 1, 0) != 1) return false;
    }
    return true;
  }

  std::vector<std::string> replies_;
  int listening_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  std::int32_t port_ = 0;
  std::jthread thread_;
};

}  // namespace fieldpost::test
