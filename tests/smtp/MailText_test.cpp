#include "smtp/MailText.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace fieldpost {
namespace {

using namespace std::string_literals;

std::string Times(std::size_t count, std::string_view text) {
  std::string result;
  for (std::size_t i = 0; i < count; ++i) result += text;
  return result;
}

TEST(HeaderField, FoldsALineThatIsFull) {
  const auto x = [](std::size_t count) { return std::string(count, 'x'); };
  struct Row {
    const char* name;
    std::string text;
    std::string field;
  };
  for (const Row& row : {
           Row{"nothing", "", "Subject: \r\n"},
           Row{"blanks at both ends", "  a b ", "Subject: a b\r\n"},
           Row{"controls", "a\r\nB: \tc\x7F", "Subject: a  B:  c\r\n"},
           Row{"78 characters", x(34) + " " + x(34), "Subject: " + x(34) + " " + x(34) + "\r\n"},
           Row{"79 characters", x(34) + " " + x(35), "Subject: " + x(34) + "\r\n " + x(35) + "\r\n"},
           Row{"a full second line", x(60) + " " + x(39) + " " + x(37),
               "Subject: " + x(60) + "\r\n " + x(39) + " " + x(37) + "\r\n"},
           Row{"more than a full second line", x(60) + " " + x(39) + " " + x(38),
               "Subject: " + x(60) + "\r\n " + x(39) + "\r\n " + x(38) + "\r\n"},
           Row{"several blanks", x(60) + "    " + x(30), "Subject: " + x(60) + "\r\n    " + x(30) + "\r\n"},
           Row{"a first word that just fits", x(69), "Subject: " + x(69) + "\r\n"},
           Row{"a later word that just fits", "a " + x(77), "Subject: a\r\n " + x(77) + "\r\n"},
       }) {
    EXPECT_EQ(HeaderField("Subject", row.text), row.field) << row.name;
  }
}

TEST(HeaderField, EncodesTextThatCannotBeWrittenUnchanged) {
  const std::string full = "x" + Times(19, "ä");  // 39 bytes, which fill the first line
  const std::string encodedFull = "=?UTF-8?B?eMOkw6TDpMOkw6TDpMOkw6TDpMOkw6TDpMOkw6TDpMOkw6TDpMOk?=";
  struct Row {
    const char* name;
    std::string text;
    std::string field;
  };
  for (const Row& row : {
           Row{"a letter beyond ASCII", "ä", "Subject: =?UTF-8?B?w6Q=?=\r\n"},
           Row{"text that looks encoded", "=?x", "Subject: =?UTF-8?B?PT94?=\r\n"},
           Row{"malformed UTF-8", "\xFF", "Subject: =?UTF-8?B?77+9?=\r\n"},
           Row{"a first word that does not fit", std::string(70, 'x'),
               "Subject: =?UTF-8?B?" + Times(13, "eHh4") + "?=\r\n =?UTF-8?B?" + Times(10, "eHh4") +
                   "eA==?=\r\n"},
           Row{"a full line", full, "Subject: " + encodedFull + "\r\n"},
           Row{"one more", full + "y", "Subject: " + encodedFull + "\r\n =?UTF-8?B?eQ==?=\r\n"},
           Row{"two full lines", full + std::string(45, 'x'),
               "Subject: " + encodedFull + "\r\n =?UTF-8?B?" + Times(15, "eHh4") + "?=\r\n"},
           Row{"one more than two full lines", full + std::string(46, 'x'),
               "Subject: " + encodedFull + "\r\n =?UTF-8?B?" + Times(15, "eHh4") +
                   "?=\r\n =?UTF-8?B?eA==?=\r\n"},
           Row{"a character at the end of a line", "xx" + Times(19, "ä"),
               "Subject: =?UTF-8?B?eHjDpMOkw6TDpMOkw6TDpMOkw6TDpMOkw6TDpMOkw6TDpMOkw6Q=?=\r\n "
               "=?UTF-8?B?w6Q=?=\r\n"},
       }) {
    EXPECT_EQ(HeaderField("Subject", row.text), row.field) << row.name;
  }
  EXPECT_THAT(HeaderField("Subject", "a " + std::string(78, 'x')), testing::StartsWith("Subject: =?UTF-8?B?"))
      << "a later word that does not fit";
}

TEST(NameParameter, QuotesAsciiNamesOnly) {
  EXPECT_EQ(NameParameter("name", "a b.zip"), ";\r\n name=\"a b.zip\"");
  EXPECT_EQ(NameParameter("name", R"(a"b\c)"), ";\r\n name=\"a\\\"b\\\\c\"");
  EXPECT_EQ(NameParameter("name", "ä"), ";\r\n name*0*=UTF-8''%C3%A4");
}

TEST(NameParameter, EncodesAllButAttributeCharacters) {
  EXPECT_EQ(NameParameter("n", "ä/09:@AZ[`az{-._~}"),
            ";\r\n n*0*=UTF-8''%C3%A4%2F09%3A%40AZ%5B%60az%7B-._~%7D");
}

TEST(NameParameter, BeginsANewSectionWhenALineIsFull) {
  const std::string first =
      ";\r\n filename*0*=UTF-8''%C3%A4" + std::string(51, 'x');  // 77 characters and the ";"
  const std::string second = ";\r\n filename*1*=" + std::string(64, 'x');
  const auto named = [](std::size_t count) {
    return NameParameter("filename", "ä" + std::string(count, 'x'));
  };
  EXPECT_EQ(named(51), first);
  EXPECT_EQ(named(52), first + ";\r\n filename*1*=x");
  EXPECT_EQ(named(51 + 64), first + second);
  EXPECT_EQ(named(51 + 64 + 1), first + second + ";\r\n filename*2*=x");
}

TEST(QuotedName, ReplacesEachCharacterBeyondAscii) {
  EXPECT_EQ(QuotedName("a\x7F"
                       "ä€🔧\xFFz"),
            "\"a\x7F____z\"");
  EXPECT_EQ(QuotedName(""), "\"\"");
}

TEST(TravelName, ReplacesControlCharactersAndMalformedUtf8) {
  EXPECT_EQ(TravelName("/p/a\nb.xml"), "a_b.xml");
  EXPECT_EQ(TravelName("/p/\xFF.xml"), "\xEF\xBF\xBD.xml");
}

TEST(WithCrLf, ConvertsEveryLineEnd) {
  struct Row {
    const char* text;
    const char* result;
  };
  for (const Row& row : {
           Row{"", ""},
           Row{"a", "a"},
           Row{"\n", "\r\n"},
           Row{"a\nb", "a\r\nb"},
           Row{"a\rb", "a\r\nb"},
           Row{"a\r\nb", "a\r\nb"},
           Row{"a\n\rb", "a\r\n\r\nb"},
           Row{"a\r\n\r\nb\r\n", "a\r\n\r\nb\r\n"},
           Row{"a\r\rb", "a\r\n\r\nb"},
       }) {
    EXPECT_EQ(WithCrLf(row.text), row.result) << testing::PrintToString(row.text);
  }
}

TEST(IsSevenBit, ChecksCharactersAndLineLengths) {
  const std::string longest(998, 'x');
  struct Row {
    std::string text;
    bool expected;
  };
  for (const Row& row : {
           Row{"", true},
           Row{" ~\t\r\n", true},
           Row{"\x1F", false},
           Row{"\x7F", false},
           Row{"ä", false},
           Row{longest, true},
           Row{longest + "x", false},
           Row{longest + "\r\n" + longest + "\r\n", true},
           Row{"a\r\n" + longest + "x", false},
           Row{longest + "\r\n" + longest + "x\r\n", false},
       }) {
    EXPECT_EQ(IsSevenBit(row.text), row.expected) << testing::PrintToString(row.text).substr(0, 40);
  }
}

TEST(QuotedPrintable, EncodesSpecialCharactersAndTrailingBlanks) {
  struct Row {
    std::string text;
    std::string result;
  };
  for (const Row& row : {
           Row{"", ""},
           Row{"!~", "!~"},
           Row{"a=b", "a=3Db"},
           Row{"\x1F\x7F", "=1F=7F"},
           Row{"ä", "=C3=A4"},
           Row{"a b\tc", "a b\tc"},
           Row{"a ", "a=20"},
           Row{"a\t", "a=09"},
           Row{"a \r\nb", "a=20\r\nb"},
           Row{"a\r\n\r\nb\r\n", "a\r\n\r\nb\r\n"},
       }) {
    EXPECT_EQ(QuotedPrintable(row.text), row.result) << testing::PrintToString(row.text);
  }
}

TEST(QuotedPrintable, LimitsLinesTo76Characters) {
  const auto x = [](std::size_t count) { return std::string(count, 'x'); };
  struct Row {
    const char* name;
    std::string text;
    std::string result;
  };
  for (const Row& row : {
           Row{"a full line", x(76), x(76)},
           Row{"one more", x(77), x(75) + "=\r\nxx"},
           Row{"two full lines", x(75 + 76), x(75) + "=\r\n" + x(76)},
           Row{"one more than two", x(75 + 77), x(75) + "=\r\n" + x(75) + "=\r\nxx"},
           Row{"a code at the end", x(73) + "=", x(73) + "=3D"},
           Row{"a code that does not fit", x(74) + "=", x(74) + "=\r\n=3D"},
           Row{"a code within", x(72) + "=x", x(72) + "=3Dx"},
           Row{"a code within that does not fit", x(73) + "=x", x(73) + "=\r\n=3Dx"},
       }) {
    EXPECT_EQ(QuotedPrintable(row.text), row.result) << row.name;
  }
}

}  // namespace
}  // namespace fieldpost
