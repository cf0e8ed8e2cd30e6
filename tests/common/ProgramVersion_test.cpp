#include "common/ProgramVersion.h"

#include <gtest/gtest.h>

#include <regex>

namespace fieldpost {
namespace {

TEST(ProgramVersion, PadsNumbersAndNeverCutsThem) {
  struct Row {
    int major;
    int minor;
    int revision;
    std::string expected;
  };
  for (const Row& row : {
           Row{1, 6, 1, "Fieldpost 01.06.001"},
           Row{0, 0, 0, "Fieldpost 00.00.000"},
           Row{12, 34, 567, "Fieldpost 12.34.567"},
           Row{1, 6, 999, "Fieldpost 01.06.999"},
           Row{1, 6, 1000, "Fieldpost 01.06.1000"},
           Row{100, 200, 65535, "Fieldpost 100.200.65535"},
       }) {
    EXPECT_EQ(VersionText(row.major, row.minor, row.revision), row.expected);
  }
}

TEST(ProgramVersion, IsDefinedByTheBuild) {
  EXPECT_TRUE(std::regex_match(ProgramVersionText(), std::regex("Fieldpost \\d{2,}\\.\\d{2,}\\.\\d{3,}")))
      << ProgramVersionText();
}

}  // namespace
}  // namespace fieldpost
