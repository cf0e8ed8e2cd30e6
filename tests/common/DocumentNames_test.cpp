#include "common/DocumentNames.h"

#include <gtest/gtest.h>

#include "support/SampleTime.h"

namespace fieldpost {
namespace {

using test::Afternoon;

TEST(DocumentNames, AreBuiltFromPartnerIdAndHour) {
  const std::string stem = DocumentStem(FaultlogPrefix, "4711", Afternoon);
  EXPECT_EQ(stem, "FLog.4711.2004031514");
  EXPECT_EQ(DocumentName(stem, 1), "FLog.4711.200403151401.xml");
  EXPECT_EQ(DocumentName(stem, 99), "FLog.4711.200403151499.xml");
  EXPECT_EQ(ZipName(stem), "FLog.4711.200403151400.zip");
  EXPECT_EQ(ZipName(DocumentStem(PpcPrefix, "4711", Afternoon)), "PPC.4711.200403151400.zip");
  EXPECT_EQ(LogFileName(Afternoon), "FPProg_15032004.log");
}

TEST(DocumentNames, ContainOnlyLettersAndDigitsOfThePartnerId) {
  EXPECT_EQ(SitePart("AB12"), "AB12");
  EXPECT_EQ(SitePart("../A\r\nB: ä/7"), "AB7");
  EXPECT_EQ(SitePart("-./"), "");
}

TEST(NextDocumentNumber, IsOneMoreThanTheHighestUpTo98) {
  struct Row {
    const char* name;
    std::vector<std::string> names;
    int expected;
  };
  for (const Row& row : {
           Row{"no document yet", {}, 1},
           Row{"one", {"FLog.P.200403151401.xml"}, 2},
           Row{"a gap", {"FLog.P.200403151401.xml", "FLog.P.200403151407.xml"}, 8},
           Row{"98", {"FLog.P.200403151498.xml"}, 99},
           Row{"99 does not count", {"FLog.P.200403151498.xml", "FLog.P.200403151499.xml"}, 99},
           Row{"99 alone", {"FLog.P.200403151499.xml"}, 1},
           Row{"another hour", {"FLog.P.200403151301.xml"}, 1},
           Row{"another site", {"FLog.Q.200403151405.xml"}, 1},
           Row{"no number", {"FLog.P.2004031514xy.xml"}, 1},
           Row{"other case", {"flog.p.200403151403.XML"}, 4},
           Row{"no document", {"FLog.P.200403151400.zip", ".xml", ""}, 1},
       }) {
    EXPECT_EQ(NextDocumentNumber("FLog.P.2004031514", row.names), row.expected) << row.name;
  }
}

}  // namespace
}  // namespace fieldpost
