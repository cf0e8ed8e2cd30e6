// Sends mails by SMTP (RFC 5321).
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "common/StatusDisplay.h"
#include "platform/Clock.h"
#include "platform/FileSystem.h"
#include "smtp/MailTransport.h"
#include "smtp/MimeMessage.h"
#include "smtp/SmtpConnection.h"

namespace fieldpost {

/// Opens a connection for each mail. Every wait processes window events at least every 50 ms. When the user
/// cancels before the end of the data is sent, the connection is closed at the next such moment, and the
/// server has accepted nothing. After the end of the data, its reply is still awaited, but no longer than any
/// other.
class SmtpMail final : public MailTransport {
 public:
  /// `files`, `clock` and `display` must outlive the object. `limits` differ from the default only in tests.
  SmtpMail(const FileSystem& files, const Clock& clock, StatusDisplay& display, SmtpLimits limits = {});
  ~SmtpMail() override;

  [[nodiscard]] MailOutcome Send(const MailServer& server, const Mail& mail,
                                 const std::function<void()>& onAccepted) override;

 private:
  [[nodiscard]] std::string Deliver(const MailServer& server, const Mail& mail,
                                    const std::function<void()>& accepted) const;
  [[nodiscard]] std::unique_ptr<SmtpConnection> Connect(const MailServer& server) const;
  [[nodiscard]] std::string Submit(SmtpConnection& connection, const Mail& mail, MimeMessage& message) const;
  [[nodiscard]] std::string Finish(SmtpConnection& connection) const;

  const FileSystem& files_;
  const Clock& clock_;
  StatusDisplay& display_;
  SmtpLimits limits_;
};

}  // namespace fieldpost
