#include "outbox/AttachmentPackaging.h"

#include <gmock/gmock.h>

#include <utility>

#include "support/SendSite.h"
#include "support/TracedFileSystem.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;
using test::SendSite;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(CountMails, DividesByTheChosenNumber) {
  struct Row {
    const char* name;
    std::size_t files;
    const char* setting;
    int mails;
    std::size_t perMail;
  };
  for (const Row& row : {
           Row{"25 by 5", 25, "4", 5, 5},
           Row{"26 by 5", 26, "4", 6, 5},
           Row{"5 by 5", 5, "4", 1, 5},
           Row{"57 with no limit", 57, "9", 1, 57},
           Row{"nothing", 0, "4", 1, 5},
           Row{"nothing with no limit", 0, "9", 1, 1},
           Row{"one by one", 3, "0", 3, 1},
           Row{"nine", 18, "8", 2, 9},
           Row{"no setting", 3, "", 3, 1},
           Row{"no number", 3, "x", 3, 1},
           Row{"out of range", 3, "10", 3, 1},
           Row{"negative", 3, "-1", 3, 1},
       }) {
    test::OutboxSite site;
    site.program.settings.NumAttachments = row.setting;
    EXPECT_EQ(site.program.packaging.CountMails(row.files), row.mails) << row.name;
    EXPECT_EQ(site.program.packaging.AttachmentsPerMail(row.files), row.perMail) << row.name;
  }
}

TEST(DeleteZipFiles, LogsWhatItCannotDelete) {
  test::ReadyOutboxSite site;
  site.folder.Write("home/Faultlog/Process/a.zip", "zip");
  test::Trace trace;
  test::TracedFileSystem traced(site.files, trace);
  test::OutboxParts run({traced, site.clock, site.keys, site.transport, site.prompt, site.display},
                        site.home);
  run.settings = site.program.settings;
  traced.before = [](const test::Change& change) {
    if (change.path.extension() == ".zip") throw FileError("cannot remove", change.path, "busy");
  };
  EXPECT_FALSE(run.packaging.DeleteZipFiles());
  EXPECT_THAT(site.Log(), ElementsAre(testing::EndsWith("a.zip: busy")));
}

TEST(ZipAttachments, ReportsTheProblemOfThisPackingOnly) {
  SendSite site;
  const std::string folder = std::exchange(site.program.settings.ProcessFolder, "/no/such/folder");
  Shipment shipment = site.ShipmentOf({site.folder.Write("one.xml", "1")});
  PackingResult result = site.program.packaging.ZipAttachments(shipment);
  EXPECT_FALSE(result.packed);
  EXPECT_NE(result.problem, "");
  site.program.settings.ProcessFolder = folder;
  result = site.program.packaging.ZipAttachments(shipment);
  EXPECT_TRUE(result.packed);
  EXPECT_EQ(result.problem, "");
}

TEST(ZipAttachments, ReplacesTheAttachmentsByTheZip) {
  for (const bool ppc : {false, true}) {
    SendSite site;
    site.program.flags.SendingPPC = ppc;
    const fs::path one = site.folder.Write("one.xml", "1");
    const fs::path two = site.folder.Write("two.xml", "2");
    const fs::path gone = site.folder.Path() / "gone.xml";
    Shipment shipment = site.ShipmentOf({one, gone, two});
    const fs::path zip = ppc ? site.Tree("PPCTemp") / "PPC.4711.200403151400.zip"
                             : site.Tree("Process") / "FLog.4711.200403151400.zip";
    const PackingResult result = site.program.packaging.ZipAttachments(shipment);
    EXPECT_TRUE(result.packed);
    EXPECT_THAT(shipment.attachments, ElementsAre(zip));
    EXPECT_THAT(shipment.packed, ElementsAre(one, gone, two));
    EXPECT_EQ(result.zipResult, 0);
    EXPECT_EQ(test::ReadFile(zip).substr(0, 4), "PK\x03\x04");
    EXPECT_THAT(site.Log(), IsEmpty());

    const std::string first = test::ReadFile(zip);
    Shipment second = site.ShipmentOf({one});
    EXPECT_TRUE(site.program.packaging.ZipAttachments(second).packed);
    EXPECT_NE(test::ReadFile(zip), first) << "a second packing within the hour replaces the first";
  }
}

TEST(ZipAttachments, DoesNothingWithoutAttachments) {
  SendSite site;
  Shipment empty = site.ShipmentOf({});
  EXPECT_FALSE(site.program.packaging.ZipAttachments(empty).packed);
  EXPECT_THAT(test::Names(site.Tree("Process")), IsEmpty());
  EXPECT_THAT(site.Log(), IsEmpty());
}

TEST(ZipAttachments, LogsThatTheFolderIsMissing) {
  SendSite site;
  site.program.settings.ProcessFolder = "/no/such/folder/";
  Shipment shipment = site.ShipmentOf({site.folder.Write("one.xml", "1")});
  EXPECT_FALSE(site.program.packaging.ZipAttachments(shipment).packed);
  EXPECT_EQ(shipment.attachments.size(), 1U);
  EXPECT_THAT(site.Log(), ElementsAre("[Error]:Process directory dosen't found"));
}

TEST(ZipAttachments, LogsTheDescriptionOfAFailure) {
  SendSite site;
  site.folder.Folder("home/Faultlog/Process/FLog.4711.200403151400.zip/in the way");
  Shipment shipment = site.ShipmentOf({site.folder.Write("one.xml", "1")});
  const PackingResult result = site.program.packaging.ZipAttachments(shipment);
  EXPECT_FALSE(result.packed);
  EXPECT_THAT(shipment.attachments, IsEmpty());
  EXPECT_EQ(shipment.packed.size(), 1U);
  EXPECT_NE(result.zipResult, 0);
  ASSERT_EQ(site.Log().size(), 1U);
  EXPECT_EQ(site.Log()[0], "[Error]:" + result.problem);
}

TEST(DeleteZipFiles, DeletesZipFilesOnly) {
  test::ReadyOutboxSite site;
  for (const char* name : {"a.zip", "B.ZIP", "a.xml", "zip"}) {
    site.folder.Write(std::string("home/Faultlog/Process/") + name, "");
  }
  EXPECT_TRUE(site.program.packaging.DeleteZipFiles());
  EXPECT_EQ(test::Names(site.Tree("Process")), (std::set<std::string>{"a.xml", "zip"}));
  EXPECT_THAT(site.Log(), IsEmpty());

  site.program.settings.ProcessFolder = "/no/such/folder/";
  EXPECT_TRUE(site.program.packaging.DeleteZipFiles());
  EXPECT_THAT(site.Log(), ElementsAre("[Error]:Path not found (/no/such/folder/)"));
}

TEST(ClearPPCTemp, DeletesEveryFile) {
  test::ReadyOutboxSite site;
  for (const char* name : {"PPC.1.xml", "x", ".hidden"}) {
    site.folder.Write(std::string("home/Faultlog/PPCTemp/") + name, "");
  }
  EXPECT_TRUE(site.program.packaging.ClearPPCTemp());
  EXPECT_THAT(test::Names(site.Tree("PPCTemp")), IsEmpty());
}

TEST(ZipAttachments, ReportsNothingWhenCancelled) {
  SendSite site;
  Shipment shipment = site.ShipmentOf({site.folder.Write("one.xml", "1")});
  site.display.stopAfterTurns = 0;
  const PackingResult result = site.program.packaging.ZipAttachments(shipment);
  EXPECT_FALSE(result.packed);
  EXPECT_EQ(result.problem, "");
  EXPECT_THAT(site.Log(), IsEmpty());
  EXPECT_THAT(test::Names(site.Tree("Process")), IsEmpty());
}

TEST(ZipAttachments, ShowsThePercentage) {
  SendSite site;
  Shipment shipment = site.ShipmentOf({site.folder.Write("one.xml", std::string(100000, 'x'))});
  EXPECT_TRUE(site.program.packaging.ZipAttachments(shipment).packed);
  EXPECT_THAT(site.display.ranges, ElementsAre(100));
  EXPECT_EQ(site.display.positions.back(), 100U);
}

}  // namespace
}  // namespace fieldpost
