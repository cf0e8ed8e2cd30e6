// A scan in which one call of the system fails, whichever it is.
#include <fmt/format.h>
#include <gmock/gmock.h>

#include <cerrno>
#include <iostream>
#include <map>

#include "common/Limits.h"
#include "support/EachFailingCall.h"
#include "support/TestSite.h"
#include "xml/XmlDocument.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;
using test::FailingCall;
using testing::Contains;
using testing::HasSubstr;

/// A site on which a scan merges, files, makes a folder, moves to Error, writes a document and makes room.
struct ScanSite : test::ReadySite {
  ScanSite() {
    program.lists.LatestFolderList = {Tree("Latest") / ""};
    program.latestStore.SaveLatestFolders(program.lists.LatestFolderList);
    folder.Write("home/Faultlog/Archive/A/old.xml", test::FaultlogXml("A", "P", "20040101", "archived"));
    for (const char* name : {"old.xml", "new.xml"})
      Latest(name, test::FaultlogXml("A", "F", "20040101", name));
    Latest("other.xml", test::FaultlogXml("B", "F", "20040101", "other.xml"));
    Latest("broken.xml", "<broken");
    for (int i = 1; i <= 98; ++i) Process(i, "<FLFILE Mode=\"Sent\"/>");
    Process(99, "<FLFILE Mode=\"Not Sent\"><TEXT>waiting</TEXT></FLFILE>");
  }

  void Process(int number, std::string_view content) const {
    folder.Write(fmt::format("home/Faultlog/Process/FLog.4711.2004031514{:02}.xml", number), content);
  }

  /// How often each text stands in the files below a folder of the tree.
  [[nodiscard]] std::map<std::string, int> Count(std::string_view name) const {
    std::map<std::string, int> count;
    for (const auto& entry : fs::recursive_directory_iterator(Tree(name))) {
      if (!entry.is_regular_file()) continue;
      XmlDocument document;
      EXPECT_TRUE(document.Load(test::ReadFile(entry.path()))) << entry.path();
      for (const XmlElement& text : document.ElementsByTagName("TEXT")) ++count[text.Text()];
    }
    return count;
  }

  void ExpectAllInPlace(const std::string& when) const {
    const std::map<std::string, int> archived{
        {"archived", 1}, {"new.xml", 1}, {"old.xml", 1}, {"other.xml", 1}};
    const std::map<std::string, int> waiting{
        {"new.xml", 1}, {"old.xml", 1}, {"other.xml", 1}, {"waiting", 1}};
    EXPECT_EQ(Count("Archive"), archived) << when;
    EXPECT_EQ(Count("Process"), waiting) << when;
    EXPECT_TRUE(fs::is_empty(Tree("Latest"))) << when;
    EXPECT_EQ(test::Names(Tree("Error")), std::set<std::string>{"broken.xml"}) << when;
  }

  /// A later hour's run of the program.
  void RunAgain() {
    ++clock.now.hour;
    FieldpostProgram next({files, clock, keys, transport, prompt, display}, home);
    next.settings = program.settings;
    next.tree.CreateFolderTree();
    next.scan.ProcessLatestFiles(display);
    EXPECT_TRUE(next.scan.Succeeded());
  }
};

TEST(ProcessLatestFiles, LosesAndDoublesNothingWhicheverCallFails) {
  const std::size_t swept = test::ForEachFailingCall([](std::string_view call, int n) {
    ScanSite site;
    int failures = 0;
    {
      const FailingCall failing(call, EIO, n);
      site.program.scan.ProcessLatestFiles(site.display);
      failures = failing.Failures();
    }
    const std::string when = fmt::format("{} number {} failed", call, n);
    if (!site.program.scan.Succeeded()) {
      EXPECT_THAT(site.Log(), Contains(HasSubstr("Input/output error"))) << when;
    }
    site.RunAgain();
    site.ExpectAllInPlace(when);
    return failures;
  });
  EXPECT_GT(swept, 40U);
  std::cout << swept << " failing calls swept\n";
}

TEST(ProcessLatestFiles, SaysWhichFileItMayNotRemoveAndLeavesIt) {
  ScanSite site;
  {
    const FailingCall failing("access", EACCES);
    site.program.scan.ProcessLatestFiles(site.display);
  }
  EXPECT_FALSE(site.program.scan.Succeeded());
  EXPECT_THAT(site.Log(), Contains(HasSubstr("new.xml: it could not be removed from its folder afterwards")));
  EXPECT_THAT(test::Names(site.Tree("Latest")), testing::Contains("new.xml"));
  site.RunAgain();
}

TEST(ProcessLatestFiles, StopsWhereADocumentCannotBeWritten) {
  ScanSite site;
  const std::string large(MaxDocumentCharacters, 'x');
  site.Latest("a.xml", test::FaultlogXml("A", "F", "20040101", large));
  {
    const FailingCall failing("syncfs", ENOSPC);
    site.program.scan.ProcessLatestFiles(site.display);
  }
  EXPECT_FALSE(site.program.scan.Succeeded());
  EXPECT_THAT(site.Log(), Contains(HasSubstr("No space left on device")));
  EXPECT_EQ(site.Count("Archive"), (std::map<std::string, int>{{"archived", 1}}));
  EXPECT_THAT(test::Names(site.Tree("Latest")), Contains("a.xml"));
}

TEST(ProcessLatestFiles, TellsTheFirstOfSeveralProblems) {
  ScanSite site;
  site.folder.Write("home/Faultlog/Archive/A/old.xml", "<broken");
  const FailingCall failing("syncfs", ENOSPC);
  site.program.scan.ProcessLatestFiles(site.display);
  EXPECT_THAT(site.program.scan.Problem(), HasSubstr("cannot merge into"));
  EXPECT_THAT(site.Log(), Contains(HasSubstr("No space left on device")));
}

TEST(FilingBatch, LosesAndDoublesNothingWhenItCannotTakeBackItsDecisionEither) {
  int decisionsLeft = 0;
  for (int removals = 0; removals < 10; ++removals) {
    ScanSite site;
    {
      const FailingCall full("syncfs", EIO);
      const FailingCall stuck("unlink", EIO, removals, 1000);
      site.program.scan.ProcessLatestFiles(site.display);
    }
    EXPECT_FALSE(site.program.scan.Succeeded()) << removals;
    if (fs::exists(site.Tree("Process") / "FLog.journal")) ++decisionsLeft;
    site.RunAgain();
    site.ExpectAllInPlace(fmt::format("nothing could be removed after {} removals", removals));
  }
  EXPECT_GT(decisionsLeft, 0);
}

TEST(FinishInterrupted, GoesOnWithoutTheDocumentThatWasToMakeRoom) {
  test::ReadySite site;
  const fs::path process = site.Tree("Process");
  const fs::path document = process / "FLog.4711.200403151499.xml";
  const fs::path temporary = TemporaryNameFor(document);
  site.files.WriteNew(temporary, "<d/>", FileAccess::ByUmask);
  const FilingJournal journal{
      .displaced =
          FilingJournal::Displaced{.from = process / "gone.xml", .to = process / "gone.xml.1.displaced"},
      .staged = {{.temporary = temporary, .target = document, .content = HashContent("<d/>")}},
      .sources = {},
      .document = document};
  site.files.WriteNew(process / "FLog.journal", journal.ToBytes(), FileAccess::OwnerOnly);
  FilingBatch batch(site.files, site.Tree("Archive"), process, site.display);
  PathList documents;
  batch.FinishInterrupted(documents);
  EXPECT_EQ(documents, PathList{document});
  EXPECT_EQ(test::Names(process), std::set<std::string>{Utf8FromPath(document.filename())});
}

}  // namespace
}  // namespace fieldpost
