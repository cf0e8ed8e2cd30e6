// One mail, and what carries it to its server.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "common/DateText.h"
#include "common/RunLists.h"

namespace fieldpost {

/// When a connection is encrypted. Port 465 is encrypted from the start, whatever this says.
enum class TlsMode {
  Auto,      ///< STARTTLS where the server offers it
  Required,  ///< no mail without TLS
  None,      ///< never STARTTLS
};

/// How the mail server is reached.
struct MailServer {
  std::string server;  ///< name or address
  std::int32_t port = 25;
  std::int32_t tryCount = 2;         ///< attempts to connect, greet, encrypt and log in
  std::int32_t timeoutSeconds = 10;  ///< for the connection, and for each stretch without progress
  std::string userName;              ///< empty: no AUTH
  std::string password;
  std::string hostName;  ///< announced in EHLO; empty: this machine's name
  TlsMode tlsMode = TlsMode::Auto;
  std::string tlsCaFile;  ///< PEM file of trusted certificates; empty: the system's
};

/// One mail. All texts are UTF-8.
struct Mail {
  std::string sender;        ///< envelope sender, From and Reply-To
  std::string recipient;     ///< envelope recipient and To
  std::string organization;  ///< empty: no such header
  std::string subject;
  std::string body;       ///< lines end in CR LF
  std::string messageId;  ///< with its angle brackets; the same mail sent again bears the same one
  LocalTime date;
  PathList attachments;
};

/// Sends mails, one at a time.
class MailTransport {
 public:
  MailTransport() = default;
  MailTransport(const MailTransport&) = delete;
  MailTransport& operator=(const MailTransport&) = delete;
  virtual ~MailTransport() = default;

  /// Sends one mail. True once the server has accepted its data, whatever happens to the connection then.
  /// `accepted` is called the moment it has, before anything else is done; it must not throw. Never throws.
  virtual bool Send(const MailServer& server, const Mail& mail, const std::function<void()>& accepted) = 0;

  /// What became of the last mail, in two lines separated by CR LF: what was sent to whom; "Error: ", a
  /// number, a blank and the server's last reply or the fault's description. The number is 0 on success and
  /// only then, and no failure's text contains "error: 0" in any letter case.
  [[nodiscard]] virtual std::string StatusText() const = 0;

  /// Whether the last mail was not sent because the person at the screen wanted the end. The server has then
  /// surely not accepted it.
  [[nodiscard]] virtual bool WasCancelled() const { return false; }
};

}  // namespace fieldpost
