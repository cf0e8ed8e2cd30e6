// A mail transport that records the mails and fails those that the test names.
#pragma once

#include <fmt/format.h>

#include <functional>
#include <set>
#include <string>
#include <vector>

#include "smtp/MailTransport.h"

namespace fieldpost::test {

class FakeTransport final : public MailTransport {
 public:
  std::vector<MailServer> servers;
  std::vector<Mail> mails;        ///< every mail that was handed over
  std::set<std::size_t> failing;  ///< numbers of the mails that fail, counted from 1
  std::string failure = "Error: 7 refused";
  bool cancelled = false;                ///< a mail that fails was cancelled by the user
  std::function<void()> during = [] {};  ///< called while a mail is being sent

  [[nodiscard]] MailOutcome Send(const MailServer& server, const Mail& mail,
                                 const std::function<void()>& onAccepted) override {
    servers.push_back(server);
    mails.push_back(mail);
    during();
    const bool accepted = !failing.contains(mails.size());
    if (accepted) onAccepted();
    return {.accepted = accepted,
            .cancelled = cancelled && !accepted,
            .statusText =
                fmt::format("Mail to {}\r\n{}", mail.recipient, accepted ? "Error: 0 250 OK" : failure)};
  }
};

}  // namespace fieldpost::test
