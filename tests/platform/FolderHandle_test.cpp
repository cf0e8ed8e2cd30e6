#include <gmock/gmock.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>

#include "platform/FileSystem.h"
#include "support/FailingCall.h"
#include "support/TempFolder.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;

struct FolderHandleTest : testing::Test {
  test::TempFolder folder;
  DiskFileSystem files;
  fs::path held = folder.Folder("held");
  std::unique_ptr<FolderHandle> handle = files.OpenFolder(held);
};

TEST_F(FolderHandleTest, DistinguishesFilesFoldersAndLinks) {
  folder.Write("held/b.xml", "x");
  folder.Write("held/A.XML", "");
  folder.Write("held/.c.txt", "");
  folder.Folder("held/sub.xml");
  fs::create_symlink(held / "b.xml", held / "link.xml");
  fs::create_directory_symlink(held, held / "folderlink");
  ASSERT_EQ(::mkfifo((held / "pipe.xml").c_str(), 0600), 0);
  EXPECT_THAT(handle->ListFiles(".xml"), ElementsAre("A.XML", "b.xml"));
  EXPECT_THAT(handle->ListFolders(), ElementsAre("sub.xml"));
  EXPECT_THAT(handle->ListAllButFolders(),
              ElementsAre(".c.txt", "A.XML", "b.xml", "folderlink", "link.xml", "pipe.xml"));
  EXPECT_EQ(handle->RegularFileStamp("b.xml"), files.Stamp(held / "b.xml"));
  for (const char* name : {"sub.xml", "link.xml", "pipe.xml", "none"}) {
    EXPECT_EQ(handle->RegularFileStamp(name), std::nullopt) << name;
    EXPECT_THROW((void)handle->OpenRegularFile(name), FileError) << name;
  }
  EXPECT_TRUE(handle->Exists("folderlink"));
  EXPECT_FALSE(handle->Exists("none"));
  EXPECT_FALSE(handle->IsEmpty());
  EXPECT_TRUE(handle->OpenFolder("sub.xml")->IsEmpty());
  EXPECT_THROW((void)handle->OpenFolder("folderlink"), FileError);
  EXPECT_THROW((void)files.OpenFolder(folder.Path() / "none"), FileError);
}

TEST_F(FolderHandleTest, StaysInItsFolderWhenThePathIsReplaced) {
  folder.Write("held/x", "held");
  folder.Write("other/x", "other");
  fs::rename(held, folder.Path() / "moved");
  fs::create_directory_symlink(folder.Path() / "other", held);
  std::array<char, 9> buffer{};
  ASSERT_EQ(handle->OpenRegularFile("x")->Read(buffer), 4U);
  EXPECT_TRUE(handle->Remove("x"));
  EXPECT_TRUE(fs::exists(folder / "other/x"));
  EXPECT_FALSE(fs::exists(folder / "moved/x"));
}

TEST_F(FolderHandleTest, RemovesFilesLinksAndEmptyFolders) {
  folder.Write("outside/x", "");
  folder.Write("held/file", "");
  folder.Folder("held/empty");
  folder.Write("held/full/x", "");
  fs::create_directory_symlink(folder / "outside", held / "link");
  EXPECT_TRUE(handle->Remove("file"));
  EXPECT_FALSE(handle->Remove("file"));
  EXPECT_THROW((void)handle->RemoveEmptyFolder("link"), FileError);
  EXPECT_TRUE(handle->Remove("link"));
  EXPECT_THROW((void)handle->Remove("empty"), FileError);
  EXPECT_TRUE(handle->RemoveEmptyFolder("empty"));
  EXPECT_FALSE(handle->RemoveEmptyFolder("empty"));
  EXPECT_THROW((void)handle->RemoveEmptyFolder("full"), FileError);
  EXPECT_TRUE(fs::exists(folder / "outside/x"));
}

TEST_F(FolderHandleTest, RefusesNamesThatAreNotPlain) {
  folder.Write("x", "");
  folder.Folder("held/sub");
  for (const std::string& name : {std::string(), std::string("."), std::string(".."), std::string("../x"),
                                  std::string("sub/x"), std::string("/x"), std::string("sub\0x", 5)}) {
    EXPECT_THROW((void)handle->RegularFileStamp(name), FileError) << name;
    EXPECT_THROW((void)handle->OpenRegularFile(name), FileError) << name;
    EXPECT_THROW((void)handle->OpenFolder(name), FileError) << name;
    EXPECT_THROW((void)handle->Remove(name), FileError) << name;
    EXPECT_THROW((void)handle->RemoveEmptyFolder(name), FileError) << name;
  }
  EXPECT_TRUE(fs::exists(folder / "x"));
}

TEST_F(FolderHandleTest, ErrorsHaveTheSystemsNumber) {
  try {
    (void)files.OpenFolder(folder.Path() / "none");
    FAIL();
  } catch (const FileError& error) {
    EXPECT_EQ(error.Number(), ENOENT);
  }
}

TEST_F(FolderHandleTest, ThrowsWhenListingOrExaminingFails) {
  folder.Write("held/file", "x");
  for (const char* call : {"openat", "fdopendir", "readdir"}) {
    const test::FailingCall failing(call, EIO);
    EXPECT_THROW((void)handle->ListFiles(""), FileError) << call;
  }
  const test::FailingCall failing("fstat", EIO);
  EXPECT_THROW((void)handle->OpenRegularFile("file"), FileError);
}

TEST_F(FolderHandleTest, RepeatsACallThatASignalInterrupts) {
  folder.Write("held/file", "x");
  const test::FailingCall failing("openat", EINTR, 0, 2);
  EXPECT_THAT(handle->ListFiles(""), ElementsAre("file"));
}

TEST_F(FolderHandleTest, FindsKindsWhereTheFileSystemListsOnlyNames) {
  folder.Write("held/file", "x");
  folder.Folder("held/sub");
  constexpr int all = 1000;
  const test::FailingCall failing("kind of readdir", 0, 0, all);
  EXPECT_THAT(handle->ListFiles(""), ElementsAre("file"));
  EXPECT_THAT(handle->ListFolders(), ElementsAre("sub"));
}

TEST_F(FolderHandleTest, IgnoresAnEntryThatIsRemovedWhileItIsListed) {
  folder.Write("held/file", "x");
  const test::FailingCall onlyNames("kind of readdir", 0, 0, 1000);
  const test::FailingCall gone("fstatat", ENOENT);
  EXPECT_TRUE(handle->ListFiles("").empty());
}

}  // namespace
}  // namespace fieldpost
