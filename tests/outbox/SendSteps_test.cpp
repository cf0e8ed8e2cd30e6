// The steps of a send one by one: what each leaves when the next one fails.
#include <gmock/gmock.h>

#include <array>
#include <cerrno>

#include "outbox/SendJournal.h"
#include "support/FailingCall.h"
#include "support/SendSite.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;
using test::SendSite;
using test::Waiting;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(SendSteps, AnOldZipGoesBeforeTheFirstMail) {
  SendSite site;
  const fs::path old = site.Document("FLog.4711.200403151300.zip", "old");
  site.program.lists.Attachments = {site.Document("a.xml")};
  site.transport.failing = {1};
  EXPECT_FALSE(site.program.sendLoop.SendData());
  EXPECT_FALSE(fs::exists(old));
}

TEST(SendSteps, OnlyDocumentsAreNoted) {
  SendSite site;
  const fs::path document = site.Document("a.XML");
  site.program.lists.PackedFiles = {document, site.Tree("Process") / "gone.xml"};
  site.program.lists.Attachments = {site.Document("a.zip", "zip")};
  fs::create_directories(TemporaryNameFor(document) / "in the way");  // so that it stays noted
  EXPECT_FALSE(site.program.sendLoop.SendPackedData());
  EXPECT_EQ(SendJournal(site.files).Read(site.Tree("Process")),
            (SentDocuments{{document, HashContent(Waiting)}}));
}

TEST(SendSteps, PpcDataIsNotNoted) {
  SendSite site;
  site.program.flags.SendingPPC = true;
  site.program.lists.Attachments = {site.folder.Write("home/Faultlog/PPCTemp/PPC.1.xml", Waiting)};
  EXPECT_TRUE(site.program.sendLoop.SendPackedData());
  EXPECT_FALSE(fs::exists(site.Journal()));
}

TEST(SendSteps, TheSetIsNotedOnceTheLastMailWasTaken) {
  for (const std::size_t failing : {0U, 1U, 2U}) {
    SendSite site;
    site.program.settings.NumAttachments = "0";
    site.program.lists.Attachments = {site.Document("a.xml"), site.Document("b.xml")};
    for (const char* name : {"a.xml", "b.xml"}) {
      fs::create_directories(TemporaryNameFor(site.Tree("Process") / name) / "in the way");
    }
    if (failing > 0) site.transport.failing = {failing};
    EXPECT_FALSE(site.program.sendLoop.SendPackedData());
    EXPECT_EQ(fs::exists(site.Journal()), failing == 0) << failing;
    EXPECT_EQ(SendJournal(site.files).Read(site.Tree("Process")).size(), failing == 0 ? 2U : 0U) << failing;
  }
}

TEST(SendSteps, ADocumentThatWasChangedSinceItWentIsMailedAgain) {
  SendSite site;
  const fs::path document = site.Document("a.xml");
  SendJournal(site.files).Write(site.Tree("Process"), {{document, HashContent("another content")}});
  EXPECT_FALSE(site.program.sendLoop.WasSent(document)) << "nothing was read yet";
  EXPECT_TRUE(site.program.sendLoop.FinishInterruptedSend());
  EXPECT_FALSE(site.program.sendLoop.WasSent(document));
  EXPECT_TRUE(site.program.sendLoop.SendQueuedFaultlogs());
  EXPECT_EQ(site.transport.mails.size(), 1U);
}

TEST(SendSteps, WhatWasSentAndIsGoneIsNoLongerKnown) {
  SendSite site;
  const fs::path document = site.Document("a.xml");
  fs::create_directories(TemporaryNameFor(document) / "in the way");
  EXPECT_FALSE(site.program.sendLoop.SendQueuedFaultlogs());
  EXPECT_TRUE(site.program.sendLoop.WasSent(document));
  fs::remove(document);
  EXPECT_FALSE(site.program.sendLoop.WasSent(document));
}

TEST(SendSteps, WhatIsMarkedTooButCannotBeReadIsAFailure) {
  SendSite site;
  const fs::path document = site.Document("a.xml");
  fs::create_directories(TemporaryNameFor(document) / "in the way");
  EXPECT_FALSE(site.program.sendLoop.SendQueuedFaultlogs());
  ASSERT_TRUE(site.program.sendLoop.WasSent(document));
  fs::remove_all(TemporaryNameFor(document));
  {
    const test::FailingCall failing("read", EIO);
    EXPECT_FALSE(site.program.sendLoop.MarkSent());
  }
  EXPECT_EQ(test::ReadFile(document), Waiting);
  EXPECT_TRUE(site.program.sendLoop.MarkSent());
  EXPECT_NE(test::ReadFile(document), Waiting);
}

TEST(SendSteps, AFaultOnTheWayToTheFirstMailIsAFailure) {
  SendSite site;
  site.program.lists.Attachments = {site.Document("a.xml")};
  fs::create_directory(site.Journal());
  EXPECT_FALSE(site.program.sendLoop.SendMail());
  EXPECT_THAT(site.transport.mails, IsEmpty());
}

TEST(SendSteps, AMailThatIsRefusedLeavesTheListsForTheNextTry) {
  SendSite site;
  site.program.lists.Attachments = {site.Document("a.xml")};
  site.transport.failing = {1};
  EXPECT_FALSE(site.program.sendLoop.SendMail());
  EXPECT_THAT(site.program.lists.Attachments, ElementsAre(site.Tree("Process") / "a.xml"));
  EXPECT_THAT(site.program.lists.PackedFiles, IsEmpty());
}

}  // namespace
}  // namespace fieldpost
