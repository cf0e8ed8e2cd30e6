#include "viewer/LogText.h"

#include <gmock/gmock.h>

namespace fieldpost {
namespace {

using testing::ElementsAre;

std::vector<std::u16string> RowsOf(const LogText& text) {
  std::vector<std::u16string> rows;
  for (std::size_t row = 0; row < text.Rows(); ++row) rows.push_back(text.Row(row).text);
  return rows;
}

TEST(LogText, EveryKindOfLineEndEndsARow) {
  struct Row {
    std::string bytes;
    std::vector<std::u16string> expected;
  };
  for (const Row& row : {
           Row{"", {u""}},
           Row{"a", {u"a"}},
           Row{"a\r\nb\r\n", {u"a", u"b", u""}},
           Row{"a\nb\rc", {u"a", u"b", u"c"}},
           Row{"\r", {u"", u""}},
           Row{"\r\r\n\n", {u"", u"", u"", u""}},
           Row{"a\r", {u"a", u""}},
           Row{"\n\r\n\r", {u"", u"", u"", u""}},
           Row{"a\rb\r\nc\n", {u"a", u"b", u"c", u""}},
       }) {
    EXPECT_EQ(RowsOf(LogText(row.bytes)), row.expected) << testing::PrintToString(row.bytes);
  }
}

TEST(LogText, WhatCannotBeSeenIsShownAsASign) {
  struct Row {
    std::string bytes;
    std::u16string expected;
  };
  for (const Row& row : {
           Row{"Gr\xC3\xBC\xC3\x9F", u"Grüß"},
           Row{"\xF0\x9F\x98\x80.", u"\U0001F600."},
           Row{"a\tb", u"a\tb"},
           Row{std::string("\0\x1B[1m\x7F", 6), u"\\x00\\x1B[1m\\x7F"},
           Row{"\xC2\x85|\xE2\x80\xAE|\xE2\x80\xA8|\xEF\xBB\xBF", u"\\u0085|\\u202E|\\u2028|\\uFEFF"},
           Row{"\xFF\xC3|\xC3", u"\\xFF\\xC3|\\xC3"},
           Row{"\xC0\xAF|\xED\xA0\x80", u"\\xC0\\xAF|\\xED\\xA0\\x80"},
           Row{"\xE2\x82", u"\\xE2\\x82"},
       }) {
    EXPECT_EQ(LogText(row.bytes).Row(0).text, row.expected) << testing::PrintToString(row.bytes);
  }
}

TEST(LogText, PlacesInARowAreFoundAgain) {
  const LogRow row = LogText("a\xC3\xBC\xF0\x9F\x98\x80!").Row(0);  // a, ü, one of two units, !
  EXPECT_THAT(row.offsets, ElementsAre(0, 1, 3, 3, 7, 8));
  EXPECT_EQ(row.UnitAt(0), 0U);
  EXPECT_EQ(row.UnitAt(3), 2U);
  EXPECT_EQ(row.UnitAt(7), 4U);
  EXPECT_EQ(row.UnitAt(8), 5U);
}

TEST(LogText, RowsKnowWhereTheyBeginAndEnd) {
  const LogText text("ab\r\nc\n\nlong one");
  EXPECT_EQ(text.RowStart(1), 4U);
  EXPECT_EQ(text.RowEnd(0), 2U);
  EXPECT_EQ(text.RowEnd(2), 6U);
  EXPECT_EQ(text.RowEnd(3), text.Bytes().size());
  EXPECT_EQ(text.RowAt(0), 0U);
  EXPECT_EQ(text.RowAt(3), 0U);
  EXPECT_EQ(text.RowAt(4), 1U);
  EXPECT_EQ(text.RowAt(text.Bytes().size()), 3U);
  EXPECT_EQ(text.LongestRow(), 3U);
}

TEST(LogText, ALongLineGoesOnInFurtherRowsBetweenCharacters) {
  std::string line(LogText::MaxRowBytes - 1, 'x');
  const std::string whole = line + "\xC3\xBC" + line + "\r\nend";
  const LogText text(whole);
  ASSERT_EQ(text.Rows(), 4U);
  EXPECT_EQ(text.RowEnd(0), LogText::MaxRowBytes - 1);
  EXPECT_EQ(text.RowStart(1), LogText::MaxRowBytes - 1);
  EXPECT_EQ(text.Row(1).text.front(), u'ü');
  EXPECT_EQ(text.Row(3).text, u"end");
  std::string joined;
  for (std::size_t row = 0; row < 3; ++row) {
    joined += text.Bytes().substr(text.RowStart(row), text.RowEnd(row) - text.RowStart(row));
  }
  EXPECT_EQ(joined + "\r\nend", whole);
}

TEST(LogText, ALineOfContinuationBytesAloneIsCutToo) {
  const LogText text(std::string(5 * LogText::MaxRowBytes, '\x80'));
  EXPECT_GE(text.Rows(), 5U);
  for (std::size_t row = 0; row < text.Rows(); ++row) {
    EXPECT_LE(text.RowEnd(row) - text.RowStart(row), LogText::MaxRowBytes);
  }
}

}  // namespace
}  // namespace fieldpost
