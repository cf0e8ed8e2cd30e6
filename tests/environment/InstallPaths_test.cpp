#include "environment/InstallPaths.h"

#include <gmock/gmock.h>

#include "environment/EnvironmentSite.h"

namespace fieldpost {
namespace {

TEST(GetInstallPath, ReturnsTheRegisteredPathOrTheProgramsOwnFolder) {
  test::EnvironmentSite site;
  const std::string home = Utf8FromPath(site.home);
  const std::string suite = Utf8FromPath(site.folder.Folder("suite"));
  struct Row {
    const char* name;
    std::string value;
    std::string expected;
  };
  for (const Row& row : {
           Row{"no value", "", home},
           Row{"a folder", suite, suite},
           Row{"a separator at its end", suite + "/", suite},
           Row{"two of them", suite + "//", suite + "/"},
           Row{"missing", suite + "/none", home},
           Row{"the root", "/", "/"},
           Row{"the root twice", "//", "/"},
       }) {
    site.SetInstallPath(row.value);
    EXPECT_EQ(Utf8FromPath(site.paths.GetInstallPath()), row.expected) << row.name;
  }
}

}  // namespace
}  // namespace fieldpost
