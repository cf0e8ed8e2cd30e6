#include "platform/CoreDump.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

namespace fieldpost::test {
namespace {

TEST(CoreDump, LimitsStayAtZero) {
  ForbidCoreDumps();
  rlimit limit{};
  ASSERT_EQ(::getrlimit(RLIMIT_CORE, &limit), 0);
  EXPECT_EQ(limit.rlim_cur, 0U);
  EXPECT_EQ(limit.rlim_max, 0U);
}

}  // namespace
}  // namespace fieldpost::test
