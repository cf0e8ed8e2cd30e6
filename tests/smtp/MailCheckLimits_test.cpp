// The longest texts that a mail may be sent with.
#include <gtest/gtest.h>

#include <string>

#include "smtp/MailCheck.h"

namespace fieldpost {
namespace {

TEST(CheckMail, RefusesTextsThatAreTooLong) {
  struct Row {
    const char* name;
    std::size_t server;
    std::size_t sender;
    std::size_t messageId;
    bool good;
  };
  for (const Row& row : {
           Row{"all at their longest", 255, 320, 255, true},
           Row{"the mail server's name", 256, 320, 255, false},
           Row{"the sender's address", 255, 321, 255, false},
           Row{"the message id", 255, 320, 256, false},
       }) {
    MailServer server;
    server.server = std::string(row.server, 's');
    server.port = 1;
    Mail mail;
    mail.sender = std::string(row.sender, '~');
    mail.recipient = "a@b.example";
    mail.messageId = std::string(row.messageId, 'm');
    const std::string fault = CheckMail(server, mail);
    EXPECT_EQ(fault.empty(), row.good) << row.name << ": " << fault;
    if (!row.good) {
      EXPECT_EQ(fault, std::string(row.name) + " is too long");
    }
  }
}

}  // namespace
}  // namespace fieldpost
