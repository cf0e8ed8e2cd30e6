// A network namespace for a test, with only a loopback interface.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/capability.h>
#include <net/if.h>
#include <net/route.h>
#include <netinet/in.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

namespace fieldpost::test {

struct OwnNetworkOptions {
  bool answersEchoes = true;          ///< Whether its addresses (127.0.0.0/8) answer echoes.
  bool grantsEchoSockets = false;     ///< Whether anyone may open a socket for echoes alone.
  bool grantsRawSockets = true;       ///< Whether the test keeps the right to raw sockets.
  std::uint32_t rejectedAddress = 0;  ///< An address (network order) that its routes call unreachable.
};

namespace own_network {

inline bool WriteSetting(const char* file, const char* text) {
  const int handle = ::open(file, O_WRONLY | O_CLOEXEC);
  const auto size = static_cast<ssize_t>(std::strlen(text));
  const bool written = handle >= 0 && ::write(handle, text, std::strlen(text)) == size;
  ::close(handle);
  return written;
}

inline bool StartLoopback() {
  const int socket = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  ifreq request{};
  std::memcpy(request.ifr_name, "lo", sizeof "lo");
  request.ifr_flags = IFF_UP | IFF_RUNNING;
  const bool started = ::ioctl(socket, SIOCSIFFLAGS, &request) == 0;
  ::close(socket);
  return started;
}

inline bool Reject(std::uint32_t address) {
  if (address == 0) return true;
  const int socket = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  sockaddr_in target{};
  target.sin_family = AF_INET;
  target.sin_addr.s_addr = address;
  rtentry route{};
  std::memcpy(&route.rt_dst, &target, sizeof target);
  route.rt_flags = RTF_UP | RTF_HOST | RTF_REJECT;
  const bool added = ::ioctl(socket, SIOCADDRT, &route) == 0;
  ::close(socket);
  return added;
}

inline bool DropRights() {
  __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
  std::array<__user_cap_data_struct, 2> none{};
  return ::syscall(SYS_capset, &header, none.data()) == 0;
}

/// Moves this process into a new network namespace; without root's rights into a new user namespace, too, as
/// the root of that. Returns whether the machine granted it.
inline bool EnterNamespace() {
  if (::unshare(CLONE_NEWNET) == 0) return true;
  const std::string user = "0 " + std::to_string(::geteuid()) + " 1";
  const std::string group = "0 " + std::to_string(::getegid()) + " 1";
  return ::unshare(CLONE_NEWUSER | CLONE_NEWNET) == 0 && WriteSetting("/proc/self/setgroups", "deny") &&
         WriteSetting("/proc/self/uid_map", user.c_str()) &&
         WriteSetting("/proc/self/gid_map", group.c_str());
}

/// Moves this process into such a network. Returns what the machine refused; empty when it granted all.
inline std::string Enter(const OwnNetworkOptions& options) {
  if (!EnterNamespace()) return "this machine refuses a network namespace";
  if (!StartLoopback()) return "this machine refuses to start the loopback interface";
  if (!options.answersEchoes && !WriteSetting("/proc/sys/net/ipv4/icmp_echo_ignore_all", "1")) {
    return "this machine refuses to leave echoes without answer";
  }
  // In a new network namespace nobody may open echo sockets.
  if (options.grantsEchoSockets && !WriteSetting("/proc/sys/net/ipv4/ping_group_range", "0 0")) {
    return "this machine refuses to grant sockets for echoes";
  }
  if (!Reject(options.rejectedAddress)) return "this machine refuses to add a route";
  return options.grantsRawSockets || DropRights() ? "" : "this machine refuses to drop rights";
}

}  // namespace own_network

/// Runs `body` in a process with a network of its own, and returns the text that it returns. A test asks for
/// `OwnNetworkRefusal` before; where the machine refuses the network, the text says what was refused.
template <typename Body>
std::string InOwnNetwork(const OwnNetworkOptions& options, Body body) {
  std::array<int, 2> result{};
  if (::pipe2(result.data(), O_CLOEXEC) != 0) std::abort();
  const pid_t child = ::fork();
  if (child == 0) {
    std::string text = own_network::Enter(options);
    if (text.empty()) text = body();
    if (::write(result[1], text.data(), text.size()) < 0) ::_exit(1);
    ::_exit(0);
  }
  ::close(result[1]);
  std::string text;
  std::array<char, 512> part{};
  for (ssize_t got = 0; (got = ::read(result[0], part.data(), part.size())) > 0;) {
    text.append(part.data(), static_cast<std::size_t>(got));
  }
  ::close(result[0]);
  int status = 0;
  EXPECT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  return text;
}

/// Why this machine grants no network of its own to a test, for GTEST_SKIP; empty when it does. Root may make
/// one, and so may everybody where user namespaces are allowed.
inline const std::string& OwnNetworkRefusal() {
  constexpr std::uint32_t testNet = 0xC0000200;  // 192.0.2.0 (RFC 5737)
  static const std::string refusal =
      InOwnNetwork({.answersEchoes = false, .grantsEchoSockets = true, .rejectedAddress = ::htonl(testNet)},
                   [] { return std::string(); });
  return refusal;
}

}  // namespace fieldpost::test
