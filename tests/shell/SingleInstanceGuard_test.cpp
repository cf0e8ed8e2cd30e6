#include "shell/SingleInstanceGuard.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace fieldpost::test {
namespace {

constexpr std::uint64_t ownHandle = 7;
constexpr bool bordered = true;
constexpr bool bare = false;

struct Shown {
  std::string title;
  bool hasBorder = bordered;
};

class FakeWindows final : public TopLevelWindows {
 public:
  explicit FakeWindows(const std::vector<Shown>& shown) {
    for (const Shown& window : shown) windows.push_back({windows.size() + 1, window.title, window.hasBorder});
  }
  std::vector<TopLevelWindow> windows;
  std::vector<std::uint64_t> asked;

  std::vector<TopLevelWindow> OnScreenOf(std::uint64_t window) override {
    asked.push_back(window);
    return windows;
  }
};

struct GuardCase {
  std::string name;
  std::vector<Shown> windows;
  bool found;
  std::uint16_t examined;
};

class SingleInstanceGuardTest : public testing::TestWithParam<GuardCase> {};

TEST_P(SingleInstanceGuardTest, CountsTitlesOfBorderedWindows) {
  FakeWindows windows(GetParam().windows);
  SingleInstanceGuard guard(windows);
  EXPECT_FALSE(guard.AlreadyOpen());
  EXPECT_EQ(guard.IsAlreadyOpen(ownHandle, "Fieldpost"), GetParam().found);
  EXPECT_EQ(guard.AlreadyOpen(), GetParam().found);
  EXPECT_EQ(guard.ExaminedWindows(), GetParam().examined);
  EXPECT_EQ(windows.asked, std::vector<std::uint64_t>{ownHandle});
}

const std::string umlaut = "Fieldp\xC3\xB6st";

INSTANTIATE_TEST_SUITE_P(
    Rule, SingleInstanceGuardTest,
    testing::Values(
        GuardCase{"NoWindowAtAll", {}, false, 0}, GuardCase{"OwnWindowAlone", {{"Fieldpost"}}, false, 0},
        GuardCase{"OwnAmongOthers", {{"Mail"}, {"Fieldpost"}, {"Editor"}}, false, 2},
        GuardCase{"SecondCopy", {{"Fieldpost"}, {"Fieldpost"}}, true, 0},
        GuardCase{"SecondCopyBehindOthers", {{"Fieldpost"}, {"Mail"}, {"Editor"}, {"Fieldpost"}}, true, 0},
        GuardCase{"ThreeCopies", {{"Fieldpost"}, {"Fieldpost"}, {"Fieldpost"}}, true, 0},
        GuardCase{"ShortTitleCounts", {{"Fieldpost"}, {"Fieldpos"}}, true, 0},
        GuardCase{"ShortTitleFirst", {{"Fieldpos"}, {"Mail"}, {"Fieldpost"}}, true, 0},
        GuardCase{"ShortTitleTwice", {{"Fieldpos"}, {"Fieldpos"}}, true, 0},
        GuardCase{"ShortTitleAlone", {{"Fieldpos"}, {"Mail"}}, false, 1},
        GuardCase{"ShortTitleIsNoPrefix", {{"Fieldpost"}, {"Fieldpos - Notes"}}, false, 1},
        GuardCase{"ShorterStill", {{"Fieldpost"}, {"Fieldpo"}}, false, 1},
        GuardCase{"CaptionIsNoPrefix", {{"Fieldpost"}, {"Fieldpost - [Archive]"}}, false, 1},
        GuardCase{"CaptionIsNoEnding", {{"Fieldpost"}, {"About Fieldpost"}}, false, 1},
        GuardCase{"OtherCase", {{"Fieldpost"}, {"FIELDPOST"}, {"fieldpost"}, {"fieldpos"}}, false, 3},
        GuardCase{"Blanks", {{"Fieldpost"}, {"Fieldpost "}, {" Fieldpost"}}, false, 2},
        GuardCase{"OtherLetters", {{"Fieldpost"}, {umlaut}}, false, 1},
        GuardCase{"WithoutBorder", {{"Fieldpost"}, {"Fieldpost", bare}, {"Fieldpos", bare}}, false, 0},
        GuardCase{"OwnWithoutBorder", {{"Fieldpost", bare}, {"Fieldpost"}}, false, 0},
        GuardCase{"EmptyTitles", {{""}, {"Fieldpost"}, {""}, {"", bare}}, false, 0},
        GuardCase{"WithoutBorderIsNotExamined", {{"Fieldpost"}, {"Panel", bare}, {"Mail"}}, false, 1}),
    [](const auto& given) { return given.param.name; });

TEST(SingleInstanceGuardTest, IgnoresEmptyTitlesEvenForAnEmptyCaption) {
  FakeWindows windows({{""}, {""}, {"Mail"}});
  SingleInstanceGuard guard(windows);
  EXPECT_FALSE(guard.IsAlreadyOpen(ownHandle, ""));
  EXPECT_EQ(guard.ExaminedWindows(), 1);
}

TEST(SingleInstanceGuardTest, ComparesTitlesWithTheGivenCaption) {
  FakeWindows windows({{umlaut}, {umlaut}, {"Fieldpost"}, {"Fieldpost"}});
  SingleInstanceGuard guard(windows);
  EXPECT_TRUE(guard.IsAlreadyOpen(ownHandle, umlaut));
  EXPECT_TRUE(guard.IsAlreadyOpen(ownHandle, "Fieldpost"));
  EXPECT_FALSE(guard.IsAlreadyOpen(ownHandle, "Other"));
}

TEST(SingleInstanceGuardTest, KeepsTheCountOfTheLastScanWithoutACopy) {
  FakeWindows windows({{"Fieldpost"}, {"Mail"}});
  SingleInstanceGuard guard(windows);
  EXPECT_FALSE(guard.IsAlreadyOpen(ownHandle, "Fieldpost"));
  windows.windows = {{1, "Editor", true}, {2, "Panel", true}, {3, "Fieldpost", true}, {4, "Fieldpost", true}};
  EXPECT_TRUE(guard.IsAlreadyOpen(ownHandle, "Fieldpost"));
  EXPECT_EQ(guard.ExaminedWindows(), 1);
}

TEST(SingleInstanceGuardTest, CountWrapsAt16Bits) {
  FakeWindows windows(std::vector<Shown>(65536 + 3, {"Mail"}));
  SingleInstanceGuard guard(windows);
  EXPECT_FALSE(guard.IsAlreadyOpen(ownHandle, "Fieldpost"));
  EXPECT_EQ(guard.ExaminedWindows(), 3);
}

TEST(SingleInstanceGuardTest, HasBorderStyleTestsTheBorderOnly) {
  EXPECT_TRUE(SingleInstanceGuard::HasBorderStyle({1, "", true}));
  EXPECT_FALSE(SingleInstanceGuard::HasBorderStyle({1, "Fieldpost", false}));
}

}  // namespace
}  // namespace fieldpost::test
