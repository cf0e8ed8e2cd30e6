#include "archive/ArchiveDeletion.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <cerrno>
#include <functional>
#include <utility>

#include "support/FailingCall.h"
#include "support/RecordingUi.h"
#include "support/TempFolder.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

struct ArchiveDeletionTest : testing::Test {
  test::TempFolder folder;
  DiskFileSystem files;
  test::RecordingDisplay display;
  fs::path archive = folder.Folder("Archive");
  fs::path outside = folder.Folder("outside");
  ArchiveDeletion deletion{files, archive / ""};

  fs::path Write(std::string_view name, std::string_view mode = "P") const {
    return folder.Write("Archive/" + std::string(name),
                        "<F><MODEIND>" + std::string(mode) + "</MODEIND></F>");
  }
  fs::path Outside(std::string_view name) const {
    return folder.Write("outside/" + std::string(name), "<F><MODEIND>P</MODEIND></F>");
  }
  /// Returns every file, link and empty folder below the Archive folder.
  std::vector<std::string> Left() const {
    std::vector<std::string> left;
    for (const auto& entry : fs::recursive_directory_iterator(archive)) {
      if (entry.is_directory() && !entry.is_symlink() && !fs::is_empty(entry)) continue;
      left.push_back(Utf8FromPath(entry.path().lexically_relative(archive)));
    }
    std::sort(left.begin(), left.end());
    return left;
  }
};

TEST_F(ArchiveDeletionTest, DeleteAllDeletesEveryFileOfEveryProductCode) {
  for (const char* name : {"a/1.xml", "a/2.txt", "a/.hidden", "b/3.xml", "b/\n.xml"}) Write(name);
  Write("a/sub/kept.xml");
  Write("top.xml");
  folder.Folder("Archive/c");
  ASSERT_EQ(::mkfifo((archive / "a/pipe").c_str(), 0600), 0);
  const DeletionResult result = deletion.DeleteAll(display);
  EXPECT_EQ(result.deleted, 6U);
  EXPECT_EQ(result.failed, 0U);
  EXPECT_THAT(Left(), ElementsAre("a/sub/kept.xml", "b", "c", "top.xml"));
  EXPECT_THAT(display.ranges, ElementsAre(3U));
  EXPECT_THAT(display.positions, ElementsAre(0U, 1U, 2U));
}

TEST_F(ArchiveDeletionTest, DeleteAllDeletesLinksWithoutFollowingThem) {
  const fs::path target = Outside("target.xml");
  folder.Folder("Archive/a");
  fs::create_symlink(target, archive / "a/link.xml");
  fs::create_symlink("nowhere", archive / "a/dangling.xml");
  fs::create_directory_symlink(outside, archive / "a/folderlink");
  fs::create_directory_symlink(outside, archive / "product");
  EXPECT_EQ(deletion.DeleteAll(display).deleted, 3U);
  deletion.RemoveEmptyProductFolders(display);
  EXPECT_TRUE(fs::exists(target));
  EXPECT_THAT(Left(), ElementsAre("product"));
}

TEST_F(ArchiveDeletionTest, DeleteProcessDeletesOnlyFilesInProcess) {
  for (const char* mode : {"P", "p", " p "}) Write("a/go" + std::to_string(*mode) + ".xml", mode);
  Write("a/go.txt", "P");
  Write("a/archive.xml", "a");
  Write("a/empty.xml", "");
  Write("a/pp.xml", "pp");
  folder.Write("Archive/a/missing.xml", "<F/>");
  folder.Write("Archive/a/broken.xml", "<F><MODEIND>P</MODEIND>");
  folder.Write("Archive/a/two.xml", "<F><MODEIND>a</MODEIND><MODEIND>P</MODEIND></F>");
  Write("b/other.xml", "P");
  fs::create_symlink(Outside("target.xml"), archive / "a/link.xml");
  folder.Folder("Archive/a/folder.xml");
  EXPECT_EQ(deletion.DeleteProcess("a", display).deleted, 4U);
  EXPECT_THAT(Left(), ElementsAre("a/archive.xml", "a/broken.xml", "a/empty.xml", "a/folder.xml",
                                  "a/link.xml", "a/missing.xml", "a/pp.xml", "a/two.xml", "b/other.xml"));
  EXPECT_THAT(display.ranges, ElementsAre(10U)) << "plain files alone";
}

TEST_F(ArchiveDeletionTest, DeleteProcessAcceptsOnlyProductCodes) {
  const fs::path target = Outside("target.xml");
  fs::create_directory_symlink(outside, archive / "link");
  for (const char* name : {"none", "", ".", "..", "../outside", "link"}) {
    EXPECT_EQ(deletion.DeleteProcess(name, display).deleted, 0U) << name;
    EXPECT_TRUE(fs::exists(target)) << name;
  }
}

TEST_F(ArchiveDeletionTest, DeleteSelectedDeletesTheGivenFiles) {
  const fs::path one = Write("a/1.xml");
  const fs::path two = Write("b/2.xml", "a");
  Write("a/kept.xml");
  const fs::path gone = archive / "a" / "gone.xml";
  const DeletionResult result = deletion.DeleteSelected({one, gone, two}, display);
  EXPECT_EQ(result.deleted, 2U);
  EXPECT_EQ(result.failed, 0U);
  EXPECT_THAT(Left(), ElementsAre("a/kept.xml", "b"));
  EXPECT_THAT(display.ranges, ElementsAre(3U));
  EXPECT_THAT(display.positions, ElementsAre(0U, 1U, 2U));
}

TEST_F(ArchiveDeletionTest, DeleteSelectedKeepsFilesOutsideTheArchive) {
  const fs::path target = Outside("target.xml");
  folder.Folder("Archive/a");
  folder.Folder("Archive2");
  const fs::path namesake = folder.Write("Archive2/x.xml", "");
  fs::create_directory_symlink(outside, archive / "link");
  for (const fs::path& path : {target, archive / "a" / ".." / ".." / "outside" / "target.xml",
                               archive / ".." / "outside" / "target.xml", archive / "link" / "target.xml",
                               archive / "." / "link" / "target.xml", namesake, archive, archive / "",
                               archive / "a", archive / "a" / "", outside}) {
    const DeletionResult result = deletion.DeleteSelected({path}, display);
    EXPECT_EQ(result.deleted, 0U) << path;
    EXPECT_EQ(result.failed, 1U) << path;
    EXPECT_THAT(result.firstFailure, HasSubstr("cannot ")) << path;
  }
  EXPECT_TRUE(fs::exists(target));
  EXPECT_TRUE(fs::exists(namesake));
  EXPECT_TRUE(fs::is_directory(archive / "a"));
}

TEST_F(ArchiveDeletionTest, AcceptsALinkAsTheArchiveFolder) {
  for (const char* name : {"a/1.xml", "a/2.xml", "b/3.xml"}) Write(name);
  const fs::path link = folder.Path() / "link";
  fs::create_directory_symlink(archive, link);
  ArchiveDeletion linked(files, link / "");
  EXPECT_EQ(linked.DeleteSelected({link / "a" / "1.xml"}, display).deleted, 1U);
  EXPECT_EQ(linked.DeleteProcess("a", display).deleted, 1U);
  EXPECT_EQ(linked.DeleteAll(display).deleted, 1U);
  linked.RemoveEmptyProductFolders(display);
  EXPECT_THAT(Left(), IsEmpty());
  EXPECT_TRUE(fs::is_symlink(link));
}

/// Replaces the folder of the product code by a link between two files.
struct SwappingDisplay final : StatusDisplay {
  explicit SwappingDisplay(std::function<void()> swap) : swap_(std::move(swap)) {}
  void ProcessEvents() override {
    if (swap_) std::exchange(swap_, {})();
  }

 private:
  std::function<void()> swap_;
};

TEST_F(ArchiveDeletionTest, DoesNotFollowALinkThatAppearsMeanwhile) {
  using Rule = std::function<void(StatusDisplay&)>;
  const PathList selected{archive / "a" / "1.xml", archive / "a" / "2.xml"};
  for (const Rule& rule : {Rule([&](StatusDisplay& shown) { deletion.DeleteAll(shown); }),
                           Rule([&](StatusDisplay& shown) { deletion.DeleteProcess("a", shown); }),
                           Rule([&](StatusDisplay& shown) { deletion.DeleteSelected(selected, shown); })}) {
    for (const char* name : {"a/1.xml", "a/2.xml"}) Write(name);
    for (const char* name : {"1.xml", "2.xml"}) Outside(name);
    SwappingDisplay swapping([&] {
      fs::rename(archive / "a", folder.Path() / "moved");
      fs::create_directory_symlink(outside, archive / "a");
    });
    rule(swapping);
    deletion.RemoveEmptyProductFolders(swapping);
    EXPECT_TRUE(fs::exists(outside / "1.xml"));
    EXPECT_TRUE(fs::exists(outside / "2.xml"));
    EXPECT_TRUE(fs::is_symlink(archive / "a"));
    fs::remove(archive / "a");
    fs::remove_all(folder.Path() / "moved");
  }
}

TEST_F(ArchiveDeletionTest, KeepsTheOtherNamesOfAFile) {
  const fs::path target = Outside("target.xml");
  folder.Folder("Archive/a");
  fs::create_hard_link(target, archive / "a" / "x.xml");
  EXPECT_EQ(deletion.DeleteAll(display).deleted, 1U);
  EXPECT_EQ(fs::hard_link_count(target), 1U);
}

TEST_F(ArchiveDeletionTest, DeleteSelectedDeletesTheLinkNotItsTarget) {
  const fs::path target = Outside("target.xml");
  folder.Folder("Archive/a");
  fs::create_symlink(target, archive / "a/link.xml");
  EXPECT_EQ(deletion.DeleteSelected({archive / "a" / "link.xml"}, display).deleted, 1U);
  EXPECT_THAT(Left(), ElementsAre("a"));
  EXPECT_TRUE(fs::exists(target));
}

TEST_F(ArchiveDeletionTest, ContinuesAfterAFileThatCannotBeDeleted) {
  folder.Folder("Archive/a/x.xml");
  const fs::path one = Write("a/y.xml");
  const DeletionResult result = deletion.DeleteSelected({archive / "a" / "x.xml", one}, display);
  EXPECT_EQ(result.deleted, 1U);
  EXPECT_EQ(result.failed, 1U);
  EXPECT_THAT(result.firstFailure, HasSubstr("x.xml: Is a directory"));
}

TEST_F(ArchiveDeletionTest, StopsWhenCancelled) {
  for (const char* name : {"a/1.xml", "a/2.xml", "a/3.xml", "b/4.xml"}) Write(name);
  display.stopAfterTurns = 2;
  EXPECT_EQ(deletion.DeleteAll(display).deleted, 2U);
  EXPECT_THAT(Left(), ElementsAre("a/3.xml", "b/4.xml"));
}

TEST_F(ArchiveDeletionTest, StopsEachRuleWhenCancelled) {
  const PathList selected{Write("a/1.xml"), Write("a/2.xml")};
  display.stopAfterTurns = 0;
  EXPECT_EQ(deletion.DeleteProcess("a", display).deleted, 0U);
  display.stopAfterTurns = display.eventTurns + 1;
  EXPECT_EQ(deletion.DeleteProcess("a", display).deleted, 1U);
  EXPECT_THAT(Left(), ElementsAre("a/2.xml"));
  Write("a/1.xml");
  display.stopAfterTurns = display.eventTurns + 1;
  EXPECT_EQ(deletion.DeleteSelected(selected, display).deleted, 1U);
  EXPECT_THAT(Left(), ElementsAre("a/2.xml"));
}

TEST_F(ArchiveDeletionTest, ReportsTheFirstFailureAndCountsAll) {
  const PathList folders{folder.Folder("Archive/a/1.xml"), folder.Folder("Archive/a/2.xml"), "/"};
  const DeletionResult result = deletion.DeleteSelected(folders, display);
  EXPECT_EQ(result.failed, 3U);
  EXPECT_THAT(result.firstFailure, HasSubstr("1.xml: Is a directory"));
}

TEST_F(ArchiveDeletionTest, ContinuesAfterAFolderThatCannotBeOpened) {
  Write("a/1.xml");
  Write("b/2.xml");
  {
    const test::FailingCall listing("openat", EACCES);
    const ProductCodeList codes = deletion.ProductCodes();
    EXPECT_EQ(codes.state, ProductCodeList::State::Unreadable);
    EXPECT_THAT(codes.problem, HasSubstr("Permission denied"));
    EXPECT_THAT(codes.names, IsEmpty());
  }
  constexpr int afterTheProductCodes = 1;
  {
    const test::FailingCall failing("openat", EACCES, afterTheProductCodes);
    const DeletionResult result = deletion.DeleteProcess("a", display);
    EXPECT_EQ(result.failed, 1U);
    EXPECT_THAT(result.firstFailure, HasSubstr("a: Permission denied"));
  }
  {
    const test::FailingCall failing("openat", EACCES, afterTheProductCodes);
    const DeletionResult result = deletion.DeleteAll(display);
    EXPECT_EQ(result.deleted, 1U);
    EXPECT_EQ(result.failed, 1U);
  }
  EXPECT_THAT(Left(), ElementsAre("a/1.xml", "b"));
}

TEST_F(ArchiveDeletionTest, KeepsUnreadableFilesAndReportsThem) {
  Write("a/1.xml");
  constexpr int afterTheLists = 3;
  const test::FailingCall failing("openat", EACCES, afterTheLists);
  const DeletionResult result = deletion.DeleteProcess("a", display);
  EXPECT_EQ(result.deleted, 0U);
  EXPECT_EQ(result.failed, 1U);
  EXPECT_THAT(result.firstFailure, HasSubstr("1.xml: Permission denied"));
  EXPECT_EQ(failing.Failures(), 1);
  EXPECT_THAT(Left(), ElementsAre("a/1.xml"));
}

TEST_F(ArchiveDeletionTest, AnEmptyArchiveFolderIsListed) {
  EXPECT_EQ(deletion.ProductCodes().state, ProductCodeList::State::Listed);
  EXPECT_EQ(deletion.ProductCodes().problem, "");
  EXPECT_THAT(deletion.ProductCodes().names, IsEmpty());
}

TEST_F(ArchiveDeletionTest, ReportsAFolderThatCannotBeListed) {
  Write("a/1.xml");
  using Rule = std::function<DeletionResult()>;
  for (const Rule& rule : {Rule([&] { return deletion.DeleteAll(display); }),
                           Rule([&] { return deletion.DeleteProcess("a", display); })}) {
    const test::FailingCall failing("openat", EIO);
    const DeletionResult result = rule();
    EXPECT_EQ(result.deleted, 0U);
    EXPECT_EQ(result.failed, 1U);
    EXPECT_THAT(result.firstFailure, HasSubstr("cannot list "));
    EXPECT_THAT(result.firstFailure, HasSubstr("Input/output error"));
  }
  EXPECT_THAT(Left(), ElementsAre("a/1.xml"));
}

TEST_F(ArchiveDeletionTest, ReportsASelectedFileThatCannotBeReached) {
  const DeletionResult result = deletion.DeleteSelected({archive / std::string(300, 'x') / "1.xml"}, display);
  EXPECT_EQ(result.failed, 1U);
  EXPECT_THAT(result.firstFailure, HasSubstr("File name too long"));
}

TEST_F(ArchiveDeletionTest, IgnoresAnEmptyFolderThatCannotBeRemoved) {
  folder.Folder("Archive/a");
  folder.Folder("Archive/b");
  const test::FailingCall failing("unlinkat", EACCES);
  deletion.RemoveEmptyProductFolders(display);
  EXPECT_THAT(Left(), ElementsAre("a"));
}

TEST_F(ArchiveDeletionTest, DeletesNothingWithoutAnArchiveFolder) {
  for (const fs::path& none : {fs::path(), folder.Path() / "none"}) {
    ArchiveDeletion other(files, none);
    EXPECT_EQ(other.ProductCodes().state, ProductCodeList::State::Missing);
    EXPECT_THAT(other.ProductCodes().problem, HasSubstr("cannot list "));
    EXPECT_EQ(other.DeleteAll(display).deleted, 0U);
    EXPECT_EQ(other.DeleteProcess("a", display).deleted, 0U);
    EXPECT_EQ(other.DeleteSelected({Outside("x.xml")}, display).deleted, 0U);
    other.RemoveEmptyProductFolders(display);
  }
  EXPECT_TRUE(fs::exists(outside / "x.xml"));
}

TEST_F(ArchiveDeletionTest, RemoveEmptyProductFoldersKeepsFoldersThatAreNotEmpty) {
  for (const char* name : {"Archive/empty", "Archive/.empty", "Archive/withFolder/sub"}) folder.Folder(name);
  Write("file/x.txt");
  Write("hidden/.x");
  fs::create_symlink("nowhere", folder / "Archive/withLink/link");
  fs::create_directory_symlink(outside, archive / "link");
  deletion.RemoveEmptyProductFolders(display);
  EXPECT_THAT(Left(), ElementsAre("file/x.txt", "hidden/.x", "link", "withFolder/sub", "withLink/link"));
  EXPECT_TRUE(fs::is_directory(outside));
}

}  // namespace
}  // namespace fieldpost
