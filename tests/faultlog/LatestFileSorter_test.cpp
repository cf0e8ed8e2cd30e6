#include "faultlog/LatestFileSorter.h"
#include "common/Limits.h"

#include <gmock/gmock.h>

#include <fstream>

#include "support/ScanSite.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;
using test::ScanSite;
using test::TextsIn;
using testing::AllOf;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(ProductCodeFault, AllowsTheLongestNameOfAFolder) {
  EXPECT_EQ(ProductCodeFault(std::string(255, 'x')), "");
  EXPECT_NE(ProductCodeFault(std::string(256, 'x')), "");
}

TEST(LatestFileSorter, ChoosesTheProductFolder) {
  struct Row {
    const char* name;
    std::string productCode;
    const char* expected;  ///< nothing: moved to the Error folder
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
           Row{"the folder above", "..", nullptr, "the product code is no folder name"},
           Row{"the folder itself", ".", nullptr, "the product code is no folder name"},
           Row{"two levels up and down", "../../x", nullptr, "the product code holds a separator"},
           Row{"a line break", "A&#10;B", nullptr, "the product code holds a control character"},
           Row{"too long", std::string(256, 'x'), nullptr, "the product code is too long for a folder name"},
       }) {
    ScanSite site;
    site.Latest("a.xml", test::FaultlogXml(row.productCode));
    const ScanResult result = site.Scan();
    EXPECT_TRUE(result.succeeded) << row.name;
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

TEST(LatestFileSorter, MovesWhatItCannotReadToTheErrorFolder) {
  ScanSite site;
  site.program.flags.ShowMessages = true;
  site.Latest("broken.xml", "<FLFILE>\n<a></FLFILE>");
  site.Latest("nomode.xml", "<FLFILE><PRODCODE>A</PRODCODE><FAULTLOG/></FLFILE>");
  site.Latest("good.xml", test::FaultlogXml("A"));
  site.folder.Write("home/Faultlog/Error/broken.xml", "an older one");
  const ScanResult result = site.Scan();
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
  EXPECT_TRUE(result.succeeded);
}

TEST(LatestFileSorter, LeavesAFileWhoseLastEntryStillRuns) {
  ScanSite site;
  const std::string running = test::FaultlogXml("A", "EF", "20040315");
  site.Latest("a.xml", running);
  const ScanResult result = site.Scan();
  EXPECT_EQ(test::ReadFile(site.Tree("Latest") / "a.xml"), running);
  EXPECT_THAT(site.Log(), ElementsAre("[Search Latest]: 0 Files found in Latest folder(s)"));
  EXPECT_TRUE(result.succeeded);
}

TEST(LatestFileSorter, LeavesAFileThatSomebodyIsStillWriting) {
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

TEST(LatestFileSorter, FilesADocumentWhoseElementsAreNestedDeeper) {
  ScanSite site;
  site.Latest(
      "a.xml",
      "<ROOT><FLFILE><PRODCODE>A</PRODCODE><FAULTLOG><MODEIND>F</MODEIND></FAULTLOG></FLFILE></ROOT>");
  site.Scan();
  EXPECT_EQ(site.ArchivedXml("A", "a.xml"),
            "<?xml version=\"1.0\"?>\n<ROOT><FLFILE><PRODCODE>A</PRODCODE><FAULTLOG><MODEIND>P</MODEIND>"
            "</FAULTLOG></FLFILE></ROOT>\n");
}

TEST(LatestFileSorter, MovesFilesThatAreTooLargeToTheErrorFolder) {
  ScanSite site;
  fs::resize_file(site.Latest("big.xml", "<a>"), MaxFaultloggerFileBytes + 1);
  site.Scan();
  EXPECT_EQ(test::Names(site.Tree("Error")), std::set<std::string>{"big.xml"});
  EXPECT_EQ(site.Log().at(0), "[Error]:Reason: larger than 8388608 bytes[..\\Error\\big.xml]");
}

TEST(LatestFileSorter, LogsNamesWithTheirLineBreaksEscaped) {
  ScanSite site;
  site.Latest("a\nb.xml", "<a>");
  site.Scan();
  EXPECT_THAT(site.Log().at(0), testing::EndsWith("[..\\Error\\a\\x0Ab.xml]"));
}

TEST(LatestFileSorter, DoesNotBlockTheFilesAfterOneThatStaysOrIsMoved) {
  ScanSite site;
  const fs::path open = site.Latest("a.xml", "<FLFILE>");
  fs::resize_file(site.Latest("b.xml", "<a>"), MaxFaultloggerFileBytes + 1);
  site.Latest("c.xml", test::FaultlogXml("A"));
  const std::ofstream writer(open, std::ios::app);
  site.Scan();
  EXPECT_TRUE(fs::exists(site.Tree("Archive") / "A" / "c.xml"));
}

}  // namespace
}  // namespace fieldpost
