#include <ctime>

#include "platform/Clock.h"

namespace fieldpost {

namespace {

LocalTime LocalTimeOfSeconds(std::time_t seconds) {
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

}  // namespace

LocalTime LocalTimeOf(std::int64_t nanoseconds) {
  const std::chrono::nanoseconds since1970(nanoseconds);
  return LocalTimeOfSeconds(std::chrono::floor<std::chrono::seconds>(since1970).count());
}

LocalTime SystemClock::Now() const {
  return LocalTimeOfSeconds(std::time(nullptr));
}

std::chrono::steady_clock::time_point SystemClock::Steady() const {
  return std::chrono::steady_clock::now();
}

}  // namespace fieldpost
