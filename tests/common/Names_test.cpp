// File names, dates, patterns and small text rules.
#include <gtest/gtest.h>

#include "common/CharMask.h"
#include "common/ContentHash.h"
#include "common/DocumentNames.h"
#include "common/PathText.h"
#include "common/Text.h"

namespace fieldpost {
namespace {

constexpr LocalTime Afternoon{.year = 2004,
                              .month = 3,
                              .day = 15,
                              .hour = 14,
                              .minute = 7,
                              .second = 9,
                              .weekday = 1,
                              .offsetMinutes = 60};

TEST(DateText, HasItsForms) {
  EXPECT_EQ(CompactDate(Afternoon), "20040315");
  EXPECT_EQ(HourStamp(Afternoon), "2004031514");
  EXPECT_EQ(LogDay(Afternoon), "15032004");
  EXPECT_EQ(DateAndTime(Afternoon), "15.03.2004 14:07:09");
  EXPECT_EQ(MailDate(Afternoon), "Mon, 15 Mar 2004 14:07:09 +0100");
  LocalTime west = Afternoon;
  west.offsetMinutes = -210;
  EXPECT_EQ(MailDate(west), "Mon, 15 Mar 2004 14:07:09 -0330");
}

TEST(DocumentNames, AreBuiltFromPartnerAndHour) {
  const std::string stem = DocumentStem(FaultlogPrefix, "4711", Afternoon);
  EXPECT_EQ(stem, "FLog.4711.2004031514");
  EXPECT_EQ(DocumentName(stem, 1), "FLog.4711.200403151401.xml");
  EXPECT_EQ(DocumentName(stem, 99), "FLog.4711.200403151499.xml");
  EXPECT_EQ(ZipName(stem), "FLog.4711.200403151400.zip");
  EXPECT_EQ(ZipName(DocumentStem(PpcPrefix, "4711", Afternoon)), "PPC.4711.200403151400.zip");
  EXPECT_EQ(LogFileName(Afternoon), "FPProg_15032004.log");
}

TEST(DocumentNames, TakeOnlyLettersAndDigitsOfThePartnerId) {
  EXPECT_EQ(SitePart("AB12"), "AB12");
  EXPECT_EQ(SitePart("../A\r\nB: ä/7"), "AB7");
  EXPECT_EQ(SitePart("-./"), "");
}

TEST(NextDocumentNumber, CountsOnFromTheHighestUpTo98) {
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

TEST(FormatCharMask, LaysDigitsInFromTheRight) {
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

TEST(Text, ComparesWithoutTheCaseOfAsciiLetters) {
  EXPECT_EQ(ToLowerAscii("-FCS Ä"), "-fcs Ä");
  EXPECT_TRUE(EqualNoCase("Not Sent", "nOT sENT"));
  EXPECT_FALSE(EqualNoCase("a", "ab"));
  EXPECT_TRUE(ContainsNoCase("x NOT SENT y", "not sent"));
  EXPECT_FALSE(ContainsNoCase("not  sent", "not sent"));
  EXPECT_TRUE(EndsWithNoCase("A.XmL", ".xml"));
  EXPECT_FALSE(EndsWithNoCase("xml", ".xml"));
}

TEST(Text, TrimsShowsCountsAndReplaces) {
  EXPECT_EQ(Trimmed(" \t\r\na b\n "), "a b");
  EXPECT_EQ(Trimmed(" \n"), "");
  EXPECT_EQ(EscapeControls("a\nb\x7F ä"), "a\\x0Ab\\x7F ä");
  EXPECT_EQ(EscapeControls("\xC2\x9B.\xC2\xA0.\xE2\x80\xA7"), "\\xC2\\x9B.\xC2\xA0.\xE2\x80\xA7");
  EXPECT_EQ(EscapeControls("a\xE2\x80\xAE.\xE2\x81\xA9\xE2\x80"),
            "a\\xE2\\x80\\xAE.\\xE2\\x81\\xA9\\xE2\\x80");
  EXPECT_EQ(CountCharacters("aä中𝄞"), 4U);
  EXPECT_EQ(Replaced("aXbXX", "X", "--"), "a--b----");
}

TEST(EscapeControls, LeavesNothingThatSteersATerminalOrIsNoText) {
  struct Row {
    const char* name;
    std::string_view text;
    const char* expected;
  };
  for (const Row& row : {
           Row{"plain", "aä€🔧", "aä€🔧"},
           Row{"escape", "\x1B[2J", "\\x1B[2J"},
           Row{"beyond ASCII", "\xC2\x9B", "\\xC2\\x9B"},
           Row{"not a control", "\xC2\xA0", "\xC2\xA0"},
           Row{"lone byte", "a\xE4z", "a\\xE4z"},
           Row{"cut off", "\xE2\x82", "\\xE2\\x82"},
           Row{"too long", "\xC0\xAF", "\\xC0\\xAF"},
           Row{"too long, of three", "\xE0\x80\xAF", "\\xE0\\x80\\xAF"},
           Row{"half a pair", "\xED\xA0\x80", "\\xED\\xA0\\x80"},
           Row{"beyond the last", "\xF4\x90\x80\x80", "\\xF4\\x90\\x80\\x80"},
           Row{"the last", "\xF4\x8F\xBF\xBF", "\xF4\x8F\xBF\xBF"},
       }) {
    EXPECT_EQ(EscapeControls(row.text), row.expected) << row.name;
  }
}

TEST(CountCharacters, CountsTextsOfEveryLength) {
  std::string text;
  for (std::size_t characters = 0; characters < 1000; ++characters) {
    EXPECT_EQ(CountCharacters(text), characters);
    text += characters % 3 == 0 ? "ä" : "x";
  }
}

TEST(PathText, RoundTrips) {
  EXPECT_EQ(Utf8FromPath(PathFromUtf8("/a/ä 中")), "/a/ä 中");
  EXPECT_EQ(WithSeparator("/a", '/'), "/a/");
  EXPECT_EQ(WithSeparator("C:\\a\\", '\\'), "C:\\a\\");
  EXPECT_EQ(WithSeparator("", '/'), "");
}

TEST(ContentHash, TellsContentsApart) {
  EXPECT_EQ(HashContent("a"), HashContent("a"));
  EXPECT_NE(HashContent("a"), HashContent("b"));
  EXPECT_EQ(ToHex(HashContent("")), "99aa06d3014798d86001c324468d497f");
}

}  // namespace
}  // namespace fieldpost
