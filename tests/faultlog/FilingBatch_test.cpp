#include "faultlog/FilingBatch.h"

#include <gmock/gmock.h>

#include <cerrno>

#include "support/BatchSite.h"
#include "support/FailingCall.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;
using test::BatchSite;
using test::Change;
using test::Filed;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr const char* First = "FLog.4711.200403151401.xml";
constexpr const char* Second = "FLog.4711.200403151402.xml";
constexpr const char* Third = "FLog.4711.200403151403.xml";
constexpr const char* Last = "FLog.4711.200403151499.xml";

std::string DocumentOfOne(std::string_view text) {
  return fmt::format(
      "<?xml version=\"1.0\"?>\r\n<FLFILE Mode=\"Not Sent\"><PRODCODE>A</PRODCODE><FAULTLOG No=\"1\">"
      "<MODEIND>F</MODEIND><CONDATE>20040101</CONDATE><TEXT>{}</TEXT></FAULTLOG></FLFILE>\r\n",
      text);
}

TEST(FilingBatch, ReturnsItsDocumentWithTheHashOfItsBytes) {
  BatchSite site;
  FilingBatch batch = site.Batch();
  site.Add(batch, "a.xml", "1");
  const FilingOutcome outcome = batch.Finish();
  ASSERT_TRUE(outcome.batch);
  EXPECT_EQ(outcome.batch->files, 1U);
  EXPECT_EQ(outcome.batch->document.path, site.DocumentPath(First));
  EXPECT_EQ(outcome.batch->document.content, HashContent(test::ReadFile(site.DocumentPath(First))));
}

TEST(FilingBatch, WritesNoDocumentWithoutAFile) {
  BatchSite site;
  FilingBatch batch = site.Batch();
  EXPECT_EQ(Filed(batch.Finish()), 0U);
  EXPECT_THAT(site.Left(), IsEmpty());
}

TEST(FilingBatch, IsFiledByTheFileThatExceedsTheLimitOfItsDocument) {
  BatchSite site;
  FilingBatch batch = site.Batch();
  const fs::path source =
      site.Latest("a.xml", test::FaultlogXml("A", "F", "20040101", std::string(1'300'000, 'x')));
  const std::optional<FileContent> content = site.files.ReadFinished(source, AnySize);
  FaultloggerFile file;
  ASSERT_TRUE(file.Load(content->bytes));
  EXPECT_EQ(Filed(batch.Add(file, *content, source, site.Tree("Archive") / "A" / "a.xml")), 1U);
  EXPECT_THAT(site.Left(), ElementsAre(First, "a.xml"));
  EXPECT_EQ(Filed(batch.Finish()), 0U) << "nothing is left for another document";
}

TEST(FilingBatch, RollsBackWhatWasNotFinished) {
  BatchSite site;
  fs::path source;
  {
    FilingBatch batch = site.Batch();
    source = site.Add(batch, "a.xml", "1");
    EXPECT_EQ(site.Left().size(), 1U) << "what is staged";
  }
  EXPECT_THAT(site.Left(), IsEmpty());
  EXPECT_TRUE(fs::exists(source));
}

TEST(FilingBatch, RollsBackTheOthersWhenOneStagedFileCannotBeRemoved) {
  BatchSite site;
  {
    FilingBatch batch = site.Batch();
    site.Add(batch, "a.xml", "1");
    site.Add(batch, "b.xml", "2");
    site.Add(batch, "c.xml", "3");
    EXPECT_EQ(site.Left().size(), 3U);
    const test::FailingCall failing("unlink", EACCES);
    batch.RollBack();
    EXPECT_EQ(failing.Failures(), 1);
  }
  EXPECT_EQ(site.Left().size(), 1U);
}

TEST(FilingBatch, ForgetsWhatWasRolledBack) {
  BatchSite site;
  FilingBatch batch = site.Batch();
  const fs::path rolledBack = site.Add(batch, "a.xml", "1");
  site.Add(batch, "a.xml", "2");
  batch.RollBack();
  EXPECT_THAT(site.Left(), IsEmpty());
  const fs::path source = site.Add(batch, "a.xml", "3");
  EXPECT_EQ(Filed(batch.Finish()), 1U);
  EXPECT_THAT(site.Left(), ElementsAre(First, "a.xml"));
  const std::string archived = site.ArchivedXml("A", "a.xml");
  EXPECT_THAT(archived, HasSubstr("<TEXT>3</TEXT>"));
  EXPECT_THAT(archived, Not(HasSubstr("<TEXT>1</TEXT>")));
  EXPECT_EQ(site.Document(), DocumentOfOne("3"));
  EXPECT_FALSE(fs::exists(source));
  EXPECT_EQ(rolledBack, source);
}

TEST(FilingBatch, CreatesAProductFolderThatWasRemovedSinceTheLastBatch) {
  BatchSite site;
  FilingBatch batch = site.Batch();
  site.Add(batch, "a.xml", "1");
  EXPECT_EQ(Filed(batch.Finish()), 1U);
  fs::remove_all(site.Tree("Archive") / "A");
  site.Add(batch, "b.xml", "2");
  EXPECT_EQ(Filed(batch.Finish()), 1U);
  EXPECT_THAT(site.Left(), ElementsAre(First, Second, "b.xml"));

  site.Add(batch, "c.xml", "3");
  batch.RollBack();
  fs::remove_all(site.Tree("Archive") / "A");
  site.Add(batch, "c.xml", "3");
  EXPECT_EQ(Filed(batch.Finish()), 1U) << "after one that was rolled back too";
  EXPECT_THAT(site.Left(), ElementsAre(First, Second, Third, "c.xml"));
}

TEST(FilingBatch, IsMergedIntoWhatTheLastBatchFiled) {
  BatchSite site;
  FilingBatch batch = site.Batch();
  site.Add(batch, "b.xml", "0");
  site.Add(batch, "a.xml", "1");
  EXPECT_EQ(Filed(batch.Finish()), 2U);
  site.Add(batch, "a.xml", "2");
  EXPECT_EQ(Filed(batch.Finish()), 1U);
  const std::string archived = site.ArchivedXml("A", "a.xml");
  for (const char* text : {"<TEXT>1<", "<TEXT>2<"}) EXPECT_THAT(archived, HasSubstr(text));
}

TEST(FilingBatch, StagesFilesOfOneNameOnce) {
  BatchSite site;
  FilingBatch batch = site.Batch();
  site.Add(batch, "a.xml", "1");
  site.Add(batch, "a.xml", "2");
  site.Add(batch, "b.xml", "3");
  site.Add(batch, "a.xml", "4");
  EXPECT_EQ(site.Left().size(), 2U) << "what was staged for a.xml first is removed";
  EXPECT_EQ(Filed(batch.Finish()), 4U);
  EXPECT_THAT(site.Left(), ElementsAre(First, "a.xml", "b.xml"));
  const std::string archived = site.ArchivedXml("A", "a.xml");
  for (const char* text : {"<TEXT>1<", "<TEXT>2<", "<TEXT>4<"}) EXPECT_THAT(archived, HasSubstr(text));
}

TEST(FilingBatch, IsRolledBackWhenItCannotBeCommitted) {
  struct Row {
    const char* what;
    const char* ending;
  };
  for (const Row& row : {
           Row{"write", ".FLog.4711.200403151401.xml.fieldpost-new"},
           Row{"write", "FLog.journal"},
           Row{"flush", ""},
       }) {
    BatchSite site;
    FilingBatch batch = site.Batch();
    const fs::path source = site.Add(batch, "a.xml", "1");
    site.FailAt(row.what, row.ending);
    const FilingOutcome failed = batch.Finish();
    EXPECT_FALSE(failed.succeeded) << row.what << ' ' << row.ending;
    EXPECT_FALSE(failed.batch) << row.what << ' ' << row.ending;
    EXPECT_THAT(site.Log(), ElementsAre(HasSubstr("no space left on device"))) << row.what;
    EXPECT_THAT(site.Left(), IsEmpty()) << row.what << ' ' << row.ending;
    EXPECT_TRUE(fs::exists(source)) << row.what << ' ' << row.ending;

    site.traced.before = [](const Change&) {};
    site.Add(batch, "a.xml", "2");
    EXPECT_EQ(Filed(batch.Finish()), 1U);
    EXPECT_THAT(site.Left(), ElementsAre(First, "a.xml")) << row.what;
    EXPECT_EQ(site.Document(), DocumentOfOne("2")) << row.what;
  }
}

TEST(FilingBatch, ReplacesWhatAnInterruptedRunStaged) {
  BatchSite site;
  site.folder.Write("home/Faultlog/Process/.FLog.4711.200403151401.xml.fieldpost-new", "half");
  FilingBatch batch = site.Batch();
  site.Add(batch, "a.xml", "1");
  EXPECT_EQ(Filed(batch.Finish()), 1U);
  EXPECT_EQ(site.Document(), DocumentOfOne("1"));
}

TEST(FilingBatch, LeavesAFileThatItsDeviceHasRewritten) {
  BatchSite site;
  FilingBatch batch = site.Batch();
  const fs::path source = site.Add(batch, "a.xml", "first");
  site.Latest("a.xml", test::FaultlogXml("A", "F", "20040101", "second, longer"));
  EXPECT_EQ(Filed(batch.Finish()), 1U);
  EXPECT_THAT(test::ReadFile(source), HasSubstr("second"));
}

TEST(FilingBatch, RefusesToMergeAFileIntoItself) {
  BatchSite site;
  const fs::path source =
      site.folder.Write("home/Faultlog/Archive/A/a.xml", test::FaultlogXml("A", "F", "20040101", "1"));
  const std::string before = test::ReadFile(source);
  FilingBatch batch = site.Batch();
  const std::optional<FileContent> content = site.files.ReadFinished(source, AnySize);
  FaultloggerFile file;
  ASSERT_TRUE(file.Load(content->bytes));
  EXPECT_THROW(static_cast<void>(batch.Add(file, *content, source, source)), FileError);
  EXPECT_EQ(test::ReadFile(source), before);

  FileContent elsewhere = *content;
  ++elsewhere.stamp.device;
  EXPECT_NO_THROW(static_cast<void>(batch.Add(file, elsewhere, source, source)))
      << "a file of the same number on another disk";
}

TEST(FilingBatch, ProcessesEventsWhileItPublishes) {
  BatchSite site;
  FilingBatch batch = site.Batch();
  for (const char* name : {"a.xml", "b.xml", "c.xml"}) site.Add(batch, name, name);
  const std::size_t before = site.display.eventTurns;
  EXPECT_EQ(Filed(batch.Finish()), 3U);
  EXPECT_EQ(site.display.eventTurns - before, 4U + 3U) << "one for each published file, one for each source";
}

TEST(SaveCombinedDocument, WritesADocumentOfAnyText) {
  BatchSite site;
  FilingBatch batch = site.Batch();
  const FilingOutcome saved = batch.SaveCombinedDocument({"<FLFILE><A/></FLFILE>"});
  ASSERT_TRUE(saved.batch);
  EXPECT_EQ(saved.batch->document.path, site.DocumentPath(First));
  EXPECT_EQ(site.Document(), "<?xml version=\"1.0\"?>\r\n<FLFILE Mode=\"Not Sent\"><A/></FLFILE>\r\n");
  EXPECT_GT(site.display.eventTurns, 0U);
}

TEST(SaveCombinedDocument, NumbersTheDocumentsOfAnHour) {
  BatchSite site;
  FilingBatch batch = site.Batch();
  const ClosedText text{"<TempElement><FLFILE/></TempElement>"};
  for (int i = 0; i < 2; ++i) EXPECT_TRUE(batch.SaveCombinedDocument(text).succeeded);
  site.clock.now.hour = 15;
  EXPECT_TRUE(batch.SaveCombinedDocument(text).succeeded);
  EXPECT_THAT(site.Left(), ElementsAre(First, Second, "FLog.4711.200403151501.xml"));
}

TEST(SaveCombinedDocument, LogsWhyATextDoesNotLoad) {
  for (const char* text :
       {"<TempElement><FLFILE></TempElement>", "<TempElement><FLFILE/><B></TempElement>"}) {
    BatchSite site;
    const FilingOutcome outcome = site.Batch().SaveCombinedDocument({text});
    EXPECT_FALSE(outcome.succeeded) << text;
    EXPECT_FALSE(outcome.batch) << text;
    EXPECT_THAT(site.Left(), IsEmpty()) << text;
    ASSERT_THAT(site.Log(), ElementsAre(testing::StartsWith("[Error]:Parser error: "))) << text;
    EXPECT_GT(site.Log().front().size(), std::string("[Error]:Parser error: ").size()) << text;
  }
}

TEST(SaveCombinedDocument, LogsThatItsFolderRefusesTheJournal) {
  BatchSite site;
  fs::create_directory(site.DocumentPath("FLog.journal"));
  const FilingOutcome outcome = site.Batch().SaveCombinedDocument({"<FLFILE/>"});
  EXPECT_FALSE(outcome.succeeded);
  EXPECT_FALSE(outcome.batch);
  EXPECT_THAT(site.Log(), ElementsAre(HasSubstr("FLog.journal")));
}

TEST(SaveCombinedDocument, SetsAnUnsentDocumentAsideThatNumber99Replaces) {
  struct Row {
    const char* name;
    const char* old;
    bool kept;
  };
  for (const Row& row : {Row{"not sent", "<FLFILE Mode=\"Not Sent\"><OLD/></FLFILE>", true},
                         Row{"sent", "<FLFILE Mode=\"Sent\"><OLD/></FLFILE>", false}}) {
    BatchSite site;
    site.FillHour(row.old);
    EXPECT_TRUE(site.Batch().SaveCombinedDocument({"<TempElement><FLFILE/></TempElement>"}).succeeded)
        << row.name;
    EXPECT_THAT(site.Document(Last), HasSubstr("<FLFILE Mode=\"Not Sent\"/>")) << row.name;
    EXPECT_EQ(site.Left().size(), row.kept ? 100U : 99U) << row.name;

    EXPECT_TRUE(site.program.scan.RecoverInterruptedRun().succeeded);
    EXPECT_EQ(site.Left().size(), row.kept ? 100U : 99U) << "no name is left this hour";
    EXPECT_THAT(site.program.lists.PendingFiles, IsEmpty()) << row.name;
    site.clock.now.hour = 15;
    EXPECT_TRUE(site.program.scan.RecoverInterruptedRun().succeeded);
    EXPECT_EQ(site.Document("FLog.4711.200403151501.xml"), row.kept ? row.old : "") << row.name;
    EXPECT_EQ(site.program.lists.PendingFiles.size(), row.kept ? 1U : 0U) << row.name;
  }
}

TEST(SaveCombinedDocument, SetsASupersededDocumentAsideUnderAFreeName) {
  BatchSite site;
  const std::string waiting = "<FLFILE Mode=\"Not Sent\"/>";
  site.WriteDocument(98, waiting);
  const fs::path last = site.WriteDocument(99, waiting);
  const fs::path earlier =
      site.folder.Write("home/Faultlog/Process/FLog.4711.200403151499.xml.1.displaced", "earlier");
  EXPECT_TRUE(site.Batch().SaveCombinedDocument({"<FLFILE><NEW/></FLFILE>"}).succeeded);
  EXPECT_EQ(test::ReadFile(earlier), "earlier");
  EXPECT_EQ(test::ReadFile(last.native() + ".2.displaced"), waiting);
  EXPECT_THAT(test::ReadFile(last), HasSubstr("<NEW/>"));
}

TEST(SaveCombinedDocument, KeepsEveryDocumentThatNumber99Replaces) {
  BatchSite site;
  site.FillHour("<FLFILE Mode=\"Not Sent\"/>");
  FilingBatch batch = site.Batch();
  EXPECT_TRUE(batch.SaveCombinedDocument({"<FLFILE><ONE/></FLFILE>"}).succeeded);
  EXPECT_TRUE(batch.SaveCombinedDocument({"<FLFILE><TWO/></FLFILE>"}).succeeded);
  EXPECT_EQ(test::Names(site.Tree("Process")).size(), 99U + 2U);
  EXPECT_THAT(site.Document(Last), HasSubstr("<TWO/>"));
}

}  // namespace
}  // namespace fieldpost
