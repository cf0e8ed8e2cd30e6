#include "smtp/SmtpReply.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace fieldpost::test {
namespace {

TEST(SmtpReplyReader, ReturnsAReplyOfOneLine) {
  SmtpReplyReader reader;
  const std::optional<SmtpReply> reply = reader.Add("250 2.0.0 ok");
  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->code, 250);
  EXPECT_EQ(reply->text, "250 2.0.0 ok");
}

TEST(SmtpReplyReader, JoinsTheLinesOfAReply) {
  SmtpReplyReader reader;
  EXPECT_FALSE(reader.Add("554-not"));
  EXPECT_FALSE(reader.Add("554-"));
  EXPECT_TRUE(reader.IsWithinReply());
  const std::optional<SmtpReply> reply = reader.Add("554 today");
  ASSERT_TRUE(reply);
  EXPECT_FALSE(reader.IsWithinReply());
  EXPECT_EQ(reply->text, "554 not today");
}

TEST(SmtpReplyReader, TakesTheCodeOfTheLastLine) {
  SmtpReplyReader reader;
  EXPECT_FALSE(reader.Add("250-taken"));
  const std::optional<SmtpReply> reply = reader.Add("550 or not");
  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->code, 550);
  EXPECT_EQ(reply->text, "550 taken or not");
}

TEST(SmtpReplyReader, AcceptsACodeWithoutText) {
  SmtpReplyReader reader;
  const std::optional<SmtpReply> reply = reader.Add("354");
  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->text, "354");
}

TEST(SmtpReplyReader, RefusesLinesThatAreNotPartOfAReply) {
  for (const char* line : {"", "25", "hello", "150 early", "650 late", "2x0 ok", "250ok", "250\tok"}) {
    SmtpReplyReader reader;
    EXPECT_THROW(static_cast<void>(reader.Add(line)), SmtpError) << line;
  }
}

TEST(SmtpReplyReader, ShortensLongTextsAndEscapesControlCharacters) {
  SmtpReplyReader reader;
  const std::optional<SmtpReply> reply = reader.Add("250 \x1B[2J\xFF" + std::string(100'000, 'x'));
  ASSERT_TRUE(reply);
  EXPECT_TRUE(reply->text.starts_with("250 \\x1B[2J\xEF\xBF\xBDxxx"));
  EXPECT_LT(reply->text.size(), 600U);
}

TEST(SmtpReplyReader, RefusesAReplyOfTooManyLines) {
  SmtpReplyReader reader;
  const auto flood = [&] {
    for (int line = 0; line < 10'000; ++line) static_cast<void>(reader.Add("250-more"));
  };
  EXPECT_THROW(flood(), SmtpError);
}

}  // namespace
}  // namespace fieldpost::test
