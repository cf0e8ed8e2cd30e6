#include "faultlog/CombinedDocument.h"

#include <gmock/gmock.h>

#include "common/Text.h"
#include "support/TestSite.h"
#include "xml/XmlDocument.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

struct DocumentSite : test::ReadySite {
  FilingBatch batch{files, Tree("Archive"), Tree("Process"), display};
  CombinedDocument combined{files,   clock, program.settings, program.lists, program.log,
                            display, batch, Tree("Process")};

  FaultloggerFile& File(std::string_view xml) {
    EXPECT_TRUE(file.Load(xml)) << file.Reason();
    return file;
  }
  [[nodiscard]] std::string Document(std::string_view name = "FLog.4711.200403151401.xml") const {
    return test::ReadFile(Tree("Process") / PathFromUtf8(name));
  }
  FaultloggerFile file;
};

TEST(CombinedDocument, OfOneElementIsThatElement) {
  DocumentSite site;
  EXPECT_TRUE(site.combined.AppendToCombinedDocument(
      &site.File("<FLFILE a='1'><PRODCODE/><FAULTLOG><MODEIND/></FAULTLOG></FLFILE>"), false));
  EXPECT_THAT(site.program.lists.PendingFiles, IsEmpty());
  EXPECT_TRUE(site.combined.AppendToCombinedDocument(nullptr, true));
  EXPECT_EQ(site.Document(),
            "<?xml version=\"1.0\"?>\r\n<FLFILE Mode=\"Not Sent\" a=\"1\"><PRODCODE/>"
            "<FAULTLOG><MODEIND/></FAULTLOG></FLFILE>\r\n");
  EXPECT_THAT(PathsOf(site.program.lists.PendingFiles),
              ElementsAre(site.Tree("Process") / "FLog.4711.200403151401.xml"));
}

TEST(CombinedDocument, OfOneElementReplacesAModeThatItBrings) {
  DocumentSite site;
  site.combined.AppendToCombinedDocument(
      &site.File("<FLFILE Mode='Sent'><PRODCODE/><FAULTLOG><MODEIND/></FAULTLOG></FLFILE>"), false);
  site.combined.AppendToCombinedDocument(nullptr, true);
  EXPECT_THAT(site.Document(), HasSubstr("\r\n<FLFILE Mode=\"Not Sent\"><PRODCODE/>"));
}

TEST(CombinedDocument, OfSeveralElementsHasACommonRootOnItsSecondLine) {
  DocumentSite site;
  const std::string xml = "<FLFILE><PRODCODE/><FAULTLOG><MODEIND/></FAULTLOG></FLFILE>";
  site.combined.AppendToCombinedDocument(&site.File(xml), false);
  site.combined.AppendToCombinedDocument(&site.File(xml), false);
  site.combined.AppendToCombinedDocument(nullptr, true);
  EXPECT_EQ(site.Document(), "<?xml version=\"1.0\"?>\r\n<FLFILES Mode=\"Not Sent\">\r\n" + xml + "\r\n" +
                                 xml + "\r\n</FLFILES>\r\n");
}

TEST(CombinedDocument, IsNotWrittenWithoutAFile) {
  DocumentSite site;
  EXPECT_TRUE(site.combined.AppendToCombinedDocument(nullptr, true));
  EXPECT_THAT(test::Names(site.Tree("Process")), IsEmpty());
  EXPECT_THAT(site.program.lists.PendingFiles, IsEmpty());
}

TEST(CombinedDocument, IsCutBehindTheFileThatCrossesTheLimit) {
  // Each text is the two characters of a line break and an element; the wrapper's opening tag comes first.
  const std::string frame = "<FLFILE><PRODCODE/><FAULTLOG><MODEIND/></FAULTLOG><T></T></FLFILE>";
  const std::size_t wrapper = std::string("<TempElement>").size();
  struct Row {
    const char* name;
    std::size_t length;  ///< of the builder's text after the first file
    int documents;       ///< there are now
  };
  for (const Row& row : {Row{"at the limit", 1300000, 0}, Row{"one beyond", 1300001, 1}}) {
    DocumentSite site;
    std::string text;
    const std::size_t characters = row.length - wrapper - 2 - frame.size();
    for (std::size_t i = 0; i < characters; ++i) text += "ä";
    site.combined.AppendToCombinedDocument(&site.File(Replaced(frame, "<T>", "<T>" + text)), false);
    EXPECT_EQ(site.program.lists.PendingFiles.size(), static_cast<std::size_t>(row.documents)) << row.name;
    site.combined.AppendToCombinedDocument(&site.File(frame), false);
    site.combined.AppendToCombinedDocument(nullptr, true);
    EXPECT_EQ(site.program.lists.PendingFiles.size(), static_cast<std::size_t>(row.documents + 1))
        << row.name;
  }
}

TEST(CombinedDocument, GoesToTheProgramFolderWhenItsFolderIsMissing) {
  test::ReadySite site;
  site.program.settings.ProcessFolder = "/no/such/folder/";
  site.Latest("a.xml", test::FaultlogXml("A"));
  site.program.scan.ProcessLatestFiles(site.display);
  EXPECT_EQ(test::Names(site.Tree("Process")), std::set<std::string>{"FLog.4711.200403151401.xml"});
}

TEST(SaveCombinedDocument, NumbersTheDocumentsOfAnHour) {
  DocumentSite site;
  for (int i = 0; i < 2; ++i)
    EXPECT_TRUE(site.combined.SaveCombinedDocument("<TempElement><FLFILE/></TempElement>"));
  site.clock.now.hour = 15;
  EXPECT_TRUE(site.combined.SaveCombinedDocument("<TempElement><FLFILE/></TempElement>"));
  EXPECT_EQ(test::Names(site.Tree("Process")),
            (std::set<std::string>{"FLog.4711.200403151401.xml", "FLog.4711.200403151402.xml",
                                   "FLog.4711.200403151501.xml"}));
}

TEST(NextProcessSequence, IsOneMoreThanTheHighestOfTheHourUpTo99) {
  DocumentSite site;
  EXPECT_EQ(site.combined.NextProcessSequence(site.Tree("Process")), 1);
  for (const auto& [name, next] :
       {std::pair{"FLog.4711.200403151407.xml", 8}, std::pair{"FLog.4711.200403151398.xml", 8},
        std::pair{"FLog.4711.200403151498.xml", 99}, std::pair{"FLog.4711.200403151499.xml", 99}}) {
    site.folder.Write("home/Faultlog/Process/" + std::string(name), "");
    EXPECT_EQ(site.combined.NextProcessSequence(site.Tree("Process")), next) << name;
  }
}

TEST(SaveCombinedDocument, TakesATextWithoutAWrapperAsItStands) {
  DocumentSite site;
  EXPECT_TRUE(site.combined.SaveCombinedDocument("<FLFILE><A/></FLFILE>"));
  EXPECT_EQ(site.Document(), "<?xml version=\"1.0\"?>\r\n<FLFILE Mode=\"Not Sent\"><A/></FLFILE>\r\n");
}

TEST(CombinedDocument, TakesInNoFileOnceItIsTheLast) {
  DocumentSite site;
  FaultloggerFile last;
  ASSERT_TRUE(last.Load("<FLFILE><PRODCODE/><FAULTLOG><MODEIND/></FAULTLOG><LAST/></FLFILE>"));
  EXPECT_TRUE(site.combined.AppendToCombinedDocument(
      &site.File("<FLFILE><PRODCODE/><FAULTLOG><MODEIND/></FAULTLOG></FLFILE>"), false));
  EXPECT_TRUE(site.combined.AppendToCombinedDocument(&last, true));
  EXPECT_THAT(site.Document(), testing::Not(HasSubstr("<LAST/>")));
}

TEST(SaveCombinedDocument, GivesWhatMakesRoomANameThatIsFree) {
  DocumentSite site;
  const std::string waiting = "<FLFILE Mode=\"Not Sent\"/>";
  site.folder.Write("home/Faultlog/Process/FLog.4711.200403151498.xml", waiting);
  const fs::path last = site.folder.Write("home/Faultlog/Process/FLog.4711.200403151499.xml", waiting);
  const fs::path earlier =
      site.folder.Write("home/Faultlog/Process/FLog.4711.200403151499.xml.1.displaced", "earlier");
  EXPECT_TRUE(site.combined.SaveCombinedDocument("<FLFILE><NEW/></FLFILE>"));
  EXPECT_EQ(test::ReadFile(earlier), "earlier");
  EXPECT_EQ(test::ReadFile(last.native() + ".2.displaced"), waiting);
  EXPECT_THAT(test::ReadFile(last), HasSubstr("<NEW/>"));
}

TEST(SaveCombinedDocument, RemovesTheOuterWrapperAlone) {
  DocumentSite site;
  EXPECT_TRUE(site.combined.SaveCombinedDocument(
      "<TempElement><FLFILE><TempElement>x</TempElement></FLFILE></TempElement>"));
  EXPECT_THAT(site.Document(), HasSubstr("<FLFILE Mode=\"Not Sent\"><TempElement>x</TempElement></FLFILE>"));
}

TEST(SaveCombinedDocument, SaysWhyATextDoesNotLoad) {
  DocumentSite site;
  EXPECT_FALSE(site.combined.SaveCombinedDocument("<TempElement><FLFILE></TempElement>"));
  EXPECT_THAT(test::Names(site.Tree("Process")), IsEmpty());
  EXPECT_THAT(site.program.lists.PendingFiles, IsEmpty());
  EXPECT_THAT(site.Log(), ElementsAre(testing::StartsWith("[Error]:Parser error: ")));
}

TEST(SaveCombinedDocument, KeepsAnUnsentDocumentThatNumber99Replaces) {
  struct Row {
    const char* name;
    const char* old;
    bool kept;
  };
  for (const Row& row : {Row{"not sent", "<FLFILE Mode=\"Not Sent\"><OLD/></FLFILE>", true},
                         Row{"sent", "<FLFILE Mode=\"Sent\"><OLD/></FLFILE>", false}}) {
    DocumentSite site;
    for (int i = 1; i <= 98; ++i) {
      site.folder.Write(fmt::format("home/Faultlog/Process/FLog.4711.2004031514{:02}.xml", i),
                        "<FLFILE Mode=\"Sent\"/>");
    }
    site.folder.Write("home/Faultlog/Process/FLog.4711.200403151499.xml", row.old);
    EXPECT_TRUE(site.combined.SaveCombinedDocument("<TempElement><FLFILE/></TempElement>")) << row.name;
    EXPECT_THAT(site.Document("FLog.4711.200403151499.xml"), HasSubstr("<FLFILE Mode=\"Not Sent\"/>"))
        << row.name;
    EXPECT_EQ(test::Names(site.Tree("Process")).size(), row.kept ? 100U : 99U) << row.name;

    site.combined.RestoreDisplacedDocuments();
    EXPECT_EQ(test::Names(site.Tree("Process")).size(), row.kept ? 100U : 99U) << "no name is left this hour";
    site.clock.now.hour = 15;
    site.combined.RestoreDisplacedDocuments();
    EXPECT_EQ(site.Document("FLog.4711.200403151501.xml"), row.kept ? row.old : "") << row.name;
  }
}

}  // namespace
}  // namespace fieldpost
