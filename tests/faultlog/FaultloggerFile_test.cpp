#include "faultlog/FaultloggerFile.h"

#include <gmock/gmock.h>

#include "support/FaultlogXml.h"

namespace fieldpost {
namespace {

using testing::HasSubstr;
using testing::Not;

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
           Row{"names are case-sensitive", "<flfile><PRODCODE/><FAULTLOG><MODEIND/></FAULTLOG></flfile>",
               false},
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

TEST(ReadyToFile, IsFalseOnlyWhileTheLastEntryRunsToday) {
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
           Row{"last entry running, today, in lower case", entries("ef", "20040315"), false},
           Row{"last entry done, today", entries("FE", "20040315"), true},
           Row{"archived, either case", entries("aA", "20040315"), true},
           Row{"date surrounded by blanks", entries("EF", " 20040315\n"), false},
           Row{"mode surrounded by blanks",
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

TEST(SetProcessMode, SetsEveryMode) {
  FaultloggerFile file = Loaded("<FLFILE><MODEIND>F</MODEIND><MODEIND/><MODEIND>a<b/></MODEIND></FLFILE>");
  file.SetProcessMode();
  EXPECT_EQ(file.Xml(),
            "<?xml version=\"1.0\"?>\n<FLFILE><MODEIND>P</MODEIND><MODEIND>P</MODEIND>"
            "<MODEIND>P</MODEIND></FLFILE>\n");
}

TEST(FaultloggerFile, DoesNotLoadWhenSettingItsModesWouldRemoveOtherElements) {
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
           Row{"an entry of another namespace", "<p:FAULTLOG xmlns:p='urn:p'/>", false},
           Row{"an entry after it", "E</MODEIND><FAULTLOG/><MODEIND>", false},
       }) {
    FaultloggerFile file;
    const bool loaded = file.Load("<FLFILE><PRODCODE>A</PRODCODE><FAULTLOG No='1'><MODEIND>" +
                                  std::string(row.inMode) + "</MODEIND></FAULTLOG></FLFILE>");
    EXPECT_EQ(!loaded, row.refused) << row.name;
    EXPECT_EQ(file.Reason(), row.refused ? "a MODEIND holds other elements of the record" : "") << row.name;
  }
}

TEST(FaultloggerFile, HoldsOnlyWhatWasLoadedLast) {
  FaultloggerFile file;
  ASSERT_TRUE(file.Load(test::FaultlogXml("FIRST")));
  EXPECT_THAT(file.ContainerXml(), HasSubstr("FIRST"));
  ASSERT_TRUE(file.Load(test::FaultlogXml("SECOND")));
  EXPECT_THAT(file.ContainerXml(), HasSubstr("SECOND"));
  EXPECT_THAT(file.Xml(), Not(HasSubstr("FIRST")));
}

TEST(FaultloggerFile, KeepsTheRootAroundItsContainer) {
  const std::string container =
      "<FLFILE><PRODCODE>A</PRODCODE><FAULTLOG><MODEIND>F</MODEIND></FAULTLOG></FLFILE>";
  for (const std::string& root : {container, "<R>" + container + "</R>"}) {
    FaultloggerFile file;
    ASSERT_TRUE(file.Load(root));
    EXPECT_EQ(file.Xml(), "<?xml version=\"1.0\"?>\n" + root + "\n");
    EXPECT_EQ(file.ContainerXml(), container);
  }
}

}  // namespace
}  // namespace fieldpost
