#include "shell/CommandLine.h"

#include <gtest/gtest.h>

#include <vector>

namespace fieldpost {
namespace {

TEST(JoinArguments, JoinsTheArgumentsAfterTheProgramName) {
  const struct {
    std::vector<const char*> arguments;
    const char* line;
  } rows[] = {{{}, ""},
              {{"fieldpost"}, ""},
              {{"fieldpost", "-fc"}, "-fc"},
              {{"fieldpost", "-fcs", "-ps"}, "-fcs -ps"},
              {{"fieldpost", "-fcs -ps"}, "-fcs -ps"},
              {{"fieldpost", "", "a"}, " a"}};
  for (const auto& row : rows) EXPECT_EQ(JoinArguments(row.arguments), row.line);
}

}  // namespace
}  // namespace fieldpost
