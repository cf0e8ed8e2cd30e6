// The fixture of tests that send mail by SMTP.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <optional>
#include <string>

#include "common/Text.h"
#include "smtp/SmtpMail.h"
#include "support/SmtpServer.h"
#include "support/TempFolder.h"

namespace fieldpost::test {

/// Calls a function of the test whenever events are processed, and measures the longest time between two such
/// calls.
class EventDisplay final : public StatusDisplay {
 public:
  std::function<void()> onTurn = [] {};  ///< called whenever events are processed
  std::size_t turns = 0;                 ///< how often events were processed
  bool cancelled = false;                ///< whether the user has cancelled
  std::chrono::steady_clock::duration longestGap{};

  void ProcessEvents() override {
    const auto now = std::chrono::steady_clock::now();
    if (turns > 0) longestGap = std::max(longestGap, now - last_);
    last_ = now;
    ++turns;
    onTurn();
  }
  [[nodiscard]] bool IsCancelled() const override { return cancelled; }

 private:
  std::chrono::steady_clock::time_point last_;
};

/// A mail, a server at 127.0.0.1 with short timeouts, and what came of the latest send.
class SmtpMailTest : public testing::Test {
 protected:
  SmtpMailTest() {
    limits.finalReply = std::chrono::seconds(1);
    limits.quitReply = std::chrono::seconds(1);
    server.server = "127.0.0.1";
    server.tryCount = 1;
    server.timeoutSeconds = 1;
    mail.sender = "site@partner.example";
    mail.recipient = "faultlog@maker.example";
    mail.organization = "Partner";
    mail.subject = "1/1   Partner ID:4711  Sent:15.03.2004 14:37:09";
    mail.body = "1/1\r\n\r\n.a line that begins with a dot\r\n..and another";
    mail.messageId = "<1.2@partner.example>";
  }

  /// Sends the mail to a server of the test. Returns whether the server accepted it.
  bool Send(const SmtpServer& to) {
    server.port = to.Port();
    return Send();
  }

  /// Sends the mail to `server`. Returns whether the server accepted it.
  bool Send() {
    SmtpMail transport(files, clock, display, limits);
    const auto begin = std::chrono::steady_clock::now();
    acceptedAfter.reset();
    const MailOutcome outcome =
        transport.Send(server, mail, [&] { acceptedAfter = std::chrono::steady_clock::now() - begin; });
    const bool sent = outcome.accepted;
    EXPECT_EQ(acceptedAfter.has_value(), sent);
    duration = std::chrono::steady_clock::now() - begin;
    status = outcome.statusText;
    cancelled = outcome.cancelled;
    ExpectValidStatus(sent);
    return sent;
  }

  /// Checks the rules that every status text obeys.
  void ExpectValidStatus(bool sent) const {
    EXPECT_EQ(ContainsNoCase(status, "error: 0"), sent) << status;
    EXPECT_THAT(status, testing::MatchesRegex("[^\r\n]+\r\nError: [0-9]+ [^\r\n]+"));
    if (!server.password.empty()) {
      EXPECT_THAT(status, testing::Not(testing::HasSubstr(server.password)));
    }
  }

  void AttachBytes(std::size_t size) {
    mail.attachments = {folder.Write("data.xml", std::string(size, 'x'))};
  }

  void LogIn(const std::string& user, const std::string& password) {
    server.userName = user;
    server.password = password;
  }

  TempFolder folder;
  DiskFileSystem files;
  SystemClock clock;
  EventDisplay display;
  SmtpLimits limits;
  MailServer server;
  Mail mail;
  std::string status;
  bool cancelled = false;
  std::chrono::steady_clock::duration duration{};
  std::optional<std::chrono::steady_clock::duration> acceptedAfter;  ///< empty when it was not accepted
};

}  // namespace fieldpost::test
