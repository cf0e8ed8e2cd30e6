#include "faultlog/FilingTransaction.h"

#include <gmock/gmock.h>

#include <array>
#include <fstream>
#include <iostream>
#include <memory>
#include <utility>

#include "support/BatchSite.h"
#include "support/Variables.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;
using test::BatchSite;
using test::Change;
using test::FlushRule;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr const char* First = "FLog.4711.200403151401.xml";

/// A site whose last run may have been interrupted.
struct RecoverySite : BatchSite {
  std::optional<FiledBatch> Recover() {
    return FilingTransaction(traced, FilingFoldersOf(run), display).Recover();
  }

  /// Adds a file to a batch, commits it, and fails at a later change.
  fs::path FailAfterCommit(std::string_view what, std::string_view ending) {
    fs::path source;
    {
      FilingBatch batch = Batch();
      source = Add(batch, "a.xml", "1");
      FailAt(what, ending);
      EXPECT_FALSE(batch.Finish().succeeded) << what << ' ' << ending;
    }
    traced.before = [](const Change&) {};
    return source;
  }
};

TEST(FilingTransaction, RecoversACommittedBatchWhicheverStepFailed) {
  struct Row {
    const char* what;
    const char* ending;
  };
  for (const Row& row : {
           Row{"rename", ".1.fieldpost-new"},
           Row{"rename", ".FLog.4711.200403151401.xml.fieldpost-new"},
           Row{"remove", "a.xml"},
           Row{"remove", "FLog.journal"},
       }) {
    RecoverySite site;
    const fs::path source = site.FailAfterCommit(row.what, row.ending);
    std::error_code notEmpty;
    fs::remove(site.Tree("Archive") / "A", notEmpty);  // its name may not have reached the disk
    const std::optional<FiledBatch> recovered = site.Recover();
    ASSERT_TRUE(recovered) << row.what << ' ' << row.ending;
    EXPECT_EQ(recovered->files, 1U) << row.what << ' ' << row.ending;
    EXPECT_EQ(recovered->document.path, site.DocumentPath(First));
    EXPECT_EQ(recovered->document.content, HashContent(site.Document())) << row.what << ' ' << row.ending;
    EXPECT_THAT(site.Left(), ElementsAre(First, "a.xml")) << row.what << ' ' << row.ending;
    EXPECT_FALSE(fs::exists(source)) << row.what << ' ' << row.ending;
    EXPECT_FALSE(site.Recover()) << "there is no batch left";
  }
}

TEST(FilingTransaction, ReturnsNoHashOfARecoveredDocumentThatWasChangedSince) {
  struct Row {
    const char* name;
    void (*change)(const fs::path& document);
  };
  for (const Row& row : {
           Row{"marked", [](const fs::path& document) { std::ofstream(document) << "<d Mode=\"Sent\"/>"; }},
           Row{"removed", [](const fs::path& document) { fs::remove(document); }},
       }) {
    RecoverySite site;
    site.FailAfterCommit("remove", "a.xml");
    row.change(site.DocumentPath(First));
    const std::optional<FiledBatch> recovered = site.Recover();
    ASSERT_TRUE(recovered) << row.name;
    EXPECT_EQ(recovered->document.path, site.DocumentPath(First)) << row.name;
    EXPECT_EQ(recovered->document.content, std::nullopt) << row.name;
  }
}

/// A disk on which one file cannot be read.
class UnreadableFile final : public test::DyingFileSystem {
 public:
  explicit UnreadableFile(fs::path path) : path_(std::move(path)) {}

  [[nodiscard]] std::unique_ptr<FileReader> OpenForReading(const fs::path& path) const override {
    if (path == path_) throw FileError("cannot open", path, "permission denied");
    return DyingFileSystem::OpenForReading(path);
  }

 private:
  fs::path path_;
};

TEST(FilingTransaction, RecoversABatchWhoseDocumentCannotBeRead) {
  RecoverySite site;
  const fs::path source = site.FailAfterCommit("remove", "a.xml");
  UnreadableFile files(site.DocumentPath(First));
  const std::optional<FiledBatch> recovered =
      FilingTransaction(files, FilingFoldersOf(site.run), site.display).Recover();
  ASSERT_TRUE(recovered);
  EXPECT_EQ(recovered->document.path, site.DocumentPath(First));
  EXPECT_EQ(recovered->document.content, std::nullopt);
  EXPECT_FALSE(fs::exists(source));
}

TEST(FilingTransaction, LeavesANewFileThatBearsTheNameOfAFiledOne) {
  RecoverySite site;
  const fs::path source = site.FailAfterCommit("remove", "a.xml");
  site.Latest("a.xml", test::FaultlogXml("A", "F", "20040101", "2"));
  const std::optional<FiledBatch> recovered = site.Recover();
  ASSERT_TRUE(recovered);
  EXPECT_EQ(recovered->files, 1U);
  EXPECT_THAT(test::ReadFile(source), HasSubstr("<TEXT>2</TEXT>"));
}

TEST(FilingTransaction, RemovesTheLeftoversOfABatchThatWasNotCommitted) {
  RecoverySite site;
  site.folder.Write("home/Faultlog/Process/FLog.journal", "torn");
  site.folder.Write("home/Faultlog/Process/.d.xml.fieldpost-new", "half");
  site.folder.Write("home/Faultlog/Archive/.7.fieldpost-new", "half");
  site.folder.Write("home/Faultlog/Archive/A/a.xml", "archived");
  site.folder.Write("home/Faultlog/Process/e.xml", "document");
  EXPECT_FALSE(site.Recover());
  EXPECT_THAT(site.Left(), ElementsAre("a.xml", "e.xml"));
}

TEST(FilingTransaction, SetsTheSupersededDocumentAside) {
  RecoverySite site;
  const std::string waiting = "<FLFILE Mode=\"Not Sent\"/>";
  site.FillHour(waiting);
  const fs::path document = site.DocumentPath("FLog.4711.200403151499.xml");
  FilingBatch batch = site.Batch();
  site.Add(batch, "a.xml", "1");
  EXPECT_EQ(test::Filed(batch.Finish()), 1U);
  EXPECT_THAT(test::ReadFile(document), HasSubstr("<TEXT>1</TEXT>"));
  EXPECT_EQ(test::ReadFile(document.native() + ".1.displaced"), waiting);
}

TEST(FilingTransaction, RecoversWithoutASupersededDocumentThatWasRemoved) {
  RecoverySite site;
  const fs::path process = site.Tree("Process");
  const fs::path document = process / "FLog.4711.200403151499.xml";
  const fs::path temporary = TemporaryNameFor(document);
  site.files.WriteNew(temporary, "<d/>", FileAccess::ByUmask);
  const FilingJournal journal{
      .superseded =
          FilingJournal::Superseded{.from = process / "gone.xml", .to = process / "gone.xml.1.displaced"},
      .staged = {{.temporary = temporary, .target = document, .content = HashContent("<d/>")}},
      .sources = {},
      .document = document};
  site.files.WriteNew(process / "FLog.journal", journal.ToBytes(), FileAccess::OwnerOnly);
  const std::optional<FiledBatch> recovered = site.Recover();
  ASSERT_TRUE(recovered);
  EXPECT_EQ(recovered->document.path, document);
  EXPECT_EQ(test::Names(process), std::set<std::string>{Utf8FromPath(document.filename())});
}

bool IsLatest(const fs::path& path) {
  return path.parent_path().filename().string().starts_with("latest");
}

bool IsNamed(const fs::path& path, std::string_view name) {
  return path.filename() == name;
}

bool Publishes(const Change& change) {
  return change.what == "rename" && IsTemporaryName(Utf8FromPath(change.path.filename()));
}

const std::array Rules{
    FlushRule{"a file is written before it is published",
              [](const Change& first, const Change& then) {
                return first.what == "write" && Publishes(then) && first.path == then.path;
              }},
    FlushRule{"a batch is committed before a file of it is published",
              [](const Change& first, const Change& then) {
                return first.what == "write" && IsNamed(first.path, "FLog.journal") && Publishes(then);
              }},
    FlushRule{"a product folder is created before a Latest file is removed",
              [](const Change& first, const Change& then) {
                return first.what == "folder" && then.what == "remove" && IsLatest(then.path);
              }},
    FlushRule{"archived file and document are published before a Latest file is removed",
              [](const Change& first, const Change& then) {
                return Publishes(first) && then.what == "remove" && IsLatest(then.path);
              }},
    FlushRule{"the Latest files are removed before the journal is",
              [](const Change& first, const Change& then) {
                return first.what == "remove" && IsLatest(first.path) && then.what == "remove" &&
                       IsNamed(then.path, "FLog.journal");
              }},
    FlushRule{"a superseded document is set aside before another takes its name",
              [](const Change& first, const Change& then) {
                return first.what == "rename" && first.to.extension() == ".displaced" &&
                       then.what == "rename" && then.to == first.path;
              }},
    FlushRule{"the note of what was sent is written before anything else",
              [](const Change& first, const Change& then) {
                return first.what == "write" && IsNamed(first.path, "FLog.sent") && then.what != "flush";
              }},
    FlushRule{"documents are marked before the note of them is removed",
              [](const Change& first, const Change& then) {
                return Publishes(first) && then.what == "remove" && IsNamed(then.path, "FLog.sent");
              }},
};

/// Two Latest folders, whose files are merged into an archived file, filed new and gathered into the hour's
/// last document, which supersedes one that waits. All is mailed.
struct FlushSite : test::ScanSite {
  FlushSite() {
    latest = {folder.Folder("latest1") / "", folder.Folder("latest2") / ""};
    folder.Write("home/Faultlog/Archive/A/old.xml", test::FaultlogXml("A", "P", "20040101", "archived"));
    folder.Write("latest1/old.xml", test::FaultlogXml("A", "F", "20040101", "one"));
    folder.Write("latest1/new.xml", test::FaultlogXml("B", "F", "20040101", "two"));
    folder.Write("latest2/new.xml", test::FaultlogXml("B", "F", "20040101", "three"));
    for (int i = 1; i <= 99; ++i) {
      WriteDocument(i, fmt::format("<FLFILE Mode=\"{}\"><A/></FLFILE>\r\n", i == 99 ? "Not Sent" : "Sent"));
    }
  }

  /// A run over a file system that is killed at the change of this number. True when it was.
  bool Run(std::size_t changesLeft = 100'000) {
    test::DyingFileSystem dying;
    test::TracedFileSystem traced(dying, trace);
    test::FaultlogParts run({traced, clock, keys, transport, prompt, display}, home);
    run.settings = program.settings;
    run.lists.LatestFolderList = latest;
    run.flags.SendAfterCollect = true;
    dying.changesLeft = changesLeft;
    const std::size_t before = dying.changes;
    try {
      EXPECT_TRUE(run.sendLoop.FinishInterruptedSend());
      EXPECT_TRUE(run.scan.ProcessLatestFiles(display).succeeded);
    } catch (const test::Killed&) {
      return true;
    }
    changes = dying.changes - before;
    return false;
  }

  PathList latest;
  test::Trace trace;
  std::size_t changes = 0;  ///< of the last run that was not killed
};

TEST(FlushOrder, HoldsInAWholeRun) {
  FlushSite site;
  ASSERT_FALSE(site.Run());
  EXPECT_FALSE(site.transport.mails.empty());
  for (const FlushRule& rule : Rules)
    EXPECT_GT(ExpectFlushed(site.trace, rule, "whole run"), 0U) << rule.name;
}

TEST(FlushOrder, HoldsInARunThatRecoversAKilledOne) {
  // Hundreds of runs flush what they write, which takes no time there.
  const test::Variables inMemory{{"TMPDIR", "/dev/shm"}};
  FlushSite whole;
  ASSERT_FALSE(whole.Run());
  ASSERT_GT(whole.changes, 30U);
  std::size_t pairs = 0;
  for (std::size_t n = 0; n < whole.changes; ++n) {
    FlushSite site;
    EXPECT_TRUE(site.Run(n)) << n;
    EXPECT_FALSE(site.Run()) << n;
    const std::string when = fmt::format("killed at change {}", n);
    for (const FlushRule& rule : Rules) pairs += ExpectFlushed(site.trace, rule, when);
  }
  std::cout << whole.changes << " changes, killed at each; " << pairs
            << " pairs of changes with a flush between\n";
}

}  // namespace
}  // namespace fieldpost
