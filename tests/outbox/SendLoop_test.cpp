#include "outbox/SendLoop.h"

#include <gmock/gmock.h>

#include <limits>

#include "support/SendSite.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;
using test::SendSite;
using test::Sent;
using test::Waiting;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

TEST(SendData, DeletesOldZipFilesWithoutAttachments) {
  SendSite site;
  site.Document("old.zip", "");
  EXPECT_FALSE(site.program.sendLoop.SendData(site.ShipmentOf({})).mailed);
  EXPECT_THAT(test::Names(site.Tree("Process")), IsEmpty()) << "old zips are gone all the same";
}

TEST(SendMail, NumbersItsMails) {
  SendSite site;
  site.program.settings.NumAttachments = "4";
  EXPECT_TRUE(site.program.sendLoop.SendMail(site.ShipmentOf(site.Documents(7))).accepted);
  ASSERT_EQ(site.transport.mails.size(), 2U);
  EXPECT_EQ(site.transport.mails[0].subject, "1/2   Partner ID:4711  Sent:15.03.2004 14:37:09");
  EXPECT_EQ(site.transport.mails[1].subject, "2/2   Partner ID:4711  Sent:15.03.2004 14:37:09");
  EXPECT_THAT(site.transport.mails[0].body, StartsWith("1/2\r\n\r\n[Faultlog Files]\r\nTotal=5\r\n"));
  EXPECT_THAT(site.transport.mails[1].body, StartsWith("2/2\r\n\r\n[Faultlog Files]\r\nTotal=2\r\n"));
  EXPECT_EQ(site.transport.mails[1].attachments.size(), 2U);
  EXPECT_THAT(site.Log(), ElementsAre("[Mail]:Mail Sent", "[Mail]:Mail Sent"));
}

TEST(SendMail, NumbersASingleMailOneOfOne) {
  SendSite site;
  EXPECT_TRUE(site.program.sendLoop.SendMail(site.ShipmentOf(site.Documents(1))).accepted);
  ASSERT_EQ(site.transport.mails.size(), 1U);
  EXPECT_THAT(site.transport.mails[0].subject, StartsWith("1/1   Partner ID:4711  Sent:"));
}

TEST(SendMail, LeavesOutMissingFiles) {
  SendSite site;
  site.program.settings.NumAttachments = "9";
  const fs::path there = site.Document("a.xml");
  const fs::path gone = site.Tree("Process") / "gone.xml";
  EXPECT_TRUE(site.program.sendLoop.SendMail(site.ShipmentOf({gone, there})).accepted);
  EXPECT_THAT(site.transport.mails[0].attachments, ElementsAre(there));
  EXPECT_THAT(site.Log(),
              ElementsAre("[Error]:File not found (" + Utf8FromPath(gone) + ")", "[Mail]:Mail Sent"));
}

TEST(SendMail, StopsAtTheFirstFailure) {
  SendSite site;
  site.transport.failing = {2};
  const std::vector<fs::path> documents = site.Documents(3);
  EXPECT_FALSE(site.program.sendLoop.SendQueuedFaultlogs());
  EXPECT_EQ(site.transport.mails.size(), 2U) << "the third is not attempted";
  EXPECT_THAT(site.Log(), ElementsAre("[Mail]:Mail Sent", "[Mail]:Error: 7 refused"));
  for (const fs::path& document : documents) EXPECT_EQ(test::ReadFile(document), Waiting);

  site.transport.failing.clear();
  EXPECT_TRUE(site.program.sendLoop.SendQueuedFaultlogs());
  ASSERT_EQ(site.transport.mails.size(), 5U) << "the whole set is offered again";
  EXPECT_EQ(site.transport.mails[2].messageId, site.transport.mails[0].messageId);
  EXPECT_NE(site.transport.mails[2].messageId, site.transport.mails[3].messageId);
  for (const fs::path& document : documents) EXPECT_EQ(test::ReadFile(document), Sent);
}

TEST(SendData, ShowsTheResultWhenMessagesAreShown) {
  SendSite good;
  good.program.flags.ShowMessages = true;
  good.Documents(1);
  EXPECT_TRUE(good.program.sendLoop.SendQueuedFaultlogs());
  EXPECT_THAT(good.prompt.messages,
              ElementsAre(test::ShownMessage{"Mail(s) has been Sent!", MessageIcon::Information, ""}));
  EXPECT_THAT(good.Log(), ElementsAre("[Mail]:Mail Sent"));

  SendSite bad;
  bad.program.flags.ShowMessages = true;
  bad.transport.failing = {1};
  bad.Documents(1);
  EXPECT_FALSE(bad.program.sendLoop.SendQueuedFaultlogs());
  EXPECT_THAT(bad.prompt.messages,
              ElementsAre(test::ShownMessage{"Mail to faultlog@fieldpost.example\r\nError: 7 refused",
                                             MessageIcon::Critical, "Error"}));
}

TEST(SendData, MarksPackedDocumentsAndDeletesTheZip) {
  SendSite site;
  site.program.settings.UseZip = "True";
  const std::vector<fs::path> documents = site.Documents(3);
  EXPECT_TRUE(site.program.sendLoop.SendQueuedFaultlogs());
  ASSERT_EQ(site.transport.mails.size(), 1U);
  EXPECT_THAT(site.transport.mails[0].attachments,
              ElementsAre(site.Tree("Process") / "FLog.4711.200403151400.zip"));
  for (const fs::path& document : documents) EXPECT_EQ(test::ReadFile(document), Sent);
  EXPECT_EQ(test::Names(site.Tree("Process")).size(), 3U);
}

TEST(SendData, SendsNothingWhenPackingFails) {
  SendSite site;
  site.program.settings.UseZip = "true";
  site.folder.Folder("home/Faultlog/Process/FLog.4711.200403151400.zip/in the way");
  const fs::path document = site.Documents(1)[0];
  EXPECT_FALSE(site.program.sendLoop.SendQueuedFaultlogs());
  EXPECT_THAT(site.transport.mails, IsEmpty());
  EXPECT_EQ(test::ReadFile(document), Waiting);
}

TEST(SendData, EmptiesPpcTempOnlyAfterSuccess) {
  for (const bool fails : {true, false}) {
    SendSite site;
    site.program.flags.SendingPPC = true;
    if (fails) site.transport.failing = {1};
    const fs::path document = site.folder.Write("home/Faultlog/PPCTemp/PPC.1.xml", "<a/>");
    EXPECT_EQ(site.program.sendLoop.SendData(site.ShipmentOf({document})).finished, !fails);
    EXPECT_EQ(fs::exists(document), fails);
    EXPECT_EQ(site.transport.mails[0].recipient, "ppc@fieldpost.example");
    EXPECT_THAT(site.transport.mails[0].body, testing::HasSubstr("[PPC Files]"));
  }
}

TEST(SendOneMail, PassesTheSettingsToTheTransport) {
  SendSite site;
  MailSettings& settings = site.program.settings;
  settings.SMTPPort = "587";
  settings.TryCount = "3";
  settings.Timeout = "20";
  settings.MailUserName = "user";
  settings.MailPassword = "secret";
  settings.MailHostName = "host.example";
  settings.Organization = "Partner & Co";
  settings.TlsMode = "Required";
  settings.TlsCaFile = "/ca.pem";
  site.Documents(1);
  EXPECT_TRUE(site.program.sendLoop.SendQueuedFaultlogs());
  ASSERT_EQ(site.transport.servers.size(), 1U);
  const MailServer& server = site.transport.servers[0];
  EXPECT_EQ(server.server, "mail.example");
  EXPECT_EQ(server.port, 587);
  EXPECT_EQ(server.tryCount, 3);
  EXPECT_EQ(server.timeoutSeconds, 20);
  EXPECT_EQ(server.userName, "user");
  EXPECT_EQ(server.password, "secret");
  EXPECT_EQ(server.hostName, "host.example");
  EXPECT_EQ(server.tlsMode, TlsMode::Required);
  EXPECT_EQ(server.tlsCaFile, "/ca.pem");
  const Mail& mail = site.transport.mails[0];
  EXPECT_EQ(mail.sender, "site@partner.example");
  EXPECT_EQ(mail.recipient, "faultlog@fieldpost.example");
  EXPECT_EQ(mail.organization, "Partner & Co");
  EXPECT_THAT(mail.messageId, testing::MatchesRegex("<[0-9a-f]+@partner\\.example>"));
}

TEST(SendPackedData, SendsTheAttachmentsAsTheyAre) {
  SendSite site;
  site.program.settings.UseZip = "True";
  const std::vector<fs::path> documents = site.Documents(1);
  EXPECT_TRUE(site.program.sendLoop.SendPackedData(site.ShipmentOf(documents)).finished);
  ASSERT_EQ(site.transport.mails.size(), 1U);
  EXPECT_EQ(site.transport.mails[0].attachments, documents);
  EXPECT_EQ(test::ReadFile(documents[0]), Sent);
}

TEST(SendData, ShowsTheNumberOfEachMail) {
  SendSite site;
  EXPECT_TRUE(site.program.sendLoop.SendData(site.ShipmentOf(site.Documents(3))).finished);
  EXPECT_THAT(
      site.display.captions,
      ElementsAre("Sending mail 1/3...", "Sending mail 2/3...", "Sending mail 3/3...", "All mails sent",
                  "Marking what was sent...", "Marking what was sent...", "Marking what was sent..."));
  EXPECT_THAT(site.display.labels, ElementsAre("0%", "33%", "66%", "100%", "0%", "33%", "66%"));
  EXPECT_THAT(site.display.ranges, ElementsAre(3, 3));
  EXPECT_THAT(site.display.positions, ElementsAre(0, 1, 2, 3, 0, 1, 2));
}

TEST(SendData, StopsAtTheNextMailWhenCancelled) {
  for (std::size_t stopAfterTurns = 0; stopAfterTurns < 6; ++stopAfterTurns) {
    SendSite site;
    site.program.flags.ShowMessages = true;
    const std::vector<fs::path> documents = site.Documents(3);
    site.display.stopAfterTurns = stopAfterTurns;
    EXPECT_FALSE(site.program.sendLoop.SendData(site.ShipmentOf(documents)).mailed);
    const std::size_t sent = site.transport.mails.size();
    EXPECT_LT(sent, 3U) << stopAfterTurns;
    EXPECT_EQ(site.Log(), std::vector<std::string>(sent, "[Mail]:Mail Sent")) << stopAfterTurns;
    EXPECT_THAT(site.prompt.messages, IsEmpty());
    for (const fs::path& document : documents) EXPECT_EQ(test::ReadFile(document), Waiting);

    site.display.stopAfterTurns = std::numeric_limits<std::size_t>::max();
    EXPECT_TRUE(site.program.sendLoop.SendQueuedFaultlogs());
    EXPECT_EQ(site.transport.mails.size(), sent + 3) << "the whole set is offered again";
    for (const fs::path& document : documents)
      EXPECT_EQ(test::ReadFile(document), test::ReadFile(documents[0]));
    EXPECT_EQ(test::ReadFile(documents[0]), Sent);
  }
}

TEST(SendData, MarksAllDocumentsWhenCancelledAfterTheLastMail) {
  SendSite site;
  const std::vector<fs::path> documents = site.Documents(3);
  site.display.stopAfterTurns = 10;  // in the middle of the marking
  EXPECT_TRUE(site.program.sendLoop.SendData(site.ShipmentOf(documents)).finished);
  EXPECT_TRUE(site.display.IsCancelled());
  for (const fs::path& document : documents) EXPECT_EQ(test::ReadFile(document), Sent);
}

TEST(SendOneMail, ReportsNothingForACancelledMail) {
  SendSite site;
  site.program.flags.ShowMessages = true;
  site.transport.failing = {1};
  site.transport.cancelled = true;
  const fs::path document = site.Documents(1)[0];
  EXPECT_FALSE(site.program.sendLoop.SendQueuedFaultlogs());
  EXPECT_THAT(site.Log(), IsEmpty());
  EXPECT_THAT(site.prompt.messages, IsEmpty());
  EXPECT_EQ(test::ReadFile(document), Waiting);
}

TEST(SendData, ShowsAPackingFailure) {
  SendSite site;
  site.program.flags.ShowMessages = true;
  site.program.settings.UseZip = "true";
  site.folder.Folder("home/Faultlog/Process/FLog.4711.200403151400.zip/in the way");
  site.Documents(1);
  EXPECT_FALSE(site.program.sendLoop.SendQueuedFaultlogs());
  ASSERT_EQ(site.prompt.messages.size(), 1U);
  EXPECT_EQ(site.prompt.messages[0].icon, MessageIcon::Critical);
  EXPECT_EQ(site.prompt.messages[0].title, "Error");
  EXPECT_THAT(site.Log(), ElementsAre("[Error]:" + site.prompt.messages[0].text));
}

TEST(SendData, DeletesAnOldZipBeforeTheFirstMail) {
  SendSite site;
  const fs::path old = site.Document("FLog.4711.200403151300.zip", "old");
  const Shipment shipment = site.ShipmentOf({site.Document("a.xml")});
  site.transport.failing = {1};
  EXPECT_FALSE(site.program.sendLoop.SendData(shipment).mailed);
  EXPECT_FALSE(fs::exists(old));
}

TEST(SendMail, FailsBeforeTheFirstMailWhenTheJournalIsUnreadable) {
  SendSite site;
  const Shipment shipment = site.ShipmentOf({site.Document("a.xml")});
  fs::create_directory(site.Journal());
  EXPECT_FALSE(site.program.sendLoop.SendMail(shipment).accepted);
  EXPECT_THAT(site.transport.mails, IsEmpty());
}

TEST(SendMail, ReturnsNoSentDocumentsForARefusedMail) {
  SendSite site;
  const Shipment shipment = site.ShipmentOf({site.Document("a.xml")});
  site.transport.failing = {1};
  const MailingResult result = site.program.sendLoop.SendMail(shipment);
  EXPECT_FALSE(result.accepted);
  EXPECT_THAT(result.sent, IsEmpty());
  EXPECT_THAT(shipment.attachments, ElementsAre(site.Tree("Process") / "a.xml"));
  EXPECT_THAT(shipment.packed, IsEmpty());
}

TEST(SendOneMail, UsesTheTlsModeThatTheSettingNames) {
  for (const auto& [setting, mode] :
       {std::pair{"", TlsMode::Auto}, std::pair{"auto", TlsMode::Auto}, std::pair{"other", TlsMode::Auto},
        std::pair{" NONE ", TlsMode::None}, std::pair{"required", TlsMode::Required}}) {
    SendSite site;
    site.program.settings.TlsMode = setting;
    site.Documents(1);
    EXPECT_TRUE(site.program.sendLoop.SendQueuedFaultlogs());
    EXPECT_EQ(site.transport.servers.at(0).tlsMode, mode) << setting;
  }
}

TEST(SendOneMail, UsesDefaultsForInvalidNumbers) {
  for (const char* text : {"", "x", "0", "-1", "99999999999", "25x"}) {
    SendSite site;
    site.program.settings.SMTPPort = site.program.settings.TryCount = site.program.settings.Timeout = text;
    site.Documents(1);
    EXPECT_TRUE(site.program.sendLoop.SendQueuedFaultlogs());
    EXPECT_EQ(site.transport.servers[0].port, 25) << text;
    EXPECT_EQ(site.transport.servers[0].tryCount, 2) << text;
    EXPECT_EQ(site.transport.servers[0].timeoutSeconds, 10) << text;
  }
}

}  // namespace
}  // namespace fieldpost
