// A clock that the test sets.
#pragma once

#include "platform/Clock.h"

namespace fieldpost::test {

class FakeClock final : public Clock {
 public:
  LocalTime now{.year = 2004,
                .month = 3,
                .day = 15,
                .hour = 14,
                .minute = 37,
                .second = 9,
                .weekday = 1,
                .offsetMinutes = 60};
  std::chrono::steady_clock::time_point steady{};

  [[nodiscard]] LocalTime Now() const override { return now; }
  [[nodiscard]] std::chrono::steady_clock::time_point Steady() const override { return steady; }
};

}  // namespace fieldpost::test
