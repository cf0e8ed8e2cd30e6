// Settings at the edge of what a mail may be sent with.
#include <gmock/gmock.h>

#include "smtp/MailCheck.h"
#include "support/OutboxParts.h"

namespace fieldpost {
namespace {

TEST(CheckMail, KnowsTheLongestOfEachSetting) {
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

TEST(CheckMailOptions, SavesTheDefaultOfEachSettingThatIsMissing) {
  struct Row {
    const char* port;
    const char* tries;
    const char* timeout;
    bool saved;
  };
  for (const Row& row : {Row{"1", "1", "1", false}, Row{"", "1", "1", true}, Row{"1", "", "1", true},
                         Row{"1", "1", "", true}}) {
    test::ReadyOutboxSite site;
    site.program.settings.SMTPPort = row.port;
    site.program.settings.TryCount = row.tries;
    site.program.settings.Timeout = row.timeout;
    std::filesystem::remove(site.home / "Options.ini");
    EXPECT_FALSE(site.program.check.CheckMailOptionsQuiet());
    EXPECT_EQ(std::filesystem::exists(site.home / "Options.ini"), row.saved)
        << row.port << row.tries << row.timeout;
  }
}

}  // namespace
}  // namespace fieldpost
