#include "archive/ModCreatures.h"

#include <gmock/gmock.h>

#include <cerrno>

#include "support/FailingCall.h"
#include "support/TestSite.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

struct CreatureSite : test::ReadySite {
  ModCreatures creatures{files, program.settings, program.log};
  std::vector<std::string> codes;
  PathList paths;

  fs::path Archive(std::string_view name) const { return Tree("Archive") / PathFromUtf8(name); }
  bool Codes() { return creatures.ScanArchiveFolders(ArchiveScan::ProductCodes, codes, paths); }
  bool Files() { return creatures.ScanArchiveFolders(ArchiveScan::Files, codes, paths); }
};

TEST(ScanArchiveFolders, ListsTheProductCodes) {
  CreatureSite site;
  EXPECT_TRUE(site.Codes());
  EXPECT_THAT(site.codes, IsEmpty());
  for (const char* name : {"b", "A", ".hidden", "ä"}) fs::create_directory(site.Archive(name));
  site.folder.Write("home/Faultlog/Archive/file.xml", "");
  fs::create_directory_symlink(site.home, site.Archive("link"));
  EXPECT_TRUE(site.Codes());
  EXPECT_THAT(site.codes, ElementsAre(".hidden", "A", "b", "ä"));
  EXPECT_THAT(site.paths, IsEmpty());
}

TEST(ScanArchiveFolders, KeepsTheProductCodesWhileTheirNumberIsTheSame) {
  CreatureSite site;
  fs::create_directory(site.Archive("a"));
  EXPECT_TRUE(site.Codes());
  fs::rename(site.Archive("a"), site.Archive("b"));
  EXPECT_TRUE(site.Codes());
  EXPECT_THAT(site.codes, ElementsAre("a"));
  fs::create_directory(site.Archive("c"));
  EXPECT_TRUE(site.Codes());
  EXPECT_THAT(site.codes, ElementsAre("b", "c"));
}

TEST(ScanArchiveFolders, ListsThePathsOfAllFiles) {
  CreatureSite site;
  for (const char* name : {"b/2.xml", "b/1.XML", "b/1.txt", "a/x.xml", "a/sub/deep.xml", "top.xml"}) {
    site.folder.Write("home/Faultlog/Archive/" + std::string(name), "");
  }
  site.paths = {"from before"};
  EXPECT_TRUE(site.Files());
  EXPECT_THAT(site.paths,
              ElementsAre(site.Archive("a/x.xml"), site.Archive("b/1.XML"), site.Archive("b/2.xml")));
  EXPECT_THAT(site.codes, IsEmpty());
}

TEST(ScanArchiveFolders, IsFalseAndSaysWhyWhenTheFolderCannotBeListed) {
  CreatureSite site;
  const test::FailingCall failing("openat", EIO);
  EXPECT_FALSE(site.Codes());
  EXPECT_THAT(site.Log(), ElementsAre(testing::AllOf(testing::StartsWith("[Error]:cannot list "),
                                                     testing::HasSubstr("Input/output error"))));
}

TEST(ScanArchiveFolders, IsFalseWithoutAnArchiveFolder) {
  CreatureSite site;
  site.codes = {"kept"};
  site.paths = {"kept"};
  for (const std::string& archive : {std::string(), Utf8FromPath(site.home / "none")}) {
    site.program.settings.ArchiveFolder = archive;
    EXPECT_FALSE(site.Codes()) << archive;
    EXPECT_FALSE(site.Files()) << archive;
  }
  EXPECT_THAT(site.codes, ElementsAre("kept"));
  EXPECT_THAT(site.paths, ElementsAre("kept"));
}

TEST(ScanArchiveFolders, DoesNothingInAnyOtherMode) {
  CreatureSite site;
  fs::create_directory(site.Archive("a"));
  EXPECT_TRUE(site.creatures.ScanArchiveFolders(3, site.codes, site.paths));
  EXPECT_THAT(site.codes, IsEmpty());
}

}  // namespace
}  // namespace fieldpost
