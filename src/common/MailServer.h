// How the mail server is reached.
#pragma once

#include <cstdint>
#include <string>

namespace fieldpost {

/// When a connection is encrypted. Port 465 is encrypted from the start in every mode.
enum class TlsMode {
  Auto,      ///< STARTTLS when the server offers it
  Required,  ///< no mail without TLS
  None,      ///< never STARTTLS
};

/// Address, limits and account of the mail server. All texts are UTF-8.
struct MailServer {
  std::string server;  ///< name or address
  std::int32_t port = 25;
  std::int32_t tryCount = 2;         ///< attempts to connect, greet, encrypt and log in
  std::int32_t timeoutSeconds = 10;  ///< for the connection, and for each period without progress
  std::string userName;              ///< empty: no AUTH
  std::string password;
  std::string hostName;  ///< announced in EHLO; empty: the name of this machine
  TlsMode tlsMode = TlsMode::Auto;
  std::string tlsCaFile;  ///< PEM file of trusted certificates; empty: those of the system
};

}  // namespace fieldpost
