#include "common/PathText.h"

#include <gtest/gtest.h>

namespace fieldpost {
namespace {

TEST(PathText, ConvertsToUtf8AndBack) {
  EXPECT_EQ(Utf8FromPath(PathFromUtf8("/a/ä 中")), "/a/ä 中");
}

TEST(PathText, AddsAMissingSeparator) {
  EXPECT_EQ(WithSeparator("/a", '/'), "/a/");
  EXPECT_EQ(WithSeparator("C:\\a\\", '\\'), "C:\\a\\");
  EXPECT_EQ(WithSeparator("", '/'), "");
}

}  // namespace
}  // namespace fieldpost
