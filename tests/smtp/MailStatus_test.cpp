#include "smtp/MailStatus.h"

#include <gtest/gtest.h>

#include "common/Text.h"

namespace fieldpost::test {
namespace {

struct MailStatusTest : testing::Test {
  MailStatusTest() {
    server.server = "mail.example";
    mail.recipient = "to@maker.example";
    mail.subject = "1/1   Partner ID:4711";
    mail.attachments = {"a.xml"};
  }
  MailServer server;
  Mail mail;
};

TEST_F(MailStatusTest, SaysErrorZeroForASentMail) {
  EXPECT_EQ(MailStatusText(server, mail, 0, "250 ok"),
            "\"1/1   Partner ID:4711\" with 1 attachment to to@maker.example by mail.example:25\r\nError: 0 "
            "250 ok");
}

TEST_F(MailStatusTest, NamesNumberAndReasonOfAFailure) {
  mail.attachments.clear();
  EXPECT_EQ(MailStatusText(server, mail, 7, "refused\r\nError"),
            "\"1/1   Partner ID:4711\" with 0 attachments to to@maker.example by mail.example:25\r\n"
            "Error: 7 refused\\x0D\\x0AError");
}

TEST_F(MailStatusTest, NeverReportsAFailureAsASuccess) {
  mail.subject = "ERROR: 0 errorerror: 0: 0";
  const std::string text = MailStatusText(server, mail, 55, "error: 0 and Error: 01");
  EXPECT_FALSE(ContainsNoCase(text, "error: 0")) << text;
}

TEST_F(MailStatusTest, HidesThePasswordInPlainTextAndInBase64) {
  server.userName = "user";
  server.password = "secret";
  const std::string text = MailStatusText(server, mail, 67, "535 c2VjcmV0 secret AHVzZXIAc2VjcmV0");
  EXPECT_TRUE(text.ends_with("Error: 67 535 *** *** ***")) << text;
}

TEST_F(MailStatusTest, HidesTheEscapedFormOfThePassword) {
  server.userName = "user";
  server.password =
      "se\x01"
      "cret\xFF";
  const std::string text = MailStatusText(server, mail, 67,
                                          "535 se\\x01"
                                          "cret\xEF\xBF\xBD no");
  EXPECT_TRUE(text.ends_with("Error: 67 535 *** no")) << text;
}

}  // namespace
}  // namespace fieldpost::test
