// Scans in which a change of a file, a call of the system or a folder fails.
#include <fmt/format.h>
#include <gmock/gmock.h>

#include <cerrno>
#include <iostream>

#include "common/Limits.h"
#include "faultlog/CombinedDocument.h"
#include "faultlog/LatestScan.h"
#include "support/EachFailingCall.h"
#include "support/ScanSite.h"
#include "support/TracedFileSystem.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;
using test::Change;
using test::FailingCall;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// A scan over files of which any change can be made to fail.
struct FailingSite : test::ScanSite {
  FailingSite() {
    run.settings = program.settings;
    run.lists.LatestFolderList = {Tree("Latest") / ""};
    run.flags.ShowMessages = true;
  }

  ScanResult Scan() { return run.scan.ProcessLatestFiles(display); }

  void FailAt(std::string_view what) {
    traced.before = [what](const Change& change) {
      if (change.what == what) throw FileError("cannot do", change.path, "input/output error");
    };
  }

  test::Trace trace;
  test::TracedFileSystem traced{files, trace};
  test::FaultlogParts run{{traced, clock, keys, transport, prompt, display}, home};
};

TEST(ProcessLatestFiles, LogsWhyAFileCouldNotBeMovedToTheErrorFolder) {
  FailingSite site;
  site.Latest("bad.xml", "<a>");
  site.Latest("good.xml", test::FaultlogXml("A"));
  site.FailAt("move");
  const ScanResult result = site.Scan();
  EXPECT_FALSE(result.succeeded);
  EXPECT_THAT(site.Log(), Contains(HasSubstr("cannot do")));
  EXPECT_TRUE(fs::exists(site.Tree("Archive") / "A" / "good.xml"));
}

TEST(ProcessLatestFiles, FailsWhenABatchCannotBeCommitted) {
  struct Row {
    const char* name;
    std::size_t characters;  ///< beyond the limit the document is written before the scan's end
  };
  for (const Row& row : {Row{"at the end", 10}, Row{"on the way", 1'400'000}}) {
    FailingSite site;
    const fs::path first =
        site.Latest("a.xml", test::FaultlogXml("A", "F", "1", std::string(row.characters, 'x')));
    const fs::path second = site.Latest("b.xml", test::FaultlogXml("B"));
    site.FailAt("flush");
    const ScanResult result = site.Scan();
    EXPECT_FALSE(result.succeeded) << row.name;
    EXPECT_EQ(result.problem, "The files could not be filed; the log says why") << row.name;
    EXPECT_TRUE(fs::exists(first)) << row.name;
    EXPECT_TRUE(fs::exists(second)) << row.name;
    EXPECT_THAT(site.Log(), Contains(HasSubstr("cannot do"))) << row.name;
    EXPECT_THAT(test::Names(site.Tree("Archive") / "A"), IsEmpty()) << row.name;
    const bool secondWasProcessed = fs::exists(site.Tree("Archive") / "B");
    EXPECT_EQ(secondWasProcessed, row.characters < 100) << row.name << ": the scan ends at once";
  }
}

TEST(ProcessLatestFiles, FilesNothingWhenAnInterruptedRunCannotBeRecovered) {
  FailingSite site;
  const fs::path source = site.Latest("a.xml", test::FaultlogXml("A"));
  fs::create_directory(site.Tree("Process") / "FLog.journal");
  const ScanResult result = site.Scan();
  EXPECT_FALSE(result.began);
  EXPECT_FALSE(result.succeeded);
  EXPECT_TRUE(fs::exists(source));
  EXPECT_FALSE(fs::exists(site.Tree("Archive") / "A"));
}

TEST(ProcessLatestFiles, LogsThatItRecoveredOneFile) {
  FailingSite site;
  site.Latest("a.xml", test::FaultlogXml("A"));
  site.traced.before = [](const Change& change) {
    if (change.what == "remove" && change.path.filename() == "a.xml") {
      throw FileError("cannot remove", change.path, "input/output error");
    }
  };
  EXPECT_FALSE(site.Scan().succeeded);
  site.traced.before = [](const Change&) {};
  site.Scan();
  EXPECT_THAT(site.Log(), Contains("[Search Latest]:Recovered 1 files from an interrupted run"));
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

TEST(ProcessLatestFiles, LeavesFilesThatThisUserMayNotListOrRemove) {
  test::ScanSite site;
  ForeignFolders files;
  PathList& folders = site.program.lists.LatestFolderList;
  folders.clear();
  for (const char* name : {"closed", "foreign", "mine"}) {
    folders.push_back(site.folder.Folder(name) / "");
    site.folder.Write(fmt::format("{}/{}.xml", name, name), test::FaultlogXml("A"));
  }
  const ScanResult result = site.ScanByNextRun(files);
  EXPECT_FALSE(result.succeeded);
  EXPECT_THAT(site.Archived("A"), ElementsAre("mine.xml"));
  EXPECT_THAT(result.problem, HasSubstr("cannot list"));
  EXPECT_THAT(site.Log(), Contains(HasSubstr("it could not be removed from its folder afterwards")));
  EXPECT_TRUE(fs::exists(site.folder.Path() / "foreign/foreign.xml"));

  folders.erase(folders.begin(), folders.begin() + 2);
  site.folder.Write("mine/again.xml", test::FaultlogXml("A"));
  EXPECT_TRUE(site.ScanByNextRun(files).succeeded) << "what is known of folders is found out by each scan";
}

/// A site on which a scan merges, files, creates a folder, moves to Error, writes a document and sets one
/// aside.
struct FullSite : test::ScanSite {
  FullSite() {
    program.lists.LatestFolderList = {Tree("Latest") / ""};
    folder.Write("home/Faultlog/Archive/A/old.xml", test::FaultlogXml("A", "P", "20040101", "archived"));
    for (const char* name : {"old.xml", "new.xml"})
      Latest(name, test::FaultlogXml("A", "F", "20040101", name));
    Latest("other.xml", test::FaultlogXml("B", "F", "20040101", "other.xml"));
    Latest("broken.xml", "<broken");
    FillHour("<FLFILE Mode=\"Not Sent\"><TEXT>waiting</TEXT></FLFILE>");
  }

  void ExpectAllInPlace(const std::string& when) const {
    const std::map<std::string, int> archived{
        {"archived", 1}, {"new.xml", 1}, {"old.xml", 1}, {"other.xml", 1}};
    const std::map<std::string, int> waiting{
        {"new.xml", 1}, {"old.xml", 1}, {"other.xml", 1}, {"waiting", 1}};
    EXPECT_EQ(test::CountTexts(Tree("Archive")), archived) << when;
    EXPECT_EQ(test::CountTexts(Tree("Process")), waiting) << when;
    EXPECT_TRUE(fs::is_empty(Tree("Latest"))) << when;
    EXPECT_EQ(test::Names(Tree("Error")), std::set<std::string>{"broken.xml"}) << when;
  }

  void ScanAnHourLater() {
    ++clock.now.hour;
    EXPECT_TRUE(ScanByNextRun(files).succeeded);
  }
};

TEST(ProcessLatestFiles, NeitherLosesNorDuplicatesEntriesWhicheverSystemCallFails) {
  const std::size_t swept = test::ForEachFailingCall([](std::string_view call, int n) {
    FullSite site;
    ScanResult result;
    int failures = 0;
    {
      const FailingCall failing(call, EIO, n);
      result = site.Scan();
      failures = failing.Failures();
    }
    const std::string when = fmt::format("{} number {} failed", call, n);
    if (!result.succeeded) {
      EXPECT_THAT(site.Log(), Contains(HasSubstr("Input/output error"))) << when;
    }
    site.ScanAnHourLater();
    site.ExpectAllInPlace(when);
    return failures;
  });
  EXPECT_GT(swept, 40U);
  std::cout << swept << " failing calls swept\n";
}

TEST(ProcessLatestFiles, LogsAndLeavesAFileThatItMayNotRemove) {
  FullSite site;
  {
    const FailingCall failing("access", EACCES);
    EXPECT_FALSE(site.Scan().succeeded);
  }
  EXPECT_THAT(site.Log(), Contains(HasSubstr("new.xml: it could not be removed from its folder afterwards")));
  EXPECT_THAT(test::Names(site.Tree("Latest")), Contains("new.xml"));
  site.ScanAnHourLater();
}

TEST(ProcessLatestFiles, StopsWhenADocumentCannotBeWritten) {
  FullSite site;
  const std::string large(MaxDocumentCharacters, 'x');
  site.Latest("a.xml", test::FaultlogXml("A", "F", "20040101", large));
  {
    const FailingCall failing("syncfs", ENOSPC);
    EXPECT_FALSE(site.Scan().succeeded);
  }
  EXPECT_THAT(site.Log(), Contains(HasSubstr("No space left on device")));
  EXPECT_EQ(test::CountTexts(site.Tree("Archive")), (std::map<std::string, int>{{"archived", 1}}));
  EXPECT_THAT(test::Names(site.Tree("Latest")), Contains("a.xml"));
}

TEST(ProcessLatestFiles, ReturnsTheFirstOfSeveralProblems) {
  FullSite site;
  site.folder.Write("home/Faultlog/Archive/A/old.xml", "<broken");
  const FailingCall failing("syncfs", ENOSPC);
  EXPECT_THAT(site.Scan().problem, HasSubstr("cannot merge into"));
  EXPECT_THAT(site.Log(), Contains(HasSubstr("No space left on device")));
}

}  // namespace
}  // namespace fieldpost
