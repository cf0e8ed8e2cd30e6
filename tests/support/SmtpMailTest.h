// What every test of sending by SMTP stands on.
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

/// Notes the longest time between two turns of the events, and does what a test wants done meanwhile.
class TurningDisplay final : public StatusDisplay {
 public:
  std::function<void()> onTurn = [] {};
  std::size_t turns = 0;
  bool stop = false;  ///< the person at the screen wants the end
  std::chrono::steady_clock::duration longestGap{};

  void ProcessEvents() override {
    const auto now = std::chrono::steady_clock::now();
    if (turns > 0) longestGap = std::max(longestGap, now - last_);
    last_ = now;
    ++turns;
    onTurn();
  }
  [[nodiscard]] bool IsCancelled() const override { return stop; }

 private:
  std::chrono::steady_clock::time_point last_;
};

class SmtpMailTest : public testing::Test {
 protected:
  SmtpMailTest() {
    limits.finalAnswer = std::chrono::seconds(1);
    limits.farewell = std::chrono::seconds(1);
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

  bool Send(const SmtpServer& to) {
    server.port = to.Port();
    return Send();
  }

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
    stopped = outcome.cancelled;
    ExpectHonestStatus(sent);
    return sent;
  }

  /// What holds for every status text.
  void ExpectHonestStatus(bool sent) const {
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
  TurningDisplay display;
  SmtpLimits limits;
  MailServer server;
  Mail mail;
  std::string status;
  bool stopped = false;
  std::chrono::steady_clock::duration duration{};
  std::optional<std::chrono::steady_clock::duration>
      acceptedAfter;  ///< the server took the mail; empty: never
};

}  // namespace fieldpost::test
