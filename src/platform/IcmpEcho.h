// One ICMP echo to a machine, as `ping` sends it.
#pragma once

#include <chrono>
#include <cstdint>

#include "common/StatusDisplay.h"

namespace fieldpost {

/// What became of an echo: the status numbers of the Windows ICMP library, on every system.
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
  std::uint32_t dataSize = 0;      ///< Count of zero bytes that it carries.
  std::uint8_t timeToLive = 0;     ///< Count of routers that it may pass.
  std::chrono::milliseconds wait;  ///< How long its reply is waited for.

  bool operator==(const EchoRequest&) const = default;
};

/// Sends ICMP echoes.
class IcmpEcho {
 public:
  IcmpEcho() = default;
  IcmpEcho(const IcmpEcho&) = delete;
  IcmpEcho& operator=(const IcmpEcho&) = delete;
  virtual ~IcmpEcho() = default;

  /// Sends one echo request and waits for its reply, letting `display` run window events at least every 50 ms
  /// meanwhile. Returns the status: 0 for a reply, `TimedOut` when none came, else what the network or the
  /// system said; `GeneralFailure` when that has no number of its own. Never throws.
  [[nodiscard]] virtual std::uint32_t Send(const EchoRequest& request, StatusDisplay& display) = 0;
};

/// Echoes on the real network. Linux lets a program send them when the sysctl net.ipv4.ping_group_range holds
/// one of its groups, or when it has the capability CAP_NET_RAW (root has it); with neither, every status is
/// `GeneralFailure`.
class SystemIcmpEcho final : public IcmpEcho {
 public:
  [[nodiscard]] std::uint32_t Send(const EchoRequest& request, StatusDisplay& display) override;
};

}  // namespace fieldpost
