// Scans that are killed, and the runs that recover them.
#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <iostream>

#include "faultlog/FilingJournal.h"
#include "support/FailingCall.h"
#include "support/ScanSite.h"
#include "support/Variables.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;
using test::FailingCall;
using testing::ElementsAre;
using testing::HasSubstr;

/// The sites lie in memory: hundreds of runs flush what they write, which takes no time there.
class RecoverInterruptedRun : public testing::Test {
 private:
  test::Variables inMemory_{{"TMPDIR", "/dev/shm"}};
};

/// A site on which a scan merges, files, creates folders, moves to Error and writes one document.
struct BusySite : test::ScanSite {
  BusySite() {
    program.lists.LatestFolderList = {folder.Folder("one") / "", folder.Folder("two") / ""};
    EXPECT_EQ(program.latestStore.SaveLatestFolders(program.lists.LatestFolderList), "");
    folder.Write("home/Faultlog/Archive/A/old.xml", test::FaultlogXml("A", "P", "20040101", "archived"));
    const auto drop = [this](std::string_view name, std::string_view product) {
      expected.push_back(std::string(name));
      folder.Write(name, test::FaultlogXml(product, "F", "20040101", name));
    };
    drop("one/old.xml", "A");
    drop("one/new.xml", "A");
    drop("one/other.xml", "B");
    drop("two/new.xml", "A");
    drop("two/old.xml", "A");
    folder.Write("two/broken.xml", "<broken");
    std::sort(expected.begin(), expected.end());
  }

  /// Scans, and is killed at the change of this number.
  void ScanAndBeKilled(std::size_t change) {
    files.changesLeft = change;
    EXPECT_THROW(Scan(), test::Killed) << change;
  }

  /// Fills the hour up, with a document that waits to be mailed as its last.
  void FillHourWithWaiting() {
    FillHour("<FLFILE Mode=\"Not Sent\"><TEXT>waiting</TEXT></FLFILE>");
    waiting.emplace_back("waiting");
  }

  void ExpectAllInPlace(const std::string& when) const {
    std::map<std::string, int> inArchive{{"archived", 1}};
    std::map<std::string, int> inDocuments;
    for (const std::string& text : expected) inArchive[text] = inDocuments[text] = 1;
    for (const std::string& text : waiting) inDocuments[text] = 1;
    EXPECT_EQ(test::CountTexts(Tree("Archive")), inArchive) << when;
    EXPECT_EQ(test::CountTexts(Tree("Process")), inDocuments) << when;
    EXPECT_TRUE(fs::is_empty(folder.Path() / "one")) << when;
    EXPECT_TRUE(fs::is_empty(folder.Path() / "two")) << when;
    EXPECT_TRUE(fs::exists(Tree("Error") / "broken.xml")) << when;
    for (const auto& entry : fs::recursive_directory_iterator(home)) {
      EXPECT_FALSE(IsTemporaryName(Utf8FromPath(entry.path().filename()))) << when << entry.path();
      EXPECT_NE(entry.path().filename(), "FLog.journal") << when;
    }
  }

  std::vector<std::string> expected;  ///< the texts of the Latest files, which are their names
  std::vector<std::string> waiting;   ///< the texts of documents that were there before
};

std::size_t ChangesOfAWholeRun() {
  BusySite site;
  const std::size_t before = site.files.changes;
  site.Scan();
  site.ExpectAllInPlace("without a kill");
  return site.files.changes - before;
}

TEST_F(RecoverInterruptedRun, NeitherLosesNorDuplicatesEntriesWhereverTheProgramIsKilled) {
  const std::size_t changes = ChangesOfAWholeRun();
  ASSERT_GT(changes, 20U);
  for (std::size_t n = 0; n < changes; ++n) {
    BusySite site;
    site.ScanAndBeKilled(n);
    DiskFileSystem disk;
    test::FaultlogParts next({disk, site.clock, site.keys, site.transport, site.prompt, site.display},
                             site.home);
    next.settings = site.program.settings;
    next.tree.CreateFolderTree();
    EXPECT_TRUE(next.scan.ProcessLatestFiles(site.display).succeeded) << n;
    site.ExpectAllInPlace(fmt::format("killed at change {} of {}", n, changes));
  }
  std::cout << changes << " changes, killed at each\n";
}

TEST_F(RecoverInterruptedRun, LosesNothingWhenTheRecoveringRunIsKilledToo) {
  const std::size_t changes = ChangesOfAWholeRun();
  std::size_t pairs = 0;
  for (std::size_t n = 0; n < changes; ++n) {
    for (std::size_t again = 0;; again += 3) {
      BusySite site;
      site.ScanAndBeKilled(n);
      bool killed = false;
      {
        test::DyingFileSystem dying;
        test::FaultlogParts second({dying, site.clock, site.keys, site.transport, site.prompt, site.display},
                                   site.home);
        second.settings = site.program.settings;
        second.lists.LatestFolderList = site.program.lists.LatestFolderList;
        dying.changesLeft = again;
        try {
          EXPECT_TRUE(second.scan.ProcessLatestFiles(site.display).succeeded);
        } catch (const test::Killed&) {
          killed = true;
        }
      }
      DiskFileSystem disk;
      EXPECT_TRUE(site.ScanByNextRun(disk).succeeded);
      site.ExpectAllInPlace(fmt::format("killed at {}, then at {}", n, again));
      ++pairs;
      if (!killed) break;
    }
  }
  std::cout << pairs << " pairs\n";
}

/// The staged files of a batch whose journal is written and none of whose files is published.
std::vector<fs::path> StagedFiles(const BusySite& site) {
  std::vector<fs::path> staged;
  for (const std::string_view folder : {"Archive", "Process"}) {
    for (const auto& entry : fs::directory_iterator(site.Tree(folder))) {
      if (IsTemporaryName(Utf8FromPath(entry.path().filename()))) staged.push_back(entry.path());
    }
  }
  std::sort(staged.begin(), staged.end());
  const bool hasJournal = fs::exists(site.Tree("Process") / "FLog.journal");
  return hasJournal && staged.size() == 4 ? staged : std::vector<fs::path>();
}

TEST_F(RecoverInterruptedRun, IgnoresABatchWhoseStagedFilesDidNotReachTheDisk) {
  struct Case {
    const char* name;
    void (*lose)(const fs::path& file);
  };
  const std::array cases{
      Case{"empty", [](const fs::path& file) { fs::resize_file(file, 0); }},
      Case{"cut off", [](const fs::path& file) { fs::resize_file(file, fs::file_size(file) / 2); }},
      Case{"missing", [](const fs::path& file) { fs::remove(file); }},
  };
  std::size_t covered = 0;
  for (const Case& one : cases) {
    for (std::size_t n = 0, changes = ChangesOfAWholeRun(); n < changes; ++n) {
      for (std::size_t which = 0;; ++which) {
        BusySite site;
        site.ScanAndBeKilled(n);
        const std::vector<fs::path> staged = StagedFiles(site);
        if (which >= staged.size()) break;
        one.lose(staged[which]);
        ++covered;
        DiskFileSystem disk;
        site.ScanByNextRun(disk);
        site.ExpectAllInPlace(
            fmt::format("killed at {}, {} is {}", n, staged[which].filename().native(), one.name));
      }
    }
  }
  EXPECT_GE(covered, cases.size() * 4);
}

/// The journal that a killed run left, when all files of its batch are published.
std::optional<FilingJournal> JournalOfPublishedFiles(const BusySite& site) {
  const fs::path file = site.Tree("Process") / "FLog.journal";
  if (!fs::exists(file)) return std::nullopt;
  std::optional<FilingJournal> journal = FilingJournal::FromBytes(test::ReadFile(file));
  if (!journal || std::any_of(journal->staged.begin(), journal->staged.end(),
                              [](const auto& staged) { return fs::exists(staged.temporary); })) {
    return std::nullopt;
  }
  return journal;
}

/// A power cut may bring back a journal whose removal was not flushed, beside files that were staged since.
TEST_F(RecoverInterruptedRun, DoesNotPublishAFileThatALaterBatchHasStaged) {
  std::size_t covered = 0;
  for (std::size_t n = ChangesOfAWholeRun(), which = 0; n > 0 && covered < 4;) {
    BusySite site;
    site.ScanAndBeKilled(n - 1);
    const std::optional<FilingJournal> journal = JournalOfPublishedFiles(site);
    if (!journal || which >= journal->staged.size()) {
      --n;
      continue;
    }
    DiskFileSystem disk;
    disk.WriteNew(journal->staged[which].temporary, test::FaultlogXml("X", "P", "20040101", "newer"),
                  FileAccess::ByUmask);
    site.ScanByNextRun(disk);
    site.ExpectAllInPlace(fmt::format("killed at {}, staged file {}", n, which));
    ++which;
    ++covered;
  }
  EXPECT_EQ(covered, 4U);
}

TEST_F(RecoverInterruptedRun, LogsHowManyFilesItRecoveredAndQueuesTheirDocument) {
  const std::size_t changes = ChangesOfAWholeRun();
  std::set<std::string> lines;
  for (std::size_t n = 0; n < changes; ++n) {
    BusySite site;
    site.ScanAndBeKilled(n);
    DiskFileSystem disk;
    test::FaultlogParts next({disk, site.clock, site.keys, site.transport, site.prompt, site.display},
                             site.home);
    next.settings = site.program.settings;
    EXPECT_TRUE(next.scan.RecoverInterruptedRun().succeeded);
    std::size_t recoveries = 0;
    for (const std::string& line : site.Log()) {
      if (line.find("Recovered") == std::string::npos) continue;
      lines.insert(line);
      ++recoveries;
    }
    ASSERT_EQ(next.lists.PendingFiles.size(), recoveries) << n;
    if (recoveries == 0) continue;
    const PendingFile& pending = next.lists.PendingFiles.front();
    EXPECT_EQ(pending.path, site.DocumentPath()) << n;
    EXPECT_EQ(pending.content, HashContent(site.Document())) << n;
  }
  EXPECT_THAT(lines, ElementsAre("[Search Latest]:Recovered 5 files from an interrupted run"));
}

TEST_F(RecoverInterruptedRun, LosesNoSupersededDocumentWhereverTheProgramIsKilled) {
  std::size_t changes = 0;
  for (std::size_t n = 0; n == 0 || n <= changes; ++n) {
    BusySite site;
    site.FillHourWithWaiting();
    const std::size_t before = site.files.changes;
    site.files.changesLeft = n == 0 ? site.files.changesLeft : n - 1;
    try {
      site.Scan();
    } catch (const test::Killed&) {
    }
    if (n == 0) changes = site.files.changes - before;
    site.clock.now.hour = 15;  // by then there are free numbers
    DiskFileSystem disk;
    site.ScanByNextRun(disk);
    site.ExpectAllInPlace(fmt::format("killed at change {} of {}", n, changes));
  }
  ASSERT_GT(changes, 20U);
}

TEST_F(RecoverInterruptedRun, NeitherLosesNorDuplicatesEntriesWhenTheJournalCannotBeRemovedEither) {
  int journalsLeft = 0;
  for (int removals = 0; removals < 10; ++removals) {
    BusySite site;
    site.FillHourWithWaiting();
    {
      const FailingCall full("syncfs", EIO);
      const FailingCall stuck("unlink", EIO, removals, 1000);
      EXPECT_FALSE(site.Scan().succeeded) << removals;
    }
    if (fs::exists(site.Tree("Process") / "FLog.journal")) ++journalsLeft;
    ++site.clock.now.hour;
    EXPECT_TRUE(site.ScanByNextRun(site.files).succeeded) << removals;
    site.ExpectAllInPlace(fmt::format("nothing could be removed after {} removals", removals));
  }
  EXPECT_GT(journalsLeft, 0);
}

TEST_F(RecoverInterruptedRun, FilesEverythingOnceTheJournalCanBeWritten) {
  BusySite site;
  site.folder.Folder("home/Faultlog/Process/FLog.journal");
  EXPECT_FALSE(site.Scan().succeeded);
  for (const std::string& name : site.expected) EXPECT_TRUE(fs::exists(site.folder.Path() / name)) << name;
  EXPECT_THAT(site.Log(), testing::Contains(HasSubstr("FLog.journal")));
  fs::remove_all(site.Tree("Process") / "FLog.journal");
  site.Scan();
  site.ExpectAllInPlace("after the folder was removed");
}

}  // namespace
}  // namespace fieldpost
