#include "viewer/TreePrintLayout.h"

#include <gmock/gmock.h>

#include "support/ProcessorTime.h"

namespace fieldpost {

std::ostream& operator<<(std::ostream& out, const PrintedLine& line) {
  return out << '(' << line.x1 << ',' << line.y1 << ")-(" << line.x2 << ',' << line.y2 << ')';
}

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;

// An A4 page and a screen of 96 pixels per inch; a text of 225 twips makes lines of 240.
constexpr PrintMeasures A4{
    .pageWidth = 11'000, .pageHeight = 16'000, .indentation = 20, .screenPixelX = 15, .screenPixelY = 15};
constexpr Twips Text = 225;

TEST(TreePrintLayout, PlacesASingleRootWithoutConnectors) {
  const PrintedNode root = TreePrintLayout(A4).Place(0, false, Text);
  EXPECT_EQ(root.page, 0U);
  EXPECT_EQ(root.top, 100);
  EXPECT_EQ(root.height, 240);
  EXPECT_EQ(root.labelX, 0);
  EXPECT_EQ(root.labelY, 107.5);
  EXPECT_EQ(root.horizontal, std::nullopt);
  EXPECT_THAT(root.verticals, IsEmpty());
}

TEST(TreePrintLayout, PlacesRootsWithoutConnectors) {
  TreePrintLayout layout(A4);
  for (const bool more : {true, true, false}) {
    const PrintedNode root = layout.Place(0, more, Text);
    EXPECT_EQ(root.horizontal, std::nullopt);
    EXPECT_THAT(root.verticals, IsEmpty());
  }
}

TEST(TreePrintLayout, DrawsConnectorsAsGiven) {
  // root
  // |- child
  // |  |- first
  // |  '- last
  // '- sibling
  PrintMeasures wide = A4;
  wide.indentation = 300;
  TreePrintLayout layout(wide);
  layout.Place(0, false, Text);
  const PrintedNode child = layout.Place(1, true, Text);
  EXPECT_EQ(child.labelX, 300);
  EXPECT_EQ(child.labelY, 347.5);
  EXPECT_THAT(child.horizontal, Optional(PrintedLine{150, 460, 270, 460}));
  EXPECT_THAT(child.verticals, ElementsAre(PrintedLine{150, 340, 150, 580}));
  const PrintedNode first = layout.Place(2, true, Text);
  EXPECT_THAT(first.horizontal, Optional(PrintedLine{450, 700, 570, 700}));
  EXPECT_THAT(first.verticals, ElementsAre(PrintedLine{450, 580, 450, 820}, PrintedLine{150, 580, 150, 820}));
  const PrintedNode last = layout.Place(2, false, Text);
  EXPECT_THAT(last.verticals, ElementsAre(PrintedLine{450, 820, 450, 940}, PrintedLine{150, 820, 150, 1060}));
  const PrintedNode sibling = layout.Place(1, false, Text);
  EXPECT_THAT(sibling.horizontal, Optional(PrintedLine{150, 1180, 270, 1180}));
  EXPECT_THAT(sibling.verticals, ElementsAre(PrintedLine{150, 1060, 150, 1180}));
}

TEST(TreePrintLayout, EndsTheLineOfTheLastChildAtItsMiddle) {
  TreePrintLayout layout(A4);
  layout.Place(0, false, Text);
  const PrintedNode last = layout.Place(1, false, Text);
  EXPECT_THAT(last.verticals, ElementsAre(PrintedLine{10, last.top, 10, last.top + last.height / 2}));
}

TEST(TreePrintLayout, DoesNotContinueBranchesThatEnded) {
  TreePrintLayout layout(A4);
  for (const bool more : {false, true, false, true}) layout.Place(more ? 1 : 0, more, Text);
  layout.Place(1, false, Text);
  layout.Place(2, false, Text);
  EXPECT_EQ(layout.Place(3, false, Text).verticals.size(), 1U);
}

TEST(TreePrintLayout, BreaksThePageOnceForOneLineTooMany) {
  struct Row {
    const char* what;
    Twips pageHeight;
    std::size_t lines;
    std::size_t breaks;
  };
  for (const Row& row :
       {Row{"exactly full", 100 + 10 * 240 + 100, 10, 0}, Row{"one more", 100 + 10 * 240 + 100, 11, 1},
        Row{"one twip too low", 100 + 10 * 240 + 99, 10, 1},
        Row{"two pages and one more", 100 + 10 * 240 + 100, 21, 2}, Row{"no line fits", 150, 3, 2}}) {
    PrintMeasures measures = A4;
    measures.pageHeight = row.pageHeight;
    TreePrintLayout layout(measures);
    PrintedNode last = layout.Place(0, false, Text);
    for (std::size_t line = 1; line < row.lines; ++line) last = layout.Place(1, true, Text);
    EXPECT_EQ(last.page, row.breaks) << row.what;
    EXPECT_EQ(last.top, row.breaks > 0 ? 100 : 100 + 9 * 240) << row.what;
  }
}

TEST(TreePrintLayout, ContinuesOpenBranchesOnTheNextPage) {
  PrintMeasures measures = A4;
  measures.pageHeight = 100 + 2 * 240 + 100;
  TreePrintLayout layout(measures);
  layout.Place(0, false, Text);
  layout.Place(1, true, Text);
  const PrintedNode below = layout.Place(2, false, Text);
  EXPECT_EQ(below.page, 1U);
  EXPECT_THAT(below.verticals, ElementsAre(PrintedLine{30, 100, 30, 220}, PrintedLine{10, 100, 10, 340}));
}

TEST(TreePrintLayout, OmitsLinesToTheRightOfThePage) {
  constexpr std::uint32_t depth = 100'000;
  TreePrintLayout layout(A4);
  std::size_t lines = 0;
  const double begin = test::ProcessorSeconds();
  for (std::uint32_t level = 0; level < depth; ++level) {
    const PrintedNode node = layout.Place(level, true, Text);
    EXPECT_EQ(node.labelX, 20.0 * level);
    for (const PrintedLine& line : node.verticals) EXPECT_LE(line.x1, A4.pageWidth);
    EXPECT_LE(node.verticals.size(), 550U);
    lines += node.verticals.size();
  }
  const double seconds = test::ProcessorSeconds() - begin;
  EXPECT_GT(lines, 500U * depth);
  EXPECT_EQ(layout.Place(depth, false, Text).horizontal, std::nullopt);
  std::cout << "100,000 levels with open branches: " << seconds << " s, " << lines << " lines\n";
}

TEST(TreePrintLayout, PlacesLabelsAtTheLeftEdgeWithoutIndentation) {
  PrintMeasures flat = A4;
  flat.indentation = 0;
  TreePrintLayout layout(flat);
  layout.Place(0, false, Text);
  for (std::uint32_t level = 1; level < 50; ++level) EXPECT_EQ(layout.Place(level, true, Text).labelX, 0);
}

}  // namespace
}  // namespace fieldpost
