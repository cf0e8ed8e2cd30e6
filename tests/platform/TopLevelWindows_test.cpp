#include "platform/TopLevelWindows.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <utility>
#include <vector>

#include "support/StartedProgram.h"
#include "support/TempFolder.h"
#include "support/Variables.h"

namespace fieldpost::test {
namespace {

using testing::Contains;
using testing::Not;

/// A process that has loaded a library from a file of a given name.
class LoadingProcess {
 public:
  explicit LoadingProcess(const std::string& fileName,
                          std::vector<std::pair<std::string, std::string>> variables = {})
      : file_(folder_ / fileName), program_({"cat"}, WithLibrary(std::move(variables))) {
    program_.Write("loaded\n");
    EXPECT_EQ(program_.ReadLine(), "loaded");
  }

  [[nodiscard]] std::uint64_t Number() const { return static_cast<std::uint64_t>(program_.Process()); }
  [[nodiscard]] const std::filesystem::path& File() const { return file_; }
  void End() { program_.End(); }

 private:
  [[nodiscard]] std::vector<std::pair<std::string, std::string>> WithLibrary(
      std::vector<std::pair<std::string, std::string>> variables) const {
    std::filesystem::copy_file(FIELDPOST_SMALL_LIBRARY, file_);
    variables.emplace_back("LD_PRELOAD", file_.string());
    return variables;
  }

  TempFolder folder_;
  std::filesystem::path file_;
  StartedProgram program_;
};

std::vector<TopLevelWindow> Windows() {
  return SessionTopLevelWindows(false, "Fieldpost")->OnScreenOf(0);
}

TopLevelWindow Counted(std::uint64_t process) {
  return {process, "Fieldpost", true};
}

TEST(ProcessTopLevelWindowsTest, ListsTheCallerFirst) {
  const std::vector<TopLevelWindow> windows = Windows();
  ASSERT_FALSE(windows.empty());
  EXPECT_EQ(windows.front(), Counted(static_cast<std::uint64_t>(::getpid())));
}

TEST(ProcessTopLevelWindowsTest, ListsAProcessWithTheLibraryWhileItRuns) {
  LoadingProcess copy("libfieldpost-window.so");
  EXPECT_THAT(Windows(), Contains(Counted(copy.Number())).Times(1));
  copy.End();
  EXPECT_THAT(Windows(), Not(Contains(Counted(copy.Number()))));
}

TEST(ProcessTopLevelWindowsTest, ListsAProcessWhoseLibraryFileWasReplaced) {
  const LoadingProcess copy("libfieldpost-window.so");
  std::filesystem::remove(copy.File());
  EXPECT_THAT(Windows(), Contains(Counted(copy.Number())).Times(1));
}

TEST(ProcessTopLevelWindowsTest, ListsProcessesOfTheSameDesktopOnly) {
  struct DesktopCase {
    Variables::Value display;
    Variables::Value folder;
    std::vector<std::pair<std::string, std::string>> ofTheOther;
    bool counted;
  };
  for (const DesktopCase& given :
       std::vector<DesktopCase>{{"wayland-0", "/run/a", {}, true},
                                {"wayland-0", "/run/a", {{"XDG_RUNTIME_DIR", "/run/b"}}, false},
                                {"wayland-0", "/run/a", {{"WAYLAND_DISPLAY", "wayland-1"}}, false},
                                {"wayland-0",
                                 "/run/a",
                                 {{"WAYLAND_DISPLAY", "/run/a/wayland-0"}, {"XDG_RUNTIME_DIR", "/b"}},
                                 true},
                                {std::nullopt, "/run/a", {{"WAYLAND_DISPLAY", "wayland-0"}}, true},
                                {std::nullopt, std::nullopt, {}, true},
                                {std::nullopt, std::nullopt, {{"XDG_RUNTIME_DIR", "/run/a"}}, false}}) {
    const Variables session({{"WAYLAND_DISPLAY", given.display}, {"XDG_RUNTIME_DIR", given.folder}});
    const LoadingProcess other("libfieldpost-window.so", given.ofTheOther);
    EXPECT_THAT(Windows(), Contains(Counted(other.Number())).Times(given.counted ? 1 : 0))
        << given.display.value_or("-") << " " << given.folder.value_or("-");
  }
}

TEST(ProcessTopLevelWindowsTest, IgnoresProcessesWithOtherLibraries) {
  for (const char* name : {"libfieldpost-window.so.1", "xlibfieldpost-window.so", "libfieldpost-windows.so",
                           "libFieldpost-window.so", "libfieldpost-window.so/lib.so"}) {
    const LoadingProcess other(name);
    EXPECT_THAT(Windows(), Not(Contains(Counted(other.Number())))) << name;
  }
}

}  // namespace
}  // namespace fieldpost::test
