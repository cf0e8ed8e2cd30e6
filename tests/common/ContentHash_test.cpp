#include "common/ContentHash.h"

#include <gtest/gtest.h>

namespace fieldpost {
namespace {

TEST(ContentHash, DiffersForDifferentContents) {
  EXPECT_EQ(HashContent("a"), HashContent("a"));
  EXPECT_NE(HashContent("a"), HashContent("b"));
  EXPECT_EQ(ToHex(HashContent("")), "99aa06d3014798d86001c324468d497f");
}

}  // namespace
}  // namespace fieldpost
