#include "faultlog/LatestScan.h"

#include <gmock/gmock.h>

#include <limits>

#include "common/Limits.h"
#include "support/ScanSite.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;
using test::PathsOf;
using test::ScanSite;
using test::TextsIn;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

TEST(ProcessLatestFiles, FilesByProductCodeAndQueuesADocument) {
  ScanSite site;
  site.Latest("a.xml", test::FaultlogXml("AB12", "FE"));
  site.Latest("B.XML", test::FaultlogXml("CD34"));
  site.Latest("notes.txt", "not mine");
  const ScanResult result = site.Scan();
  EXPECT_EQ(test::Names(site.Tree("Latest")), std::set<std::string>{"notes.txt"});
  EXPECT_EQ(test::Names(site.Tree("Archive")), (std::set<std::string>{"AB12", "CD34"}));
  EXPECT_THAT(TextsIn(site.ArchivedXml("AB12", "a.xml"), "MODEIND"), ElementsAre("P", "P"));
  EXPECT_EQ(site.Archived("CD34"), std::set<std::string>{"B.XML"});
  EXPECT_THAT(test::PathsOf(site.program.lists.PendingFiles),
              ElementsAre(site.Tree("Process") / "FLog.4711.200403151401.xml"));
  EXPECT_EQ(site.program.lists.PendingFiles.front().content, HashContent(site.Document()));
  EXPECT_THAT(TextsIn(site.Document(), "PRODCODE"), ElementsAre("CD34", "AB12"))
      << "names in order of their bytes";
  EXPECT_THAT(TextsIn(site.Document(), "MODEIND"), ElementsAre("P", "P", "P"));
  EXPECT_THAT(site.Log(), ElementsAre("[Search Latest]:Found 2 OK files"));
  EXPECT_EQ(test::Names(site.Tree("Process")).size(), 1U) << "no journal, no temporary file";
  EXPECT_TRUE(result.succeeded);
  EXPECT_THAT(site.transport.mails, IsEmpty());
}

TEST(ProcessLatestFiles, WritesToTheProgramFolderWhenTheProcessFolderIsMissing) {
  ScanSite site;
  site.program.settings.ProcessFolder = "/no/such/folder/";
  site.Latest("a.xml", test::FaultlogXml("A"));
  site.Scan();
  EXPECT_EQ(test::Names(site.Tree("Process")), std::set<std::string>{"FLog.4711.200403151401.xml"});
}

TEST(ProcessLatestFiles, DoesNothingWithoutItsSettings) {
  ScanSite site;
  site.program.settings.PartnerID.clear();
  const fs::path source = site.Latest("a.xml", test::FaultlogXml("A"));
  const ScanResult result = site.Scan();
  EXPECT_TRUE(fs::exists(source));
  EXPECT_THAT(site.Log(), ElementsAre("[Error]:Partner ID missing in FP mail options"));
  EXPECT_FALSE(result.succeeded);
}

TEST(ProcessLatestFiles, LogsThatNoLatestFolderIsSetUp) {
  ScanSite site;
  site.program.lists.LatestFolderList.clear();
  site.Scan();
  EXPECT_THAT(site.Log(), ElementsAre("[Error]:Latest directory dosen't set up",
                                      "[Search Latest]: 0 Files found in Latest folder(s)"));
}

TEST(ProcessLatestFiles, ShowsABoxOnlyWhenMessagesMayBeShown) {
  for (const bool show : {false, true}) {
    ScanSite site;
    site.program.flags.ShowMessages = show;
    site.Scan();
    EXPECT_THAT(site.Log(), ElementsAre("[Search Latest]: 0 Files found in Latest folder(s)"));
    std::vector<test::ShownMessage> expected;
    if (show) {
      expected.push_back(
          {"Faultlogger files not found in Latest folder(s)", MessageIcon::Information, "FP Faultlogger"});
    }
    EXPECT_EQ(site.prompt.messages, expected);
  }
}

TEST(ProcessLatestFiles, ShowsItsProgressOnlyWhenMessagesMayBeShown) {
  for (const bool show : {false, true}) {
    ScanSite site;
    site.program.flags.ShowMessages = show;
    for (int i = 1; i <= 3; ++i) site.Latest(fmt::format("{}.xml", i), test::FaultlogXml("A"));
    site.Scan();
    if (!show) {
      EXPECT_THAT(site.display.lines, IsEmpty());
      EXPECT_THAT(site.display.positions, IsEmpty());
      continue;
    }
    EXPECT_THAT(site.display.lines, ElementsAre("Process latest files...", "Found 3 OK files"));
    EXPECT_THAT(site.display.ranges, ElementsAre(3));
    EXPECT_THAT(site.display.positions, ElementsAre(1, 2, 3));
    EXPECT_THAT(site.display.labels, ElementsAre("1.xml 0%", "2.xml 33%", "3.xml 66%"));
    EXPECT_GE(site.display.eventTurns, 3U);
  }
}

TEST(ProcessLatestFiles, SendsQueuedDocumentsWithSendAfterCollect) {
  ScanSite site;
  site.program.flags.SendAfterCollect = true;
  site.Latest("a.xml", test::FaultlogXml("A"));
  site.Scan();
  ASSERT_EQ(site.transport.mails.size(), 1U);
  EXPECT_THAT(site.Document(), HasSubstr("<FLFILE Mode=\"Sent\">"));
  site.Scan();
  EXPECT_EQ(site.transport.mails.size(), 1U) << "nothing new, nothing sent";
}

TEST(ProcessLatestFiles, SendsOlderDocumentsOnlyTogetherWithNewOnes) {
  ScanSite site;
  site.program.flags.SendAfterCollect = true;
  site.folder.Write("home/Faultlog/Process/old.xml", "<FLFILE Mode=\"Not Sent\"/>");
  site.Scan();
  EXPECT_THAT(site.transport.mails, IsEmpty());
  site.Latest("a.xml", test::FaultlogXml("A"));
  site.program.settings.NumAttachments = "9";
  site.Scan();
  ASSERT_EQ(site.transport.mails.size(), 1U);
  EXPECT_EQ(site.transport.mails[0].attachments.size(), 2U) << "new and old together, each once";
}

TEST(ProcessLatestFiles, FailsWhenTheMailFails) {
  ScanSite site;
  site.program.flags.SendAfterCollect = true;
  site.transport.failing = {1};
  site.Latest("a.xml", test::FaultlogXml("A"));
  const ScanResult result = site.Scan();
  EXPECT_FALSE(result.succeeded);
  EXPECT_THAT(site.Document(), HasSubstr("Mode=\"Not Sent\""));
}

TEST(ProcessLatestFiles, EndsAtTheNextFileWhenCancelled) {
  for (std::size_t filed = 0; filed < 5; ++filed) {
    ScanSite site;
    site.program.flags = {.ShowMessages = true, .SendingPPC = false, .SendAfterCollect = true};
    for (int i = 1; i <= 5; ++i) site.Latest(fmt::format("{}.xml", i), test::FaultlogXml("A"));
    site.display.stopAfterTurns = filed;
    const ScanResult result = site.Scan();
    EXPECT_TRUE(result.cancelled);
    EXPECT_FALSE(result.succeeded);
    EXPECT_EQ(test::Names(site.Tree("Latest")).size(), 5 - filed);
    EXPECT_THAT(site.transport.mails, IsEmpty());
    EXPECT_THAT(site.prompt.messages, IsEmpty());
    EXPECT_EQ(test::Names(site.Tree("Process")).size(), filed == 0 ? 0U : 1U) << "the batch is published";
    if (filed == 0) {
      EXPECT_THAT(site.Log(), IsEmpty());
    } else {
      EXPECT_THAT(site.Log(), ElementsAre(fmt::format("[Search Latest]:Found {} OK files", filed)));
      EXPECT_EQ(TextsIn(site.Document(), "MODEIND").size(), filed);
    }

    site.display.stopAfterTurns = std::numeric_limits<std::size_t>::max();
    const ScanResult next = site.Scan();
    EXPECT_FALSE(next.cancelled);
    EXPECT_TRUE(next.succeeded);
    EXPECT_THAT(test::Names(site.Tree("Latest")), IsEmpty());
    EXPECT_EQ(site.Archived("A").size(), 5U);
    for (const std::string& name : site.Archived("A")) {
      EXPECT_EQ(TextsIn(site.ArchivedXml("A", name), "MODEIND").size(), 1U) << "filed once";
    }
  }
}

TEST(ProcessLatestFiles, ReturnsTheFirstProblem) {
  ScanSite site;
  site.Latest("a.xml", test::FaultlogXml("A"));
  site.folder.Write("home/Faultlog/Archive/A/a.xml", "broken");
  const ScanResult result = site.Scan();
  EXPECT_TRUE(result.began);
  EXPECT_THAT(result.problem, testing::StartsWith("cannot merge into"));
  fs::remove(site.Tree("Archive") / "A" / "a.xml");
  EXPECT_EQ(site.Scan().problem, "");
}

TEST(ProcessLatestFiles, CountsEachScanOnItsOwn) {
  ScanSite site;
  site.program.flags.ShowMessages = true;
  site.Latest("good.xml", test::FaultlogXml("A"));
  site.Latest("bad.xml", "<a>");
  const ScanResult first = site.Scan();
  EXPECT_TRUE(first.began);
  EXPECT_EQ(first.okCount, 1U);
  EXPECT_EQ(first.errorCount, 1U);
  const ScanResult second = site.Scan();
  EXPECT_EQ(second.okCount + second.errorCount, 0U);
  EXPECT_THAT(site.Log(), Contains("[Search Latest]:Found 1 OK files           "));
  EXPECT_EQ(site.Log().back(), "[Search Latest]: 0 Files found in Latest folder(s)");
  EXPECT_EQ(site.display.lines.back(), " 0 Files found in Latest folder(s)");
  site.program.settings.PartnerID.clear();
  EXPECT_FALSE(site.Scan().began);
}

}  // namespace
}  // namespace fieldpost
