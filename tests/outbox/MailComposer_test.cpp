#include "outbox/MailComposer.h"

#include <gmock/gmock.h>

#include <utility>

#include "support/SendSite.h"

namespace fieldpost {
namespace {

using test::SendSite;

TEST(MailComposer, TakesTheValidPartOfTheSendersDomainForTheMessageId) {
  for (const auto& [sender, domain] :
       {std::pair{"site@partner-1.example", "partner-1.example"}, std::pair{"site", "site"},
        std::pair{"a@b_c\"<>.x", "b_c.x"}, std::pair{"a@_.example", "_.example"},
        std::pair{"a@[10.0.0.1]", "10.0.0.1"}, std::pair{"a@", "fieldpost.invalid"},
        std::pair{"a@@@", "fieldpost.invalid"}, std::pair{"a@.example", "fieldpost.invalid"},
        std::pair{"a@x..example", "fieldpost.invalid"}, std::pair{"a@x.example.", "fieldpost.invalid"}}) {
    SendSite site;
    site.program.settings.SenderAddress = sender;
    site.Documents(1);
    EXPECT_TRUE(site.program.sendLoop.SendQueuedFaultlogs());
    EXPECT_THAT(site.transport.mails.at(0).messageId, testing::EndsWith("@" + std::string(domain) + ">"))
        << sender;
  }
}

TEST(MailComposer, KeepsOtherCharactersOfThePartnerIdOutOfTheSubject) {
  SendSite site;
  site.program.settings.PartnerID = "47\r\nBcc: x/11";
  site.Documents(1);
  EXPECT_TRUE(site.program.sendLoop.SendQueuedFaultlogs());
  EXPECT_EQ(site.transport.mails[0].subject, "1/1   Partner ID:47Bccx11  Sent:15.03.2004 14:37:09");
}

TEST(MailComposer, MakesTheMessageIdFromTheContentWhetherItsHashIsKnownOrNot) {
  SendSite site;
  Shipment shipment = site.ShipmentOf(site.Documents(1));
  std::vector<std::string> ids;
  for (const std::optional<ContentHash>& content :
       {std::optional<ContentHash>(), std::optional(HashContent(test::Waiting)),
        std::optional(HashContent("x"))}) {
    shipment.documents[0].content = content;
    const MailComposer composer(site.program.run, shipment, "a@b.example", site.display);
    ids.push_back(composer.Compose({.number = 1, .count = 1}, shipment.attachments).messageId);
  }
  EXPECT_EQ(ids[0], ids[1]);
  EXPECT_NE(ids[0], ids[2]);
}

}  // namespace
}  // namespace fieldpost
