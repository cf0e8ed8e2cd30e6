#include <gmock/gmock.h>

#include <array>
#include <cerrno>

#include "platform/FileSystem.h"
#include "support/DyingFileSystem.h"
#include "support/FailingCall.h"
#include "support/TempFolder.h"
#include "support/TracedFileSystem.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;
using test::Change;
using testing::ElementsAre;
using testing::HasSubstr;

class SaveAtomicallyTest : public testing::Test {
 protected:
  /// Returns the operations in their order, each with the name of its file or folder.
  [[nodiscard]] std::vector<std::string> Steps() const {
    std::vector<std::string> steps;
    for (const Change& change : trace_) {
      const fs::path& path = change.what == "flush" ? change.flushed.at(0) : change.path;
      steps.push_back(change.what + " " + Utf8FromPath(path.filename()));
    }
    return steps;
  }

  test::TempFolder folder_;
  test::DyingFileSystem disk_;
  test::Trace trace_;
  test::TracedFileSystem files_{disk_, trace_};
};

TEST_F(SaveAtomicallyTest, FlushesBeforeAndAfterTheRename) {
  const fs::path file = folder_.Write("a/file", "old");
  files_.SaveAtomically(file, "new");
  EXPECT_THAT(Steps(), ElementsAre("write .file.fieldpost-new", "permissions .file.fieldpost-new", "flush a",
                                   "rename .file.fieldpost-new", "flush a"));
  EXPECT_EQ(test::ReadFile(file), "new");
}

TEST_F(SaveAtomicallyTest, ReplaceAllFlushesManyFilesTogether) {
  const std::array files{folder_.Write("a/one", "old"), folder_.Write("a/two", "old")};
  for (const fs::path& file : files) files_.WriteReplacement(file, "new");
  files_.ReplaceAll(files);
  EXPECT_THAT(Steps(), ElementsAre("write .one.fieldpost-new", "permissions .one.fieldpost-new",
                                   "write .two.fieldpost-new", "permissions .two.fieldpost-new", "flush a",
                                   "rename .one.fieldpost-new", "rename .two.fieldpost-new", "flush a"));
}

TEST_F(SaveAtomicallyTest, ReplaceAllFlushesEachFolder) {
  const std::array files{folder_.Write("a/one", "old"), folder_.Write("b/two", "old")};
  for (const fs::path& file : files) files_.WriteReplacement(file, "new");
  files_.ReplaceAll(files);
  for (const Change& change : trace_) {
    if (change.what == "flush") {
      EXPECT_THAT(change.flushed, ElementsAre(folder_.Path() / "a", folder_.Path() / "b"));
    }
  }
}

TEST_F(SaveAtomicallyTest, ReplacesTheTemporaryFileOfAnInterruptedRun) {
  const fs::path file = folder_.Write("a/file", "old");
  folder_.Write("a/.file.fieldpost-new", "left over");
  files_.SaveAtomically(file, "new");
  EXPECT_EQ(test::ReadFile(file), "new");
  EXPECT_THAT(test::Names(folder_.Path() / "a"), ElementsAre("file"));
}

TEST_F(SaveAtomicallyTest, KeepsThePermissionsUnlessForTheOwnerOnly) {
  struct Row {
    FileAccess access;
    fs::perms expected;
  };
  for (const Row& row :
       {Row{FileAccess::ByUmask, fs::perms(0640)}, Row{FileAccess::OwnerOnly, fs::perms(0600)}}) {
    const fs::path file = folder_.Write("a/file", "old");
    fs::permissions(file, fs::perms(0640));
    files_.SaveAtomically(file, "new", row.access);
    EXPECT_EQ(fs::status(file).permissions(), row.expected);
  }
}

TEST_F(SaveAtomicallyTest, ThrowsAndLeavesNoTemporaryFilesWhenACallFails) {
  for (const std::string failing : {"write", "flush", "rename", "permissions"}) {
    const std::array files{folder_.Write("a/one", "old"), folder_.Write("a/two", "old")};
    files_.before = [&](const Change& change) {
      if (change.what == failing && change.path.filename() != ".one.fieldpost-new") {
        throw FileError("cannot do", change.path, "no space left");
      }
    };
    const auto replace = [&] {
      for (const fs::path& file : files) files_.WriteReplacement(file, "new");
      files_.ReplaceAll(files);
    };
    EXPECT_THROW(replace(), FileError) << failing;
    files_.before = [](const Change&) {};
    if (failing == "write" || failing == "permissions") files_.ReplaceAll({files.data(), 1});
    EXPECT_THAT(test::Names(folder_.Path() / "a"), ElementsAre("one", "two")) << failing;
    EXPECT_EQ(test::ReadFile(files[1]), "old") << failing;
  }
}

struct SaveAtomicallyOnDiskTest : testing::Test {
  test::TempFolder folder;
  DiskFileSystem files;
};

TEST_F(SaveAtomicallyOnDiskTest, ReplacesTheContentAndKeepsThePermissions) {
  const fs::path file = folder.Write("file", "old");
  fs::permissions(file, static_cast<fs::perms>(0640));
  folder.Write(".file.fieldpost-new", "left by an interrupted run");
  files.SaveAtomically(file, "new");
  EXPECT_EQ(test::ReadFile(file), "new");
  EXPECT_EQ(fs::status(file).permissions(), static_cast<fs::perms>(0640));
  EXPECT_EQ(test::Names(folder.Path()), std::set<std::string>{"file"});
}

TEST_F(SaveAtomicallyOnDiskTest, KeepsTheOldFileWhenItFails) {
  const fs::path file = folder.Folder("file/in the way");
  EXPECT_THROW(files.SaveAtomically(folder.Path() / "file", "new"), FileError);
  EXPECT_EQ(test::Names(folder.Path()), std::set<std::string>{"file"});
  EXPECT_THROW(files.SaveAtomically(folder.Path() / "none" / "file", "new"), FileError);
}

TEST_F(SaveAtomicallyOnDiskTest, ReplaceAllNamesTheFileThatCouldNotBeReplaced) {
  const fs::path first = folder.Write("first", "old");
  const fs::path blocked = folder.Folder("blocked/in the way").parent_path();
  const fs::path last = folder.Write("last", "old");
  const std::vector<fs::path> paths{first, blocked, last};
  for (const fs::path& path : paths) files.WriteReplacement(path, "new");
  EXPECT_EQ(test::ReadFile(first), "old") << "nothing is replaced yet";
  try {
    files.ReplaceAll(paths);
    ADD_FAILURE() << "a folder was replaced by a file";
  } catch (const FileError& error) {
    EXPECT_THAT(error.what(), HasSubstr("blocked"));
  }
  EXPECT_EQ(test::ReadFile(first), "new");
  EXPECT_EQ(test::ReadFile(last), "old");
  EXPECT_EQ(test::Names(folder.Path()), (std::set<std::string>{"blocked", "first", "last"}));
}

TEST_F(SaveAtomicallyOnDiskTest, KeepsTheOldFileWhicheverCallFails) {
  const fs::path file = folder.Write("file", "old");
  for (const char* call : {"open", "write", "close", "stat", "chmod", "syncfs", "rename"}) {
    const test::FailingCall failing(call, EIO);
    EXPECT_THROW(files.SaveAtomically(file, "new"), FileError) << call;
    EXPECT_EQ(test::ReadFile(file), "old") << call;
    EXPECT_EQ(test::Names(folder.Path()), std::set<std::string>{"file"}) << call;
  }
  const test::FailingCall failing("syncfs", EIO, 1);
  EXPECT_THROW(files.SaveAtomically(file, "new"), FileError) << "the rename may not be durable";
  EXPECT_EQ(test::ReadFile(file), "new");
}

TEST_F(SaveAtomicallyOnDiskTest, ThrowsTheFirstFailureWhenTheTemporaryFileCannotBeRemoved) {
  const fs::path file = folder.Write("file", "old");
  const test::FailingCall rename("rename", EIO);
  const test::FailingCall unlink("unlink", EACCES, 1);
  EXPECT_THAT([&] { files.SaveAtomically(file, "new"); },
              testing::ThrowsMessage<FileError>(HasSubstr("cannot replace " + Utf8FromPath(file))));
  EXPECT_EQ(unlink.Failures(), 1);
  EXPECT_EQ(test::ReadFile(file), "old");
}

TEST(TemporaryNameForTest, ReturnsNamesThatAreNoDocuments) {
  EXPECT_EQ(TemporaryNameFor("/a/x.xml"), "/a/.x.xml.fieldpost-new");
  EXPECT_EQ(TemporaryNameFor("/a/" + std::string(255, 'x')).filename().native().size(), 255U);
  EXPECT_TRUE(IsTemporaryName(".x.xml.fieldpost-new"));
  EXPECT_TRUE(IsTemporaryName(".x.zip.fieldpost-new.aB3dE4"));
  EXPECT_FALSE(IsTemporaryName("x.xml"));
  EXPECT_FALSE(IsTemporaryName("x.fieldpost-new"));
  EXPECT_FALSE(IsTemporaryName(".x"));
}

}  // namespace
}  // namespace fieldpost
