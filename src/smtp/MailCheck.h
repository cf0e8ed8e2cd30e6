// Checks the settings and addresses of a mail, and derives from them how to reach the server.
#pragma once

#include <cstdint>
#include <string>

#include "smtp/MailTransport.h"

namespace fieldpost {

/// The port on which a connection is encrypted from its first byte (RFC 8314, section 3.3).
inline constexpr std::int32_t ImplicitTlsPort = 465;

/// When a connection is encrypted.
enum class TlsPlan {
  FromTheStart,  ///< before the server's greeting
  IfOffered,     ///< by STARTTLS, when the server offers it
  Required,      ///< by STARTTLS; a server that does not offer it gets no mail
  Never,         ///< STARTTLS is not used even when the server offers it
};

/// Returns the plan for a port and the encryption setting. On `implicitTlsPort` a connection is encrypted
/// from the start, whatever the setting says.
TlsPlan DecideTls(std::int32_t port, TlsMode mode, std::int32_t implicitTlsPort = ImplicitTlsPort);

/// Returns one line that says why `mail` must not be sent through `server`, or an empty text when it may be
/// sent. Refuses any address, name or id that could end a line or a pair of brackets in the SMTP dialogue or
/// in a header.
[[nodiscard]] std::string CheckMail(const MailServer& server, const Mail& mail);

/// Returns the URL that libcurl needs for a server that has passed CheckMail: scheme, name or address, port,
/// and the host name that EHLO announces.
std::string ServerUrl(const MailServer& server, TlsPlan plan);

}  // namespace fieldpost
