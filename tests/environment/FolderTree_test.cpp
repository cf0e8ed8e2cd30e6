#include "environment/FolderTree.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <cctype>

#include "environment/EnvironmentSite.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

std::string Text(const fs::path& path) {
  return Utf8FromPath(path);
}

TEST(CreateFolderTree, LogsThatTheFoldersWereNotSaved) {
  test::EnvironmentSite site;
  site.folder.Folder("home/Options.ini");
  site.tree.CreateFolderTree();
  EXPECT_THAT(
      site.Log(),
      testing::Contains(testing::HasSubstr("[Error]:The Archive and Process folders were not saved: ")));
  EXPECT_TRUE(fs::is_directory(site.Tree("Archive")));
}

TEST(CreateFolderTree, LeavesAFileThatTakesTheNameOfAFolder) {
  test::EnvironmentSite site;
  site.folder.Write("home/Faultlog", "a file");
  site.tree.CreateFolderTree();
  EXPECT_EQ(test::ReadFile(site.home / "Faultlog"), "a file");
  EXPECT_FALSE(fs::exists(site.Tree("Archive")));
}

TEST(PrepareErrorFolder, LeavesAFolderWithTheNameOfTheFile) {
  test::ReadyEnvironmentSite site;
  const fs::path file = site.folder.Write("home/Faultlog/Latest/a.xml", "<broken");
  site.folder.Write("home/Faultlog/Error/a.xml/kept", "");
  EXPECT_EQ(site.tree.PrepareErrorFolder(file), site.Tree("Error") / "");
  EXPECT_TRUE(fs::exists(site.Tree("Error") / "a.xml" / "kept"));
}

TEST(GetFaultlogRootFromIni, CutsTheNameBeforeTheWordInLowerCase) {
  struct Row {
    const char* name;
    const char* folder;
    const char* expected;
  };
  for (const Row& row : {
           Row{"lower case", "Tree/faultlog", "Tree/"},
           Row{"capital F", "Tree/Faultlog", "Tree/Faultlog/"},
           Row{"in a longer name", "my faultlogs", "my "},
           Row{"elsewhere", "Data", "Data/"},
           Row{"with a separator", "Data/", "Data/"},
       }) {
    test::ReadyEnvironmentSite site;
    const std::string base = Text(site.folder.Path()) + "/";
    site.folder.Folder(row.folder);
    const fs::path suite = site.folder.Folder("suite");
    site.folder.Write("suite/Faultlog.ini", "[Directories]\r\nFaultLog= " + base + row.folder + " \r\n");
    EXPECT_EQ(site.tree.GetFaultlogRootFromIni(Text(suite)), base + row.expected) << row.name;
    EXPECT_THAT(site.Log(), IsEmpty()) << row.name;
  }
}

TEST(GetFaultlogRootFromIni, ReturnsNothingWhenThereIsNoSuchFolder) {
  test::ReadyEnvironmentSite site;
  const fs::path suite = site.folder.Folder("suite");
  EXPECT_EQ(site.tree.GetFaultlogRootFromIni(""), "");
  EXPECT_EQ(site.tree.GetFaultlogRootFromIni(Text(suite / "none")), "");
  EXPECT_THAT(site.Log(), IsEmpty());

  site.folder.Write("suite/faultlog.ini", "[Directories]\r\nFaultLog=/no/such/folder\r\n");
  EXPECT_EQ(site.tree.GetFaultlogRootFromIni(Text(suite)), "");
  EXPECT_THAT(site.Log(), IsEmpty());

  site.folder.Write("suite/faultlog.ini", "[Directories]\r\nOther=x\r\n");
  EXPECT_EQ(site.tree.GetFaultlogRootFromIni(Text(suite)), "");
  EXPECT_THAT(site.Log(), ElementsAre("[Error]:Faultlog path settings not found in Faultlog.ini"));
}

TEST(CreateFolderTree, CreatesAndLogsMissingFoldersOnce) {
  test::EnvironmentSite site;
  site.tree.CreateFolderTree();
  const std::string tree = "[Create missing directory]:" + Text(site.home) + "/Faultlog/";
  EXPECT_THAT(site.Log(), ElementsAre(tree + "[Latest]", tree + "[Archive]", tree + "[Process]",
                                      tree + "[Log]", tree + "[Error]", tree + "[PPCTemp]"));
  EXPECT_EQ(test::Names(site.home / "Faultlog"),
            (std::set<std::string>{"Archive", "Error", "Latest", "Log", "PPCTemp", "Process"}));
  EXPECT_EQ(site.settings.ArchiveFolder, Text(site.home) + "/Faultlog/Archive/");
  EXPECT_EQ(site.settings.ProcessFolder, Text(site.home) + "/Faultlog/Process/");
  EXPECT_THAT(site.latestFolders, ElementsAre(site.home / "Faultlog" / "Latest" / ""));

  const std::vector<std::string> first = site.Log();
  site.tree.CreateFolderTree();
  EXPECT_EQ(site.Log(), first);
  EXPECT_THAT(site.latestFolders, ElementsAre(site.home / "Faultlog" / "Latest" / ""));
}

TEST(CreateFolderTree, SavesTheSettingsForTheNextStart) {
  test::EnvironmentSite site;
  site.tree.CreateFolderTree();
  EXPECT_TRUE(site.tree.IsWhole());
  const MailSettings next = MailSettingsStore(site.files, site.home).Load();
  EXPECT_EQ(next.ArchiveFolder, Text(site.home) + "/Faultlog/Archive/");
  EXPECT_EQ(next.ProcessFolder, Text(site.home) + "/Faultlog/Process/");
}

TEST(CreateFolderTree, SavesTheSettingsWhenAFolderHasChanged) {
  struct Row {
    const char* name;
    bool archive;
    bool process;
  };
  for (const Row& row : {Row{"neither", false, false}, Row{"the archive", true, false},
                         Row{"the process folder", false, true}}) {
    test::EnvironmentSite site;
    MailSettings& settings = site.settings;
    settings.ArchiveFolder = row.archive ? "/no/such/folder/" : Text(site.folder.Folder("a")) + "/";
    settings.ProcessFolder = row.process ? "/no/such/folder/" : Text(site.folder.Folder("p")) + "/";
    site.tree.CreateFolderTree();
    EXPECT_EQ(fs::exists(site.home / "Options.ini"), row.archive || row.process) << row.name;
  }
}

TEST(CreateFolderTree, CreatesTheTreeUnderTheInstallationPath) {
  test::EnvironmentSite site;
  const fs::path suite = site.folder.Folder("suite");
  site.SetInstallPath(Text(suite));
  site.tree.CreateFolderTree();
  EXPECT_EQ(test::Names(suite / "Faultlog").size(), 6U);
  EXPECT_FALSE(fs::exists(site.home / "Faultlog"));
}

TEST(CreateFolderTree, ReplacesSettingsThatNameMissingFolders) {
  test::EnvironmentSite site;
  site.settings.ArchiveFolder = "/no/such/archive/";
  site.settings.ProcessFolder = Text(site.folder.Folder("mine")) + "/";
  site.tree.CreateFolderTree();
  EXPECT_EQ(site.settings.ArchiveFolder, Text(site.home) + "/Faultlog/Archive/");
  EXPECT_EQ(site.settings.ProcessFolder, Text(site.folder.Path()) + "/mine/");
  EXPECT_FALSE(fs::exists(site.home / "Faultlog" / "Process"));
}

struct IniSite : test::EnvironmentSite {
  IniSite() {
    suite = folder.Folder("suite");
    SetInstallPath(Text(suite));
    root = Text(folder.Folder("data/Faultlog"));
    folder.Write("suite/faultlog.ini", "[Directories]\r\nFaultLog=" + Text(folder.Path()) + "/data\r\n");
  }
  fs::path suite;
  std::string root;
};

TEST(CreateFolderTree, AdoptsTheTreeOfTheIniFileWithoutLogging) {
  IniSite site;
  site.tree.CreateFolderTree();
  EXPECT_THAT(site.latestFolders, ElementsAre(PathFromUtf8(site.root + "/Latest/")));
  EXPECT_EQ(site.settings.ArchiveFolder, site.root + "/Archive/");
  EXPECT_EQ(site.settings.ProcessFolder, site.root + "/Process/");
  EXPECT_EQ(test::Names(PathFromUtf8(site.root)), (std::set<std::string>{"Archive", "Latest", "Process"}));
  const std::string tree = "[Create missing directory]:" + Text(site.suite) + "/Faultlog/";
  EXPECT_THAT(site.Log(), ElementsAre(tree + "[Log]", tree + "[Error]", tree + "[PPCTemp]"));
}

TEST(CreateFolderTree, AddsTheLatestFolderOfTheIniTreeOnce) {
  struct Row {
    const char* name;
    bool upperCase;
    bool there;
    std::size_t expected;
  };
  for (const Row& row : {Row{"another folder", false, false, 2}, Row{"the same", false, true, 1},
                         Row{"the same in other case", true, true, 1}}) {
    IniSite site;
    std::string latest = row.there ? site.root + "/Latest/" : "/other/";
    if (row.upperCase)
      std::transform(latest.begin(), latest.end(), latest.begin(),
                     [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    ASSERT_EQ(site.latestStore.SaveLatestFolders({PathFromUtf8(latest)}), "");
    site.tree.CreateFolderTree();
    EXPECT_EQ(site.latestFolders.size(), row.expected) << row.name;
    PathList stored;
    site.latestStore.LoadLatestFolders(stored);
    EXPECT_EQ(stored, site.latestFolders) << row.name;
  }
}

TEST(CreateFolderTree, KeepsFoldersThatAreSetWhenItAdoptsTheIniTree) {
  IniSite site;
  site.settings.ArchiveFolder = Text(site.folder.Folder("mine")) + "/";
  site.tree.CreateFolderTree();
  EXPECT_EQ(site.settings.ArchiveFolder, Text(site.folder.Path()) + "/mine/");
}

TEST(CreateFolderTree, IgnoresTheIniFileOfAMissingInstallationPath) {
  IniSite site;
  site.SetInstallPath(Text(site.suite) + "/none");
  site.tree.CreateFolderTree();
  EXPECT_THAT(site.latestFolders, ElementsAre(site.home / "Faultlog" / "Latest" / ""));
}

TEST(CreateFolderTree, LogsAFolderThatCannotBeCreated) {
  test::EnvironmentSite site;
  site.folder.Folder("home/Faultlog/Log");
  site.folder.Write("home/Faultlog/Error", "a file in its place");
  site.tree.CreateFolderTree();
  EXPECT_THAT(site.Log(), testing::Contains(testing::HasSubstr("[Error]:cannot create " + Text(site.home) +
                                                               "/Faultlog/Error: ")));
  EXPECT_THAT(site.Log(), testing::Not(testing::Contains(testing::EndsWith("[Error]"))))
      << "it was not created";
  EXPECT_FALSE(site.tree.IsWhole());
}

TEST(CreateFolderTree, LogsWhatCannotBeSaved) {
  struct Row {
    const char* file;
    const char* line;
  };
  for (const Row& row : {Row{"Options.ini", "The Archive and Process folders were not saved: "},
                         Row{"LatestList.dat", "The list of Latest folders was not saved: "}}) {
    test::EnvironmentSite site;
    site.folder.Folder(fmt::format("home/.{}.fieldpost-new", row.file));  // where the new file is staged
    site.folder.Folder("home/Faultlog/Log");
    site.tree.CreateFolderTree();
    EXPECT_THAT(site.Log(), testing::Contains(
                                testing::AllOf(testing::HasSubstr(row.line), testing::HasSubstr(row.file))));
    EXPECT_FALSE(site.tree.IsWhole()) << row.file;
  }
}

TEST(PrepareErrorFolder, RemovesAFileOfTheSameName) {
  test::EnvironmentSite site;
  const fs::path bad = site.folder.Write("bad.xml", "new");
  EXPECT_EQ(site.tree.PrepareErrorFolder(bad), site.home / "Faultlog" / "Error" / "");
  EXPECT_TRUE(fs::is_directory(site.home / "Faultlog" / "Error"));
  site.folder.Write("home/Faultlog/Error/bad.xml", "old");
  site.folder.Write("home/Faultlog/Error/other.xml", "old");
  site.tree.PrepareErrorFolder(bad);
  EXPECT_EQ(test::Names(site.home / "Faultlog" / "Error"), std::set<std::string>{"other.xml"});
  site.tree.PrepareErrorFolder(site.folder.Path() / "other.xml");  // a missing file
  EXPECT_EQ(test::Names(site.home / "Faultlog" / "Error"), std::set<std::string>{"other.xml"});
}

}  // namespace
}  // namespace fieldpost
