// Combined documents out of odd texts, and where their folder refuses them.
#include <gmock/gmock.h>

#include "faultlog/CombinedDocument.h"
#include "support/TestSite.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

struct EdgeSite : test::ReadySite {
  FilingBatch batch{files, Tree("Archive"), Tree("Process"), display};
  CombinedDocument combined{files,   clock, program.settings, program.lists, program.log,
                            display, batch, Tree("Process")};

  [[nodiscard]] fs::path Path(std::string_view number = "01") const {
    return Tree("Process") / fmt::format("FLog.4711.2004031514{}.xml", number);
  }
};

TEST(SaveCombinedDocument, MakesADocumentOfAnyText) {
  struct Row {
    const char* name;
    const char* text;
    const char* document;
  };
  for (const Row& row : {
           Row{"without a wrapper", "<FLFILE><A/></FLFILE>",
               "<?xml version=\"1.0\"?>\r\n<FLFILE Mode=\"Not Sent\"><A/></FLFILE>\r\n"},
           Row{"of several elements", "<TempElement>\r\n<FLFILE/>\r\n<FLFILE/></TempElement>",
               "<?xml version=\"1.0\"?>\r\n<FLFILES Mode=\"Not "
               "Sent\">\r\n<FLFILE/>\r\n<FLFILE/>\r\n</FLFILES>\r\n"},
           Row{"of a short name", "<TempElement><a b='1'/></TempElement>",
               "<?xml version=\"1.0\"?>\r\n<a Mode=\"Not Sent\" b='1'/>\r\n"},
       }) {
    EdgeSite site;
    EXPECT_TRUE(site.combined.SaveCombinedDocument(row.text)) << row.name;
    EXPECT_EQ(test::ReadFile(site.Path()), row.document) << row.name;
    EXPECT_GT(site.display.eventTurns, 0U);
  }
}

TEST(SaveCombinedDocument, TellsTheReasonOfTheParser) {
  EdgeSite site;
  EXPECT_FALSE(site.combined.SaveCombinedDocument("<TempElement><FLFILE/><B></TempElement>"));
  ASSERT_EQ(site.Log().size(), 1U);
  EXPECT_GT(site.Log().front().size(), std::string("[Error]:Parser error: ").size());
}

TEST(SaveCombinedDocument, TellsThatItsFolderRefusesIt) {
  EdgeSite site;
  fs::create_directory(site.Tree("Process") / "FLog.journal");
  EXPECT_FALSE(site.combined.SaveCombinedDocument("<FLFILE/>"));
  EXPECT_THAT(site.Log(), ElementsAre(HasSubstr("FLog.journal")));
  EXPECT_THAT(site.program.lists.PendingFiles, IsEmpty());
}

TEST(CombinedDocument, LeavesOutAFileThatComesWithTheEnd) {
  EdgeSite site;
  FaultloggerFile first;
  FaultloggerFile last;
  ASSERT_TRUE(first.Load(test::FaultlogXml("FIRST")));
  ASSERT_TRUE(last.Load(test::FaultlogXml("LAST")));
  EXPECT_TRUE(site.combined.AppendToCombinedDocument(&first, false));
  EXPECT_TRUE(site.combined.AppendToCombinedDocument(&last, true));
  EXPECT_THAT(test::ReadFile(site.Path()), HasSubstr("FIRST"));
  EXPECT_THAT(test::ReadFile(site.Path()), testing::Not(HasSubstr("LAST")));
}

TEST(NextProcessSequence, IsTheHoursNextFreeNumber) {
  EdgeSite site;
  EXPECT_EQ(site.combined.NextProcessSequence(site.Tree("Process")), 1);
  EXPECT_TRUE(site.combined.SaveCombinedDocument("<FLFILE/>"));
  EXPECT_EQ(site.combined.NextProcessSequence(site.Tree("Process")), 2);
}

TEST(RestoreDisplacedDocuments, QueuesWhatItBringsBack) {
  EdgeSite site;
  for (const char* name : {"d.xml.1.displaced", "d.xml.2.displaced"}) {
    site.folder.Write(std::string("home/Faultlog/Process/") + name, name);
  }
  site.combined.RestoreDisplacedDocuments();
  EXPECT_THAT(PathsOf(site.program.lists.PendingFiles), ElementsAre(site.Path("01"), site.Path("02")));
  EXPECT_THAT(test::Names(site.Tree("Process")),
              ElementsAre(site.Path("01").filename().string(), site.Path("02").filename().string()));
}

TEST(RestoreDisplacedDocuments, LeavesTheLastNumberOfAnHourFree) {
  struct Row {
    int taken;
    bool restored;
  };
  for (const Row& row : {Row{97, true}, Row{98, false}}) {
    EdgeSite site;
    for (int i = 1; i <= row.taken; ++i) {
      site.folder.Write(fmt::format("home/Faultlog/Process/FLog.4711.2004031514{:02}.xml", i), "<a/>");
    }
    site.folder.Write("home/Faultlog/Process/d.xml.1.displaced", "<d/>");
    site.combined.RestoreDisplacedDocuments();
    EXPECT_EQ(fs::exists(site.Path("98")), row.taken == 98 || row.restored) << row.taken;
    EXPECT_FALSE(fs::exists(site.Path("99"))) << row.taken;
    EXPECT_EQ(fs::exists(site.Tree("Process") / "d.xml.1.displaced"), !row.restored) << row.taken;
  }
}

TEST(SaveCombinedDocument, KeepsEveryDocumentThatNumber99Replaces) {
  EdgeSite site;
  for (int i = 1; i <= 99; ++i) {
    site.folder.Write(fmt::format("home/Faultlog/Process/FLog.4711.2004031514{:02}.xml", i),
                      i == 99 ? "<FLFILE Mode=\"Not Sent\"/>" : "<FLFILE Mode=\"Sent\"/>");
  }
  EXPECT_TRUE(site.combined.SaveCombinedDocument("<FLFILE><ONE/></FLFILE>"));
  EXPECT_TRUE(site.combined.SaveCombinedDocument("<FLFILE><TWO/></FLFILE>"));
  EXPECT_EQ(test::Names(site.Tree("Process")).size(), 99U + 2U);
  EXPECT_THAT(test::ReadFile(site.Path("99")), HasSubstr("<TWO/>"));
}

}  // namespace
}  // namespace fieldpost
