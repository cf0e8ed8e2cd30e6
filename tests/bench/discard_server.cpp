// A mail server on the loopback that takes every mail and drops it. Prints its port, then serves one
// connection after the other until its standard input ends.

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <iostream>
#include <string>
#include <string_view>

namespace {

constexpr std::string_view EndOfData = "\r\n.\r\n";

void Say(int connection, std::string_view line) {
  send(connection, line.data(), line.size(), MSG_NOSIGNAL);
}

bool IsVerb(std::string_view command, std::string_view verb) {
  // Setting the bit of lower-case letters on both sides leaves letter case out of it.
  return command.size() >= verb.size() && std::equal(verb.begin(), verb.end(), command.begin(),
                                                     [](char a, char b) { return (a | 0x20) == (b | 0x20); });
}

// Answers a command. Returns whether data follow.
bool Answer(int connection, std::string_view command) {
  if (IsVerb(command, "DATA")) {
    Say(connection, "354 go ahead\r\n");
    return true;
  }
  Say(connection, IsVerb(command, "QUIT") ? "221 bye\r\n" : "250 ok\r\n");
  return false;
}

void Serve(int connection) {
  Say(connection, "220 discard.example\r\n");
  std::array<char, 262144> buffer{};
  std::string pending;
  bool inData = false;
  while (true) {
    const ssize_t got = recv(connection, buffer.data(), buffer.size(), 0);
    if (got <= 0) return;
    pending.append(buffer.data(), static_cast<std::size_t>(got));
    while (true) {
      const std::string_view end = inData ? EndOfData : std::string_view("\r\n");
      const std::size_t at = pending.find(end);
      if (at == std::string::npos) break;
      if (inData) {
        Say(connection, "250 dropped\r\n");
        inData = false;
      } else {
        inData = Answer(connection, pending);
      }
      pending.erase(0, at + end.size());
    }
    // Of data in hand only what could be the beginning of their end matters.
    if (inData && pending.size() > EndOfData.size()) pending.erase(0, pending.size() - EndOfData.size());
  }
}

}  // namespace

int main() {
  const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  if (bind(listener, reinterpret_cast<const sockaddr*>(&address), length) != 0 || listen(listener, 16) != 0 ||
      getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
    std::cerr << "discard_server: cannot listen\n";
    return 1;
  }
  std::cout << ntohs(address.sin_port) << std::endl;
  std::array<pollfd, 2> waiting{pollfd{listener, POLLIN, 0}, pollfd{STDIN_FILENO, POLLIN, 0}};
  while (poll(waiting.data(), waiting.size(), -1) > 0 && waiting[1].revents == 0) {
    const int connection = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
    if (connection < 0) continue;
    Serve(connection);
    close(connection);
  }
  return 0;
}
