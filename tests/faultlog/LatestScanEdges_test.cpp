// Scans one after the other, over many folders, and over folders that refuse something.
#include <gmock/gmock.h>

#include <fstream>

#include "common/Limits.h"
#include "faultlog/LatestScan.h"
#include "support/TestSite.h"
#include "support/TracedFileSystem.h"
#include "xml/XmlDocument.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;
using test::Change;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// A scan over folders of which any change can be made to fail.
struct EdgeSite : test::ReadySite {
  EdgeSite() {
    run.settings = program.settings;
    run.lists.LatestFolderList = {Tree("Latest") / ""};
    run.flags.ShowMessages = true;
  }

  void Scan() { run.scan.ProcessLatestFiles(display); }

  void FailAt(std::string_view what) {
    traced.before = [what](const Change& change) {
      if (change.what == what) throw FileError("cannot do", change.path, "input/output error");
    };
  }

  /// The texts of an hour's document, in their order.
  [[nodiscard]] std::vector<std::string> DocumentTexts() const {
    XmlDocument document;
    EXPECT_TRUE(document.Load(test::ReadFile(Tree("Process") / "FLog.4711.200403151401.xml")));
    std::vector<std::string> texts;
    for (const XmlElement& one : document.ElementsByTagName("TEXT")) texts.push_back(one.Text());
    return texts;
  }

  test::Trace trace;
  test::TracedFileSystem traced{files, trace};
  FieldpostProgram run{{traced, clock, keys, transport, prompt, display}, home};
};

TEST(ProductCodeFault, HoldsTheLongestNameOfAFolder) {
  EXPECT_EQ(ProductCodeFault(std::string(255, 'x')), "");
  EXPECT_NE(ProductCodeFault(std::string(256, 'x')), "");
}

TEST(ProcessLatestFiles, CountsEachScanAnew) {
  EdgeSite site;
  site.Latest("good.xml", test::FaultlogXml("A"));
  site.Latest("bad.xml", "<a>");
  site.Scan();
  EXPECT_TRUE(site.run.scan.Began());
  site.Scan();
  EXPECT_THAT(site.Log(), Contains("[Search Latest]:Found 1 OK files           "));
  EXPECT_EQ(site.Log().back(), "[Search Latest]: 0 Files found in Latest folder(s)");
  EXPECT_EQ(site.display.lines.back(), " 0 Files found in Latest folder(s)");
  site.run.settings.PartnerID.clear();
  site.Scan();
  EXPECT_FALSE(site.run.scan.Began());
}

TEST(ProcessLatestFiles, GoesOnBehindAFileThatStaysOrIsPutAside) {
  EdgeSite site;
  const fs::path open = site.Latest("a.xml", "<FLFILE>");
  fs::resize_file(site.Latest("b.xml", "<a>"), MaxFaultloggerFileBytes + 1);
  site.Latest("c.xml", test::FaultlogXml("A"));
  const std::ofstream writer(open, std::ios::app);
  site.Scan();
  EXPECT_TRUE(fs::exists(site.Tree("Archive") / "A" / "c.xml"));
}

TEST(ProcessLatestFiles, SaysWhyAFileCouldNotBePutAside) {
  EdgeSite site;
  site.Latest("bad.xml", "<a>");
  site.Latest("good.xml", test::FaultlogXml("A"));
  site.FailAt("move");
  site.Scan();
  EXPECT_FALSE(site.run.scan.Succeeded());
  EXPECT_THAT(site.Log(), Contains(HasSubstr("cannot do")));
  EXPECT_TRUE(fs::exists(site.Tree("Archive") / "A" / "good.xml"));
}

TEST(ProcessLatestFiles, FailsWhenNothingCanBePublished) {
  struct Row {
    const char* name;
    std::size_t characters;  ///< beyond the limit the document is written before the scan's end
  };
  for (const Row& row : {Row{"at the end", 10}, Row{"on the way", 1'400'000}}) {
    EdgeSite site;
    const fs::path first =
        site.Latest("a.xml", test::FaultlogXml("A", "F", "1", std::string(row.characters, 'x')));
    const fs::path second = site.Latest("b.xml", test::FaultlogXml("B"));
    site.FailAt("flush");
    site.Scan();
    EXPECT_FALSE(site.run.scan.Succeeded()) << row.name;
    EXPECT_EQ(site.run.scan.Problem(), "The files could not be filed; the log says why") << row.name;
    EXPECT_TRUE(fs::exists(first)) << row.name;
    EXPECT_TRUE(fs::exists(second)) << row.name;
    EXPECT_THAT(site.Log(), Contains(HasSubstr("cannot do"))) << row.name;
    EXPECT_THAT(test::Names(site.Tree("Archive") / "A"), IsEmpty()) << row.name;
    const bool secondWasLookedAt = fs::exists(site.Tree("Archive") / "B");
    EXPECT_EQ(secondWasLookedAt, row.characters < 100) << row.name << ": it ends at once";
  }
}

TEST(ProcessLatestFiles, FilesNothingWhileAnInterruptedRunCannotBeFinished) {
  EdgeSite site;
  const fs::path source = site.Latest("a.xml", test::FaultlogXml("A"));
  fs::create_directory(site.Tree("Process") / "FLog.journal");
  site.Scan();
  EXPECT_FALSE(site.run.scan.Began());
  EXPECT_FALSE(site.run.scan.Succeeded());
  EXPECT_TRUE(fs::exists(source));
  EXPECT_FALSE(fs::exists(site.Tree("Archive") / "A"));
}

TEST(ProcessLatestFiles, SaysThatItRecoveredOneFile) {
  EdgeSite site;
  site.Latest("a.xml", test::FaultlogXml("A"));
  site.traced.before = [](const Change& change) {
    if (change.what == "remove" && change.path.filename() == "a.xml") {
      throw FileError("cannot remove", change.path, "input/output error");
    }
  };
  site.Scan();
  EXPECT_FALSE(site.run.scan.Succeeded());
  site.traced.before = [](const Change&) {};
  site.Scan();
  EXPECT_THAT(site.Log(), Contains("[Search Latest]:Recovered 1 files from an interrupted run"));
}

TEST(ProcessLatestFiles, WorksManyNamesakesThroughInOneGo) {
  struct Row {
    int folders;
    std::vector<std::string> order;
  };
  for (const Row& row : {
           Row{7, {"a1", "b1", "a2", "a3", "a4", "a5", "a6", "a7"}},
           Row{8, {"a1", "a2", "a3", "a4", "a5", "a6", "a7", "a8", "b1"}},
       }) {
    EdgeSite site;
    site.run.lists.LatestFolderList.clear();
    for (int i = 1; i <= row.folders; ++i) {
      const std::string name = fmt::format("in{}", i);
      site.run.lists.LatestFolderList.push_back(site.folder.Folder(name) / "");
      site.folder.Write(name + "/a.xml", test::FaultlogXml("A", "F", "20040101", fmt::format("a{}", i)));
    }
    site.folder.Write("in1/b.xml", test::FaultlogXml("A", "F", "20040101", "b1"));
    site.Scan();
    EXPECT_EQ(site.DocumentTexts(), row.order) << row.folders;
    EXPECT_THAT(test::Names(site.Tree("Archive") / "A"), ElementsAre("a.xml", "b.xml"));
  }
}

/// A disk on which some folders are not this user's.
class ForeignFolders final : public test::DyingFileSystem {
 public:
  [[nodiscard]] bool MayRemoveFrom(const fs::path& folder) const override {
    return folder.parent_path().filename() != "foreign";
  }
  [[nodiscard]] std::vector<std::string> ListFiles(const fs::path& folder,
                                                   std::string_view ending) const override {
    if (folder.parent_path().filename() == "closed")
      throw FileError("cannot list", folder, "permission denied");
    return DyingFileSystem::ListFiles(folder, ending);
  }
};

TEST(ProcessLatestFiles, LeavesFoldersThatAreNotThisUsers) {
  test::ReadySite site;
  ForeignFolders files;
  FieldpostProgram run({files, site.clock, site.keys, site.transport, site.prompt, site.display}, site.home);
  run.settings = site.program.settings;
  for (const char* name : {"closed", "foreign", "mine"}) {
    run.lists.LatestFolderList.push_back(site.folder.Folder(name) / "");
    site.folder.Write(fmt::format("{}/{}.xml", name, name), test::FaultlogXml("A"));
  }
  run.scan.ProcessLatestFiles(site.display);
  EXPECT_FALSE(run.scan.Succeeded());
  EXPECT_THAT(test::Names(site.Tree("Archive") / "A"), ElementsAre("mine.xml"));
  EXPECT_THAT(run.scan.Problem(), HasSubstr("cannot list"));
  EXPECT_THAT(site.Log(), Contains(HasSubstr("it could not be removed from its folder afterwards")));
  EXPECT_TRUE(fs::exists(site.folder.Path() / "foreign/foreign.xml"));

  run.lists.LatestFolderList.erase(run.lists.LatestFolderList.begin(),
                                   run.lists.LatestFolderList.begin() + 1);
  run.lists.LatestFolderList.erase(run.lists.LatestFolderList.begin());
  site.folder.Write("mine/again.xml", test::FaultlogXml("A"));
  run.scan.ProcessLatestFiles(site.display);
  EXPECT_TRUE(run.scan.Succeeded()) << "what is known of folders is found out anew by each scan";
}

}  // namespace
}  // namespace fieldpost
