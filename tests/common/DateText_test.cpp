#include "common/DateText.h"

#include <gtest/gtest.h>

#include "support/SampleTime.h"

namespace fieldpost {
namespace {

using test::Afternoon;

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
