#include "platform/WindowLibrary.h"

#include <gmock/gmock.h>

#include "support/TempFolder.h"

namespace fieldpost::test {
namespace {

TEST(WindowLibraryTest, FileIsBesideTheFolderOfTheProgram) {
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe");
  EXPECT_EQ(WindowLibraryFile(),
            program.parent_path().parent_path() / "lib" / "fieldpost" / "libfieldpost-window.so");
}

TEST(WindowLibraryTest, LoadReturnsOneLineOnFailure) {
  const TempFolder folder;
  const struct {
    std::filesystem::path file;
    const char* said;
  } rows[] = {
      {folder / "none.so", "cannot load the program's windows: "},
      {folder.Write("text.so", "no library"), "cannot load the program's windows: "},
      {FIELDPOST_SMALL_LIBRARY, "no windows of the program in "},
  };
  for (const auto& row : rows) {
    const std::string problem = WindowLibrary(row.file).Load();
    EXPECT_THAT(problem,
                testing::AllOf(testing::StartsWith(row.said), testing::HasSubstr(row.file.native())));
    EXPECT_THAT(problem, testing::Not(testing::HasSubstr("\n")));
  }
}

TEST(WindowLibraryTest, RunsWithTheArgumentsOfMain) {
  WindowLibrary library(FIELDPOST_FAKE_WINDOWS);
  ASSERT_EQ(library.Load(), "");
  char name[] = "fieldpost";
  char* arguments[] = {name, nullptr};
  EXPECT_EQ(library.Run(41, arguments), 42);
}

}  // namespace
}  // namespace fieldpost::test
