#include "faultlog/LatestFiles.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include "support/ScanSite.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;
using test::ScanSite;
using test::TextsIn;
using testing::ElementsAre;

TEST(CollectLatestFiles, ListsRegularFilesOnly) {
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

TEST(CollectLatestFiles, SkipsMissingFolders) {
  ScanSite site;
  site.program.lists.LatestFolderList.insert(site.program.lists.LatestFolderList.begin(), "/no/such/folder/");
  site.Latest("a.xml", test::FaultlogXml("A"));
  site.Scan();
  EXPECT_THAT(site.Log(), ElementsAre("[Search Latest]:Found 1 OK files"));
}

TEST(CollectLatestFiles, KeepsTheOrderOfFoldersForAFewFilesOfOneName) {
  ScanSite site;
  site.program.lists.LatestFolderList.clear();
  for (const char* name : {"1", "2"}) {
    site.folder.Write(std::string(name) + "/a.xml",
                      test::FaultlogXml("A", "F", "20040101", std::string("a") + name));
    site.folder.Write(std::string(name) + "/b.xml",
                      test::FaultlogXml("A", "F", "20040101", std::string("b") + name));
    site.program.lists.LatestFolderList.push_back(site.folder.Path() / name / "");
  }
  site.Scan();
  EXPECT_THAT(TextsIn(site.Document(), "TEXT"), ElementsAre("a1", "b1", "a2", "b2"));
}

TEST(CollectLatestFiles, PutsManyFilesOfOneNameTogether) {
  struct Row {
    int folders;
    std::vector<std::string> order;
  };
  for (const Row& row : {
           Row{7, {"a1", "b1", "a2", "a3", "a4", "a5", "a6", "a7"}},
           Row{8, {"a1", "a2", "a3", "a4", "a5", "a6", "a7", "a8", "b1"}},
       }) {
    ScanSite site;
    site.program.lists.LatestFolderList.clear();
    for (int i = 1; i <= row.folders; ++i) {
      const std::string name = fmt::format("in{}", i);
      site.program.lists.LatestFolderList.push_back(site.folder.Folder(name) / "");
      site.folder.Write(name + "/a.xml", test::FaultlogXml("A", "F", "20040101", fmt::format("a{}", i)));
    }
    site.folder.Write("in1/b.xml", test::FaultlogXml("A", "F", "20040101", "b1"));
    site.Scan();
    EXPECT_EQ(TextsIn(site.Document(), "TEXT"), row.order) << row.folders;
    EXPECT_THAT(site.Archived("A"), ElementsAre("a.xml", "b.xml"));
  }
}

}  // namespace
}  // namespace fieldpost
