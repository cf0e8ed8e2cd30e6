#include "platform/FileSystem.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>

#include "support/FailingCall.h"
#include "support/TempFolder.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;

struct FileSystemTest : testing::Test {
  test::TempFolder folder;
  DiskFileSystem files;

  std::string FailureOf(const std::function<void()>& action) {
    try {
      action();
    } catch (const FileError& error) {
      return error.what();
    }
    return "no failure";
  }
  static fs::perms Permissions(const fs::path& path) { return fs::status(path).permissions(); }
  static unsigned Mode(const fs::path& path) { return static_cast<unsigned>(Permissions(path)); }
};

TEST_F(FileSystemTest, DistinguishesRegularFilesFoldersLinksAndPipes) {
  const fs::path file = folder.Write("file", "x");
  const fs::path sub = folder.Folder("sub");
  fs::create_symlink(file, folder / "linkToFile");
  fs::create_directory_symlink(sub, folder / "linkToFolder");
  fs::create_symlink("nowhere", folder / "dangling");
  ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
  struct Row {
    const char* name;
    bool isFile;
    bool isFolder;
    bool exists;
  };
  for (const Row& row :
       {Row{"file", true, false, true}, Row{"sub", false, true, true}, Row{"linkToFile", false, false, true},
        Row{"linkToFolder", false, true, true}, Row{"dangling", false, false, true},
        Row{"pipe", false, false, true}, Row{"none", false, false, false}}) {
    const fs::path path = folder.Path() / row.name;
    EXPECT_EQ(files.IsFile(path), row.isFile) << row.name;
    EXPECT_EQ(files.RegularFileStamp(path).has_value(), row.isFile) << row.name;
    EXPECT_EQ(files.IsFolder(path), row.isFolder) << row.name;
    EXPECT_EQ(files.Exists(path), row.exists) << row.name;
  }
  EXPECT_THAT(files.ListFiles(folder.Path(), ""), ElementsAre("file"));
}

TEST_F(FileSystemTest, ListsNamesSortedByBytesIgnoringTheCaseOfTheEnding) {
  for (const char* name : {"b.xml", "B.XML", "a.Xml", ".xml", "ä.xml", "a.xmlx", "xml"})
    folder.Write(name, "");
  EXPECT_THAT(files.ListFiles(folder.Path(), ".xml"),
              ElementsAre(".xml", "B.XML", "a.Xml", "b.xml", "ä.xml"));
  EXPECT_THAT(FailureOf([&] { (void)files.ListFiles(folder.Path() / "none", ""); }),
              AllOf(HasSubstr("cannot list"), HasSubstr("none: No such file or directory")));
}

TEST_F(FileSystemTest, ReadsARegularFileUpToTheLimit) {
  const std::string bytes = std::string("a\0b\r\n", 5) + std::string(100000, 'x');
  const fs::path file = folder.Write("file", bytes);
  EXPECT_EQ(files.ReadWhole(file, bytes.size()), bytes);
  EXPECT_THROW((void)files.ReadWhole(file, bytes.size() - 1), FileTooLarge);
  EXPECT_EQ(files.ReadWhole(folder.Write("empty", ""), 0), "");
  fs::create_symlink(file, folder / "link");
  EXPECT_THROW((void)files.ReadWhole(folder / "link", 1000000), FileError);
  EXPECT_THROW((void)files.ReadWhole(folder.Folder("sub"), 1000000), FileError);
  ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
  EXPECT_THAT(FailureOf([&] { (void)files.ReadWhole(folder / "pipe", 10); }),
              HasSubstr("not a regular file"));
}

TEST_F(FileSystemTest, ReadsAFinishedFileOnlyWhenNobodyHasItOpenForWriting) {
  const fs::path file = folder.Write("file", "x");
  ASSERT_TRUE(files.ReadFinished(file, 10));
  EXPECT_EQ(files.ReadFinished(file, 10)->bytes, "x");
  EXPECT_EQ(files.ReadFinished(file, 10)->stamp, files.Stamp(file));
  const std::ifstream reader(file);
  EXPECT_TRUE(files.ReadFinished(file, 10)) << "another reader is not a writer";
  {
    const std::ofstream writer(file, std::ios::app);
    EXPECT_FALSE(files.ReadFinished(file, 10));
  }
  EXPECT_TRUE(files.ReadFinished(file, 10));
  EXPECT_THROW((void)files.ReadFinished(folder / "none", 10), FileError);
}

TEST_F(FileSystemTest, ReadsSequentially) {
  const std::unique_ptr<FileReader> reader = files.OpenForReading(folder.Write("file", "abcde"));
  std::array<char, 3> buffer{};
  EXPECT_EQ(reader->Read(buffer), 3U);
  EXPECT_EQ(reader->Read(buffer), 2U);
  EXPECT_EQ(buffer[0], 'd');
  EXPECT_EQ(reader->Read(buffer), 0U);
}

TEST_F(FileSystemTest, WriteNewNeverOverwritesAFile) {
  files.WriteNew(folder / "new", "x", FileAccess::ByUmask);
  EXPECT_THAT(FailureOf([&] { files.WriteNew(folder / "new", "y", FileAccess::ByUmask); }),
              AllOf(HasSubstr("cannot create"), HasSubstr("File exists")));
  EXPECT_EQ(test::ReadFile(folder / "new"), "x");
  fs::create_symlink(folder / "elsewhere", folder / "link");
  EXPECT_THROW(files.WriteNew(folder / "link", "y", FileAccess::ByUmask), FileError);
  EXPECT_FALSE(fs::exists(folder / "elsewhere"));
}

TEST_F(FileSystemTest, CreatesFilesWithTheirPermissions) {
  const ::mode_t before = ::umask(0);
  files.WriteNew(folder / "open", "", FileAccess::ByUmask);
  files.WriteNew(folder / "mine", "", FileAccess::OwnerOnly);
  files.CreateFolder(folder / "folder", FileAccess::OwnerOnly);
  files.SaveAtomically(folder / "secret", "x", FileAccess::OwnerOnly);
  ::umask(before);
  EXPECT_EQ(Permissions(folder / "open"), static_cast<fs::perms>(0666));
  EXPECT_EQ(Permissions(folder / "mine"), static_cast<fs::perms>(0600));
  EXPECT_EQ(Permissions(folder / "folder"), static_cast<fs::perms>(0700));
  EXPECT_EQ(Permissions(folder / "secret"), static_cast<fs::perms>(0600));
}

TEST_F(FileSystemTest, AppendsMovesRenamesAndRemoves) {
  files.Append(folder / "log", "a");
  files.Append(folder / "log", "b");
  EXPECT_EQ(test::ReadFile(folder / "log"), "ab");
  files.Append(folder / "log", "");
  files.Move(folder / "log", folder / "moved");
  folder.Write("other", "old");
  files.Rename(folder / "moved", folder / "other");
  EXPECT_EQ(test::ReadFile(folder / "other"), "ab");
  files.Remove(folder / "other");
  files.Remove(folder / "other");
  EXPECT_TRUE(test::Names(folder.Path()).empty());
  EXPECT_THROW(files.Remove(folder.Folder("sub")), FileError);
  EXPECT_THROW(files.Rename(folder / "none", folder / "x"), FileError);
}

TEST_F(FileSystemTest, RemovesALinkButNotItsTarget) {
  const fs::path file = folder.Write("file", "x");
  fs::create_symlink(file, folder / "link");
  files.Remove(folder / "link");
  EXPECT_EQ(test::ReadFile(file), "x");
}

TEST_F(FileSystemTest, CreatesMissingFolders) {
  EXPECT_THROW(files.CreateFolder(folder.Path() / "a" / "b", FileAccess::ByUmask), FileError);
  files.CreateFolders(folder.Path() / "a" / "b" / "c" / "");
  EXPECT_TRUE(fs::is_directory(folder.Path() / "a" / "b" / "c"));
  files.CreateFolder(folder.Path() / "a", FileAccess::ByUmask);
  folder.Write("file", "");
  EXPECT_THROW(files.CreateFolder(folder.Path() / "file", FileAccess::ByUmask), FileError);
}

TEST_F(FileSystemTest, FlushesFoldersAndNamesAMissingOne) {
  const std::vector<fs::path> good{folder.Path(), folder.Folder("sub")};
  EXPECT_NO_THROW(files.Flush(good));
  const std::vector<fs::path> bad{folder.Path() / "none"};
  EXPECT_THAT(FailureOf([&] { files.Flush(bad); }), HasSubstr("none"));
}

TEST_F(FileSystemTest, LocksAFolderUntilTheLockIsReleased) {
  std::unique_ptr<FolderLock> first = files.TryLock(folder.Path());
  ASSERT_TRUE(first);
  EXPECT_FALSE(files.TryLock(folder.Path()));
  first.reset();
  EXPECT_TRUE(files.TryLock(folder.Path()));
  EXPECT_THROW((void)files.TryLock(folder.Path() / "none"), FileError);
}

TEST_F(FileSystemTest, MayRemoveFromAsksTheSystemForTheRight) {
  EXPECT_TRUE(files.MayRemoveFrom(folder.Path()));
  EXPECT_FALSE(files.MayRemoveFrom(folder.Path() / "none"));
  const test::FailingCall failing("access", EACCES);
  EXPECT_FALSE(files.MayRemoveFrom(folder.Path()));
}

TEST_F(FileSystemTest, EscapesControlCharactersOfThePathInErrors) {
  EXPECT_THAT(FailureOf([&] { (void)files.ReadWhole(folder.Path() / "a\nb", 1); }), HasSubstr("a\\x0Ab: "));
}

TEST_F(FileSystemTest, ErrorsNameTheActionThePathAndTheReason) {
  const fs::path file = folder.Write("file", "x");
  const std::vector<fs::path> folders{folder.Path()};
  struct Row {
    const char* call;
    int error;
    std::function<void()> action;
    const char* said;
  };
  const std::vector<Row> rows{
      {"fstat", EIO, [&] { (void)files.ReadWhole(file, 10); }, "cannot access"},
      {"read", EIO, [&] { (void)files.ReadWhole(file, 10); }, "cannot read"},
      {"open", EMFILE, [&] { (void)files.ReadWhole(file, 10); }, "cannot open"},
      {"stat", EIO, [&] { (void)files.Stamp(file); }, "cannot access"},
      {"write", ENOSPC, [&] { files.WriteNew(folder / "new", "x", FileAccess::ByUmask); }, "cannot write"},
      {"close", EDQUOT, [&] { files.WriteNew(folder / "new", "x", FileAccess::ByUmask); }, "cannot write"},
      {"write", ENOSPC, [&] { files.Append(folder / "log", "x"); }, "cannot write"},
      {"close", EIO, [&] { files.Append(folder / "log", "x"); }, "cannot write"},
      {"fstat", EIO, [&] { files.Flush(folders); }, "cannot flush"},
      {"syncfs", EIO, [&] { files.Flush(folders); }, "cannot flush"},
      {"flock", EIO, [&] { (void)files.TryLock(folder.Path()); }, "cannot lock"},
      {"rename", EACCES, [&] { files.Move(file, folder / "moved"); }, "cannot move to"},
  };
  for (const Row& row : rows) {
    const test::FailingCall failing(row.call, row.error);
    EXPECT_THAT(FailureOf(row.action), AllOf(HasSubstr(row.said), HasSubstr(folder.Path().native()),
                                             HasSubstr(std::strerror(row.error))))
        << row.call;
    EXPECT_EQ(failing.Failures(), 1) << row.call;
  }
  EXPECT_FALSE(files.Exists(folder / "new")) << "no partial file is left";
  EXPECT_EQ(test::ReadFile(file), "x");
}

TEST_F(FileSystemTest, RepeatsCallsThatASignalInterrupts) {
  const fs::path file = folder.Write("file", "x");
  for (const char* call : {"open", "read"}) {
    const test::FailingCall failing(call, EINTR, 0, 3);
    EXPECT_EQ(files.ReadWhole(file, 10), "x") << call;
    EXPECT_EQ(failing.Failures(), 3) << call;
  }
  const test::FailingCall failing("write", EINTR, 0, 3);
  files.Append(file, "y");
  EXPECT_EQ(test::ReadFile(file), "xy");
}

TEST_F(FileSystemTest, ReadsAGrowingFileUpToTheLimit) {
  // The system reports a size of 0 bytes for this file.
  const fs::path growing = "/proc/self/status";
  EXPECT_THAT(files.ReadWhole(growing, 1 << 20), HasSubstr("VmPeak:"));
  EXPECT_THROW((void)files.ReadWhole(growing, 3), FileTooLarge);
}

TEST_F(FileSystemTest, ReadsAFinishedFileWhenTheLeaseIsRefused) {
  const fs::path file = folder.Write("file", "x");
  const test::FailingCall failing("fcntl", EACCES);
  ASSERT_TRUE(files.ReadFinished(file, 10));
  EXPECT_EQ(failing.Failures(), 1);
}

TEST_F(FileSystemTest, AppendsNothingWhenTheDiskIsFull) {
  const fs::path file = folder.Write("file", "old");
  const test::FailingCall failing("write", ENOSPC);
  EXPECT_THAT(FailureOf([&] { files.Append(file, "x"); }),
              HasSubstr("cannot write " + Utf8FromPath(file) + ": No space left on device"));
  EXPECT_EQ(test::ReadFile(file), "old");
}

TEST_F(FileSystemTest, RefusesToAppendToADevice) {
  EXPECT_THAT(FailureOf([&] { files.Append("/dev/full", "x"); }),
              HasSubstr("cannot write /dev/full: not a regular file"));
}

TEST_F(FileSystemTest, MovesToAnotherFileSystem) {
  const std::string bytes(100'000, 'x');
  const fs::path file = folder.Write("from/file", bytes);
  const test::FailingCall failing("rename", EXDEV);
  files.Move(file, folder / "to/file");
  EXPECT_EQ(test::ReadFile(folder / "to/file"), bytes);
  EXPECT_TRUE(test::Names(folder / "from").empty());
  EXPECT_EQ(test::Names(folder / "to"), std::set<std::string>{"file"});
}

TEST_F(FileSystemTest, KeepsTheFileWhenMovingToAnotherFileSystemFails) {
  const fs::path file = folder.Write("from/file", "x");
  const fs::path target = folder / "to/file";
  for (const char* call : {"open", "read", "write", "fsync", "close", "rename"}) {
    const test::FailingCall elsewhere("rename", EXDEV);
    const test::FailingCall failing(call, EIO);
    EXPECT_THROW(files.Move(file, target), FileError) << call;
    EXPECT_EQ(test::ReadFile(file), "x") << call;
    EXPECT_TRUE(test::Names(target.parent_path()).empty()) << call;
  }
}

TEST_F(FileSystemTest, ResolvesRelativePathsInTheCurrentFolder) {
  const fs::path before = fs::current_path();
  fs::current_path(folder.Path());
  files.SaveAtomically("file", "x");
  files.CreateFolders("");
  files.CreateFolders("a/b");
  fs::current_path(before);
  EXPECT_EQ(test::ReadFile(folder / "file"), "x");
  EXPECT_TRUE(files.IsFolder(folder.Path() / "a" / "b"));
}

TEST_F(FileSystemTest, KeepToOwnerRevokesTheRightsOfOthers) {
  struct Row {
    unsigned before;
    unsigned after;
    bool changed;
  };
  for (const auto& [before, after, changed] :
       {Row{0600, 0600, false}, Row{0400, 0400, false}, Row{0644, 0600, true}, Row{0660, 0600, true},
        Row{0601, 0600, true}, Row{0777, 0700, true}, Row{0604, 0600, true}, Row{0620, 0600, true}}) {
    const fs::path file = folder.Write("file", "secret");
    fs::permissions(file, static_cast<fs::perms>(before));
    EXPECT_EQ(files.KeepToOwner(file), changed) << std::oct << before;
    EXPECT_EQ(Mode(file), after) << std::oct << before;
    EXPECT_EQ(test::ReadFile(file), "secret");
    fs::remove(file);
  }
}

TEST_F(FileSystemTest, KeepToOwnerChangesRegularFilesOnly) {
  const fs::path other = folder.Write("other", "");
  fs::permissions(other, static_cast<fs::perms>(0644));
  fs::create_symlink(other, folder / "link");
  fs::permissions(folder.Folder("sub"), static_cast<fs::perms>(0755));
  for (const char* name : {"missing", "link", "sub"})
    EXPECT_FALSE(files.KeepToOwner(folder.Path() / name)) << name;
  EXPECT_EQ(Mode(other), 0644U);
  EXPECT_EQ(Mode(folder.Path() / "sub"), 0755U);
}

TEST_F(FileSystemTest, KeepToOwnerThrowsWithTheReason) {
  const fs::path file = folder.Write("file", "");
  fs::permissions(file, static_cast<fs::perms>(0644));
  struct Row {
    const char* call;
    const char* says;
  };
  for (const auto& [call, says] : {Row{"open", "cannot open"}, Row{"fstat", "cannot access"},
                                   Row{"fchmod", "cannot set the permissions of"}}) {
    const test::FailingCall failing(call, EPERM);
    EXPECT_THAT([&] { static_cast<void>(files.KeepToOwner(file)); },
                testing::ThrowsMessage<FileError>(HasSubstr(says)))
        << call;
    EXPECT_EQ(Mode(file), 0644U) << call;
  }
}

TEST_F(FileSystemTest, KeepToOwnerDoesNothingWithoutSupportOfTheSystem) {
  const fs::path file = folder.Write("file", "");
  fs::permissions(file, static_cast<fs::perms>(0644));
  EXPECT_FALSE(files.FileSystem::KeepToOwner(file));
  EXPECT_EQ(Mode(file), 0644U);
}

}  // namespace
}  // namespace fieldpost
