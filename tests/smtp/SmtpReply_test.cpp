#include "smtp/SmtpReply.h"

#include <gtest/gtest.h>

#include <string>

namespace fieldpost::test {
namespace {

TEST(SmtpReplyTest, OneLine) {
  SmtpReplyReader reader;
  EXPECT_TRUE(reader.Add("250 2.0.0 ok"));
  EXPECT_EQ(reader.Last().code, 250);
  EXPECT_EQ(reader.Last().text, "250 2.0.0 ok");
}

TEST(SmtpReplyTest, SeveralLinesBecomeOne) {
  SmtpReplyReader reader;
  EXPECT_FALSE(reader.Add("554-not"));
  EXPECT_FALSE(reader.Add("554-"));
  EXPECT_TRUE(reader.IsWithinReply());
  EXPECT_TRUE(reader.Add("554 today"));
  EXPECT_FALSE(reader.IsWithinReply());
  EXPECT_EQ(reader.Last().text, "554 not today");
}

TEST(SmtpReplyTest, TheLastLinesCodeCountsAndIsShown) {
  SmtpReplyReader reader;
  EXPECT_FALSE(reader.Add("250-taken"));
  EXPECT_TRUE(reader.Add("550 or not"));
  EXPECT_EQ(reader.Last().code, 550);
  EXPECT_EQ(reader.Last().text, "550 taken or not");
}

TEST(SmtpReplyTest, ACodeAloneIsAReply) {
  SmtpReplyReader reader;
  EXPECT_TRUE(reader.Add("354"));
  EXPECT_EQ(reader.Last().text, "354");
}

TEST(SmtpReplyTest, WhatIsNoReplyIsRefused) {
  for (const char* line : {"", "25", "hello", "150 early", "650 late", "2x0 ok", "250ok", "250\tok"}) {
    SmtpReplyReader reader;
    EXPECT_THROW(reader.Add(line), SmtpError) << line;
  }
}

TEST(SmtpReplyTest, LongAndStrangeTextsAreCutAndShown) {
  SmtpReplyReader reader;
  EXPECT_TRUE(reader.Add("250 \x1B[2J\xFF" + std::string(100'000, 'x')));
  EXPECT_TRUE(reader.Last().text.starts_with("250 \\x1B[2J\xEF\xBF\xBDxxx"));
  EXPECT_LT(reader.Last().text.size(), 600U);
}

TEST(SmtpReplyTest, AReplyWithoutEndIsRefused) {
  SmtpReplyReader reader;
  const auto flood = [&] {
    for (int line = 0; line < 10'000; ++line) reader.Add("250-more");
  };
  EXPECT_THROW(flood(), SmtpError);
}

}  // namespace
}  // namespace fieldpost::test
