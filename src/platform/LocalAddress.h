// Whether a network address is this machine's own.
#pragma once

#include <string>

namespace fieldpost {

/// Whether `address` (IPv4 or IPv6 in text form, not a hostname) is a loopback address or the address of one
/// of the machine's network interfaces, so that data sent to it never leave the machine. Returns false for
/// any other text, and where the system does not list its interfaces. Never throws.
bool IsThisMachine(const std::string& address);

}  // namespace fieldpost
