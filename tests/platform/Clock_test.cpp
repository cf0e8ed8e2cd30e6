#include "platform/Clock.h"

#include <gmock/gmock.h>

#include <chrono>

namespace fieldpost {
namespace {

TEST(LocalTimeOf, ConvertsTheCurrentTimeAsTheSystemClockDoes) {
  const SystemClock clock;
  const auto since1970 = std::chrono::system_clock::now().time_since_epoch();
  const LocalTime of = LocalTimeOf(std::chrono::duration_cast<std::chrono::nanoseconds>(since1970).count());
  const LocalTime now = clock.Now();
  EXPECT_EQ(of.offsetMinutes, now.offsetMinutes);
  const int seconds = (now.hour - of.hour) * 3600 + (now.minute - of.minute) * 60 + now.second - of.second;
  EXPECT_THAT((seconds + 86'400) % 86'400, testing::AllOf(testing::Ge(0), testing::Le(2)));
}

}  // namespace
}  // namespace fieldpost
