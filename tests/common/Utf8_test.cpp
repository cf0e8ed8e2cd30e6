#include "common/Utf8.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace fieldpost {
namespace {

TEST(WellFormedUtf8, ReplacesEachByteOfNoCharacter) {
  const std::string R = "\xEF\xBF\xBD";
  struct Row {
    std::string bytes;
    std::string text;
  };
  for (const Row& row : {
           Row{"", ""},
           Row{"\x7F", "\x7F"},
           Row{"\x80", R},
           Row{"\xBF", R},
           Row{"\xC1\x80", R + R},
           Row{"\xC2\x80", "\xC2\x80"},
           Row{"\xDF\xBF", "\xDF\xBF"},
           Row{"\xC2\x7F", R + "\x7F"},
           Row{"\xC2\xC0", R + R},
           Row{"\xC2", R},
           Row{"\xE0\x9F\x80", R + R + R},
           Row{"\xE0\xA0\x80", "\xE0\xA0\x80"},
           Row{"\xE1\x80\x80", "\xE1\x80\x80"},
           Row{"\xEC\xBF\xBF", "\xEC\xBF\xBF"},
           Row{"\xED\x9F\xBF", "\xED\x9F\xBF"},
           Row{"\xED\xA0\x80", R + R + R},
           Row{"\xEE\xBF\xBF", "\xEE\xBF\xBF"},
           Row{"\xEF\xBF\xBF", "\xEF\xBF\xBF"},
           Row{"\xE1\x80"
               "A",
               R + R + "A"},
           Row{"\xE1\x80", R + R},
           Row{"\xF0\x8F\xBF\xBF", R + R + R + R},
           Row{"\xF0\x90\x80\x80", "\xF0\x90\x80\x80"},
           Row{"\xF1\x80\x80\x80", "\xF1\x80\x80\x80"},
           Row{"\xF3\xBF\xBF\xBF", "\xF3\xBF\xBF\xBF"},
           Row{"\xF4\x8F\xBF\xBF", "\xF4\x8F\xBF\xBF"},
           Row{"\xF4\x90\x80\x80", R + R + R + R},
           Row{"\xF5\x80\x80\x80", R + R + R + R},
           Row{"\xF1\x80\x80", R + R + R},
           Row{"\xF1\x80\x80z", R + R + R + "z"},
           Row{"a\xC3\xA4z", "a\xC3\xA4z"},
       }) {
    EXPECT_EQ(WellFormedUtf8(row.bytes), row.text) << testing::PrintToString(row.bytes);
  }
}

TEST(CountCharacters, CountsTextsOfEveryLength) {
  EXPECT_EQ(CountCharacters("aä中𝄞"), 4U);
  std::string text;
  for (std::size_t characters = 0; characters < 1000; ++characters) {
    EXPECT_EQ(CountCharacters(text), characters);
    text += characters % 3 == 0 ? "ä" : "x";
  }
}

TEST(FirstCharacter, DecodesCharactersOfEveryLength) {
  struct Row {
    std::string_view text;
    char32_t codePoint;
    std::size_t bytes;
    bool isWellFormed;
  };
  for (const Row& row : {
           Row{"az", U'a', 1, true},
           Row{std::string_view("\0", 1), 0, 1, true},
           Row{"äz", U'ä', 2, true},
           Row{"中z", U'中', 3, true},
           Row{"𝄞z", U'𝄞', 4, true},
           Row{"\xE4z", 0xE4, 1, false},
           Row{"\x80", 0x80, 1, false},
           Row{"\xE2\x82", 0xE2, 1, false},
           Row{"\xED\xA0\x80", 0xED, 1, false},
           Row{"\xF4\x90\x80\x80", 0xF4, 1, false},
       }) {
    const Utf8Character character = FirstCharacter(row.text);
    EXPECT_EQ(character.codePoint, row.codePoint) << row.text;
    EXPECT_EQ(character.bytes, row.bytes) << row.text;
    EXPECT_EQ(character.isWellFormed, row.isWellFormed) << row.text;
  }
}

TEST(KindOf, KnowsTheEndsOfEachRange) {
  struct Row {
    char32_t first;
    char32_t last;
    CharacterKind kind;
  };
  for (const Row& row : {
           Row{0x00, 0x1F, CharacterKind::Control},
           Row{0x20, 0x7E, CharacterKind::Visible},
           Row{0x7F, 0x9F, CharacterKind::Control},
           Row{0xA0, 0x61B, CharacterKind::Visible},
           Row{0x61C, 0x61C, CharacterKind::ZeroWidth},
           Row{0x61D, 0x200A, CharacterKind::Visible},
           Row{0x200B, 0x200F, CharacterKind::ZeroWidth},
           Row{0x2010, 0x2027, CharacterKind::Visible},
           Row{0x2028, 0x2029, CharacterKind::LineSeparator},
           Row{0x202A, 0x202E, CharacterKind::Direction},
           Row{0x202F, 0x205F, CharacterKind::Visible},
           Row{0x2060, 0x2065, CharacterKind::ZeroWidth},
           Row{0x2066, 0x2069, CharacterKind::Direction},
           Row{0x206A, 0x206F, CharacterKind::ZeroWidth},
           Row{0x2070, 0xFEFE, CharacterKind::Visible},
           Row{0xFEFF, 0xFEFF, CharacterKind::ZeroWidth},
           Row{0xFF00, 0x10FFFF, CharacterKind::Visible},
       }) {
    EXPECT_EQ(KindOf(row.first), row.kind) << static_cast<unsigned>(row.first);
    EXPECT_EQ(KindOf(row.last), row.kind) << static_cast<unsigned>(row.last);
  }
}

TEST(CharacterBoundary, IsNeverInsideACharacter) {
  const std::string text = "aä中𝄞\xE2\x82";
  const std::vector<std::size_t> expected{0, 1, 1, 3, 3, 3, 6, 6, 6, 6, 10, 11, 12};
  for (std::size_t position = 0; position <= text.size(); ++position) {
    EXPECT_EQ(CharacterBoundary(text, position), expected[position]) << position;
  }
}

TEST(FirstCharacters, CutsAfterWholeCharacters) {
  EXPECT_EQ(FirstCharacters("aä中𝄞", 0), "");
  EXPECT_EQ(FirstCharacters("aä中𝄞", 3), "aä中");
  EXPECT_EQ(FirstCharacters("aä中𝄞", 4), "aä中𝄞");
  EXPECT_EQ(FirstCharacters("aä", 9), "aä");
  EXPECT_EQ(FirstCharacters("\xE4\xC3z", 2), "\xE4\xC3") << "a byte of no character counts as one";
}

TEST(WithoutLastCharacter, RemovesAllBytesOfIt) {
  EXPECT_EQ(WithoutLastCharacter(""), "");
  EXPECT_EQ(WithoutLastCharacter("a"), "");
  EXPECT_EQ(WithoutLastCharacter("aä"), "a");
  EXPECT_EQ(WithoutLastCharacter("a𝄞"), "a");
  EXPECT_EQ(WithoutLastCharacter("a\xE4"), "a");
}

TEST(Utf16FromUtf8, WritesSurrogatePairsBeyondTheFirstPlane) {
  EXPECT_EQ(Utf16FromUtf8("aä𝄞"), u"aä𝄞");
}

TEST(Utf8FromLatin1, TakesEachByteForItsCodePoint) {
  EXPECT_EQ(Utf8FromLatin1("a\x7F\x80\xE4\xFF"), "a\x7F\xC2\x80äÿ");
}

}  // namespace
}  // namespace fieldpost
