#include "faultlog/FaultloggerFile.h"

#include <gmock/gmock.h>

#include "common/Limits.h"
#include "faultlog/BuildXML.h"
#include "support/TestSite.h"

namespace fieldpost {
namespace {

using testing::HasSubstr;

constexpr LocalTime Today{.year = 2004, .month = 3, .day = 15};

FaultloggerFile Loaded(std::string_view xml) {
  FaultloggerFile file;
  EXPECT_TRUE(file.Load(xml)) << file.Reason();
  return file;
}

TEST(FaultloggerFile, IsCompleteWithItsFourElements) {
  struct Row {
    const char* name;
    const char* xml;
    bool expected;
  };
  for (const Row& row : {
           Row{"all", "<FLFILE><PRODCODE/><FAULTLOG><MODEIND/></FAULTLOG></FLFILE>", true},
           Row{"anywhere", "<r><FLFILE/><x><MODEIND/></x><FAULTLOG/><PRODCODE/></r>", true},
           Row{"no PRODCODE", "<FLFILE><FAULTLOG><MODEIND/></FAULTLOG></FLFILE>", false},
           Row{"no FAULTLOG", "<FLFILE><PRODCODE/><MODEIND/></FLFILE>", false},
           Row{"no FLFILE", "<r><PRODCODE/><FAULTLOG><MODEIND/></FAULTLOG></r>", false},
           Row{"no MODEIND", "<FLFILE><PRODCODE/><FAULTLOG/></FLFILE>", false},
           Row{"names know case", "<flfile><PRODCODE/><FAULTLOG><MODEIND/></FAULTLOG></flfile>", false},
       }) {
    EXPECT_EQ(Loaded(row.xml).IsComplete(), row.expected) << row.name;
  }
}

TEST(FaultloggerFile, CountsItsEntries) {
  for (const std::string_view modes : {"", "F", "FFF"}) {
    FaultloggerFile file;
    ASSERT_TRUE(file.Load(test::FaultlogXml("A", modes)));
    EXPECT_EQ(file.EntryCount(), modes.size());
  }
}

TEST(FaultloggerFile, TakesTheFirstProductCode) {
  EXPECT_EQ(Loaded("<r><PRODCODE> AB 1\n</PRODCODE><PRODCODE>C</PRODCODE></r>").ProductCode(), "AB 1");
  EXPECT_EQ(Loaded("<r><PRODCODE> </PRODCODE></r>").ProductCode(), "");
}

TEST(ReadyToFile, WaitsOnlyForALastEntryThatRunsToday) {
  struct Row {
    const char* name;
    std::string xml;
    bool expected;
  };
  const auto entries = [](std::string_view modes, std::string_view date) {
    return test::FaultlogXml("A", modes, date);
  };
  for (const Row& row : {
           Row{"only entry, running, today", entries("F", "20040315"), true},
           Row{"only entry, running, yesterday", entries("f", "20040314"), true},
           Row{"last entry running, yesterday", entries("EF", "20040314"), true},
           Row{"last entry running, today", entries("EF", "20040315"), false},
           Row{"the same in lower case", entries("ef", "20040315"), false},
           Row{"last entry done, today", entries("FE", "20040315"), true},
           Row{"archived, either case", entries("aA", "20040315"), true},
           Row{"date with blanks round it", entries("EF", " 20040315\n"), false},
           Row{"mode with blanks round it",
               "<F><MODEIND>E</MODEIND><CONDATE>20040315</CONDATE><MODEIND> F "
               "</MODEIND><CONDATE>20040315</CONDATE></F>",
               false},
           Row{"no date at all", "<F><MODEIND>E</MODEIND><MODEIND>F</MODEIND></F>", true},
           Row{"no date at the last entry's place",
               "<F><MODEIND>E</MODEIND><CONDATE>20040315</CONDATE><MODEIND>F</MODEIND></F>", true},
           Row{"more dates than modes",
               "<F><MODEIND>E</MODEIND><MODEIND>F</MODEIND><CONDATE>1</CONDATE><CONDATE>20040315</CONDATE>"
               "<CONDATE>2</CONDATE></F>",
               false},
           Row{"empty last mode", "<F><MODEIND>F</MODEIND><CONDATE>20040315</CONDATE><MODEIND/></F>", true},
       }) {
    EXPECT_EQ(Loaded(row.xml).ReadyToFile(Today), row.expected) << row.name;
  }
}

TEST(FaultloggerFile, IsTakenIntoProcessing) {
  FaultloggerFile file = Loaded("<FLFILE><MODEIND>F</MODEIND><MODEIND/><MODEIND>a<b/></MODEIND></FLFILE>");
  file.SetProcessMode();
  EXPECT_EQ(file.Xml(),
            "<?xml version=\"1.0\"?>\n<FLFILE><MODEIND>P</MODEIND><MODEIND>P</MODEIND>"
            "<MODEIND>P</MODEIND></FLFILE>\n");
}

TEST(FaultloggerFile, IsRefusedWhenSettingItsModesWouldTakeOtherElementsAway) {
  struct Row {
    const char* name;
    const char* inMode;
    bool refused;
  };
  for (const Row& row : {
           Row{"an entry", "E<FAULTLOG No='2'/>", true},
           Row{"an entry, deeper", "<a><b/><FAULTLOG/></a>", true},
           Row{"a mode", "<MODEIND/>", true},
           Row{"the container", "<FLFILE/>", true},
           Row{"the product code", "<PRODCODE/>", true},
           Row{"a date", "<CONDATE/>", true},
           Row{"another element", "a<b><c/></b>", false},
           Row{"an entry of another name space", "<p:FAULTLOG xmlns:p='urn:p'/>", false},
           Row{"an entry behind it", "E</MODEIND><FAULTLOG/><MODEIND>", false},
       }) {
    FaultloggerFile file;
    const bool loaded = file.Load("<FLFILE><PRODCODE>A</PRODCODE><FAULTLOG No='1'><MODEIND>" +
                                  std::string(row.inMode) + "</MODEIND></FAULTLOG></FLFILE>");
    EXPECT_EQ(!loaded, row.refused) << row.name;
    EXPECT_EQ(file.Reason(), row.refused ? "a MODEIND holds other elements of the record" : "") << row.name;
  }
}

std::string Nested(int levels, std::string_view in) {
  std::string xml;
  for (int i = 0; i < levels; ++i) xml += "<a>";
  xml += in;
  for (int i = 0; i < levels; ++i) xml += "</a>";
  return xml;
}

TEST(MergeIntoArchived, GivesAFileThatCanBeReadAgainHoweverDeepTheTwoAre) {
  constexpr int rest = static_cast<int>(MaxFaultloggerFileDepth) - 1;
  const std::string deepEntry = "<FAULTLOG><FLFILE/><PRODCODE/><MODEIND/>" + Nested(rest, "") + "</FAULTLOG>";
  ArchivedFile archived;
  ASSERT_TRUE(archived.Load(Nested(rest, "<FLFILE/>")));
  FaultloggerFile file = Loaded(deepEntry);
  EXPECT_TRUE(archived.MergeIntoArchived(file));
  ArchivedFile again;
  EXPECT_TRUE(again.Load(archived.Xml())) << again.Reason();
  EXPECT_FALSE(file.Load("<a>" + deepEntry + "</a>"));
  EXPECT_EQ(file.Reason(), "line 1: nested deeper than 125 levels");
}

std::vector<std::string> NumbersIn(std::string_view xml) {
  XmlDocument document;
  EXPECT_TRUE(document.Load(xml)) << document.Reason();
  std::vector<std::string> numbers;
  for (const XmlElement& entry : document.ElementsByTagName("FAULTLOG")) {
    numbers.push_back(entry.Attribute("No").value_or("none"));
  }
  return numbers;
}

TEST(MergeIntoArchived, CountsRunningNumbersOn) {
  ArchivedFile archived;
  ASSERT_TRUE(archived.Load(test::FaultlogXml("A", "PPPPP")));
  FaultloggerFile three = Loaded(test::FaultlogXml("A", "PPP"));
  EXPECT_TRUE(archived.MergeIntoArchived(three));
  EXPECT_THAT(NumbersIn(archived.Xml()), testing::ElementsAre("1", "2", "3", "4", "5", "6", "7", "8"));
  EXPECT_THAT(NumbersIn(three.ContainerXml()), testing::ElementsAre("6", "7", "8"));
  FaultloggerFile one = Loaded(test::FaultlogXml("A", "P"));
  EXPECT_TRUE(archived.MergeIntoArchived(one));
  EXPECT_EQ(NumbersIn(archived.Xml()).back(), "9");
}

TEST(MergeIntoArchived, ChangesTheFirstAttributeWhateverItsName) {
  ArchivedFile archived;
  ASSERT_TRUE(archived.Load("<FLFILE><FAULTLOG/></FLFILE>"));
  FaultloggerFile file = Loaded("<FLFILE><FAULTLOG Lfd='1' No='1'/><FAULTLOG/><FAULTLOG b='x'/></FLFILE>");
  EXPECT_TRUE(archived.MergeIntoArchived(file));
  EXPECT_THAT(archived.Xml(), HasSubstr("<FLFILE><FAULTLOG/><FAULTLOG Lfd=\"2\" No=\"1\"/><FAULTLOG/>"
                                        "<FAULTLOG b=\"4\"/></FLFILE>"));
}

TEST(MergeIntoArchived, StaysInTheArchivedFilesEncoding) {
  ArchivedFile archived;
  ASSERT_TRUE(archived.Load(
      "<?xml version='1.0' encoding='ISO-8859-1'?><FLFILE><FAULTLOG n='1'>\xE4</FAULTLOG></FLFILE>"));
  FaultloggerFile file = Loaded("<FLFILE><FAULTLOG n='1'>ü€</FAULTLOG></FLFILE>");
  EXPECT_TRUE(archived.MergeIntoArchived(file));
  EXPECT_EQ(archived.Xml(),
            "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n"
            "<FLFILE><FAULTLOG n=\"1\">\xE4</FAULTLOG><FAULTLOG n=\"2\">\xFC&#8364;</FAULTLOG></FLFILE>\n");
}

TEST(ArchivedFile, SaysWhyItDoesNotLoad) {
  ArchivedFile archived;
  EXPECT_FALSE(archived.Load("<FLFILE>"));
  EXPECT_NE(archived.Reason(), "");
  EXPECT_FALSE(archived.Load("<a/>"));
  EXPECT_EQ(archived.Reason(), "no FLFILE element");
}

TEST(BuildXML, GathersElementsBetweenItsTags) {
  FaultloggerFile first = Loaded(test::FaultlogXml("A"));
  FaultloggerFile second = Loaded(test::FaultlogXml("B"));
  BuildXML builder;
  builder.OpenXML("TempElement");
  builder.InsertXML(first);
  builder.InsertXML(second);
  EXPECT_EQ(builder.CloseXML("TempElement"),
            "<TempElement>\r\n" + first.ContainerXml() + "\r\n" + second.ContainerXml() + "</TempElement>");
  EXPECT_EQ(builder.ElementCount(), 2U);
}

TEST(BuildXML, HoldsNothingBeforeItIsOpened) {
  FaultloggerFile file = Loaded(test::FaultlogXml("A"));
  BuildXML builder;
  builder.InsertXML(file);
  EXPECT_EQ(builder.GetXMLLength(), 0U);
  builder.OpenXML("");
  EXPECT_EQ(builder.CloseXML("x"), "</x>");
  EXPECT_EQ(builder.CloseXML(""), "");
}

TEST(BuildXML, OpensAnew) {
  FaultloggerFile file = Loaded(test::FaultlogXml("A"));
  BuildXML builder;
  builder.OpenXML("a");
  builder.InsertXML(file);
  builder.OpenXML("");
  EXPECT_EQ(builder.ElementCount(), 1U);
  builder.OpenXML("b");
  EXPECT_EQ(builder.CloseXML("b"), "<b></b>");
  EXPECT_EQ(builder.CloseXML("b"), "<b></b>") << "closing does not change it";
}

TEST(BuildXML, CountsCharacters) {
  FaultloggerFile file =
      Loaded("<FLFILE><PRODCODE>ä中𝄞</PRODCODE><FAULTLOG><MODEIND>F</MODEIND></FAULTLOG></FLFILE>");
  BuildXML builder;
  builder.OpenXML("t");
  builder.InsertXML(file);
  EXPECT_EQ(builder.GetXMLLength(), 3U + 2U + 82U);
  EXPECT_EQ(file.ContainerXml().size(), 82U + 6U);
}

TEST(BuildXML, InsertsNothingWithoutAContainer) {
  FaultloggerFile file = Loaded("<r><PRODCODE/><FAULTLOG><MODEIND/></FAULTLOG></r>");
  BuildXML builder;
  builder.OpenXML("t");
  builder.InsertXML(file);
  EXPECT_EQ(builder.CloseXML("t"), "<t></t>");
}

}  // namespace
}  // namespace fieldpost
