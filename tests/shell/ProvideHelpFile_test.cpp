#include "shell/ProvideHelpFile.h"

#include <gmock/gmock.h>

#include <chrono>

#include "support/TempFolder.h"

namespace fieldpost {
namespace {

using testing::HasSubstr;

TEST(ProvideHelpFile, WritesAFileThatIsMissingOrDiffers) {
  struct Row {
    const char* there;
    const char* expected;
  };
  for (const Row& row : {Row{nullptr, "book"}, Row{"kook", "book"}, Row{"longer", "book"}, Row{"", "book"}}) {
    const test::TempFolder folder;
    DiskFileSystem files;
    if (row.there != nullptr) folder.Write("FPhelp.hlp", row.there);
    EXPECT_EQ(ProvideHelpFile(files, folder.Path(), "book"), "");
    EXPECT_EQ(test::ReadFile(HelpFile(folder.Path())), row.expected);
    EXPECT_EQ(test::Names(folder.Path()), std::set<std::string>{"FPhelp.hlp"});
  }
}

TEST(ProvideHelpFile, LeavesAnEqualFileUnchanged) {
  const test::TempFolder folder;
  DiskFileSystem files;
  const auto file = folder.Write("FPhelp.hlp", "book");
  const auto before = std::filesystem::last_write_time(file) - std::chrono::hours(1);
  std::filesystem::last_write_time(file, before);
  EXPECT_EQ(ProvideHelpFile(files, folder.Path(), "book"), "");
  EXPECT_EQ(std::filesystem::last_write_time(file), before);
}

TEST(ProvideHelpFile, ReturnsWhyTheFileCannotBeWritten) {
  const test::TempFolder folder;
  DiskFileSystem files;
  EXPECT_THAT(ProvideHelpFile(files, folder.Path() / "gone", "book"), HasSubstr("gone"));
  std::filesystem::create_directory(folder.Path() / "FPhelp.hlp");
  EXPECT_THAT(ProvideHelpFile(files, folder.Path(), "book"), HasSubstr("FPhelp.hlp"));
}

}  // namespace
}  // namespace fieldpost
