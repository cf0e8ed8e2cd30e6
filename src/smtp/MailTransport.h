// A mail, and the interface through which it is sent.
#pragma once

#include <functional>
#include <string>

#include "common/DateText.h"
#include "common/MailServer.h"
#include "common/RunLists.h"

namespace fieldpost {

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

/// What came of sending one mail.
struct MailOutcome {
  bool accepted = false;  ///< the server accepted the mail
  bool cancelled =
      false;  ///< the user cancelled before the end of the data, so the server cannot have accepted it

  /// Two lines separated by CR LF: what was sent to whom; "Error: ", a number, a blank and the server's last
  /// reply or the description of the fault. The number is 0 for an accepted mail and for no other, and no
  /// other text contains "error: 0" in any letter case.
  std::string statusText;
};

/// Sends mails, one at a time.
class MailTransport {
 public:
  MailTransport() = default;
  MailTransport(const MailTransport&) = delete;
  MailTransport& operator=(const MailTransport&) = delete;
  virtual ~MailTransport() = default;

  /// Sends one mail. `onAccepted` is called as soon as the server has accepted the data, before anything else
  /// is done, and reports its own failures; a mail stays accepted whatever happens then. Never throws.
  [[nodiscard]] virtual MailOutcome Send(const MailServer& server, const Mail& mail,
                                         const std::function<void()>& onAccepted) = 0;
};

}  // namespace fieldpost
