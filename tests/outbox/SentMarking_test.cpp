#include "outbox/SentMarking.h"

#include <gmock/gmock.h>

#include <array>
#include <cerrno>
#include <iostream>
#include <utility>

#include "support/FailingCall.h"
#include "support/SendSite.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;
using test::SendSite;
using test::Sent;
using test::Waiting;
using test::Waits;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

TEST(MarkSent, ChangesTheModeOfTheRootOnly) {
  struct Row {
    const char* name;
    std::string given;
    std::string expected;
  };
  for (const Row& row : {
           Row{"a document of ours", std::string(Waiting), std::string(Sent)},
           Row{"one with a common root",
               "<?xml version=\"1.0\"?>\r\n<FLFILES Mode=\"Not Sent\">\r\n<FLFILE>Not "
               "Sent</FLFILE>\r\n</FLFILES>\r\n",
               "<?xml version=\"1.0\"?>\r\n<FLFILES Mode=\"Sent\">\r\n<FLFILE>Not "
               "Sent</FLFILE>\r\n</FLFILES>\r\n"},
           Row{"one written by others", "<a x='1' Mode='Not Sent'>ä</a>",
               "<?xml version=\"1.0\"?>\n<a x=\"1\" Mode=\"Sent\">ä</a>\n"},
           Row{"one without the attribute", "<a>not sent</a>",
               "<?xml version=\"1.0\"?>\n<a Mode=\"Sent\">not sent</a>\n"},
           Row{"one that does not load", "<?xml version=\"1.0\"?>\r\n<FLFILE Mode=\"Not Sent\">",
               "<?xml version=\"1.0\"?>\r\n<FLFILE Mode=\"Not Sent\">"},
       }) {
    SendSite site;
    const fs::path document = site.Document("a.xml", row.given);
    SentMarking marking(site.program.run, site.program.screen);
    EXPECT_TRUE(marking.MarkSent(site.ShipmentOf({document}), {{document, HashContent(row.given)}}))
        << row.name;
    EXPECT_EQ(test::ReadFile(document), row.expected) << row.name;
  }
}

TEST(MarkSent, LeavesADocumentThatChangedAfterItWasCollected) {
  SendSite site;
  const fs::path document = site.Document("a.xml");
  const fs::path other = site.Document("b.xml");
  site.program.lists.PendingFiles = {{document, HashContent(Waiting)}};
  const std::string changed = std::string(Waiting) + "<!-- later -->";
  site.transport.during = [&] { site.Document("a.xml", changed); };
  EXPECT_TRUE(site.program.sendLoop.SendQueuedFaultlogs());
  EXPECT_EQ(test::ReadFile(document), changed);
  EXPECT_EQ(test::ReadFile(other), Sent);
  EXPECT_THAT(site.Log(), Contains("[Error]:cannot mark as sent " + Utf8FromPath(document) +
                                   ": it changed after it was collected; it is mailed again"));
  EXPECT_FALSE(fs::exists(site.Journal()));
  EXPECT_TRUE(Waits(site, document));
}

TEST(MarkSent, LeavesADocumentThatChangedBeforeItWasMailed) {
  SendSite site;
  const fs::path document = site.Document("a.xml");
  site.program.lists.PendingFiles = {{document, HashContent("as it was written")}};
  EXPECT_TRUE(site.program.sendLoop.SendQueuedFaultlogs());
  EXPECT_EQ(site.transport.mails.size(), 1U);
  EXPECT_EQ(test::ReadFile(document), Waiting);
  EXPECT_TRUE(Waits(site, document)) << "a stale hash marks nothing";
}

TEST(SentMarking, NotesDocumentsOnly) {
  SendSite site;
  const fs::path document = site.Document("a.XML");
  Shipment shipment = site.ShipmentOf({document, site.Tree("Process") / "gone.xml"});
  shipment.packed = std::exchange(shipment.attachments, {site.Document("a.zip", "zip")});
  fs::create_directories(TemporaryNameFor(document) / "in the way");  // so that the journal stays
  EXPECT_FALSE(site.program.sendLoop.SendPackedData(shipment).finished);
  EXPECT_EQ(SendJournal(site.files).Read(site.Tree("Process")),
            (SentDocuments{{document, HashContent(Waiting)}}));
}

TEST(SentMarking, DoesNotNotePpcData) {
  SendSite site;
  site.program.flags.SendingPPC = true;
  const Shipment shipment = site.ShipmentOf({site.folder.Write("home/Faultlog/PPCTemp/PPC.1.xml", Waiting)});
  EXPECT_TRUE(site.program.sendLoop.SendPackedData(shipment).finished);
  EXPECT_FALSE(fs::exists(site.Journal()));
}

TEST(SentMarking, NotesTheShipmentOnceTheLastMailWasAccepted) {
  for (const std::size_t failing : {0U, 1U, 2U}) {
    SendSite site;
    site.program.settings.NumAttachments = "0";
    const Shipment shipment = site.ShipmentOf({site.Document("a.xml"), site.Document("b.xml")});
    for (const char* name : {"a.xml", "b.xml"}) {
      fs::create_directories(TemporaryNameFor(site.Tree("Process") / name) / "in the way");
    }
    if (failing > 0) site.transport.failing = {failing};
    EXPECT_FALSE(site.program.sendLoop.SendPackedData(shipment).finished);
    EXPECT_EQ(fs::exists(site.Journal()), failing == 0) << failing;
    EXPECT_EQ(SendJournal(site.files).Read(site.Tree("Process")).size(), failing == 0 ? 2U : 0U) << failing;
  }
}

TEST(SentMarking, DocumentThatChangedAfterItWasMailedIsMailedAgain) {
  SendSite site;
  const fs::path document = site.Document("a.xml");
  SendJournal(site.files).Write(site.Tree("Process"), {{document, HashContent("another content")}});
  EXPECT_TRUE(Waits(site, document)) << "before recovery";
  EXPECT_TRUE(site.program.sendLoop.FinishInterruptedSend());
  EXPECT_TRUE(Waits(site, document)) << "after recovery";
  EXPECT_TRUE(site.program.sendLoop.SendQueuedFaultlogs());
  EXPECT_EQ(site.transport.mails.size(), 1U);
}

TEST(SentMarking, JournalDoesNotExcludeADocumentWithOtherContent) {
  SendSite site;
  const fs::path document = site.Document("a.xml");
  fs::create_directories(TemporaryNameFor(document) / "in the way");
  EXPECT_FALSE(site.program.sendLoop.SendQueuedFaultlogs());
  EXPECT_FALSE(Waits(site, document)) << "it was mailed";
  fs::remove(document);
  site.Document("a.xml", "<FLFILE Mode=\"Not Sent\"/>");
  EXPECT_TRUE(Waits(site, document)) << "another document of that name";
}

TEST(MarkSent, FailsWhenADocumentOfAnEarlierSendIsUnreadable) {
  SendSite site;
  const fs::path document = site.Document("a.xml");
  fs::create_directories(TemporaryNameFor(document) / "in the way");
  EXPECT_FALSE(site.program.sendLoop.SendQueuedFaultlogs());
  ASSERT_FALSE(Waits(site, document));
  fs::remove_all(TemporaryNameFor(document));
  SentMarking marking(site.program.run, site.program.screen);
  const Shipment shipment = site.ShipmentOf({});
  const SentDocuments noted = marking.JournalFor(shipment);
  {
    const test::FailingCall failing("read", EIO);
    EXPECT_FALSE(marking.MarkSent(shipment, noted));
  }
  EXPECT_EQ(test::ReadFile(document), Waiting);
  EXPECT_TRUE(marking.MarkSent(shipment, noted));
  EXPECT_NE(test::ReadFile(document), Waiting);
}

}  // namespace
}  // namespace fieldpost
