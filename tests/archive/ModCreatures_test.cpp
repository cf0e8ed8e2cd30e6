#include "archive/ModCreatures.h"

#include <gmock/gmock.h>

#include <cerrno>

#include "environment/EditWinReg.h"
#include "environment/InstallPaths.h"
#include "platform/SqliteKeyStore.h"
#include "support/FailingCall.h"
#include "support/FakeClock.h"
#include "support/TempFolder.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

/// An Archive folder, empty at first, and a Log folder.
struct CreatureSite {
  CreatureSite() {
    folder.Folder("home/Faultlog/Log");
    settings.ArchiveFolder = Utf8FromPath(folder.Folder("home/Faultlog/Archive"));
  }

  test::TempFolder folder;
  DiskFileSystem files;
  test::FakeClock clock;
  std::filesystem::path home = folder.Folder("home");
  SqliteKeyStore keys{files, folder / "registry.sqlite"};
  EditWinReg registry{keys};
  InstallPaths installPaths{files, registry, home};
  ModWriteLogFile log{files, clock, installPaths};
  MailSettings settings;
  ModCreatures creatures{files, settings, log};
  std::vector<std::string> codes;
  PathList paths;

  fs::path Archive(std::string_view name) const {
    return PathFromUtf8(settings.ArchiveFolder) / PathFromUtf8(name);
  }
  bool Codes() { return creatures.ScanArchiveFolders(ArchiveScan::ProductCodes, codes, paths); }
  bool Files() { return creatures.ScanArchiveFolders(ArchiveScan::Files, codes, paths); }
};

TEST(ModCreatures, ListsTheProductCodes) {
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

TEST(ModCreatures, KeepsTheProductCodesWhileTheirNumberIsTheSame) {
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

TEST(ModCreatures, ListsThePathsOfAllFiles) {
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

TEST(ModCreatures, ReturnsFalseAndLogsWhenTheFolderCannotBeListed) {
  CreatureSite site;
  const test::FailingCall failing("openat", EIO);
  EXPECT_FALSE(site.Codes());
  EXPECT_THAT(test::ReadFile(site.log.TodaysFile()),
              testing::MatchesRegex("15.03.2004 14:37:09  \\[Error\\]:cannot list .*Input/output error\r\n"));
}

TEST(ModCreatures, LogsAFolderThatCannotBeReached) {
  CreatureSite site;
  const fs::path loop = site.home / "loop";
  fs::create_directory_symlink(loop, loop);
  site.settings.ArchiveFolder = Utf8FromPath(loop);
  EXPECT_FALSE(site.Codes());
  EXPECT_THAT(test::ReadFile(site.log.TodaysFile()), testing::HasSubstr("Too many levels of symbolic links"));
}

TEST(ModCreatures, ReturnsFalseWithoutAnArchiveFolder) {
  CreatureSite site;
  site.codes = {"kept"};
  site.paths = {"kept"};
  for (const std::string& archive : {std::string(), Utf8FromPath(site.home / "none")}) {
    site.settings.ArchiveFolder = archive;
    EXPECT_FALSE(site.Codes()) << archive;
    EXPECT_FALSE(site.Files()) << archive;
  }
  EXPECT_THAT(site.codes, ElementsAre("kept"));
  EXPECT_THAT(site.paths, ElementsAre("kept"));
}

TEST(ModCreatures, DoesNothingInAnyOtherMode) {
  CreatureSite site;
  fs::create_directory(site.Archive("a"));
  EXPECT_TRUE(site.creatures.ScanArchiveFolders(3, site.codes, site.paths));
  EXPECT_THAT(site.codes, IsEmpty());
}

}  // namespace
}  // namespace fieldpost
