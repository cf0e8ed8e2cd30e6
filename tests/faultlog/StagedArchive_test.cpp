#include "faultlog/StagedArchive.h"
#include "common/Limits.h"

#include <gmock/gmock.h>

#include "support/ScanSite.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;
using test::ScanSite;
using test::TextsIn;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;

TEST(StagedArchive, MergesAFileIntoTheArchivedOneOfItsName) {
  ScanSite site;
  site.Latest("a.xml", test::FaultlogXml("A", "FFFFF", "20040101", "old"));
  site.Scan();
  site.Latest("a.xml", test::FaultlogXml("A", "FFF", "20040101", "new"));
  site.Latest("b.xml", test::FaultlogXml("A"));
  site.Scan();
  EXPECT_EQ(site.Archived("A"), (std::set<std::string>{"a.xml", "b.xml"}));
  const std::string merged = site.ArchivedXml("A", "a.xml");
  EXPECT_THAT(TextsIn(merged, "TEXT"), ElementsAre("old", "old", "old", "old", "old", "new", "new", "new"));
  EXPECT_THAT(merged, HasSubstr("<FAULTLOG No=\"8\">"));
  const std::string document = site.Document("FLog.4711.200403151402.xml");
  EXPECT_THAT(document, AllOf(HasSubstr("No=\"6\""), HasSubstr("No=\"8\"")))
      << "numbers as given while merging";
}

TEST(StagedArchive, MergesTheFilesOfOneNameFromSeveralFolders) {
  for (const int folders : {2, 7, 8, 20}) {
    ScanSite site;
    site.program.lists.LatestFolderList.clear();
    for (int i = 0; i < folders; ++i) {
      const std::string name = fmt::format("latest{:02}", i);
      site.folder.Write(name + "/a.xml", test::FaultlogXml("A", "F", "20040101", fmt::format("a{}", i)));
      site.folder.Write(name + "/b.xml", test::FaultlogXml("A", "F", "20040101", fmt::format("b{}", i)));
      site.program.lists.LatestFolderList.push_back(site.folder.Path() / name / "");
    }
    site.Scan();
    std::vector<std::string> expected;
    for (int i = 0; i < folders; ++i) expected.push_back(fmt::format("a{}", i));
    EXPECT_EQ(TextsIn(site.ArchivedXml("A", "a.xml"), "TEXT"), expected) << folders;
    EXPECT_EQ(TextsIn(site.Document(), "TEXT").size(), 2U * static_cast<std::size_t>(folders));
    EXPECT_THAT(site.Log(), ElementsAre(fmt::format("[Search Latest]:Found {} OK files", 2 * folders)));
    EXPECT_THAT(site.ArchivedXml("A", "b.xml"), HasSubstr(fmt::format("No=\"{}\"", folders)));
  }
}

TEST(StagedArchive, RefusesANewFileWhenTheArchivedOneDoesNotLoad) {
  ScanSite site;
  site.folder.Write("home/Faultlog/Archive/A/a.xml", "<broken");
  const fs::path source = site.Latest("a.xml", test::FaultlogXml("A"));
  site.Latest("b.xml", test::FaultlogXml("A"));
  const ScanResult result = site.Scan();
  EXPECT_TRUE(fs::exists(source));
  EXPECT_EQ(site.ArchivedXml("A", "a.xml"), "<broken");
  EXPECT_THAT(site.Log(), ElementsAre(HasSubstr("[Error]:cannot merge into " +
                                                Utf8FromPath(site.Tree("Archive") / "A/a.xml: ")),
                                      "[Search Latest]:Found 1 OK files"));
  EXPECT_FALSE(result.succeeded);
}

TEST(StagedArchive, MergesTheOthersWhenOneArchivedFileDoesNotLoad) {
  ScanSite site;
  for (const char* name : {"a.xml", "b.xml", "c.xml"}) {
    site.folder.Write(std::string("home/Faultlog/Archive/A/") + name, test::FaultlogXml("A", "P"));
    site.Latest(name, test::FaultlogXml("A"));
  }
  site.folder.Write("home/Faultlog/Archive/A/b.xml", "<broken");
  site.Scan();
  EXPECT_THAT(TextsIn(site.ArchivedXml("A", "a.xml"), "MODEIND"), ElementsAre("P", "P"));
  EXPECT_EQ(site.ArchivedXml("A", "b.xml"), "<broken");
  EXPECT_THAT(TextsIn(site.ArchivedXml("A", "c.xml"), "MODEIND"), ElementsAre("P", "P"));
  EXPECT_EQ(test::Names(site.Tree("Latest")), std::set<std::string>{"b.xml"});
}

TEST(StagedArchive, RefusesToMergeAFileIntoItself) {
  ScanSite site;
  site.folder.Write("home/Faultlog/Archive/A/a.xml", test::FaultlogXml("A"));
  site.program.lists.LatestFolderList = {site.Tree("Archive") / "A" / ""};
  const std::string before = site.ArchivedXml("A", "a.xml");
  site.Scan();
  EXPECT_EQ(site.ArchivedXml("A", "a.xml"), before);
  EXPECT_THAT(site.Log(), testing::Contains(HasSubstr("it is the archived file itself")));

  ScanSite linked;
  linked.folder.Folder("home/Faultlog/Archive/A");
  const fs::path source = linked.Latest("a.xml", test::FaultlogXml("A"));
  fs::create_hard_link(source, linked.Tree("Archive") / "A" / "a.xml");
  const ScanResult result = linked.Scan();
  EXPECT_TRUE(fs::exists(source));
  EXPECT_FALSE(result.succeeded);
}

TEST(StagedArchive, MergesIntoAnArchivedFileUpToItsLimit) {
  for (const std::size_t above : {0U, 1U}) {
    ScanSite site;
    std::string content = test::FaultlogXml("A", "P");
    const std::string comment = "<!--" + std::string(1'000'000, 'x') + "-->";
    while (content.size() + 2 * comment.size() < MaxArchivedFileBytes) content += comment;
    content += "<!--";
    content.append(MaxArchivedFileBytes + above - content.size() - 3, 'x').append("-->");
    const fs::path archived = site.folder.Write("home/Faultlog/Archive/A/a.xml", content);
    const fs::path source = site.Latest("a.xml", test::FaultlogXml("A"));
    const ScanResult result = site.Scan();
    EXPECT_EQ(result.succeeded, above == 0);
    EXPECT_EQ(fs::exists(source), above == 1);
    EXPECT_EQ(fs::file_size(archived) == content.size(), above == 1);
    if (above == 1) {
      EXPECT_EQ(site.Log().at(0), "[Error]:cannot merge into " + Utf8FromPath(archived) +
                                      ": larger than 20971520 bytes; move it out of the Archive folder");
    }
  }
}

}  // namespace
}  // namespace fieldpost
