#include "ppc/PpcSearchPattern.h"

#include <gmock/gmock.h>

#include "common/Text.h"
#include "support/TempFolder.h"

namespace fieldpost {
namespace {

using namespace std::string_view_literals;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(PatternOfDatabase, FollowsTheEndingOfTheValue) {
  struct Row {
    const char* name;
    std::string_view value;
    const char* pattern;
  };
  for (const Row& row : {
           Row{"a file", R"(D:\Svc\PPCdb\ppc.xml)"sv, R"(D:\Svc\PPCdb\*.xml)"},
           Row{"a folder", R"(D:\Svc\PPCdb)"sv, R"(D:\Svc\PPCdb\*.xml)"},
           Row{"a folder with its separator", R"(D:\Svc\PPCdb\)"sv, R"(D:\Svc\PPCdb\*.xml)"},
           Row{"a pattern", R"(D:\Svc\PPCdb\site*.xml)"sv, R"(D:\Svc\PPCdb\site*.xml)"},
           Row{"a pattern in capitals is none", R"(D:\Svc\*.XML)"sv, R"(D:\Svc\*.XML\*.xml)"},
           Row{"a file in capitals is a folder", R"(D:\Svc\ppc.XML)"sv, R"(D:\Svc\ppc.XML\*.xml)"},
           Row{"a file without a folder", "ppc.xml"sv, "*.xml"},
           Row{"what follows a NUL does not count", "D:\\Svc\\PPCdb\0\\old.xml"sv, R"(D:\Svc\PPCdb\*.xml)"},
           Row{"a file before a NUL", "D:\\Svc\\ppc.xml\0junk"sv, R"(D:\Svc\*.xml)"},
           Row{"nothing before a NUL", "\0D:\\Svc"sv, ""},
           Row{"nothing", ""sv, ""},
       }) {
    EXPECT_EQ(PatternOfDatabase(row.value, '\\'), row.pattern) << row.name;
    EXPECT_EQ(PatternOfDatabase(Replaced(row.value, "\\", "/"), '/'), Replaced(row.pattern, "\\", "/"))
        << row.name;
  }
}

TEST(PatternOfInstallation, NamesTheDatabaseFolder) {
  struct Row {
    const char* name;
    std::string_view value;
    const char* pattern;
  };
  for (const Row& row : {
           Row{"a folder with its separator", R"(C:\Svc\)"sv, R"(C:\Svc\PPCdb\*.xml)"},
           Row{"a folder", R"(C:\Svc)"sv, R"(C:\Svc\PPCdb\*.xml)"},
           Row{"a file", R"(C:\Svc\suite.xml)"sv, R"(C:\Svc\PPCdb\*.xml)"},
           Row{"a pattern", R"(C:\Svc\*.xml)"sv, R"(C:\Svc\*.xml)"},
           Row{"what follows a NUL does not count", "C:\\Svc\0X"sv, R"(C:\Svc\PPCdb\*.xml)"},
           Row{"nothing", ""sv, ""},
       }) {
    EXPECT_EQ(PatternOfInstallation(row.value, '\\'), row.pattern) << row.name;
    EXPECT_EQ(PatternOfInstallation(Replaced(row.value, "\\", "/"), '/'), Replaced(row.pattern, "\\", "/"))
        << row.name;
  }
}

TEST(MatchesPattern, MatchesStarsAndQuestionMarks) {
  struct Row {
    const char* name;
    const char* pattern;
    bool matches;
  };
  for (const Row& row : {
           Row{"a.xml", "*.xml", true},
           Row{"A.XML", "*.xml", true},
           Row{".xml", "*.xml", true},
           Row{"a.xmlx", "*.xml", false},
           Row{"a.xm", "*.xml", false},
           Row{"a.xml.xml", "*.xml", true},
           Row{"site1.xml", "site?.xml", true},
           Row{"site.xml", "site?.xml", false},
           Row{"site12.xml", "s*1*.xml", true},
           Row{"", "*", true},
           Row{"a", "", false},
           Row{"aab", "*ab", true},
       }) {
    EXPECT_EQ(MatchesPattern(row.name, row.pattern), row.matches) << row.name << ' ' << row.pattern;
  }
}

TEST(FilesOfPattern, FindsRegularFilesInNameOrder) {
  const test::TempFolder folder;
  const DiskFileSystem files;
  const auto b = folder.Write("b.xml", "");
  const auto a = folder.Write("a.XML", "");
  folder.Write("a.txt", "");
  folder.Folder("folder.xml");
  std::filesystem::create_symlink(b, folder.Path() / "link.xml");
  EXPECT_THAT(FilesOfPattern(files, Utf8FromPath(folder.Path() / "*.xml")), ElementsAre(a, b));
  EXPECT_THAT(FilesOfPattern(files, Utf8FromPath(folder.Path() / "no" / "*.xml")), IsEmpty());
  EXPECT_THAT(FilesOfPattern(files, "*.xml"), IsEmpty()) << "a folder must be named";
}

}  // namespace
}  // namespace fieldpost
