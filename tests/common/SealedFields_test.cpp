#include "common/SealedFields.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

#include "common/PathText.h"

namespace fieldpost {
namespace {

using namespace std::string_view_literals;

TEST(SealedFields, ReadBackAsWritten) {
  SealedFieldWriter writer("Journal 1");
  writer.Add("line\nbreak: 3:x\0y"sv);
  writer.AddPath(PathFromUtf8("/a/\xFF\n"));
  writer.AddNumber(0);
  writer.AddNumber(18446744073709551615U);
  writer.AddHash(HashContent("a"));
  writer.Add("");
  const std::string bytes = writer.Finish();

  std::optional<SealedFieldReader> reader = SealedFieldReader::Open("Journal 1", bytes);
  ASSERT_TRUE(reader);
  EXPECT_EQ(reader->Next(), "line\nbreak: 3:x\0y"sv);
  EXPECT_EQ(reader->NextPath(), PathFromUtf8("/a/\xFF\n"));
  EXPECT_EQ(reader->NextNumber(), 0U);
  EXPECT_EQ(reader->NextNumber(), 18446744073709551615U);
  EXPECT_EQ(reader->NextHash(), HashContent("a"));
  EXPECT_FALSE(reader->AtEnd());
  EXPECT_EQ(reader->Next(), "");
  EXPECT_TRUE(reader->AtEnd());
  EXPECT_EQ(reader->Next(), std::nullopt);
  EXPECT_FALSE(reader->AtEnd()) << "a read after the end fails";
}

TEST(SealedFields, AreEmptyWhenAnyBitDiffers) {
  SealedFieldWriter writer("Journal 1");
  writer.Add("text");
  writer.AddNumber(7);
  const std::string bytes = writer.Finish();
  EXPECT_FALSE(SealedFieldReader::Open("Journal 2", bytes));
  EXPECT_FALSE(SealedFieldReader::Open("Journal", bytes));
  EXPECT_FALSE(SealedFieldReader::Open("Journal 1", bytes + "x"));
  for (std::size_t at = 0; at < bytes.size(); ++at) {
    std::string changed = bytes;
    changed[at] = static_cast<char>(changed[at] ^ 1);
    EXPECT_FALSE(SealedFieldReader::Open("Journal 1", bytes.substr(0, at))) << "cut at " << at;
    EXPECT_FALSE(SealedFieldReader::Open("Journal 1", changed)) << "changed at " << at;
  }
}

/// The checksum of these files is right, but their fields are malformed.
TEST(SealedFields, AreEmptyFromTheFirstMalformedField) {
  struct Case {
    const char* name;
    std::string_view field;
    bool (*read)(SealedFieldReader&);
  };
  const auto number = [](SealedFieldReader& reader) { return reader.NextNumber().has_value(); };
  const auto hash = [](SealedFieldReader& reader) { return reader.NextHash().has_value(); };
  const std::array cases{
      Case{"a number with letters", "7x", number},
      Case{"an empty number", "", number},
      Case{"a number too large", "18446744073709551616", number},
      Case{"a hash too short", "00", hash},
      Case{"a hash with other letters", "0123456789abcdef0123456789abcdeg", hash},
      Case{"a hash with other letters in front", "g123456789abcdef0123456789abcdef", hash},
  };
  for (const Case& one : cases) {
    SealedFieldWriter writer("T");
    writer.Add(one.field);
    writer.Add("next");
    const std::string bytes = writer.Finish();
    std::optional<SealedFieldReader> reader = SealedFieldReader::Open("T", bytes);
    ASSERT_TRUE(reader) << one.name;
    EXPECT_FALSE(one.read(*reader)) << one.name;
    EXPECT_FALSE(reader->Next()) << one.name;
    EXPECT_FALSE(reader->NextPath()) << one.name;
    EXPECT_FALSE(reader->AtEnd()) << one.name;
  }
}

TEST(SealedFields, AreEmptyWhenAFieldHasAWrongLength) {
  for (const std::string_view fields :
       {"9:text\n"sv, "5:text\n"sv, "x:text\n"sv, "text\n"sv, ":\n"sv, "1"sv}) {
    std::string bytes = "T\n" + std::string(fields);
    bytes += ToHex(HashContent(bytes));
    std::optional<SealedFieldReader> reader = SealedFieldReader::Open("T", bytes);
    ASSERT_TRUE(reader) << fields;
    EXPECT_FALSE(reader->Next()) << fields;
  }
}

}  // namespace
}  // namespace fieldpost
