#include "common/Text.h"

#include <gtest/gtest.h>

namespace fieldpost {
namespace {

TEST(Text, ComparesIgnoringTheCaseOfAsciiLetters) {
  EXPECT_EQ(ToLowerAscii("-FCS Ä"), "-fcs Ä");
  EXPECT_TRUE(EqualNoCase("Not Sent", "nOT sENT"));
  EXPECT_FALSE(EqualNoCase("a", "ab"));
  EXPECT_EQ(CompareNoCase("Not Sent", "nOT sENT"), std::strong_ordering::equal);
  EXPECT_EQ(CompareNoCase("a", "B"), std::strong_ordering::less);
  EXPECT_EQ(CompareNoCase("ab", "A"), std::strong_ordering::greater);
  EXPECT_EQ(CompareNoCase("z", "\xC3"), std::strong_ordering::less) << "bytes have no sign";
  EXPECT_TRUE(ContainsNoCase("x NOT SENT y", "not sent"));
  EXPECT_FALSE(ContainsNoCase("not  sent", "not sent"));
  EXPECT_TRUE(EndsWithNoCase("A.XmL", ".xml"));
  EXPECT_FALSE(EndsWithNoCase("xml", ".xml"));
}

TEST(Text, TrimsBlanksAtBothEnds) {
  EXPECT_EQ(Trimmed(" \t\r\na b\n "), "a b");
  EXPECT_EQ(Trimmed(" \n"), "");
}

TEST(Text, ReplacesEveryOccurrence) {
  EXPECT_EQ(Replaced("aXbXX", "X", "--"), "a--b----");
}

TEST(EscapeControls, EscapesWhatIsNotVisibleOrNotUtf8) {
  struct Row {
    const char* name;
    std::string_view text;
    const char* expected;
  };
  for (const Row& row : {
           Row{"visible", "aä€🔧", "aä€🔧"},
           Row{"line feed and DEL", "a\nb\x7F ä", "a\\x0Ab\\x7F ä"},
           Row{"neighbours of hidden characters", "\xC2\xA0.\xE2\x80\xA7", "\xC2\xA0.\xE2\x80\xA7"},
           Row{"override of the direction", "a\xE2\x80\xAE.", "a\\xE2\\x80\\xAE."},
           Row{"end of an isolate, then a cut character", "\xE2\x81\xA9\xE2\x80",
               "\\xE2\\x81\\xA9\\xE2\\x80"},
           Row{"zero width", "a\xE2\x80\x8B\xEF\xBB\xBF", "a\\xE2\\x80\\x8B\\xEF\\xBB\\xBF"},
           Row{"terminal sequence", "\x1B[2J", "\\x1B[2J"},
           Row{"C1 control", "\xC2\x9B", "\\xC2\\x9B"},
           Row{"no-break space", "\xC2\xA0", "\xC2\xA0"},
           Row{"byte of another encoding", "a\xE4z", "a\\xE4z"},
           Row{"cut character", "\xE2\x82", "\\xE2\\x82"},
           Row{"overlong", "\xC0\xAF", "\\xC0\\xAF"},
           Row{"overlong, three bytes", "\xE0\x80\xAF", "\\xE0\\x80\\xAF"},
           Row{"surrogate", "\xED\xA0\x80", "\\xED\\xA0\\x80"},
           Row{"beyond U+10FFFF", "\xF4\x90\x80\x80", "\\xF4\\x90\\x80\\x80"},
           Row{"U+10FFFF", "\xF4\x8F\xBF\xBF", "\xF4\x8F\xBF\xBF"},
       }) {
    EXPECT_EQ(EscapeControls(row.text), row.expected) << row.name;
  }
}

TEST(HoldsControl, FindsControlAndDirectionCharacters) {
  struct Row {
    const char* name;
    std::string_view text;
    bool expected;
  };
  for (const Row& row : {
           Row{"empty", "", false},
           Row{"visible", "aä€🔧", false},
           Row{"not UTF-8", "\xE2\x80", false},
           Row{"tab", "a\tb", true},
           Row{"line feed at the end", "a\n", true},
           Row{"DEL", "\x7F", true},
           Row{"C1 control", "\xC2\x9B", true},
           Row{"C1 control after a cut character", "\xE2\xC2\x80", true},
           Row{"no-break space", "\xC2\xA0", false},
           Row{"hyphenation point", "\xE2\x80\xA7", false},
           Row{"line separator", "\xE2\x80\xA8", true},
           Row{"override of the direction", "\xE2\x80\xAE", true},
           Row{"end of an isolate", "\xE2\x81\xA9", true},
           Row{"zero-width joiner", "\xE2\x80\x8D", false},
       }) {
    EXPECT_EQ(HoldsControl(row.text), row.expected) << row.name;
  }
}

}  // namespace
}  // namespace fieldpost
