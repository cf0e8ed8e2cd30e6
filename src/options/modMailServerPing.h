// Whether the mail server's machine answers at all: one ICMP echo to it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "common/StatusDisplay.h"
#include "platform/HostLookup.h"
#include "platform/IcmpEcho.h"

namespace fieldpost {

/// The reachability check of the options dialog. Window events run before the name is looked up, before the
/// echo, while its reply is waited for, and after it; only the resolver may block longer than 100 ms.
class modMailServerPing {
 public:
  /// What LastStatus tells when no echo was sent: the numbers by which Windows' sockets name these failures.
  static constexpr std::uint32_t HostNotFound = 11001;
  static constexpr std::uint32_t NetworkNotReady = 10091;

  modMailServerPing(HostLookup& hosts, IcmpEcho& echo, StatusDisplay& display)
      : hosts_(hosts), echo_(echo), display_(display) {}

  /// Looks the machine up (blanks round its name do not count) and sends one echo with 32 bytes to the first
  /// of its addresses. True when the reply came. `message` becomes the outcome in words; it stays as it was
  /// when the status has none.
  bool PingMailServer(std::string_view hostName, std::string& message);

  /// Sends one echo with `dataSize` zero bytes to an IPv4 address (in network order) and waits a second for
  /// its reply. `dotted` is the same address as text, carried along. Returns the status number, 0 for a
  /// reply.
  std::uint32_t SendIcmpEcho(std::uint32_t address, std::string_view dotted, std::uint32_t dataSize);

  /// The number that tells how the last check went: the status of its echo; `HostNotFound` or
  /// `NetworkNotReady` when it did not come to one. 0 before the first.
  [[nodiscard]] std::uint32_t LastStatus() const { return lastStatus_; }

 private:
  bool Fail(std::uint32_t status, std::string_view text, std::string& message);

  HostLookup& hosts_;
  IcmpEcho& echo_;
  StatusDisplay& display_;
  std::uint32_t lastStatus_ = 0;
};

}  // namespace fieldpost
