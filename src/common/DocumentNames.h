// Builds and reads the names of the files that the program writes.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "common/DateText.h"

namespace fieldpost {

/// The prefixes of the file names of faultlogger data and of PPC data.
inline constexpr std::string_view FaultlogPrefix = "FLog.";
inline constexpr std::string_view PpcPrefix = "PPC.";

/// Returns the part of a file name that identifies the site: the letters and digits of its partner ID. No
/// other character of that setting may reach a file name or a mail header. Empty when it has none.
[[nodiscard]] std::string SitePart(std::string_view partnerId);

/// Returns PREFIX SITE "." yyyymmddhh, the common part of the names of all documents that a site writes
/// within an hour.
[[nodiscard]] std::string DocumentStem(std::string_view prefix, std::string_view partnerId,
                                       const LocalTime& time);

/// Returns STEM nn ".xml", with at least two digits.
[[nodiscard]] std::string DocumentName(std::string_view stem, int number);

/// Returns STEM "00.zip": the minutes in the name of a zip are always zero.
[[nodiscard]] std::string ZipName(std::string_view stem);

/// Returns the number of the next document of a stem: one more than the highest number among `names` that is
/// at most 98, so that the first is 1, and 99 follows 99.
[[nodiscard]] int NextDocumentNumber(std::string_view stem, std::span<const std::string> names);

/// Returns "FPProg_" ddmmyyyy ".log".
[[nodiscard]] std::string LogFileName(const LocalTime& time);

}  // namespace fieldpost
