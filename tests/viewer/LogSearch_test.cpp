#include "viewer/LogSearch.h"

#include <gtest/gtest.h>

#include <optional>

namespace fieldpost {
namespace {

constexpr auto Forward = SearchDirection::Forward;
constexpr auto Backward = SearchDirection::Backward;

LogSearch::Pattern AsciiPattern(std::string_view text) {
  LogSearch::Pattern pattern;
  for (const char letter : text) {
    const bool lower = letter >= 'a' && letter <= 'z';
    pattern.push_back(
        {std::string(1, letter), std::string(1, lower ? static_cast<char>(letter - 32) : letter)});
  }
  return pattern;
}

std::optional<std::size_t> FirstMatch(LogSearch search) {
  SearchState state = SearchState::Running;
  while (state == SearchState::Running) state = search.Step();
  if (state == SearchState::NotFound) return {};
  return search.Begin();
}

TEST(LogSearch, GoesAroundTheTextOnce) {
  struct Row {
    std::string text;
    std::string what;
    std::size_t from;
    SearchDirection direction;
    std::optional<std::size_t> expected;
  };
  for (const Row& row : {
           Row{"one Two one", "two", 0, Forward, 4},
           Row{"one Two one", "two", 4, Forward, 4},
           Row{"one Two one", "one", 1, Forward, 8},
           Row{"one Two one", "two", 5, Forward, 4},
           Row{"one Two one", "one", 11, Forward, 0},
           Row{"one Two one", "one", 8, Backward, 0},
           Row{"one Two one", "one", 0, Backward, 8},
           Row{"one Two one", "two", 4, Backward, 4},
           Row{"one Two one", "three", 3, Forward, {}},
           Row{"one Two one", "three", 3, Backward, {}},
           Row{"one Two one", "one two one", 0, Forward, 0},
           Row{"on", "one", 0, Forward, {}},
           Row{"", "one", 0, Forward, {}},
           Row{"one", "", 0, Forward, {}},
       }) {
    EXPECT_EQ(FirstMatch(LogSearch(row.text, AsciiPattern(row.what), row.from, row.direction)), row.expected)
        << row.text << '|' << row.what << '|' << row.from;
  }
}

TEST(LogSearch, WaysOfOtherLengthsMatch) {
  const std::string text = "x\xE1\xBA\x9Ey";  // x, capital sharp s, y
  const LogSearch::Pattern pattern{{"\xC3\x9F", "\xE1\xBA\x9E"}, {"y", "Y"}};
  LogSearch search(text, pattern, 0, Forward);
  ASSERT_EQ(search.Step(), SearchState::Found);
  EXPECT_EQ(search.Begin(), 1U);
  EXPECT_EQ(search.End(), text.size());
}

TEST(LogSearch, LooksAtOneSliceAStep) {
  const std::string text = std::string(2 * LogSearch::SliceBytes + 10, 'a') + "needle";
  LogSearch search(text, AsciiPattern("needle"), 0, Forward);
  EXPECT_EQ(search.Step(), SearchState::Running);
  EXPECT_EQ(search.Step(), SearchState::Running);
  EXPECT_EQ(search.Step(), SearchState::Found);
  EXPECT_EQ(search.Begin(), text.size() - 6);
}

TEST(LogSearch, AsItStandsFindsNothing) {
  EXPECT_EQ(LogSearch().Step(), SearchState::NotFound);
}

}  // namespace
}  // namespace fieldpost
