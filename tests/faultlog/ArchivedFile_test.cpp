#include "faultlog/ArchivedFile.h"
#include "common/Limits.h"

#include <gmock/gmock.h>

#include "support/FaultlogXml.h"

namespace fieldpost {
namespace {

using testing::HasSubstr;

FaultloggerFile Loaded(std::string_view xml) {
  FaultloggerFile file;
  EXPECT_TRUE(file.Load(xml)) << file.Reason();
  return file;
}

std::string Nested(int levels, std::string_view in) {
  std::string xml;
  for (int i = 0; i < levels; ++i) xml += "<a>";
  xml += in;
  for (int i = 0; i < levels; ++i) xml += "</a>";
  return xml;
}

TEST(MergeIntoArchived, MakesAFileThatLoadsWhenBothAreNestedAsDeepAsAllowed) {
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

TEST(MergeIntoArchived, ContinuesTheRunningNumbers) {
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

TEST(MergeIntoArchived, RenumbersTheMergedFileToo) {
  FaultloggerFile file;
  ArchivedFile archived;
  ASSERT_TRUE(file.Load(test::FaultlogXml("A")));
  ASSERT_TRUE(archived.Load(test::FaultlogXml("A", "FFF")));
  EXPECT_THAT(file.ContainerXml(), HasSubstr("No=\"1\""));
  EXPECT_TRUE(archived.MergeIntoArchived(file));
  EXPECT_THAT(file.ContainerXml(), HasSubstr("No=\"4\""));
}

TEST(MergeIntoArchived, ChangesTheFirstAttributeWhateverItsName) {
  ArchivedFile archived;
  ASSERT_TRUE(archived.Load("<FLFILE><FAULTLOG/></FLFILE>"));
  FaultloggerFile file = Loaded("<FLFILE><FAULTLOG Lfd='1' No='1'/><FAULTLOG/><FAULTLOG b='x'/></FLFILE>");
  EXPECT_TRUE(archived.MergeIntoArchived(file));
  EXPECT_THAT(archived.Xml(), HasSubstr("<FLFILE><FAULTLOG/><FAULTLOG Lfd=\"2\" No=\"1\"/><FAULTLOG/>"
                                        "<FAULTLOG b=\"4\"/></FLFILE>"));
}

TEST(MergeIntoArchived, KeepsTheEncodingOfTheArchivedFile) {
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

}  // namespace
}  // namespace fieldpost
