// The steps of a batch one by one: what each leaves when the next one fails.
#include <gmock/gmock.h>

#include <array>

#include "faultlog/FilingBatch.h"
#include "support/TestSite.h"
#include "support/TracedFileSystem.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;
using test::Change;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// A batch over files of which any change can be made to fail.
struct BatchSite : test::ReadySite {
  test::Trace trace;
  test::TracedFileSystem traced{files, trace};

  [[nodiscard]] fs::path Archive() const { return Tree("Archive"); }
  [[nodiscard]] fs::path Process() const { return Tree("Process"); }
  [[nodiscard]] fs::path Document() const { return Process() / "d.xml"; }

  [[nodiscard]] FilingBatch Batch() { return {traced, Archive(), Process(), display}; }

  /// Takes a new Latest file into a batch, to be filed as product A's file of the same name.
  fs::path Accept(FilingBatch& batch, const std::string& name, std::string_view text) {
    fs::path source = Latest(name, test::FaultlogXml("A", "F", "20040101", text));
    const std::optional<FileContent> content = files.ReadFinished(source, AnySize);
    FaultloggerFile file;
    EXPECT_TRUE(file.Load(content->bytes));
    batch.Accept(file, *content, source, Archive() / "A" / name);
    return source;
  }

  void FailAt(std::string_view what, std::string_view ending) {
    traced.before = [what, ending](const Change& change) {
      if (change.what == what && Utf8FromPath(change.path).ends_with(ending)) {
        throw FileError("cannot do", change.path, "no space left on device");
      }
    };
  }

  /// Everything but folders below the Archive and in the Process folder.
  [[nodiscard]] std::vector<std::string> Left() const {
    std::vector<std::string> names;
    for (const fs::path& below : {Archive(), Process()}) {
      for (const auto& entry : fs::recursive_directory_iterator(below)) {
        if (!entry.is_directory()) names.push_back(Utf8FromPath(entry.path().filename()));
      }
    }
    std::sort(names.begin(), names.end());
    return names;
  }
};

TEST(FilingBatchSteps, ABatchThatIsGivenUpLeavesNothing) {
  BatchSite site;
  fs::path source;
  {
    FilingBatch batch = site.Batch();
    source = site.Accept(batch, "a.xml", "1");
    EXPECT_EQ(site.Left().size(), 1U) << "what is staged";
  }
  EXPECT_THAT(site.Left(), IsEmpty());
  EXPECT_TRUE(fs::exists(source));
}

TEST(FilingBatchSteps, ADroppedBatchIsForgotten) {
  BatchSite site;
  FilingBatch batch = site.Batch();
  const fs::path dropped = site.Accept(batch, "a.xml", "1");
  site.Accept(batch, "a.xml", "2");
  batch.Drop();
  EXPECT_THAT(site.Left(), IsEmpty());
  const fs::path source = site.Accept(batch, "a.xml", "3");
  EXPECT_EQ(batch.Publish(site.Document(), "<d/>"), 1U);
  EXPECT_THAT(site.Left(), ElementsAre("a.xml", "d.xml"));
  const std::string archived = test::ReadFile(site.Archive() / "A" / "a.xml");
  EXPECT_THAT(archived, HasSubstr("<TEXT>3</TEXT>"));
  EXPECT_THAT(archived, testing::Not(HasSubstr("<TEXT>1</TEXT>")));
  EXPECT_FALSE(fs::exists(source));
  EXPECT_EQ(dropped, source);
}

TEST(FilingBatchSteps, ASecondBatchMakesTheFoldersThatWereEmptiedMeanwhile) {
  BatchSite site;
  FilingBatch batch = site.Batch();
  site.Accept(batch, "a.xml", "1");
  EXPECT_EQ(batch.Publish(site.Document(), "<d/>"), 1U);
  fs::remove_all(site.Archive() / "A");
  site.Accept(batch, "b.xml", "2");
  EXPECT_EQ(batch.Publish(site.Process() / "e.xml", "<e/>"), 1U);
  EXPECT_THAT(site.Left(), ElementsAre("b.xml", "d.xml", "e.xml"));

  site.Accept(batch, "c.xml", "3");
  batch.Drop();
  fs::remove_all(site.Archive() / "A");
  site.Accept(batch, "c.xml", "3");
  EXPECT_EQ(batch.Publish(site.Process() / "f.xml", "<f/>"), 1U) << "after one that was dropped too";
}

TEST(FilingBatchSteps, ASecondBatchIsMergedIntoWhatTheFirstFiled) {
  BatchSite site;
  FilingBatch batch = site.Batch();
  site.Accept(batch, "b.xml", "0");
  site.Accept(batch, "a.xml", "1");
  EXPECT_EQ(batch.Publish(site.Document(), "<d/>"), 2U);
  site.Accept(batch, "a.xml", "2");
  EXPECT_EQ(batch.Publish(site.Process() / "e.xml", "<e/>"), 1U);
  const std::string archived = test::ReadFile(site.Archive() / "A" / "a.xml");
  for (const char* text : {"<TEXT>1<", "<TEXT>2<"}) EXPECT_THAT(archived, HasSubstr(text));
}

TEST(FilingBatchSteps, NamesakesAreStagedOnceForAll) {
  BatchSite site;
  FilingBatch batch = site.Batch();
  site.Accept(batch, "a.xml", "1");
  site.Accept(batch, "a.xml", "2");
  site.Accept(batch, "b.xml", "3");
  site.Accept(batch, "a.xml", "4");
  EXPECT_EQ(site.Left().size(), 2U) << "what was staged for a.xml first is gone";
  EXPECT_EQ(batch.Publish(site.Document(), "<d/>"), 4U);
  EXPECT_THAT(site.Left(), ElementsAre("a.xml", "b.xml", "d.xml"));
  const std::string archived = test::ReadFile(site.Archive() / "A" / "a.xml");
  for (const char* text : {"<TEXT>1<", "<TEXT>2<", "<TEXT>4<"}) EXPECT_THAT(archived, HasSubstr(text));
}

TEST(FilingBatchSteps, WhatCannotBePublishedIsDroppedAndMayBeFiledAgain) {
  struct Row {
    const char* what;
    const char* ending;
  };
  for (const Row& row : {
           Row{"write", ".d.xml.fieldpost-new"},
           Row{"write", "FLog.journal"},
           Row{"flush", ""},
       }) {
    BatchSite site;
    FilingBatch batch = site.Batch();
    const fs::path source = site.Accept(batch, "a.xml", "1");
    site.FailAt(row.what, row.ending);
    EXPECT_THROW(batch.Publish(site.Document(), "<d/>"), FileError) << row.what;
    EXPECT_THAT(site.Left(), IsEmpty()) << row.what << ' ' << row.ending;
    EXPECT_TRUE(fs::exists(source)) << row.what << ' ' << row.ending;

    site.traced.before = [](const Change&) {};
    site.Accept(batch, "a.xml", "2");
    EXPECT_EQ(batch.Publish(site.Document(), "<d/>"), 1U);
    EXPECT_THAT(site.Left(), ElementsAre("a.xml", "d.xml")) << row.what;
  }
}

TEST(FilingBatchSteps, WhatWasDecidedIsFinishedByTheNextRun) {
  struct Row {
    const char* what;
    const char* ending;
  };
  for (const Row& row : {
           Row{"rename", ".1.fieldpost-new"},
           Row{"rename", ".d.xml.fieldpost-new"},
           Row{"remove", "a.xml"},
           Row{"remove", "FLog.journal"},
       }) {
    BatchSite site;
    fs::path source;
    {
      FilingBatch batch = site.Batch();
      source = site.Accept(batch, "a.xml", "1");
      site.FailAt(row.what, row.ending);
      EXPECT_THROW(batch.Publish(site.Document(), "<d/>"), FileError) << row.what << ' ' << row.ending;
    }
    site.traced.before = [](const Change&) {};
    std::error_code notEmpty;
    fs::remove(site.Archive() / "A", notEmpty);  // its name may not have reached the disk
    FilingBatch next = site.Batch();
    PathList documents;
    EXPECT_EQ(next.FinishInterrupted(documents), 1U) << row.what << ' ' << row.ending;
    EXPECT_THAT(documents, ElementsAre(site.Document()));
    EXPECT_THAT(site.Left(), ElementsAre("a.xml", "d.xml")) << row.what << ' ' << row.ending;
    EXPECT_FALSE(fs::exists(source)) << row.what << ' ' << row.ending;
    EXPECT_EQ(next.FinishInterrupted(documents), 0U);
  }
}

TEST(FilingBatchSteps, ANewFileOfTheNameOfOneThatWasFiledStays) {
  BatchSite site;
  fs::path source;
  {
    FilingBatch batch = site.Batch();
    source = site.Accept(batch, "a.xml", "1");
    site.FailAt("remove", "a.xml");
    EXPECT_THROW(batch.Publish(site.Document(), "<d/>"), FileError);
  }
  site.traced.before = [](const Change&) {};
  site.Latest("a.xml", test::FaultlogXml("A", "F", "20040101", "2"));
  FilingBatch next = site.Batch();
  PathList documents;
  EXPECT_EQ(next.FinishInterrupted(documents), 1U);
  EXPECT_THAT(test::ReadFile(source), HasSubstr("<TEXT>2</TEXT>"));
}

TEST(FilingBatchSteps, WhatAnEarlierRunLeftIsInNobodysWay) {
  BatchSite site;
  site.folder.Write("home/Faultlog/Process/.d.xml.fieldpost-new", "half");
  FilingBatch batch = site.Batch();
  site.Accept(batch, "a.xml", "1");
  EXPECT_EQ(batch.Publish(site.Document(), "<d/>"), 1U);
  EXPECT_EQ(test::ReadFile(site.Document()), "<d/>");
}

TEST(FinishInterruptedSteps, RemovesWhatMeansNothing) {
  BatchSite site;
  site.folder.Write("home/Faultlog/Process/FLog.journal", "torn");
  site.folder.Write("home/Faultlog/Process/.d.xml.fieldpost-new", "half");
  site.folder.Write("home/Faultlog/Archive/.7.fieldpost-new", "half");
  site.folder.Write("home/Faultlog/Archive/A/a.xml", "archived");
  site.folder.Write("home/Faultlog/Process/e.xml", "document");
  FilingBatch batch = site.Batch();
  PathList documents;
  EXPECT_EQ(batch.FinishInterrupted(documents), 0U);
  EXPECT_THAT(documents, IsEmpty());
  EXPECT_THAT(site.Left(), ElementsAre("a.xml", "e.xml"));
}

TEST(FilingBatchSteps, ADocumentMakesRoomForAnother) {
  BatchSite site;
  site.folder.Write("home/Faultlog/Process/d.xml", "waiting");
  FilingBatch batch = site.Batch();
  site.Accept(batch, "a.xml", "1");
  batch.Displace(site.Document(), site.Process() / "d.xml.1.displaced");
  EXPECT_EQ(batch.Publish(site.Document(), "<d/>"), 1U);
  EXPECT_EQ(test::ReadFile(site.Document()), "<d/>");
  EXPECT_EQ(test::ReadFile(site.Process() / "d.xml.1.displaced"), "waiting");
}

TEST(FilingBatchSteps, AMergeIntoTheFileItselfIsRefused) {
  BatchSite site;
  const fs::path source =
      site.folder.Write("home/Faultlog/Archive/A/a.xml", test::FaultlogXml("A", "F", "20040101", "1"));
  const std::string before = test::ReadFile(source);
  FilingBatch batch = site.Batch();
  const std::optional<FileContent> content = site.files.ReadFinished(source, AnySize);
  FaultloggerFile file;
  ASSERT_TRUE(file.Load(content->bytes));
  EXPECT_THROW(batch.Accept(file, *content, source, source), FileError);
  EXPECT_EQ(test::ReadFile(source), before);

  FileContent elsewhere = *content;
  ++elsewhere.stamp.device;
  EXPECT_NO_THROW(batch.Accept(file, elsewhere, source, source)) << "the same number on another disk";
}

TEST(FilingBatchSteps, EventsRunWhileItPublishes) {
  BatchSite site;
  FilingBatch batch = site.Batch();
  for (const char* name : {"a.xml", "b.xml", "c.xml"}) site.Accept(batch, name, name);
  const std::size_t before = site.display.eventTurns;
  EXPECT_EQ(batch.Publish(site.Document(), "<d/>"), 3U);
  EXPECT_EQ(site.display.eventTurns - before, 4U + 3U) << "one a file that gets its name, one a source";
}

}  // namespace
}  // namespace fieldpost
