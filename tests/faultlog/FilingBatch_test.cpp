#include "faultlog/FilingBatch.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <iostream>
#include <map>

#include "support/TestSite.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;

TEST(FilingJournal, ComesBackAsItWasWritten) {
  const FilingJournal journal{
      .displaced = FilingJournal::Displaced{.from = "/p/d.xml", .to = "/p/d.xml.1.displaced"},
      .staged = {{.temporary = "/a/.1",
                  .target = PathFromUtf8("/a/line\nbreak 3:x"),
                  .content = HashContent("1")},
                 {.temporary = "", .target = "", .content = {}}},
      .sources = {{.path = "/l/a.xml", .content = HashContent("a")}},
      .document = "/p/d.xml"};
  EXPECT_EQ(FilingJournal::FromBytes(journal.ToBytes()), journal);
  EXPECT_EQ(FilingJournal::FromBytes(FilingJournal().ToBytes()), FilingJournal());
}

TEST(FilingJournal, IsWholeOrNothing) {
  const std::string bytes = FilingJournal{.displaced = std::nullopt,
                                          .staged = {{.temporary = "/a/.1", .target = "/a/1", .content = {}}},
                                          .sources = {{.path = "/l/a.xml", .content = HashContent("a")}},
                                          .document = "/p/d.xml"}
                                .ToBytes();
  for (std::size_t length = 0; length < bytes.size(); ++length) {
    EXPECT_EQ(FilingJournal::FromBytes(bytes.substr(0, length)), std::nullopt) << "cut at " << length;
    std::string changed = bytes;
    changed[length] = static_cast<char>(changed[length] ^ 1);
    EXPECT_EQ(FilingJournal::FromBytes(changed), std::nullopt) << "changed at " << length;
  }
  EXPECT_EQ(FilingJournal::FromBytes(bytes + "x"), std::nullopt);
}

/// A site on which a run merges, files, makes folders, moves to Error and writes one document.
struct BusySite : test::ReadySite {
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

  /// How often each text stands in the files below a folder.
  [[nodiscard]] std::map<std::string, int> Count(const fs::path& below) const {
    std::map<std::string, int> count;
    for (const auto& entry : fs::recursive_directory_iterator(below)) {
      if (!entry.is_regular_file() || entry.path().extension() != ".xml") continue;
      XmlDocument document;
      EXPECT_TRUE(document.Load(test::ReadFile(entry.path()))) << entry.path() << document.Reason();
      if (!document.IsLoaded()) continue;
      for (const XmlElement& text : document.ElementsByTagName("TEXT")) ++count[text.Text()];
    }
    return count;
  }

  void ExpectAllInPlace(const std::string& when) const {
    std::map<std::string, int> inDocuments;
    for (const std::string& text : expected) inDocuments[text] = 1;
    std::map<std::string, int> inArchive = inDocuments;
    inArchive["archived"] = 1;
    EXPECT_EQ(Count(Tree("Archive")), inArchive) << when;
    EXPECT_EQ(Count(Tree("Process")), inDocuments) << when;
    EXPECT_TRUE(fs::is_empty(folder.Path() / "one")) << when;
    EXPECT_TRUE(fs::is_empty(folder.Path() / "two")) << when;
    EXPECT_TRUE(fs::exists(Tree("Error") / "broken.xml")) << when;
    for (const auto& entry : fs::recursive_directory_iterator(home)) {
      EXPECT_FALSE(IsTemporaryName(Utf8FromPath(entry.path().filename()))) << when << entry.path();
      EXPECT_NE(entry.path().filename(), "FLog.journal") << when;
    }
  }

  std::vector<std::string> expected;
};

std::size_t ChangesOfAWholeRun() {
  BusySite site;
  const std::size_t before = site.files.changes;
  site.program.scan.ProcessLatestFiles(site.display);
  site.ExpectAllInPlace("without a kill");
  return site.files.changes - before;
}

TEST(FilingBatch, LosesAndDoublesNothingWhereverTheProgramIsKilled) {
  const std::size_t changes = ChangesOfAWholeRun();
  ASSERT_GT(changes, 20U);
  for (std::size_t n = 0; n < changes; ++n) {
    BusySite site;
    site.files.changesLeft = n;
    EXPECT_THROW(site.program.scan.ProcessLatestFiles(site.display), test::Killed) << n;

    DiskFileSystem disk;
    FieldpostProgram next({disk, site.clock, site.keys, site.transport, site.prompt, site.display},
                          site.home);
    next.settings = site.program.settings;
    next.tree.CreateFolderTree();
    next.scan.ProcessLatestFiles(site.display);
    EXPECT_TRUE(next.scan.Succeeded()) << n;
    site.ExpectAllInPlace(fmt::format("killed at change {} of {}", n, changes));
  }
  std::cout << changes << " changes, killed at each\n";
}

TEST(FilingBatch, LosesNothingWhenTheRecoveringRunIsKilledToo) {
  const std::size_t changes = ChangesOfAWholeRun();
  std::size_t pairs = 0;
  for (std::size_t n = 0; n < changes; ++n) {
    for (std::size_t again = 0;; again += 3) {
      BusySite site;
      site.files.changesLeft = n;
      EXPECT_THROW(site.program.scan.ProcessLatestFiles(site.display), test::Killed);
      bool killed = false;
      {
        test::DyingFileSystem dying;
        FieldpostProgram second({dying, site.clock, site.keys, site.transport, site.prompt, site.display},
                                site.home);
        second.settings = site.program.settings;
        second.lists.LatestFolderList = site.program.lists.LatestFolderList;
        dying.changesLeft = again;
        try {
          second.scan.ProcessLatestFiles(site.display);
        } catch (const test::Killed&) {
          killed = true;
        }
      }
      DiskFileSystem disk;
      FieldpostProgram last({disk, site.clock, site.keys, site.transport, site.prompt, site.display},
                            site.home);
      last.settings = site.program.settings;
      last.lists.LatestFolderList = site.program.lists.LatestFolderList;
      last.scan.ProcessLatestFiles(site.display);
      site.ExpectAllInPlace(fmt::format("killed at {}, then at {}", n, again));
      ++pairs;
      if (!killed) break;
    }
  }
  std::cout << pairs << " pairs\n";
}

/// The temporary files of a batch whose journal is there and none of whose files has its name yet.
std::vector<fs::path> StagedFiles(const BusySite& site) {
  std::vector<fs::path> staged;
  for (const std::string_view folder : {"Archive", "Process"}) {
    for (const auto& entry : fs::directory_iterator(site.Tree(folder))) {
      if (IsTemporaryName(Utf8FromPath(entry.path().filename()))) staged.push_back(entry.path());
    }
  }
  std::sort(staged.begin(), staged.end());
  const bool decided = fs::exists(site.Tree("Process") / "FLog.journal");
  return decided && staged.size() == 4 ? staged : std::vector<fs::path>();
}

TEST(FinishInterrupted, TakesNoBatchForDecidedWhoseFilesDidNotReachTheDisk) {
  struct Case {
    const char* name;
    void (*lose)(const fs::path& file);
  };
  const std::array cases{
      Case{"empty", [](const fs::path& file) { fs::resize_file(file, 0); }},
      Case{"cut off", [](const fs::path& file) { fs::resize_file(file, fs::file_size(file) / 2); }},
      Case{"gone", [](const fs::path& file) { fs::remove(file); }},
  };
  std::size_t tried = 0;
  for (const Case& one : cases) {
    for (std::size_t n = 0, changes = ChangesOfAWholeRun(); n < changes; ++n) {
      for (std::size_t which = 0;; ++which) {
        BusySite site;
        site.files.changesLeft = n;
        EXPECT_THROW(site.program.scan.ProcessLatestFiles(site.display), test::Killed) << n;
        const std::vector<fs::path> staged = StagedFiles(site);
        if (which >= staged.size()) break;
        one.lose(staged[which]);
        ++tried;
        DiskFileSystem disk;
        FieldpostProgram next({disk, site.clock, site.keys, site.transport, site.prompt, site.display},
                              site.home);
        next.settings = site.program.settings;
        next.lists.LatestFolderList = site.program.lists.LatestFolderList;
        next.scan.ProcessLatestFiles(site.display);
        site.ExpectAllInPlace(
            fmt::format("killed at {}, {} is {}", n, staged[which].filename().native(), one.name));
      }
    }
  }
  EXPECT_GE(tried, cases.size() * 4);
}

/// The journal that a killed run left, when all files of its batch have their names.
std::optional<FilingJournal> JournalOfNamedFiles(const BusySite& site) {
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
TEST(FinishInterrupted, GivesNoNameToAFileThatANewerBatchHasStaged) {
  std::size_t tried = 0;
  for (std::size_t n = ChangesOfAWholeRun(), which = 0; n > 0 && tried < 4;) {
    BusySite site;
    site.files.changesLeft = n - 1;
    EXPECT_THROW(site.program.scan.ProcessLatestFiles(site.display), test::Killed) << n;
    const std::optional<FilingJournal> journal = JournalOfNamedFiles(site);
    if (!journal || which >= journal->staged.size()) {
      --n;
      continue;
    }
    DiskFileSystem disk;
    disk.WriteNew(journal->staged[which].temporary, test::FaultlogXml("X", "P", "20040101", "newer"),
                  FileAccess::ByUmask);
    FieldpostProgram next({disk, site.clock, site.keys, site.transport, site.prompt, site.display},
                          site.home);
    next.settings = site.program.settings;
    next.lists.LatestFolderList = site.program.lists.LatestFolderList;
    next.scan.ProcessLatestFiles(site.display);
    site.ExpectAllInPlace(fmt::format("killed at {}, staged file {}", n, which));
    ++which;
    ++tried;
  }
  EXPECT_EQ(tried, 4U);
}

TEST(FinishInterrupted, SaysHowManyFilesItRecovered) {
  const std::size_t changes = ChangesOfAWholeRun();
  std::set<std::string> lines;
  for (std::size_t n = 0; n < changes; ++n) {
    BusySite site;
    site.files.changesLeft = n;
    EXPECT_THROW(site.program.scan.ProcessLatestFiles(site.display), test::Killed);
    DiskFileSystem disk;
    FieldpostProgram next({disk, site.clock, site.keys, site.transport, site.prompt, site.display},
                          site.home);
    next.settings = site.program.settings;
    EXPECT_TRUE(next.scan.FinishInterruptedRun());
    for (const std::string& line : site.Log()) {
      if (line.find("Recovered") != std::string::npos) lines.insert(line);
    }
  }
  EXPECT_THAT(lines, ElementsAre("[Search Latest]:Recovered 5 files from an interrupted run"));
}

TEST(FilingBatch, LosesNoDocumentThatMakesRoomWhereverTheProgramIsKilled) {
  // Number 99 of the hour is taken by a document that waits to be mailed.
  const auto fillHour = [](BusySite& site) {
    for (int i = 1; i <= 99; ++i) {
      site.folder.Write(fmt::format("home/Faultlog/Process/FLog.4711.2004031514{:02}.xml", i),
                        fmt::format("<FLFILE Mode=\"{}\"/>", i == 99 ? "Not Sent" : "Sent"));
    }
    site.folder.Write("home/Faultlog/Process/FLog.4711.200403151499.xml",
                      "<FLFILE Mode=\"Not Sent\"><TEXT>waiting</TEXT></FLFILE>");
    site.expected.emplace_back("waiting");
  };
  std::size_t changes = 0;
  for (std::size_t n = 0; n == 0 || n <= changes; ++n) {
    BusySite site;
    fillHour(site);
    const std::size_t before = site.files.changes;
    site.files.changesLeft = n == 0 ? site.files.changesLeft : n - 1;
    try {
      site.program.scan.ProcessLatestFiles(site.display);
    } catch (const test::Killed&) {
    }
    if (n == 0) changes = site.files.changes - before;
    site.clock.now.hour = 15;  // by then there are free numbers
    DiskFileSystem disk;
    FieldpostProgram next({disk, site.clock, site.keys, site.transport, site.prompt, site.display},
                          site.home);
    next.settings = site.program.settings;
    next.lists.LatestFolderList = site.program.lists.LatestFolderList;
    next.scan.ProcessLatestFiles(site.display);
    std::map<std::string, int> inDocuments;
    for (const std::string& text : site.expected) inDocuments[text] = 1;
    EXPECT_EQ(site.Count(site.Tree("Process")), inDocuments) << "killed at change " << n << " of " << changes;
  }
  ASSERT_GT(changes, 20U);
}

TEST(FilingBatch, LeavesAFileThatItsDeviceWroteAnewMeanwhile) {
  test::ReadySite site;
  const fs::path source = site.Latest("a.xml", test::FaultlogXml("A", "F", "20040101", "first"));
  FilingBatch batch(site.files, site.Tree("Archive"), site.Tree("Process"), site.display);
  const std::optional<FileContent> content = site.files.ReadFinished(source, 10000);
  FaultloggerFile file;
  ASSERT_TRUE(file.Load(content->bytes));
  batch.Accept(file, *content, source, site.Tree("Archive") / "A" / "a.xml");
  site.Latest("a.xml", test::FaultlogXml("A", "F", "20040101", "second, longer"));
  EXPECT_EQ(batch.Publish(site.Tree("Process") / "d.xml", "<d/>"), 1U);
  EXPECT_THAT(test::ReadFile(source), testing::HasSubstr("second"));
}

TEST(FilingBatch, LeavesEverythingWhereItWasWhenItCannotBePublished) {
  BusySite site;
  site.folder.Folder("home/Faultlog/Process/FLog.journal");
  site.program.scan.ProcessLatestFiles(site.display);
  EXPECT_FALSE(site.program.scan.Succeeded());
  for (const std::string& name : site.expected) EXPECT_TRUE(fs::exists(site.folder.Path() / name)) << name;
  EXPECT_THAT(site.Log(), testing::Contains(testing::HasSubstr("FLog.journal")));
  fs::remove_all(site.Tree("Process") / "FLog.journal");
  site.program.scan.ProcessLatestFiles(site.display);
  site.ExpectAllInPlace("after the journal's place was free again");
}

}  // namespace
}  // namespace fieldpost
