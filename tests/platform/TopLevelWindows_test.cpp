#include "platform/TopLevelWindows.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "support/StartedProgram.h"
#include "support/TempFolder.h"

namespace fieldpost::test {
namespace {

using testing::Contains;
using testing::Not;

/// A process that has a library loaded from a file of the name given.
class LoadingProcess {
 public:
  explicit LoadingProcess(const std::string& fileName)
      : file_(folder_ / fileName), program_(Words(), {{"LD_PRELOAD", CopyLibrary().string()}}) {
    program_.Write("loaded\n");
    EXPECT_EQ(program_.ReadLine(), "loaded");
  }

  [[nodiscard]] std::uint64_t Number() const { return static_cast<std::uint64_t>(program_.Process()); }
  [[nodiscard]] const std::filesystem::path& File() const { return file_; }
  void End() { program_.End(); }

 private:
  static std::vector<std::string> Words() { return {"cat"}; }

  [[nodiscard]] std::filesystem::path CopyLibrary() const {
    std::filesystem::copy_file(FIELDPOST_SMALL_LIBRARY, file_);
    return file_;
  }

  TempFolder folder_;
  std::filesystem::path file_;
  StartedProgram program_;
};

std::vector<TopLevelWindow> Windows() {
  return SessionTopLevelWindows(false, "Fieldpost")->OnLevelOf(0);
}

TopLevelWindow Counted(std::uint64_t process) {
  return {process, "Fieldpost", true};
}

TEST(ProcessTopLevelWindowsTest, TheCallerIsTheFirst) {
  const std::vector<TopLevelWindow> windows = Windows();
  ASSERT_FALSE(windows.empty());
  EXPECT_EQ(windows.front(), Counted(static_cast<std::uint64_t>(::getpid())));
}

TEST(ProcessTopLevelWindowsTest, AProcessWithTheLibraryCountsAsLongAsItRuns) {
  LoadingProcess copy("libfieldpost-window.so");
  EXPECT_THAT(Windows(), Contains(Counted(copy.Number())).Times(1));
  copy.End();
  EXPECT_THAT(Windows(), Not(Contains(Counted(copy.Number()))));
}

TEST(ProcessTopLevelWindowsTest, AProcessWhoseLibraryWasReplacedCounts) {
  const LoadingProcess copy("libfieldpost-window.so");
  std::filesystem::remove(copy.File());
  EXPECT_THAT(Windows(), Contains(Counted(copy.Number())).Times(1));
}

TEST(ProcessTopLevelWindowsTest, OtherLibrariesDoNotCount) {
  for (const char* name : {"libfieldpost-window.so.1", "xlibfieldpost-window.so", "libfieldpost-windows.so",
                           "libFieldpost-window.so", "libfieldpost-window.so/lib.so"}) {
    const LoadingProcess other(name);
    EXPECT_THAT(Windows(), Not(Contains(Counted(other.Number())))) << name;
  }
}

}  // namespace
}  // namespace fieldpost::test
