#include "environment/RunLock.h"

#include <gmock/gmock.h>

#include <cerrno>

#include "support/FailingCall.h"
#include "support/TempFolder.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

TEST(RunLock, ExcludesRunsThatShareAFolder) {
  const test::TempFolder folder;
  const fs::path one = folder.Folder("one");
  const fs::path two = folder.Folder("two");
  const fs::path three = folder.Folder("three");
  fs::create_directory_symlink(two, folder / "link");
  struct Row {
    const char* name;
    PathList folders;
    bool locked;
  };
  DiskFileSystem files;
  RunLock first;
  ASSERT_EQ(first.Acquire(files, {one, two / "", two, folder.Path() / "none"}), "");
  for (const Row& row : {Row{"the same folders", {one, two}, false}, Row{"one of them", {three, two}, false},
                         Row{"one by another name", {folder.Path() / "link"}, false},
                         Row{"another folder", {three}, true}, Row{"no folder at all", {}, true}}) {
    RunLock second;
    const std::string reason = second.Acquire(files, row.folders);
    if (row.locked) {
      EXPECT_EQ(reason, "") << row.name;
    } else {
      EXPECT_THAT(reason, HasSubstr("Another run of Fieldpost is working in")) << row.name;
    }
  }
  RunLock third;
  EXPECT_EQ(third.Acquire(files, {three}), "") << "a refused run has locked nothing";
}

TEST(RunLock, LocksNothingWhenAFolderCannotBeLocked) {
  const test::TempFolder folder;
  DiskFileSystem files;
  const PathList folders{folder.Folder("one"), folder.Folder("two")};
  RunLock refused;
  {
    const test::FailingCall failing("flock", ENOLCK, 1);
    EXPECT_THAT(refused.Acquire(files, folders), HasSubstr("cannot lock " + folders[1].native()));
  }
  RunLock next;
  EXPECT_EQ(next.Acquire(files, folders), "");
}

TEST(RunLock, ReleasesTheFoldersWhenItIsDestroyed) {
  const test::TempFolder folder;
  DiskFileSystem files;
  {
    RunLock first;
    ASSERT_EQ(first.Acquire(files, {folder.Path()}), "");
  }
  RunLock second;
  EXPECT_EQ(second.Acquire(files, {folder.Path()}), "");
}

}  // namespace
}  // namespace fieldpost
