#include "common/CharMask.h"

#include <gtest/gtest.h>

namespace fieldpost {
namespace {

TEST(FormatCharMask, FillsThePatternFromTheRight) {
  struct Row {
    std::uint64_t number;
    const char* pattern;
    const char* expected;
  };
  for (const Row& row : {
           Row{1234567, "@@@@@@@@.@@@", "    1234.567"},
           Row{20480, "@@@@@@@@.@@@", "      20.480"},
           Row{512, "@@@@@@@@.@@@", "        .512"},
           Row{42, "@@@@@@@@.@@@", "        . 42"},
           Row{0, "@@@@@@@@.@@@", "        .  0"},
           Row{123456789012, "@@@@@@@@.@@@",
               "1"
               "23456789.012"},
           Row{2147483647, "@@@@@@@.@@@", "2147483.647"},
           Row{7, "", "7"},
           Row{7, "abc", "7abc"},
       }) {
    EXPECT_EQ(FormatCharMask(row.number, row.pattern), row.expected) << row.number << " in " << row.pattern;
  }
}

}  // namespace
}  // namespace fieldpost
