#include "platform/JournalFile.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <cerrno>

#include "common/Limits.h"
#include "support/FailingCall.h"
#include "support/TempFolder.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::ThrowsMessage;

struct JournalFileTest : testing::Test {
  test::TempFolder folder;
  DiskFileSystem files;
  const fs::path journal = folder / "journal";

  [[nodiscard]] std::optional<std::string> Read() const { return ReadJournalFile(files, journal); }
};

TEST_F(JournalFileTest, IsEmptyWhenMissingALinkOrTooLarge) {
  EXPECT_EQ(Read(), std::nullopt) << "missing";
  fs::create_symlink("/etc/passwd", journal);
  EXPECT_EQ(Read(), std::nullopt) << "link";
  fs::remove(journal);
  folder.Write("journal", "");
  EXPECT_EQ(Read(), "");
  folder.Write("journal", "content");
  EXPECT_EQ(Read(), "content");
  fs::resize_file(journal, MaxJournalBytes);
  EXPECT_EQ(Read()->size(), MaxJournalBytes);
  fs::resize_file(journal, MaxJournalBytes + 1);
  EXPECT_EQ(Read(), std::nullopt) << "too large";
}

TEST_F(JournalFileTest, ThrowsWhenItCannotBeRead) {
  fs::create_directory(journal);
  EXPECT_THAT([this] { static_cast<void>(Read()); },
              ThrowsMessage<FileError>("cannot read " + journal.string() + ": not a regular file"));
  fs::remove(journal);
  folder.Write("journal", "content");
  const test::FailingCall failing("read", EIO);
  EXPECT_THAT([this] { static_cast<void>(Read()); }, ThrowsMessage<FileError>(HasSubstr("cannot read")));
}

/// Only root can change the owner of a file; for any other user this test checks that the change is refused.
TEST_F(JournalFileTest, ThrowsWhenItBelongsToAnotherUser) {
  constexpr uid_t somebody = 54321;
  folder.Write("journal", "content");
  if (::chown(journal.c_str(), somebody, static_cast<gid_t>(-1)) != 0) {
    EXPECT_EQ(errno, EPERM);
    GTEST_SKIP() << "this machine lets only root give a file to another user";
  }
  EXPECT_THAT([this] { static_cast<void>(Read()); },
              ThrowsMessage<FileError>("cannot follow " + journal.string() +
                                       ": it belongs to another user; start Fieldpost as that user, or "
                                       "remove it when it is not Fieldpost's"));
  ASSERT_EQ(::chown(folder.Path().c_str(), somebody, static_cast<gid_t>(-1)), 0);
  EXPECT_EQ(Read(), "content") << "the owner of the folder may write any file in it";
}

TEST_F(JournalFileTest, ThrowsWhenTheOwnerOfItsFolderIsUnknown) {
  constexpr uid_t somebody = 54321;
  folder.Write("journal", "content");
  constexpr int whetherItIsAFolder = 1;
  const test::FailingCall failing("stat", EACCES, whetherItIsAFolder);
  if (::chown(journal.c_str(), somebody, static_cast<gid_t>(-1)) != 0) {
    EXPECT_EQ(Read(), "content") << "the user's own file is read without its folder's owner";
    GTEST_SKIP() << "this machine lets only root give a file to another user";
  }
  EXPECT_THAT([this] { static_cast<void>(Read()); }, ThrowsMessage<FileError>(HasSubstr("cannot access")));
}

}  // namespace
}  // namespace fieldpost
