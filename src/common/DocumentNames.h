// The names that the program gives its files, built and read here alone.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "common/DateText.h"

namespace fieldpost {

/// The two kinds of data, by the prefix of their documents' names.
inline constexpr std::string_view FaultlogPrefix = "FLog.";
inline constexpr std::string_view PpcPrefix = "PPC.";

/// The site's part of a name: the letters and digits of its partner ID. Nothing else of that setting may
/// reach a file name or a mail header. Empty when there are none.
std::string SitePart(std::string_view partnerId);

/// PREFIX SITE "." yyyymmddhh: what the documents that a site writes within one hour have in common.
std::string DocumentStem(std::string_view prefix, std::string_view partnerId, const LocalTime& time);

/// STEM nn ".xml", with at least two digits.
std::string DocumentName(std::string_view stem, int number);

/// STEM "00.zip": the minutes of a zip's time are always written as zero.
std::string ZipName(std::string_view stem);

/// The number that the next document of a stem gets: one more than the highest among `names` that is at most
/// 98, so that the first is 1 and 99 stays 99.
int NextDocumentNumber(std::string_view stem, std::span<const std::string> names);

/// "FPProg_" ddmmyyyy ".log".
std::string LogFileName(const LocalTime& time);

}  // namespace fieldpost
