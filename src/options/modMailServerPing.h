// The reachability check of the mail server.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "common/StatusDisplay.h"
#include "platform/HostLookup.h"
#include "platform/IcmpEcho.h"

namespace fieldpost {

/// The result of a reachability check.
struct PingResult {
  /// The numbers by which Windows Sockets name these failures.
  static constexpr std::uint32_t HostNotFound = 11001;
  static constexpr std::uint32_t NetworkNotReady = 10091;

  bool isReached = false;  ///< the reply to the echo came
  /// The status of the echo, by the numbers of IcmpSendEcho; HostNotFound or NetworkNotReady when none was
  /// sent.
  std::uint32_t status = 0;
  std::string message;  ///< the status in words; empty when it has none
};

/// Checks whether the mail server's machine answers, by one ICMP echo. Processes events before the name is
/// resolved, before the echo, while its reply is waited for, and after it; only the resolver may block longer
/// than 100 ms.
class modMailServerPing {
 public:
  modMailServerPing(HostLookup& hosts, IcmpEcho& echo, StatusDisplay& display)
      : hosts_(hosts), echo_(echo), display_(display) {}

  /// Resolves the name, without blanks at its ends, and sends one echo with 32 bytes to the first of its
  /// addresses.
  [[nodiscard]] PingResult PingMailServer(std::string_view hostName);

  /// Sends one echo with `dataSize` zero bytes to an IPv4 address (in network order) and waits up to a second
  /// for its reply. `dotted` is the address as text; the echo does not need it. Returns the status of the
  /// reply, 0 for success.
  std::uint32_t SendIcmpEcho(std::uint32_t address, std::string_view dotted, std::uint32_t dataSize);

 private:
  HostLookup& hosts_;
  IcmpEcho& echo_;
  StatusDisplay& display_;
};

}  // namespace fieldpost
