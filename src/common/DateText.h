// Local dates and times, and their text forms.
#pragma once

#include <cstdint>
#include <string>

namespace fieldpost {

/// A local date and time.
struct LocalTime {
  int year = 1970;
  int month = 1;          ///< 1 to 12
  int day = 1;            ///< 1 to 31
  int hour = 0;           ///< 0 to 23
  int minute = 0;         ///< 0 to 59
  int second = 0;         ///< 0 to 60
  int weekday = 4;        ///< 0 is Sunday
  int offsetMinutes = 0;  ///< local time minus UTC
};

/// Returns "yyyymmdd", the form of `CONDATE`.
std::string CompactDate(const LocalTime& time);

/// Returns "yyyymmddhh", the hour stamp of document names.
std::string HourStamp(const LocalTime& time);

/// Returns "ddmmyyyy", the day in the name of a log file.
std::string LogDay(const LocalTime& time);

/// Returns "dd.mm.yyyy", a date as the user interface shows it.
std::string PlainDate(const LocalTime& time);

/// Returns "dd.mm.yyyy hh:mm:ss", date and time as the user interface shows them.
std::string DateAndTime(const LocalTime& time);

/// Returns the date of a mail header, "Fri, 05 Mar 2004 14:12:09 +0100" (RFC 5322, section 3.3).
std::string MailDate(const LocalTime& time);

}  // namespace fieldpost
