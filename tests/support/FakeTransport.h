// A mail transport that keeps the mails, and fails those that the test says.
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
  std::vector<Mail> mails;        ///< all that were tried
  std::set<std::size_t> failing;  ///< which of them fail, counted from 1
  std::string failure = "Error: 7 refused";
  bool stopped = false;                  ///< what fails was stopped
  std::function<void()> during = [] {};  ///< what a test wants done while a mail is on its way

  bool Send(const MailServer& server, const Mail& mail, const std::function<void()>& accepted) override {
    servers.push_back(server);
    mails.push_back(mail);
    during();
    sent_ = !failing.contains(mails.size());
    if (sent_) accepted();
    return sent_;
  }
  [[nodiscard]] std::string StatusText() const override {
    return fmt::format("Mail to {}\r\n{}", mails.back().recipient, sent_ ? "Error: 0 250 OK" : failure);
  }

  [[nodiscard]] bool WasCancelled() const override { return stopped && !sent_; }

 private:
  bool sent_ = false;
};

}  // namespace fieldpost::test
