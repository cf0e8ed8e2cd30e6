#include "common/DocumentNames.h"

#include <fmt/format.h>

#include <algorithm>

#include "common/Text.h"

namespace fieldpost {
namespace {

constexpr std::string_view XmlEnding = ".xml";
constexpr int HighestCounted = 98;

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

/// Returns the number in the two digits before ".xml", in a name that begins with `stem`.
std::optional<int> NumberOf(std::string_view stem, std::string_view name) {
  if (!EndsWithNoCase(name, XmlEnding) || name.size() < XmlEnding.size() + 2) return std::nullopt;
  if (!EqualNoCase(name.substr(0, stem.size()), stem)) return std::nullopt;
  const std::string_view digits = name.substr(name.size() - XmlEnding.size() - 2, 2);
  if (!std::all_of(digits.begin(), digits.end(), IsDigit)) return std::nullopt;
  return (digits[0] - '0') * 10 + (digits[1] - '0');
}

}  // namespace

std::string SitePart(std::string_view partnerId) {
  return LettersAndDigits(partnerId);
}

std::string DocumentStem(std::string_view prefix, std::string_view partnerId, const LocalTime& time) {
  return fmt::format("{}{}.{}", prefix, SitePart(partnerId), HourStamp(time));
}

std::string DocumentName(std::string_view stem, int number) {
  return fmt::format("{}{:02}.xml", stem, number);
}

std::string ZipName(std::string_view stem) {
  return fmt::format("{}00.zip", stem);
}

int NextDocumentNumber(std::string_view stem, std::span<const std::string> names) {
  int highest = 0;
  for (const std::string& name : names) {
    const std::optional<int> number = NumberOf(stem, name);
    if (number && *number <= HighestCounted) highest = std::max(highest, *number);
  }
  return highest + 1;
}

std::string LogFileName(const LocalTime& time) {
  return fmt::format("FPProg_{}.log", LogDay(time));
}

}  // namespace fieldpost
