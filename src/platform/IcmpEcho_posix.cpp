#include <arpa/inet.h>
#include <linux/errqueue.h>
#include <netinet/in.h>
#include <netinet/ip.h>
#include <netinet/ip_icmp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <optional>
#include <random>
#include <span>
#include <vector>

#include "platform/IcmpEcho.h"

namespace fieldpost {
namespace {

using Bytes = std::span<const unsigned char>;
using SteadyTime = std::chrono::steady_clock::time_point;

/// How long to wait before events are processed.
constexpr std::chrono::milliseconds Turn{20};
constexpr std::size_t LargestData = 65507;
constexpr std::size_t LargestPacket = 65536;

template <typename Header>
std::optional<Header> Read(Bytes bytes) {
  if (bytes.size() < sizeof(Header)) return std::nullopt;
  Header result;
  std::memcpy(&result, bytes.data(), sizeof result);
  return result;
}

/// Returns the bytes after the IP header; empty when the packet is truncated.
Bytes AfterIpHeader(Bytes packet) {
  const std::optional<ip> header = Read<ip>(packet);
  const std::size_t length = header ? header->ip_hl * std::size_t{4} : 0;
  return header && packet.size() >= length ? packet.subspan(length) : Bytes();
}

std::uint32_t StatusOfUnreachable(std::uint8_t code) {
  switch (code) {
    case ICMP_HOST_UNREACH:
    case ICMP_HOST_UNKNOWN:
    case ICMP_HOST_ISOLATED:
    case ICMP_HOST_ANO:
    case ICMP_HOST_UNR_TOS:
    case ICMP_PKT_FILTERED:
    case ICMP_PREC_VIOLATION:
    case ICMP_PREC_CUTOFF:
      return echo_status::HostUnreachable;
    case ICMP_PROT_UNREACH:
      return echo_status::ProtocolUnreachable;
    case ICMP_PORT_UNREACH:
      return echo_status::PortUnreachable;
    case ICMP_FRAG_NEEDED:
      return echo_status::PacketTooBig;
    case ICMP_SR_FAILED:
      return echo_status::BadRoute;
    default:
      return echo_status::NetUnreachable;
  }
}

/// Returns the status of an ICMP error message; empty for any other message.
std::optional<std::uint32_t> StatusOfIcmp(std::uint8_t type, std::uint8_t code) {
  switch (type) {
    case ICMP_DEST_UNREACH:
      return StatusOfUnreachable(code);
    case ICMP_SOURCE_QUENCH:
      return echo_status::SourceQuench;
    case ICMP_TIME_EXCEEDED:
      return code == ICMP_EXC_FRAGTIME ? echo_status::ExpiredInReassembly : echo_status::ExpiredInTransit;
    case ICMP_PARAMETERPROB:
      return echo_status::ParameterProblem;
    default:
      return std::nullopt;
  }
}

std::uint32_t StatusOfErrno(int number) {
  switch (number) {
    case ENETUNREACH:
    case ENETDOWN:
      return echo_status::NetUnreachable;
    case EHOSTUNREACH:
    case EHOSTDOWN:
      return echo_status::HostUnreachable;
    case ENOPROTOOPT:
      return echo_status::ProtocolUnreachable;
    case ECONNREFUSED:
      return echo_status::PortUnreachable;
    case ENOBUFS:
    case ENOMEM:
    case EMFILE:
    case ENFILE:
      return echo_status::NoResources;
    case EMSGSIZE:
      return echo_status::PacketTooBig;
    case EIO:
      return echo_status::HardwareError;
    case EADDRNOTAVAIL:
      return echo_status::BadDestination;
    default:
      return echo_status::GeneralFailure;
  }
}

/// Returns the Internet checksum (RFC 1071). It is zero for a message that includes its own checksum.
std::uint16_t Checksum(Bytes message) {
  std::uint32_t sum = 0;
  for (std::size_t at = 0; at < message.size(); ++at) sum += at % 2 == 0 ? message[at] * 256U : message[at];
  while (sum > 0xFFFF) sum = (sum & 0xFFFF) + (sum >> 16U);
  return htons(static_cast<std::uint16_t>(~sum));
}

std::uint16_t RandomNumber() {
  std::random_device random;
  return static_cast<std::uint16_t>(random());
}

/// Sends one request on a socket of its own. An echo socket needs no privilege; where the system refuses it,
/// a raw ICMP socket is used, which receives all ICMP messages of the machine.
class EchoSocket {
 public:
  EchoSocket()
      : raw_(false),
        socket_(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, IPPROTO_ICMP)),
        identifier_(RandomNumber()),
        sequence_(RandomNumber()) {
    if (socket_ >= 0) return;
    raw_ = true;
    socket_ = ::socket(AF_INET, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, IPPROTO_ICMP);
  }
  EchoSocket(const EchoSocket&) = delete;
  EchoSocket& operator=(const EchoSocket&) = delete;
  ~EchoSocket() {
    if (socket_ >= 0) ::close(socket_);
  }

  /// Sends the request. Returns the status of a failure; empty when the request was sent.
  std::optional<std::uint32_t> Send(const EchoRequest& request) {
    if (socket_ < 0) return StatusOfErrno(errno);
    if (request.dataSize > LargestData) return echo_status::PacketTooBig;
    address_ = request.address;
    const int hops = request.timeToLive;
    const int yes = 1;
    ::setsockopt(socket_, IPPROTO_IP, IP_TTL, &hops, sizeof hops);
    // A raw socket receives the error messages themselves; an echo socket has an error queue.
    if (!raw_) ::setsockopt(socket_, IPPROTO_IP, IP_RECVERR, &yes, sizeof yes);
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_addr.s_addr = address_;
    const std::vector<unsigned char> message = Message(request.dataSize);
    const auto* target = reinterpret_cast<const sockaddr*>(&to);
    if (::sendto(socket_, message.data(), message.size(), 0, target, sizeof to) >= 0) return std::nullopt;
    return StatusOfErrno(errno);
  }

  /// Waits up to `wait` for an answer. Returns its status; empty when nothing arrived that belongs to the
  /// request.
  std::optional<std::uint32_t> Await(std::chrono::milliseconds wait) {
    pollfd waiting{socket_, POLLIN, 0};
    if (::poll(&waiting, 1, static_cast<int>(wait.count())) <= 0) return std::nullopt;
    if ((waiting.revents & POLLERR) != 0) {
      if (const std::optional<std::uint32_t> status = NextError()) return status;
    }
    return (waiting.revents & POLLIN) != 0 ? NextMessage() : std::nullopt;
  }

 private:
  [[nodiscard]] std::vector<unsigned char> Message(std::size_t dataSize) const {
    icmphdr header{};
    header.type = ICMP_ECHO;
    header.un.echo.id = identifier_;
    header.un.echo.sequence = sequence_;
    std::vector<unsigned char> message(sizeof header + dataSize);
    std::memcpy(message.data(), &header, sizeof header);
    header.checksum = Checksum(message);
    std::memcpy(message.data(), &header, sizeof header);
    return message;
  }

  /// Whether an ICMP header is that of this request or its reply. The system assigns an echo socket an
  /// identifier of its own, and delivers to it only messages with that identifier.
  [[nodiscard]] bool IsOurs(const icmphdr& header) const {
    return (!raw_ || header.un.echo.id == identifier_) && header.un.echo.sequence == sequence_;
  }

  /// Whether an ICMP message, as an error message quotes it, is the request.
  [[nodiscard]] bool IsRequest(Bytes message) const {
    const std::optional<icmphdr> header = Read<icmphdr>(message);
    return header && header->type == ICMP_ECHO && IsOurs(*header);
  }

  [[nodiscard]] bool QuotesRequest(Bytes packet) const {
    const std::optional<ip> header = Read<ip>(packet);
    return header && header->ip_p == IPPROTO_ICMP && header->ip_dst.s_addr == address_ &&
           IsRequest(AfterIpHeader(packet));
  }

  /// Receives the next message. Returns its status; empty when it does not belong to the request.
  std::optional<std::uint32_t> NextMessage() {
    packet_.resize(LargestPacket);
    sockaddr_in from{};
    socklen_t length = sizeof from;
    auto* sender = reinterpret_cast<sockaddr*>(&from);
    const ssize_t got = ::recvfrom(socket_, packet_.data(), packet_.size(), 0, sender, &length);
    if (got < 0) return StatusOfFailedRead(errno);
    const Bytes packet = Bytes(packet_).first(static_cast<std::size_t>(got));
    const Bytes message = raw_ ? AfterIpHeader(packet) : packet;
    const std::optional<icmphdr> header = Read<icmphdr>(message);
    if (!header) return std::nullopt;
    if (header->type != ICMP_ECHOREPLY) return StatusOfErrorMessage(*header, message);
    return IsOurs(*header) && from.sin_addr.s_addr == address_ ? std::optional(echo_status::Success)
                                                               : std::nullopt;
  }

  [[nodiscard]] std::optional<std::uint32_t> StatusOfErrorMessage(const icmphdr& header,
                                                                  Bytes message) const {
    return QuotesRequest(message.subspan(sizeof header)) ? StatusOfIcmp(header.type, header.code)
                                                         : std::nullopt;
  }

  /// Returns empty when there was merely nothing to read.
  static std::optional<std::uint32_t> StatusOfFailedRead(int number) {
    if (number == EAGAIN || number == EWOULDBLOCK || number == EINTR) return std::nullopt;
    return StatusOfErrno(number);
  }

  /// Receives the next entry of the socket's error queue. Returns its status; empty when it does not belong
  /// to the request.
  std::optional<std::uint32_t> NextError() {
    std::array<unsigned char, 512> quoted{};
    alignas(cmsghdr) std::array<unsigned char, 512> control{};
    iovec part{quoted.data(), quoted.size()};
    sockaddr_in target{};
    msghdr message{};
    message.msg_name = &target;
    message.msg_namelen = sizeof target;
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    const ssize_t got = ::recvmsg(socket_, &message, MSG_ERRQUEUE);
    if (got < 0) return StatusOfFailedRead(PendingError());
    if (target.sin_addr.s_addr != address_ ||
        !IsRequest(Bytes(quoted).first(static_cast<std::size_t>(got)))) {
      return std::nullopt;
    }
    for (cmsghdr* entry = CMSG_FIRSTHDR(&message); entry != nullptr; entry = CMSG_NXTHDR(&message, entry)) {
      if (entry->cmsg_level == IPPROTO_IP && entry->cmsg_type == IP_RECVERR) return StatusOfEntry(*entry);
    }
    return std::nullopt;
  }

  static std::optional<std::uint32_t> StatusOfEntry(const cmsghdr& entry) {
    sock_extended_err error{};
    std::memcpy(&error, CMSG_DATA(&entry), sizeof error);
    if (error.ee_origin == SO_EE_ORIGIN_ICMP) return StatusOfIcmp(error.ee_type, error.ee_code);
    return StatusOfErrno(static_cast<int>(error.ee_errno));
  }

  /// Returns and clears the pending error of the socket; EAGAIN when there is none.
  [[nodiscard]] int PendingError() const {
    int number = 0;
    socklen_t length = sizeof number;
    ::getsockopt(socket_, SOL_SOCKET, SO_ERROR, &number, &length);
    return number == 0 ? EAGAIN : number;
  }

  bool raw_;
  int socket_;
  std::uint16_t identifier_;
  std::uint16_t sequence_;
  std::uint32_t address_ = 0;
  std::vector<unsigned char> packet_;
};

}  // namespace

std::uint32_t SystemIcmpEcho::Send(const EchoRequest& request, StatusDisplay& display) {
  const SteadyTime end = std::chrono::steady_clock::now() + request.wait;
  EchoSocket socket;
  if (const std::optional<std::uint32_t> failure = socket.Send(request)) return *failure;
  SteadyTime eventsDue = std::chrono::steady_clock::now() + Turn;
  while (true) {
    if (const std::optional<std::uint32_t> status = socket.Await(Turn)) return *status;
    const SteadyTime now = std::chrono::steady_clock::now();
    if (now >= end) return echo_status::TimedOut;
    if (now < eventsDue) continue;
    display.ProcessEvents();
    eventsDue = now + Turn;
  }
}

}  // namespace fieldpost
