#include "platform/FileHash.h"

#include <gmock/gmock.h>

#include <cerrno>

#include "support/FailingCall.h"
#include "support/TempFolder.h"

namespace fieldpost {
namespace {

struct Events : StatusDisplay {
  void ProcessEvents() override { ++count; }
  int count = 0;
};

TEST(FileHash, IsTheHashOfContentsOfEverySize) {
  const test::TempFolder folder;
  const DiskFileSystem files;
  struct Row {
    std::size_t bytes;
    int pieces;
  };
  for (const auto& [bytes, pieces] : {Row{0, 0}, Row{1, 1}, Row{65536, 1}, Row{65537, 2}, Row{200000, 4}}) {
    std::string content(bytes, 'x');
    if (!content.empty()) content.back() = 'y';
    Events events;
    EXPECT_EQ(HashFile(files, folder.Write("file", content), events), HashContent(content)) << bytes;
    EXPECT_EQ(events.count, pieces) << bytes;
  }
}

TEST(FileHash, ThrowsWhenTheFileCannotBeRead) {
  const test::TempFolder folder;
  const DiskFileSystem files;
  StatusDisplay silent;
  EXPECT_THROW(HashFile(files, folder.Path() / "missing", silent), FileError);
  const test::FailingCall failing("read", EIO);
  EXPECT_THROW(HashFile(files, folder.Write("file", "x"), silent), FileError);
}

}  // namespace
}  // namespace fieldpost
