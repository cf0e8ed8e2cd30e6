// Sends mails by SMTP.
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

/// One connection a mail. While it waits it lets window events run, at the latest after 50 ms. When the
/// person at the screen wants the end, the connection is dropped at the next such turn, as long as the end of
/// the data was not sent; nothing was accepted then. Once it was sent, the server's answer is awaited, but no
/// longer than any other.
class SmtpMail final : public MailTransport {
 public:
  /// `files`, `clock` and `display` must outlive the object.
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
