#include "environment/LatestFolderStore.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "common/Limits.h"
#include "support/TempFolder.h"

namespace fieldpost::test {
namespace {

namespace fs = std::filesystem;

class LatestFolderStoreTest : public testing::Test {
 protected:
  PathList Load() const {
    PathList folders{"left over"};
    LatestFolderStore(files_, folder_.Path()).LoadLatestFolders(folders);
    return folders;
  }

  TempFolder folder_;
  mutable DiskFileSystem files_;
  LatestFolderStore store_{files_, folder_.Path()};
  fs::path file_ = folder_.Path() / "LatestList.dat";
};

TEST_F(LatestFolderStoreTest, LoadsOneFolderFromEachLine) {
  struct Case {
    const char* name;
    std::string content;
    PathList folders;
  };
  const std::vector<Case> cases{
      {"nothing", "", {}},
      {"in order, repeated ones too", "/b/\n/a/\n/b/\n", {"/b/", "/a/", "/b/"}},
      {"CR LF", "/a/\r\n/b/\r\n", {"/a/", "/b/"}},
      {"no end at the last line", "/a/\n/b/", {"/a/", "/b/"}},
      {"a byte order mark", "\xEF\xBB\xBF/a/\n", {"/a/"}},
      {"empty lines", "\n\r\n/a/\n\n", {"/a/"}},
      {"without the last separator", "/a\n/b c\n", {"/a/", "/b c/"}},
      {"blanks belong to the name", " /a /\n", {" /a /"}},
      {"not UTF-8", "/na\xEFve/\n", {fs::path("/na\xEFve/")}},
  };
  for (const Case& given : cases) {
    folder_.Write("LatestList.dat", given.content);
    EXPECT_EQ(Load(), given.folders) << given.name;
  }
}

TEST_F(LatestFolderStoreTest, LoadsNoFolderWhenTheFileIsMissing) {
  EXPECT_THAT(Load(), testing::IsEmpty());
  EXPECT_FALSE(store_.IsStored());
  EXPECT_THAT(Names(folder_.Path()), testing::IsEmpty());
}

TEST_F(LatestFolderStoreTest, LoadsWhatWasSaved) {
  const PathList folders{"/srv/b/", "/srv/a/", "/srv/ blanks /", "/srv/Größe/", fs::path("/srv/\xFF\xFE/")};
  ASSERT_EQ(store_.SaveLatestFolders(folders), "");
  EXPECT_EQ(Load(), folders);
  EXPECT_EQ(ReadFile(file_), "/srv/b/\n/srv/a/\n/srv/ blanks /\n/srv/Größe/\n/srv/\xFF\xFE/\n");
  ASSERT_EQ(store_.SaveLatestFolders({}), "");
  EXPECT_THAT(Load(), testing::IsEmpty());
  EXPECT_TRUE(store_.IsStored()) << "an empty list is a list";
}

TEST_F(LatestFolderStoreTest, SavesNamesUnchanged) {
  ASSERT_EQ(store_.SaveLatestFolders({"/srv/a", ""}), "");
  EXPECT_EQ(ReadFile(file_), "/srv/a\n");
  EXPECT_THAT(Load(), testing::ElementsAre("/srv/a/"));
}

TEST_F(LatestFolderStoreTest, RefusesNamesThatAreNotOneLine) {
  ASSERT_EQ(store_.SaveLatestFolders({"/old/"}), "");
  for (const std::string name : {"/a\nb/", "/a\rb/", "/a\r"}) {
    EXPECT_NE(store_.SaveLatestFolders({"/new/", name}), "");
    EXPECT_THAT(Load(), testing::ElementsAre("/old/"));
  }
  EXPECT_NE(store_.SaveLatestFolders({fs::path(std::string("/a\0b", 4))}), "");
  EXPECT_THAT(store_.SaveLatestFolders({"/a\nb/"}), testing::EndsWith("a folder name contains a line break"));
  EXPECT_EQ(store_.SaveLatestFolders({"/b/"}), "");
}

TEST_F(LatestFolderStoreTest, DoesNotReplaceAnUnreadableFile) {
  folder_.Folder("LatestList.dat");
  EXPECT_THAT(Load(), testing::IsEmpty());
  EXPECT_THAT(store_.SaveLatestFolders({"/a/"}), testing::HasSubstr(file_.native()));
  EXPECT_TRUE(fs::is_directory(file_));
}

TEST_F(LatestFolderStoreTest, ReadsAListUpToItsLimits) {
  constexpr std::size_t largest = 4U << 20U;
  std::string most;
  for (std::size_t i = 0; i < MaxLatestFolders; ++i) most += "/a/\n";
  const struct {
    const char* name;
    std::string content;
    std::size_t folders;
    std::string problem;
  } cases[] = {
      {"the largest number of folders", most, MaxLatestFolders, ""},
      {"one folder more", most + "/a/\n", 0, "it lists more than 10000 folders"},
      {"the largest file", "/" + std::string(largest - 2, 'x') + "/", 1, ""},
      {"one byte more", "/" + std::string(largest - 1, 'x') + "/", 0, "larger than 4194304 bytes"},
      {"a zero byte", std::string("/a\0b/\n", 7), 0, "it contains a zero byte, so it is not UTF-8 text"},
  };
  for (const auto& [name, content, folders, problem] : cases) {
    folder_.Write("LatestList.dat", content);
    EXPECT_EQ(Load().size(), folders) << name;
    EXPECT_THAT(store_.Problem(), testing::EndsWith(problem)) << name;
    EXPECT_EQ(store_.Problem().empty(), problem.empty()) << name;
    EXPECT_EQ(ReadFile(file_), content) << name;
  }
}

TEST_F(LatestFolderStoreTest, ReportsAMissingFolder) {
  LatestFolderStore store(files_, folder_.Path() / "no");
  EXPECT_NE(store.SaveLatestFolders({"/a/"}), "");
}

}  // namespace
}  // namespace fieldpost::test
