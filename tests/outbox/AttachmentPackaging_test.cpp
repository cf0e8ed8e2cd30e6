#include "outbox/AttachmentPackaging.h"

#include <gmock/gmock.h>

#include <utility>

#include "support/OutboxParts.h"
#include "support/TracedFileSystem.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;
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
    site.program.lists.Attachments.resize(row.files, "x");
    EXPECT_EQ(site.program.packaging.CountMails(), row.mails) << row.name;
    EXPECT_EQ(site.program.packaging.AttachmentsPerMail(), row.perMail) << row.name;
  }
}

TEST(DeleteZipFiles, TellsWhatItCouldNotRemove) {
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
  run.packaging.DeleteZipFiles();
  EXPECT_THAT(site.Log(), ElementsAre(testing::EndsWith("a.zip: busy")));
}

TEST(ZipAttachments, ForgetsTheProblemOfTheLastTime) {
  test::ReadyOutboxSite site;
  const std::string folder = std::exchange(site.program.settings.ProcessFolder, "/no/such/folder");
  PathList list{site.folder.Write("one.xml", "1")};
  EXPECT_FALSE(site.program.packaging.ZipAttachments(list));
  EXPECT_NE(site.program.packaging.Problem(), "");
  site.program.settings.ProcessFolder = folder;
  EXPECT_TRUE(site.program.packaging.ZipAttachments(list));
  EXPECT_EQ(site.program.packaging.Problem(), "");
}

TEST(ZipAttachments, ReplacesTheListByTheZip) {
  for (const bool ppc : {false, true}) {
    test::ReadyOutboxSite site;
    site.program.flags.SendingPPC = ppc;
    const fs::path one = site.folder.Write("one.xml", "1");
    const fs::path two = site.folder.Write("two.xml", "2");
    const fs::path gone = site.folder.Path() / "gone.xml";
    PathList& list = site.program.lists.Attachments;
    list = {one, gone, two};
    const fs::path zip = ppc ? site.Tree("PPCTemp") / "PPC.4711.200403151400.zip"
                             : site.Tree("Process") / "FLog.4711.200403151400.zip";
    EXPECT_TRUE(site.program.packaging.ZipAttachments(list));
    EXPECT_THAT(list, ElementsAre(zip));
    EXPECT_THAT(site.program.lists.PackedFiles, ElementsAre(one, gone, two));
    EXPECT_EQ(site.program.packaging.LastZipResult(), 0);
    EXPECT_EQ(test::ReadFile(zip).substr(0, 4), "PK\x03\x04");
    EXPECT_THAT(site.Log(), IsEmpty());

    const std::string first = test::ReadFile(zip);
    list = {one};
    EXPECT_TRUE(site.program.packaging.ZipAttachments(list));
    EXPECT_NE(test::ReadFile(zip), first) << "a second packing within the hour replaces the first";
  }
}

TEST(ZipAttachments, DoesNothingForAnEmptyList) {
  test::ReadyOutboxSite site;
  EXPECT_FALSE(site.program.packaging.ZipAttachments(site.program.lists.Attachments));
  EXPECT_THAT(test::Names(site.Tree("Process")), IsEmpty());
  EXPECT_THAT(site.Log(), IsEmpty());
}

TEST(ZipAttachments, SaysWhenTheFolderIsMissing) {
  test::ReadyOutboxSite site;
  site.program.settings.ProcessFolder = "/no/such/folder/";
  PathList list{site.folder.Write("one.xml", "1")};
  EXPECT_FALSE(site.program.packaging.ZipAttachments(list));
  EXPECT_EQ(list.size(), 1U);
  EXPECT_THAT(site.Log(), ElementsAre("[Error]:Process directory dosen't found"));
}

TEST(ZipAttachments, LogsTheDescriptionOfAFailure) {
  test::ReadyOutboxSite site;
  site.folder.Folder("home/Faultlog/Process/FLog.4711.200403151400.zip/in the way");
  PathList list{site.folder.Write("one.xml", "1")};
  EXPECT_FALSE(site.program.packaging.ZipAttachments(list));
  EXPECT_THAT(list, IsEmpty());
  EXPECT_EQ(site.program.lists.PackedFiles.size(), 1U);
  EXPECT_NE(site.program.packaging.LastZipResult(), 0);
  ASSERT_EQ(site.Log().size(), 1U);
  EXPECT_THAT(site.Log()[0], testing::StartsWith("[Error]:"));
}

TEST(DeleteZipFiles, LeavesAllButZips) {
  test::ReadyOutboxSite site;
  for (const char* name : {"a.zip", "B.ZIP", "a.xml", "zip"}) {
    site.folder.Write(std::string("home/Faultlog/Process/") + name, "");
  }
  site.program.packaging.DeleteZipFiles();
  EXPECT_EQ(test::Names(site.Tree("Process")), (std::set<std::string>{"a.xml", "zip"}));
  EXPECT_THAT(site.Log(), IsEmpty());

  site.program.settings.ProcessFolder = "/no/such/folder/";
  site.program.packaging.DeleteZipFiles();
  EXPECT_THAT(site.Log(), ElementsAre("[Error]:Path not found (/no/such/folder/)"));
}

TEST(ClearPPCTemp, DeletesEveryFile) {
  test::ReadyOutboxSite site;
  for (const char* name : {"PPC.1.xml", "x", ".hidden"}) {
    site.folder.Write(std::string("home/Faultlog/PPCTemp/") + name, "");
  }
  site.program.packaging.ClearPPCTemp();
  EXPECT_THAT(test::Names(site.Tree("PPCTemp")), IsEmpty());
}

TEST(ZipAttachments, EndsWithoutAWordWhenAsked) {
  test::ReadyOutboxSite site;
  site.program.lists.Attachments = {site.folder.Write("one.xml", "1")};
  site.display.stopAfterTurns = 0;
  EXPECT_FALSE(site.program.packaging.ZipAttachments(site.program.lists.Attachments));
  EXPECT_EQ(site.program.packaging.Problem(), "");
  EXPECT_THAT(site.Log(), IsEmpty());
  EXPECT_THAT(test::Names(site.Tree("Process")), IsEmpty());
}

TEST(ZipAttachments, ShowsHowFarItIs) {
  test::ReadyOutboxSite site;
  site.program.lists.Attachments = {site.folder.Write("one.xml", std::string(100000, 'x'))};
  EXPECT_TRUE(site.program.packaging.ZipAttachments(site.program.lists.Attachments));
  EXPECT_THAT(site.display.ranges, ElementsAre(100));
  EXPECT_EQ(site.display.positions.back(), 100U);
}

}  // namespace
}  // namespace fieldpost
