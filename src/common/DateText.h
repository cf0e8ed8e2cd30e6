// Dates and times as texts.
#pragma once

#include <cstdint>
#include <string>

namespace fieldpost {

/// A moment as the wall clock of this place shows it.
struct LocalTime {
  int year = 1970;
  int month = 1;          ///< 1 to 12
  int day = 1;            ///< 1 to 31
  int hour = 0;           ///< 0 to 23
  int minute = 0;         ///< 0 to 59
  int second = 0;         ///< 0 to 60
  int weekday = 4;        ///< 0 is Sunday
  int offsetMinutes = 0;  ///< what local time is ahead of UTC
};

/// "yyyymmdd", the form of `CONDATE`.
std::string CompactDate(const LocalTime& time);

/// "yyyymmddhh", the hour stamp of document names.
std::string HourStamp(const LocalTime& time);

/// "ddmmyyyy", the day of a log file's name.
std::string LogDay(const LocalTime& time);

/// "dd.mm.yyyy", a date as people here read it.
std::string PlainDate(const LocalTime& time);

/// "dd.mm.yyyy hh:mm:ss", date and time as people here read them.
std::string DateAndTime(const LocalTime& time);

/// The date of a mail header, "Fri, 05 Mar 2004 14:12:09 +0100" (RFC 5322, section 3.3).
std::string MailDate(const LocalTime& time);

}  // namespace fieldpost
