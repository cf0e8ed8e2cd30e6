#include "smtp/Base64.h"

#include <gtest/gtest.h>

namespace fieldpost::test {
namespace {

TEST(Base64, PadsTheLastGroup) {
  EXPECT_EQ(Base64(""), "");
  EXPECT_EQ(Base64("f"), "Zg==");
  EXPECT_EQ(Base64("fo"), "Zm8=");
  EXPECT_EQ(Base64("foo"), "Zm9v");
  EXPECT_EQ(Base64("\xFF\xFE\xFD"), "//79");
}

}  // namespace
}  // namespace fieldpost::test
