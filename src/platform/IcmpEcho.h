// ICMP echo requests, as `ping` sends them.
#pragma once

#include <chrono>
#include <cstdint>

#include "common/StatusDisplay.h"

namespace fieldpost {

/// The result of an echo request: the status numbers of the Windows ICMP library, on every system.
namespace echo_status {
inline constexpr std::uint32_t Success = 0;
inline constexpr std::uint32_t NetUnreachable = 11002;
inline constexpr std::uint32_t HostUnreachable = 11003;
inline constexpr std::uint32_t ProtocolUnreachable = 11004;
inline constexpr std::uint32_t PortUnreachable = 11005;
inline constexpr std::uint32_t NoResources = 11006;
inline constexpr std::uint32_t HardwareError = 11008;
inline constexpr std::uint32_t PacketTooBig = 11009;
inline constexpr std::uint32_t TimedOut = 11010;
inline constexpr std::uint32_t BadRoute = 11012;
inline constexpr std::uint32_t ExpiredInTransit = 11013;
inline constexpr std::uint32_t ExpiredInReassembly = 11014;
inline constexpr std::uint32_t ParameterProblem = 11015;
inline constexpr std::uint32_t SourceQuench = 11016;
inline constexpr std::uint32_t BadDestination = 11018;
inline constexpr std::uint32_t GeneralFailure = 11050;
}  // namespace echo_status

/// One echo request.
struct EchoRequest {
  std::uint32_t address = 0;       ///< IPv4 address in network order.
  std::uint32_t dataSize = 0;      ///< Number of zero bytes that it carries.
  std::uint8_t timeToLive = 0;     ///< Number of routers that it may pass.
  std::chrono::milliseconds wait;  ///< How long to wait for the reply.

  bool operator==(const EchoRequest&) const = default;
};

/// Sends ICMP echoes.
class IcmpEcho {
 public:
  IcmpEcho() = default;
  IcmpEcho(const IcmpEcho&) = delete;
  IcmpEcho& operator=(const IcmpEcho&) = delete;
  virtual ~IcmpEcho() = default;

  /// Sends one echo request and waits for its reply, processing events on `display` at least every 50 ms.
  /// Returns `Success` for a reply, `TimedOut` when none came, otherwise the status of the error that the
  /// network or the system reported; `GeneralFailure` when that has no number of its own. Never throws.
  [[nodiscard]] virtual std::uint32_t Send(const EchoRequest& request, StatusDisplay& display) = 0;
};

/// Sends echoes on the real network. Linux permits them when the sysctl net.ipv4.ping_group_range includes
/// one of the process's groups, or when it has the capability CAP_NET_RAW, as root has; with neither, every
/// status is `GeneralFailure`.
class SystemIcmpEcho final : public IcmpEcho {
 public:
  [[nodiscard]] std::uint32_t Send(const EchoRequest& request, StatusDisplay& display) override;
};

}  // namespace fieldpost
