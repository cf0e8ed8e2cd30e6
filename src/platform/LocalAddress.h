// Whether a network address is this machine's own.
#pragma once

#include <string>

namespace fieldpost {

/// Whether what is sent to `address` (IPv4 or IPv6 in its usual notation, no name) never leaves this machine:
/// a loopback address, or the address of one of its network interfaces. False for what is no address, and
/// where the system does not tell its interfaces. Never throws.
bool IsThisMachine(const std::string& address);

}  // namespace fieldpost
