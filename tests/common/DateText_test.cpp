#include "common/DateText.h"

#include <gtest/gtest.h>

namespace fieldpost {
namespace {

constexpr LocalTime Afternoon{.year = 2004,
                              .month = 3,
                              .day = 15,
                              .hour = 14,
                              .minute = 7,
                              .second = 9,
                              .weekday = 1,
                              .offsetMinutes = 60};

TEST(DateText, FormatsEachForm) {
  EXPECT_EQ(CompactDate(Afternoon), "20040315");
  EXPECT_EQ(HourStamp(Afternoon), "2004031514");
  EXPECT_EQ(LogDay(Afternoon), "15032004");
  EXPECT_EQ(DateAndTime(Afternoon), "15.03.2004 14:07:09");
  EXPECT_EQ(MailDate(Afternoon), "Mon, 15 Mar 2004 14:07:09 +0100");
  LocalTime west = Afternoon;
  west.offsetMinutes = -210;
  EXPECT_EQ(MailDate(west), "Mon, 15 Mar 2004 14:07:09 -0330");
}

}  // namespace
}  // namespace fieldpost
