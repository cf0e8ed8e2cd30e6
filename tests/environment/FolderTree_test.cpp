// Installation path and folder tree.
#include "environment/FolderTree.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include "environment/RegistryKeys.h"
#include "support/TestSite.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

std::string Text(const fs::path& path) {
  return Utf8FromPath(path);
}

TEST(GetInstallPath, FallsBackOnTheProgramsOwnFolder) {
  test::TestSite site;
  const std::string suite = Text(site.folder.Folder("suite"));
  struct Row {
    const char* name;
    std::string value;
    std::string expected;
  };
  for (const Row& row : {
           Row{"no value", "", Text(site.home)},
           Row{"a folder", suite, suite},
           Row{"a separator at its end", suite + "/", suite},
           Row{"two of them", suite + "//", suite + "/"},
           Row{"missing", suite + "/none", Text(site.home)},
           Row{"the root", "/", "/"},
           Row{"the root twice", "//", "/"},
       }) {
    site.SetRegistry(SuiteInstallPathKey, "", row.value);
    EXPECT_EQ(Text(site.program.paths.GetInstallPath()), row.expected) << row.name;
  }
}

TEST(CreateFolderTree, SaysThatTheFoldersCouldNotBeSaved) {
  test::TestSite site;
  site.folder.Folder("home/Options.ini");
  site.program.tree.CreateFolderTree();
  EXPECT_THAT(
      site.Log(),
      testing::Contains(testing::HasSubstr("[Error]:The Archive and Process folders were not saved: ")));
  EXPECT_TRUE(fs::is_directory(site.Tree("Archive")));
}

TEST(CreateFolderTree, SaysWhatKeepsAFolderFromBeingMade) {
  test::TestSite site;
  site.folder.Write("home/Faultlog", "a file");
  site.program.tree.CreateFolderTree();
  EXPECT_EQ(test::ReadFile(site.home / "Faultlog"), "a file");
  EXPECT_FALSE(fs::exists(site.Tree("Archive")));
}

TEST(PrepareErrorFolder, LeavesAFolderThatBearsTheFilesName) {
  test::ReadySite site;
  const fs::path file = site.Latest("a.xml", "<broken");
  site.folder.Write("home/Faultlog/Error/a.xml/kept", "");
  EXPECT_EQ(site.program.tree.PrepareErrorFolder(file), site.Tree("Error") / "");
  EXPECT_TRUE(fs::exists(site.Tree("Error") / "a.xml" / "kept"));
}

TEST(GetFaultlogRootFromIni, CutsBeforeTheWordAsItIsSpelt) {
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
    test::ReadySite site;
    const std::string base = Text(site.folder.Path()) + "/";
    site.folder.Folder(row.folder);
    const fs::path suite = site.folder.Folder("suite");
    site.folder.Write("suite/Faultlog.ini", "[Directories]\r\nFaultLog= " + base + row.folder + " \r\n");
    EXPECT_EQ(site.program.tree.GetFaultlogRootFromIni(Text(suite)), base + row.expected) << row.name;
    EXPECT_THAT(site.Log(), IsEmpty()) << row.name;
  }
}

TEST(GetFaultlogRootFromIni, IsEmptyWhenThereIsNoSuchFolder) {
  test::ReadySite site;
  const fs::path suite = site.folder.Folder("suite");
  EXPECT_EQ(site.program.tree.GetFaultlogRootFromIni(""), "");
  EXPECT_EQ(site.program.tree.GetFaultlogRootFromIni(Text(suite / "none")), "");
  EXPECT_THAT(site.Log(), IsEmpty());

  site.folder.Write("suite/faultlog.ini", "[Directories]\r\nFaultLog=/no/such/folder\r\n");
  EXPECT_EQ(site.program.tree.GetFaultlogRootFromIni(Text(suite)), "");
  EXPECT_THAT(site.Log(), IsEmpty());

  site.folder.Write("suite/faultlog.ini", "[Directories]\r\nOther=x\r\n");
  EXPECT_EQ(site.program.tree.GetFaultlogRootFromIni(Text(suite)), "");
  EXPECT_THAT(site.Log(), ElementsAre("[Error]:Faultlog path settings not found in Faultlog.ini"));
}

TEST(CreateFolderTree, MakesAndLogsWhatIsMissingOnce) {
  test::TestSite site;
  site.program.tree.CreateFolderTree();
  const std::string tree = "[Create missing directory]:" + Text(site.home) + "/Faultlog/";
  EXPECT_THAT(site.Log(), ElementsAre(tree + "[Latest]", tree + "[Archive]", tree + "[Process]",
                                      tree + "[Log]", tree + "[Error]", tree + "[PPCTemp]"));
  EXPECT_EQ(test::Names(site.home / "Faultlog"),
            (std::set<std::string>{"Archive", "Error", "Latest", "Log", "PPCTemp", "Process"}));
  EXPECT_EQ(site.program.settings.ArchiveFolder, Text(site.home) + "/Faultlog/Archive/");
  EXPECT_EQ(site.program.settings.ProcessFolder, Text(site.home) + "/Faultlog/Process/");
  EXPECT_THAT(site.program.lists.LatestFolderList, ElementsAre(site.home / "Faultlog" / "Latest" / ""));

  const std::vector<std::string> first = site.Log();
  site.program.tree.CreateFolderTree();
  EXPECT_EQ(site.Log(), first);
  EXPECT_THAT(site.program.lists.LatestFolderList, ElementsAre(site.home / "Faultlog" / "Latest" / ""));
}

TEST(CreateFolderTree, KeepsWhatItSetForTheNextStart) {
  test::TestSite site;
  site.program.tree.CreateFolderTree();
  EXPECT_TRUE(site.program.tree.IsWhole());
  test::FakeTransport transport;
  const FieldpostProgram next({site.files, site.clock, site.keys, transport, site.prompt, site.display},
                              site.home);
  EXPECT_EQ(next.settings.ArchiveFolder, Text(site.home) + "/Faultlog/Archive/");
  EXPECT_EQ(next.settings.ProcessFolder, Text(site.home) + "/Faultlog/Process/");
}

TEST(CreateFolderTree, SavesTheSettingsWhenAFolderIsAnotherNow) {
  struct Row {
    const char* name;
    bool archive;
    bool process;
  };
  for (const Row& row : {Row{"neither", false, false}, Row{"the archive", true, false},
                         Row{"the process folder", false, true}}) {
    test::TestSite site;
    MailSettings& settings = site.program.settings;
    settings.ArchiveFolder = row.archive ? "/no/such/folder/" : Text(site.folder.Folder("a")) + "/";
    settings.ProcessFolder = row.process ? "/no/such/folder/" : Text(site.folder.Folder("p")) + "/";
    site.program.tree.CreateFolderTree();
    EXPECT_EQ(fs::exists(site.home / "Options.ini"), row.archive || row.process) << row.name;
  }
}

TEST(CreateFolderTree, LiesUnderTheInstallationPath) {
  test::TestSite site;
  const fs::path suite = site.folder.Folder("suite");
  site.SetRegistry(SuiteInstallPathKey, "", Text(suite));
  site.program.tree.CreateFolderTree();
  EXPECT_EQ(test::Names(suite / "Faultlog").size(), 6U);
  EXPECT_FALSE(fs::exists(site.home / "Faultlog"));
}

TEST(CreateFolderTree, ReplacesSettingsThatNameMissingFolders) {
  test::TestSite site;
  site.program.settings.ArchiveFolder = "/no/such/archive/";
  site.program.settings.ProcessFolder = Text(site.folder.Folder("mine")) + "/";
  site.program.tree.CreateFolderTree();
  EXPECT_EQ(site.program.settings.ArchiveFolder, Text(site.home) + "/Faultlog/Archive/");
  EXPECT_EQ(site.program.settings.ProcessFolder, Text(site.folder.Path()) + "/mine/");
  EXPECT_FALSE(fs::exists(site.home / "Faultlog" / "Process"));
}

struct IniSite : test::TestSite {
  IniSite() {
    suite = folder.Folder("suite");
    SetRegistry(SuiteInstallPathKey, "", Text(suite));
    root = Text(folder.Folder("data/Faultlog"));
    folder.Write("suite/faultlog.ini", "[Directories]\r\nFaultLog=" + Text(folder.Path()) + "/data\r\n");
  }
  fs::path suite;
  std::string root;
};

TEST(CreateFolderTree, TakesOverTheTreeOfTheIniFileInSilence) {
  IniSite site;
  site.program.tree.CreateFolderTree();
  EXPECT_THAT(site.program.lists.LatestFolderList, ElementsAre(PathFromUtf8(site.root + "/Latest/")));
  EXPECT_EQ(site.program.settings.ArchiveFolder, site.root + "/Archive/");
  EXPECT_EQ(site.program.settings.ProcessFolder, site.root + "/Process/");
  EXPECT_EQ(test::Names(PathFromUtf8(site.root)), (std::set<std::string>{"Archive", "Latest", "Process"}));
  const std::string tree = "[Create missing directory]:" + Text(site.suite) + "/Faultlog/";
  EXPECT_THAT(site.Log(), ElementsAre(tree + "[Log]", tree + "[Error]", tree + "[PPCTemp]"));
}

TEST(CreateFolderTree, AddsTheIniTreesLatestFolderToAListUnlessItIsThere) {
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
    site.program.latestStore.SaveLatestFolders({PathFromUtf8(latest)});
    site.program.tree.CreateFolderTree();
    EXPECT_EQ(site.program.lists.LatestFolderList.size(), row.expected) << row.name;
    PathList stored;
    site.program.latestStore.LoadLatestFolders(stored);
    EXPECT_EQ(stored, site.program.lists.LatestFolderList) << row.name;
  }
}

TEST(CreateFolderTree, LeavesSetFoldersToTheIniTree) {
  IniSite site;
  site.program.settings.ArchiveFolder = Text(site.folder.Folder("mine")) + "/";
  site.program.tree.CreateFolderTree();
  EXPECT_EQ(site.program.settings.ArchiveFolder, Text(site.folder.Path()) + "/mine/");
}

TEST(CreateFolderTree, IgnoresTheIniFileOfAMissingInstallationPath) {
  IniSite site;
  site.SetRegistry(SuiteInstallPathKey, "", Text(site.suite) + "/none");
  site.program.tree.CreateFolderTree();
  EXPECT_THAT(site.program.lists.LatestFolderList, ElementsAre(site.home / "Faultlog" / "Latest" / ""));
}

TEST(CreateFolderTree, NamesAFolderThatCannotBeMade) {
  test::TestSite site;
  site.folder.Folder("home/Faultlog/Log");
  site.folder.Write("home/Faultlog/Error", "a file in its place");
  site.program.tree.CreateFolderTree();
  EXPECT_THAT(site.Log(), testing::Contains(testing::HasSubstr("[Error]:cannot create " + Text(site.home) +
                                                               "/Faultlog/Error: ")));
  EXPECT_THAT(site.Log(), testing::Not(testing::Contains(testing::EndsWith("[Error]")))) << "it was not made";
  EXPECT_FALSE(site.program.tree.IsWhole());
}

TEST(CreateFolderTree, NamesWhatCannotBeSaved) {
  struct Row {
    const char* file;
    const char* line;
  };
  for (const Row& row : {Row{"Options.ini", "The Archive and Process folders were not saved: "},
                         Row{"LatestList.dat", "The list of Latest folders was not saved: "}}) {
    test::TestSite site;
    site.folder.Folder(fmt::format("home/.{}.fieldpost-new", row.file));  // where it would be written first
    site.folder.Folder("home/Faultlog/Log");
    site.program.tree.CreateFolderTree();
    EXPECT_THAT(site.Log(), testing::Contains(
                                testing::AllOf(testing::HasSubstr(row.line), testing::HasSubstr(row.file))));
    EXPECT_FALSE(site.program.tree.IsWhole()) << row.file;
  }
}

TEST(PrepareErrorFolder, MakesRoomForTheFile) {
  test::TestSite site;
  const fs::path bad = site.folder.Write("bad.xml", "new");
  EXPECT_EQ(site.program.tree.PrepareErrorFolder(bad), site.home / "Faultlog" / "Error" / "");
  EXPECT_TRUE(fs::is_directory(site.home / "Faultlog" / "Error"));
  site.folder.Write("home/Faultlog/Error/bad.xml", "old");
  site.folder.Write("home/Faultlog/Error/other.xml", "old");
  site.program.tree.PrepareErrorFolder(bad);
  EXPECT_EQ(test::Names(site.home / "Faultlog" / "Error"), std::set<std::string>{"other.xml"});
  site.program.tree.PrepareErrorFolder(site.folder.Path() / "other.xml");  // no such file to be moved
  EXPECT_EQ(test::Names(site.home / "Faultlog" / "Error"), std::set<std::string>{"other.xml"});
}

}  // namespace
}  // namespace fieldpost
