#include "faultlog/ProcessDocuments.h"

#include <gmock/gmock.h>

#include "support/ScanSite.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;
using test::ScanSite;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(NextProcessSequence, IsOneMoreThanTheHighestOfTheHourUpTo99) {
  ScanSite site;
  const std::string_view stem = "FLog.4711.2004031514";
  EXPECT_EQ(NextProcessSequence(site.files, stem, site.Tree("Process")), 1);
  for (const auto& [name, next] :
       {std::pair{"FLog.4711.200403151407.xml", 8}, std::pair{"FLog.4711.200403151398.xml", 8},
        std::pair{"FLog.4711.200403151498.xml", 99}, std::pair{"FLog.4711.200403151499.xml", 99}}) {
    site.folder.Write("home/Faultlog/Process/" + std::string(name), "");
    EXPECT_EQ(NextProcessSequence(site.files, stem, site.Tree("Process")), next) << name;
  }
}

TEST(NextDocumentPath, NumbersTheDocumentsOfAnHour) {
  ScanSite site;
  const RunContext& run = site.program.run;
  for (const char* name : {"FLog.4711.200403151401.xml", "FLog.4711.200403151402.xml"}) {
    const fs::path next = NextDocumentPath(run, site.Tree("Process"));
    EXPECT_EQ(next, site.DocumentPath(name));
    site.files.WriteNew(next, "", FileAccess::ByUmask);
  }
  site.clock.now.hour = 15;
  EXPECT_EQ(NextDocumentPath(run, site.Tree("Process")), site.DocumentPath("FLog.4711.200403151501.xml"));
}

TEST(SupersededBy, FindsAFreeNameForADocumentThatWaits) {
  struct Row {
    const char* name;
    const char* document;  ///< nothing: there is none
    std::vector<const char*> taken;
    const char* expected;  ///< nothing: the document may be replaced
  };
  for (const Row& row : {
           Row{"no document", nullptr, {}, nullptr},
           Row{"sent", "<FLFILE Mode=\"Sent\"/>", {}, nullptr},
           Row{"not sent", "<FLFILE Mode=\"Not Sent\"/>", {}, "d.xml.1.displaced"},
           Row{"not sent, a name taken",
               "<FLFILE Mode=\"Not Sent\"/>",
               {"d.xml.1.displaced"},
               "d.xml.2.displaced"},
       }) {
    ScanSite site;
    const fs::path document = site.DocumentPath("d.xml");
    if (row.document != nullptr) site.folder.Write("home/Faultlog/Process/d.xml", row.document);
    for (const char* name : row.taken) site.folder.Write(std::string("home/Faultlog/Process/") + name, "");
    const std::optional<FilingJournal::Superseded> superseded = SupersededBy(site.files, document);
    ASSERT_EQ(superseded.has_value(), row.expected != nullptr) << row.name;
    if (!superseded) continue;
    EXPECT_EQ(superseded->from, document) << row.name;
    EXPECT_EQ(superseded->to, site.DocumentPath(row.expected)) << row.name;
  }
}

TEST(RestoreSupersededDocuments, ReturnsTheDocumentsThatItRenamed) {
  ScanSite site;
  for (const char* name : {"d.xml.1.displaced", "d.xml.2.displaced"}) {
    site.folder.Write(std::string("home/Faultlog/Process/") + name, name);
  }
  const std::vector<PendingFile> restored =
      RestoreSupersededDocuments(site.program.run, site.Tree("Process"));
  const fs::path first = site.DocumentPath("FLog.4711.200403151401.xml");
  const fs::path second = site.DocumentPath("FLog.4711.200403151402.xml");
  EXPECT_THAT(test::PathsOf(restored), ElementsAre(first, second));
  EXPECT_EQ(restored.front().content, std::nullopt) << "nobody has read it";
  EXPECT_THAT(test::Names(site.Tree("Process")),
              ElementsAre(first.filename().string(), second.filename().string()));
  EXPECT_EQ(test::ReadFile(second), "d.xml.2.displaced");
  EXPECT_THAT(RestoreSupersededDocuments(site.program.run, site.Tree("Process")), IsEmpty());
}

TEST(RestoreSupersededDocuments, LeavesTheLastNumberOfAnHourFree) {
  struct Row {
    int taken;
    bool restored;
  };
  for (const Row& row : {Row{97, true}, Row{98, false}}) {
    ScanSite site;
    for (int i = 1; i <= row.taken; ++i) site.WriteDocument(i, "<a/>");
    site.folder.Write("home/Faultlog/Process/d.xml.1.displaced", "<d/>");
    EXPECT_EQ(RestoreSupersededDocuments(site.program.run, site.Tree("Process")).size(),
              row.restored ? 1U : 0U)
        << row.taken;
    EXPECT_EQ(fs::exists(site.DocumentPath("FLog.4711.200403151498.xml")), row.taken == 98 || row.restored)
        << row.taken;
    EXPECT_FALSE(fs::exists(site.DocumentPath("FLog.4711.200403151499.xml"))) << row.taken;
    EXPECT_EQ(fs::exists(site.DocumentPath("d.xml.1.displaced")), !row.restored) << row.taken;
  }
}

}  // namespace
}  // namespace fieldpost
