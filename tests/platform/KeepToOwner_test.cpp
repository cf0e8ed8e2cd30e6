#include <gmock/gmock.h>

#include <cerrno>

#include "platform/FileSystem.h"
#include "support/FailingCall.h"
#include "support/TempFolder.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::ThrowsMessage;

struct KeepToOwner : testing::Test {
  test::TempFolder folder;
  DiskFileSystem files;

  static unsigned Permissions(const fs::path& path) {
    return static_cast<unsigned>(fs::status(path).permissions());
  }
};

TEST_F(KeepToOwner, TakesTheRightsOfAllOthers) {
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
    EXPECT_EQ(Permissions(file), after) << std::oct << before;
    EXPECT_EQ(test::ReadFile(file), "secret");
    fs::remove(file);
  }
}

TEST_F(KeepToOwner, TouchesPlainFilesAlone) {
  const fs::path other = folder.Write("other", "");
  fs::permissions(other, static_cast<fs::perms>(0644));
  fs::create_symlink(other, folder / "link");
  fs::permissions(folder.Folder("sub"), static_cast<fs::perms>(0755));
  for (const char* name : {"missing", "link", "sub"})
    EXPECT_FALSE(files.KeepToOwner(folder.Path() / name)) << name;
  EXPECT_EQ(Permissions(other), 0644U);
  EXPECT_EQ(Permissions(folder.Path() / "sub"), 0755U);
}

TEST_F(KeepToOwner, SaysWhyItCannot) {
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
                ThrowsMessage<FileError>(HasSubstr(says)))
        << call;
    EXPECT_EQ(Permissions(file), 0644U) << call;
  }
}

/// What a test's stand-in or another system has not: there is nothing to be kept.
TEST_F(KeepToOwner, IsNothingWhereThereAreNoOwners) {
  const fs::path file = folder.Write("file", "");
  fs::permissions(file, static_cast<fs::perms>(0644));
  EXPECT_FALSE(files.FileSystem::KeepToOwner(file));
  EXPECT_EQ(Permissions(file), 0644U);
}

}  // namespace
}  // namespace fieldpost
