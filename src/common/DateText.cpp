#include "common/DateText.h"

#include <fmt/format.h>

#include <array>
#include <cstdlib>
#include <string_view>

namespace fieldpost {

std::string CompactDate(const LocalTime& time) {
  return fmt::format("{:04}{:02}{:02}", time.year, time.month, time.day);
}

std::string HourStamp(const LocalTime& time) {
  return fmt::format("{}{:02}", CompactDate(time), time.hour);
}

std::string LogDay(const LocalTime& time) {
  return fmt::format("{:02}{:02}{:04}", time.day, time.month, time.year);
}

std::string PlainDate(const LocalTime& time) {
  return fmt::format("{:02}.{:02}.{:04}", time.day, time.month, time.year);
}

std::string DateAndTime(const LocalTime& time) {
  return fmt::format("{} {:02}:{:02}:{:02}", PlainDate(time), time.hour, time.minute, time.second);
}

std::string MailDate(const LocalTime& time) {
  constexpr std::array<std::string_view, 7> weekdays{"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
  constexpr std::array<std::string_view, 12> months{"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                    "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  const int offset = std::abs(time.offsetMinutes);
  return fmt::format("{}, {:02} {} {:04} {:02}:{:02}:{:02} {}{:02}{:02}",
                     weekdays.at(static_cast<std::size_t>(time.weekday)), time.day,
                     months.at(static_cast<std::size_t>(time.month - 1)), time.year, time.hour, time.minute,
                     time.second, time.offsetMinutes < 0 ? '-' : '+', offset / 60, offset % 60);
}

}  // namespace fieldpost
