#include "ppc/PPCAttachments.h"

#include <gmock/gmock.h>

#include "common/Limits.h"
#include "ppc/PpcDocuments.h"
#include "support/Ppc.h"
#include "xml/XmlDocument.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;
using test::PpcSite;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

constexpr const char* Missing = "[Error]:PPCdata path not found or Quillon is not installed";
const std::string LibraryHeader = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<!-- made by ppcdb.dll -->";

/// Collects, and keeps the documents for the test to look at.
bool Make(PpcSite& site) {
  return site.Keep(site.program.ppcAttachments.MakePPCFilesQuiet(site.display));
}

bool MakeOnScreen(PpcSite& site) {
  return site.Keep(site.program.ppcAttachments.MakePPCFiles(site.display));
}

std::string Entry(std::size_t characters) {
  const std::string frame = "<PPCentry></PPCentry>";
  return "<PPCentry>" + std::string(characters - frame.size(), 'x') + "</PPCentry>";
}

TEST(MakePPCFiles, WritesADocumentByteForByte) {
  PpcSite site;
  site.Export(LibraryHeader +
              "\r\n<PPCData>\r\n<ArchiveDate>20040315</ArchiveDate>\r\n"
              "<PPCentry No=\"1\"><A>ä</A></PPCentry>\r\n<PPCentry/>\r\n</PPCData>");
  EXPECT_TRUE(Make(site));
  EXPECT_EQ(site.Document(), LibraryHeader +
                                 "\r\n<PPCentries>\r\n<ArchiveDate>20040315</ArchiveDate>"
                                 "<PPCentry No=\"1\"><A>ä</A></PPCentry>\r\n<PPCentry/>\r\n"
                                 "\r\n</PPCentries>");
  EXPECT_THAT(site.documents, ElementsAre(site.Temp("PPC.4711.200403151401.xml")));
  EXPECT_FALSE(fs::exists(site.home / "PPCData.xml")) << "the export is done with";
  EXPECT_THAT(site.Log(), IsEmpty());
  EXPECT_THAT(site.display.labels, IsEmpty());
}

TEST(MakePPCFiles, UsesTheHeaderOfTheLibraryOnly) {
  const std::string plain = "<?xml version=\"1.0\"?>";
  struct Row {
    const char* name;
    std::string beginning;
    std::string header;
  };
  for (const Row& row : {
           Row{"the library's", LibraryHeader + "\r\n", LibraryHeader},
           Row{"with plain line ends", "<?xml version='1.0'?>\n<!-- PPCDB.DLL -->\n",
               "<?xml version='1.0'?>\r\n<!-- PPCDB.DLL -->"},
           Row{"in capitals", "<?xml version='1.0'?>\r\n<!-- XML VERSION PPCDB.DLL -->\r\n",
               "<?xml version='1.0'?>\r\n<!-- XML VERSION PPCDB.DLL -->"},
           Row{"behind a mark", "\xEF\xBB\xBF" + LibraryHeader + "\r\n", LibraryHeader},
           Row{"without the library's name", "<?xml version=\"1.0\"?>\r\n<!-- other.dll -->\r\n", plain},
           Row{"without a declaration", "<!-- ppcdb.dll -->\r\n<!-- ppcdb.dll -->\r\n", plain},
           Row{"a blank behind it", LibraryHeader + " \r\n", plain},
           Row{"all on one line", "<?xml version='1.0'?><!-- ppcdb.dll -->", plain},
           Row{"the comment on line 3", "<?xml version='1.0'?>\r\n\r\n<!-- ppcdb.dll -->\r\n", plain},
           Row{"an element in it", "<?xml version='1.0'?><PPCData>\r\n<!-- ppcdb.dll -->\r\n", plain},
           Row{"longer than a header may be",
               "<?xml version='1.0'?>\r\n<!-- ppcdb.dll " + std::string(20000, 'x') + "-->\r\n", plain},
       }) {
    PpcSite site;
    const bool open = row.beginning.find("<PPCData>") != std::string::npos;
    site.Export(row.beginning + (open ? "" : "<PPCData>") + "<PPCentry/></PPCData>");
    EXPECT_TRUE(Make(site)) << row.name << testing::PrintToString(site.Log());
    EXPECT_EQ(site.Document(), row.header +
                                   "\r\n<PPCentries>\r\n<ArchiveDate></ArchiveDate><PPCentry/>\r\n"
                                   "\r\n</PPCentries>")
        << row.name;
  }
}

TEST(MakePPCFiles, CompletesADocumentOnceItsTextIsLongerThanTheLimit) {
  struct Row {
    const char* name;
    std::vector<std::string> entries;
    std::vector<std::size_t> perDocument;
  };
  constexpr std::size_t lineEnd = 2;
  const std::string umlauts = [] {
    std::string text;
    for (int i = 0; i < 600000; ++i) text += "ä";
    return "<PPCentry>" + text + "</PPCentry>";
  }();
  for (const Row& row : {
           Row{"three of 600000", {Entry(600000), Entry(600000), Entry(600000)}, {3}},
           Row{"four of 600000", {Entry(600000), Entry(600000), Entry(600000), Entry(600000)}, {3, 1}},
           Row{"six of 600000", std::vector<std::string>(6, Entry(600000)), {3, 3}},
           Row{"just the limit", {Entry(MaxDocumentCharacters - lineEnd), Entry(100)}, {2}},
           Row{"one more", {Entry(MaxDocumentCharacters - lineEnd + 1), Entry(100)}, {1, 1}},
           Row{"one more, and the last", {Entry(MaxDocumentCharacters - lineEnd + 1)}, {1}},
           Row{"characters, not bytes", {umlauts, umlauts, umlauts, umlauts}, {3, 1}},
           Row{"one of many times the limit", {Entry(9000000), Entry(100)}, {1, 1}},
       }) {
    PpcSite site;
    std::string text;
    for (const std::string& entry : row.entries) text += entry;
    site.Export("<R>" + text + "</R>");
    EXPECT_TRUE(Make(site));
    ASSERT_EQ(site.documents.size(), row.perDocument.size()) << row.name;
    auto entry = row.entries.begin();
    for (std::size_t i = 0; i < row.perDocument.size(); ++i) {
      std::string expected = "<?xml version=\"1.0\"?>\r\n<PPCentries>\r\n<ArchiveDate></ArchiveDate>";
      for (std::size_t n = 0; n < row.perDocument[i]; ++n) expected += *entry++ + "\r\n";
      EXPECT_TRUE(site.Document("0" + std::to_string(i + 1)) == expected + "\r\n</PPCentries>")
          << row.name << ", document " << i + 1;
    }
  }
}

TEST(MakePPCFiles, PutsTheFirstDateIntoEveryDocument) {
  for (const bool atEnd : {false, true}) {
    PpcSite site;
    const std::string date = "<ArchiveDate>20040315</ArchiveDate>";
    const std::string entries = Entry(1400000) + Entry(2800000) + Entry(100);
    site.Export("<R>" + (atEnd ? entries + date : date + entries) + "</R>");
    EXPECT_TRUE(Make(site));
    EXPECT_THAT(
        test::Names(site.Temp()),
        ElementsAre("PPC.4711.200403151401.xml", "PPC.4711.200403151402.xml", "PPC.4711.200403151403.xml"));
    for (const char* number : {"01", "02", "03"}) {
      EXPECT_THAT(site.Document(number).substr(0, 300), HasSubstr("<PPCentries>\r\n" + date + "<PPCentry>"));
      EXPECT_TRUE(IsWellFormedXml(site.Document(number)));
    }
  }
}

TEST(MakePPCFiles, ReplacesTheDocumentsOfTheSameHour) {
  PpcSite site;
  site.Export("<R><PPCentry>old</PPCentry></R>");
  EXPECT_TRUE(Make(site));
  site.clock.now.minute = 59;
  site.Export("<R><PPCentry>new</PPCentry></R>");
  EXPECT_TRUE(Make(site));
  EXPECT_THAT(test::Names(site.Temp()), ElementsAre("PPC.4711.200403151401.xml"));
  EXPECT_THAT(site.Document(), HasSubstr("new"));
  EXPECT_EQ(site.documents.size(), 1U) << "the list is empty when a collection begins";
}

TEST(MakePPCFiles, UsesOnlyLettersAndDigitsOfThePartnerId) {
  PpcSite site;
  site.program.settings.PartnerID = "../47 11\r\n";
  site.Export("<R><PPCentry/></R>");
  EXPECT_TRUE(Make(site));
  EXPECT_THAT(test::Names(site.Temp()), ElementsAre("PPC.4711.200403151401.xml"));
}

TEST(MakePPCFiles, WritesTheEncodingThatTheHeaderDeclares) {
  const std::string latin = "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\r\n";
  const std::string comment = "<!-- ppcdb.dll -->\r\n";
  const std::string body = "<R><ArchiveDate>M\xE4rz</ArchiveDate><PPCentry>\xE4</PPCentry></R>";
  struct Row {
    const char* name;
    std::string text;
    std::string document;
  };
  for (const Row& row : {
           Row{"the library's", latin + comment + body,
               latin + "<!-- ppcdb.dll -->\r\n<PPCentries>\r\n<ArchiveDate>M\xE4rz</ArchiveDate>"
                       "<PPCentry>\xE4</PPCentry>\r\n\r\n</PPCentries>"},
           Row{"the plain one", latin + body,
               "<?xml version=\"1.0\"?>\r\n<PPCentries>\r\n<ArchiveDate>März</ArchiveDate>"
               "<PPCentry>ä</PPCentry>\r\n\r\n</PPCentries>"},
           Row{"a character that it lacks",
               latin + comment.substr(0, 18) + "\r\n<!DOCTYPE R [<!ENTITY e '&#8364;'>]>" +
                   "<R><PPCentry>&e;</PPCentry></R>",
               latin + "<!-- ppcdb.dll -->\r\n<PPCentries>\r\n<ArchiveDate></ArchiveDate>"
                       "<PPCentry>&#8364;</PPCentry>\r\n\r\n</PPCentries>"},
       }) {
    PpcSite site;
    site.Export(row.text);
    EXPECT_TRUE(Make(site)) << row.name << testing::PrintToString(site.Log());
    EXPECT_EQ(site.Document(), row.document) << row.name;
    EXPECT_TRUE(IsWellFormedXml(site.Document())) << row.name;
  }
}

TEST(MakePPCFiles, LeavesNoDocumentWhenTheExportIsMalformed) {
  struct Row {
    const char* name;
    std::string text;
  };
  const std::string many = Entry(1400000) + Entry(1400000) + Entry(1400000);
  for (const Row& row : {
           Row{"cut off", "<R>" + many},
           Row{"junk behind it", "<R>" + many + "</R><R>"},
           Row{"at the beginning", "PPC"},
           Row{"in a small one", "<R><PPCentry/>"},
       }) {
    PpcSite site;
    site.Export(row.text);
    EXPECT_FALSE(Make(site));
    EXPECT_THAT(test::Names(site.Temp()), IsEmpty()) << row.name;
    EXPECT_THAT(site.documents, IsEmpty());
    EXPECT_THAT(site.Log(), ElementsAre(testing::MatchesRegex(R"(\[Error\]:PPC Error \(line 1: .+\))")));
    EXPECT_TRUE(fs::exists(site.home / "PPCData.xml")) << "a faulty export is kept to be looked at";
  }
}

TEST(MakePPCFiles, RemovesTemporaryFilesOfAnInterruptedRun) {
  PpcSite site;
  const fs::path old = site.Temp("PPC.4711.200403151399.xml");
  site.folder.Write("home/Faultlog/PPCTemp/.x.fieldpost-new", "half");
  site.folder.Write("home/Faultlog/PPCTemp/PPC.4711.200403151399.xml", "whole");
  site.Export("<R><PPCentry/></R>");
  EXPECT_TRUE(Make(site));
  EXPECT_THAT(test::Names(site.Temp()),
              ElementsAre("PPC.4711.200403151399.xml", "PPC.4711.200403151401.xml"));
  EXPECT_THAT(site.documents, ElementsAre(site.Temp("PPC.4711.200403151401.xml")));
}

TEST(MakePPCFiles, NeverNamesAnIncompleteDocument) {
  const std::string text = "<R>" + Entry(1400000) + Entry(2500000) + Entry(100) + "<ArchiveDate/></R>";
  std::size_t changes = 0;
  {
    PpcSite site;
    site.Export(text);
    const std::size_t before = site.files.changes;
    EXPECT_TRUE(Make(site));
    changes = site.files.changes - before;
  }
  ASSERT_GT(changes, 10U);
  for (std::size_t lived = 0; lived < changes; ++lived) {
    PpcSite site;
    site.Export(text);
    site.files.changesLeft = lived;
    EXPECT_THROW(Make(site), test::Killed);
    for (const std::string& name : test::Names(site.Temp())) {
      if (IsTemporaryName(name)) continue;
      EXPECT_TRUE(test::ReadFile(site.Temp(name)).ends_with("</PPCentries>")) << lived << ' ' << name;
    }
    EXPECT_TRUE(fs::exists(site.home / "PPCData.xml") || test::Names(site.Temp()).size() == 3) << lived;
  }
}

TEST(MakePPCFiles, LogsMissingData) {
  struct Row {
    const char* name;
    const char* content;
    bool good;
    const char* line;
  };
  for (const Row& row : {
           Row{"no export", nullptr, false, Missing},
           Row{"no entry", "<R><ArchiveDate/></R>", true, "[PPC]:No PPC Data"},
           Row{"entries of another kind", "<R><p:PPCentry xmlns:p='urn:p'/><ppcentry/></R>", true,
               "[PPC]:No PPC Data"},
       }) {
    PpcSite site;
    if (row.content != nullptr) site.Export(row.content);
    EXPECT_EQ(Make(site), row.good) << row.name;
    EXPECT_THAT(site.Log(), ElementsAre(row.line)) << row.name;
    EXPECT_THAT(test::Names(site.Temp()), IsEmpty()) << row.name;
    EXPECT_THAT(site.prompt.messages, IsEmpty()) << row.name;
    EXPECT_FALSE(fs::exists(site.home / "PPCData.xml")) << row.name;
  }
}

TEST(MakePPCFiles, LogsTheFolderThatCannotBeCreated) {
  PpcSite site;
  fs::remove_all(site.Temp());
  site.folder.Write("home/Faultlog/PPCTemp", "not a folder");
  site.Export("<R><PPCentry/></R>");
  EXPECT_FALSE(Make(site));
  EXPECT_THAT(site.Log(),
              ElementsAre(testing::AllOf(StartsWith("[Error]:PPC Error (cannot "), HasSubstr("PPCTemp"))));
}

TEST(MakePPCFilesOnScreen, ReportsInMessageBoxes) {
  struct Row {
    const char* name;
    const char* content;
    bool good;
    std::vector<test::ShownMessage> messages;
  };
  for (const Row& row : {
           Row{"all well", "<R><PPCentry/></R>", true, {}},
           Row{"no export",
               nullptr,
               false,
               {{"PPC Path or File not found!", MessageIcon::Exclamation, "Path or File not found!"}}},
           Row{"no entry", "<R/>", true, {{"No PPC Data", MessageIcon::Information, "FP PPC"}}},
           Row{"a fault",
               "<R>",
               false,
               {{"Error: line 1: the document ends too early", MessageIcon::Critical, "Error"}}},
       }) {
    PpcSite site;
    if (row.content != nullptr) site.Export(row.content);
    EXPECT_EQ(MakeOnScreen(site), row.good) << row.name;
    EXPECT_EQ(site.prompt.messages, row.messages) << row.name;
  }
}

TEST(MakePPCFilesOnScreen, CountsTheEntries) {
  PpcSite site;
  site.Export("<R><PPCentry/><PPCentry/><!-- <PPCentry/> --><PPCentry/></R>");
  EXPECT_TRUE(MakeOnScreen(site));
  EXPECT_THAT(site.display.labels, ElementsAre("Dissect and analyse PPC file...", "PPC Count: 1/3 33%",
                                               "PPC Count: 2/3 66%", "PPC Count: 3/3 100%"));
  EXPECT_THAT(site.display.ranges, ElementsAre(3));
  EXPECT_THAT(site.display.positions, ElementsAre(1, 2, 3));
  EXPECT_GT(site.display.eventTurns, 2U);
}

TEST(ZipPPCDocuments, PacksAndReplacesTheZipOfTheHour) {
  PpcSite site;
  site.Export("<R>" + Entry(1400000) + Entry(1400000) + "</R>");
  EXPECT_TRUE(Make(site));
  const fs::path zip = site.Temp("PPC.4711.200403151400.zip");
  site.folder.Write("home/Faultlog/PPCTemp/PPC.4711.200403151400.zip", "old");
  const PpcZip packed = site.program.ppcAttachments.ZipPPCDocuments("*.xml", site.display);
  EXPECT_TRUE(packed.packed);
  const std::string first = test::ReadFile(zip);
  EXPECT_THAT(first, StartsWith("PK\x03\x04"));
  EXPECT_THAT(first, HasSubstr("PPC.4711.200403151402.xml"));
  EXPECT_EQ(packed.zipResult, 0);
  EXPECT_THAT(site.display.ranges, ElementsAre(100));
  EXPECT_EQ(site.display.positions.back(), 100U);
  EXPECT_THAT(site.display.positions, Each(testing::Le(100U)));

  EXPECT_TRUE(site.program.ppcAttachments
                  .ZipPPCDocuments(Utf8FromPath(site.Temp("PPC.4711.200403151401.xml")), site.display)
                  .packed);
  EXPECT_THAT(test::ReadFile(zip), Not(HasSubstr("PPC.4711.200403151402.xml"))) << "the first is replaced";
  EXPECT_THAT(site.prompt.messages, IsEmpty());
  EXPECT_THAT(site.Log(), IsEmpty());
}

TEST(ZipPPCDocuments, ShowsAndLogsAFailure) {
  PpcSite site;
  const PpcZip packed = site.program.ppcAttachments.ZipPPCDocuments("no-such.xml", site.display);
  EXPECT_FALSE(packed.packed);
  EXPECT_NE(packed.zipResult, 0);
  EXPECT_THAT(site.prompt.messages,
              ElementsAre(test::ShownMessage{"there is nothing to pack", MessageIcon::None, ""}));
  EXPECT_THAT(site.Log(), ElementsAre("[Error]:there is nothing to pack"));
}

TEST(XceedZip1_GlobalStatus, MovesTheBar) {
  test::RecordingDisplay display;
  PPCAttachments::XceedZip1_GlobalStatus(42, display);
  EXPECT_THAT(display.positions, ElementsAre(42));
}

TEST(MakePPCFilesOnScreen, LeavesNothingWhenCancelled) {
  const std::string data = "<R>" + Entry(700000) + Entry(700000) + Entry(1400000) + "</R>";
  bool made = false;
  for (std::size_t stopAfterTurns = 0; !made; ++stopAfterTurns) {
    PpcSite site;
    site.Export(data);
    site.display.stopAfterTurns = stopAfterTurns;
    made = MakeOnScreen(site);
    EXPECT_THAT(site.Log(), IsEmpty());
    EXPECT_THAT(site.prompt.messages, IsEmpty());
    EXPECT_EQ(test::Names(site.Temp()).size(), made ? 2U : 0U) << stopAfterTurns;
    EXPECT_EQ(site.documents.size(), made ? 2U : 0U) << stopAfterTurns;
    EXPECT_EQ(fs::exists(site.home / "PPCData.xml"), !made) << stopAfterTurns;
    EXPECT_TRUE(!made || stopAfterTurns > 3) << stopAfterTurns;
  }
}

TEST(MakePPCFilesOnScreen, LeavesNoExportWhenCancelled) {
  PpcSite site;
  site.Database("ppc.xml", "<R><PPCentry/></R>");
  site.display.stopAfterTurns = 1;
  EXPECT_FALSE(MakeOnScreen(site));
  EXPECT_THAT(test::Names(site.home), Not(testing::Contains(HasSubstr("PPCData"))));
  EXPECT_THAT(site.prompt.messages, IsEmpty());
}

TEST(MakePPCFilesOnScreen, WritesTheDate) {
  PpcSite site;
  site.Export("<R><PPCentry/><ArchiveDate>20040315</ArchiveDate></R>");
  EXPECT_TRUE(MakeOnScreen(site));
  EXPECT_THAT(site.Document(), HasSubstr("<PPCentries>\r\n<ArchiveDate>20040315</ArchiveDate><PPCentry/>"));
}

TEST(ZipPPCDocuments, AcceptsOneNameOrPatternOnEachLine) {
  struct Row {
    const char* files;
    std::vector<std::string> packed;
  };
  for (const Row& row : {
           Row{"a.xml\nb.xml\n", {"a.xml", "b.xml"}},
           Row{"b.xml\r\n\r\n  a.xml", {"a.xml", "b.xml"}},
           Row{"?.xml\nc1.txt", {"a.xml", "b.xml", "c1.txt"}},
           Row{"A.XML", {"a.xml"}},
           Row{"gone.xml\nb.xml", {"b.xml"}},
       }) {
    PpcSite site;
    for (const char* name : {"a.xml", "b.xml", "c1.txt", "old.xml"}) {
      site.folder.Write(std::string("home/Faultlog/PPCTemp/") + name, name);
    }
    const PpcZip packed = site.program.ppcAttachments.ZipPPCDocuments(row.files, site.display);
    EXPECT_TRUE(packed.packed) << row.files;
    EXPECT_EQ(packed.file, site.Temp("PPC.4711.200403151400.zip"));
    const std::string zip = test::ReadFile(packed.file);
    for (const char* name : {"a.xml", "b.xml", "c1.txt", "old.xml"}) {
      const bool wanted = std::count(row.packed.begin(), row.packed.end(), name) > 0;
      EXPECT_EQ(zip.find(name) != std::string::npos, wanted) << row.files << ": " << name;
    }
  }
}

TEST(ZipPPCDocuments, ReportsNothingWhenCancelled) {
  PpcSite site;
  site.folder.Write("home/Faultlog/PPCTemp/a.xml", "<a/>");
  site.display.stopAfterTurns = 0;
  EXPECT_FALSE(site.program.ppcAttachments.ZipPPCDocuments("a.xml", site.display).packed);
  EXPECT_THAT(test::Names(site.Temp()), ElementsAre("a.xml"));
  EXPECT_THAT(site.prompt.messages, IsEmpty());
  EXPECT_THAT(site.Log(), IsEmpty());
}

}  // namespace
}  // namespace fieldpost
