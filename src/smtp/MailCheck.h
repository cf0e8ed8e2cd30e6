// Whether the settings and addresses of a mail can be sent at all, and what follows from them.
#pragma once

#include <cstdint>
#include <string>

#include "smtp/MailTransport.h"

namespace fieldpost {

/// The port on which a connection is encrypted from its first byte (RFC 8314, section 3.3).
inline constexpr std::int32_t ImplicitTlsPort = 465;

/// How a connection comes to be encrypted.
enum class TlsPlan {
  FromTheStart,  ///< before the server's greeting
  IfOffered,     ///< STARTTLS where the server offers it
  Required,      ///< STARTTLS, or no mail
  Never,
};

/// What port and setting ask for.
TlsPlan DecideTls(std::int32_t port, TlsMode mode, std::int32_t implicitTlsPort = ImplicitTlsPort);

/// Why this mail must not be sent through this server, in one line; empty when nothing speaks against it. No
/// address, name or id may hold what could end a line or a bracket of the dialogue or of a header.
std::string CheckMail(const MailServer& server, const Mail& mail);

/// The URL of a server that CheckMail lets pass: scheme, name or address, port, and the host name to be
/// announced.
std::string ServerUrl(const MailServer& server, TlsPlan plan);

}  // namespace fieldpost
