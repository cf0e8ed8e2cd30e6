#include <ctime>

#include "platform/Clock.h"

namespace fieldpost {

LocalTime SystemClock::Now() const {
  const std::time_t seconds = std::time(nullptr);
  std::tm local{};
  ::localtime_r(&seconds, &local);
  return {.year = local.tm_year + 1900,
          .month = local.tm_mon + 1,
          .day = local.tm_mday,
          .hour = local.tm_hour,
          .minute = local.tm_min,
          .second = local.tm_sec,
          .weekday = local.tm_wday,
          .offsetMinutes = static_cast<int>(local.tm_gmtoff / 60)};
}

std::chrono::steady_clock::time_point SystemClock::Steady() const {
  return std::chrono::steady_clock::now();
}

}  // namespace fieldpost
