#include "faultlog/BuildXML.h"

#include <gtest/gtest.h>

#include "support/FaultlogXml.h"

namespace fieldpost {
namespace {

FaultloggerFile Loaded(std::string_view xml) {
  FaultloggerFile file;
  EXPECT_TRUE(file.Load(xml)) << file.Reason();
  return file;
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

TEST(BuildXML, InsertsNothingBeforeItIsOpened) {
  FaultloggerFile file = Loaded(test::FaultlogXml("A"));
  BuildXML builder;
  builder.InsertXML(file);
  EXPECT_EQ(builder.GetXMLLength(), 0U);
  builder.OpenXML("");
  EXPECT_EQ(builder.CloseXML("x"), "</x>");
  EXPECT_EQ(builder.CloseXML(""), "");
}

TEST(OpenXML, DiscardsTheTextUnlessTheNameIsEmpty) {
  FaultloggerFile file = Loaded(test::FaultlogXml("A"));
  BuildXML builder;
  builder.OpenXML("a");
  builder.InsertXML(file);
  builder.OpenXML("");
  EXPECT_EQ(builder.ElementCount(), 1U);
  builder.OpenXML("b");
  EXPECT_EQ(builder.CloseXML("b"), "<b></b>");
  EXPECT_EQ(builder.CloseXML("b"), "<b></b>") << "CloseXML leaves the builder as it is";
}

TEST(OpenXML, ResetsTheCounts) {
  FaultloggerFile file;
  ASSERT_TRUE(file.Load(test::FaultlogXml("A")));
  BuildXML builder;
  builder.OpenXML("T");
  builder.InsertXML(file);
  EXPECT_EQ(builder.ElementCount(), 1U);
  builder.OpenXML("T");
  EXPECT_EQ(builder.ElementCount(), 0U);
  EXPECT_EQ(builder.GetXMLLength(), 3U);
}

TEST(GetXMLLength, CountsCharacters) {
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
