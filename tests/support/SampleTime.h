// A fixed time for tests of texts that contain one.
#pragma once

#include "common/DateText.h"

namespace fieldpost::test {

/// Monday, 15 March 2004, 14:07:09, one hour east of UTC.
inline constexpr LocalTime Afternoon{.year = 2004,
                                     .month = 3,
                                     .day = 15,
                                     .hour = 14,
                                     .minute = 7,
                                     .second = 9,
                                     .weekday = 1,
                                     .offsetMinutes = 60};

}  // namespace fieldpost::test
