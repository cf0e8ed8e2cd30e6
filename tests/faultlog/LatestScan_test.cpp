#include "faultlog/LatestScan.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <limits>

#include "common/Limits.h"
#include "support/ScanSite.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;
using test::ScanSite;
using test::TextsIn;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

TEST(ProcessLatestFiles, FilesByProductCodeAndQueuesADocument) {
  ScanSite site;
  site.Latest("a.xml", test::FaultlogXml("AB12", "FE"));
  site.Latest("B.XML", test::FaultlogXml("CD34"));
  site.Latest("notes.txt", "not mine");
  site.Scan();
  EXPECT_EQ(test::Names(site.Tree("Latest")), std::set<std::string>{"notes.txt"});
  EXPECT_EQ(test::Names(site.Tree("Archive")), (std::set<std::string>{"AB12", "CD34"}));
  EXPECT_THAT(TextsIn(site.ArchivedXml("AB12", "a.xml"), "MODEIND"), ElementsAre("P", "P"));
  EXPECT_EQ(site.Archived("CD34"), std::set<std::string>{"B.XML"});
  EXPECT_THAT(PathsOf(site.program.lists.PendingFiles),
              ElementsAre(site.Tree("Process") / "FLog.4711.200403151401.xml"));
  EXPECT_THAT(TextsIn(site.Document(), "PRODCODE"), ElementsAre("CD34", "AB12"))
      << "names in order of their bytes";
  EXPECT_THAT(TextsIn(site.Document(), "MODEIND"), ElementsAre("P", "P", "P"));
  EXPECT_THAT(site.Log(), ElementsAre("[Search Latest]:Found 2 OK files"));
  EXPECT_EQ(test::Names(site.Tree("Process")).size(), 1U) << "no journal, no temporary file";
  EXPECT_TRUE(site.program.scan.Succeeded());
  EXPECT_THAT(site.transport.mails, IsEmpty());
}

TEST(ProcessLatestFiles, ChoosesTheProductFolder) {
  struct Row {
    const char* name;
    std::string productCode;
    const char* expected;  ///< nothing: to the Error folder
    const char* reason;
  };
  for (const Row& row : {
           Row{"plain", "AB12", "AB12", ""},
           Row{"empty", "", "Missing", ""},
           Row{"blanks only", "  ", "Missing", ""},
           Row{"a question mark", "?", "?", ""},
           Row{"odd characters", "A:*|ä 中", "A:*|ä 中", ""},
           Row{"begins with a dot", ".A", ".A", ""},
           Row{"a separator", "A/B", nullptr, "the product code holds a separator"},
           Row{"the other separator", "A\\B", nullptr, "the product code holds a separator"},
           Row{"one up", "..", nullptr, "the product code is no folder name"},
           Row{"here", ".", nullptr, "the product code is no folder name"},
           Row{"climbing", "../../x", nullptr, "the product code holds a separator"},
           Row{"a line break", "A&#10;B", nullptr, "the product code holds a control character"},
           Row{"too long", std::string(256, 'x'), nullptr, "the product code is too long for a folder name"},
       }) {
    ScanSite site;
    site.Latest("a.xml", test::FaultlogXml(row.productCode));
    site.Scan();
    EXPECT_TRUE(site.program.scan.Succeeded()) << row.name;
    if (row.expected != nullptr) {
      EXPECT_EQ(test::Names(site.Tree("Archive")), std::set<std::string>{row.expected}) << row.name;
      EXPECT_EQ(site.Archived(row.expected), std::set<std::string>{"a.xml"}) << row.name;
      continue;
    }
    EXPECT_THAT(test::Names(site.Tree("Archive")), IsEmpty()) << row.name;
    EXPECT_EQ(test::Names(site.Tree("Error")), std::set<std::string>{"a.xml"}) << row.name;
    EXPECT_THAT(site.Log(), ElementsAre(std::string("[Error]:Reason: ") + row.reason + "[..\\Error\\a.xml]",
                                        "[Search Latest]:Found 0 OK files           ",
                                        "[Search Latest]:Found 1 Error files"))
        << row.name;
  }
}

TEST(ProcessLatestFiles, MovesWhatItCannotReadToTheErrorFolder) {
  ScanSite site;
  site.program.flags.ShowMessages = true;
  site.Latest("broken.xml", "<FLFILE>\n<a></FLFILE>");
  site.Latest("nomode.xml", "<FLFILE><PRODCODE>A</PRODCODE><FAULTLOG/></FLFILE>");
  site.Latest("good.xml", test::FaultlogXml("A"));
  site.folder.Write("home/Faultlog/Error/broken.xml", "an older one");
  site.Scan();
  EXPECT_EQ(test::Names(site.Tree("Error")), (std::set<std::string>{"broken.xml", "nomode.xml"}));
  EXPECT_EQ(test::ReadFile(site.Tree("Error") / "broken.xml"), "<FLFILE>\n<a></FLFILE>");
  EXPECT_THAT(test::Names(site.Tree("Latest")), IsEmpty());
  EXPECT_THAT(site.Log(), ElementsAre(AllOf(testing::StartsWith("[Error]:Reason: line 2: "),
                                            testing::EndsWith("[..\\Error\\broken.xml]")),
                                      "[Search Latest]:Found 1 OK files           ",
                                      "[Search Latest]:Found 2 Error files"));
  EXPECT_THAT(site.display.lines,
              ElementsAre("Process latest files...", testing::EndsWith("\r\n[..\\Error\\broken.xml]"),
                          "[..\\Error\\nomode.xml]", "Found 1 OK files\r\nFound 2 Error files"));
  EXPECT_TRUE(site.program.scan.Succeeded());
}

TEST(ProcessLatestFiles, LeavesARunningFileByteForByte) {
  ScanSite site;
  const std::string running = test::FaultlogXml("A", "EF", "20040315");
  site.Latest("a.xml", running);
  site.Scan();
  EXPECT_EQ(test::ReadFile(site.Tree("Latest") / "a.xml"), running);
  EXPECT_THAT(site.Log(), ElementsAre("[Search Latest]: 0 Files found in Latest folder(s)"));
  EXPECT_TRUE(site.program.scan.Succeeded());
}

TEST(ProcessLatestFiles, LeavesAFileThatSomebodyIsStillWriting) {
  ScanSite site;
  const fs::path path = site.Latest("a.xml", "<FLFILE>");
  {
    const std::ofstream writer(path, std::ios::app);
    site.Scan();
  }
  EXPECT_THAT(test::Names(site.Tree("Error")), IsEmpty());
  EXPECT_TRUE(fs::exists(path));
  site.Scan();
  EXPECT_EQ(test::Names(site.Tree("Error")), std::set<std::string>{"a.xml"})
      << "closed now, and still broken";
}

TEST(ProcessLatestFiles, TouchesPlainFilesOnly) {
  ScanSite site;
  const fs::path outside = site.folder.Write("outside.xml", test::FaultlogXml("A"));
  fs::create_symlink(outside, site.Tree("Latest") / "link.xml");
  site.folder.Folder("home/Faultlog/Latest/folder.xml");
  ASSERT_EQ(::mkfifo((site.Tree("Latest") / "pipe.xml").c_str(), 0600), 0);
  site.Scan();
  EXPECT_EQ(test::Names(site.Tree("Latest")), (std::set<std::string>{"folder.xml", "link.xml", "pipe.xml"}));
  EXPECT_TRUE(fs::exists(outside));
  EXPECT_THAT(site.Log(), ElementsAre("[Search Latest]: 0 Files found in Latest folder(s)"));
}

TEST(ProcessLatestFiles, FilesADocumentWhoseElementsLieDeeper) {
  ScanSite site;
  site.Latest(
      "a.xml",
      "<ROOT><FLFILE><PRODCODE>A</PRODCODE><FAULTLOG><MODEIND>F</MODEIND></FAULTLOG></FLFILE></ROOT>");
  site.Scan();
  EXPECT_EQ(site.ArchivedXml("A", "a.xml"),
            "<?xml version=\"1.0\"?>\n<ROOT><FLFILE><PRODCODE>A</PRODCODE><FAULTLOG><MODEIND>P</MODEIND>"
            "</FAULTLOG></FLFILE></ROOT>\n");
}

TEST(ProcessLatestFiles, SendsFilesThatAreTooLargeToTheErrorFolder) {
  ScanSite site;
  fs::resize_file(site.Latest("big.xml", "<a>"), MaxFaultloggerFileBytes + 1);
  site.Scan();
  EXPECT_EQ(test::Names(site.Tree("Error")), std::set<std::string>{"big.xml"});
  EXPECT_EQ(site.Log().at(0), "[Error]:Reason: larger than 8388608 bytes[..\\Error\\big.xml]");
}

TEST(ProcessLatestFiles, ShowsNamesWithoutTheirLineBreaks) {
  ScanSite site;
  site.Latest("a\nb.xml", "<a>");
  site.Scan();
  EXPECT_THAT(site.Log().at(0), testing::EndsWith("[..\\Error\\a\\x0Ab.xml]"));
}

TEST(ProcessLatestFiles, StopsAtOnceWithoutItsSettings) {
  ScanSite site;
  site.program.settings.PartnerID.clear();
  const fs::path source = site.Latest("a.xml", test::FaultlogXml("A"));
  site.Scan();
  EXPECT_TRUE(fs::exists(source));
  EXPECT_THAT(site.Log(), ElementsAre("[Error]:Partner ID missing in FP mail options"));
  EXPECT_FALSE(site.program.scan.Succeeded());
}

TEST(ProcessLatestFiles, ReportsThatThereIsNoFolderList) {
  ScanSite site;
  site.program.lists.LatestFolderList.clear();
  site.Scan();
  EXPECT_THAT(site.Log(), ElementsAre("[Error]:Latest directory dosen't set up",
                                      "[Search Latest]: 0 Files found in Latest folder(s)"));
}

TEST(ProcessLatestFiles, SkipsMissingFoldersWithoutAWord) {
  ScanSite site;
  site.program.lists.LatestFolderList.insert(site.program.lists.LatestFolderList.begin(), "/no/such/folder/");
  site.Latest("a.xml", test::FaultlogXml("A"));
  site.Scan();
  EXPECT_THAT(site.Log(), ElementsAre("[Search Latest]:Found 1 OK files"));
}

TEST(ProcessLatestFiles, ShowsABoxOnlyToSomebodyAtTheScreen) {
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

TEST(ProcessLatestFiles, ShowsItsProgress) {
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

TEST(ProcessLatestFiles, SendsWhatItQueuedWhenAsked) {
  ScanSite site;
  site.program.flags.SendAfterCollect = true;
  site.Latest("a.xml", test::FaultlogXml("A"));
  site.Scan();
  ASSERT_EQ(site.transport.mails.size(), 1U);
  EXPECT_THAT(site.Document(), HasSubstr("<FLFILE Mode=\"Sent\">"));
  site.Scan();
  EXPECT_EQ(site.transport.mails.size(), 1U) << "nothing new, nothing sent";
}

TEST(ProcessLatestFiles, LeavesOlderDocumentsToTheSendSwitchWhenNothingIsNew) {
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

TEST(ProcessLatestFiles, FailsWhenTheMailDoes) {
  ScanSite site;
  site.program.flags.SendAfterCollect = true;
  site.transport.failing = {1};
  site.Latest("a.xml", test::FaultlogXml("A"));
  site.Scan();
  EXPECT_FALSE(site.program.scan.Succeeded());
  EXPECT_THAT(site.Document(), HasSubstr("Mode=\"Not Sent\""));
}

TEST(ProcessLatestFiles, EndsAtTheNextFileWhenAsked) {
  for (std::size_t filed = 0; filed < 5; ++filed) {
    ScanSite site;
    site.program.flags = {.ShowMessages = true, .SendingPPC = false, .SendAfterCollect = true};
    for (int i = 1; i <= 5; ++i) site.Latest(fmt::format("{}.xml", i), test::FaultlogXml("A"));
    site.display.stopAfterTurns = filed;
    site.Scan();
    EXPECT_TRUE(site.program.scan.Stopped());
    EXPECT_FALSE(site.program.scan.Succeeded());
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
    site.Scan();
    EXPECT_FALSE(site.program.scan.Stopped());
    EXPECT_TRUE(site.program.scan.Succeeded());
    EXPECT_THAT(test::Names(site.Tree("Latest")), IsEmpty());
    EXPECT_EQ(site.Archived("A").size(), 5U);
    for (const std::string& name : site.Archived("A")) {
      EXPECT_EQ(TextsIn(site.ArchivedXml("A", name), "MODEIND").size(), 1U) << "filed once";
    }
  }
}

TEST(ProcessLatestFiles, TellsAScreenWhatTheLogAloneWouldTell) {
  ScanSite site;
  site.Latest("a.xml", test::FaultlogXml("A"));
  site.folder.Write("home/Faultlog/Archive/A/a.xml", "broken");
  site.Scan();
  EXPECT_TRUE(site.program.scan.Began());
  EXPECT_THAT(site.program.scan.Problem(), testing::StartsWith("cannot merge into"));
  fs::remove(site.Tree("Archive") / "A" / "a.xml");
  site.Scan();
  EXPECT_EQ(site.program.scan.Problem(), "");
}

}  // namespace
}  // namespace fieldpost
